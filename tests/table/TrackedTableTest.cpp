#include "routetrie/tracked_table.h"

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <memory>
#include <ranges>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "routetrie/aggregate.h"
#include "routetrie/compiled.h"
#include "routetrie/digest.h"
#include "routetrie/free_space.h"
#include "routetrie/journal.h"
#include "routetrie/route_set.h"
#include "routetrie/watch.h"

namespace routetrie {
namespace TrackedTableTest {

using namespace routetrie::literals;
using testing::ElementsAre;
using testing::IsEmpty;

template <class T>
using followed = tracked_table<table<T>, digest_tracker, journal_tracker, watch_tracker>;

template <class Changes>
std::vector<std::string> texts(const Changes& changes) {
   std::vector<std::string> list;
   if (!changes) {
      return {"too old"};
   }
   for (const auto& c : *changes) {
      list.push_back(fmt::format("{}: {} {}", c.generation, c.prefix, describe(c.kind)));
   }
   return list;
}

template <class Range>
auto prefixes(const Range& range) {
   std::vector<typename decltype(range.begin())::value_type> list;
   for (const auto& p : range) {
      list.push_back(p);
   }
   return list;
}

static_assert(!std::is_copy_constructible_v<followed<int>> && std::is_nothrow_move_constructible_v<followed<int>> &&
              std::is_nothrow_move_assignable_v<followed<int>>);
static_assert(sizeof(watched_table4<int>) <= sizeof(table4<int>) + 3 * sizeof(void*));

TEST(TrackedTable, isAskedAndChangedAsATable) {
   followed<std::string> t;
   EXPECT_TRUE(t.insert({"10.0.0.0/8"_prefix, "ten"}).second);
   EXPECT_FALSE(t.insert({"10.0.0.0/8"_prefix, "again"}).second);
   EXPECT_EQ("ten", t.try_emplace("10.0.0.0/8"_prefix, "again").first->value);
   EXPECT_FALSE(t.insert_or_assign("10.0.0.0/8"_prefix, "X").second);
   EXPECT_TRUE(t.update("10.1.0.0/16"_prefix, [](std::string& s) { s = "lan"; }));
   EXPECT_EQ(2u, t.size());
   EXPECT_FALSE(t.empty());
   EXPECT_EQ("lan", t.match("10.1.2.3"_address)->value);
   EXPECT_EQ("lan", *t.lookup("10.1.2.3"_address));
   EXPECT_EQ("X", t.parent("10.1.0.0/16"_prefix)->value);
   EXPECT_EQ("X", t.shortest_match("10.1.2.3"_address)->value);
   EXPECT_EQ("X", t.match_if("10.1.2.3"_address, [](const auto& r) { return r.value == "X"; })->value);
   EXPECT_EQ(2, std::ranges::distance(t.covering("10.1.2.3"_address)));
   EXPECT_EQ(2, std::ranges::distance(t.covering_nearest("10.1.2.3"_address)));
   EXPECT_EQ(2, std::ranges::distance(t.covered("10.0.0.0/8"_prefix)));
   EXPECT_EQ(1, std::ranges::distance(t.children("10.0.0.0/8"_prefix)));
   EXPECT_TRUE(t.has_longer("10.0.0.0/8"_prefix) && t.overlaps("0.0.0.0/0"_prefix) &&
               t.contains("10.1.0.0/16"_prefix));
   EXPECT_EQ(t.end(), t.find("11.0.0.0/8"_prefix));
   EXPECT_EQ(t.lower_bound("0.0.0.0/0"_prefix), t.begin());
   EXPECT_EQ("lan", t.upper_bound("10.0.0.0/8"_prefix)->value);
   EXPECT_EQ("lan", t.rbegin()->value);
   EXPECT_EQ(2u, t.explain("10.1.2.3"_address).candidates.size());
   EXPECT_EQ("", t.audit());
   EXPECT_EQ("lan", t.erase(t.find("10.0.0.0/8"_prefix))->value);
   EXPECT_EQ(0u, t.erase("10.0.0.0/8"_prefix));
   EXPECT_EQ(1u, t.erase_covered("10.0.0.0/8"_prefix));
   EXPECT_THROW(t.insert({prefix(), "none"}), std::invalid_argument);
   EXPECT_THROW(t.erase(prefix()), std::invalid_argument);
   EXPECT_THROW(t.erase_covered(prefix()), std::invalid_argument);
   EXPECT_EQ(2u,
             t.insert(std::vector<std::pair<prefix, std::string>>{{"10.0.0.0/8"_prefix, "a"}, {"::/0"_prefix, "b"}}));
   EXPECT_EQ(digest(t.table()), t.digest());
   t.clear();
   EXPECT_EQ(table_digest(), t.digest());
   tracked_table<route_set4, journal_tracker> set;
   EXPECT_TRUE(set.insert("10.0.0.0/8"_prefix).second);
   EXPECT_FALSE(set.insert("10.0.0.0/8"_prefix).second);
   EXPECT_EQ(1u, set.generation());
}

TEST(TrackedTable, isWalkedInPages) {
   followed<int> t;
   t.insert({{"10.0.0.0/8"_prefix, 1}, {"10.1.0.0/16"_prefix, 2}, {"2001:db8::/32"_prefix, 3}});
   auto page = t.walk(2);
   EXPECT_EQ(2, std::ranges::distance(page.begin(), page.end()));
   ASSERT_TRUE(page.next());
   auto rest = t.walk(2, *page.next());
   EXPECT_EQ("2001:db8::/32"_prefix, (*rest.begin()).prefix);
   auto under = t.walk_covered("10.1.0.0/16"_prefix, 5);
   EXPECT_EQ(2, (*under.begin()).value);
}

TEST(TrackedTable, tellsOfEachSliceOfAnErasure) {
   followed<int> t;
   t.insert(
      {{"10.0.0.0/8"_prefix, 1}, {"10.1.0.0/16"_prefix, 2}, {"10.2.0.0/16"_prefix, 1}, {"2001:db8::/32"_prefix, 1}});
   std::vector<std::string> told;
   const auto watch = t.watch("10.2.0.1"_address, watch_kind::best_match, [&](const auto& event) {
      told.push_back(event.after ? fmt::format("{}", event.after->prefix) : "none");
   });
   const auto isOne = [](const auto& route) { return route.value == 1; };
   const auto generation = t.generation();
   auto slice = erase_if(t, isOne, 2);
   EXPECT_EQ(1u, slice.erased);
   ASSERT_TRUE(slice.next);
   EXPECT_THAT(texts(t.changes_since(generation)), ElementsAre("5: 10.0.0.0/8 erased"));
   EXPECT_THAT(told, IsEmpty()) << "the best match is a longer one";
   slice = erase_if(t, isOne, 2, *slice.next);
   EXPECT_EQ(2u, slice.erased);
   EXPECT_FALSE(slice.next);
   EXPECT_THAT(told, ElementsAre("none"));
   EXPECT_EQ(1u, t.size());
   EXPECT_EQ(digest(t.table()), t.digest());
}

// As a peer comes back: what it tells again stays and is no change; what it does not tell goes, slice by slice.
TEST(TrackedTable, tellsOfWhatASweepErases) {
   followed<int> t;
   t.insert(
      {{"10.0.0.0/8"_prefix, 1}, {"10.1.0.0/16"_prefix, 2}, {"10.2.0.0/16"_prefix, 3}, {"2001:db8::/32"_prefix, 4}});
   EXPECT_THROW(t.sweep(1), std::logic_error);
   EXPECT_THROW(t.untouched(1), std::logic_error);
   t.mark();
   EXPECT_TRUE(t.is_marked());
   const auto generation = t.generation();
   EXPECT_FALSE(t.insert({"10.0.0.0/8"_prefix, 1}).second);
   EXPECT_FALSE(t.insert_or_assign("10.2.0.0/16"_prefix, 3).second);
   EXPECT_TRUE(t.insert({"11.0.0.0/8"_prefix, 5}).second);
   EXPECT_THROW(t.sweep(0), std::invalid_argument);
   std::vector<std::string> told;
   const auto watch = t.watch("10.1.0.1"_address, watch_kind::best_match,
                              [&](const auto& event) { told.push_back(fmt::format("{}", event.after->prefix)); });
   EXPECT_THAT(t.untouched(3), ElementsAre("10.1.0.0/16"_prefix));
   EXPECT_EQ((sweep_slice{1, false}), t.sweep(3));
   EXPECT_THAT(told, ElementsAre("10.0.0.0/8"));
   while (!t.sweep(3).done) {
   }
   EXPECT_FALSE(t.is_marked());
   EXPECT_EQ(3u, t.size());
   EXPECT_FALSE(t.contains("2001:db8::/32"_prefix));
   EXPECT_EQ(digest(t.table()), t.digest());
   EXPECT_EQ(4u, texts(t.changes_since(generation)).size()) << "one assigned, one new, two gone";
   t.mark();
   t.unmark();
   EXPECT_FALSE(t.is_marked());
   // Nobody is told of what nobody tracks.
   watched_table4<int> quiet;
   quiet.insert({"10.0.0.0/8"_prefix, 1});
   quiet.mark();
   EXPECT_EQ((sweep_slice{1, true}), quiet.sweep(10));
}

struct Hop {
   int gate = 0;
   int metric = 0;
   friend bool operator==(const Hop&, const Hop&) = default;
   friend void digest_append(digest_stream& out, const Hop& h) {
      digest_value(out, h.gate);
      digest_value(out, h.metric);
   }
};

// Who says which values are alike says what is told, not what is there.
TEST(TrackedTable, isReplacedByValuesThatAreAlike) {
   tracked_table<table4<Hop>, digest_tracker, journal_tracker, watch_tracker> t;
   const auto p = "10.0.0.0/8"_prefix;
   t.insert({p, Hop{1, 10}});
   t.insert({"11.0.0.0/8"_prefix, Hop{2, 10}});
   std::vector<std::string> told;
   const auto tell = [&](const auto& e) {
      told.push_back(fmt::format("{}.{} -> {}.{}", e.before->value.gate, e.before->value.metric, e.after->value.gate,
                                 e.after->value.metric));
   };
   const auto best = t.watch("10.1.2.3"_address, watch_kind::best_match, tell);
   const auto exact = t.watch(p, watch_kind::exact_route, tell);
   const auto sameGate = [](const Hop& a, const Hop& b) { return a.gate == b.gate; };
   t.replace(table4<Hop>{{p, Hop{1, 20}}, {"11.0.0.0/8"_prefix, Hop{2, 10}}}, sameGate);
   EXPECT_THAT(told, IsEmpty());
   EXPECT_EQ(20, t.find(p)->value.metric);
   EXPECT_EQ(digest(t.table()), t.digest());
   EXPECT_THAT(texts(t.changes_since(2)), ElementsAre("3: 10.0.0.0/8 changed"));
   // A watch that begins now knows what is there now; those that were there go on from what they were told.
   const auto later = t.watch("10.1.2.3"_address, watch_kind::best_match, tell);
   const auto under = t.watch("0.0.0.0/0"_prefix, watch_kind::anything_under, tell);
   t.replace(table4<Hop>{{p, Hop{3, 30}}, {"11.0.0.0/8"_prefix, Hop{2, 10}}}, sameGate);
   EXPECT_THAT(told, ElementsAre("1.10 -> 3.30", "1.20 -> 3.30", "1.10 -> 3.30", "1.20 -> 3.30"));
   EXPECT_EQ(digest(t.table()), t.digest());
   EXPECT_EQ(4u, t.generation());
}

// Values without an == are what `equal` says.
TEST(TrackedTable, isReplacedByValuesWithoutEquality) {
   struct Opaque {
      int number;
   };
   tracked_table<table4<Opaque>, journal_tracker> t;
   t.insert({{"10.0.0.0/8"_prefix, Opaque{1}}, {"11.0.0.0/8"_prefix, Opaque{1}}});
   t.replace(table4<Opaque>{{"10.0.0.0/8"_prefix, Opaque{1}}, {"11.0.0.0/8"_prefix, Opaque{2}}},
             [](const Opaque& a, const Opaque& b) { return a.number == b.number; });
   EXPECT_THAT(texts(t.changes_since(2)), ElementsAre("3: 11.0.0.0/8 changed"));
}

TEST(TrackedTable, takesOverFromATrackedTable) {
   followed<int> t;
   t.insert({{"10.0.0.0/8"_prefix, 1}, {"2001:db8::/32"_prefix, 1}});
   tracked_table<table<int>, watch_tracker, digest_tracker, journal_tracker> source;
   source.insert({{"10.0.0.0/8"_prefix, 2}, {"11.0.0.0/8"_prefix, 2}, {"2001:db9::/32"_prefix, 2}});
   std::vector<std::string> told;
   const auto mine = t.watch("11.1.2.3"_address, watch_kind::best_match, [&](const auto& e) {
      told.push_back(fmt::format("mine {}", e.after->value));
      EXPECT_EQ(digest(source.table()), source.digest()) << "both have changed";
   });
   const auto theirs = source.watch("11.1.2.3"_address, watch_kind::best_match, [&](const auto& e) {
      told.push_back(fmt::format("theirs {}", e.after.has_value()));
      EXPECT_EQ(digest(t.table()), t.digest());
      EXPECT_EQ(4u, t.size());
   });
   t.merge(source);
   EXPECT_THAT(told, ElementsAre("theirs false", "mine 2"));
   EXPECT_EQ(1u, source.size());
   EXPECT_EQ(digest(t.table()), t.digest());
   EXPECT_EQ(digest(source.table()), source.digest());
   EXPECT_THAT(texts(t.changes_since(2)), ElementsAre("3: 11.0.0.0/8 added", "4: 2001:db9::/32 added"));
   EXPECT_THAT(texts(source.changes_since(3)), ElementsAre("4: 11.0.0.0/8 erased", "5: 2001:db9::/32 erased"));
   t.merge(std::move(source), [](const prefix&, int& a, int&& b) { a += b; });
   EXPECT_EQ(3, t.find("10.0.0.0/8"_prefix)->value);
   EXPECT_TRUE(source.empty());
   EXPECT_EQ(digest(t.table()), t.digest());
   EXPECT_EQ(table_digest(), source.digest());
   t.merge(t);
   EXPECT_EQ(4u, t.size());
   // Nobody is told of what nobody tracks.
   watched_table4<int> one;
   watched_table4<int> other;
   other.insert({"10.0.0.0/8"_prefix, 1});
   one.merge(std::move(other));
   EXPECT_EQ(1u, one.size());
}

// What asks whole tables takes one that is tracked.
TEST(TrackedTable, isTakenForATable) {
   watched_table<int> t;
   t.insert({{"10.0.0.0/9"_prefix, 1}, {"10.128.0.0/9"_prefix, 1}, {"2001:db8::/33"_prefix, 1}});
   EXPECT_EQ(2, std::ranges::distance(aggregate(t)));
   EXPECT_EQ(std::vector{prefix("11.0.0.0/8"_prefix)}, prefixes(free_blocks(t, "10.0.0.0/7"_prefix)));
   EXPECT_EQ(std::vector{prefix("2001:db8:8000::/33"_prefix)},
             prefixes(free_prefixes(t, "2001:db8::/32"_prefix, 33)));
   EXPECT_EQ(std::vector{prefix("2001:db8:8000::/33"_prefix)}, prefixes(free_blocks(t, "2001:db8::/32"_prefix)));
   EXPECT_EQ(1u, prefixes(free_prefixes(t, "10.0.0.0/7"_prefix, 8, [](const auto&) { return true; })).size());
   EXPECT_EQ(1u, prefixes(free_blocks(t, "2001:db8::/32"_prefix, [](const auto& r) { return r.value == 1; })).size());
   EXPECT_EQ(3u, compile(t).size());
   EXPECT_EQ(1, *compile(t).lookup("10.1.2.3"_address));
   EXPECT_EQ(2u, t.v4().size());
   EXPECT_EQ(1u, t.v6().size());
   watched_table4<int> four;
   four.insert({{"10.0.0.0/9"_prefix, 1}, {"10.128.0.0/9"_prefix, 1}});
   EXPECT_EQ(1, std::ranges::distance(aggregate(four)));
   EXPECT_EQ(std::vector{"11.0.0.0/8"_prefix}, prefixes(free_blocks(four, "10.0.0.0/7"_prefix)));
   EXPECT_EQ(1, *compile(four).lookup("10.1.2.3"_address));
   // Beside others.
   EXPECT_TRUE(t == t.table());
   EXPECT_TRUE(t.table() == t);
   watched_table<int> same;
   EXPECT_FALSE(t == same);
   same.insert(t);
   EXPECT_TRUE(t == same);
   EXPECT_EQ(3, std::distance(t.cbegin(), t.cend()));
   EXPECT_TRUE(t.overlaps(same));
   EXPECT_TRUE(t.overlaps(t.snapshot()));
   EXPECT_TRUE(t.overlaps(table<int>{{"10.1.0.0/16"_prefix, 1}}));
   EXPECT_FALSE(t.overlaps(table<std::string>{{"11.0.0.0/8"_prefix, "x"}}));
   EXPECT_TRUE(four.overlaps(t.v4()));
   EXPECT_TRUE(four.overlaps("0.0.0.0/0"_prefix));
}

TEST(TrackedTable, ofValuesThatAreOnlyMoved) {
   tracked_table<table4<std::unique_ptr<int>>, journal_tracker> t;
   EXPECT_TRUE(t.try_emplace("10.0.0.0/8"_prefix, std::make_unique<int>(1)).second);
   t.insert_or_assign("10.0.0.0/8"_prefix, std::make_unique<int>(2));
   EXPECT_THAT(texts(t.changes_since(0)), ElementsAre("1: 10.0.0.0/8 added", "2: 10.0.0.0/8 changed"));
}

TEST(Journal, tellsWhatHasChangedSince) {
   tracked_table<table4<int>, journal_tracker> t;
   EXPECT_EQ(0u, t.generation());
   EXPECT_THAT(texts(t.changes_since(0)), IsEmpty());
   EXPECT_THAT(texts(t.changes_since(1)), ElementsAre("too old")) << "the table has never been there";
   t.insert({"10.0.0.0/8"_prefix, 1});
   t.insert({"10.0.0.0/8"_prefix, 2});
   t.insert_or_assign("10.0.0.0/8"_prefix, 2);
   t.erase("11.0.0.0/8"_prefix);
   t.erase("10.0.0.0/8"_prefix);
   EXPECT_THAT(texts(t.changes_since(0)),
               ElementsAre("1: 10.0.0.0/8 added", "2: 10.0.0.0/8 changed", "3: 10.0.0.0/8 erased"));
   EXPECT_THAT(texts(t.changes_since(2)), ElementsAre("3: 10.0.0.0/8 erased"));
   EXPECT_THAT(texts(t.changes_since(3)), IsEmpty());
   EXPECT_EQ(3u, t.generation());
}

TEST(Journal, keepsAsManyAsItIsTold) {
   tracked_table<table4<int>, journal_tracker> t;
   EXPECT_EQ(1024u, t.kept_changes());
   t.keep_changes(3);
   for (unsigned i = 0; i < 7; ++i) {
      t.insert({prefix4::cut(prefix4::Bits(i << 24), 8), 1});
      const auto reach = std::min(3u, i + 1);
      EXPECT_EQ(reach, texts(t.changes_since(i + 1 - reach)).size());
      if (i >= 3) {
         EXPECT_THAT(texts(t.changes_since(i - 3)), ElementsAre("too old"));
      }
   }
   EXPECT_THAT(texts(t.changes_since(4)),
               ElementsAre("5: 4.0.0.0/8 added", "6: 5.0.0.0/8 added", "7: 6.0.0.0/8 added"));
   t.keep_changes(2);
   EXPECT_THAT(texts(t.changes_since(4)), ElementsAre("too old"));
   EXPECT_THAT(texts(t.changes_since(5)), ElementsAre("6: 5.0.0.0/8 added", "7: 6.0.0.0/8 added"));
   t.keep_changes(4);
   t.clear();
   EXPECT_EQ(14u, t.generation());
   EXPECT_THAT(texts(t.changes_since(9)), ElementsAre("too old"));
   EXPECT_THAT(texts(t.changes_since(12)), ElementsAre("13: 5.0.0.0/8 erased", "14: 6.0.0.0/8 erased"));
   t.keep_changes(0);
   t.insert({"10.0.0.0/8"_prefix, 1});
   EXPECT_THAT(texts(t.changes_since(14)), ElementsAre("too old"));
   EXPECT_THAT(texts(t.changes_since(15)), IsEmpty());
}

TEST(Journal, ofWholeTables) {
   tracked_table<table4<int>, journal_tracker> t;
   t.insert({"10.0.0.0/8"_prefix, 1});
   table4<int> next{{"10.0.0.0/8"_prefix, 1}, {"11.0.0.0/8"_prefix, 1}};
   t.replace(next);
   EXPECT_EQ(1u, next.size()) << "it has what the table had";
   EXPECT_THAT(texts(t.changes_since(1)), ElementsAre("2: 11.0.0.0/8 added"));
   t.replace(table4<int>{{"11.0.0.0/8"_prefix, 2}});
   EXPECT_THAT(texts(t.changes_since(2)), ElementsAre("3: 10.0.0.0/8 erased", "4: 11.0.0.0/8 changed"));
}

TEST(Journal, saysAfterAMoveThatAllIsAnew) {
   tracked_table<table4<int>, journal_tracker, digest_tracker> t;
   t.insert({"10.0.0.0/8"_prefix, 1});
   auto moved = std::move(t);
   EXPECT_THAT(texts(moved.changes_since(0)), ElementsAre("1: 10.0.0.0/8 added"));
   EXPECT_EQ(digest(moved.table()), moved.digest());
   EXPECT_THAT(texts(t.changes_since(1)), ElementsAre("too old"));
   EXPECT_EQ(table_digest(), t.digest());
   t.insert({"11.0.0.0/8"_prefix, 1});
   const auto before = t.generation();
   t = std::move(moved);
   EXPECT_THAT(texts(t.changes_since(before)), ElementsAre("too old"));
   EXPECT_THAT(texts(moved.changes_since(1)), ElementsAre("too old"));
   EXPECT_EQ(digest(t.table()), t.digest());
}

//--- what raises has changed nothing ---

struct Fragile {
   int number = 0;
   bool breaks = false;
   Fragile() = default;
   Fragile(int n) : number(n) {}
   Fragile(const Fragile& other) : number(other.number), breaks(other.breaks) {
      if (breaks) {
         throw std::runtime_error("no copy");
      }
   }
   Fragile& operator=(const Fragile&) = default;
   friend bool operator==(const Fragile& a, const Fragile& b) { return a.number == b.number; }
   friend void digest_append(digest_stream& out, const Fragile& f) { digest_value(out, f.number); }
};

TEST(TrackedTable, aChangeThatRaisesIsNoChange) {
   tracked_table<table4<Fragile>, digest_tracker, journal_tracker, watch_tracker> t;
   int told = 0;
   const auto w = t.watch("10.0.0.1"_address, watch_kind::best_match, [&](const auto&) { ++told; });
   t.try_emplace("10.0.0.0/8"_prefix, 1);
   EXPECT_EQ(1, told);
   Fragile bad(2);
   bad.breaks = true;
   EXPECT_THROW(t.insert_or_assign("10.1.0.0/16"_prefix, bad), std::runtime_error);
   EXPECT_THROW(t.insert({"10.0.0.1/32"_prefix, bad}), std::runtime_error);
   EXPECT_THROW(t.update("10.0.0.0/8"_prefix,
                         [](Fragile& f) {
                            f.number = 5;
                            throw std::runtime_error("no");
                         }),
                std::runtime_error);
   EXPECT_EQ(1u, t.size());
   EXPECT_EQ(1u, t.generation());
   EXPECT_EQ(digest(t.table()), t.digest());
   EXPECT_EQ(1, told);
   t.erase("10.0.0.0/8"_prefix);
   EXPECT_EQ(2, told);
   EXPECT_EQ(table_digest(), t.digest());
}

}  // namespace TrackedTableTest
}  // namespace routetrie
