// Small worlds of a table, tried out whole: 31 prefixes of up to four bits behind some fixed bits, so that they lie at the top of
// an address, across the borders of strides of every usual width, and at its end. Every question is asked after each change.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "tests/property/Scale.h"
#include "tests/property/TableOracle.h"

namespace Property {
namespace TableSmallWorldTest {

using routetrie::table4;
using routetrie::table6;

template <class TableType, unsigned offsetBits>
struct At {
   using Table = TableType;
   static constexpr unsigned offset = offsetBits;
};
struct AtName {
   template <class Place>
   static std::string GetName(int) {
      return (Place::Table::prefix_type::width == 32 ? "Ipv4At" : "Ipv6At") + std::to_string(Place::offset);
   }
};

template <class P>
P placed(unsigned offset, unsigned number, unsigned length) {
   using Word = typename P::Bits::Word;
   Word word = 0;
   for (unsigned n = 0; n < offset; ++n) {
      word |= n % 3 == 0 ? Word{1} << (P::width - 1 - n) : Word{0};
   }
   for (unsigned n = 0; n < length; ++n) {
      word |= (number >> (length - 1 - n) & 1) != 0 ? Word{1} << (P::width - 1 - offset - n) : Word{0};
   }
   return P::cut(typename P::Bits(word), offset + length);
}

template <class Place>
class TableSmallWorldTest : public testing::Test {
  public:
   using Table = typename Place::Table;
   using P = typename Table::prefix_type;
   using Session = TableSession<Table>;
   static constexpr unsigned bits = 4;

   TableSmallWorldTest() : random(seed()) {
      for (unsigned length = 0; length <= bits; ++length) {
         for (unsigned number = 0; number < 1u << length; ++number) {
            world.push_back(placed<P>(Place::offset, number, length));
         }
      }
      // Round about it: above, beside and below, and the ends of the space.
      around.push_back(P());
      around.push_back(routetrie::host_prefix(routetrie::last_address(P())));
      const P top = world.front();
      for (unsigned n = 0; n < top.len(); n += 1 + top.len() / 4u) {
         const auto other = static_cast<typename P::Bits::Word>(typename P::Bits::Word{1} << (P::width - 1 - n));
         around.push_back(P::cut(typename P::Bits(top.bits().word() ^ other), top.len()));
         around.push_back(P::cut(top.bits(), n));
      }
      const unsigned deeper = std::min<unsigned>(P::width, world.back().len() + 3u);
      around.push_back(P::cut(routetrie::last_address(world.back()).bits(), deeper));
      around.push_back(P::cut(world[16].bits(), deeper));
   }

   // Asks about all prefixes of the world and round about it.
   std::string askAll(Session& session) const {
      std::string fault = session.wholeFault();
      for (const auto* list : {&world, &around}) {
         for (const P& p : *list) {
            if (fault.empty()) {
               fault = session.faultAt(p);
            }
         }
      }
      return fault;
   }
   std::string ask(Session& session, const P& p) const {
      const std::string fault = session.wholeFault();
      return fault.empty() ? session.faultAt(p) : fault;
   }

   // Every subset of the prefixes, each a change away from the one before.
   void everySubset(const std::vector<P>& of) {
      Session session;
      for (std::uint32_t step = 0; step < 1u << of.size(); ++step) {
         if (step != 0) {
            const P& p = of[static_cast<std::size_t>(std::countr_zero(step))];
            if (session.oracle.has(p)) {
               session.remove(p);
            } else {
               session.add(p, step);
            }
         }
         ASSERT_EQ("", askAll(session)) << "subset " << step << " of " << textOf(of);
      }
   }

   // Adds those not in yet in every order, and behind each order that `eachEnd` asks for removes them in every order.
   void everyOrder(Session& session, const std::vector<P>& set, bool adds, bool bothWays) {
      bool isEnd = true;
      for (std::size_t i = 0; i < set.size() && !HasFatalFailure(); ++i) {
         if (session.oracle.has(set[i]) == adds) {
            continue;
         }
         isEnd = false;
         const auto turn = [&](bool add) {
            if (add) {
               session.add(set[i], static_cast<std::uint32_t>(i));
            } else {
               session.remove(set[i]);
            }
            ASSERT_EQ("", ask(session, set[i])) << (add ? "+" : "-") << set[i] << " of " << textOf(set);
         };
         turn(adds);
         everyOrder(session, set, adds, bothWays);
         turn(!adds);
      }
      if (isEnd && adds && bothWays && !HasFatalFailure()) {
         everyOrder(session, set, false, false);
      }
   }
   void everyOrder(const std::vector<P>& set, bool bothWays) {
      Session session;
      everyOrder(session, set, true, bothWays);
      if (!bothWays) {
         for (std::size_t i = 0; i < set.size(); ++i) {
            session.add(set[i], static_cast<std::uint32_t>(i));
         }
         everyOrder(session, set, false, false);
      }
   }

   std::vector<P> sample(std::size_t count, std::vector<P> from) {
      std::shuffle(from.begin(), from.end(), random);
      from.resize(count);
      return from;
   }
   static std::string textOf(const std::vector<P>& list) {
      std::string text;
      for (const P& p : list) {
         text += fmt::format("{} ", p);
      }
      return text;
   }

   std::mt19937_64 random;
   std::vector<P> world;
   std::vector<P> around;
};

using Places =
   testing::Types<At<table4<std::uint32_t>, 0>, At<table4<std::uint32_t>, 4>, At<table4<std::uint32_t>, 14>,
                  At<table4<std::uint32_t>, 22>, At<table4<std::uint32_t>, 28>, At<table6<std::uint32_t>, 0>,
                  At<table6<std::uint32_t>, 14>, At<table6<std::uint32_t>, 46>, At<table6<std::uint32_t>, 62>,
                  At<table6<std::uint32_t>, 124>>;
TYPED_TEST_SUITE(TableSmallWorldTest, Places, AtName);

// The worlds that cross the border of two nodes, one a family, where full size is exhaustive. The others lie at other depths.
template <class Place>
bool isExhaustive() {
   return isFull() && Place::offset == (Place::Table::prefix_type::width == 32 ? 14 : 62);
}

// At full size: all 32768 sets of the 15 prefixes of up to three bits, and all of 10 out of four bits.
TYPED_TEST(TableSmallWorldTest, everySubset) {
   if (isExhaustive<TypeParam>()) {
      this->everySubset({this->world.begin(), this->world.begin() + 15});
   }
   this->everySubset(this->sample(sized<std::size_t>(4, 7, 10), this->world));
}

// With the default route, and the longest that there are, in the set.
TYPED_TEST(TableSmallWorldTest, subsetsWithTheEnds) {
   std::vector<typename TypeParam::Table::prefix_type> set = this->around;
   set.resize(std::min<std::size_t>(set.size(), sized<std::size_t>(3, 5, 8)));
   set.push_back(this->world.back());
   set.push_back(this->world.front());
   this->everySubset(set);
}

// Each pair, and where full size is exhaustive each three, in each order of additions, and behind each of those in each order of removals.
TYPED_TEST(TableSmallWorldTest, everyPairInEveryOrder) {
   const auto& all = this->world;
   for (std::size_t i = 0; i < all.size(); i += sized<std::size_t>(5, 2, 1)) {
      for (std::size_t j = i + 1; j < all.size(); ++j) {
         ASSERT_NO_FATAL_FAILURE(this->everyOrder({all[i], all[j]}, true));
         for (std::size_t k = j + 1; isExhaustive<TypeParam>() && k < all.size(); ++k) {
            ASSERT_NO_FATAL_FAILURE(this->everyOrder({all[i], all[j], all[k]}, true));
         }
      }
   }
}

// Of six, 720 orders of additions and 720 of removals; at full size of more, and of four each with each.
TYPED_TEST(TableSmallWorldTest, sixInEveryOrder) {
   for (int round = isExhaustive<TypeParam>() ? 6 : sized(0, 1, 2); round-- != 0;) {
      ASSERT_NO_FATAL_FAILURE(this->everyOrder(this->sample(6, this->world), false));
      ASSERT_NO_FATAL_FAILURE(this->everyOrder(this->sample(isFull() ? 4 : 3, this->world), true));
   }
}

// A comparison that cannot fail is none: each question is spoilt in turn.
TEST(TableOracle, looksAtEachQuestion) {
   using Session = TableSession<table4<std::uint32_t>>;
   Session session;
   std::uint32_t number = 0;
   for (const auto& p : {"0.0.0.0/0", "10.0.0.0/8", "10.1.0.0/16", "10.1.2.0/24", "10.2.0.0/16", "11.0.0.0/8"}) {
      session.add(*routetrie::parse<routetrie::prefix4>(p), ++number);
   }
   const auto asked = *routetrie::parse<routetrie::prefix4>("10.1.0.0/16");
   ASSERT_EQ("", session.wholeFault());
   ASSERT_EQ("", session.faultAt(asked));
   for (const auto question : {"size", "empty", "walk", "walk back"}) {
      session.spoilt = question;
      EXPECT_TRUE(session.wholeFault().starts_with(question)) << question;
   }
   for (const auto question : {"contains",
                               "find",
                               "lower_bound",
                               "upper_bound",
                               "-- from lower_bound",
                               "++ to lower_bound",
                               "parent",
                               "has_longer",
                               "overlaps",
                               "match",
                               "shortest_match",
                               "covering",
                               "covering_nearest",
                               "covering back",
                               "covering_nearest back",
                               "match_if",
                               "match_if that refuses all",
                               "verdict",
                               "explain",
                               "explain: taken",
                               "covered",
                               "covered back",
                               "children",
                               "children back",
                               "lookup",
                               "lookup_bulk",
                               "same_answer"}) {
      session.spoilt = question;
      EXPECT_TRUE(session.faultAt(asked).starts_with(question)) << question << ": " << session.faultAt(asked);
   }
   session.spoilt = {};
   session.oracle.remove(asked);
   EXPECT_NE("", session.wholeFault());
   EXPECT_NE("", session.faultAt(asked));
   session.add(asked, 1);
   EXPECT_TRUE(session.changeFault().starts_with("insert of 10.1.0.0/16"));
}

}  // namespace TableSmallWorldTest
}  // namespace Property
