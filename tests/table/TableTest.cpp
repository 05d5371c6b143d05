#include "routetrie/family_table.h"
#include "routetrie/table.h"
#include "tests/support/Backwards.h"

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <iterator>
#include <memory>
#include <random>
#include <ranges>
#include <sstream>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <unordered_set>
#include <utility>
#include <vector>

namespace routetrie {
namespace TableTest {

using testing::ElementsAre;
using testing::IsEmpty;

//--- what the compiler can tell ---

static_assert(std::equality_comparable<explanation<prefix4, int>> &&
              std::equality_comparable<explanation<prefix, void>>);
static_assert(!std::equality_comparable<explanation<prefix4, std::stringstream>>);
static_assert(std::equality_comparable<lookup_read> && std::equality_comparable<table_memory> &&
              std::equality_comparable<erased_slice<prefix>>);

static_assert(std::bidirectional_iterator<table4<int>::iterator>);
static_assert(std::bidirectional_iterator<table6<std::string>::iterator>);
static_assert(std::bidirectional_iterator<table6<void>::iterator>);
static_assert(std::bidirectional_iterator<table4<int>::covered_iterator>);
static_assert(std::bidirectional_iterator<table4<int>::children_iterator>);
static_assert(std::bidirectional_iterator<table4<int>::covering_iterator<true>>);
static_assert(std::bidirectional_iterator<table6<void>::covering_iterator<false>>);
static_assert(std::sentinel_for<std::default_sentinel_t, table4<int>::iterator>);
static_assert(std::ranges::bidirectional_range<const table4<int>>);
static_assert(std::ranges::common_range<const table4<int>>);
static_assert(std::ranges::sized_range<const table4<int>>);
static_assert(!std::ranges::borrowed_range<table4<int>>);
using Covered = decltype(std::declval<const table4<int>&>().covered(prefix4()));
using Children = decltype(std::declval<const table4<int>&>().children(prefix4()));
using Covering = decltype(std::declval<const table4<int>&>().covering(prefix4()));
static_assert(std::ranges::borrowed_range<Covered> && std::ranges::bidirectional_range<Covered>);
static_assert(std::ranges::borrowed_range<Children> && std::ranges::bidirectional_range<Children>);
static_assert(std::ranges::borrowed_range<Covering> && std::ranges::bidirectional_range<Covering>);
static_assert(std::is_nothrow_move_constructible_v<table4<std::string>> &&
              std::is_nothrow_move_assignable_v<table4<std::string>> &&
              std::is_nothrow_swappable_v<table4<std::string>>);
static_assert(!std::is_copy_constructible_v<table4<std::unique_ptr<int>>>);
static_assert(std::is_nothrow_move_constructible_v<table4<std::unique_ptr<int>>>);
static_assert(std::is_nothrow_default_constructible_v<table4<int>>);
static_assert(std::is_same_v<table6<void>::value_type, prefix6>);
static_assert(std::is_same_v<decltype((*std::declval<table4<int>>().begin()).value), const int&>,
              "values are changed through the table alone");
template <class Table, class P>
concept TakesPrefix = requires(Table t, P p) {
   t.contains(p);
};
static_assert(TakesPrefix<table4<int>, prefix4> && !TakesPrefix<table4<int>, prefix6>);
static_assert(!TakesPrefix<table6<int>, prefix4> && !TakesPrefix<table4<int>, prefix>);
static_assert(!TakesPrefix<table4<int>, address4>, "an address is no prefix that lacks its length");
template <class Table>
concept HasLookup = requires(const Table t, typename Table::address_type a) {
   t.lookup(a);
};
static_assert(HasLookup<table4<int>> && !HasLookup<table4<void>>);

//--- helpers ---

prefix4 p4(std::string_view text) { return *parse<prefix4>(text); }
prefix6 p6(std::string_view text) { return *parse<prefix6>(text); }
address4 a4(std::string_view text) { return *parse<address4>(text); }

table4<int> tableOf(std::initializer_list<std::string_view> texts) {
   table4<int> table;
   int number = 0;
   for (const auto text : texts) {
      table.insert({p4(text), ++number});
   }
   return table;
}
template <class Range>
std::vector<std::string> texts(Range&& range) {
   std::vector<std::string> list;
   for (const auto& route : range) {
      list.push_back(fmt::format("{}", route));
   }
   return list;
}
template <class Route>
std::string textOf(const std::optional<Route>& route) {
   return route ? fmt::format("{}", *route) : "none";
}
const prefix4 nullPrefix4 = prefix4::nullPrefix();
const prefix6 nullPrefix6 = prefix6::nullPrefix();

//--- an empty table ---

TEST(EmptyTable, hasNoAnswer) {
   const table4<int> table;
   const prefix4 p = "10.0.0.0/8"_prefix;
   const address4 a = "10.0.0.1"_address;
   EXPECT_EQ(0u, table.size());
   EXPECT_TRUE(table.empty());
   EXPECT_EQ(table.begin(), table.end());
   EXPECT_EQ(table.rbegin(), table.rend());
   EXPECT_EQ(table.cbegin(), table.cend());
   EXPECT_FALSE(table.contains(p));
   EXPECT_EQ(table.end(), table.find(p));
   EXPECT_EQ(table.end(), table.lower_bound(p4("0.0.0.0/0")));
   EXPECT_EQ(table.end(), table.upper_bound(p));
   EXPECT_FALSE(table.match(a) || table.match(p) || table.parent(p) || table.shortest_match(a));
   EXPECT_FALSE(table.shortest_match(p) || table.match_if(a, [](const auto&) { return true; }));
   EXPECT_EQ(nullptr, table.lookup(a));
   EXPECT_THAT(texts(table.covering(a)), IsEmpty());
   EXPECT_THAT(texts(table.covering_nearest(p)), IsEmpty());
   EXPECT_THAT(texts(table.covered(p)), IsEmpty());
   EXPECT_THAT(texts(table.children(p4("0.0.0.0/0"))), IsEmpty());
   EXPECT_FALSE(table.has_longer(p4("0.0.0.0/0")) || table.overlaps(p4("0.0.0.0/0")) || table.overlaps(table));
   EXPECT_EQ(a4("0.0.0.0"), table.same_answer(a).first);
   EXPECT_EQ(a4("255.255.255.255"), table.same_answer(a).last);
   EXPECT_EQ(nullptr, table.explain(a).taken());
   EXPECT_EQ(table, table4<int>());
   EXPECT_EQ("", table.audit());
}

TEST(EmptyTable, changesToNothing) {
   table6<int> table;
   EXPECT_EQ(0u, table.erase(p6("::/0")));
   EXPECT_EQ(0u, table.erase_covered(p6("::/0")));
   EXPECT_EQ(0u, erase_if(table, [](const auto&) { return true; }));
   table.clear();
   table6<int> other;
   table.merge(other);
   swap(table, other);
   EXPECT_TRUE(table.empty());
   EXPECT_EQ("", table.audit());
}

//--- the null prefix ---

TEST(NullPrefix, raisesInAChange) {
   table4<int> table{{"10.0.0.0/8"_prefix, 1}};
   const table4<int> before(table);
   EXPECT_THROW(table.insert({nullPrefix4, 1}), std::invalid_argument);
   EXPECT_THROW(table.try_emplace(nullPrefix4, 1), std::invalid_argument);
   EXPECT_THROW(table.insert_or_assign(nullPrefix4, 1), std::invalid_argument);
   EXPECT_THROW(table.update(nullPrefix4, [](int&) {}), std::invalid_argument);
   EXPECT_THROW(table.erase(nullPrefix4), std::invalid_argument);
   EXPECT_THROW(table.erase_covered(nullPrefix4), std::invalid_argument);
   EXPECT_THROW(table6<void>().insert(nullPrefix6), std::invalid_argument);
   EXPECT_EQ(before, table);
}

TEST(NullPrefix, isNotFound) {
   const table4<int> table{{"0.0.0.0/0"_prefix, 1}, {"255.255.255.255/32"_prefix, 2}};
   EXPECT_FALSE(table.contains(nullPrefix4));
   EXPECT_EQ(table.end(), table.find(nullPrefix4));
   EXPECT_EQ(table.end(), table.lower_bound(nullPrefix4));
   EXPECT_EQ(table.end(), table.upper_bound(nullPrefix4));
   EXPECT_FALSE(table.match(nullPrefix4) || table.parent(nullPrefix4) || table.shortest_match(nullPrefix4));
   EXPECT_FALSE(table.match_if(nullPrefix4, [](const auto&) { return true; }));
   EXPECT_FALSE(table.has_longer(nullPrefix4) || table.overlaps(nullPrefix4));
   EXPECT_THAT(texts(table.covering(nullPrefix4)), IsEmpty());
   EXPECT_THAT(texts(table.covering_nearest(nullPrefix4)), IsEmpty());
   EXPECT_THAT(texts(table.covered(nullPrefix4)), IsEmpty());
   EXPECT_THAT(texts(table.children(nullPrefix4)), IsEmpty());
   EXPECT_TRUE(table.explain(nullPrefix4).candidates.empty());
   EXPECT_FALSE(table6<void>{"::/0"_prefix}.contains(nullPrefix6));
}

//--- questions ---

TEST(Table, answersWithPrefixAndValue) {
   const table4<int> table{
      {"0.0.0.0/0"_prefix, 7}, {"10.0.0.0/8"_prefix, 1}, {"10.1.0.0/16"_prefix, 2}, {"10.1.2.0/24"_prefix, 3}};
   EXPECT_EQ("10.1.2.0/24 3", textOf(table.match("10.1.2.3"_address)));
   EXPECT_EQ("10.1.0.0/16 2", textOf(table.match("10.1.3.3"_address)));
   EXPECT_EQ("0.0.0.0/0 7", textOf(table.match("11.0.0.0"_address)));
   EXPECT_EQ("10.1.0.0/16 2", textOf(table.match("10.1.0.0/16"_prefix))) << "a prefix covers itself";
   EXPECT_EQ("10.0.0.0/8 1", textOf(table.parent("10.1.0.0/16"_prefix)));
   EXPECT_EQ("10.0.0.0/8 1", textOf(table.parent("10.2.0.0/16"_prefix))) << "no route itself";
   EXPECT_EQ("none", textOf(table.parent("0.0.0.0/0"_prefix)));
   EXPECT_EQ("0.0.0.0/0 7", textOf(table.shortest_match("10.1.2.3"_address)));
   EXPECT_EQ(3, *table.lookup("10.1.2.255"_address));
   EXPECT_EQ(&table.find("10.1.2.0/24"_prefix)->value, table.lookup("10.1.2.255"_address));
   EXPECT_EQ("10.0.0.0/8 1",
             textOf(table.match_if("10.1.2.3"_address, [](const route4<int>& r) { return r.value < 2; })));
   EXPECT_THAT(texts(table.covering("10.1.0.0/16"_prefix)),
               ElementsAre("0.0.0.0/0 7", "10.0.0.0/8 1", "10.1.0.0/16 2"));
   EXPECT_THAT(texts(table.covering_nearest("10.1.3.0"_address)),
               ElementsAre("10.1.0.0/16 2", "10.0.0.0/8 1", "0.0.0.0/0 7"));
   EXPECT_THAT(texts(table.children("0.0.0.0/0"_prefix)), ElementsAre("10.0.0.0/8 1"));
   EXPECT_TRUE(table.has_longer("10.0.0.0/9"_prefix));
   EXPECT_FALSE(table.has_longer("10.1.2.0/24"_prefix)) << "itself is not longer";
   EXPECT_FALSE(table.has_longer("10.128.0.0/9"_prefix));
   EXPECT_EQ("10.1.3.0", fmt::format("{}", table.same_answer("10.1.200.0"_address).first));
   EXPECT_EQ("10.1.255.255", fmt::format("{}", table.same_answer("10.1.200.0"_address).last));
}

TEST(Table, matchIfStopsAtTheFirstThatPasses) {
   const auto table = tableOf({"0.0.0.0/0", "10.0.0.0/8", "10.1.0.0/16"});
   std::vector<std::string> asked;
   const auto best = table.match_if("10.1.0.0"_address, [&](const route4<int>& r) {
      asked.push_back(fmt::format("{}", r.prefix));
      return r.value == 2;
   });
   EXPECT_EQ("10.0.0.0/8 2", textOf(best));
   EXPECT_THAT(asked, ElementsAre("10.1.0.0/16", "10.0.0.0/8"));
}

TEST(Table, lookupBulkAnswersEach) {
   const auto table = tableOf({"10.0.0.0/8", "11.0.0.0/8"});
   std::vector<address4> asked;
   for (int i = 0; i < 100; ++i) {
      asked.push_back(a4(i % 3 == 0 ? "10.1.1.1" : i % 3 == 1 ? "11.0.0.0" : "12.0.0.0"));
   }
   for (const std::size_t count : {0u, 1u, 3u, 31u, 32u, 33u, 100u}) {
      std::vector<const int*> answers(count + 1, table.lookup(asked[1]));
      table.lookup_bulk(std::span(asked).first(count), answers);
      for (std::size_t i = 0; i < count; ++i) {
         ASSERT_EQ(table.lookup(asked[i]), answers[i]) << i << " of " << count;
      }
      EXPECT_EQ(table.lookup(asked[1]), answers[count]) << "what is behind the answers stays";
   }
   std::vector<const int*> tooFew(99);
   EXPECT_THROW(table.lookup_bulk(asked, tooFew), std::invalid_argument);
}

TEST(Table, sameAnswerEndsAtRoutesOnBothSides) {
   const auto table = tableOf({"10.0.0.0/8", "10.1.0.0/16", "10.1.128.0/17", "10.3.0.0/16", "255.255.255.255/32"});
   const auto range = [&](std::string_view text) {
      const auto found = table.same_answer(a4(text));
      return fmt::format("{}-{}", found.first, found.last);
   };
   EXPECT_EQ("0.0.0.0-9.255.255.255", range("9.0.0.0"));
   EXPECT_EQ("10.0.0.0-10.0.255.255", range("10.0.0.0"));
   EXPECT_EQ("10.1.0.0-10.1.127.255", range("10.1.0.0"));
   EXPECT_EQ("10.1.128.0-10.1.255.255", range("10.1.255.255"));
   EXPECT_EQ("10.2.0.0-10.2.255.255", range("10.2.7.7"));
   EXPECT_EQ("10.4.0.0-10.255.255.255", range("10.4.0.0"));
   EXPECT_EQ("11.0.0.0-255.255.255.254", range("255.255.255.254"));
   EXPECT_EQ("255.255.255.255-255.255.255.255", range("255.255.255.255"));
   EXPECT_EQ((address_range<address4>{a4("10.2.0.0"), a4("10.2.255.255")}), table.same_answer(a4("10.2.0.1")));
}

TEST(Table, explainsItsAnswer) {
   const auto table = tableOf({"0.0.0.0/0", "10.0.0.0/8", "10.1.0.0/16"});
   const auto why = table.explain("10.1.0.1"_address, [](const route4<int>& r) { return r.prefix.len() != 16; });
   ASSERT_EQ(3u, why.candidates.size());
   EXPECT_EQ(verdict::shorter, why.candidates[0].why);
   EXPECT_EQ(verdict::taken, why.candidates[1].why);
   EXPECT_EQ(verdict::refused, why.candidates[2].why);
   EXPECT_EQ("10.0.0.0/8 2", fmt::format("{}", why.taken()->route));
   EXPECT_FALSE(why.reads.empty());
   const std::string text = fmt::format("{}", why);
   EXPECT_TRUE(
      text.starts_with("10.1.0.1/32\n"
                       "  0.0.0.0/0 = 1    not taken: a longer one covers it\n"
                       "  10.0.0.0/8 = 2   taken: the longest\n"
                       "  10.1.0.0/16 = 3  not taken: refused by the test\n"
                       "read: "))
      << text;
   std::ostringstream out;
   out << why;
   EXPECT_EQ(text, out.str());
   EXPECT_TRUE(fmt::format("{}", table4<int>().explain("10.1.0.1"_address)).starts_with("10.1.0.1/32\n  no route\n"));
   EXPECT_EQ("10.1.0.0/16", fmt::format("{}", table.explain("10.1.0.0/16"_prefix).asked));
}

template <class X>
void printsAs(const char* text, const X& x) {
   EXPECT_EQ(text, fmt::format("{}", x));
   std::ostringstream out;
   out << x;
   EXPECT_EQ(text, out.str());
}

TEST(Answers, printCompareAndHash) {
   const address_range<address4> range{"10.0.0.0"_address, "10.0.0.255"_address};
   printsAs("10.0.0.0-10.0.0.255", range);
   printsAs("2001::-2001::1", address_range<address6>{"2001::"_address, "2001::1"_address});
   printsAs("2001::-2001::1", address_range<address>{"2001::"_address, "2001::1"_address});
   const std::unordered_set<address_range<address4>> ranges{
      range, range, {"10.0.0.0"_address, "10.0.0.254"_address}, {"9.0.0.0"_address, "10.0.0.255"_address}};
   EXPECT_EQ(3u, ranges.size());
   EXPECT_NE(std::hash<address_range<address4>>()(range),
             std::hash<address_range<address4>>()({range.last, range.first}));
   printsAs("taken: the longest", verdict::taken);
   printsAs("not taken: refused by the test", verdict::refused);

   table_memory memory{1, 2, 3, 4, 5};
   printsAs("bytes 15: nodes 1, values 2, index 3, free 4, old 5", memory);
   EXPECT_EQ((table_memory{1, 2, 3, 4, 5}), memory);
   EXPECT_NE((table_memory{1, 2, 3, 4, 6}), memory);

   table4<int> t{{"10.0.0.0/8"_prefix, 1}, {"10.1.0.0/16"_prefix, 2}};
   const table4<int> same(t);
   const address4 asked = "10.1.0.1"_address;
   EXPECT_EQ(t.explain(asked), same.explain(asked));
   EXPECT_EQ(t.explain(asked).reads.front(), same.explain(asked).reads.front());
   EXPECT_NE(t.explain(asked), same.explain("10.1.0.2"_address)) << "of another question";
   EXPECT_NE(t.explain(asked), same.explain(asked, [](const auto& r) { return r.value == 1; }));
   t.insert_or_assign("10.1.0.0/16"_prefix, 3);
   EXPECT_NE(t.explain(asked), same.explain(asked)) << "of another value";
   const auto all = [](const auto&) { return true; };
   table4<int> copy(t);
   EXPECT_EQ(erase_if(t, all, 1), erase_if(copy, all, 1));
   copy.insert({"12.0.0.0/8"_prefix, 1});
   EXPECT_NE(erase_if(t, all, 2), erase_if(copy, all, 1));
}

// Where no index leads past them, a lookup reads the nodes from the root to the route's, and what a walk over all of them counts is the
// same.
template <class Table>
void readsAreTheNodesOnTheWay() {
   using P = typename Table::prefix_type;
   using Word = typename P::Bits::Word;
   std::mt19937_64 random(11);
   Table t;
   for (int i = 0; i < 600; ++i) {
      auto word = static_cast<Word>(random() >> (32 + 8 * (random() % 3)));
      if constexpr (P::width == 128) {
         word = word << 96 | (random() & 3);
      }
      t.try_emplace(P::cut(typename P::Bits(word), 1 + static_cast<unsigned>(random() % P::width)), i);
   }
   // Pairs far from all others, to which a skip leads.
   for (int i = 0; i < 100; ++i) {
      const auto word = static_cast<Word>(static_cast<Word>(random()) << (P::width - 32) | 1);
      t.try_emplace(P::cut(typename P::Bits(word), P::width), i);
      t.try_emplace(P::cut(typename P::Bits(word ^ 1), P::width), i);
   }
   ASSERT_EQ("", t.audit());
   std::size_t nodes = 0;
   std::size_t deepest = 0;
   std::size_t kinds[3] = {};
   for (const auto& route : t) {
      const auto reads = t.explain(route.prefix).reads;
      std::size_t onTheWay = 0;
      unsigned depth = 0;
      for (const lookup_read& read : reads) {
         EXPECT_NE("index", read.what);
         EXPECT_GE(read.depth, depth) << route.prefix;
         depth = read.depth;
         kinds[0] += read.what == "node";
         kinds[1] += read.what == "skip";
         kinds[2] += read.what == "leaf";
         onTheWay += read.what != "value";
      }
      // A leaf has its value in it; that of a route in a node lies behind it.
      EXPECT_EQ(reads.back().what != "leaf", reads.back().what == "value") << route.prefix;
      nodes += onTheWay;
      deepest = std::max(deepest, onTheWay);
   }
   EXPECT_EQ(t.statistics().depths, nodes);
   EXPECT_EQ(t.statistics().worst_depth, deepest);
   EXPECT_THAT(kinds, testing::Each(testing::Gt(20u)));
}

TEST(Table, explainTellsTheNodesOnTheWay) {
   readsAreTheNodesOnTheWay<table4<int>>();
   readsAreTheNodesOnTheWay<table6<int>>();
}

// It tells what it was asked about, a prefix that is none too.
TEST(Table, explainsThatNothingCoversTheNullPrefix) {
   const table4<int> t{{"0.0.0.0/0"_prefix, 1}};
   EXPECT_EQ(prefix4::nullPrefix(), t.explain(prefix4::nullPrefix()).asked);
   EXPECT_TRUE(t.explain(prefix4::nullPrefix()).candidates.empty());
   EXPECT_EQ(prefix6::nullPrefix(), table6<int>().explain(prefix6::nullPrefix()).asked);
   const table<int> both{{"0.0.0.0/0"_prefix, 1}, {"::/0"_prefix, 2}};
   for (const prefix& p : {prefix(), prefix(prefix4::nullPrefix()), prefix(prefix6::nullPrefix())}) {
      EXPECT_EQ(p, both.explain(p).asked);
      EXPECT_TRUE(both.explain(p).candidates.empty() && both.explain(p).reads.empty());
   }
   EXPECT_EQ(prefix(), both.explain(address()).asked);
}

TEST(Table, routesPrintCompareAndHash) {
   const table4<int> table{{"10.0.0.0/8"_prefix, 1}};
   const route4<int> route = *table.begin();
   EXPECT_EQ("10.0.0.0/8 1", fmt::format("{}", route));
   std::ostringstream out;
   out << route << ' ' << *table6<void>{"2001:db8::/32"_prefix}.begin();
   EXPECT_EQ("10.0.0.0/8 1 2001:db8::/32", out.str());
   const table4<int> other{{"10.0.0.0/8"_prefix, 1}, {"11.0.0.0/8"_prefix, 1}};
   EXPECT_EQ(route, *other.begin());
   EXPECT_EQ(std::hash<route4<int>>()(route), std::hash<route4<int>>()(*other.begin()));
   EXPECT_FALSE(route == *other.rbegin());
   EXPECT_NE(table, other);
   EXPECT_NE(table, (table4<int>{{"10.0.0.0/8"_prefix, 2}}));
   // An answer can be assigned, and then speaks of the other route; no value changes.
   auto best = other.match("10.0.0.1"_address);
   best = other.match("11.0.0.1"_address);
   EXPECT_EQ("11.0.0.0/8 1", textOf(best));
   EXPECT_EQ("10.0.0.0/8 1", fmt::format("{}", *other.begin()));
}

//--- changes ---

TEST(Table, insertKeepsWhatIsThere) {
   table4<std::string> table;
   const auto [at, added] = table.insert({"10.0.0.0/8"_prefix, "first"});
   EXPECT_TRUE(added);
   EXPECT_EQ("first", at->value);
   std::string second = "a second one that is long enough to own memory";
   const auto again = table.try_emplace("10.0.0.0/8"_prefix, std::move(second));
   EXPECT_FALSE(again.second);
   EXPECT_EQ("first", again.first->value);
   EXPECT_NE("", second) << "arguments that are not used are left alone";
   EXPECT_FALSE(table.insert_or_assign("10.0.0.0/8"_prefix, "third").second);
   EXPECT_EQ("third", at->value) << "an iterator is a place";
   EXPECT_EQ(1u, table.size());
}

// From a list that the caller keeps, values are copied; from one that is given away, they may be moved.
TEST(Table, insertingARangeLeavesItWhole) {
   // Literals within a list of pairs are more than clang 14 can take.
   const prefix4 first = "10.0.0.0/8"_prefix;
   const prefix4 second = "11.0.0.0/8"_prefix;
   std::vector<std::pair<prefix4, std::string>> routes{{first, "a value that owns the memory of its text"},
                                                       {second, "another value that owns the memory of its text"}};
   const auto before = routes;
   table4<std::string> table;
   EXPECT_EQ(2u, table.insert(routes));
   EXPECT_EQ(before, routes);
   EXPECT_EQ(0u, table.insert(routes));
   const table4<std::string> made(routes);
   EXPECT_EQ(before, routes);
   EXPECT_EQ(made, table);
   const table4<std::string> ofTable(TestSupport::backwards(made));
   EXPECT_EQ(made, ofTable);
   table4<std::string> self(made);
   EXPECT_EQ(0u, self.insert(self));
   EXPECT_EQ(made, self);

   table4<void> set;
   EXPECT_EQ(2u, set.insert(std::vector{"10.0.0.0/8"_prefix, "11.0.0.0/8"_prefix, "10.0.0.0/8"_prefix}));
   EXPECT_EQ(1u, set.insert({"10.0.0.0/8"_prefix, "12.0.0.0/8"_prefix}));
   EXPECT_EQ(set, (table4<void>{"12.0.0.0/8"_prefix, "10.0.0.0/8"_prefix, "11.0.0.0/8"_prefix}));
}

TEST(Table, aValueOfTheTableItselfCanBePutIn) {
   // In a run, which an insertion may move: it has to be read before.
   table4<int> numbers;
   for (unsigned i = 0; i < 300; ++i) {
      const prefix4 p = prefix4::cut(prefix4::Bits(i << 18), 14 + i % 8);
      if (i == 0) {
         numbers.insert({p, 4711});
      } else {
         numbers.insert_or_assign(p, *numbers.lookup("0.0.0.0"_address));
         ASSERT_EQ(4711, numbers.find(p)->value) << i;
      }
   }
   table6<std::string> texts{{"::/0"_prefix, "a value that owns the memory of its text"}};
   for (unsigned i = 0; i < 100; ++i) {
      texts.try_emplace(prefix6::cut(prefix6::Bits(Corenet::U128{i} << 100), 28), texts.find("::/0"_prefix)->value);
   }
   texts.insert_or_assign("::/0"_prefix, texts.find("::/0"_prefix)->value);
   for (const auto& [prefix, value] : texts) {
      EXPECT_EQ("a value that owns the memory of its text", value);
   }
}

TEST(Table, updateFindsOrCreates) {
   table4<int> table;
   EXPECT_TRUE(table.update("10.0.0.0/8"_prefix, [](int& n) { n += 5; }));
   EXPECT_FALSE(table.update("10.0.0.0/8"_prefix, [](int& n) { n += 5; }));
   EXPECT_EQ(10, table.find("10.0.0.0/8"_prefix)->value);
   EXPECT_THROW(table.update("11.0.0.0/8"_prefix, [](int&) { throw std::runtime_error("no"); }), std::runtime_error);
   EXPECT_THROW(table.update("10.0.0.0/8"_prefix,
                             [](int& n) {
                                n = 99;
                                throw std::runtime_error("no");
                             }),
                std::runtime_error);
   EXPECT_EQ(table, (table4<int>{{"10.0.0.0/8"_prefix, 10}}));
}

// Stays where it was made.
struct Pinned {
   int number = 0;
   Pinned() = default;
   Pinned(const Pinned&) = delete;
   Pinned& operator=(const Pinned&) = delete;
   ~Pinned() { --alive; }
   static int alive;

  private:
   [[maybe_unused]] const int counted_ = ++alive;
};
int Pinned::alive = 0;

TEST(Table, updateTakesAValueThatNeitherMovesNorCopies) {
   {
      table4<Pinned> t;
      EXPECT_TRUE(t.update("10.0.0.0/8"_prefix, [](Pinned& v) { v.number = 1; }));
      const Pinned* const place = &t.find("10.0.0.0/8"_prefix)->value;
      EXPECT_FALSE(t.update("10.0.0.0/8"_prefix, [](Pinned& v) { ++v.number; }));
      EXPECT_EQ(2, place->number);
      EXPECT_THROW(t.update("11.0.0.0/8"_prefix, [](Pinned&) { throw std::runtime_error("no"); }),
                   std::runtime_error);
      EXPECT_EQ(1u, t.size()) << "nothing was made";
      EXPECT_EQ(1, Pinned::alive);
      EXPECT_EQ("", t.audit());
      table<Pinned> both;
      EXPECT_TRUE(both.update("2001:db8::/32"_prefix, [](Pinned& v) { v.number = 6; }));
      EXPECT_EQ(6, both.lookup("2001:db8::1"_address)->number);
      // One that a snapshot holds cannot be changed, but others can be made beside it.
      const auto snapshot = t.snapshot();
      EXPECT_THROW(t.update("10.0.0.0/8"_prefix, [](Pinned& v) { ++v.number; }), std::logic_error);
      EXPECT_TRUE(t.update("11.0.0.0/8"_prefix, [](Pinned& v) { v.number = 3; }));
      EXPECT_EQ(1u, snapshot.size());
   }
   EXPECT_EQ(0, Pinned::alive);
}

// A value that nothing makes by itself.
struct Metric {
   explicit Metric(int value) : number(value) {}
   int number;
   std::string name = "a name that owns the memory of its text";
};

TEST(Table, modifyChangesWhatIsThere) {
   table4<Metric> t;
   EXPECT_FALSE(t.modify("10.0.0.0/8"_prefix, [](Metric&) { ADD_FAILURE(); }));
   EXPECT_TRUE(t.empty());
   t.try_emplace("10.0.0.0/8"_prefix, 1);
   EXPECT_TRUE(t.modify("10.0.0.0/8"_prefix, [](Metric& m) { m.number = 2; }));
   EXPECT_THROW(t.modify("10.0.0.0/8"_prefix,
                         [](Metric& m) {
                            m.number = 3;
                            throw std::runtime_error("no");
                         }),
                std::runtime_error);
   EXPECT_EQ(2, t.find("10.0.0.0/8"_prefix)->value.number);
   EXPECT_FALSE(t.modify("10.0.0.0/9"_prefix, [](Metric&) { ADD_FAILURE(); }));
   EXPECT_THROW(t.modify(prefix4::nullPrefix(), [](Metric&) {}), std::invalid_argument);
   const auto snapshot = t.snapshot();
   EXPECT_TRUE(t.modify("10.0.0.0/8"_prefix, [](Metric& m) { m.number = 4; }));
   EXPECT_EQ(2, snapshot.find("10.0.0.0/8"_prefix)->value.number);
   EXPECT_EQ("", t.audit());
   // It touches, as update() does.
   t.try_emplace("11.0.0.0/8"_prefix, 5);
   t.mark();
   EXPECT_TRUE(t.modify("10.0.0.0/8"_prefix, [](Metric& m) { m.number = 6; }));
   EXPECT_FALSE(t.modify("12.0.0.0/8"_prefix, [](Metric&) {}));
   while (!t.sweep(10).done) {
   }
   EXPECT_EQ(1u, t.size());
   EXPECT_EQ(6, t.lookup("10.0.0.1"_address)->number);
   table<int> both{{"2001:db8::/32"_prefix, 1}};
   EXPECT_TRUE(both.modify("2001:db8::/32"_prefix, [](int& v) { ++v; }));
   EXPECT_FALSE(both.modify("32.1.0.0/16"_prefix, [](int& v) { ++v; }));
   EXPECT_EQ(2, *both.lookup("2001:db8::1"_address));
}

TEST(Table, erases) {
   auto table = tableOf({"0.0.0.0/0", "10.0.0.0/8", "10.1.0.0/16", "10.2.0.0/16", "11.0.0.0/8"});
   EXPECT_EQ(0u, table.erase("10.3.0.0/16"_prefix));
   EXPECT_EQ(1u, table.erase("10.1.0.0/16"_prefix));
   EXPECT_EQ(0u, table.erase("10.1.0.0/16"_prefix));
   const auto next = table.erase(table.find("10.0.0.0/8"_prefix));
   EXPECT_EQ("10.2.0.0/16"_prefix, next->prefix);
   EXPECT_EQ(table.end(), table.erase(table.find("11.0.0.0/8"_prefix)));
   EXPECT_EQ(1u, table.erase_covered("10.0.0.0/8"_prefix));
   EXPECT_THAT(texts(table), ElementsAre("0.0.0.0/0 1"));
   EXPECT_EQ(1u, erase_if(table, [](const route4<int>& r) { return r.value == 1; }));
   EXPECT_TRUE(table.empty());
}

TEST(Table, mergeByARuleTakesAll) {
   table4<std::string> to{{"10.0.0.0/8"_prefix, "a"}, {"11.0.0.0/8"_prefix, "b"}};
   table4<std::string> from{{"10.0.0.0/8"_prefix, "c"}, {"11.0.0.0/8"_prefix, "d"}, {"12.0.0.0/8"_prefix, "e"}};
   to.merge(from, [](prefix4 p, std::string& mine, std::string&& theirs) {
      if (p != "11.0.0.0/8"_prefix) {
         mine += theirs;
      }
   });
   EXPECT_THAT(texts(to), ElementsAre("10.0.0.0/8 ac", "11.0.0.0/8 b", "12.0.0.0/8 e"));
   EXPECT_TRUE(from.empty());
   to.merge(to, [](prefix4, std::string& mine, std::string&&) { mine.clear(); });
   EXPECT_EQ("b", to.find("11.0.0.0/8"_prefix)->value);

   table4<std::unique_ptr<int>> owners;
   owners.try_emplace("10.0.0.0/8"_prefix, std::make_unique<int>(1));
   table4<std::unique_ptr<int>> others;
   others.try_emplace("10.0.0.0/8"_prefix, std::make_unique<int>(2));
   others.try_emplace("11.0.0.0/8"_prefix, std::make_unique<int>(3));
   owners.merge(std::move(others), [](prefix4, auto& mine, auto&& theirs) { mine = std::move(theirs); });
   EXPECT_EQ(2, *owners.find("10.0.0.0/8"_prefix)->value);
   EXPECT_EQ(3, *owners.find("11.0.0.0/8"_prefix)->value);
}

// What the rule raises loses no route.
TEST(Table, mergeByARuleThatRaises) {
   table4<std::string> to{{"11.0.0.0/8"_prefix, "b"}};
   table4<std::string> from{{"10.0.0.0/8"_prefix, "c"}, {"11.0.0.0/8"_prefix, "d"}, {"12.0.0.0/8"_prefix, "e"}};
   EXPECT_THROW(to.merge(from,
                         [](prefix4, std::string& mine, std::string&&) {
                            mine = "halfway";
                            throw std::runtime_error("no");
                         }),
                std::runtime_error);
   EXPECT_THAT(texts(to), ElementsAre("10.0.0.0/8 c", "11.0.0.0/8 b"));
   EXPECT_THAT(texts(from), ElementsAre("11.0.0.0/8 d", "12.0.0.0/8 e"));
}

TEST(Table, mergeTakesWhatIsNotThere) {
   table4<std::unique_ptr<int>> to;
   table4<std::unique_ptr<int>> from;
   to.try_emplace("10.0.0.0/8"_prefix, std::make_unique<int>(1));
   from.try_emplace("10.0.0.0/8"_prefix, std::make_unique<int>(2));
   from.try_emplace("11.0.0.0/8"_prefix, std::make_unique<int>(3));
   to.merge(from);
   EXPECT_EQ(2u, to.size());
   EXPECT_EQ(1u, from.size());
   EXPECT_EQ(1, *to.match("10.0.0.0"_address)->value);
   EXPECT_EQ(3, *to.match("11.0.0.0"_address)->value);
   EXPECT_EQ(2, *from.match("10.0.0.0"_address)->value);
   to.merge(to);
   EXPECT_EQ(2u, to.size());
   to.merge(table4<std::unique_ptr<int>>());
   table4<void> set{"10.0.0.0/8"_prefix};
   set.merge(table4<void>{"10.0.0.0/8"_prefix, "12.0.0.0/8"_prefix});
   EXPECT_EQ(2u, set.size());
}

TEST(Table, copiesAreDeepAndMovesLeaveNothing) {
   table4<std::string> table{{"10.0.0.0/8"_prefix, "one"}, {"11.0.0.0/8"_prefix, "two"}};
   table4<std::string> copy(table);
   copy.update("10.0.0.0/8"_prefix, [](std::string& s) { s += " changed"; });
   EXPECT_EQ("one", table.find("10.0.0.0/8"_prefix)->value);
   const table4<std::string> moved(std::move(copy));
   EXPECT_TRUE(copy.empty());
   EXPECT_EQ("one changed", moved.find("10.0.0.0/8"_prefix)->value);
   copy = table;
   copy = *&copy;  // itself
   EXPECT_EQ(table, copy);
   copy = table4<std::string>();
   EXPECT_TRUE(copy.empty());
   copy.insert({"1.0.0.0/8"_prefix, "three"});
   swap(copy, table);
   EXPECT_EQ(1u, table.size());
   EXPECT_EQ(2u, copy.size());
   table.clear();
   EXPECT_TRUE(table.empty());
   table.insert({"1.0.0.0/8"_prefix, "four"});
   EXPECT_EQ("four", *table.lookup("1.0.0.0"_address));
}

TEST(Table, walksInOrderBothWays) {
   const auto table = tableOf({"255.255.255.255/32", "10.0.0.0/8", "0.0.0.0/0", "10.0.0.0/16", "9.255.0.0/16"});
   const std::vector<std::string> order{"0.0.0.0/0 3", "9.255.0.0/16 5", "10.0.0.0/8 2", "10.0.0.0/16 4",
                                        "255.255.255.255/32 1"};
   EXPECT_EQ(order, texts(table));
#if !defined(__clang__) || __clang_major__ >= 16
   EXPECT_EQ(order, texts(std::views::reverse(std::views::reverse(table))));
#endif
   std::vector<std::string> back(order.rbegin(), order.rend());
   EXPECT_EQ(back, texts(TestSupport::Between{table.rbegin(), table.rend()}));
   auto at = table.begin();
   EXPECT_EQ(at++, table.begin());
   EXPECT_EQ(std::ranges::next(table.begin()), at);
   EXPECT_EQ(at--, std::ranges::next(table.begin()));
   EXPECT_EQ("10.0.0.0/8"_prefix, table.lower_bound("10.0.0.0/7"_prefix)->prefix);
   EXPECT_EQ("10.0.0.0/16"_prefix, table.upper_bound("10.0.0.0/8"_prefix)->prefix);
   EXPECT_EQ(table.end(), table.upper_bound("255.255.255.255/32"_prefix));
   EXPECT_EQ(5, std::ranges::count_if(table, [](const auto&) { return true; }));
}

TEST(Table, anIteratorOutlivesWhatItStandsOn) {
   auto table = tableOf({"10.0.0.0/8", "11.0.0.0/8", "12.0.0.0/8"});
   auto at = table.find("11.0.0.0/8"_prefix);
   table.erase("11.0.0.0/8"_prefix);
   table.insert({"11.128.0.0/9"_prefix, 9});
   table.erase("12.0.0.0/8"_prefix);
   EXPECT_EQ("11.128.0.0/9"_prefix, (++at)->prefix);
   table.clear();
   EXPECT_EQ(table.end(), ++at);
   table.insert({"1.0.0.0/8"_prefix, 1});
   EXPECT_EQ("1.0.0.0/8"_prefix, (--at)->prefix);
}

TEST(Table, overlapsWithATableOfOtherValues) {
   const auto table = tableOf({"10.1.0.0/16"});
   EXPECT_TRUE(table.overlaps(table4<void>{"10.0.0.0/8"_prefix}));
   EXPECT_TRUE(table.overlaps(table4<void>{"9.0.0.0/8"_prefix, "10.1.2.0/24"_prefix}));
   EXPECT_FALSE(table.overlaps(table4<std::string>{{"10.2.0.0/16"_prefix, ""}}));
   EXPECT_TRUE(table.overlaps("10.0.0.0/8"_prefix) && table.overlaps("10.1.2.0/24"_prefix));
   EXPECT_FALSE(table.overlaps("10.0.0.0/16"_prefix));
}

//--- bugs that have bitten other tables ---

TEST(TableBugs, aRouteWithRoutesOnBothSidesBelowIsErased) {
   auto table = tableOf({"10.0.0.0/8", "10.0.0.0/9", "10.128.0.0/9", "10.0.0.0/10", "10.64.0.0/10"});
   EXPECT_EQ(1u, table.erase("10.0.0.0/8"_prefix));
   EXPECT_EQ(1u, table.erase("10.0.0.0/9"_prefix));
   EXPECT_THAT(texts(table), ElementsAre("10.0.0.0/10 4", "10.64.0.0/10 5", "10.128.0.0/9 3"));
   EXPECT_EQ("10.64.0.0/10 5", textOf(table.match("10.65.0.0"_address)));
   EXPECT_EQ("none", textOf(table.match("11.0.0.0"_address)));
   EXPECT_EQ("", table.audit());
}

TEST(TableBugs, theParentIsAskedWhenTheCoveringRouteHasGone) {
   auto table = tableOf({"0.0.0.0/0", "10.0.0.0/8", "10.1.0.0/16", "10.1.2.0/24"});
   table.erase("10.1.0.0/16"_prefix);
   EXPECT_EQ("10.0.0.0/8 2", textOf(table.parent("10.1.2.0/24"_prefix)));
   EXPECT_EQ("10.0.0.0/8 2", textOf(table.parent("10.1.0.0/16"_prefix)));
   table.erase("10.0.0.0/8"_prefix);
   EXPECT_EQ("0.0.0.0/0 1", textOf(table.parent("10.1.2.0/24"_prefix)));
   table.erase("0.0.0.0/0"_prefix);
   EXPECT_EQ("none", textOf(table.parent("10.1.2.0/24"_prefix)));
   EXPECT_EQ("none", textOf(table.match("10.1.3.0"_address)));
}

TEST(TableBugs, nestedRoutesInEveryOrder) {
   std::vector<std::string> order{"10.0.0.0/8", "10.1.0.0/16", "10.1.2.0/24", "10.1.2.3/32"};
   do {
      table4<int> table;
      for (const auto& text : order) {
         table.insert({p4(text), p4(text).len()});
         ASSERT_EQ("", table.audit());
      }
      EXPECT_EQ(32, *table.lookup("10.1.2.3"_address));
      EXPECT_EQ(24, *table.lookup("10.1.2.4"_address));
      EXPECT_EQ(16, *table.lookup("10.1.3.3"_address));
      EXPECT_EQ(8, *table.lookup("10.2.2.3"_address));
      EXPECT_EQ(nullptr, table.lookup("11.0.0.0"_address));
      int left = 4;
      for (const auto& text : order) {
         EXPECT_EQ(1u, table.erase(p4(text)));
         ASSERT_EQ("", table.audit());
         const auto best = table.match("10.1.2.3"_address);
         EXPECT_EQ(--left != 0, best.has_value());
         EXPECT_EQ(static_cast<std::size_t>(left), table.size());
      }
   } while (std::next_permutation(order.begin(), order.end()));
}

TEST(TableBugs, aShorterRouteComesAfterALongerOneAtEveryLength) {
   for (unsigned longer = 1; longer <= 128; ++longer) {
      for (unsigned shorter = 0; shorter < longer; ++shorter) {
         const prefix6::Bits bits(~Corenet::U128{0} / 3);
         table6<unsigned> table;
         table.insert({prefix6::cut(bits, longer), longer});
         table.insert({prefix6::cut(bits, shorter), shorter});
         ASSERT_EQ("", table.audit()) << shorter << " after " << longer;
         ASSERT_EQ(longer, *table.lookup(address6(bits)));
         ASSERT_EQ(shorter, table.parent(prefix6::cut(bits, longer))->value) << longer;
         const prefix6::Bits beside(bits.word() ^ Corenet::U128{1} << (128 - longer));
         ASSERT_EQ(shorter, *table.lookup(address6(beside))) << longer;
         table.erase(prefix6::cut(bits, shorter));
         ASSERT_EQ(nullptr, table.lookup(address6(beside)));
         ASSERT_EQ(longer, *table.lookup(address6(bits)));
      }
   }
}

TEST(TableBugs, aNodeShrinksToOneRouteAndGrows) {
   table4<unsigned> table;
   const auto route = [](unsigned i) { return prefix4::cut(prefix4::Bits(0x0a000000u | i << 8), 24); };
   for (int round = 0; round < 3; ++round) {
      for (unsigned i = 0; i < 256; ++i) {
         EXPECT_EQ(round == 0 || i != 77, table.insert({route(i), i}).second);
         ASSERT_EQ("", table.audit());
      }
      for (unsigned i = 0; i < 256; ++i) {
         EXPECT_EQ(i, *table.lookup(route(i).address()));
      }
      for (unsigned i = 0; i < 256; ++i) {
         EXPECT_EQ(i == 77 ? 0u : 1u, i == 77 ? 0u : table.erase(route(i)));
         ASSERT_EQ("", table.audit());
      }
      EXPECT_EQ(1u, table.size());
      EXPECT_EQ(77u, *table.lookup(route(77).address()));
      if (round == 0) {
         table.erase(route(77));
         EXPECT_EQ("", table.audit());
         table.insert({route(77), 77});
      }
   }
}

TEST(TableBugs, countsStayWhenARemovalRemovesNothing) {
   auto table = tableOf({"10.0.0.0/8", "10.1.0.0/16"});
   for (const auto text : {"0.0.0.0/0", "10.0.0.0/7", "10.0.0.0/9", "10.0.0.0/15", "10.1.0.0/32", "11.0.0.0/8"}) {
      EXPECT_EQ(0u, table.erase(p4(text))) << text;
      EXPECT_EQ(2u, table.size());
   }
   table.insert({"10.0.0.0/8"_prefix, 5});
   EXPECT_EQ(2u, table.size());
   table.insert_or_assign("10.0.0.0/8"_prefix, 5);
   EXPECT_EQ(2u, table.size());
   EXPECT_EQ(2, std::ranges::distance(table));
   EXPECT_EQ("", table.audit());
}

TEST(TableBugs, theDefaultRouteFirstLastAndAlone) {
   const prefix4 all = "0.0.0.0/0"_prefix;
   table4<int> table{{all, 1}};
   EXPECT_EQ("0.0.0.0/0 1", textOf(table.match("255.255.255.255"_address)));
   EXPECT_EQ("0.0.0.0/0 1", textOf(table.match("0.0.0.0"_address)));
   EXPECT_THAT(texts(table.covered(all)), ElementsAre("0.0.0.0/0 1"));
   EXPECT_THAT(texts(table.children(all)), IsEmpty());
   EXPECT_FALSE(table.has_longer(all));
   EXPECT_EQ(a4("255.255.255.255"), table.same_answer("1.2.3.4"_address).last);
   table.insert({"255.255.255.255/32"_prefix, 2});
   EXPECT_THAT(texts(table.covered(all)), ElementsAre("0.0.0.0/0 1", "255.255.255.255/32 2"));
   EXPECT_THAT(texts(table.covered("255.0.0.0/8"_prefix)), ElementsAre("255.255.255.255/32 2"));
   EXPECT_EQ(a4("255.255.255.254"), table.same_answer("1.2.3.4"_address).last);
   table.erase(all);
   EXPECT_EQ(nullptr, table.lookup("255.255.255.254"_address));
   EXPECT_EQ(2, *table.lookup("255.255.255.255"_address));
   table.insert({all, 3});  // last of all
   EXPECT_EQ(3, *table.lookup("255.255.255.254"_address));
   EXPECT_EQ(2, *table.lookup("255.255.255.255"_address));
   EXPECT_EQ(2u, table.erase_covered(all));
   EXPECT_TRUE(table.empty());
   EXPECT_EQ("", table.audit());
}

TEST(TableBugs, theEndsOfTheSpaceInSix) {
   table6<int> table{{"::/128"_prefix, 1}, {"ffff:ffff:ffff:ffff:ffff:ffff:ffff:ffff/128"_prefix, 2}};
   const auto last = "ffff:ffff:ffff:ffff:ffff:ffff:ffff:ffff"_address;
   EXPECT_EQ(1, *table.lookup("::"_address));
   EXPECT_EQ(2, *table.lookup(last));
   EXPECT_EQ(nullptr, table.lookup("::1"_address));
   EXPECT_EQ("::1"_address, table.same_answer("8::"_address).first);
   EXPECT_EQ("ffff:ffff:ffff:ffff:ffff:ffff:ffff:fffe"_address, table.same_answer("8::"_address).last);
   EXPECT_THAT(texts(table.covered("::/0"_prefix)), testing::SizeIs(2));
   EXPECT_THAT(texts(TestSupport::backwards(table.children("::/0"_prefix))), testing::SizeIs(2));
   EXPECT_EQ(table.end(), table.upper_bound(host_prefix(last)));
   EXPECT_EQ(2u, table.erase_covered("::/0"_prefix));
}

TEST(TableBugs, aPlaceThatIsUsedAgainKeepsNoOldValue) {
   table4<int> table;
   for (int round = 1; round < 50; ++round) {
      for (unsigned i = 0; i < 40; ++i) {
         const prefix4 p = prefix4::cut(prefix4::Bits(i * 0x01020408u), 10 + i % 20);
         if (round % 2 == 0) {
            table.erase(p);
         } else {
            table.insert({p, round});
         }
      }
      for (const auto& [prefix, value] : table) {
         ASSERT_EQ(round, value) << prefix;
      }
      ASSERT_EQ(round % 2 == 0, table.empty());
   }
   table.insert({"10.0.0.0/8"_prefix, 1});
   table.erase("10.0.0.0/8"_prefix);
   EXPECT_TRUE(table.update("10.0.0.0/8"_prefix, [](int& n) { EXPECT_EQ(0, n); })) << "a new value is T()";
}

TEST(TableBugs, theSubtreeOfAnAbsentPrefixOfABranchAndOfAnEdge) {
   const auto table = tableOf({"10.1.2.0/24", "10.1.3.0/24", "10.1.3.4/32", "12.0.0.0/8"});
   const std::vector<std::string> under{"10.1.2.0/24 1", "10.1.3.0/24 2", "10.1.3.4/32 3"};
   EXPECT_EQ(under, texts(table.covered("10.1.2.0/23"_prefix))) << "where the two part";
   EXPECT_EQ(under, texts(table.covered("10.0.0.0/9"_prefix))) << "inside the way to them";
   EXPECT_EQ(under, texts(table.covered("10.1.0.0/16"_prefix)));
   EXPECT_THAT(texts(table.covered("10.1.4.0/22"_prefix)), IsEmpty()) << "beside";
   EXPECT_THAT(texts(table.covered("10.128.0.0/9"_prefix)), IsEmpty()) << "off the way";
   EXPECT_THAT(texts(table.covered("11.0.0.0/8"_prefix)), IsEmpty()) << "between two";
   EXPECT_THAT(texts(table.covered("10.1.3.5/32"_prefix)), IsEmpty()) << "longer than everything";
   EXPECT_THAT(texts(table.covered("10.1.3.4/31"_prefix)), ElementsAre("10.1.3.4/32 3"));
   EXPECT_THAT(texts(table.covered("13.0.0.0/8"_prefix)), IsEmpty()) << "behind all";
   EXPECT_THAT(texts(table.children("10.1.0.0/16"_prefix)), ElementsAre("10.1.2.0/24 1", "10.1.3.0/24 2"));
   EXPECT_TRUE(table.has_longer("10.0.0.0/9"_prefix) && table.has_longer("10.1.2.0/23"_prefix));
   EXPECT_FALSE(table.has_longer("10.128.0.0/9"_prefix) || table.has_longer("10.1.3.4/32"_prefix));
}

TEST(TableBugs, aChangeUnderneathIsSeenByEachKindOfRange) {
   auto table = tableOf({"10.0.0.0/8", "10.1.0.0/16", "10.2.0.0/16"});
   auto child = table.children("10.0.0.0/8"_prefix).begin();
   auto cover = table.covering("10.1.2.3"_address).begin();
   auto under = table.covered("10.0.0.0/8"_prefix).begin();
   table.insert({"10.1.128.0/17"_prefix, 8});
   table.insert({"10.1.2.0/24"_prefix, 9});
   table.erase("10.1.0.0/16"_prefix);
   EXPECT_EQ("10.2.0.0/16"_prefix, (++child)->prefix);
   EXPECT_EQ("10.1.2.0/24"_prefix, (++cover)->prefix);
   EXPECT_EQ("10.1.2.0/24"_prefix, (++under)->prefix);
   EXPECT_EQ("10.1.128.0/17"_prefix, (++under)->prefix);
}

}  // namespace TableTest
TEST(TableDeathTest, whatAnIteratorStandsOnIsInTheTable) {
   table4<int> t;
   t.insert({"10.0.0.0/8"_prefix, 1});
   const auto at = t.find("10.0.0.0/8"_prefix);
   t.erase("10.0.0.0/8"_prefix);
   EXPECT_DEATH(static_cast<void>(*at), "what an iterator stands on is in the table");
}

}  // namespace routetrie
