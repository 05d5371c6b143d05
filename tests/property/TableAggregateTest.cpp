// Questions about whole tables beside brute force: the smallest table by trying all, differences and free space by marking each
// address of a small world; and the whole Internet table, compared on every border of its routes.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdint>
#include <iostream>
#include <map>
#include <optional>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "routetrie/aggregate.h"
#include "routetrie/difference.h"
#include "routetrie/free_space.h"
#include "routetrie/snapshot.h"
#include "routetrie/table.h"
#include "tests/property/InternetTable.h"
#include "tests/property/Scale.h"
#include "tests/support/DifferencesByHand.h"

namespace Property {
namespace TableAggregateTest {

using routetrie::table4;
using routetrie::table6;

// A world of addresses of a few bits, behind `offset` fixed bits: what each address is answered, by the world's own rules.
template <class TableType, unsigned offsetBits>
struct World {
   using Table = TableType;
   using P = typename Table::prefix_type;
   using Word = typename P::Bits::Word;
   static constexpr unsigned offset = offsetBits;
   static constexpr unsigned bits = 4;
   static constexpr unsigned addresses = 1u << bits;

   static P at(unsigned number, unsigned length) {
      Word word = 0;
      for (unsigned n = 0; n < offset; ++n) {
         word |= n % 3 == 0 ? Word{1} << (P::width - 1 - n) : Word{0};
      }
      for (unsigned n = 0; n < length; ++n) {
         word |= (number >> (length - 1 - n) & 1) != 0 ? Word{1} << (P::width - 1 - offset - n) : Word{0};
      }
      return P::cut(typename P::Bits(word), offset + length);
   }
   static Table random(std::mt19937_64& random, unsigned routes, unsigned values) {
      Table t;
      while (t.size() < routes) {
         const auto length = static_cast<unsigned>(random() % (bits + 1));
         t.insert({at(static_cast<unsigned>(random()), length), static_cast<std::uint32_t>(random() % values + 1)});
      }
      return t;
   }
   // The value of each address, 0 for none; the first is that of all that lie outside of the world.
   static std::array<std::uint32_t, addresses> answers(const Table& t) {
      std::array<std::uint32_t, addresses> list{};
      for (unsigned n = 0; n < addresses; ++n) {
         const auto* value = t.lookup(at(n, bits).address());
         list[n] = value != nullptr ? *value : 0;
      }
      return list;
   }
   // The fewest routes for these addresses below a node, by trying each value for it: `above` is what it inherits.
   static unsigned fewest(const std::array<std::uint32_t, addresses>& wanted, unsigned first, unsigned size,
                          std::uint32_t above, std::map<std::array<std::uint32_t, 3>, unsigned>& known) {
      const auto key = std::array<std::uint32_t, 3>{first, size, above};
      if (const auto at = known.find(key); at != known.end()) {
         return at->second;
      }
      unsigned best = ~0u;
      const auto below = [&](std::uint32_t value) -> unsigned {
         if (size == 1) {
            return wanted[first] == value ? 0 : 1000;
         }
         return fewest(wanted, first, size / 2, value, known) +
                fewest(wanted, first + size / 2, size / 2, value, known);
      };
      best = below(above);
      for (std::uint32_t value = 1; value <= 4; ++value) {
         best = std::min(best, 1 + below(value));
      }
      return known[key] = std::min(best, 1000u);
   }
};

template <class WorldType>
class TableWorldsTest : public testing::Test {};
using Worlds =
   testing::Types<World<table4<std::uint32_t>, 0>, World<table4<std::uint32_t>, 22>, World<table4<std::uint32_t>, 28>,
                  World<table6<std::uint32_t>, 62>, World<table6<std::uint32_t>, 124>>;
struct WorldName {
   template <class W>
   static std::string GetName(int) {
      return (W::P::width == 32 ? "Ipv4At" : "Ipv6At") + std::to_string(W::offset);
   }
};
TYPED_TEST_SUITE(TableWorldsTest, Worlds, WorldName);

TYPED_TEST(TableWorldsTest, aggregateIsTheSmallest) {
   using W = TypeParam;
   std::mt19937_64 random(seed());
   std::size_t saved = 0;
   for (int round = sized(100, 1000, 10'000); round-- != 0;) {
      const auto t = W::random(random, static_cast<unsigned>(random() % 16), 1 + static_cast<unsigned>(random() % 4));
      const auto wanted = W::answers(t);
      const auto smallest = routetrie::aggregate(t);
      ASSERT_EQ(wanted, W::answers(smallest)) << t.dump() << smallest.dump();
      std::map<std::array<std::uint32_t, 3>, unsigned> known;
      ASSERT_EQ(W::fewest(wanted, 0, W::addresses, 0, known), smallest.size()) << t.dump() << smallest.dump();
      for (const auto& route : smallest) {
         ASSERT_TRUE(routetrie::covers(W::at(0, 0), route.prefix));
      }
      ASSERT_EQ(smallest, routetrie::aggregate(smallest)) << "what is smallest stays";
      saved += t.size() - smallest.size();
   }
   EXPECT_GT(saved, 0u);
}

// Calls each(prefix) after it has seen a difference.
template <class A, class B, class Each>
void compareDifferences(const A& a, const B& b, Each&& each) {
   const auto wanted = TestSupport::differencesByHand(a, b);
   auto at = wanted.begin();
   for (const auto& d : routetrie::difference(a, b)) {
      ASSERT_NE(wanted.end(), at);
      ASSERT_EQ(*at++, TestSupport::differenceOf<typename A::prefix_type>(d));
      each(d.prefix);
   }
   ASSERT_EQ(wanted.end(), at);
}

TYPED_TEST(TableWorldsTest, differencesAreWhatDiffers) {
   using W = TypeParam;
   using P = typename W::P;
   std::mt19937_64 random(seed() + 1);
   const auto nothing = [](const P&) {};
   for (int round = sized(50, 500, 20'000); round-- != 0;) {
      auto a = W::random(random, static_cast<unsigned>(random() % 16), 2);
      const auto b = W::random(random, static_cast<unsigned>(random() % 16), 2);
      ASSERT_NO_FATAL_FAILURE(compareDifferences(a, b, nothing)) << a.dump() << b.dump();
      for (const auto& d : routetrie::difference(a, b)) {
         d.after ? (void)a.insert_or_assign(d.prefix, d.after->value) : (void)a.erase(d.prefix);
      }
      ASSERT_EQ(b, a);
   }
}

// Beside a snapshot, and where the table changes as it is walked: what it stands on, and what lies before.
TYPED_TEST(TableWorldsTest, differencesOfVersionsAreWhatDiffers) {
   using W = TypeParam;
   using P = typename W::P;
   std::mt19937_64 random(seed() + 3);
   const auto nothing = [](const P&) {};
   for (int round = sized(100, 1000, 20'000); round-- != 0;) {
      auto a = W::random(random, static_cast<unsigned>(random() % 16), 2);
      const auto before = a.snapshot();
      const auto someWhere = [&] {
         return W::at(static_cast<unsigned>(random()), static_cast<unsigned>(random() % (W::bits + 1)));
      };
      const auto change = [&](const P& p) {
         random() % 2 == 0 ? (void)a.erase(p)
                           : (void)a.insert_or_assign(p, static_cast<std::uint32_t>(random() % 2 + 1));
      };
      for (auto count = random() % 8; count-- != 0;) {
         change(someWhere());
      }
      const std::string dumps = before.dump() + a.dump();
      ASSERT_NO_FATAL_FAILURE(compareDifferences(before, a, nothing)) << dumps;
      ASSERT_NO_FATAL_FAILURE(compareDifferences(a, before, nothing)) << dumps;
      ASSERT_NO_FATAL_FAILURE(compareDifferences(a, before, [&](const P& at) {
         for (auto count = random() % 3; count-- != 0;) {
            const P p = someWhere();
            change(p < at ? p : at);
         }
      })) << dumps;
   }
}

TYPED_TEST(TableWorldsTest, freeSpaceIsWhatNoRouteHas) {
   using W = TypeParam;
   using P = typename W::P;
   std::mt19937_64 random(seed() + 2);
   for (int round = sized(50, 500, 20'000); round-- != 0;) {
      const auto t = W::random(random, static_cast<unsigned>(random() % 6), 3);
      const std::uint32_t least = 1 + static_cast<std::uint32_t>(random() % 2);
      const auto counts = [&](const auto& route) { return route.value >= least; };
      std::array<bool, W::addresses> taken{};
      for (unsigned n = 0; n < W::addresses; ++n) {
         taken[n] = t.match_if(W::at(n, W::bits), counts).has_value();
      }
      const auto isFree = [&](unsigned first, unsigned size) {
         return std::none_of(&taken[first], &taken[first] + size, [](bool one) { return one; });
      };
      const auto under = static_cast<unsigned>(random() % (W::bits + 1));
      const auto number = static_cast<unsigned>(random()) & ((1u << under) - 1);
      const P within = W::at(number, under);
      const unsigned room = W::addresses >> under;
      for (unsigned length = under; length <= W::bits; ++length) {
         const unsigned size = W::addresses >> length;
         std::vector<P> wanted;
         for (unsigned first = number * room; first < (number + 1) * room; first += size) {
            if (isFree(first, size)) {
               wanted.push_back(W::at(first / size, length));
            }
         }
         std::vector<P> found;
         for (const P p : routetrie::free_prefixes(t, within, W::offset + length, counts)) {
            found.push_back(p);
         }
         ASSERT_EQ(wanted, found) << length << t.dump();
         if (least == 1) {
            std::vector<P> plain;
            for (const P p : routetrie::free_prefixes(t, within, W::offset + length)) {
               plain.push_back(p);
            }
            ASSERT_EQ(wanted, plain) << length << t.dump();
         }
      }
      // The greatest: free, and no half of a free one.
      std::vector<P> wanted;
      for (unsigned first = number * room; first < (number + 1) * room;) {
         unsigned size = 1;
         while (size < room && first % (2 * size) == 0 && isFree(first, 2 * size)) {
            size *= 2;
         }
         if (!isFree(first, 1)) {
            ++first;
            continue;
         }
         wanted.push_back(W::at(first / size, W::bits - static_cast<unsigned>(std::countr_zero(size))));
         first += size;
      }
      std::vector<P> found;
      for (const P p : routetrie::free_blocks(t, within, counts)) {
         found.push_back(p);
      }
      ASSERT_EQ(wanted, found) << t.dump();
   }
}

//--- the whole table ---

template <class Table>
Table internet(std::uint32_t values) {
   using P = typename Table::prefix_type;
   const auto list = internetTable(ROUTETRIE_INTERNET_TABLE, P::family);
   std::mt19937_64 random(seed());
   Table t;
   const std::size_t step = sized<std::size_t>(50, 5, 1);
   for (std::size_t i = 0; i < list.size(); i += step) {
      // Neighbours have mostly the same next hop.
      const auto value = random() % 3 != 0 ? static_cast<std::uint32_t>(i / 1000 % values)
                                           : static_cast<std::uint32_t>(random() % values);
      if constexpr (P::width == 32) {
         t.insert_or_assign(list[i].v4Prefix(), value);
      } else {
         t.insert_or_assign(list[i].v6Prefix(), value);
      }
   }
   return t;
}

// Answers change where a route begins and behind its last address, and nowhere else.
template <class Table>
std::size_t differingBorders(const Table& a, const Table& b) {
   using A = typename Table::address_type;
   using Bits = typename A::Bits;
   using Word = typename Bits::Word;
   const auto differs = [&](Word word) {
      const auto* inA = a.lookup(A(Bits(word)));
      const auto* inB = b.lookup(A(Bits(word)));
      return inA == nullptr || inB == nullptr ? inA != inB : *inA != *inB;
   };
   std::size_t count = differs(0) ? 1 : 0;
   for (const auto* t : {&a, &b}) {
      for (const auto& route : *t) {
         const Word first = route.prefix.bits().word();
         const Word last = routetrie::last_address(route.prefix).bits().word();
         for (const Word word : {first, static_cast<Word>(first - 1), last, static_cast<Word>(last + 1)}) {
            count += differs(word) ? 1u : 0u;
         }
      }
   }
   return count;
}

template <class Table>
class TableAggregateTest : public testing::Test {};
using WholeTables = testing::Types<table4<std::uint32_t>, table6<std::uint32_t>>;
TYPED_TEST_SUITE(TableAggregateTest, WholeTables);

TYPED_TEST(TableAggregateTest, givesEveryAddressTheSameAnswer) {
   for (const std::uint32_t values : {1u, 20u, 1'000'000u}) {
      const auto t = internet<TypeParam>(values);
      const auto begin = std::chrono::steady_clock::now();
      const auto smallest = routetrie::aggregate(t);
      const std::chrono::duration<double> took = std::chrono::steady_clock::now() - begin;
      std::cout << t.size() << " routes, up to " << values << " values: " << smallest.size() << " in " << took.count()
                << " s\n";
      EXPECT_LE(smallest.size(), t.size());
      EXPECT_EQ(0u, differingBorders(t, smallest));
      EXPECT_EQ("", smallest.audit());
   }
}

// Of some changes of the whole table, picked at random: what differs is what was changed, of a table and its snapshot, which share
// memory, and of two tables that share none; and a sample of all other routes is the same in both.
TYPED_TEST(TableAggregateTest, differencesAreTheChanges) {
   using P = typename TypeParam::prefix_type;
   using Key = std::pair<typename P::Bits::Word, unsigned>;
   struct Change {
      std::optional<std::uint32_t> before;
      std::optional<std::uint32_t> after;
   };
   auto t = internet<TypeParam>(20);
   std::mt19937_64 random(seed() + 1);
   std::vector<P> all;
   for (const auto& route : t) {
      all.push_back(route.prefix);
   }
   for (const std::size_t changes : {std::size_t{1}, std::size_t{300}, all.size() / 20}) {
      const auto before = t.snapshot();
      const TypeParam copy(t);
      std::map<Key, Change> changed;
      for (std::size_t i = 0; i < changes; ++i) {
         P p = all[random() % all.size()];
         if (random() % 4 == 0) {
            p = P::cut(routetrie::last_address(p).bits(),
                       p.len() + static_cast<unsigned>(random() % (P::width + 1 - p.len())));
         }
         const auto was = t.find(p);
         auto& change = changed.try_emplace({p.bits().word(), p.len()}).first->second;
         if (const auto old = copy.find(p); old != copy.end()) {
            change.before = old->value;
         }
         if (random() % 3 == 0 && was != t.end()) {
            t.erase(p);
            change.after.reset();
         } else {
            change.after = static_cast<std::uint32_t>(random() % 20);
            t.insert_or_assign(p, *change.after);
         }
      }
      std::erase_if(changed, [](const auto& entry) { return entry.second.before == entry.second.after; });
      const auto compare = [&](const auto& a, const char* what) {
         SCOPED_TRACE(what);
         auto expected = changed.begin();
         for (const auto& d : routetrie::difference(a, t)) {
            ASSERT_NE(changed.end(), expected);
            ASSERT_EQ(expected->first, Key(d.prefix.bits().word(), d.prefix.len())) << d.prefix;
            ASSERT_EQ(expected->second.before, d.before ? std::optional(d.before->value) : std::nullopt) << d.prefix;
            ASSERT_EQ(expected->second.after, d.after ? std::optional(d.after->value) : std::nullopt) << d.prefix;
            ++expected;
         }
         ASSERT_EQ(changed.end(), expected) << "one is missed";
         for (int i = 0; i < 2000; ++i) {
            const P p = all[random() % all.size()];
            if (!changed.contains({p.bits().word(), p.len()})) {
               const auto one = a.find(p);
               const auto other = t.find(p);
               ASSERT_EQ(one == a.end(), other == t.end()) << p;
               ASSERT_TRUE(one == a.end() || one->value == other->value) << p;
            }
         }
      };
      compare(before, "a snapshot");
      compare(copy, "a copy");
   }
}

// The comparison can fail: one route more is seen.
TYPED_TEST(TableAggregateTest, bordersTellTablesApart) {
   using P = typename TypeParam::prefix_type;
   const auto t = internet<TypeParam>(20);
   auto other = t;
   const P p = P::cut(t.begin()->prefix.bits(), P::width);
   other.insert_or_assign(p, 100u);
   EXPECT_NE(0u, differingBorders(t, other));
}

}  // namespace TableAggregateTest
}  // namespace Property
