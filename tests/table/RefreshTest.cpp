#include "routetrie/refresh.h"

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <random>
#include <set>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "routetrie/route_set.h"
#include "routetrie/table.h"

namespace routetrie {

// Reaches into a table to break what its mark knows.
struct Impl::TableFault {
   template <unsigned width, class T>
   static Refresh<width>& refresh(basic_table<width, T>& table) {
      return *table.refresh_;
   }
};

namespace RefreshTest {

// A note of what is not there, one of what was swept, and notes that are broken themselves.
TEST(Refresh, auditFindsPlantedFaults) {
   table4<int> t{{"10.0.0.0/8"_prefix, 1}, {"11.0.0.0/8"_prefix, 2}};
   t.mark();
   auto& refresh = Impl::TableFault::refresh(t);
   const prefix4 there = "10.0.0.0/8"_prefix;
   const prefix4 absent = "10.0.0.0/9"_prefix;
   refresh.touch(there.bits(), there.len());
   EXPECT_EQ("", t.audit());
   refresh.touch(absent.bits(), absent.len());
   EXPECT_EQ("what is noted as touched is not there, or was swept", t.audit());
   refresh.forget(absent.bits(), absent.len());
   EXPECT_EQ("", t.audit());
   refresh.pass(there.bits(), there.len());
   EXPECT_EQ("", t.audit());
   const prefix4 next = "11.0.0.0/8"_prefix;
   refresh.touch(next.bits(), next.len());
   EXPECT_EQ("", t.audit());
   refresh.pass("11.0.0.0/16"_prefix.bits(), 16);  // beyond it, with its note left behind
   EXPECT_EQ("what is noted as touched is not there, or was swept", t.audit());
   table<int> both{{"2001:db8::/32"_prefix, 1}};
   both.mark();
   EXPECT_EQ("", both.audit());
   auto& six = Impl::TableFault::refresh(const_cast<table6<int>&>(both.v6()));
   six.touch("2002::/16"_prefix.bits(), 16);
   EXPECT_EQ("what is noted as touched is not there, or was swept", both.audit());
}
namespace refreshes {

using testing::ElementsAre;

template <class Table>
std::vector<std::string> texts(const Table& t) {
   std::vector<std::string> list;
   for (const auto& route : t) {
      list.push_back(fmt::format("{}", Impl::prefixOf(route)));
   }
   return list;
}
template <class Table>
std::size_t sweepAll(Table& t, std::size_t budget) {
   std::size_t erased = 0;
   for (sweep_slice slice; !slice.done;) {
      slice = t.sweep(budget);
      EXPECT_EQ("", t.audit());
      erased += slice.erased;
   }
   return erased;
}

TEST(Refresh, whatIsNotToldAgainGoes) {
   table<int> t{{"10.0.0.0/8"_prefix, 1}, {"10.1.0.0/16"_prefix, 1},   {"10.2.0.0/16"_prefix, 1},
                {"11.0.0.0/8"_prefix, 1}, {"2001:db8::/32"_prefix, 1}, {"2001:db8:1::/48"_prefix, 1},
                {"12.0.0.0/8"_prefix, 1}};
   EXPECT_FALSE(t.is_marked());
   t.mark();
   EXPECT_TRUE(t.is_marked());
   EXPECT_EQ(7u, t.size()) << "to mark takes nothing away";
   EXPECT_FALSE(t.insert({"10.0.0.0/8"_prefix, 2}).second) << "found is touched";
   EXPECT_FALSE(t.insert_or_assign("10.2.0.0/16"_prefix, 2).second);
   EXPECT_FALSE(t.update("2001:db8::/32"_prefix, [](int& v) { ++v; }));
   EXPECT_TRUE(t.insert({"13.0.0.0/8"_prefix, 2}).second);
   t.insert_or_assign("12.0.0.0/8"_prefix, 2);
   t.erase("12.0.0.0/8"_prefix);
   EXPECT_EQ("", t.audit());
   EXPECT_EQ(3u, sweepAll(t, 2));
   EXPECT_THAT(texts(t), ElementsAre("10.0.0.0/8", "10.2.0.0/16", "13.0.0.0/8", "2001:db8::/32"));
   EXPECT_FALSE(t.is_marked());
}

TEST(Refresh, tellsWhatIsToGo) {
   table<int> t{
      {"10.0.0.0/8"_prefix, 1}, {"11.0.0.0/8"_prefix, 2}, {"12.0.0.0/8"_prefix, 3}, {"2001:db8::/32"_prefix, 4}};
   EXPECT_THROW(t.untouched(1), std::logic_error);
   t.mark();
   EXPECT_THROW(t.untouched(0), std::invalid_argument);
   t.insert({"11.0.0.0/8"_prefix, 2});
   EXPECT_THAT(t.untouched(2), testing::ElementsAre("10.0.0.0/8"_prefix));
   EXPECT_THAT(t.untouched(9), testing::ElementsAre("10.0.0.0/8"_prefix, "12.0.0.0/8"_prefix));
   t.sweep(9);
   EXPECT_THAT(t.untouched(9), testing::ElementsAre("2001:db8::/32"_prefix)) << "the other family's turn";
   EXPECT_EQ(2u, t.size());
}

TEST(Refresh, aTableThatIsNotMarkedRefusesToSweep) {
   table<int> t{{"10.0.0.0/8"_prefix, 1}};
   try {
      t.sweep(1);
      ADD_FAILURE();
   } catch (const std::logic_error& e) {
      EXPECT_STREQ("a table that is not marked has nothing to sweep", e.what());
   }
   t.mark();
   EXPECT_THROW(t.sweep(0), std::invalid_argument);
   t.unmark();
   EXPECT_THROW(t.sweep(1), std::logic_error);
   EXPECT_EQ(1u, t.size());
   route_set6 s;
   EXPECT_THROW(s.sweep(1), std::logic_error);
   s.mark();
   EXPECT_EQ((sweep_slice{0, true}), s.sweep(1));
   EXPECT_THROW(s.sweep(1), std::logic_error) << "done is done";
}

TEST(Refresh, aMarkIsSetAnew) {
   route_set4 s{"10.0.0.0/8"_prefix, "11.0.0.0/8"_prefix};
   s.mark();
   s.insert("10.0.0.0/8"_prefix);
   EXPECT_FALSE(s.sweep(1).done);
   s.mark();
   s.insert("11.0.0.0/8"_prefix);
   EXPECT_EQ(1u, sweepAll(s, 1));
   EXPECT_THAT(texts(s), ElementsAre("11.0.0.0/8"));
}

TEST(Refresh, changesBetweenSlices) {
   route_set4 s;
   for (unsigned i = 0; i < 100; ++i) {
      s.insert(prefix4(address4(i << 24), 8));
   }
   s.mark();
   EXPECT_EQ(50u, s.sweep(50).erased);
   s.insert("1.0.0.0/8"_prefix);   // behind the sweep
   s.insert("60.0.0.0/8"_prefix);  // before it
   s.insert("70.0.0.0/8"_prefix);
   s.erase("70.0.0.0/8"_prefix);  // gone for good
   s.insert("80.0.0.0/8"_prefix);
   s.erase("80.0.0.0/8"_prefix);
   s.insert("80.0.0.0/8"_prefix);
   EXPECT_EQ("", s.audit());
   EXPECT_EQ(47u, sweepAll(s, 7));
   EXPECT_THAT(texts(s), ElementsAre("1.0.0.0/8", "60.0.0.0/8", "80.0.0.0/8"));
}

TEST(Refresh, theMarkGoesWithTheRoutes) {
   table4<int> t{{"10.0.0.0/8"_prefix, 1}, {"11.0.0.0/8"_prefix, 1}};
   t.mark();
   t.insert({"11.0.0.0/8"_prefix, 1});
   const table4<int> copy = t;
   EXPECT_FALSE(copy.is_marked());
   table4<int> moved = std::move(t);
   EXPECT_TRUE(moved.is_marked());
   EXPECT_FALSE(t.is_marked());  // NOLINT(bugprone-use-after-move): it is empty
   t = std::move(moved);
   EXPECT_TRUE(t.is_marked());
   moved = table4<int>();
   EXPECT_FALSE(moved.is_marked());
   EXPECT_EQ(1u, sweepAll(t, 10));
   EXPECT_THAT(texts(t), ElementsAre("11.0.0.0/8"));
   t.mark();
   t.insert({"11.0.0.0/8"_prefix, 1});
   t.clear();
   EXPECT_EQ("", t.audit());
   t.insert({"12.0.0.0/8"_prefix, 1});
   EXPECT_EQ(0u, sweepAll(t, 10));
   EXPECT_THAT(texts(t), ElementsAre("12.0.0.0/8"));

   // What merges in is touched, and what leaves is forgotten.
   table4<int> source{{"12.0.0.0/8"_prefix, 2}, {"13.0.0.0/8"_prefix, 2}};
   source.mark();
   source.insert({"13.0.0.0/8"_prefix, 2});
   t.mark();
   t.merge(source);
   EXPECT_EQ("", source.audit());
   EXPECT_EQ(0u, sweepAll(t, 10));
   EXPECT_EQ(1u, sweepAll(source, 10));
   t.mark();
   source.insert({{"13.0.0.0/8"_prefix, 3}, {"14.0.0.0/8"_prefix, 3}});
   t.merge(source, [](const prefix4&, int& mine, int&& theirs) { mine = theirs; });
   EXPECT_EQ(1u, sweepAll(t, 10));
   EXPECT_THAT(texts(t), ElementsAre("13.0.0.0/8", "14.0.0.0/8"));

   // Of two families, of which only one was marked.
   table4<int> four{{"10.0.0.0/8"_prefix, 1}};
   four.mark();
   table<int> both(std::move(four), table6<int>());
   EXPECT_EQ((sweep_slice{1, true}), both.sweep(10));
}

// A change that raises touches nothing.
struct Moody {
   int value = 0;
   Moody() = default;
   Moody(int v) : value(v) {
      if (v < 0) {
         throw std::runtime_error("negative");
      }
   }
   Moody(const Moody& other) = default;
   Moody& operator=(const Moody&) = default;
   Moody& operator=(int v) { return *this = Moody(v); }
   std::string padding;  // too long for a node
};
TEST(Refresh, whatRaisesTouchesNothing) {
   table4<Moody> t;
   t.insert_or_assign("10.0.0.0/8"_prefix, 1);
   t.insert_or_assign("11.0.0.0/8"_prefix, 1);
   t.mark();
   EXPECT_THROW(t.insert_or_assign("10.0.0.0/8"_prefix, -1), std::runtime_error);
   EXPECT_THROW(t.insert_or_assign("12.0.0.0/8"_prefix, -1), std::runtime_error);
   EXPECT_THROW(t.try_emplace("12.0.0.0/8"_prefix, -1), std::runtime_error);
   EXPECT_THROW(t.update("11.0.0.0/8"_prefix, [](Moody&) { throw std::runtime_error("no"); }), std::runtime_error);
   EXPECT_EQ("", t.audit());
   t.insert_or_assign("11.0.0.0/8"_prefix, 2);
   EXPECT_THROW(t.insert_or_assign("11.0.0.0/8"_prefix, -1), std::runtime_error) << "touched before, and stays so";
   EXPECT_EQ(1u, sweepAll(t, 10));
   EXPECT_THAT(texts(t), ElementsAre("11.0.0.0/8"));
}

TEST(Refresh, costsNothingUnlessMarked) {
   route_set4 s;
   for (unsigned i = 0; i < 1000; ++i) {
      s.insert(prefix4(address4(i << 16), 16));
   }
   const std::size_t before = s.memory().total();
   s.mark();
   EXPECT_LT(s.memory().total(), before + 300) << "nothing is touched yet";
   for (unsigned i = 0; i < 1000; ++i) {
      s.insert(prefix4(address4(i << 16), 16));
   }
   EXPECT_GT(s.memory().total(), before + 1000);
   sweepAll(s, 100);
   EXPECT_EQ(before, s.memory().total());
   EXPECT_EQ(1000u, s.size());
}

// Against a map with a mark for each route, with changes between the slices.
template <class Table>
void refreshAndSweep(unsigned seed) {
   SCOPED_TRACE("seed " + std::to_string(seed));
   using P = typename Table::prefix_type;
   using Bits = typename P::Bits;
   using Word = typename Bits::Word;
   std::mt19937 random(seed);
   const auto anyPrefix = [&] {
      const unsigned length = static_cast<unsigned>(random() % 2 != 0 ? random() % 12 : random() % (P::width + 1));
      return P::cut(Bits(static_cast<Word>(Word(random() % 2048) << (P::width - 11))), length);
   };
   struct Kept {
      int value;
      bool isTouched;
   };
   Table t;
   std::map<P, Kept> model;
   const auto change = [&] {
      const P p = anyPrefix();
      const int value = static_cast<int>(random() % 1000);
      switch (random() % 4) {
         case 0:
            t.insert({p, value});
            model.try_emplace(p, Kept{value, true}).first->second.isTouched = true;
            break;
         case 1:
            t.insert_or_assign(p, value);
            model[p] = {value, true};
            break;
         case 2:
            t.update(p, [&](int& v) { v = value; });
            model[p] = {value, true};
            break;
         default: EXPECT_EQ(model.erase(p), t.erase(p));
      }
   };
   for (int round = 0; round < 4; ++round) {
      for (int i = 0; i < 200; ++i) {
         change();
      }
      t.mark();
      for (auto& [p, kept] : model) {
         kept.isTouched = false;
      }
      for (int i = static_cast<int>(random() % 300); i > 0; --i) {
         change();
      }
      auto place = model.begin()->first;
      bool isBegun = false;
      for (sweep_slice slice; !slice.done;) {
         const std::size_t budget = 1 + random() % 30;
         slice = t.sweep(budget);
         std::size_t erased = 0;
         auto at = isBegun ? model.upper_bound(place) : model.begin();
         for (std::size_t looked = 0; at != model.end() && looked < budget; ++looked) {
            place = at->first;
            isBegun = true;
            if (at->second.isTouched) {
               ++at;
            } else {
               at = model.erase(at);
               ++erased;
            }
         }
         ASSERT_EQ(erased, slice.erased);
         ASSERT_EQ(at == model.end(), slice.done);
         ASSERT_EQ("", t.audit());
         ASSERT_EQ(model.size(), t.size());
         for (int i = static_cast<int>(random() % 10); i > 0 && !slice.done; --i) {
            change();
            ASSERT_EQ("", t.audit());
         }
      }
      ASSERT_EQ(model.size(), t.size());
      auto expected = model.begin();
      for (const auto& [p, value] : t) {
         ASSERT_EQ(expected->first, p);
         ASSERT_EQ(expected->second.value, value);
         ++expected;
      }
   }
}

TEST(Refresh, sweepsAsTheModelDoes) {
   const unsigned seed = std::random_device()();
   for (unsigned i = 0; i < 10; ++i) {
      refreshAndSweep<table4<int>>(seed + i);
      refreshAndSweep<table6<int>>(seed + i);
   }
}

}  // namespace refreshes
}  // namespace RefreshTest
}  // namespace routetrie
