#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <iterator>
#include <memory>
#include <ranges>
#include <stdexcept>
#include <string>
#include <vector>

#include "routetrie/route_set.h"
#include "routetrie/snapshot.h"
#include "routetrie/table.h"
#include "tests/support/Backwards.h"

namespace routetrie {
namespace BothFamiliesTest {

using testing::ElementsAre;
using testing::IsEmpty;

static_assert(std::bidirectional_iterator<table<int>::iterator>);
static_assert(std::bidirectional_iterator<route_set::iterator>);
static_assert(std::ranges::bidirectional_range<const table<std::string>>);
static_assert(std::ranges::common_range<const table<int>> && std::ranges::sized_range<const table<int>>);
static_assert(std::is_nothrow_move_constructible_v<table<std::string>> &&
              std::is_nothrow_move_assignable_v<table<std::string>>);
static_assert(!std::is_copy_constructible_v<table<std::unique_ptr<int>>>);

template <class Table>
using CoveredOf = decltype(std::declval<const Table&>().covered(prefix()));
template <class Table>
using ChildrenOf = decltype(std::declval<const Table&>().children(prefix()));
template <class Table>
using CoveringOf = decltype(std::declval<const Table&>().covering(prefix()));
template <class Table>
using NearestOf = decltype(std::declval<const Table&>().covering_nearest(address()));
template <class Range>
constexpr bool isAnswer = std::ranges::bidirectional_range<Range>&& std::ranges::borrowed_range<Range>&&
   std::ranges::view<Range>&& std::bidirectional_iterator<std::ranges::iterator_t<Range>>;
template <class Table>
constexpr bool answersInRanges = isAnswer<CoveredOf<Table>>&& isAnswer<ChildrenOf<Table>>&&
   isAnswer<CoveringOf<Table>>&& isAnswer<NearestOf<Table>>;
static_assert(answersInRanges<table<int>> && answersInRanges<table<std::string>> && answersInRanges<route_set>);
static_assert(answersInRanges<snapshot<int>>);
static_assert(!std::ranges::borrowed_range<table<int>> && !std::ranges::view<table<int>>);
static_assert(std::sentinel_for<std::default_sentinel_t, table<int>::iterator>);
static_assert(std::is_same_v<route_set::value_type, prefix>);

template <class Range>
std::vector<std::string> texts(Range&& range) {
   std::vector<std::string> list;
   for (const auto& route : range) {
      list.push_back(fmt::format("{}", route));
   }
   return list;
}

// The first 32 bits of the one are those of the other: neither answers for it.
TEST(BothFamilies, theSameBitsAreTwoRoutes) {
   table<int> t;
   EXPECT_TRUE(t.insert({"10.0.0.0/8"_prefix, 4}).second);
   EXPECT_TRUE(t.insert({"a00::/8"_prefix, 6}).second);
   EXPECT_EQ(2u, t.size());
   EXPECT_EQ(4, t.match(address("10.1.2.3"_address))->value);
   EXPECT_EQ(6, t.match(address("a01:203::"_address))->value);
   EXPECT_EQ(1u, t.erase("a00::/8"_prefix));
   EXPECT_FALSE(t.match(address("a01:203::"_address)));
   EXPECT_EQ(4, *t.lookup("10.1.2.3"_address));
   EXPECT_EQ(0u, t.erase("a00::/8"_prefix));
   EXPECT_TRUE(t.insert({"::/0"_prefix, 60}).second);
   EXPECT_FALSE(t.match(address("11.0.0.0"_address))) << "a default route is of one family";
   EXPECT_FALSE(t.parent("10.0.0.0/8"_prefix));
   EXPECT_FALSE(t.overlaps("11.0.0.0/8"_prefix));
   EXPECT_EQ("", t.audit());
}

TEST(BothFamilies, fourComesBeforeSix) {
   const table<int> t{
      {"::/0"_prefix, 1}, {"255.255.255.255/32"_prefix, 2}, {"0.0.0.0/0"_prefix, 3}, {"2001:db8::/32"_prefix, 4}};
   const std::vector<std::string> order{"0.0.0.0/0 3", "255.255.255.255/32 2", "::/0 1", "2001:db8::/32 4"};
   EXPECT_EQ(order, texts(t));
   EXPECT_EQ(std::vector<std::string>(order.rbegin(), order.rend()),
             texts(TestSupport::Between{t.rbegin(), t.rend()}));
   EXPECT_EQ("::/0", fmt::format("{}", t.upper_bound("255.255.255.255/32"_prefix)->prefix));
   EXPECT_EQ("::/0", fmt::format("{}", t.lower_bound("::/0"_prefix)->prefix));
   EXPECT_EQ(t.end(), t.upper_bound("ffff::/16"_prefix));
   EXPECT_THAT(texts(t.covered("0.0.0.0/0"_prefix)), ElementsAre("0.0.0.0/0 3", "255.255.255.255/32 2"));
   EXPECT_THAT(texts(t.children("::/0"_prefix)), ElementsAre("2001:db8::/32 4"));
   EXPECT_THAT(texts(t.covering("2001:db8::1"_address)), ElementsAre("::/0 1", "2001:db8::/32 4"));
   EXPECT_THAT(texts(t.covering_nearest("255.255.255.255"_address)),
               ElementsAre("255.255.255.255/32 2", "0.0.0.0/0 3"));
}

TEST(BothFamilies, anIteratorCrossesFromOneToTheOther) {
   table<int> t{{"10.0.0.0/8"_prefix, 1}, {"2001:db8::/32"_prefix, 2}};
   auto at = t.begin();
   t.erase("10.0.0.0/8"_prefix);
   EXPECT_EQ("2001:db8::/32", fmt::format("{}", (++at)->prefix));
   t.insert({"11.0.0.0/8"_prefix, 3});
   EXPECT_EQ("11.0.0.0/8", fmt::format("{}", (--at)->prefix));
   t.insert({"12.0.0.0/8"_prefix, 3});
   EXPECT_EQ("12.0.0.0/8", fmt::format("{}", (++at)->prefix));
   EXPECT_EQ("2001:db8::/32", fmt::format("{}", (++at)->prefix));
   EXPECT_EQ(t.end(), ++at);
}

// A place in IPv6 before which nothing of that family is left lies behind all of IPv4, whatever it stood on.
TEST(BothFamilies, theGroundGoesAtTheBorder) {
   table<int> t{{"10.0.0.0/8"_prefix, 1}, {"2001:db8::/32"_prefix, 2}, {"2002::/16"_prefix, 3}};
   auto at = t.find("2001:db8::/32"_prefix);
   auto last = t.find("2002::/16"_prefix);
   auto reverse = std::make_reverse_iterator(at);
   t.erase("2001:db8::/32"_prefix);
   EXPECT_EQ("10.0.0.0/8 1", fmt::format("{}", *std::ranges::prev(at)));
   EXPECT_EQ("2002::/16 3", fmt::format("{}", *std::ranges::next(at)));
   EXPECT_EQ("10.0.0.0/8 1", fmt::format("{}", *reverse));
   EXPECT_EQ("10.0.0.0/8 1", fmt::format("{}", *std::ranges::prev(last)));
   t.erase("2002::/16"_prefix);
   EXPECT_EQ("10.0.0.0/8 1", fmt::format("{}", *std::ranges::prev(last))) << "IPv6 is empty";
   EXPECT_EQ("10.0.0.0/8 1", fmt::format("{}", *std::ranges::prev(t.end())));
   EXPECT_EQ(t.end(), std::ranges::next(last));
   // In IPv4 the ground may go as well, and with it all of IPv4.
   auto four = t.begin();
   t.insert({"2003::/16"_prefix, 4});
   t.erase("10.0.0.0/8"_prefix);
   EXPECT_EQ("2003::/16 4", fmt::format("{}", *std::ranges::next(four)));
   // Nothing lies before: that is the end, as in a table of one family.
   EXPECT_EQ(t.end(), std::ranges::prev(four));
   EXPECT_EQ(t.end(), std::ranges::prev(t.begin()));
   EXPECT_EQ(t.end(), std::ranges::prev(at));
   t.clear();
   EXPECT_EQ(t.end(), std::ranges::prev(last));
   EXPECT_EQ(t.end(), std::ranges::next(last));
}

// What a range stands on may go too, from either side.
TEST(BothFamilies, theGroundGoesUnderABackwardRange) {
   table<int> t{{"10.0.0.0/8"_prefix, 1},
                {"10.1.0.0/16"_prefix, 2},
                {"2001:db8::/32"_prefix, 3},
                {"2001:db8:1::/48"_prefix, 4},
                {"2001:db8:2::/48"_prefix, 5}};
   const auto covered = t.covered("2001:db8::/32"_prefix);
   const auto children = t.children("2001:db8::/32"_prefix);
   auto first = covered.begin();
   auto second = std::ranges::next(first);
   auto child = std::ranges::next(children.begin());
   t.erase("2001:db8::/32"_prefix);
   t.erase("2001:db8:2::/48"_prefix);
   EXPECT_EQ("2001:db8:1::/48 4", fmt::format("{}", *std::ranges::prev(child)));
   t.erase("2001:db8:1::/48"_prefix);
   EXPECT_EQ(std::default_sentinel, std::ranges::prev(second)) << "nothing before it lies under the prefix";
   EXPECT_EQ(std::default_sentinel, std::ranges::prev(first));
   EXPECT_EQ(std::default_sentinel, std::ranges::next(first));
   EXPECT_EQ(std::default_sentinel, std::ranges::next(child));
   t.insert({"2001:db8:3::/48"_prefix, 6});
   EXPECT_EQ("2001:db8:3::/48 6", fmt::format("{}", *std::ranges::next(second)));
}

TEST(BothFamilies, changesOfEitherFamily) {
   table<std::string> t;
   EXPECT_TRUE(t.try_emplace("10.0.0.0/8"_prefix, "four").second);
   EXPECT_TRUE(t.insert_or_assign("2001:db8::/32"_prefix, "six").second);
   EXPECT_FALSE(t.insert_or_assign("2001:db8::/32"_prefix, "six again").second);
   EXPECT_TRUE(t.update("::/0"_prefix, [](std::string& s) { s += "made"; }));
   EXPECT_EQ("six again", t.find("2001:db8::/32"_prefix)->value);
   table<std::string> copy(t);
   EXPECT_EQ(copy, t);
   EXPECT_EQ(2u, copy.erase_covered("::/0"_prefix));
   EXPECT_THAT(texts(copy), ElementsAre("10.0.0.0/8 four"));
   copy.merge(t);
   EXPECT_EQ(3u, copy.size());
   EXPECT_EQ(1u, t.size()) << "what was there stays";
   EXPECT_EQ(2u, erase_if(copy, [](const auto& route) { return route.value != "four"; }));
   copy.clear();
   EXPECT_TRUE(copy.empty());
   route_set set{"10.0.0.0/8"_prefix, "::/0"_prefix};
   EXPECT_TRUE(set.contains("::/0"_prefix));
   EXPECT_EQ(2u, set.size());
}

TEST(BothFamilies, mergeByARuleAndAreMadeOfOneEach) {
   table<int> both{{"10.0.0.0/8"_prefix, 1}, {"::/0"_prefix, 2}};
   both.merge(table<int>{{"10.0.0.0/8"_prefix, 10}, {"::/0"_prefix, 20}},
              [](const prefix&, int& mine, int theirs) { mine += theirs; });
   EXPECT_THAT(texts(both), ElementsAre("10.0.0.0/8 11", "::/0 22"));
   EXPECT_EQ(both, table<int>(both.v4(), both.v6()));
}

TEST(BothFamilies, aBurstMayMixThem) {
   table<int> t{{"10.0.0.0/8"_prefix, 4}, {"a00::/8"_prefix, 6}};
   std::vector<address> asked;
   for (int i = 0; i < 100; ++i) {
      asked.push_back(i % 3 == 0   ? address("10.0.0.1"_address)
                      : i % 3 == 1 ? address("a00::1"_address)
                                   : address("b00::"_address));
   }
   std::vector<const int*> answers(asked.size());
   t.lookup_bulk(asked, answers);
   for (std::size_t i = 0; i < asked.size(); ++i) {
      EXPECT_EQ(t.lookup(asked[i]), answers[i]) << i;
   }
}

TEST(BothFamilies, whatHasNoFamilyIsNoPrefix) {
   table<int> t{{"0.0.0.0/0"_prefix, 4}, {"::/0"_prefix, 6}};
   for (const prefix& p : {prefix(), prefix(prefix4::nullPrefix()), prefix(prefix6::nullPrefix())}) {
      EXPECT_THROW(t.insert({p, 1}), std::invalid_argument);
      EXPECT_THROW(t.insert_or_assign(p, 1), std::invalid_argument);
      EXPECT_THROW(t.update(p, [](int&) {}), std::invalid_argument);
      EXPECT_THROW(t.erase(p), std::invalid_argument);
      EXPECT_THROW(t.erase_covered(p), std::invalid_argument);
      EXPECT_FALSE(t.contains(p) || t.match(p) || t.parent(p) || t.shortest_match(p) || t.has_longer(p));
      EXPECT_FALSE(t.overlaps(p));
      EXPECT_EQ(t.end(), t.find(p));
      EXPECT_THAT(texts(t.covered(p)), IsEmpty());
      EXPECT_THAT(texts(t.covering(p)), IsEmpty());
      EXPECT_THAT(texts(t.children(p)), IsEmpty());
   }
   EXPECT_FALSE(t.match(address()));
   EXPECT_EQ(nullptr, t.lookup(address()));
   EXPECT_FALSE(t.same_answer(address()));
   EXPECT_EQ(2u, t.size());
}

TEST(BothFamilies, insertingARangeLeavesItWhole) {
   // Literals within a list of pairs are more than clang 14 can take.
   const prefix first = "10.0.0.0/8"_prefix;
   const prefix second = "2001:db8::/32"_prefix;
   std::vector<std::pair<prefix, std::string>> routes{{first, "a value that owns the memory of its text"},
                                                      {second, "another value that owns the memory of its text"}};
   const auto before = routes;
   table<std::string> t;
   EXPECT_EQ(2u, t.insert(routes));
   EXPECT_EQ(before, routes);
}

}  // namespace BothFamiliesTest
}  // namespace routetrie
