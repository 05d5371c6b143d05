#include "routetrie/table/Lengths.h"

#include <gtest/gtest.h>

#include <optional>
#include <set>

namespace routetrie::Impl {
namespace LengthsTest {

template <unsigned width>
void compareWithASet() {
   // Every one, two and some three of them: at the ends and where words meet.
   constexpr unsigned some[] = {0, 1, 31, 32, 33, 62, 63, 64, 65, 127, 128};
   for (const unsigned a : some) {
      for (const unsigned b : some) {
         if (a > width || b > width) {
            continue;
         }
         Lengths<width> lengths;
         EXPECT_TRUE(lengths.empty());
         lengths.insert(a);
         lengths.insert(b);
         const std::set<unsigned> model{a, b};
         EXPECT_FALSE(lengths.empty());
         for (unsigned n = 0; n <= width; ++n) {
            EXPECT_EQ(model.contains(n), lengths.contains(n)) << n;
            const auto above = model.lower_bound(n);
            EXPECT_EQ(above == model.end() ? std::nullopt : std::optional(*above), lengths.atLeast(n)) << n;
            const auto past = model.upper_bound(n);
            EXPECT_EQ(past == model.begin() ? std::nullopt : std::optional(*std::prev(past)), lengths.atMost(n)) << n;
         }
      }
   }
}

TEST(Lengths, areASet) {
   compareWithASet<32>();
   compareWithASet<128>();
}

TEST(Lengths, anEmptyOneHasNeitherFirstNorLast) {
   constexpr Lengths<128> none;
   static_assert(none.empty());
   static_assert(!none.atLeast(0) && !none.atMost(128));
   EXPECT_EQ(Lengths<32>(), Lengths<32>());
}

// Steps of an iterator ask for one more than the longest.
TEST(Lengths, pastTheLongestThereIsNothing) {
   Lengths<32> four;
   four.insert(32);
   EXPECT_EQ(std::nullopt, four.atLeast(33));
   Lengths<128> six;
   six.insert(128);
   EXPECT_EQ(std::nullopt, six.atLeast(129));
   EXPECT_EQ(128u, six.atMost(128));
   Lengths<128> other = six;
   EXPECT_EQ(six, other);
   other.insert(0);
   EXPECT_NE(six, other);
}

}  // namespace LengthsTest
}  // namespace routetrie::Impl
