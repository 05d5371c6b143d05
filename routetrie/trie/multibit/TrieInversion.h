// TrieInversion: from route bits back to prefixes, the way that walks go (routetrie/trie/multibit/TrieGeometry.h has the way there).
// Tested by tests/trie/multibit/TrieInversionTest.cpp, which inverts every route of a node of each level.
#pragma once

#include <algorithm>
#include <bit>

#include "routetrie/platform/Export.h"
#include "routetrie/platform/Types.h"
#include "routetrie/trie/multibit/TrieGeometry.h"

namespace TrieImpl {

// What prefixBoundary answers, without its trace. Requires: `stride` is that of a level.
inline U8 boundaryBits(U32 stride, U32 i) noexcept {
   if (i == 0) {
      return 255;
   }
   // A route that is b bits short of filling the node begins at an entry with b zeros at the end.
   const U32 zeros = std::min(static_cast<U32>(std::countr_zero(i)), stride - 1);
   return static_cast<U8>(((U32{1} << stride) - 1) >> (stride - 1 - zeros));
}

// What computePrefix answers at a level that there is.
inline U32 routeAddress(U32 level, U32 prefix, U32 i, U32 bitPos) noexcept {
   // Taken by itself: g++ 12 gets it wrong within the shift below when it is told to check bounds.
   const U32 topBit = levelEntries[level] / 2;
   // Modulo 32 for the sake of a damaged route byte, whose `bitPos` may be below 1.
   const U32 key = i & (U32{0} - (topBit >> (bitPos - 1) % 32));
   const U32 above = level == 0 ? 0 : prefix;
   return above | key << (32 - levelEndBit[level]);
}

}  // namespace TrieImpl

// The route bits for which entry `i` is the first that the route covers, so that a walk can report each route once. 255 for
// entry 0, whatever the level. Asserts "stride > 0 && stride <= 8" at a level that there is not.
ROUTETRIE_EXPORT U8 prefixBoundary(int level, int i);

// The length of a route that goes `bitPos` bits into a node of that level.
ROUTETRIE_EXPORT int computeLen(int level, int bitPos);

// The host-order address of the route at entry `i`, `bitPos` bits into a node of that level whose own address is `prefix`. With
// the node's stride for `bitPos` it is the address of the child at `i`. 0 at a level that there is not.
// Requires: `bitPos` is 1 to the node's stride.
ROUTETRIE_EXPORT U32 computePrefix(int level, U32 prefix, U8 i, int bitPos);
