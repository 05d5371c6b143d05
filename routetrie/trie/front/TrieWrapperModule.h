// The module record of the wrapper of two engines.
#pragma once

#include "routetrie/platform/Corvid/ModulePlace.h"

namespace Routing {
class TrieWrapper;
}  // namespace Routing

ROUTETRIE_MODULE(_TrieWrapper_5c471ef93aaae99a_teskModule, Routing::TrieWrapper)
