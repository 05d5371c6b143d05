#include "routetrie/difference.h"

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <iterator>
#include <map>
#include <random>
#include <string>
#include <type_traits>
#include <vector>

#include "routetrie/route_set.h"
#include "routetrie/snapshot.h"

namespace routetrie {
namespace DifferenceTest {

using testing::ElementsAre;
using testing::IsEmpty;

template <class Range>
std::vector<std::string> texts(const Range& range) {
   std::vector<std::string> list;
   for (const auto& d : range) {
      std::string text = fmt::format("{}:", d.prefix);
      text += d.before ? fmt::format(" {}", *d.before) : " none";
      text += d.after ? fmt::format(" -> {}", *d.after) : " -> none";
      list.push_back(text);
   }
   return list;
}

static_assert(std::forward_iterator<difference_iterator<table4<int>, table4<int>, std::equal_to<>>>);
static_assert(std::forward_iterator<difference_iterator<table<void>, table<void>, std::equal_to<>>>);

const table4<int> old4{{"10.0.0.0/8"_prefix, 1}, {"10.1.0.0/16"_prefix, 2}, {"11.0.0.0/8"_prefix, 3}};
const table4<int> new4{{"0.0.0.0/0"_prefix, 9}, {"10.0.0.0/8"_prefix, 1}, {"11.0.0.0/8"_prefix, 4}};

TEST(Difference, isWhatIsInOneAloneOrHasAnotherValue) {
   EXPECT_THAT(texts(difference(old4, new4)),
               ElementsAre("0.0.0.0/0: none -> 0.0.0.0/0 9", "10.1.0.0/16: 10.1.0.0/16 2 -> none",
                           "11.0.0.0/8: 11.0.0.0/8 3 -> 11.0.0.0/8 4"));
   EXPECT_THAT(texts(difference(old4, old4)), IsEmpty());
   EXPECT_THAT(texts(difference(table4<int>(), table4<int>())), IsEmpty());
   EXPECT_EQ(3, std::ranges::distance(difference(table4<int>(), old4)));
   EXPECT_EQ(3, std::ranges::distance(difference(old4, table4<int>())));
}

TEST(Difference, comparesAsItIsTold) {
   const int most = 1;
   const auto near = [&](int a, int b) { return std::abs(a - b) <= most; };
   EXPECT_THAT(texts(difference(old4, new4, near)),
               ElementsAre("0.0.0.0/0: none -> 0.0.0.0/0 9", "10.1.0.0/16: 10.1.0.0/16 2 -> none"));
   const table4<std::string> names{{"10.0.0.0/8"_prefix, "1"}, {"10.1.0.0/16"_prefix, "5"}};
   const auto byText = [](int a, const std::string& b) { return fmt::format("{}", a) == b; };
   EXPECT_THAT(texts(difference(old4, names, byText)),
               ElementsAre("10.1.0.0/16: 10.1.0.0/16 2 -> 10.1.0.0/16 5", "11.0.0.0/8: 11.0.0.0/8 3 -> none"));
}

TEST(Difference, ofSetsAndOfBothFamilies) {
   const route_set a{"10.0.0.0/8"_prefix, "2001:db8::/32"_prefix, "::/0"_prefix};
   const route_set b{"10.0.0.0/9"_prefix, "::/0"_prefix};
   EXPECT_THAT(texts(difference(a, b)),
               ElementsAre("10.0.0.0/8: 10.0.0.0/8 -> none", "10.0.0.0/9: none -> 10.0.0.0/9",
                           "2001:db8::/32: 2001:db8::/32 -> none"));
   const table<int> c{{"255.0.0.0/8"_prefix, 1}};
   const table<int> d{{"::/0"_prefix, 1}};
   EXPECT_THAT(texts(difference(c, d)), ElementsAre("255.0.0.0/8: 255.0.0.0/8 1 -> none", "::/0: none -> ::/0 1"));
}

TEST(Difference, isAPlaceThatMayBeKept) {
   const auto all = difference(old4, new4);
   auto at = all.begin();
   const auto first = at;
   EXPECT_EQ(first, at++);
   EXPECT_NE(first, at);
   EXPECT_EQ("10.1.0.0/16"_prefix, at->prefix);
   std::advance(at, 2);
   EXPECT_EQ(at, all.end());
}

TEST(Difference, turnsOneIntoTheOtherAsItIsWalked) {
   table4<int> a = old4;
   for (const auto& d : difference(a, new4)) {
      d.after ? (void)a.insert_or_assign(d.prefix, d.after->value) : (void)a.erase(d.prefix);
   }
   EXPECT_EQ(new4, a);
}

//--- tables that share memory ---

prefix4 randomPrefix(std::mt19937_64& random, prefix4) {
   const auto length = static_cast<unsigned>(random() % 3 == 0 ? random() % 33 : 12 + random() % 21);
   // Few short ways, many long ones under them.
   return prefix4::cut(prefix4::Bits(static_cast<std::uint32_t>(random() & 0x031f00ff) * 0x101u), length);
}
prefix6 randomPrefix(std::mt19937_64& random, prefix6) {
   const auto length = static_cast<unsigned>(random() % 129);
   const auto high = std::uint64_t{0x2001} << 48 | (random() & 0x0000'0003'8003'00ff);
   return prefix6::cut(
      prefix6::Bits(Corenet::U128{high} << 64 | (random() % 4 == 0 ? random() & 0xff00'0000'0000'0003 : 0)), length);
}
prefix randomPrefix(std::mt19937_64& random, prefix) {
   return random() % 2 == 0 ? prefix(randomPrefix(random, prefix4())) : prefix(randomPrefix(random, prefix6()));
}

template <class Table>
class SharedMemory : public testing::Test {
  public:
   using P = typename Table::prefix_type;
   using T = typename Table::mapped_type;

   static void put(Table& t, const P& p, std::uint64_t n) {
      if constexpr (!Table::has_values) {
         t.insert(p);
      } else if constexpr (std::is_same_v<T, std::string>) {
         t.insert_or_assign(p, fmt::format("value {}", n));
      } else {
         t.insert_or_assign(p, static_cast<T>(n));
      }
   }
   // As it is told by one pass over both, and as it is told where they share what they can.
   template <class A, class B>
   static void check(const A& a, const B& b) {
      if constexpr (Table::has_values) {
         const auto byHand = [](const T& x, const T& y) { return x == y; };
         ASSERT_EQ(texts(difference(a, b, byHand)), texts(difference(a, b)));
      } else {
         // Sets have no values to compare by hand.
         std::vector<std::string> wanted;
         std::map<P, int> in;
         for (const P& p : a) {
            in[p] |= 1;
         }
         for (const P& p : b) {
            in[p] |= 2;
         }
         for (const auto& [p, which] : in) {
            if (which != 3) {
               wanted.push_back(fmt::format("{}: {} -> {}", p, which == 1 ? fmt::format("{}", p) : "none",
                                            which == 2 ? fmt::format("{}", p) : "none"));
            }
         }
         ASSERT_EQ(wanted, texts(difference(a, b)));
      }
   }
};
template <class A, class B, class P>
void checkPlace(const A& a, const B& b, const P& from) {
   if (!Impl::Twins::mayAsk(a, b)) {
      return;
   }
   P to = from;
   const bool isThere = Impl::Twins::next(a, b, to);
   ASSERT_TRUE(!isThere || from <= to) << from << to;
   for (const auto& d : difference(a, b, [](const auto&x, const auto&y) { return x == y; })) {
      if (from <= d.prefix) {
         ASSERT_TRUE(isThere && to <= d.prefix) << from << ": " << to << " is behind " << d.prefix;
         break;
      }
   }
}
using SharingTables =
   testing::Types<table4<std::uint32_t>, table6<std::uint32_t>, table4<std::uint64_t>, table4<std::uint8_t>,
                  table4<std::string>, table6<std::string>, table6<void>, table<std::uint32_t>, table<std::string>>;
TYPED_TEST_SUITE(SharedMemory, SharingTables);

TYPED_TEST(SharedMemory, isPassedOverExactly) {
   using Prefix = typename TypeParam::prefix_type;
   for (unsigned seed = 1; seed <= 12; ++seed) {
      SCOPED_TRACE(fmt::format("seed {}", seed));
      std::mt19937_64 random(seed);
      TypeParam t;
      for (unsigned n = 0, count = 1 + static_cast<unsigned>(random() % 1500); n < count; ++n) {
         this->put(t, randomPrefix(random, Prefix()), random() % 3);
      }
      std::vector<decltype(t.snapshot())> before;
      for (unsigned round = 0; round < 6; ++round) {
         before.push_back(t.snapshot());
         for (unsigned n = 0, count = static_cast<unsigned>(random() % 30); n < count; ++n) {
            const Prefix p = randomPrefix(random, Prefix());
            const auto next = t.lower_bound(p);
            switch (random() % 3) {
               case 0: this->put(t, p, random() % 3); break;
               case 1: t.erase(next != t.end() ? Prefix(Impl::prefixIn(*next)) : p); break;
               default: this->put(t, next != t.end() ? Prefix(Impl::prefixIn(*next)) : p, random() % 3); break;
            }
         }
         ASSERT_EQ("", t.audit());
         this->check(before.back(), t);
         this->check(t, before[random() % before.size()]);
         this->check(before.back(), before[random() % before.size()]);
         if constexpr (prefix_of_one_family<Prefix> && TypeParam::has_values) {
            for (unsigned n = 0; n < 40; ++n) {
               checkPlace(before.back(), t, randomPrefix(random, Prefix()));
               checkPlace(t, before.front(), randomPrefix(random, Prefix()));
            }
         }
         if (random() % 4 == 0) {
            before.erase(before.begin());
         }
      }
      const TypeParam copy = t;
      this->check(before.front(), copy);
      this->check(copy, TypeParam());
      // What stands before the place may change on the way.
      if (!before.empty()) {
         for (const auto& d : difference(t, before.front())) {
            if (!d.after) {
               t.erase(d.prefix);
            } else if constexpr (TypeParam::has_values) {
               t.insert_or_assign(d.prefix, d.after->value);
            } else {
               t.insert(d.prefix);
            }
         }
         this->check(t, before.front());
         ASSERT_EQ(0, std::ranges::distance(difference(t, before.front())));
      }
   }
}

// Where most of two large tables is one and the same memory, none of that is looked at: a walk would take a thousand times as long.
TEST(Difference, followsTheChanges) {
   table4<unsigned> t;
   for (unsigned n = 0; n < 60'000; ++n) {
      t.insert({prefix4::cut(prefix4::Bits(n << 8), 24), n});
   }
   const auto before = t.snapshot();
   t.insert_or_assign(prefix4::cut(prefix4::Bits(30'000 << 8), 24), 1u);
   prefix4 p(address4(), 0);
   ASSERT_TRUE(Impl::Twins::mayAsk(before, t));
   ASSERT_TRUE(Impl::Twins::next(before, t, p));
   EXPECT_EQ(prefix4::cut(prefix4::Bits(30'000 << 8), 24), p) << "at once";
   p = prefix4::cut(prefix4::Bits(30'001 << 8), 24);
   EXPECT_FALSE(Impl::Twins::next(before, t, p));
   EXPECT_EQ(1, std::ranges::distance(difference(before, t)));
}

}  // namespace DifferenceTest
}  // namespace routetrie
