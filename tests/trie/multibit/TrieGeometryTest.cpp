#include "routetrie/trie/multibit/TrieGeometry.h"

#include <gtest/gtest.h>

#include "routetrie/platform/Corenet/AddressBits.h"

namespace TrieGeometryTest {

using namespace TrieImpl;

TEST(TrieGeometry, tablesHaveTwoEmptySlotsPastTheLastLevel) {
   for (U32 level = 0; level < 8; ++level) {
      const bool isLevel = level <= leafLevel;
      EXPECT_EQ(!isLevel ? 0u : level < 2 ? 8u : 4u, levelStride[level]);
      EXPECT_EQ(!isLevel ? 0u : 1u << levelStride[level], levelEntries[level]);
      EXPECT_EQ(!isLevel     ? 0u
                : level == 0 ? levelStride[0]
                             : levelEndBit[level - 1] + levelStride[level],
                levelEndBit[level]);
   }
   EXPECT_EQ(32u, levelEndBit[leafLevel]);
   EXPECT_EQ(16u, levelEntries[4 + 1]);
}

TEST(TrieGeometry, keysCutTheAddress) {
   const U32 address = 0xa1b2c3d4;
   EXPECT_EQ(0xa1u, keyi(0, address));
   EXPECT_EQ(0xb2u, keyi(1, address));
   EXPECT_EQ(0xcu, keyi(2, address));
   EXPECT_EQ(0x3u, keyi(3, address));
   EXPECT_EQ(0xdu, keyi(4, address));
   EXPECT_EQ(0x4u, keyi(5, address));
}

TEST(TrieGeometryDeathTest, keyOfNoLevelAborts) {
   EXPECT_DEATH(keyi(6, 0), "U32 keyi\\(U32, U32\\): Assertion `!\"Invalid Trie level\"' failed");
   EXPECT_DEATH(keyi(~0u, 0), "!\"Invalid Trie level\"");
}

TEST(TrieGeometry, aLengthHasOneLevel) {
   U32 level = 0;
   for (U32 length = 0; length <= 32; ++length) {
      level += length > levelEndBit[level];
      EXPECT_EQ(level, levelOf(length)) << length;
   }
   EXPECT_EQ(leafLevel, levelOf(255));
}

TEST(TrieGeometry, theRouteBitIsTheNumberOfEntriesThatARouteCovers) {
   for (U32 length = 1; length <= 32; ++length) {
      const U32 level = levelOf(length);
      const U32 shortOf = levelEndBit[level] - length;
      EXPECT_EQ(shortOf, bitsShortOf(level, length));
      EXPECT_EQ(1u << shortOf, routeBitOf(length));
   }
   EXPECT_EQ(128, routeBitOf(1));
   EXPECT_EQ(1, routeBitOf(8));
   EXPECT_EQ(8, routeBitOf(17));
   EXPECT_EQ(256u, 1u << bitsShortOf(0, 0));  // the default route covers every entry of the root
}

TEST(TrieGeometry, theNullPrefixCountsAsLength31) {
   EXPECT_EQ(routeBitOf(31), routeBitOf(255));
   EXPECT_EQ(1u, bitsShortOf(leafLevel, 255));
}

TEST(TrieGeometry, masksAreThoseOfAddressesButForTheNullPrefix) {
   for (U32 length = 0; length <= 32; ++length) {
      EXPECT_EQ(Corenet::AddressBits<32>::mask(length), lengthMask(length));
   }
   EXPECT_EQ(0u, lengthMask(255));
}

TEST(TrieGeometry, aNodesAddressHasTheKeysAboveIt) {
   const U32 address = 0xa1b2c3d4;
   EXPECT_EQ(0u, nodeAddress(0, address));
   EXPECT_EQ(0xa1000000u, nodeAddress(1, address));
   EXPECT_EQ(0xa1b20000u, nodeAddress(2, address));
   EXPECT_EQ(0xa1b2c000u, nodeAddress(3, address));
   EXPECT_EQ(0xa1b2c300u, nodeAddress(4, address));
   EXPECT_EQ(0xa1b2c3d0u, nodeAddress(5, address));
}

}  // namespace TrieGeometryTest
