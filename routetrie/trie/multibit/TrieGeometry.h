// TrieGeometry: how a multibit trie cuts an IPv4 address into six keys, and how a route's length becomes a bit.
//
//    level     0        1        2     3     4     5
//    bits      31-24    23-16    15-12 11-8  7-4   3-0       of the host-order address: the key at that level
//    lengths   1-8      9-16     17-20 21-24 25-28 29-32     of the routes that a node of the level holds
//
// A route of length L is b = levelEndBit - L bits short of filling its node, so it covers 2^b entries there. Its route
// bit, 1 << b, says both: it is the bit that is set, and the number of entries that it is set in. Within an entry's byte a
// higher bit is a shorter route. `bitPos` counts the bits into the node, from 1 for the shortest: stride - b.
//
// The default route has no bit anywhere.
// Tested by tests/trie/multibit/TrieGeometryTest.cpp.
#pragma once

#include <cstdint>

#include "routetrie/platform/Corenet/Prefix.h"
#include "routetrie/platform/Corvid/Assert.h"
#include "routetrie/platform/Types.h"

namespace TrieImpl {

// By level; two slots more than there are levels, so that "the level below" can be asked for without a test.
inline constexpr U32 levelStride[8] = {8, 8, 4, 4, 4, 4, 0, 0};           // bits of the key
inline constexpr U32 levelEntries[8] = {256, 256, 16, 16, 16, 16, 0, 0};  // entries of a node
inline constexpr U32 levelEndBit[8] = {8, 16, 20, 24, 28, 32, 0, 0};      // length of a route that fills a node

inline constexpr U32 leafLevel = 5;

// The level whose nodes hold routes of that length: 0 for the default route, 5 for the null prefix.
constexpr U32 levelOf(U32 length) noexcept {
   return length <= 8 ? 0 : length <= 16 ? 1 : length <= 20 ? 2 : length <= 24 ? 3 : length <= 28 ? 4 : leafLevel;
}

// How many bits a route of `length` is short of filling a node of that level. Lengths count modulo 32, so that the null
// prefix is taken for one of length 31 and shifts no further than a word. Requires: `level` is levelOf(`length`).
constexpr U32 bitsShortOf(U32 level, U32 length) noexcept { return (levelEndBit[level] - length) % 32; }

// The same with one more, and not modulo 32: 32 bits of a figure below 0 for the null prefix alone. A walk from a prefix leaves
// out the routes of a node that go less than its stride + 1 - this many bits into it.
constexpr U32 lengthWithinNode(U32 level, U32 length) noexcept { return levelEndBit[level] - length + 1; }

// The route bit of a route at its own level. Requires: `length` is not 0.
constexpr U8 routeBitOf(U32 length) noexcept {
   return static_cast<U8>(U32{1} << bitsShortOf(levelOf(length), length));
}

// The first `length` bits set. Unlike an address's own mask it is empty for the null prefix, which nothing covers.
constexpr U32 lengthMask(U32 length) noexcept {
   return static_cast<U32>(std::uint64_t{0xffffffff} << (32 - length) % 64);
}

// The address, in host order, of the node of that level on the way to `address`: the keys above, and then zeros.
constexpr U32 nodeAddress(U32 level, U32 address) noexcept {
   return level == 0 ? 0 : address & lengthMask(levelEndBit[level - 1]);
}

}  // namespace TrieImpl

// The key of a host-order address at that level. Asserts "!\"Invalid Trie level\"".
inline U32 keyi(U32 level, U32 address) {
   switch (level) {
      case 0: return address >> 24;
      case 1: return address >> 16 & 255;
      case 2: return address >> 12 & 15;
      case 3: return address >> 8 & 15;
      case 4: return address >> 4 & 15;
      case 5: return address & 15;
      default: ROUTETRIE_ASSERT(false, "!\"Invalid Trie level\""); return 0;
   }
}
