#include "routetrie/snapshot.h"

#include <gtest/gtest.h>

#include <chrono>
#include <concepts>
#include <memory>
#include <optional>
#include <random>
#include <ranges>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "routetrie/compiled.h"
#include "routetrie/difference.h"
#include "routetrie/route_set.h"
#include "routetrie/table.h"
#include "routetrie/watch.h"

namespace routetrie {
namespace SnapshotTest {

using namespace routetrie::literals;

static_assert(std::copyable<snapshot<int>> && std::copyable<snapshot4<std::string>> &&
              std::copyable<snapshot6<void>>);
static_assert(std::ranges::bidirectional_range<const snapshot<int>>);

template <class Routes>
std::string textOf(const Routes& routes) {
   std::string text;
   for (const auto& route : routes) {
      text += fmt::format("{}; ", route);
   }
   return text;
}

table<std::string> someRoutes() {
   return {{"0.0.0.0/0"_prefix, "any"},
           {"10.0.0.0/8"_prefix, "ten"},
           {"10.1.0.0/16"_prefix, "ten one"},
           {"2001:db8::/32"_prefix, "doc"}};
}

TEST(Snapshot, staysWhenTheTableChanges) {
   table<std::string> t = someRoutes();
   const snapshot<std::string> before = t.snapshot();
   EXPECT_TRUE(before == t);
   const std::string text = textOf(before);
   t.insert_or_assign("10.1.0.0/16"_prefix, "another");
   t.update("0.0.0.0/0"_prefix, [](std::string& value) { value += " changed"; });
   t.erase("10.0.0.0/8"_prefix);
   t.insert({"10.2.0.0/16"_prefix, "new"});
   t.insert({"2001:db8:1::/48"_prefix, "new"});
   EXPECT_EQ(text, textOf(before));
   EXPECT_EQ("0.0.0.0/0 any; 10.0.0.0/8 ten; 10.1.0.0/16 ten one; 2001:db8::/32 doc; ", text);
   EXPECT_EQ("0.0.0.0/0 any changed; 10.1.0.0/16 another; 10.2.0.0/16 new; 2001:db8::/32 doc; 2001:db8:1::/48 new; ",
             textOf(t));
   EXPECT_FALSE(before == t);
   EXPECT_EQ("", t.audit());
   EXPECT_EQ("", before.audit());
}

TEST(Snapshot, isAskedAsTheTableIs) {
   table<std::string> t = someRoutes();
   const auto s = t.snapshot();
   t.clear();
   EXPECT_EQ(4u, s.size());
   EXPECT_FALSE(s.empty());
   EXPECT_EQ("ten one", *s.lookup("10.1.2.3"_address));
   EXPECT_EQ("doc", *s.lookup("2001:db8::1"_address));
   EXPECT_EQ(nullptr, s.lookup("2001:db9::1"_address));
   EXPECT_EQ("10.1.0.0/16"_prefix, s.match("10.1.2.3"_address)->prefix);
   EXPECT_EQ("ten", s.match_if("10.1.2.3"_address, [](const auto& r) { return r.value == "ten"; })->value);
   EXPECT_EQ("ten", s.parent("10.1.0.0/16"_prefix)->value);
   EXPECT_EQ("any", s.shortest_match("10.1.2.3"_address)->value);
   EXPECT_EQ(3, std::ranges::distance(s.covering("10.1.2.3"_address)));
   EXPECT_EQ(2, std::ranges::distance(s.covered("10.0.0.0/8"_prefix)));
   EXPECT_EQ(1, std::ranges::distance(s.children("10.0.0.0/8"_prefix)));
   EXPECT_TRUE(s.has_longer("10.0.0.0/8"_prefix));
   EXPECT_TRUE(s.contains("10.0.0.0/8"_prefix));
   EXPECT_EQ("ten", s.find("10.0.0.0/8"_prefix)->value);
   EXPECT_EQ("ten one", s.upper_bound("10.0.0.0/8"_prefix)->value);
   EXPECT_TRUE(s.overlaps("10.1.2.0/24"_prefix));
   EXPECT_EQ(4u, s.explain("10.1.2.3"_address).candidates.size() + 1);
   EXPECT_EQ("10.1.0.0"_address, s.same_answer("10.1.2.3"_address)->first);
   EXPECT_EQ("2001:db8::/32 doc", fmt::format("{}", *std::prev(s.end())));
   std::size_t paged = 0;
   for (const auto& route : s.walk(3)) {
      paged += route.value.empty() ? 0u : 1u;
   }
   EXPECT_EQ(3u, paged);
   EXPECT_EQ("ten", *compile(s.v4()).lookup("10.9.9.9"_address));
   EXPECT_EQ(4, std::ranges::distance(difference(s, t)));
   const std::string* answers[1];
   const address asked[] = {"10.1.2.3"_address};
   s.lookup_bulk(asked, answers);
   EXPECT_EQ("ten one", *answers[0]);
}

TEST(Snapshot, ofNothingHasNoRoutes) {
   const snapshot<int> none;
   EXPECT_TRUE(none.empty());
   EXPECT_EQ(nullptr, none.lookup("10.0.0.1"_address));
   EXPECT_FALSE(none.match("::"_address));
   table<int> t;
   const auto empty = t.snapshot();
   t.insert({"0.0.0.0/0"_prefix, 1});
   t.insert({"10.0.0.0/8"_prefix, 1});
   EXPECT_TRUE(empty.empty());
   EXPECT_TRUE(empty == none);
   EXPECT_EQ("", empty.audit());
}

TEST(Snapshot, ofASet) {
   route_set s{"10.0.0.0/8"_prefix, "2001:db8::/32"_prefix};
   const snapshot<void> before = s.snapshot();
   s.erase("10.0.0.0/8"_prefix);
   s.insert("11.0.0.0/8"_prefix);
   EXPECT_EQ("10.0.0.0/8; 2001:db8::/32; ", textOf(before));
   EXPECT_EQ("", s.audit());
}

TEST(Snapshot, copiesAndMoves) {
   table<std::string> t = someRoutes();
   snapshot<std::string> a = t.snapshot();
   snapshot<std::string> b = a;
   t.clear();
   const snapshot<std::string> c = t.snapshot();
   a = c;
   EXPECT_TRUE(a.empty());
   EXPECT_EQ(4u, b.size());
   snapshot<std::string> d = std::move(b);
   EXPECT_EQ("ten", d.match("10.2.3.4"_address)->value);
   a = std::move(d);
   EXPECT_EQ("ten", a.match("10.2.3.4"_address)->value);
   const auto& same = a;
   a = same;
   EXPECT_EQ("any", a.match("11.2.3.4"_address)->value);
}

TEST(Snapshot, ofATrackedTable) {
   watched_table<int> t;
   t.insert({"10.0.0.0/8"_prefix, 1});
   std::optional<snapshot<int>> within;
   t.batch([&](auto& table) {
      table.erase("10.0.0.0/8"_prefix);
      within = table.snapshot();
      table.insert({"10.0.0.0/8"_prefix, 2});
   });
   EXPECT_TRUE(within->empty());
   const auto before = t.snapshot();
   t.erase("10.0.0.0/8"_prefix);
   EXPECT_EQ("10.0.0.0/8 2; ", textOf(before));
}

// Values of each kind of place live exactly as long as a version has them.
TEST(Snapshot, keepsValuesInSlotsAsLongAsItHasThem) {
   const auto value = std::make_shared<int>(5);
   const auto p = "10.0.0.0/8"_prefix;
   const auto q = "11.0.0.0/8"_prefix;
   std::optional<table4<std::shared_ptr<int>>> t(std::in_place);
   t->insert({p, value});
   EXPECT_EQ(2, value.use_count());
   std::optional first = t->snapshot();
   t->insert_or_assign(p, nullptr);
   EXPECT_EQ(2, value.use_count());
   EXPECT_EQ(value, first->find(p)->value);
   t->insert_or_assign(p, value);
   std::optional second = t->snapshot();
   t->erase(p);
   EXPECT_EQ(3, value.use_count());
   t->insert({q, value});
   t->erase(q);
   EXPECT_EQ(3, value.use_count()) << "what no snapshot has seen goes at once";
   second.reset();
   t->reclaim();
   EXPECT_EQ(2, value.use_count());
   first.reset();
   EXPECT_EQ(2, value.use_count());
   t->insert({q, nullptr});  // the next change frees it
   EXPECT_EQ(1, value.use_count());
   EXPECT_EQ("", t->audit());

   t->insert_or_assign(q, value);
   first = t->snapshot();
   t->insert({p, value});
   t.reset();
   EXPECT_EQ(value, first->find(q)->value);
   first.reset();
   EXPECT_EQ(1, value.use_count());
}

TEST(Snapshot, ofValuesThatCannotBeCopied) {
   table4<std::unique_ptr<int>> t;
   const auto p = "10.0.0.0/8"_prefix;
   const auto q = "11.0.0.0/8"_prefix;
   t.insert({p, std::make_unique<int>(1)});
   t.insert({q, std::make_unique<int>(2)});
   std::optional before = t.snapshot();
   t.insert_or_assign(p, std::make_unique<int>(3));
   t.erase(q);
   EXPECT_EQ(1, *before->find(p)->value);
   EXPECT_EQ(2, *before->find(q)->value);
   EXPECT_EQ(3, *t.find(p)->value);
   const auto message = [](const auto& work) {
      try {
         work();
      } catch (const std::logic_error& e) {
         return std::string(e.what());
      }
      return std::string();
   };
   const std::string held = "a value that a snapshot holds cannot be changed, as it cannot be copied";
   EXPECT_EQ(held, message([&] { t.update(p, [](auto& value) { *value = 4; }); }));
   table4<std::unique_ptr<int>> other;
   EXPECT_EQ(held, message([&] { other.merge(t); }));
   EXPECT_EQ(held, message([&] { other.merge(t, [](const auto&, auto&, auto&&) {}); }));
   EXPECT_EQ(3, *t.find(p)->value);
   EXPECT_TRUE(other.empty());
   before.reset();
   t.reclaim();
   t.update(p, [](auto& value) { *value = 4; });
   EXPECT_EQ(4, *t.find(p)->value);
   other.merge(t);
   EXPECT_EQ(4, *other.find(p)->value);
   EXPECT_TRUE(t.empty());
}

TEST(Snapshot, mergesLeaveItWhole) {
   table<std::string> from = someRoutes();
   table<std::string> to{{"10.1.0.0/16"_prefix, "mine"}};
   const auto before = from.snapshot();
   to.merge(from);
   EXPECT_EQ("10.1.0.0/16 ten one; ", textOf(from));
   EXPECT_EQ("ten", to.find("10.0.0.0/8"_prefix)->value);
   to.merge(from, [](const prefix&, std::string& mine, std::string&& theirs) { mine += ", " + theirs; });
   EXPECT_EQ("mine, ten one", to.find("10.1.0.0/16"_prefix)->value);
   EXPECT_TRUE(from.empty());
   EXPECT_TRUE(before == someRoutes());
   EXPECT_EQ("", from.audit());
}

TEST(Snapshot, outlivesTheTable) {
   std::optional<snapshot<std::string>> s;
   {
      table<std::string> t = someRoutes();
      s = t.snapshot();
      t.erase("10.0.0.0/8"_prefix);
      table<std::string> moved = std::move(t);
      moved.insert({"12.0.0.0/8"_prefix, "later"});
      table<std::string> other;
      other.swap(moved);
      other = table<std::string>();
   }
   EXPECT_TRUE(*s == someRoutes());
   EXPECT_EQ("", s->audit());
}

TEST(Snapshot, aCopyOfTheTableIsOfTheRoutesAlone) {
   table<std::string> t = someRoutes();
   const auto s = t.snapshot();
   t.insert_or_assign("10.0.0.0/8"_prefix, "changed");
   t.erase("10.1.0.0/16"_prefix);
   table<std::string> copy = t;
   EXPECT_TRUE(copy == t);
   for (int i = 0; i < 20; ++i) {
      copy.insert({prefix4::cut("9.0.0.0"_address.bits(), 8u + static_cast<unsigned>(i)), "more"});
   }
   EXPECT_EQ("", copy.audit());
   EXPECT_EQ(0u, copy.memory().old);
   EXPECT_GT(t.memory().old, 0u);
   EXPECT_TRUE(s == someRoutes());
}

TEST(Snapshot, sweepsAndSlicesLeaveItWhole) {
   table<std::string> t = someRoutes();
   const auto s = t.snapshot();
   t.mark();
   t.insert_or_assign("10.1.0.0/16"_prefix, "told again");
   while (!t.sweep(1).done) {
   }
   EXPECT_EQ("10.1.0.0/16 told again; ", textOf(t));
   EXPECT_TRUE(s == someRoutes());
}

//--- memory ---

prefix4 randomPrefix(std::mt19937& random) {
   return prefix4::cut(prefix4::Bits(static_cast<std::uint32_t>(random())),
                       16u + static_cast<unsigned>(random() % 9));
}

TEST(Snapshot, memoryComesBack) {
   table4<int> t;
   std::mt19937 random(7);
   while (t.size() < 5000) {
      t.insert({randomPrefix(random), 1});
   }
   EXPECT_EQ(0u, t.memory().old);
   std::vector<snapshot4<int>> held;
   for (int round = 0; round < 20; ++round) {
      held.push_back(t.snapshot());
      for (int i = 0; i < 200; ++i) {
         const auto p = randomPrefix(random);
         if (t.erase(p) == 0) {
            t.insert({p, i});
         }
         t.erase(t.lower_bound(p) != t.end() ? t.lower_bound(p)->prefix : p);
      }
      ASSERT_EQ("", t.audit());
   }
   EXPECT_GT(t.memory().old, 100'000u);
   std::shuffle(held.begin(), held.end(), random);
   while (!held.empty()) {
      const std::size_t before = t.memory().old;
      held.pop_back();
      t.reclaim();
      ASSERT_LE(t.memory().old, before);
      ASSERT_EQ("", t.audit());
   }
   EXPECT_EQ(0u, t.memory().old) << "nothing is kept when nobody is there";
   // And the space of what went is given out again.
   const std::size_t before = t.memory().total();
   for (int i = 0; i < 2000; ++i) {
      t.insert({randomPrefix(random), i});
      t.erase(t.begin());
   }
   EXPECT_LT(t.memory().total(), before + before / 4);
}

// A snapshot that stays for long keeps what it has, and not what came and went meanwhile.
TEST(Snapshot, oldOnesDoNotKeepWhatTheyHaveNotSeen) {
   table4<int> t;
   std::mt19937 random(8);
   while (t.size() < 2000) {
      t.insert({randomPrefix(random), 1});
   }
   const auto old = t.snapshot();
   std::size_t most = 0;
   for (int round = 0; round < 200; ++round) {
      const auto young = t.snapshot();
      for (int i = 0; i < 50; ++i) {
         t.insert({randomPrefix(random), i});
         t.erase(t.begin());
      }
      if (round == 50) {
         most = t.memory().old;
      }
   }
   EXPECT_GT(most, 0u);
   EXPECT_LT(t.memory().old, most + most / 2);
   EXPECT_EQ("", t.audit());
}

TEST(Snapshot, aChangeFreesALittleOfWhatASnapshotKept) {
   table4<int> t;
   std::mt19937 random(9);
   while (t.size() < 5000) {
      t.insert({randomPrefix(random), 1});
   }
   {
      const auto s = t.snapshot();
      while (!t.empty()) {
         t.erase(t.begin());
      }
   }
   const std::size_t before = t.memory().old;
   ASSERT_GT(before, 100'000u);
   t.insert({randomPrefix(random), 1});
   EXPECT_LT(t.memory().old, before);
   EXPECT_GT(t.memory().old, before / 2) << "not all at once";
   for (int i = 0; i < 5000 && t.memory().old != 0; ++i) {
      t.insert({randomPrefix(random), 1});
   }
   EXPECT_EQ(0u, t.memory().old);
}

TEST(Snapshot, tenThousandAtOnce) {
   table4<std::uint32_t> t;
   std::mt19937 random(10);
   std::vector<snapshot4<std::uint32_t>> held;
   for (std::uint32_t i = 0; i < 10'000; ++i) {
      t.insert_or_assign(randomPrefix(random), i);
      held.push_back(t.snapshot());
   }
   EXPECT_EQ("", t.audit());
   for (std::size_t i = 0; i < held.size(); i += 997) {
      ASSERT_EQ("", held[i].audit());
      ASSERT_LE(held[i].size(), i + 1);
      ASSERT_GT(held[i].size(), i - i / 50);
   }
   std::shuffle(held.begin(), held.end(), random);
   const std::size_t half = held.size() / 2;
   held.erase(held.begin() + static_cast<std::ptrdiff_t>(half), held.end());
   t.reclaim();
   EXPECT_EQ("", t.audit());
   for (std::size_t i = 0; i < held.size(); i += 499) {
      ASSERT_EQ("", held[i].audit());
   }
   held.clear();
   t.reclaim();
   EXPECT_EQ(0u, t.memory().old);
   EXPECT_EQ("", t.audit());
}

TEST(Snapshot, itsCostDoesNotGrowWithTheTable) {
   table4<int> t;
   std::mt19937 random(11);
   while (t.size() < 50'000) {
      t.insert({randomPrefix(random), 1});
   }
   const std::size_t before = t.memory().total();
   const auto s = t.snapshot();
   EXPECT_LT(t.memory().total(), before + 1500);
}

}  // namespace SnapshotTest
}  // namespace routetrie
