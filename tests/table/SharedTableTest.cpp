#include "routetrie/shared_table.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <optional>
#include <random>
#include <stdexcept>
#include <string>
#include <thread>
#include <type_traits>
#include <utility>
#include <vector>

#include "routetrie/route_set.h"

namespace routetrie {
namespace SharedTableTest {

using namespace routetrie::literals;

static_assert(!std::is_copy_constructible_v<shared_table<int>> && !std::is_move_constructible_v<shared_table<int>>);
static_assert(std::is_nothrow_move_constructible_v<shared_table<int>::reader_handle>);
static_assert(!std::is_copy_constructible_v<shared_table<int>::reader_handle>);
static_assert(!std::is_move_constructible_v<shared_table<int>::locked>, "a lock stays on its thread");

// Until nothing waits for readers, who all have left.
template <class Shared>
std::size_t pendingInTheEnd(Shared& t) {
   for (int i = 0; i < 1000 && t.pending_bytes() != 0; ++i) {
      std::this_thread::sleep_for(std::chrono::milliseconds(5));
      t.reclaim();
   }
   return t.pending_bytes();
}

template <class Routes>
std::string textOf(const Routes& routes) {
   std::string text;
   for (const auto& route : routes) {
      text += fmt::format("{}; ", route);
   }
   return text;
}

TEST(SharedTable, aReaderAsksAllThatATableIsAsked) {
   shared_table<std::string> t(table<std::string>{
      {"0.0.0.0/0"_prefix, "any"}, {"10.0.0.0/8"_prefix, "ten"}, {"10.1.0.0/16"_prefix, "ten one"}});
   EXPECT_TRUE(t.insert({"2001:db8::/32"_prefix, "doc"}));
   const auto reader = t.reader();
   EXPECT_EQ(4u, reader.size());
   EXPECT_FALSE(reader.empty());
   EXPECT_EQ("ten one", *reader.lookup("10.1.2.3"_address));
   EXPECT_FALSE(reader.lookup("2001:db9::1"_address));
   EXPECT_EQ("ten one", reader.match("10.1.2.3"_address)->value);
   EXPECT_EQ("10.1.0.0/16"_prefix, reader.match("10.1.2.0/24"_prefix)->prefix);
   EXPECT_EQ("ten", reader.match_if("10.1.2.3"_address, [](const auto& r) { return r.value == "ten"; })->value);
   EXPECT_EQ("ten", reader.parent("10.1.0.0/16"_prefix)->value);
   EXPECT_FALSE(reader.parent("0.0.0.0/0"_prefix));
   EXPECT_EQ("any", reader.shortest_match("10.1.2.3"_address)->value);
   EXPECT_EQ("ten", reader.find("10.0.0.0/8"_prefix)->value);
   EXPECT_FALSE(reader.find("10.0.0.0/9"_prefix));
   EXPECT_TRUE(reader.contains("10.0.0.0/8"_prefix));
   EXPECT_TRUE(reader.has_longer("10.0.0.0/8"_prefix));
   EXPECT_TRUE(reader.overlaps("10.1.2.0/24"_prefix));
   EXPECT_TRUE(reader.overlaps(table<int>{{"2001::/16"_prefix, 1}}));
   EXPECT_FALSE(reader.overlaps(table<int>{{"2002::/16"_prefix, 1}}));
   EXPECT_TRUE(reader.overlaps(t.snapshot()));
   EXPECT_TRUE(reader.overlaps(*t.reader().lock()));
   EXPECT_EQ("10.1.0.0"_address, reader.same_answer("10.1.2.3"_address)->first);
   EXPECT_EQ("0.0.0.0/0 any; 10.0.0.0/8 ten; 10.1.0.0/16 ten one; ", textOf(reader.covering("10.1.2.3"_address)));
   EXPECT_EQ("10.1.0.0/16 ten one; 10.0.0.0/8 ten; 0.0.0.0/0 any; ",
             textOf(reader.covering_nearest("10.1.2.3"_address)));
   EXPECT_EQ("10.0.0.0/8 ten; 10.1.0.0/16 ten one; ", textOf(reader.covered("10.0.0.0/8"_prefix)));
   EXPECT_EQ("10.1.0.0/16 ten one; ", textOf(reader.children("10.0.0.0/8"_prefix)));
   EXPECT_TRUE(reader.children("10.1.0.0/16"_prefix).empty());
   EXPECT_EQ("10.1.0.0/16"_prefix, reader.children("10.0.0.0/8"_prefix).front().prefix);
   EXPECT_EQ("0.0.0.0/0 any; 10.0.0.0/8 ten; 10.1.0.0/16 ten one; 2001:db8::/32 doc; ", textOf(reader.lock()));
   const auto routes = reader.lock();
   EXPECT_EQ(3u, routes->explain("10.1.2.3"_address).candidates.size());
   EXPECT_EQ("ten one", (*routes).upper_bound("10.0.0.0/8"_prefix)->value);
   EXPECT_EQ("", routes->audit());
}

TEST(SharedTable, changesAsATableDoes) {
   shared_table4<int> t;
   EXPECT_TRUE(t.insert({"10.0.0.0/8"_prefix, 1}));
   EXPECT_FALSE(t.insert({"10.0.0.0/8"_prefix, 2}));
   EXPECT_TRUE(t.try_emplace("11.0.0.0/8"_prefix, 3));
   EXPECT_FALSE(t.insert_or_assign("11.0.0.0/8"_prefix, 4));
   EXPECT_TRUE(t.update("12.0.0.0/8"_prefix, [](int& value) { ++value; }));
   EXPECT_FALSE(t.update("12.0.0.0/8"_prefix, [](int& value) { ++value; }));
   const auto reader = t.reader();
   EXPECT_EQ("10.0.0.0/8 1; 11.0.0.0/8 4; 12.0.0.0/8 2; ", textOf(reader.lock()));
   EXPECT_EQ(2u, t.insert({{"10.1.0.0/16"_prefix, 5}, {"10.2.0.0/16"_prefix, 6}, {"10.0.0.0/8"_prefix, 7}}));
   EXPECT_EQ(1u, t.erase("10.2.0.0/16"_prefix));
   EXPECT_EQ(0u, t.erase("10.2.0.0/16"_prefix));
   EXPECT_EQ(2u, t.erase_covered("10.0.0.0/8"_prefix));
   EXPECT_EQ(1u, t.erase_if([](const auto& route) { return route.value == 4; }));
   EXPECT_EQ("12.0.0.0/8 2; ", textOf(reader.lock()));
   table4<int> other{{"12.0.0.0/8"_prefix, 1}, {"13.0.0.0/8"_prefix, 1}};
   t.merge(other);
   EXPECT_EQ(1u, other.size());
   EXPECT_EQ("12.0.0.0/8 2; 13.0.0.0/8 1; ", textOf(reader.lock()));
   t.clear();
   EXPECT_TRUE(reader.empty());
   t.insert({"14.0.0.0/8"_prefix, 1});
   t.replace(table4<int>{{"15.0.0.0/8"_prefix, 1}});
   EXPECT_EQ("15.0.0.0/8 1; ", textOf(reader.lock()));
   EXPECT_TRUE(t.modify("15.0.0.0/8"_prefix, [](int& value) { value += 4; }));
   EXPECT_FALSE(t.modify("16.0.0.0/8"_prefix, [](int& value) { value += 4; }));
   EXPECT_EQ("15.0.0.0/8 5; ", textOf(reader.lock()));
   EXPECT_TRUE(t.insert_or_assign("0.0.0.0/0"_prefix, 1));
   EXPECT_FALSE(t.insert_or_assign("0.0.0.0/0"_prefix, 9));
   EXPECT_EQ(9, *reader.lookup("1.2.3.4"_address));
   EXPECT_THROW(t.erase(prefix4::nullPrefix()), std::invalid_argument);
   EXPECT_EQ("", t.audit());
}

TEST(SharedTable, mergesByARule) {
   shared_table<std::string> t;
   t.insert({{"10.0.0.0/8"_prefix, "mine"}, {"2001:db8::/32"_prefix, "mine"}});
   table<std::string> source{{"10.0.0.0/8"_prefix, "theirs"}, {"11.0.0.0/8"_prefix, "theirs"}};
   const auto rule = [](const prefix&, std::string& mine, std::string&& theirs) { mine += " and " + theirs; };
   t.merge(source, rule);
   EXPECT_TRUE(source.empty());
   EXPECT_EQ("10.0.0.0/8 mine and theirs; 11.0.0.0/8 theirs; 2001:db8::/32 mine; ", textOf(t.reader().lock()));
   t.merge(table<std::string>{{"12.0.0.0/8"_prefix, "new"}});
   t.merge(table<std::string>{{"12.0.0.0/8"_prefix, "newer"}}, rule);
   t.batch([&](auto& w) { w.merge(table<std::string>{{"12.0.0.0/8"_prefix, "newest"}}, rule); });
   EXPECT_EQ("new and newer and newest", *t.reader().lookup("12.0.0.1"_address));
   EXPECT_EQ("", t.audit());
}

// A long erasure or sweep in slices, each a version.
TEST(SharedTable, changesInSlices) {
   shared_table<int> t;
   for (unsigned i = 0; i < 30; ++i) {
      t.insert({prefix(prefix4(address4(i << 24), 8)), static_cast<int>(i)});
   }
   t.insert({"2001:db8::/32"_prefix, 1});
   const auto reader = t.reader();
   std::size_t erased = 0;
   unsigned slices = 0;
   for (std::optional<walk_token> token(std::in_place); token; ++slices) {
      const auto slice = t.erase_if([](const auto& route) { return route.value % 2 == 1; }, 10, *token);
      erased += slice.erased;
      token = slice.next;
      EXPECT_EQ(31 - erased, reader.size());
   }
   EXPECT_EQ(16u, erased);
   EXPECT_EQ(4u, slices);
   EXPECT_FALSE(t.is_marked());
   EXPECT_THROW(t.sweep(10), std::logic_error);
   t.mark();
   EXPECT_TRUE(t.is_marked());
   t.insert({"2.0.0.0/8"_prefix, 0});
   EXPECT_EQ((sweep_slice{9, false}), t.sweep(10));
   EXPECT_EQ(6u, reader.size());
   t.unmark();
   EXPECT_FALSE(t.is_marked());
   EXPECT_EQ("", t.audit());
}

// As of a table: whoever clears has still to hear what is told again, and whoever replaces has other routes.
TEST(SharedTable, aMarkOutlivesClearAndGoesWithTheRoutes) {
   shared_table<int> t;
   t.insert({{"10.0.0.0/8"_prefix, 1}, {"11.0.0.0/8"_prefix, 1}, {"2001:db8::/32"_prefix, 1}});
   t.mark();
   t.insert({"10.0.0.0/8"_prefix, 1});
   t.clear();
   EXPECT_TRUE(t.is_marked());
   t.insert({"12.0.0.0/8"_prefix, 2});
   EXPECT_EQ("", t.audit());
   EXPECT_FALSE(t.sweep(10).done) << "IPv6 is still to be looked at";
   EXPECT_EQ((sweep_slice{0, true}), t.sweep(10));
   EXPECT_EQ("12.0.0.0/8 2; ", textOf(t.reader().lock()));
   EXPECT_FALSE(t.is_marked());
   // What the sweep has passed it has judged, of a table that is cleared as well.
   t.mark();
   while (t.sweep(1).erased == 0) {
   }
   const bool isMarked = t.is_marked();
   t.batch([](auto& w) {
      w.clear();
      w.insert({"12.0.0.0/8"_prefix, 3});
   });
   EXPECT_EQ(isMarked, t.is_marked());
   while (t.is_marked()) {
      EXPECT_EQ(0u, t.sweep(1).erased);
   }
   EXPECT_EQ(1u, t.reader().size());
   t.mark();
   t.replace(table<int>{{"13.0.0.0/8"_prefix, 1}});
   EXPECT_FALSE(t.is_marked()) << "it was of the routes that went";
   EXPECT_THROW(t.sweep(1), std::logic_error);
   table<int> marked{{"14.0.0.0/8"_prefix, 1}};
   marked.mark();
   t.replace(std::move(marked));
   EXPECT_TRUE(t.is_marked());
   EXPECT_EQ(1u, t.sweep(10).erased);
   EXPECT_EQ("", t.audit());
}

TEST(SharedTable, tellsItsStatistics) {
   shared_table4<int> t;
   t.insert({{"10.0.0.0/8"_prefix, 1}, {"10.1.0.0/16"_prefix, 1}});
   const auto reader = t.reader();
   const auto routes = reader.lock();
   t.insert({"10.2.0.0/16"_prefix, 1});
   const table_statistics statistics = t.statistics();
   EXPECT_EQ(3u, statistics.routes);
   EXPECT_GT(statistics.memory.old, 0u) << "what waits for readers";
   EXPECT_LE(statistics.memory.old, t.pending_bytes());
   EXPECT_EQ(statistics.memory.old, statistics.memory.for_readers);
   EXPECT_THAT(fmt::format("{}", statistics),
               testing::HasSubstr(fmt::format(", of which {} for readers\n", statistics.memory.for_readers)));
   EXPECT_EQ(t.pending_bytes(), t.memory().for_readers);
   EXPECT_EQ(2u, routes->statistics().routes) << "of the version that it has";
   EXPECT_GT(routes->statistics().memory.total(), 0u);
   EXPECT_LE(statistics.memory.total(), t.memory().total());
   shared_table<int> both;
   both.insert({"2001:db8::/32"_prefix, 1});
   EXPECT_EQ(0u, both.statistics().v4.routes);
   EXPECT_EQ(1u, both.statistics().v6.routes);
}

TEST(SharedTable, aSetIsSharedToo) {
   shared_table<void> t;
   EXPECT_TRUE(t.insert("10.0.0.0/8"_prefix));
   EXPECT_EQ("10.0.0.0/8"_prefix, *t.reader().match("10.1.2.3"_address));
   EXPECT_EQ(1u, t.erase("10.0.0.0/8"_prefix));
   EXPECT_EQ("", t.audit());
}

TEST(SharedTable, aLockIsOfOneVersion) {
   shared_table4<std::string> t;
   t.insert({"10.0.0.0/8"_prefix, "old"});
   const auto reader = t.reader();
   const auto before = reader.lock();
   const auto best = reader.match("10.1.2.3"_address);
   const std::string* value = before->lookup("10.1.2.3"_address);
   t.insert_or_assign("10.0.0.0/8"_prefix, "new");
   t.erase("10.0.0.0/8"_prefix);
   t.clear();
   t.insert({"11.0.0.0/8"_prefix, "later"});
   t.reclaim();
   EXPECT_EQ("10.0.0.0/8 old; ", textOf(*before));
   EXPECT_EQ("old", *value);
   EXPECT_EQ("old", best->value);
   EXPECT_EQ("", before->audit());
   EXPECT_EQ("11.0.0.0/8 later; ", textOf(reader.lock())) << "one within the other sees the newest";
}

TEST(SharedTable, aBatchIsSeenWhole) {
   shared_table4<int> t;
   const auto reader = t.reader();
   const int result = t.batch([&](auto& w) {
      w.insert({"10.0.0.0/8"_prefix, 1});
      w.insert({"11.0.0.0/8"_prefix, 1});
      EXPECT_TRUE(reader.empty());
      w.erase("11.0.0.0/8"_prefix);
      EXPECT_EQ(1u, w.table().size());
      w.clear();
      w.insert({"12.0.0.0/8"_prefix, 1});
      w.clear();
      w.insert({"13.0.0.0/8"_prefix, 1});
      EXPECT_TRUE(reader.empty());
      return 5;
   });
   EXPECT_EQ(5, result);
   EXPECT_EQ("13.0.0.0/8 1; ", textOf(reader.lock()));
   EXPECT_THROW(t.batch([](auto& w) {
      w.insert({"14.0.0.0/8"_prefix, 1});
      throw std::runtime_error("as it was told");
   }),
                std::runtime_error);
   EXPECT_EQ("13.0.0.0/8 1; 14.0.0.0/8 1; ", textOf(reader.lock())) << "what it had changed is published";
   t.batch([](auto& w) {
      w.mark();
      w.insert({"14.0.0.0/8"_prefix, 1});
      while (!w.sweep(1).done) {
      }
   });
   EXPECT_EQ("14.0.0.0/8 1; ", textOf(reader.lock()));
   EXPECT_EQ("", t.audit());
}

TEST(SharedTable, snapshotsAreOfTheNewestVersion) {
   std::optional<shared_table<std::string>> t(std::in_place);
   t->insert({"10.0.0.0/8"_prefix, "old"});
   const snapshot<std::string> before = t->snapshot();
   t->insert_or_assign("10.0.0.0/8"_prefix, "new");
   EXPECT_EQ("10.0.0.0/8 old; ", textOf(before));
   EXPECT_EQ("10.0.0.0/8 new; ", textOf(t->snapshot()));
   EXPECT_EQ("", t->audit());
   t.reset();
   EXPECT_EQ("10.0.0.0/8 old; ", textOf(before));
}

//--- memory ---

TEST(SharedTable, valuesLiveUntilTheirReadersHaveGone) {
   const auto value = std::make_shared<int>(5);
   shared_table4<std::shared_ptr<int>> t;
   t.insert({"10.0.0.0/8"_prefix, value});
   const auto reader = t.reader();
   {
      const auto best = reader.match("10.1.2.3"_address);
      t.erase("10.0.0.0/8"_prefix);
      for (int i = 0; i < 20; ++i) {
         std::this_thread::sleep_for(std::chrono::milliseconds(2));
         t.reclaim();
      }
      EXPECT_EQ(value, best->value);
      EXPECT_EQ(2, value.use_count()) << "who reads it holds it";
      EXPECT_GT(t.pending_bytes(), 0u);
      EXPECT_EQ(t.memory().old, t.pending_bytes());
   }
   EXPECT_EQ(0u, pendingInTheEnd(t));
   EXPECT_EQ(1, value.use_count());
   EXPECT_EQ(0u, t.memory().old);
   EXPECT_EQ("", t.audit());
   t.insert({"10.0.0.0/8"_prefix, value});
   t.clear();
   EXPECT_GT(t.pending_bytes(), 0u);
   EXPECT_EQ(0u, pendingInTheEnd(t));
   EXPECT_EQ(1, value.use_count());
}

// A whole table that readers may have is among what the table takes, until they have left.
TEST(SharedTable, aReplacedTableIsOldMemory) {
   shared_table<int> t;
   for (unsigned i = 0; i < 2000; ++i) {
      t.insert({prefix(prefix4::cut(prefix4::Bits(i * 4096 * 977), 20)), 1});
   }
   const std::size_t pendingBefore = pendingInTheEnd(t);
   const std::size_t whole = t.memory().total();
   const auto reader = t.reader();
   {
      const auto routes = reader.lock();
      t.clear();
      EXPECT_EQ(t.memory().old, t.pending_bytes());
      EXPECT_GT(t.memory().old, whole / 2);
      EXPECT_LE(t.statistics().v4.memory.old, t.memory().old);
      EXPECT_GT(t.statistics().v4.memory.old, whole / 2);
      EXPECT_LT(t.statistics().v6.memory.old, whole / 2);
      EXPECT_EQ(t.statistics().v4.memory.for_readers, t.statistics().v4.memory.old);
      EXPECT_EQ(t.memory().for_readers, t.pending_bytes());
      t.replace(table<int>{{"10.0.0.0/8"_prefix, 1}});
      EXPECT_EQ(t.memory().old, t.pending_bytes());
      EXPECT_EQ(2000u, routes->size());
   }
   EXPECT_EQ(0u, pendingBefore);
   EXPECT_EQ(0u, pendingInTheEnd(t));
   EXPECT_EQ(0u, t.memory().old);
   EXPECT_EQ(0u, t.statistics().v4.memory.old);
   EXPECT_LT(t.memory().total(), whole);
}

// A writer that never rests frees as it goes.
TEST(SharedTable, memoryStaysBounded) {
   shared_table4<int> t;
   std::size_t most = 0;
   for (unsigned i = 0; i < 3000; ++i) {
      t.insert_or_assign(prefix4::cut(prefix4::Bits(i % 700 * 4096 * 977), 20), static_cast<int>(i));
      if (i % 100 == 0) {
         std::this_thread::sleep_for(std::chrono::milliseconds(2));
      }
      most = std::max(most, t.memory().total());
   }
   EXPECT_LT(most, 6u << 20);
   EXPECT_EQ("", t.audit());
   EXPECT_EQ(0u, pendingInTheEnd(t));
   EXPECT_LT(t.memory().total() - t.memory().free, 100'000u);
   EXPECT_EQ("", t.audit());
}

// A record of a version is used again, but not kept for each change that a sleeping reader has held back.
TEST(SharedTable, littleIsKeptToBeUsedAgain) {
   shared_table4<int> t;
   const auto reader = t.reader();
   {
      const auto sleeping = reader.lock();
      for (int i = 0; i < 20'000; ++i) {
         t.insert_or_assign("10.0.0.0/8"_prefix, i);
      }
   }
   const std::size_t waiting = t.pending_bytes();
   for (int i = 0; i < 1000 && t.pending_bytes() > waiting / 50; ++i) {
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
      for (int n = 0; n < 1000; ++n) {
         t.insert_or_assign("10.0.0.0/8"_prefix, n);
      }
   }
   EXPECT_LT(t.pending_bytes(), waiting / 10);
   EXPECT_LT(t.memory().free, 2u << 20) << "records of 20,000 versions are more";
}

TEST(SharedTable, aSnapshotHoldsBackNothingButItself) {
   shared_table4<int> t;
   for (unsigned i = 0; i < 500; ++i) {
      t.insert({prefix4::cut(prefix4::Bits(i * 4096 * 977), 20), 1});
   }
   auto s = t.snapshot();
   for (unsigned i = 0; i < 500; ++i) {
      t.insert_or_assign(prefix4::cut(prefix4::Bits(i * 4096 * 977), 20), 2);
   }
   EXPECT_EQ(0u, pendingInTheEnd(t));
   EXPECT_LT(t.memory().old, 100'000u);
   EXPECT_GT(t.memory().old, 0u);
   EXPECT_EQ(0u, t.memory().for_readers) << "it is the snapshot's";
   EXPECT_EQ(0u, t.statistics().memory.for_readers);
   {
      const auto reader = t.reader();
      const auto routes = reader.lock();
      t.erase(prefix4::cut(prefix4::Bits(4096 * 977), 20));
      EXPECT_EQ(t.pending_bytes(), t.memory().for_readers);
      EXPECT_GT(t.memory().for_readers, 0u);
      EXPECT_LT(t.memory().for_readers, t.memory().old);
      t.insert({prefix4::cut(prefix4::Bits(4096 * 977), 20), 2});
   }
   EXPECT_EQ(500u, s.size());
   EXPECT_EQ(1, s.begin()->value);
   EXPECT_EQ("", s.audit());
   EXPECT_EQ("", t.audit());
   // What it lets go readers may have; that nobody changes the table any more keeps nothing.
   EXPECT_EQ(0u, pendingInTheEnd(t));
   s = {};
   t.reclaim();
   EXPECT_EQ(0u, pendingInTheEnd(t));
   EXPECT_EQ(0u, t.memory().old);
   EXPECT_EQ("", t.audit());
}

// Tables with an index, whose pages are shared by versions as well.
template <class Shared, class Plain>
void largeTablesAnswerRight() {
   using P = typename Plain::prefix_type;
   using A = typename Plain::address_type;
   using Word = typename P::Bits::Word;
   std::mt19937_64 random(7);
   const auto any = [&] {
      Word word = static_cast<Word>(random());
      if constexpr (P::width == 128) {
         word = static_cast<Word>(random() & 0x3fff'ffff'ffff'ffff) << 64 | static_cast<Word>(random());
      }
      return P::cut(typename P::Bits(word), P::width == 32 ? 12 + static_cast<unsigned>(random() % 13)
                                                           : 20 + static_cast<unsigned>(random() % 29));
   };
   Plain plain;
   std::vector<P> all;
   while (plain.size() < (P::width == 32 ? 40'000 : 12'000)) {
      all.push_back(any());
      plain.insert({all.back(), static_cast<unsigned>(all.size())});
   }
   Shared t((Plain(plain)));
   ASSERT_EQ("", t.audit());
   const auto reader = t.reader();
   const auto compare = [&] {
      ASSERT_EQ("", t.audit());
      const auto routes = reader.lock();
      ASSERT_EQ("", routes->audit());
      ASSERT_EQ(plain.size(), routes->size());
      std::vector<A> asked;
      for (int i = 0; i < 500; ++i) {
         asked.push_back(random() % 4 == 0 ? last_address(any()) : last_address(all[random() % all.size()]));
      }
      std::vector<const unsigned*> answers(asked.size());
      routes->lookup_bulk(asked, answers);
      for (std::size_t i = 0; i < asked.size(); ++i) {
         const unsigned* const wanted = plain.lookup(asked[i]);
         const unsigned* const got = routes->lookup(asked[i]);
         ASSERT_EQ(wanted == nullptr, got == nullptr) << asked[i];
         ASSERT_EQ(wanted == nullptr, answers[i] == nullptr) << asked[i];
         if (wanted != nullptr) {
            ASSERT_EQ(*wanted, *got) << asked[i];
            ASSERT_EQ(*wanted, *answers[i]) << asked[i];
         }
      }
   };
   compare();
   auto snapshot = t.snapshot();
   const auto text = snapshot.dump();
   for (int round = 0; round < 20; ++round) {
      const auto before = reader.lock();
      for (int i = 0; i < 100; ++i) {
         const P p = i % 2 == 0 ? any() : all[random() % all.size()];
         if (random() % 3 == 0) {
            ASSERT_EQ(plain.erase(p), t.erase(p));
         } else {
            plain.insert_or_assign(p, static_cast<unsigned>(round));
            t.insert_or_assign(p, static_cast<unsigned>(round));
         }
      }
      ASSERT_EQ("", before->audit()) << "a version stays as it is";
      compare();
      if (round == 10) {
         ASSERT_EQ("", snapshot.audit());
         ASSERT_EQ(text, snapshot.dump());
         snapshot = {};
      }
   }
   t.batch([&](auto& w) { w.erase_if([](const auto& route) { return route.prefix.len() % 8 != 0; }); });
   erase_if(plain, [](const auto& route) { return route.prefix.len() % 8 != 0; });
   compare();
   EXPECT_EQ(0u, pendingInTheEnd(t));
   compare();
}
TEST(SharedTable, ofManyIpv4RoutesAnswersRight) {
   largeTablesAnswerRight<shared_table4<unsigned>, table4<unsigned>>();
}
TEST(SharedTable, ofManyIpv6RoutesAnswersRight) {
   largeTablesAnswerRight<shared_table6<unsigned>, table6<unsigned>>();
}

//--- rules ---

TEST(SharedTable, movesItsReaders) {
   shared_table4<int> t;
   t.insert({"10.0.0.0/8"_prefix, 1});
   std::optional<shared_table4<int>::reader_handle> reader;
   {
      auto first = t.reader();
      reader.emplace(std::move(first));
   }
   auto second = t.reader();
   second = std::move(*reader);
   EXPECT_EQ(1, *second.lookup("10.1.2.3"_address));
}

TEST(SharedTableDeathTest, aReaderBelongsToItsThread) {
   EXPECT_DEATH(
      {
         shared_table4<int> t;
         const auto reader = t.reader();
         std::thread([&] { static_cast<void>(reader.size()); }).join();
      },
      "a reader is used on the thread that made it");
}

TEST(SharedTableDeathTest, theTableOutlivesItsReaders) {
   EXPECT_DEATH(
      {
         std::optional<shared_table4<int>> t(std::in_place);
         const auto reader = t->reader();
         t.reset();
      },
      "a shared table outlives its readers");
}

//--- a process that forks ---

// The thread sanitizer knows nothing of threads that a child starts.
#if defined(__SANITIZE_THREAD__)
#define ROUTETRIE_TEST_FORKS 0
#elif defined(__has_feature)
#define ROUTETRIE_TEST_FORKS !__has_feature(thread_sanitizer)
#else
#define ROUTETRIE_TEST_FORKS 1
#endif
#if ROUTETRIE_TEST_FORKS

// What a child comes to, by name; "" if all is well. It has a minute.
template <class Child>
std::string inChild(Child&& child) {
   const pid_t pid = shared_fork();
   if (pid == 0) {
      alarm(60);
      _exit(child());
   }
   int status = 0;
   if (pid < 0 || waitpid(pid, &status, 0) != pid) {
      return "no child";
   }
   return WIFEXITED(status) && WEXITSTATUS(status) == 0 ? ""
          : WIFEXITED(status)                           ? fmt::format("left with {}", WEXITSTATUS(status))
                                                        : fmt::format("ended by signal {}", WTERMSIG(status));
}

// The child asks by the reader of the thread that forked, changes, frees what it replaced, and starts readers of its own.
template <class Shared, class Reader>
int useAll(Shared& t, const Reader& reader, unsigned value) {
   const auto before = reader.lookup("10.1.2.3"_address);
   if (!before || *before != value) {
      return 1;
   }
   t.insert_or_assign("10.1.0.0/16"_prefix, value + 1);
   if (*before != value || *reader.lookup("10.1.2.3"_address) != value + 1) {
      return 2;
   }
   return 0;
}

// Others read all the time, so that the thread that waits for readers is mostly in the middle of it.
TEST(SharedTable, aChildAndItsParentGoOn) {
   shared_table4<unsigned> t;
   t.insert({"10.0.0.0/8"_prefix, 0});
   std::atomic<bool> isOver{false};
   std::atomic<unsigned> reading{0};
   std::vector<std::thread> others;
   for (int i = 0; i < 2; ++i) {
      others.emplace_back([&] {
         const auto own = t.reader();
         for (bool isFirst = true; !isOver; isFirst = false) {
            static_cast<void>(own.lookup("10.1.2.3"_address));
            reading += isFirst ? 1u : 0u;
         }
      });
   }
   while (reading != 2) {
      std::this_thread::yield();
   }
   const auto reader = t.reader();
   for (unsigned round = 0; round < 12; ++round) {
      for (unsigned i = 0; i < 20; ++i) {
         t.insert_or_assign("10.0.0.0/8"_prefix, round);
         t.reclaim();
      }
      EXPECT_EQ("", inChild([&] {
                   if (const int fault = useAll(t, reader, round)) {
                      return fault;
                   }
                   if (pendingInTheEnd(t) != 0) {
                      return 3;
                   }
                   unsigned seen = 0;
                   std::thread([&] { seen = *t.reader().lookup("10.1.2.3"_address); }).join();
                   return seen != round + 1 ? 4 : t.audit().empty() ? 0 : 5;
                }))
         << "round " << round;
      EXPECT_EQ(round, *reader.lookup("10.1.2.3"_address)) << "what the child changes is its own";
   }
   isOver = true;
   for (auto& other : others) {
      other.join();
   }
   EXPECT_EQ(0u, pendingInTheEnd(t));
   EXPECT_EQ("", t.audit());
}

// A lock of a thread that the child does not have holds back nothing there, and goes on to hold what it has in the parent.
TEST(SharedTable, aChildForgetsTheReadersOfOtherThreads) {
   shared_table4<std::shared_ptr<int>> t;
   const auto value = std::make_shared<int>(5);
   t.insert({"10.0.0.0/8"_prefix, value});
   std::atomic<int> step{0};
   std::thread sleeper([&] {
      const auto own = t.reader();
      const auto best = own.match("10.1.2.3"_address);
      step = 1;
      while (step != 2) {
         std::this_thread::sleep_for(std::chrono::milliseconds(1));
      }
      EXPECT_EQ(5, *best->value);
   });
   while (step != 1) {
      std::this_thread::yield();
   }
   t.erase("10.0.0.0/8"_prefix);
   EXPECT_EQ("", inChild([&] { return pendingInTheEnd(t) != 0 ? 1 : value.use_count() != 1 ? 2 : 0; }));
   for (int i = 0; i < 10; ++i) {
      t.reclaim();
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
   }
   EXPECT_EQ(2, value.use_count());
   step = 2;
   sleeper.join();
   EXPECT_EQ(0u, pendingInTheEnd(t));
   EXPECT_EQ(1, value.use_count());
}

// A child of fork(2) itself asks by the reader that it has.
TEST(SharedTable, aChildOfAnyKindAsksByItsReader) {
   shared_table4<int> t;
   t.insert({"10.0.0.0/8"_prefix, 1});
   const auto reader = t.reader();
   const pid_t pid = fork();
   if (pid == 0) {
      _exit(*reader.lookup("10.1.2.3"_address) == 1 ? 0 : 1);
   }
   int status = 1;
   EXPECT_EQ(pid, waitpid(pid, &status, 0));
   EXPECT_EQ(0, status);
}

TEST(SharedTableDeathTest, nobodyForksUnderALock) {
   EXPECT_DEATH(
      {
         shared_table4<int> t;
         const auto reader = t.reader();
         const auto routes = reader.lock();
         shared_fork();
      },
      "a thread that forks holds no answer and no lock of a reader");
}

#endif
#undef ROUTETRIE_TEST_FORKS

TEST(SharedTable, writersTakeTurns) {
   shared_table4<int> t;
   std::vector<std::thread> writers;
   for (unsigned w = 0; w < 4; ++w) {
      writers.emplace_back([&t, w] {
         for (unsigned i = 0; i < 50; ++i) {
            t.insert({prefix4::cut(prefix4::Bits((w * 50 + i) << 12), 24), 1});
         }
      });
   }
   for (auto& writer : writers) {
      writer.join();
   }
   EXPECT_EQ(200u, t.reader().size());
   EXPECT_EQ("", t.audit());
}

}  // namespace SharedTableTest
}  // namespace routetrie
