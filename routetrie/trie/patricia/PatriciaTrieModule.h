// The module record of PatriciaTrie and of its callbacks.
#pragma once

#include "routetrie/platform/Corvid/ModulePlace.h"

namespace Routing {
class PatriciaTrie;
class PatriciaTrieWalkCb;
class PatriciaTrieCompactWalkCb;
class PatriciaTrieIteratorCb;
class PatriciaTrieCompactIteratorCb;
class PatriciaTrieDumpStateWalkCb;
class PatriciaTrieCompactDumpStateWalkCb;
}  // namespace Routing

ROUTETRIE_MODULE(_PatriciaTrie_32e6140574244a09_teskModule, Routing::PatriciaTrie, Routing::PatriciaTrieWalkCb,
                 Routing::PatriciaTrieCompactWalkCb, Routing::PatriciaTrieIteratorCb,
                 Routing::PatriciaTrieCompactIteratorCb, Routing::PatriciaTrieDumpStateWalkCb,
                 Routing::PatriciaTrieCompactDumpStateWalkCb)
