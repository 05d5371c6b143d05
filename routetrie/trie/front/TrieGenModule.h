// The module record of the dual-family trie, of its callbacks, of the tries by VRF, and of a value type for clients.
#pragma once

#include "routetrie/platform/Corvid/ModulePlace.h"

namespace Routing {
class TrieGen;
class TrieGenByVrf;
class TrieGenTestWalkCallback;
class TrieGenWalkCallback;
class TrieWalkCallback4;
class TrieWalkCallback6;
class VrfTrieGen;
struct TwoLpmLen;
}  // namespace Routing

ROUTETRIE_MODULE(_TrieGen_7a6fe44fbc33ae9a_teskModule, Routing::TrieGen, Routing::VrfTrieGen, Routing::TrieGenByVrf,
                 Routing::TwoLpmLen, Routing::TrieGenWalkCallback, Routing::TrieWalkCallback4,
                 Routing::TrieWalkCallback6, Routing::TrieGenTestWalkCallback)
