// SlowTable and the bits beneath it, against answers worked out by hand on this table:
//
//    0.0.0.0/0
//    10.0.0.0/8
//       10.1.0.0/16
//          10.1.2.0/24
//          10.1.3.0/24
//       10.200.0.0/16
//    11.0.0.0/8
#include "tests/property/SlowTable.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <initializer_list>
#include <ostream>
#include <string>
#include <string_view>

namespace Property {

void PrintTo(const MaybePrefix& p, std::ostream* out) { *out << (p ? std::string(p->stringValue()) : "none"); }

namespace SlowTableTest {

using testing::ElementsAre;

IpGenPrefix p(std::string_view text) { return IpGenPrefix::fromString(text); }

SlowTable tableOf(std::initializer_list<std::string_view> routes) {
   SlowTable table;
   for (const auto route : routes) {
      table.add(p(route));
   }
   return table;
}

const SlowTable table =
   tableOf({"10.1.2.0/24", "11.0.0.0/8", "10.0.0.0/8", "10.200.0.0/16", "0.0.0.0/0", "10.1.3.0/24", "10.1.0.0/16"});

TEST(SlowTable, addAndRemoveTellWhetherTheTableChanged) {
   SlowTable t;
   EXPECT_TRUE(t.add(p("10.0.0.0/8")));
   EXPECT_FALSE(t.add(p("10.0.0.0/8")));
   EXPECT_EQ(1U, t.size());
   EXPECT_FALSE(t.remove(p("10.0.0.0/9")));
   EXPECT_TRUE(t.remove(p("10.0.0.0/8")));
   EXPECT_FALSE(t.remove(p("10.0.0.0/8")));
   EXPECT_EQ(0U, t.size());
}

TEST(SlowTable, exact) {
   EXPECT_TRUE(table.exact(p("10.1.0.0/16")));
   EXPECT_TRUE(table.exact(p("0.0.0.0/0")));
   EXPECT_FALSE(table.exact(p("10.1.0.0/17")));
   EXPECT_FALSE(table.exact(p("10.0.0.0/15")));
   EXPECT_FALSE(table.exact(p("10.2.0.0/16")));
}

TEST(SlowTable, longestMatch) {
   EXPECT_EQ(p("10.1.2.0/24"), table.longestMatch(p("10.1.2.3/32")));
   EXPECT_EQ(p("10.1.2.0/24"), table.longestMatch(p("10.1.2.0/24")));
   EXPECT_EQ(p("10.1.0.0/16"), table.longestMatch(p("10.1.2.0/23")));
   EXPECT_EQ(p("10.0.0.0/8"), table.longestMatch(p("10.2.0.0/16")));
   EXPECT_EQ(p("0.0.0.0/0"), table.longestMatch(p("12.0.0.0/8")));
   EXPECT_EQ(p("0.0.0.0/0"), table.longestMatch(p("0.0.0.0/0")));
   EXPECT_EQ(std::nullopt, tableOf({"10.0.0.0/8"}).longestMatch(p("10.0.0.0/7")));
}

TEST(SlowTable, parent) {
   EXPECT_EQ(p("10.1.0.0/16"), table.parent(p("10.1.2.0/24")));
   EXPECT_EQ(p("10.1.2.0/24"), table.parent(p("10.1.2.0/25")));
   EXPECT_EQ(p("0.0.0.0/0"), table.parent(p("10.0.0.0/8")));
   EXPECT_EQ(std::nullopt, table.parent(p("0.0.0.0/0")));
}

TEST(SlowTable, longer) {
   EXPECT_TRUE(table.longer(p("10.1.0.0/16")));
   EXPECT_TRUE(table.longer(p("10.1.2.0/23")));
   EXPECT_TRUE(table.longer(p("0.0.0.0/0")));
   EXPECT_FALSE(table.longer(p("10.1.2.0/24")));
   EXPECT_FALSE(table.longer(p("12.0.0.0/8")));
}

TEST(SlowTable, listsAreByAddressThenLength) {
   EXPECT_THAT(table.ordered(), ElementsAre(p("0.0.0.0/0"), p("10.0.0.0/8"), p("10.1.0.0/16"), p("10.1.2.0/24"),
                                            p("10.1.3.0/24"), p("10.200.0.0/16"), p("11.0.0.0/8")));
   EXPECT_THAT(table.covering(p("10.1.3.0/24")),
               ElementsAre(p("0.0.0.0/0"), p("10.0.0.0/8"), p("10.1.0.0/16"), p("10.1.3.0/24")));
   EXPECT_THAT(table.subtree(p("10.1.0.0/16")), ElementsAre(p("10.1.0.0/16"), p("10.1.2.0/24"), p("10.1.3.0/24")));
   EXPECT_THAT(table.subtree(p("10.1.2.0/25")), ElementsAre());
}

TEST(SlowTable, next) {
   EXPECT_EQ(p("10.1.0.0/16"), table.next(p("10.0.0.0/8")));
   EXPECT_EQ(p("10.1.0.0/16"), table.next(p("10.0.0.0/24")));
   EXPECT_EQ(p("11.0.0.0/8"), table.next(p("10.255.0.0/16")));
   EXPECT_EQ(std::nullopt, table.next(p("11.0.0.0/8")));
}

TEST(SlowTable, childrenAreTheNearestRoutesBeneath) {
   EXPECT_THAT(table.children(p("0.0.0.0/0")), ElementsAre(p("10.0.0.0/8"), p("11.0.0.0/8")));
   EXPECT_THAT(table.children(p("10.0.0.0/8")), ElementsAre(p("10.1.0.0/16"), p("10.200.0.0/16")));
   EXPECT_THAT(table.children(p("10.1.0.0/16")), ElementsAre(p("10.1.2.0/24"), p("10.1.3.0/24")));
   EXPECT_THAT(table.children(p("10.1.0.0/17")), ElementsAre(p("10.1.2.0/24"), p("10.1.3.0/24")));
   EXPECT_THAT(table.children(p("11.0.0.0/8")), ElementsAre());
}

TEST(SlowTable, worksOnIpv6Alike) {
   const auto t = tableOf({"::/0", "2001:db8::/32", "2001:db8:0:1::/64", "2001:db8:0:1::1/128"});
   EXPECT_EQ(p("2001:db8:0:1::/64"), t.longestMatch(p("2001:db8:0:1::/127")));
   EXPECT_EQ(p("2001:db8::/32"), t.parent(p("2001:db8:0:1::/64")));
   EXPECT_TRUE(t.longer(p("2001:db8:0:1::/127")));
   EXPECT_FALSE(t.longer(p("2001:db8:0:1::2/127")));
   EXPECT_THAT(t.children(p("2001:db8::/32")), ElementsAre(p("2001:db8:0:1::/64")));
}

TEST(PrefixBits, bitsCountFromTheMostSignificant) {
   EXPECT_TRUE(bitOf(p("128.0.0.0/1"), 0));
   EXPECT_TRUE(bitOf(p("0.0.0.1/32"), 31));
   EXPECT_FALSE(bitOf(p("0.0.0.1/32"), 30));
   EXPECT_TRUE(bitOf(p("::1/128"), 127));
   EXPECT_FALSE(bitOf(p("::1/128"), 126));
}

TEST(PrefixBits, commonLengthIsAtMostTheLengthOfEither) {
   EXPECT_EQ(8U, commonLength(p("10.0.0.0/8"), p("10.0.0.0/16")));
   EXPECT_EQ(7U, commonLength(p("10.0.0.0/8"), p("11.0.0.0/8")));
   EXPECT_EQ(0U, commonLength(p("0.0.0.0/8"), p("128.0.0.0/8")));
   EXPECT_EQ(127U, commonLength(p("::/128"), p("::1/128")));
}

TEST(PrefixBits, cutAndFlipped) {
   EXPECT_EQ(p("10.1.0.0/16"), cut(p("10.1.255.0/24"), 16));
   EXPECT_EQ(p("10.1.0.0/24"), cut(p("10.1.0.0/16"), 24));
   EXPECT_EQ(p("2001:db8::/30"), cut(p("2001:dbb::/32"), 30));
   EXPECT_EQ(p("11.0.0.0/8"), flipped(p("10.0.0.0/8"), 7));
   EXPECT_EQ(p("::/128"), flipped(p("::1/128"), 127));
   EXPECT_EQ(p("0.0.0.0/0"), cut(p("255.0.0.0/8"), 0));
}

}  // namespace SlowTableTest
}  // namespace Property
