#include "routetrie/free_space.h"

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <string>
#include <vector>

#include "routetrie/platform/Corvid/RangeException.h"
#include "routetrie/route_set.h"

namespace routetrie {
namespace FreeSpaceTest {

using testing::ElementsAre;
using testing::IsEmpty;

template <class Range>
std::vector<std::string> texts(const Range& range) {
   std::vector<std::string> list;
   for (const auto& p : range) {
      list.push_back(fmt::format("{}", p));
   }
   return list;
}

static_assert(std::forward_iterator<Impl::FreePrefixIterator<table4<int>, every_route>>);
static_assert(std::forward_iterator<Impl::FreeBlockIterator<table6<void>, every_route>>);

const route_set4 taken{"10.0.0.0/26"_prefix, "10.0.0.192/28"_prefix, "10.0.0.208/32"_prefix};
const prefix4 pool = "10.0.0.0/24"_prefix;

TEST(FreePrefixes, overlapNoRoute) {
   EXPECT_THAT(texts(free_prefixes(taken, pool, 26)), ElementsAre("10.0.0.64/26", "10.0.0.128/26"));
   EXPECT_THAT(texts(free_prefixes(taken, pool, 28)),
               ElementsAre("10.0.0.64/28", "10.0.0.80/28", "10.0.0.96/28", "10.0.0.112/28", "10.0.0.128/28",
                           "10.0.0.144/28", "10.0.0.160/28", "10.0.0.176/28", "10.0.0.224/28", "10.0.0.240/28"));
   EXPECT_EQ(256 - 64 - 16 - 1, std::ranges::distance(free_prefixes(taken, pool, 32)));
   EXPECT_THAT(texts(free_prefixes(taken, pool, 24)), IsEmpty());
   EXPECT_THAT(texts(free_prefixes(taken, pool, 23)), IsEmpty()) << "there are no /23s under a /24";
   EXPECT_THAT(texts(free_prefixes(taken, "10.0.1.0/24"_prefix, 24)), ElementsAre("10.0.1.0/24"));
}

TEST(FreePrefixes, areNoneUnderARoute) {
   EXPECT_THAT(texts(free_prefixes(taken, "10.0.0.32/27"_prefix, 30)), IsEmpty());
   EXPECT_THAT(texts(free_prefixes(route_set4{"0.0.0.0/0"_prefix}, pool, 30)), IsEmpty());
   EXPECT_THAT(texts(free_blocks(route_set4{"0.0.0.0/0"_prefix}, pool)), IsEmpty());
}

TEST(FreePrefixes, reachTheEndsOfTheSpace) {
   const route_set4 all{"0.0.0.0/1"_prefix, "255.255.255.255/32"_prefix};
   EXPECT_THAT(texts(free_prefixes(all, prefix4(), 2)), ElementsAre("128.0.0.0/2"));
   EXPECT_THAT(texts(free_prefixes(route_set4(), prefix4(), 0)), ElementsAre("0.0.0.0/0"));
   EXPECT_THAT(texts(free_prefixes(route_set4(), "255.255.255.254/31"_prefix, 32)),
               ElementsAre("255.255.255.254/32", "255.255.255.255/32"));
   const route_set6 s{"8000::/1"_prefix};
   EXPECT_THAT(texts(free_prefixes(s, prefix6(), 1)), ElementsAre("::/1"));
   EXPECT_THAT(texts(free_prefixes(s, "::/127"_prefix, 128)), ElementsAre("::/128", "::1/128"));
   EXPECT_EQ("::1/128"_prefix, *++free_prefixes(s, "::/2"_prefix, 128).begin()) << "which has 2^126 of them";
}

TEST(FreePrefixes, areOfAPrefix) {
   EXPECT_THAT(texts(free_prefixes(taken, prefix4::nullPrefix(), 32)), IsEmpty());
   EXPECT_THAT(texts(free_blocks(taken, prefix4::nullPrefix())), IsEmpty());
   EXPECT_THAT(texts(free_blocks(route_set(), prefix())), IsEmpty());
   EXPECT_THAT(texts(free_prefixes(route_set(), prefix(), 8)), IsEmpty());
   try {
      free_prefixes(taken, pool, 33);
      FAIL() << "no address has 33 bits";
   } catch (const Corvid::RangeException& e) {
      EXPECT_STREQ("prefix length 33 exceeds 32", e.what());
   }
}

TEST(FreeBlocks, areTheFewestThatHoldWhatIsFree) {
   EXPECT_THAT(texts(free_blocks(taken, pool)),
               ElementsAre("10.0.0.64/26", "10.0.0.128/26", "10.0.0.209/32", "10.0.0.210/31", "10.0.0.212/30",
                           "10.0.0.216/29", "10.0.0.224/27"));
   EXPECT_THAT(texts(free_blocks(taken, "10.0.0.64/27"_prefix)), ElementsAre("10.0.0.64/27"));
   EXPECT_THAT(texts(free_blocks(route_set4(), prefix4())), ElementsAre("0.0.0.0/0"));
   EXPECT_THAT(texts(free_blocks(route_set4{"255.255.255.255/32"_prefix}, "255.255.255.252/30"_prefix)),
               ElementsAre("255.255.255.252/31", "255.255.255.254/32"));
   EXPECT_THAT(texts(free_blocks(route_set6{"2001:db8:8000::/33"_prefix}, "2001:db8::/32"_prefix)),
               ElementsAre("2001:db8::/33"));
}

TEST(FreeSpace, isTakenByTheRoutesThatCount) {
   table<int> t{{"0.0.0.0/0"_prefix, 0},
                {"10.0.0.0/24"_prefix, 0},
                {"10.0.0.0/25"_prefix, 1},
                {"10.0.0.128/26"_prefix, 0},
                {"2001:db8::/32"_prefix, 0}};
   const int spare = 0;
   const auto given = [&](const auto& route) { return route.value != spare; };
   EXPECT_THAT(texts(free_prefixes(t, pool, 26, given)), ElementsAre("10.0.0.128/26", "10.0.0.192/26"));
   EXPECT_THAT(texts(free_blocks(t, pool, given)), ElementsAre("10.0.0.128/25"));
   EXPECT_THAT(texts(free_blocks(t, "2001:db8::/31"_prefix, given)), ElementsAre("2001:db8::/31"));
   EXPECT_THAT(texts(free_blocks(t, "2001:db8::/31"_prefix)), ElementsAre("2001:db9::/32"));
}

TEST(FreeSpace, canBeGivenOutAsItIsFound) {
   route_set4 t = taken;
   for (const prefix4 p : free_prefixes(t, pool, 28)) {
      t.insert(p);
   }
   EXPECT_THAT(texts(free_prefixes(t, pool, 28)), IsEmpty());
   EXPECT_EQ(15, std::ranges::distance(free_prefixes(t, pool, 32)));
   for (const prefix4 p : free_blocks(t, pool)) {
      t.insert(p);
   }
   EXPECT_THAT(texts(free_blocks(t, pool)), IsEmpty());
}

}  // namespace FreeSpaceTest
}  // namespace routetrie
