#include "routetrie/walk_page.h"

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <iterator>
#include <map>
#include <random>
#include <ranges>
#include <set>
#include <sstream>
#include <stdexcept>
#include <string>
#include <unordered_set>
#include <vector>

#include "routetrie/route_set.h"
#include "routetrie/table.h"

namespace routetrie {
namespace WalkPageTest {
namespace walk_pages {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

static_assert(std::ranges::input_range<walk_page<table<int>>> && std::ranges::input_range<walk_page<route_set4>>);
static_assert(std::input_iterator<walk_page<table6<std::string>>::iterator>);
// It is walked once, as it goes, and may not go before its iterators.
using BothPage = decltype(std::declval<const table<int>&>().walk(1));
static_assert(std::ranges::input_range<BothPage> && std::input_iterator<BothPage::iterator>);
static_assert(!std::ranges::forward_range<BothPage> && !std::ranges::borrowed_range<BothPage>);
static_assert(!std::ranges::borrowed_range<walk_page<table4<int>>>);
static_assert(std::sentinel_for<std::default_sentinel_t, BothPage::iterator>);
static_assert(std::is_nothrow_copy_constructible_v<walk_token> &&
              std::is_nothrow_default_constructible_v<walk_token4>);
static_assert(any_walk_token<walk_token6> && !any_walk_token<prefix>);

template <class Range>
std::vector<std::string> texts(Range&& range) {
   std::vector<std::string> list;
   for (const auto& route : range) {
      list.push_back(fmt::format("{}", Impl::prefixOf(route)));
   }
   return list;
}

table<int> smallTable() {
   return table<int>{{"0.0.0.0/0"_prefix, 1},      {"10.0.0.0/8"_prefix, 2}, {"10.1.0.0/16"_prefix, 3},
                     {"10.2.0.0/16"_prefix, 4},    {"11.0.0.0/8"_prefix, 5}, {"2001:db8::/32"_prefix, 6},
                     {"2001:db8:1::/48"_prefix, 7}};
}

TEST(WalkPage, aWalkInPagesIsTheWalk) {
   const auto t = smallTable();
   for (std::size_t budget = 1; budget < 9; ++budget) {
      std::vector<std::string> seen;
      std::optional<walk_token> token{std::in_place};
      std::size_t pages = 0;
      while (token) {
         auto page = t.walk(budget, *token);
         const auto some = texts(page);
         EXPECT_LE(some.size(), budget);
         seen.insert(seen.end(), some.begin(), some.end());
         token = page.next();
         ++pages;
      }
      EXPECT_EQ(texts(t), seen) << budget;
      EXPECT_EQ((t.size() + budget - 1) / budget, pages) << "no empty page comes last";
   }
}

TEST(WalkPage, aPageKnowsWhereItIs) {
   auto t = smallTable();
   auto page = t.walk(3);
   EXPECT_EQ(walk_token(), page.next()) << "nothing was reached";
   for (const auto& [prefix, value] : page) {
      if (value == 2) {
         break;
      }
   }
   EXPECT_EQ("after=10.0.0.0/8", fmt::format("{}", *page.next()).substr(0, 16));
   auto rest = t.walk(100, *page.next());
   EXPECT_THAT(texts(rest),
               ElementsAre("10.1.0.0/16", "10.2.0.0/16", "11.0.0.0/8", "2001:db8::/32", "2001:db8:1::/48"));
   EXPECT_FALSE(rest.next());
   auto full = t.walk(7);
   EXPECT_EQ(7u, texts(full).size());
   EXPECT_FALSE(full.next()) << "a page that the last route fills is the last";

   table<int> none;
   auto empty = none.walk(1);
   EXPECT_THAT(texts(empty), IsEmpty());
   EXPECT_FALSE(empty.next());
   EXPECT_THROW(t.walk(0), std::invalid_argument);
}

TEST(WalkPage, underAPrefix) {
   const auto t = smallTable();
   auto page = t.walk_covered("10.0.0.0/8"_prefix, 2);
   EXPECT_THAT(texts(page), ElementsAre("10.0.0.0/8", "10.1.0.0/16"));
   auto rest = t.walk(2, page.next().value());
   EXPECT_THAT(texts(rest), ElementsAre("10.2.0.0/16"));
   EXPECT_FALSE(rest.next());
   auto six = t.walk_covered("::/0"_prefix, 9);
   EXPECT_THAT(texts(six), ElementsAre("2001:db8::/32", "2001:db8:1::/48"));
   auto nothing = t.walk_covered(prefix(), 9);
   EXPECT_THAT(texts(nothing), IsEmpty());
   EXPECT_FALSE(nothing.next());
   auto ofNull = t.v4().walk_covered(prefix4::nullPrefix(), 9);
   EXPECT_THAT(texts(ofNull), IsEmpty());
   const route_set4 s{"10.0.0.0/8"_prefix, "10.0.0.0/9"_prefix};
   auto ofSet = s.walk_covered("10.0.0.0/9"_prefix, 9);
   EXPECT_THAT(texts(ofSet), ElementsAre("10.0.0.0/9"));
}

TEST(WalkPage, whatItStandsOnMayGo) {
   auto t = smallTable();
   std::vector<std::string> seen;
   auto page = t.walk(100);
   t.erase("0.0.0.0/0"_prefix);  // before the page begins
   for (const auto& route : page) {
      const prefix p = route.prefix;
      seen.push_back(fmt::format("{}", p));
      t.erase(p);
   }
   EXPECT_EQ(6u, seen.size());
   EXPECT_FALSE(page.next());
   EXPECT_TRUE(t.empty());
}

TEST(WalkToken, printsAndParses) {
   const walk_token start;
   EXPECT_EQ("start,check=652b04df", fmt::format("{}", start));
   std::ostringstream out;
   out << walk_token(prefix("10.0.0.0/8"_prefix), "10.1.0.0/16"_prefix);
   EXPECT_EQ("after=10.1.0.0/16,under=10.0.0.0/8,check=", out.str().substr(0, 41));
   const walk_token tokens[] = {start, walk_token("2001:db8::/32"_prefix),
                                walk_token(prefix("10.0.0.0/8"_prefix), "10.1.0.0/16"_prefix),
                                walk_token(std::nullopt, "2001:db8::1/128"_prefix)};
   std::unordered_set<walk_token> all;
   for (const walk_token& token : tokens) {
      const auto read = parse<walk_token>(fmt::format("{}", token));
      ASSERT_TRUE(read) << read.error();
      EXPECT_EQ(token, *read);
      EXPECT_TRUE(all.insert(*read).second);
      EXPECT_FALSE(all.insert(token).second);
   }
   const walk_token4 four(std::nullopt, "10.1.0.0/16"_prefix);
   EXPECT_EQ(four, parse<walk_token4>(fmt::format("{}", four)).value());
}

TEST(WalkToken, whatIsMangledIsRefused) {
   const std::string good = fmt::format("{}", walk_token(prefix("10.0.0.0/8"_prefix), "10.1.0.0/16"_prefix));
   ASSERT_TRUE(parse<walk_token>(good));
   for (std::size_t at = 0; at < good.size(); ++at) {
      EXPECT_FALSE(parse<walk_token>(good.substr(0, at))) << at;
      EXPECT_FALSE(parse<walk_token>(std::string(good).erase(at, 1))) << at;
      for (const char c : std::string_view("0123456789abcdef/.,=: ")) {
         std::string bad = good;
         bad[at] = c;
         EXPECT_EQ(bad == good, parse<walk_token>(bad).has_value()) << bad;
      }
   }
   EXPECT_FALSE(parse<walk_token>(good + " "));
   EXPECT_THAT(parse<walk_token>("10.0.0.0/8").error(), HasSubstr("not a walk token: \"10.0.0.0/8\""));
   EXPECT_THAT(parse<walk_token>("start,check=00000000").error(), HasSubstr("walk token is damaged: "));
   EXPECT_THROW(parse<walk_token>("").value(), std::range_error);

   // Sound as a text, and yet no token.
   const auto error = [](std::string_view after, std::string_view under) {
      return parse<walk_token4>(Impl::tokenText(after, under)).error();
   };
   EXPECT_THAT(error("11.0.0.0/8", "10.0.0.0/8"), HasSubstr("place of the walk token is not under its prefix: "));
   EXPECT_THAT(error("2001:db8::/32", ""), HasSubstr("not a walk token: "));
   EXPECT_THAT(error("10.0.0.1/8", ""), HasSubstr("not a walk token: "));
   EXPECT_THAT(error("10.0.0.0/8", "10.0.0.0/33"), HasSubstr("not a walk token: "));
   const std::string six = Impl::tokenText("10.0.0.0/8", "::/0");
   EXPECT_THAT(parse<walk_token>(six).error(), HasSubstr("is not under its prefix"));
}

TEST(WalkPage, eraseInSlices) {
   auto t = smallTable();
   std::optional<walk_token> token{std::in_place};
   std::size_t erased = 0;
   std::size_t slices = 0;
   while (token) {
      const auto slice = erase_if(
         t, [](const auto& route) { return route.value % 2 == 1; }, 2, *token);
      EXPECT_LE(slice.erased, 2u);
      erased += slice.erased;
      token = slice.next;
      ++slices;
   }
   EXPECT_EQ(4u, erased);
   EXPECT_EQ(4u, slices);
   EXPECT_THAT(texts(t), ElementsAre("10.0.0.0/8", "10.2.0.0/16", "2001:db8::/32"));
   table4<int> four{{"10.0.0.0/8"_prefix, 1}, {"10.1.0.0/16"_prefix, 1}, {"11.0.0.0/8"_prefix, 1}};
   const auto slice = erase_if(
      four, [](const auto&) { return true; }, 9, walk_token4("10.0.0.0/8"_prefix));
   EXPECT_EQ(2u, slice.erased);
   EXPECT_FALSE(slice.next);
   EXPECT_EQ(1u, four.size());
}

// Pages of a table that changes between them and within them, against a map: what is there throughout is seen once, in order, and
// nothing that was never there.
template <class Table>
void walksWhileItChanges(unsigned seed) {
   SCOPED_TRACE("seed " + std::to_string(seed));
   using P = typename Table::prefix_type;
   using Bits = typename P::Bits;
   using Word = typename Bits::Word;
   std::mt19937 random(seed);
   const auto anyPrefix = [&] {
      const unsigned length = static_cast<unsigned>(random() % 2 != 0 ? random() % 14 : random() % (P::width + 1));
      Word word = static_cast<Word>(Word(random() % 4096) << (P::width - 12));
      word = static_cast<Word>(word | (random() % 3 == 0 ? random() : 0u));
      return P::cut(Bits(word), length);
   };
   Table t;
   std::map<P, int> model;
   const auto change = [&](std::set<P>& constant, std::set<P>& ever) {
      const P p = anyPrefix();
      if (random() % 2 == 0) {
         t.insert_or_assign(p, 1);
         model[p] = 1;
         ever.insert(p);
      } else {
         EXPECT_EQ(model.erase(p), t.erase(p));
         constant.erase(p);
      }
   };
   for (int i = 0; i < 300; ++i) {
      const P p = anyPrefix();
      t.insert_or_assign(p, 0);
      model[p] = 0;
   }
   for (int walk = 0; walk < 6; ++walk) {
      const P under = walk % 2 == 0 ? P::cut(Bits(), 0) : P::cut(anyPrefix().bits(), 3);
      std::set<P> constant;  // throughout
      for (const auto& [p, value] : model) {
         if (covers(under, p)) {
            constant.insert(p);
         }
      }
      std::set<P> ever = constant;
      std::vector<P> seen;
      std::optional token{walk % 2 == 0 ? basic_walk_token<P>() : basic_walk_token<P>(under)};
      while (token) {
         const auto read = parse<basic_walk_token<P>>(fmt::format("{}", *token));
         ASSERT_TRUE(read);
         auto page = t.walk(1 + random() % 20, *read);
         change(constant, ever);
         for (const auto& route : page) {
            seen.push_back(Impl::prefixOf(route));
            if (random() % 4 == 0) {
               change(constant, ever);
            }
            if (random() % 16 == 0) {
               break;
            }
         }
         change(constant, ever);
         token = page.next();
      }
      for (std::size_t i = 1; i < seen.size(); ++i) {
         ASSERT_LT(seen[i - 1], seen[i]);
      }
      const std::set<P> all(seen.begin(), seen.end());
      for (const P& p : constant) {
         ASSERT_EQ(1u, all.count(p)) << fmt::format("{} was there throughout", p);
      }
      for (const P& p : all) {
         ASSERT_TRUE(covers(under, p) && ever.count(p) != 0) << fmt::format("{} was never there", p);
      }
      ASSERT_EQ("", t.audit());
   }
}

TEST(WalkPage, pagesOfATableThatChanges) {
   const unsigned seed = std::random_device()();
   for (unsigned i = 0; i < 20; ++i) {
      walksWhileItChanges<table4<int>>(seed + i);
      walksWhileItChanges<table6<int>>(seed + i);
   }
}

}  // namespace walk_pages
}  // namespace WalkPageTest
}  // namespace routetrie
