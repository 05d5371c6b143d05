// RangeCut: the prefixes of a range cover it exactly, and no smaller number of prefixes would.
#include "tools/tables/RangeCut.h"

#include <gtest/gtest.h>

#include <limits>
#include <vector>

#include "Support.h"

namespace Rtrie {
namespace RangeCutTest {

template <class Number>
struct Cut {
   Number first;
   unsigned lengthBits;
   bool operator==(const Cut&) const = default;
};

template <class Number>
std::vector<Cut<Number>> cutsOf(Number first, Number last) {
   std::vector<Cut<Number>> cuts;
   cutRange(first, last, [&](Number address, U8 lengthBits) { cuts.push_back({address, lengthBits}); });
   return cuts;
}

// Fewest aligned blocks from `at` to `end` (excluded), by trying every block at every place.
unsigned fewest(unsigned at, unsigned end) {
   if (at == end) {
      return 0;
   }
   unsigned best = std::numeric_limits<unsigned>::max();
   for (unsigned size = 1; at + size <= end; size *= 2) {
      if (at % size == 0) {
         best = std::min(best, 1 + fewest(at + size, end));
      }
   }
   return best;
}

// All ranges inside 16 addresses, at the bottom, in the middle and at the top of the space.
template <class Number>
void cutsAllRangesOfAWindow(Number base) {
   constexpr unsigned width = widthBits<Number>;
   for (unsigned first = 0; first < 16; ++first) {
      for (unsigned last = first; last < 16; ++last) {
         const auto cuts = cutsOf(static_cast<Number>(base + first), static_cast<Number>(base + last));
         Number next = static_cast<Number>(base + first);
         for (const auto& cut : cuts) {
            ASSERT_EQ(true, next == cut.first) << first << "-" << last;
            const Number size = static_cast<Number>(Number{1} << (width - cut.lengthBits));
            ASSERT_EQ(true, cut.first % size == 0) << first << "-" << last;
            next = static_cast<Number>(next + size);
         }
         ASSERT_EQ(true, next == static_cast<Number>(base + last + 1)) << first << "-" << last;
         ASSERT_EQ(fewest(first, last + 1), cuts.size()) << first << "-" << last;
      }
   }
}

TEST(RangeCut, coversEachRangeWithTheFewestPrefixes) {
   cutsAllRangesOfAWindow<U32>(0);
   cutsAllRangesOfAWindow<U32>(0x0a000010);
   cutsAllRangesOfAWindow<U32>(0xfffffff0);
   cutsAllRangesOfAWindow<Corenet::U128>(0);
   cutsAllRangesOfAWindow<Corenet::U128>((Corenet::U128{0x20010db8} << 96) + (Corenet::U128{1} << 64) -
                                         16);  // next to the middle word
   cutsAllRangesOfAWindow<Corenet::U128>(~Corenet::U128{0} - 15);
}

TEST(RangeCut, wholeSpacesAndWhatLacksOneAddress) {
   EXPECT_EQ((std::vector<Cut<U32>>{{0, 0}}), cutsOf<U32>(0, 0xffffffff));
   EXPECT_EQ((std::vector<Cut<Corenet::U128>>{{0, 0}}), cutsOf<Corenet::U128>(0, ~Corenet::U128{0}));
   EXPECT_EQ(32U, cutsOf<U32>(1, 0xffffffff).size());
   EXPECT_EQ(32U, cutsOf<U32>(0, 0xfffffffe).size());
   EXPECT_EQ(62U, cutsOf<U32>(1, 0xfffffffe).size());  // the most that an IPv4 range can take
   EXPECT_EQ(254U, cutsOf<Corenet::U128>(1, ~Corenet::U128{0} - 1).size());
}

TEST(RangeCut, namedExample) {
   EXPECT_EQ((std::vector<Cut<U32>>{{0x01000100, 24}, {0x01000200, 23}}), cutsOf<U32>(16777472, 16778239));
}

TEST(AddressNumber, prefixesAndBack) {
   EXPECT_EQ(Support::prefix("10.0.0.0/8"), prefixOf(U32{0x0a000000}, 8));
   EXPECT_EQ(Support::prefix("2001:db8::1/128"), prefixOf((Corenet::U128{0x20010db8} << 96) | 1, 128));
   EXPECT_EQ(0x0a000000U, numberOf(Corenet::IpAddr::fromString("10.0.0.0")));
   EXPECT_TRUE(((Corenet::U128{0x20010db8} << 96) | 1) == numberOf(Corenet::Ip6Addr::fromString("2001:db8::1")));
}

}  // namespace RangeCutTest
}  // namespace Rtrie
