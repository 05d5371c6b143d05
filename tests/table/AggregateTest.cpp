#include "routetrie/aggregate.h"

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cctype>
#include <string>
#include <vector>

#include "routetrie/route_set.h"

namespace routetrie {
namespace AggregateTest {

using testing::ElementsAre;
using testing::IsEmpty;

template <class Table>
std::vector<std::string> texts(const Table& t) {
   std::vector<std::string> list;
   for (const auto& route : t) {
      list.push_back(fmt::format("{}", route));
   }
   return list;
}

TEST(Aggregate, isWhatTheHeaderDraws) {
   const table4<std::string> t{{"10.0.0.0/9"_prefix, "a"},
                               {"10.128.0.0/9"_prefix, "a"},
                               {"10.3.0.0/16"_prefix, "b"},
                               {"10.3.7.0/24"_prefix, "b"}};
   EXPECT_THAT(texts(aggregate(t)), ElementsAre("10.0.0.0/8 a", "10.3.0.0/16 b"));
}

TEST(Aggregate, leavesUncoveredWhatNoRouteCovers) {
   const table4<int> t{{"10.0.0.0/10"_prefix, 1}, {"10.64.0.0/10"_prefix, 1}, {"10.128.0.0/10"_prefix, 1}};
   EXPECT_THAT(texts(aggregate(t)), ElementsAre("10.0.0.0/9 1", "10.128.0.0/10 1"));
   EXPECT_THAT(texts(aggregate(table4<int>())), IsEmpty());
}

TEST(Aggregate, reachesFromTheDefaultRouteToHosts) {
   const table4<int> t{{"0.0.0.0/0"_prefix, 1}, {"10.0.0.0/32"_prefix, 1}, {"10.0.0.1/32"_prefix, 2}};
   EXPECT_THAT(texts(aggregate(t)), ElementsAre("0.0.0.0/0 1", "10.0.0.1/32 2"));
   const table6<int> t6{{"::/1"_prefix, 1}, {"8000::/1"_prefix, 1}, {"::1/128"_prefix, 1}};
   EXPECT_THAT(texts(aggregate(t6)), ElementsAre("::/0 1"));
}

// Two of the four quarters have 1 and 2 each: either may be what lies under all.
TEST(Aggregate, takesAValueThatManyShare) {
   const table4<int> t{{"10.0.0.0/10"_prefix, 1},
                       {"10.64.0.0/10"_prefix, 2},
                       {"10.128.0.0/10"_prefix, 1},
                       {"10.192.0.0/10"_prefix, 3}};
   EXPECT_THAT(texts(aggregate(t)), ElementsAre("10.0.0.0/8 1", "10.64.0.0/10 2", "10.192.0.0/10 3"));
}

TEST(Aggregate, comparesAsItIsTold) {
   const table4<std::string> t{{"10.0.0.0/9"_prefix, "A"}, {"10.128.0.0/9"_prefix, "a"}};
   EXPECT_EQ(2u, aggregate(t).size());
   const auto sameLetter = [](const std::string& a, const std::string& b) {
      return std::tolower(a[0]) == std::tolower(b[0]);
   };
   EXPECT_THAT(texts(aggregate(t, sameLetter)), ElementsAre("10.0.0.0/8 A"));
   const auto hash = [](const std::string& s) { return static_cast<std::size_t>(std::tolower(s[0])); };
   EXPECT_THAT(texts(aggregate(t, sameLetter, hash)), ElementsAre("10.0.0.0/8 A"));
}

struct hashless {
   int number;
   friend bool operator==(const hashless&, const hashless&) = default;
};

TEST(Aggregate, takesValuesWithoutAHash) {
   table4<hashless> t;
   t.insert({"10.0.0.0/9"_prefix, hashless{1}});
   t.insert({"10.128.0.0/9"_prefix, hashless{1}});
   t.insert({"11.0.0.0/8"_prefix, hashless{2}});
   t.insert({"12.0.0.0/8"_prefix, hashless{1}});
   const auto smallest = aggregate(t);
   ASSERT_EQ(3u, smallest.size());
   EXPECT_EQ(1, smallest.find("10.0.0.0/8"_prefix)->value.number);
}

TEST(Aggregate, takesSetsAndBothFamilies) {
   const route_set s{"10.0.0.0/9"_prefix, "10.128.0.0/9"_prefix, "10.1.0.0/16"_prefix, "2001:db8::/33"_prefix,
                     "2001:db8:8000::/33"_prefix};
   EXPECT_THAT(texts(aggregate(s)), ElementsAre("10.0.0.0/8", "2001:db8::/32"));
   const table<int> t{{"10.0.0.0/9"_prefix, 1}, {"10.128.0.0/9"_prefix, 1}, {"2001:db8::/32"_prefix, 1}};
   EXPECT_THAT(texts(aggregate(t)), ElementsAre("10.0.0.0/8 1", "2001:db8::/32 1"));
}

}  // namespace AggregateTest
}  // namespace routetrie
