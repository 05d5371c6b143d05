#include "routetrie/trie/patricia/BlackBits.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <random>
#include <set>

namespace BlackBitsTest {

using PatriciaTrieImpl::BlackBits;
using Lengths = std::set<U32>;

template <class Bits>
Bits bitsOf(const Lengths& lengths) {
   Bits bits;
   bits.clear();
   for (const U32 length : lengths) {
      bits.blackIs(length, true);
   }
   return bits;
}

template <class Bits>
Lengths lengthsOf(const Bits& bits) {
   Lengths lengths;
   for (U32 length = 1; length <= Bits::maxLength; ++length) {
      if (bits.black(length)) {
         lengths.insert(length);
      }
   }
   return lengths;
}

Lengths upTo(const Lengths& all, U32 length) { return {all.begin(), all.upper_bound(length)}; }
Lengths above(const Lengths& all, U32 length) { return {all.upper_bound(length), all.end()}; }
Lengths both(Lengths a, const Lengths& b) {
   a.insert(b.begin(), b.end());
   return a;
}
U32 firstOf(const Lengths& lengths) { return lengths.empty() ? 0 : *lengths.begin(); }
U32 lastOf(const Lengths& lengths) { return lengths.empty() ? 0 : *lengths.rbegin(); }
U32 unlessAbove(U32 length, U32 limit) { return length <= limit ? length : 0; }

template <class Bits>
class BlackBitsTest : public testing::Test {};
using Widths = testing::Types<BlackBits<1>, BlackBits<4>>;
TYPED_TEST_SUITE(BlackBitsTest, Widths);

// Every operation at every length against a set of lengths.
TYPED_TEST(BlackBitsTest, agreesWithASet) {
   constexpr U32 maxLength = TypeParam::maxLength;
   const auto seed = std::random_device{}();
   SCOPED_TRACE("seed " + std::to_string(seed));
   std::mt19937 random(seed);
   for (int round = 0; round < 60; ++round) {
      const auto sparsity = 1 + random() % 40;
      Lengths lengths;
      Lengths others;
      for (U32 length = 1; length <= maxLength; ++length) {
         if (random() % sparsity == 0) {
            lengths.insert(length);
         }
         if (random() % sparsity == 0) {
            others.insert(length);
         }
      }
      const auto bits = bitsOf<TypeParam>(lengths);
      const auto otherBits = bitsOf<TypeParam>(others);
      ASSERT_EQ(lengths, lengthsOf(bits));
      ASSERT_EQ(lengths.empty(), bits.isWhite());
      ASSERT_EQ(lengths.size(), bits.count());
      ASSERT_EQ(lastOf(lengths), bits.last());
      auto merged = bits;
      merged.merge(otherBits.words);
      ASSERT_EQ(both(lengths, others), lengthsOf(merged));
      for (U32 n = 0; n <= maxLength; ++n) {
         SCOPED_TRACE(n);
         ASSERT_EQ(unlessAbove(firstOf(lengths), n), bits.first(n));
         ASSERT_EQ(n == 0 ? 0 : firstOf(above(lengths, n)), bits.next(n, maxLength));
         ASSERT_EQ(n == 0 ? 0 : unlessAbove(firstOf(above(lengths, n)), n + 5), bits.next(n, n + 5));
         ASSERT_EQ(lastOf(upTo(lengths, n)), bits.prev(n));
         auto cutMerge = bits;
         cutMerge.mergeUpTo(otherBits.words, n);
         ASSERT_EQ(both(lengths, upTo(others, n)), lengthsOf(cutMerge));
         auto least = bits;
         least.clearUpTo(n);
         if (maxLength == 32 && n == 32) {
            ASSERT_EQ(lengths, lengthsOf(least)) << "the shift is taken modulo 32";
         } else {
            ASSERT_EQ(above(lengths, n), lengthsOf(least));
         }
         auto most = bits;
         most.clearAbove(n);
         const U32 kept = n != 0 && n % 32 == 0 ? std::min(n + 32, maxLength) : n;
         ASSERT_EQ(upTo(lengths, maxLength == 32 ? n : kept), lengthsOf(most)) << "the word behind a border stays";
      }
   }
}

TYPED_TEST(BlackBitsTest, onlyBlackWritesOneWord) {
   TypeParam bits;
   for (U32 length = 0; length <= TypeParam::maxLength; ++length) {
      for (const bool value : {false, true}) {
         std::fill(std::begin(bits.words), std::end(bits.words), 0x5a5a5a5a);
         bits.onlyBlackIs(length, value);
         for (U32 word = 0; word < std::size(bits.words); ++word) {
            const bool own = length != 0 && word == (length - 1) / 32;
            const U32 expected = !own ? 0x5a5a5a5a : value ? U32{0x80000000} >> ((length - 1) % 32) : 0;
            ASSERT_EQ(expected, bits.words[word]) << length << ' ' << word;
         }
      }
   }
}

TYPED_TEST(BlackBitsTest, lengthsThatAreNotThereReadAsWhite) {
   TypeParam bits;
   std::fill(std::begin(bits.words), std::end(bits.words), ~0u);
   EXPECT_FALSE(bits.black(0));
   EXPECT_FALSE(bits.black(TypeParam::maxLength + 1));
   EXPECT_FALSE(bits.black(255));
   EXPECT_EQ(0u, bits.next(TypeParam::maxLength, 255));
   // One word alone takes any length, modulo 32.
   EXPECT_EQ(TypeParam::maxLength == 32 ? 2u : 0u, bits.next(TypeParam::maxLength + 1, 255));
   EXPECT_EQ(TypeParam::maxLength == 32 ? 32u : 0u, bits.next(255, 255));
   EXPECT_EQ(0u, bits.next(256, 255));
}

TEST(BlackBits, layout) {
   EXPECT_EQ(0x80000000u, bitsOf<BlackBits<4>>({1}).words[0]);
   EXPECT_EQ(1u, bitsOf<BlackBits<4>>({32}).words[0]) << "the last of word 0";
   EXPECT_EQ(0x80000000u, bitsOf<BlackBits<4>>({33}).words[1]) << "the first of word 1";
   EXPECT_EQ(1u, bitsOf<BlackBits<4>>({128}).words[3]);
}

TEST(BlackBitsDeathTest, prevPastTheLastWord) {
   const auto bits = bitsOf<BlackBits<4>>({8});
   EXPECT_EQ(8u, bits.prev(128));
   EXPECT_DEATH(static_cast<void>(bits.prev(129)), "word < 4' failed");
}

}  // namespace BlackBitsTest
