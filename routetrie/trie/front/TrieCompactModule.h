// The module record of the compact trie.
#pragma once

#include "routetrie/platform/Corvid/ModulePlace.h"

namespace Routing {
class TrieCompact;
}  // namespace Routing

ROUTETRIE_MODULE(_TrieCompact_5440f3a2dc7affb3_teskModule, Routing::TrieCompact)
