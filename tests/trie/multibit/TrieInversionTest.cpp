#include "routetrie/trie/multibit/TrieInversion.h"

#include <gtest/gtest.h>

#include "routetrie/trie/multibit/TrieGeometry.h"

namespace TrieInversionTest {

using namespace TrieImpl;

TEST(TrieInversion, everyBitBeginsAtEntry0) {
   for (int level = -1; level <= 9; ++level) {
      EXPECT_EQ(255, prefixBoundary(level, 0));  // also at levels that there are not
   }
}

TEST(TrieInversion, aBitBeginsWhereTheEntryIsAlignedToItsSpan) {
   for (U32 level = 0; level <= leafLevel; ++level) {
      for (U32 entry = 1; entry < levelEntries[level]; ++entry) {
         U32 expected = 0;
         for (U32 shortOf = 0; shortOf < levelStride[level]; ++shortOf) {
            expected |= entry % (1u << shortOf) == 0 ? 1u << shortOf : 0;
         }
         EXPECT_EQ(expected, prefixBoundary(static_cast<int>(level), static_cast<int>(entry)));
      }
   }
}

TEST(TrieInversionDeathTest, aLevelThatThereIsNotAborts) {
   for (int level : {-1, 6, 7, 8}) {
      EXPECT_DEATH(prefixBoundary(level, 1),
                   "U8 prefixBoundary\\(int, int\\): Assertion `stride > 0 && stride <= 8' failed");
   }
}

TEST(TrieInversion, lengthsCountTheLevelsAbove) {
   const int above[] = {0, 8, 16, 20, 24, 28, 0, 0};
   for (int level = 0; level < 8; ++level) {
      EXPECT_EQ(above[level] + 3, computeLen(level, 3));
   }
   EXPECT_EQ(4, computeLen(-1, 4));
}

TEST(TrieInversion, addressesAreCutToTheBitsIntoTheNode) {
   EXPECT_EQ(0x0a000000u, computePrefix(0, 0xffffffff, 11, 7));  // the node of level 0 has no address
   EXPECT_EQ(0x0b000000u, computePrefix(0, 0, 11, 8));
   EXPECT_EQ(0x80000000u, computePrefix(0, 0, 255, 1));
   EXPECT_EQ(0x0a800000u, computePrefix(1, 0x0a000000, 0xff, 1));
   EXPECT_EQ(0x0a01f000u, computePrefix(2, 0x0a010000, 15, 4));
   EXPECT_EQ(0x0a01fe00u, computePrefix(3, 0x0a01f000, 15, 3));
   EXPECT_EQ(0x0a01ffc0u, computePrefix(4, 0x0a01ff00, 15, 2));
   EXPECT_EQ(0x0a01fff8u, computePrefix(5, 0x0a01fff0, 15, 1));
   EXPECT_EQ(0u, computePrefix(6, 0x0a000000, 15, 1));
   EXPECT_EQ(0u, computePrefix(-1, 0x0a000000, 15, 1));
}

// There and back, for every route on the way to one address and its neighbours in each node.
TEST(TrieInversion, invertsTheWayThere) {
   for (U32 length = 1; length <= 32; ++length) {
      const U32 level = levelOf(length);
      const U32 bitPos = levelStride[level] - bitsShortOf(level, length);
      const U32 node = nodeAddress(level, 0xa5c3e1f7);
      for (U32 entry = 0; entry < levelEntries[level]; ++entry) {
         const U32 address = (node | entry << (32 - levelEndBit[level])) & lengthMask(length);
         const U32 first = keyi(level, address);
         EXPECT_EQ(static_cast<int>(length), computeLen(static_cast<int>(level), static_cast<int>(bitPos)));
         EXPECT_EQ(address,
                   computePrefix(static_cast<int>(level), node, static_cast<U8>(first), static_cast<int>(bitPos)));
         EXPECT_NE(0, prefixBoundary(static_cast<int>(level), static_cast<int>(first)) & routeBitOf(length));
         EXPECT_EQ(entry == first,
                   (prefixBoundary(static_cast<int>(level), static_cast<int>(entry)) & routeBitOf(length)) != 0);
      }
   }
}

}  // namespace TrieInversionTest
