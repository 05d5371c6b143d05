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
#include <utility>
#include <vector>

#include "routetrie/route_set.h"
#include "routetrie/snapshot.h"
#include "tests/support/DifferencesByHand.h"

namespace routetrie {
namespace DifferenceTest {

using testing::ElementsAre;
using testing::IsEmpty;
using TestSupport::differencesByHand;
using TestSupport::differencesIn;

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
   const prefix4 changed = prefix4::cut(prefix4::Bits(30'000 << 8), 24);
   t.insert_or_assign(changed, 1u);
   const auto& a = Impl::Twins::treeOf(before);
   const auto& b = Impl::Twins::treeOf(t);
   Impl::Tree<32>::Twins place;
   ASSERT_TRUE(a.firstDifference(b, place, true));
   EXPECT_EQ(changed.bits(), place.bits) << "at once";
   EXPECT_EQ(24u, place.length);
   EXPECT_FALSE(a.nextDifference(b, place, true));
   unsigned count = 1;
   for (bool isThere = a.firstDifference(b, place, false); a.nextDifference(b, place, false) && isThere;) {
      ++count;
   }
   EXPECT_EQ(60'000u, count) << "else all of them";
   EXPECT_EQ(1, std::ranges::distance(difference(before, t)));
}

//--- the shapes that a way can have in one tree and in the other ---

// In both directions, for tables that share what they can and for a copy, which shares nothing.
template <class A, class B>
void checkFound(const A& a, const B& b) {
   using P = typename A::prefix_type;
   const auto byHand = [](unsigned x, unsigned y) { return x == y; };
   basic_table<P::width, unsigned> copy;
   for (const auto& route : b) {
      copy.insert({route.prefix, route.value});
   }
   ASSERT_EQ(differencesByHand(a, b), differencesIn<P>(difference(a, b)));
   ASSERT_EQ(differencesByHand(b, a), differencesIn<P>(difference(b, a)));
   ASSERT_EQ(differencesByHand(a, b), differencesIn<P>(difference(a, copy)));
   ASSERT_EQ(differencesByHand(b, a), differencesIn<P>(difference(copy, a)));
   ASSERT_EQ(differencesByHand(a, b), differencesIn<P>(difference(a, b, byHand)));
   ASSERT_THAT(differencesIn<P>(difference(b, copy)), IsEmpty());
}

struct Shape {
   const char* what;
   std::vector<const char*> before;
   std::vector<const char*> added;
};
const std::vector<Shape> shapes{
   {"nothing in either", {}, {}},
   {"no root in one", {}, {"10.0.0.0/8"}},
   {"the default route in one", {}, {"0.0.0.0/0"}},
   {"the default route above others", {"10.0.0.0/8", "10.1.1.1/32"}, {"0.0.0.0/0"}},
   {"a route of a node in one", {"10.0.0.0/8"}, {"10.0.0.0/7", "11.0.0.0/8"}},
   {"a child in one: a leaf", {"8.0.0.0/6"}, {"10.1.1.1/32"}},
   {"a child in one: a node", {"8.0.0.0/6"}, {"10.0.0.0/8", "10.0.0.0/9"}},
   {"a child in one: a skip", {"8.0.0.0/6"}, {"10.1.1.1/32", "10.1.1.2/32"}},
   {"a leaf against one of another address", {"10.1.1.0/24"}, {"11.1.1.0/24"}},
   {"a leaf against a node that has its route", {"10.1.1.0/24"}, {"10.0.0.0/12"}},
   {"a leaf against a node that has its route and longer ones", {"10.1.1.0/24"}, {"10.1.1.0/25", "10.1.1.128/25"}},
   {"a leaf against a skip that leads by it", {"10.1.1.1/32"}, {"10.1.1.2/32", "10.1.1.3/32"}},
   {"a leaf against a node on its way", {"10.1.1.1/32"}, {"10.0.0.0/8"}},
   {"a skip against a node on its way", {"10.1.1.1/32", "10.1.1.2/32"}, {"10.0.0.0/9"}},
   {"a skip against a node that it parts at", {"10.1.1.1/32", "10.1.1.2/32"}, {"11.0.0.0/16"}},
   {"a skip against a shorter one", {"10.1.1.1/32", "10.1.1.2/32"}, {"10.1.1.128/32"}},
   {"a skip against a leaf under another way", {"10.1.1.1/32", "10.1.1.2/32"}, {"10.1.0.0/17"}},
   {"the same skip to other routes", {"10.1.1.1/32", "10.1.1.2/32"}, {"10.1.1.3/32"}},
};
TEST(Difference, ofEachShape) {
   for (const Shape& shape : shapes) {
      SCOPED_TRACE(shape.what);
      for (const unsigned taken : {0u, 1u}) {  // with what was there before, and without its first
         table4<unsigned> four;
         table6<unsigned> six;
         // The same under a long way in IPv6.
         const auto in6 = [](const prefix4& p) {
            return prefix6::cut(prefix6::Bits(Corenet::U128{0x2001} << 112 | Corenet::U128{p.bits().word()} << 40),
                                p.len() == 0 ? 0 : 56u + p.len());
         };
         unsigned value = 1;
         for (const char* text : shape.before) {
            four.insert({parse<prefix4>(text).value(), value});
            six.insert({in6(parse<prefix4>(text).value()), value++});
         }
         const auto before4 = four.snapshot();
         const auto before6 = six.snapshot();
         for (const char* text : shape.added) {
            four.insert({parse<prefix4>(text).value(), value});
            six.insert({in6(parse<prefix4>(text).value()), value++});
         }
         if (taken != 0 && !shape.before.empty()) {
            four.erase(parse<prefix4>(shape.before[0]).value());
            six.erase(in6(parse<prefix4>(shape.before[0]).value()));
         }
         checkFound(before4, four);
         checkFound(before6, six);
         EXPECT_EQ(shape.added.size() + (shape.before.empty() ? 0 : taken), differencesByHand(before4, four).size());
      }
   }
}

// Few bits that count, far from each other: trees of few routes and many forms.
template <class P>
P sparsePrefix(std::mt19937_64& random, typename P::Bits::Word bitsThatCount) {
   using Word = typename P::Bits::Word;
   auto word = static_cast<Word>(random());
   if constexpr (P::width == 128) {
      word = word << 64 | random();
   }
   return P::cut(typename P::Bits(word & bitsThatCount), static_cast<unsigned>(random() % (P::width + 1)));
}
template <class P>
typename P::Bits::Word sparseBits(std::mt19937_64& random) {
   typename P::Bits::Word word = 0;
   for (unsigned n = 0, count = 1 + static_cast<unsigned>(random() % 6); n < count; ++n) {
      word |= typename P::Bits::Word{1} << (random() % P::width);
   }
   return word;
}
template <class Table, class P>
void changeOne(Table& t, const P& p, std::mt19937_64& random) {
   if (random() % 2 == 0) {
      t.erase(p);
   } else {
      t.insert_or_assign(p, 1 + static_cast<unsigned>(random() % 2));
   }
}

template <class Table>
class SparseDifference : public testing::Test {};
using SparseTables = testing::Types<table4<unsigned>, table6<unsigned>>;
TYPED_TEST_SUITE(SparseDifference, SparseTables);

TYPED_TEST(SparseDifference, isExactAndGoesOnWhereTheTablesChange) {
   using P = typename TypeParam::prefix_type;
   for (unsigned seed = 1; seed <= 1500; ++seed) {
      SCOPED_TRACE(fmt::format("seed {}", seed));
      std::mt19937_64 random(seed);
      const auto bits = sparseBits<P>(random);
      TypeParam a;
      for (unsigned n = 0, count = static_cast<unsigned>(random() % 12); n < count; ++n) {
         changeOne(a, sparsePrefix<P>(random, bits), random);
      }
      const auto older = a.snapshot();
      for (unsigned n = 0, count = static_cast<unsigned>(random() % 5); n < count; ++n) {
         changeOne(a, sparsePrefix<P>(random, bits), random);
      }
      TypeParam b = a;
      ASSERT_NO_FATAL_FAILURE(checkFound(older, a));
      // What the walk stands on and what lies before it changes, in either table.
      for (unsigned n = 0, count = static_cast<unsigned>(random() % 12); n < count; ++n) {
         changeOne(b, sparsePrefix<P>(random, bits), random);
      }
      const auto fixed = a.snapshot();
      for (unsigned n = 0, count = static_cast<unsigned>(random() % 12); n < count; ++n) {
         changeOne(a, sparsePrefix<P>(random, bits), random);
      }
      const auto walkAndChange = [&](const auto& x, const auto& y, bool bothChange) {
         const auto wanted = differencesByHand(x, y);
         std::vector<TestSupport::Difference<P>> found;
         for (const auto& d : difference(x, y)) {
            found.push_back(TestSupport::differenceOf<P>(d));
            for (unsigned n = 0, count = static_cast<unsigned>(random() % 4); n < count; ++n) {
               const P p = random() % 3 == 0 ? d.prefix : sparsePrefix<P>(random, bits);
               if (p <= d.prefix) {
                  changeOne(bothChange && random() % 2 == 0 ? b : a, p, random);
               }
            }
         }
         ASSERT_EQ(wanted, found);
      };
      ASSERT_NO_FATAL_FAILURE(walkAndChange(a, fixed, false));
      ASSERT_NO_FATAL_FAILURE(walkAndChange(fixed, a, false));
      ASSERT_NO_FATAL_FAILURE(walkAndChange(a, b, true));
   }
}

// A place that is kept goes on from where it is, whatever the one that it was copied from did.
TEST(Difference, goesOnFromACopyOfAPlace) {
   table4<unsigned> a{
      {"0.0.0.0/0"_prefix, 1}, {"10.0.0.0/8"_prefix, 1}, {"10.1.0.0/16"_prefix, 1}, {"11.0.0.0/8"_prefix, 1}};
   const auto before = a.snapshot();
   for (const auto& route : before) {
      a.insert_or_assign(route.prefix, 2u);
   }
   auto at = difference(before, a).begin();
   std::vector<decltype(at)> kept{at};
   while (++at != std::default_sentinel) {
      kept.push_back(at);
   }
   ASSERT_EQ(4u, kept.size());
   for (std::size_t n = 0; n < kept.size(); ++n) {
      EXPECT_EQ(1u, kept[n]->before->value);
      EXPECT_EQ(2u, kept[n]->after->value);
      EXPECT_EQ(4 - static_cast<std::ptrdiff_t>(n), std::ranges::distance(kept[n], std::default_sentinel));
   }
}

// What stood there may have another value by now, or be gone.
TEST(Difference, refersToTheTablesAsTheyAre) {
   table4<std::string> a{{"10.0.0.0/8"_prefix, "one"}, {"11.0.0.0/8"_prefix, "one"}};
   const auto before = a.snapshot();
   a.insert_or_assign("10.0.0.0/8"_prefix, "two");
   const auto at = difference(before, a).begin();
   EXPECT_EQ("two", at->after->value);
   a.insert_or_assign("10.0.0.0/8"_prefix, "three");
   EXPECT_EQ("three", at->after->value);
   EXPECT_EQ("one", at->before->value);
   a.clear();
   EXPECT_DEATH((void)*at, "what an iterator stands on is in the table");
}

}  // namespace DifferenceTest
}  // namespace routetrie
