// The module record of the multibit trie and its callbacks.
#pragma once

#include "routetrie/platform/Corvid/ModulePlace.h"

namespace Routing {
class Trie;
class TrieDumpStateWalkCallback;
class TrieWalkCallback;
class TrieWalkCallbackTest;
class TrieWalkCallbackWrapper;
}  // namespace Routing

ROUTETRIE_MODULE(_Trie_592af94aa7c357bd_teskModule, Routing::Trie, Routing::TrieWalkCallback,
                 Routing::TrieWalkCallbackWrapper, Routing::TrieWalkCallbackTest, Routing::TrieDumpStateWalkCallback)
