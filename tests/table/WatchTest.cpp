#include "routetrie/watch.h"

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "routetrie/route_set.h"

namespace routetrie {
namespace WatchTest {

using testing::ElementsAre;
using testing::IsEmpty;

// What watches are told, as text: "10.0.0.0/8 1 -> none (erased 10.0.0.0/8)".
class Log {
  public:
   template <class Event>
   void add(const Event& e) {
      const auto text = [](const auto& route) { return route ? fmt::format("{}", *route) : std::string("none"); };
      lines_.push_back(fmt::format("{} -> {} ({} {})", text(e.before), text(e.after), describe(e.cause), e.changed));
   }
   auto told() {
      return [this](const auto& e) { add(e); };
   }
   std::vector<std::string> take() { return std::exchange(lines_, {}); }

  private:
   std::vector<std::string> lines_;
};

TEST(Watch, ofTheBestMatch) {
   watched_table4<int> t;
   Log log;
   t.insert({"10.0.0.0/8"_prefix, 1});
   const auto w = t.watch("10.1.2.3"_address, watch_kind::best_match, log.told());
   EXPECT_TRUE(w);
   EXPECT_THAT(log.take(), IsEmpty()) << "not told of what is there";
   t.insert({"10.1.0.0/16"_prefix, 2});
   EXPECT_THAT(log.take(), ElementsAre("10.0.0.0/8 1 -> 10.1.0.0/16 2 (added 10.1.0.0/16)"));
   t.insert_or_assign("10.0.0.0/8"_prefix, 3);
   t.insert({"0.0.0.0/0"_prefix, 9});
   t.insert({"10.2.0.0/16"_prefix, 2});
   t.insert({"10.1.2.4/32"_prefix, 2});
   EXPECT_THAT(log.take(), IsEmpty()) << "none of these is the best";
   t.insert_or_assign("10.1.0.0/16"_prefix, 4);
   EXPECT_THAT(log.take(), ElementsAre("10.1.0.0/16 2 -> 10.1.0.0/16 4 (changed 10.1.0.0/16)"));
   t.insert_or_assign("10.1.0.0/16"_prefix, 4);
   t.insert({"10.1.0.0/16"_prefix, 5});
   EXPECT_EQ(0u, t.erase("10.1.2.3/32"_prefix));
   EXPECT_THAT(log.take(), IsEmpty()) << "nothing has changed";
   t.erase("10.1.0.0/16"_prefix);
   t.erase("10.0.0.0/8"_prefix);
   t.erase("0.0.0.0/0"_prefix);
   EXPECT_THAT(log.take(), ElementsAre("10.1.0.0/16 4 -> 10.0.0.0/8 3 (erased 10.1.0.0/16)",
                                       "10.0.0.0/8 3 -> 0.0.0.0/0 9 (erased 10.0.0.0/8)",
                                       "0.0.0.0/0 9 -> none (erased 0.0.0.0/0)"));
   t.update("10.1.2.3/32"_prefix, [](int& v) { v = 7; });
   EXPECT_THAT(log.take(), ElementsAre("none -> 10.1.2.3/32 7 (added 10.1.2.3/32)"));
   EXPECT_TRUE(t.modify("10.1.2.3/32"_prefix, [](int& v) { ++v; }));
   EXPECT_THAT(log.take(), ElementsAre("10.1.2.3/32 7 -> 10.1.2.3/32 8 (changed 10.1.2.3/32)"));
   EXPECT_FALSE(t.modify("10.1.2.0/24"_prefix, [](int& v) { ++v; }));
   EXPECT_THAT(log.take(), IsEmpty());
   EXPECT_THROW(t.modify(prefix4::nullPrefix(), [](int&) {}), std::invalid_argument);
}

TEST(Watch, ofTheBestMatchOfAPrefix) {
   watched_table4<int> t;
   Log log;
   const auto w = t.watch("10.1.0.0/16"_prefix, watch_kind::best_match, log.told());
   t.insert({"10.1.2.0/24"_prefix, 1});
   EXPECT_THAT(log.take(), IsEmpty()) << "it covers a part alone";
   t.insert({"10.1.0.0/16"_prefix, 2});
   EXPECT_THAT(log.take(), ElementsAre("none -> 10.1.0.0/16 2 (added 10.1.0.0/16)"));
}

TEST(Watch, ofAnExactRouteAndOfAnythingUnder) {
   watched_table4<std::string> t;
   Log exact;
   Log under;
   const auto w = t.watch("10.1.0.0/16"_prefix, watch_kind::exact_route, exact.told());
   const auto v = t.watch("10.0.0.0/8"_prefix, watch_kind::anything_under, under.told());
   t.insert({"0.0.0.0/0"_prefix, "all"});
   t.insert({"11.0.0.0/8"_prefix, "beside"});
   EXPECT_THAT(under.take(), IsEmpty());
   t.insert({"10.0.0.0/8"_prefix, "ten"});
   t.insert({"10.1.2.0/24"_prefix, "more"});
   EXPECT_THAT(exact.take(), IsEmpty());
   EXPECT_THAT(under.take(), ElementsAre("none -> 10.0.0.0/8 ten (added 10.0.0.0/8)",
                                         "none -> 10.1.2.0/24 more (added 10.1.2.0/24)"));
   t.insert({"10.1.0.0/16"_prefix, "a"});
   t.update("10.1.0.0/16"_prefix, [](std::string& s) { s += "b"; });
   t.erase("10.1.0.0/16"_prefix);
   const std::vector<std::string> lines{"none -> 10.1.0.0/16 a (added 10.1.0.0/16)",
                                        "10.1.0.0/16 a -> 10.1.0.0/16 ab (changed 10.1.0.0/16)",
                                        "10.1.0.0/16 ab -> none (erased 10.1.0.0/16)"};
   EXPECT_EQ(lines, exact.take());
   EXPECT_EQ(lines, under.take());
   EXPECT_EQ(2u, t.erase_covered("10.0.0.0/8"_prefix));
   EXPECT_THAT(under.take(), ElementsAre("10.0.0.0/8 ten -> none (erased 10.0.0.0/8)",
                                         "10.1.2.0/24 more -> none (erased 10.1.2.0/24)"));
}

TEST(Watch, ofTheLongestUsableRoute) {
   watched_table<int> t;
   Log log;
   bool isUp = true;
   t.insert({"10.0.0.0/8"_prefix, 1});
   t.insert({"10.1.0.0/16"_prefix, 2});
   const auto w = t.watch_if(
      "10.1.2.3"_address, [&](const auto& r) { return r.value != 2 || isUp; }, log.told());
   t.recheck("10.1.0.0/16"_prefix);
   EXPECT_THAT(log.take(), IsEmpty()) << "it is still usable";
   isUp = false;
   EXPECT_THAT(log.take(), IsEmpty()) << "nobody has said so";
   t.recheck("10.2.0.0/16"_prefix);
   EXPECT_THAT(log.take(), IsEmpty());
   t.recheck("10.1.0.0/16"_prefix);
   EXPECT_THAT(log.take(), ElementsAre("10.1.0.0/16 2 -> 10.0.0.0/8 1 (rechecked 10.1.0.0/16)"));
   t.insert({"10.1.2.0/24"_prefix, 2});
   EXPECT_THAT(log.take(), IsEmpty());
   t.insert_or_assign("10.1.2.0/24"_prefix, 3);
   EXPECT_THAT(log.take(), ElementsAre("10.0.0.0/8 1 -> 10.1.2.0/24 3 (changed 10.1.2.0/24)"));
   t.recheck(prefix());
}

TEST(Watch, ofBothFamiliesAndOfSets) {
   tracked_table<route_set, watch_tracker> t;
   Log log;
   const auto w = t.watch("::/0"_prefix, watch_kind::anything_under, log.told());
   const auto v = t.watch("10.1.2.3"_address, watch_kind::best_match, log.told());
   t.insert("10.0.0.0/8"_prefix);
   t.insert("2001:db8::/32"_prefix);
   EXPECT_THAT(log.take(),
               ElementsAre("none -> 10.0.0.0/8 (added 10.0.0.0/8)", "none -> 2001:db8::/32 (added 2001:db8::/32)"));
   watched_table6<int> six;
   const auto u = six.watch("2001:db8::1"_address, watch_kind::best_match, log.told());
   six.insert({"::/0"_prefix, 1});
   EXPECT_THAT(log.take(), ElementsAre("none -> ::/0 1 (added ::/0)"));
   EXPECT_THROW(std::ignore = t.watch(prefix(), watch_kind::best_match, log.told()), std::invalid_argument);
}

TEST(Watch, endsWithItsHandle) {
   watched_table4<int> t;
   Log log;
   {
      const auto w = t.watch("10.0.0.1"_address, watch_kind::best_match, log.told());
      auto v = t.watch("10.0.0.1"_address, watch_kind::best_match, log.told());
      const auto u = t.watch("10.0.0.1"_address, watch_kind::best_match, log.told());
      t.insert({"10.0.0.0/8"_prefix, 1});
      EXPECT_EQ(3u, log.take().size());
      v.end();
      EXPECT_FALSE(v);
      v.end();
      t.insert({"10.0.0.0/9"_prefix, 1});
      EXPECT_EQ(2u, log.take().size());
      v = t.watch("10.0.0.1"_address, watch_kind::exact_route, log.told());
      v = watch_handle();
   }
   t.clear();
   EXPECT_THAT(log.take(), IsEmpty());
   watch_handle w;
   EXPECT_FALSE(w);
   {
      watched_table4<int> other;
      w = other.watch("10.0.0.1"_address, watch_kind::best_match, log.told());
      EXPECT_TRUE(w);
   }
   EXPECT_FALSE(w) << "the table has gone";
   w.end();
}

TEST(Watch, goesWithItsTable) {
   watched_table4<int> t;
   Log log;
   const auto w = t.watch("10.0.0.1"_address, watch_kind::best_match, log.told());
   t.insert({"10.0.0.0/8"_prefix, 1});
   watched_table4<int> moved(std::move(t));
   moved.erase("10.0.0.0/8"_prefix);
   EXPECT_THAT(log.take(),
               ElementsAre("none -> 10.0.0.0/8 1 (added 10.0.0.0/8)", "10.0.0.0/8 1 -> none (erased 10.0.0.0/8)"));
}

TEST(Watch, isToldOnceOfABatch) {
   watched_table4<int> t;
   Log log;
   t.insert({"10.0.0.0/8"_prefix, 1});
   const auto w = t.watch("10.1.2.3"_address, watch_kind::best_match, log.told());
   const auto v = t.watch("10.0.0.0/8"_prefix, watch_kind::anything_under, log.told());
   t.batch([&](auto& b) {
      b.insert_or_assign("10.0.0.0/8"_prefix, 2);
      b.insert({"10.1.0.0/16"_prefix, 3});
      b.batch([](auto& inner) { inner.insert_or_assign("10.0.0.0/8"_prefix, 4); });
      EXPECT_THAT(log.take(), IsEmpty());
   });
   EXPECT_THAT(log.take(), ElementsAre("10.0.0.0/8 1 -> 10.1.0.0/16 3 (several changes 10.0.0.0/8)",
                                       "10.0.0.0/8 1 -> 10.0.0.0/8 4 (several changes 10.0.0.0/8)",
                                       "none -> 10.1.0.0/16 3 (added 10.1.0.0/16)"));
   t.batch([](auto& b) {
      b.erase("10.1.0.0/16"_prefix);
      b.insert_or_assign("10.0.0.0/8"_prefix, 5);
      b.insert_or_assign("10.0.0.0/8"_prefix, 4);
      b.insert({"10.1.0.0/16"_prefix, 3});
   });
   EXPECT_THAT(log.take(), IsEmpty()) << "all is as it was";
   EXPECT_THROW(t.batch([](auto& b) {
      b.erase("10.1.0.0/16"_prefix);
      throw std::runtime_error("no");
   }),
                std::runtime_error);
   EXPECT_EQ(2u, log.take().size()) << "what was changed is changed";
   t.insert({{"10.1.0.0/16"_prefix, 1}, {"10.1.2.0/24"_prefix, 2}});
   EXPECT_THAT(log.take(),
               ElementsAre("10.0.0.0/8 4 -> 10.1.2.0/24 2 (several changes 10.1.0.0/16)",
                           "none -> 10.1.0.0/16 1 (added 10.1.0.0/16)", "none -> 10.1.2.0/24 2 (added 10.1.2.0/24)"));
}

TEST(Watch, seesWholeTablesComeAndGo) {
   watched_table4<int> t;
   Log log;
   const auto w = t.watch("10.1.2.3"_address, watch_kind::best_match, log.told());
   t.replace(table4<int>{{"10.0.0.0/8"_prefix, 1}, {"11.0.0.0/8"_prefix, 1}});
   EXPECT_THAT(log.take(), ElementsAre("none -> 10.0.0.0/8 1 (added 10.0.0.0/8)"));
   t.replace(table4<int>{{"10.0.0.0/8"_prefix, 1}});
   EXPECT_THAT(log.take(), IsEmpty());
   t.merge(table4<int>{{"10.0.0.0/8"_prefix, 5}, {"10.1.0.0/16"_prefix, 2}});
   EXPECT_THAT(log.take(), ElementsAre("10.0.0.0/8 1 -> 10.1.0.0/16 2 (added 10.1.0.0/16)"));
   t.merge(table4<int>{{"10.1.0.0/16"_prefix, 5}}, [](const auto&, int& mine, int theirs) { mine += theirs; });
   EXPECT_THAT(log.take(), ElementsAre("10.1.0.0/16 2 -> 10.1.0.0/16 7 (changed 10.1.0.0/16)"));
   EXPECT_EQ(1u, erase_if(t, [](const auto& r) { return r.value == 7; }));
   EXPECT_THAT(log.take(), ElementsAre("10.1.0.0/16 7 -> 10.0.0.0/8 1 (erased 10.1.0.0/16)"));
   t.clear();
   EXPECT_THAT(log.take(), ElementsAre("10.0.0.0/8 1 -> none (erased 10.0.0.0/8)"));
}

TEST(Watch, mayChangeTheTableThatCallsIt) {
   watched_table4<int> t;
   Log log;
   const auto w = t.watch("10.1.2.3"_address, watch_kind::best_match, [&](const auto& e) {
      log.add(e);
      if (e.after && e.after->value == 1) {
         const std::string before = e.before ? "route" : "none";
         t.insert({"10.1.0.0/16"_prefix, 2});
         t.erase("10.0.0.0/8"_prefix);
         EXPECT_EQ("none", before);
         EXPECT_EQ(1, e.after->value) << "it holds as long as the call";
      }
   });
   const auto v = t.watch("10.1.2.3"_address, watch_kind::best_match, log.told());
   t.insert({"10.0.0.0/8"_prefix, 1});
   EXPECT_THAT(log.take(), ElementsAre("none -> 10.0.0.0/8 1 (added 10.0.0.0/8)",
                                       "none -> 10.1.0.0/16 2 (several changes 10.0.0.0/8)",
                                       "10.0.0.0/8 1 -> 10.1.0.0/16 2 (several changes 10.1.0.0/16)"));
}

// Who was not told yet is told the answer as it is, and never of one that has gone.
TEST(Watch, isToldTheAnswerAsItIs) {
   watched_table4<int> t;
   Log log;
   const auto sooner =
      t.watch("10.1.2.3"_address, watch_kind::best_match, [&](const auto&) { t.erase("10.0.0.0/8"_prefix); });
   const auto later = t.watch("10.1.2.3"_address, watch_kind::best_match, log.told());
   t.insert({"10.0.0.0/8"_prefix, 1});
   EXPECT_THAT(log.take(), IsEmpty());
   EXPECT_TRUE(t.empty());
}

TEST(Watch, mayEndItselfAndOthers) {
   watched_table4<int> t;
   Log log;
   watch_handle one;
   watch_handle two;
   auto owned = std::make_shared<std::string>("held by the function");
   one = t.watch("10.1.2.3"_address, watch_kind::best_match, [&, owned](const auto& e) {
      log.add(e);
      two.end();
      one.end();
      EXPECT_EQ("held by the function", *owned) << "the function lives as long as it runs";
   });
   two = t.watch("10.1.2.3"_address, watch_kind::best_match, log.told());
   t.insert({"10.0.0.0/8"_prefix, 1});
   EXPECT_EQ(1u, log.take().size());
   EXPECT_EQ(1, owned.use_count());
   t.clear();
   EXPECT_THAT(log.take(), IsEmpty());
   // One that begins within a call is told of what comes behind it.
   std::vector<watch_handle> more;
   one = t.watch("10.1.2.3"_address, watch_kind::best_match, [&](const auto&) {
      more.push_back(t.watch("10.1.2.3"_address, watch_kind::best_match, log.told()));
   });
   t.insert({"10.0.0.0/8"_prefix, 1});
   EXPECT_THAT(log.take(), IsEmpty());
   one.end();
   t.erase("10.0.0.0/8"_prefix);
   EXPECT_EQ(1u, log.take().size());
}

TEST(Watch, whatAFunctionRaisesIsRaisedWhenAllAreTold) {
   watched_table4<int> t;
   Log log;
   const auto sooner =
      t.watch("10.1.2.3"_address, watch_kind::best_match, [](const auto&) { throw std::runtime_error("no"); });
   const auto later = t.watch("10.1.2.3"_address, watch_kind::best_match, log.told());
   EXPECT_THROW(t.insert({"10.0.0.0/8"_prefix, 1}), std::runtime_error);
   EXPECT_EQ(1u, t.size());
   EXPECT_EQ(1u, log.take().size());
}

TEST(WatchDeathTest, aFunctionMayNotDestroyItsTable) {
   auto t = std::make_unique<watched_table4<int>>();
   const auto w = t->watch("10.1.2.3"_address, watch_kind::best_match, [&](const auto&) { t.reset(); });
   EXPECT_DEATH(t->insert({"10.0.0.0/8"_prefix, 1}),
                "Assertion `a table is not destroyed by a function that it calls' failed");
}

}  // namespace WatchTest
}  // namespace routetrie
