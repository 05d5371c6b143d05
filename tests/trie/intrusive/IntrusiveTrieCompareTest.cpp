#include "routetrie/trie/intrusive/IntrusiveTrieCompare.h"

#include <gtest/gtest.h>

#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "tests/property/Scale.h"

namespace IntrusiveTrieCompareTest {

using namespace Sprig::Intrusive::Impl;
using Corenet::PrefixDataAndLength;
using Difference = CompareResult::Difference;

template <class T>
std::string printed(const T& value) {
   std::ostringstream out;
   out << value;
   return out.str();
}

// The same prefix in memory of its own that ends with it, so that the address sanitizer sees a read past it.
struct Exact {
   std::vector<U8> bytes;
   U32 length;

   Exact(const std::vector<U8>& source, U32 bits)
      : bytes(source.begin(), source.begin() + static_cast<std::ptrdiff_t>((bits + 7) / 8)), length(bits) {
      bytes.shrink_to_fit();
   }
   PrefixDataAndLength view() const { return {bytes.empty() ? nullptr : bytes.data(), length}; }
};

bool bitAt(const Exact& prefix, U32 n) { return (prefix.bytes[n / 8] << n % 8 & 0x80) != 0; }

// One bit after the other.
CompareResult slowCompare(const Exact& lhs, const Exact& rhs) {
   for (U32 n = 0;; ++n) {
      const auto common = static_cast<U8>(n);
      if (n == lhs.length && n == rhs.length) {
         return {common, Difference::none};
      }
      if (n == rhs.length) {
         return {common, bitAt(lhs, n) ? Difference::lhsLongerAndSet : Difference::lhsLongerAndClear};
      }
      if (n == lhs.length) {
         return {common, bitAt(rhs, n) ? Difference::rhsLongerAndSet : Difference::rhsLongerAndClear};
      }
      if (bitAt(lhs, n) != bitAt(rhs, n)) {
         return {common, bitAt(lhs, n) ? Difference::bothLongerAndLhsSet : Difference::bothLongerAndRhsSet};
      }
   }
}

TEST(CompareResult, printsAsItsFields) {
   EXPECT_EQ("{commonLength=12 lhsLongerAndSet}", printed(CompareResult{12, Difference::lhsLongerAndSet}));
   EXPECT_EQ("{commonLength=0 none}", printed(CompareResult{}));
   EXPECT_EQ("{commonLength=254 rhsLongerAndClear}", printed(CompareResult{254, Difference::rhsLongerAndClear}));
}

TEST(CompareResult, aDifferencePrintsAsItsName) {
   const char* const names[] = {"none",
                                "bothLongerAndLhsSet",
                                "bothLongerAndRhsSet",
                                "lhsLongerAndSet",
                                "lhsLongerAndClear",
                                "rhsLongerAndSet",
                                "rhsLongerAndClear"};
   for (U8 value = 0; value < 7; ++value) {
      EXPECT_EQ(names[value], printed(static_cast<Difference>(value)));
   }
}

TEST(CompareResult, aDifferenceOutsideTheTablePrintsAsUnknown) {
   EXPECT_EQ("unknown 7", printed(static_cast<Difference>(7)));
   EXPECT_EQ("unknown 255", printed(static_cast<Difference>(255)));
   EXPECT_EQ("{commonLength=3 unknown 9}", printed(CompareResult{3, static_cast<Difference>(9)}));
}

TEST(Compare, eachDifference) {
   const U8 ten[] = {10, 0, 0};
   const U8 tenHigh[] = {10, 128, 0};
   const U8 eleven[] = {11, 0, 0};
   EXPECT_EQ((CompareResult{8, Difference::none}), compare({ten, 8}, {tenHigh, 8}, 0));
   EXPECT_EQ((CompareResult{7, Difference::bothLongerAndLhsSet}), compare({eleven, 8}, {ten, 8}, 0));
   EXPECT_EQ((CompareResult{7, Difference::bothLongerAndRhsSet}), compare({ten, 8}, {eleven, 8}, 0));
   EXPECT_EQ((CompareResult{8, Difference::lhsLongerAndSet}), compare({tenHigh, 9}, {ten, 8}, 0));
   EXPECT_EQ((CompareResult{8, Difference::lhsLongerAndClear}), compare({ten, 9}, {ten, 8}, 0));
   EXPECT_EQ((CompareResult{8, Difference::rhsLongerAndSet}), compare({ten, 8}, {tenHigh, 9}, 0));
   EXPECT_EQ((CompareResult{8, Difference::rhsLongerAndClear}), compare({ten, 8}, {ten, 9}, 0));
   EXPECT_EQ((CompareResult{0, Difference::none}), compare({nullptr, 0}, {nullptr, 0}, 0));
   EXPECT_EQ((CompareResult{0, Difference::rhsLongerAndClear}), compare({nullptr, 0}, {ten, 1}, 0));
}

TEST(Compare, agreesWithABitByBitModel) {
   std::mt19937_64 random(Property::seed());
   for (int round = 0; round < 20'000; ++round) {
      // Close relatives: the same bytes but for one bit, of any two lengths; junk past the lengths.
      std::vector<U8> one(32);
      for (U8& byte : one) {
         byte = static_cast<U8>(random());
      }
      std::vector<U8> two = one;
      if (round % 4 != 0) {
         const std::size_t n = random() % 256;
         two[n / 8] = static_cast<U8>(two[n / 8] ^ 0x80 >> n % 8);
      }
      const Exact lhs(one, static_cast<U32>(random() % 255));
      const Exact rhs(two, static_cast<U32>(random() % 8 != 0 ? random() % 255 : lhs.length));
      const CompareResult expected = slowCompare(lhs, rhs);
      ASSERT_EQ(printed(expected), printed(compare(lhs.view(), rhs.view(), 0))) << lhs.length << ' ' << rhs.length;
      // Whatever is known to be the same need not be looked at again.
      const auto known = static_cast<U32>(random() % (expected.commonLength + 1U));
      ASSERT_EQ(expected, compare(lhs.view(), rhs.view(), known)) << lhs.length << ' ' << rhs.length << ' ' << known;
   }
}

// The bytes before the one that holds the last known bit are not read.
TEST(Compare, startsAtTheByteThatHoldsTheKnownBits) {
   const U8 one[] = {1, 2, 0xf0, 7};
   const U8 two[] = {9, 9, 0xf0, 6};
   EXPECT_EQ((CompareResult{31, Difference::bothLongerAndLhsSet}), compare({one, 32}, {two, 32}, 16));
   EXPECT_EQ((CompareResult{31, Difference::bothLongerAndLhsSet}), compare({one, 32}, {two, 32}, 23));
   EXPECT_EQ((CompareResult{4, Difference::bothLongerAndRhsSet}), compare({one, 32}, {two, 32}, 7));
}

}  // namespace IntrusiveTrieCompareTest
