// The module record of PrefixData and PrefixDataContainer.
#pragma once

#include "routetrie/platform/Corvid/ModulePlace.h"

namespace Routing {
class PrefixData;
class PrefixDataContainer;
}  // namespace Routing

ROUTETRIE_MODULE(_PatriciaTrieData_936c190e48e66e7c_teskModule, Routing::PrefixData, Routing::PrefixDataContainer)
