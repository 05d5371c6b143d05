// The module record of the IPv6 trie.
#pragma once

#include "routetrie/platform/Corvid/ModulePlace.h"

namespace Routing6 {
class Trie;
}  // namespace Routing6

ROUTETRIE_MODULE(_Trie6_1ac275be1db58207_teskModule, Routing6::Trie)
