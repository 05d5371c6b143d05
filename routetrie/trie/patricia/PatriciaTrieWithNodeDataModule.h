// The module record of PatriciaTrieWithNodeData.
#pragma once

#include "routetrie/platform/Corvid/ModulePlace.h"

namespace Routing {
class PatriciaTrieWithNodeData;
}  // namespace Routing

ROUTETRIE_MODULE(_PatriciaTrieWithNodeData_d21198fd3a2dd5d2_teskModule, Routing::PatriciaTrieWithNodeData)
