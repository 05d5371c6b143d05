// TrieLengths: the routes that cover an address, as one word: bit 32 - L is set for a route of length L.
// Tested by tests/trie/TrieLookupTest.cpp.
#pragma once

#include <bit>

#include "trie/Trie.h"

namespace Routing {

// The longest of these routes; without one the default route, or the null prefix.
inline Corenet::Prefix longestOf(U32 lengths, U32 address, bool defaultRoutePresent) {
   if (lengths != 0) {
      return pfx(address, 32 - static_cast<U32>(std::countr_zero(lengths)));
   }
   return defaultRoutePresent ? Corenet::Prefix() : Corenet::Prefix::nullPrefix();
}

}  // namespace Routing
