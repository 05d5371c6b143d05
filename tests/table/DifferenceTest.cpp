#include "routetrie/difference.h"

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <iterator>
#include <string>
#include <vector>

#include "routetrie/route_set.h"

namespace routetrie {
namespace DifferenceTest {

using testing::ElementsAre;
using testing::IsEmpty;

template <class Range>
std::vector<std::string> texts(const Range& range) {
   std::vector<std::string> list;
   for (const auto& d : range) {
      std::string text = fmt::format("{}:", d.prefix);
      text += d.before ? fmt::format(" {}", *d.before) : " none";
      text += d.after ? fmt::format(" -> {}", *d.after) : " -> none";
      list.push_back(text);
   }
   return list;
}

static_assert(std::forward_iterator<difference_iterator<table4<int>, table4<int>, std::equal_to<>>>);
static_assert(std::forward_iterator<difference_iterator<table<void>, table<void>, std::equal_to<>>>);

const table4<int> old4{{"10.0.0.0/8"_prefix, 1}, {"10.1.0.0/16"_prefix, 2}, {"11.0.0.0/8"_prefix, 3}};
const table4<int> new4{{"0.0.0.0/0"_prefix, 9}, {"10.0.0.0/8"_prefix, 1}, {"11.0.0.0/8"_prefix, 4}};

TEST(Difference, isWhatIsInOneAloneOrHasAnotherValue) {
   EXPECT_THAT(texts(difference(old4, new4)),
               ElementsAre("0.0.0.0/0: none -> 0.0.0.0/0 9", "10.1.0.0/16: 10.1.0.0/16 2 -> none",
                           "11.0.0.0/8: 11.0.0.0/8 3 -> 11.0.0.0/8 4"));
   EXPECT_THAT(texts(difference(old4, old4)), IsEmpty());
   EXPECT_THAT(texts(difference(table4<int>(), table4<int>())), IsEmpty());
   EXPECT_EQ(3, std::ranges::distance(difference(table4<int>(), old4)));
   EXPECT_EQ(3, std::ranges::distance(difference(old4, table4<int>())));
}

TEST(Difference, comparesAsItIsTold) {
   const int most = 1;
   const auto near = [&](int a, int b) { return std::abs(a - b) <= most; };
   EXPECT_THAT(texts(difference(old4, new4, near)),
               ElementsAre("0.0.0.0/0: none -> 0.0.0.0/0 9", "10.1.0.0/16: 10.1.0.0/16 2 -> none"));
   const table4<std::string> names{{"10.0.0.0/8"_prefix, "1"}, {"10.1.0.0/16"_prefix, "5"}};
   const auto byText = [](int a, const std::string& b) { return fmt::format("{}", a) == b; };
   EXPECT_THAT(texts(difference(old4, names, byText)),
               ElementsAre("10.1.0.0/16: 10.1.0.0/16 2 -> 10.1.0.0/16 5", "11.0.0.0/8: 11.0.0.0/8 3 -> none"));
}

TEST(Difference, ofSetsAndOfBothFamilies) {
   const route_set a{"10.0.0.0/8"_prefix, "2001:db8::/32"_prefix, "::/0"_prefix};
   const route_set b{"10.0.0.0/9"_prefix, "::/0"_prefix};
   EXPECT_THAT(texts(difference(a, b)),
               ElementsAre("10.0.0.0/8: 10.0.0.0/8 -> none", "10.0.0.0/9: none -> 10.0.0.0/9",
                           "2001:db8::/32: 2001:db8::/32 -> none"));
   const table<int> c{{"255.0.0.0/8"_prefix, 1}};
   const table<int> d{{"::/0"_prefix, 1}};
   EXPECT_THAT(texts(difference(c, d)), ElementsAre("255.0.0.0/8: 255.0.0.0/8 1 -> none", "::/0: none -> ::/0 1"));
}

TEST(Difference, isAPlaceThatMayBeKept) {
   const auto all = difference(old4, new4);
   auto at = all.begin();
   const auto first = at;
   EXPECT_EQ(first, at++);
   EXPECT_NE(first, at);
   EXPECT_EQ("10.1.0.0/16"_prefix, at->prefix);
   std::advance(at, 2);
   EXPECT_EQ(at, all.end());
}

TEST(Difference, turnsOneIntoTheOtherAsItIsWalked) {
   table4<int> a = old4;
   for (const auto& d : difference(a, new4)) {
      d.after ? (void)a.insert_or_assign(d.prefix, d.after->value) : (void)a.erase(d.prefix);
   }
   EXPECT_EQ(new4, a);
}

}  // namespace DifferenceTest
}  // namespace routetrie
