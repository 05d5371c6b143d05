// The module record of PatriciaTrieWithCompactNodeData.
#pragma once

#include "routetrie/platform/Corvid/ModulePlace.h"

namespace Routing {
class PatriciaTrieWithCompactNodeData;
}  // namespace Routing

ROUTETRIE_MODULE(_PatriciaTrieWithCompactNodeData_3b5ccd3c60aee402_teskModule,
                 Routing::PatriciaTrieWithCompactNodeData)
