// The module record of a prefix with its place in a walk.
#pragma once

#include "routetrie/platform/Corvid/ModulePlace.h"

namespace Routing {
class TrieWalkPrefix;
}  // namespace Routing

ROUTETRIE_MODULE(_TrieWalkPrefix_5da68c166fcc9479_teskModule, Routing::TrieWalkPrefix)
