// The module record of Ipv6Trie and Ipv6TrieWithChangeNotifier.
#pragma once

#include "routetrie/platform/Corvid/ModulePlace.h"

namespace Sprig {
class Ipv6Trie;
class Ipv6TrieWithChangeNotifier;
}  // namespace Sprig

ROUTETRIE_MODULE(_Ipv6Trie_49b08d217c477b09_teskModule, Sprig::Ipv6Trie, Sprig::Ipv6TrieWithChangeNotifier)
