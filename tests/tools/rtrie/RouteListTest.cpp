// RouteList: against a std::map that is told the same.
#include "tools/rtrie/RouteList.h"

#include <gtest/gtest.h>

#include <map>
#include <random>
#include <utility>

namespace Rtrie {
namespace {

using Oracle = std::map<std::pair<U32, unsigned>, U32>;

template <class Number>
Number widened(U32 address) {
   return static_cast<Number>(Number{address} << (widthBits<Number> - 32));
}

template <class Number>
void equalsOracle(const RouteList<Number>& list, const Oracle& oracle) {
   ASSERT_EQ(oracle.size(), list.routes().size());
   auto expected = oracle.begin();
   for (const auto& route : list.routes()) {
      ASSERT_TRUE(widened<Number>(expected->first.first) == route.address.number());
      ASSERT_EQ(expected->first.second, route.lengthBits);
      ASSERT_EQ(expected->second, route.payload);
      ++expected;
   }
}

template <class Number>
void randomHistory(unsigned seed, unsigned addresses, unsigned steps) {
   SCOPED_TRACE(seed);
   std::mt19937 random(seed);
   RouteList<Number> list;
   Oracle oracle;
   for (unsigned i = 0; i < steps; ++i) {
      const U32 address = static_cast<U32>(random() % addresses) << 28;
      const U8 length = static_cast<U8>(4 + random() % 3);
      if (random() % 4 == 0) {
         list.withdraw(widened<Number>(address), length);
         oracle.erase({address, length});
      } else {
         list.add(widened<Number>(address), length, i);
         oracle[{address, length}] = i;
      }
      if (random() % 16 == 0) {
         list.seal();
         equalsOracle(list, oracle);
      }
   }
   list.seal();
   equalsOracle(list, oracle);
   for (unsigned address = 0; address < 16; ++address) {
      for (U8 length = 3; length < 8; ++length) {
         const auto expected = oracle.find({address << 28, length});
         const auto found = list.payloadOf(widened<Number>(address << 28), length);
         ASSERT_EQ(expected != oracle.end(), found.has_value());
         if (found) {
            ASSERT_EQ(expected->second, *found);
         }
      }
   }
}

TEST(RouteList, remembersTheLastWordOnEachPrefix) {
   for (unsigned seed = 0; seed < 50; ++seed) {
      randomHistory<U32>(seed, 16, 200);
      randomHistory<Corenet::U128>(seed, 16, 200);
   }
}

TEST(RouteList, sealsItselfWhileOnePrefixIsToldOverAndOver) {
   RouteList<U32> list;
   constexpr U32 times = 2'500'000;  // past the number of entries at which the list seals itself
   for (U32 i = 0; i < times; ++i) {
      list.add(0x0a000000, 8, i);
      if (i % 1000 == 0) {
         list.withdraw(0x0b000000, 8);
      }
   }
   list.seal();
   ASSERT_EQ(1U, list.routes().size());
   EXPECT_EQ(times - 1, list.payloadOf(0x0a000000, 8));
   EXPECT_LT(list.capacity(), times);
}

TEST(RouteList, anEmptyListHasNothing) {
   RouteList<Corenet::U128> list;
   EXPECT_EQ(std::nullopt, list.payloadOf(0, 0));
   list.seal();
   EXPECT_EQ(std::nullopt, list.payloadOf(0, 0));
   EXPECT_TRUE(list.routes().empty());
}

}  // namespace
}  // namespace Rtrie
