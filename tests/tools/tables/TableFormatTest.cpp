// TableFormat: the kind of a table, told from its lines.
#include "tools/tables/TableFormat.h"

#include <set>

#include "Support.h"

namespace Rtrie {
namespace TableFormatTest {

std::string_view named(const std::vector<std::string>& lines) { return formatOf(lines).name; }

TEST(TableFormat, eachIsToldByItsLines) {
   EXPECT_EQ("prefixes", named({"10.0.0.0/8", "2001:db8::/32 docs"}));
   EXPECT_EQ("prefixes", named({"10.0.0.1,site"}));
   EXPECT_EQ("ranges", named({"16777216,16777471,AU"}));
   EXPECT_EQ("ranges", named({"2001::,2001:0:ffff:ffff:ffff:ffff:ffff:ffff,??"}));
   EXPECT_EQ("bgpdump", named({"TABLE_DUMP2|1|B|192.0.2.1|65000|10.0.0.0/8|65000|IGP|192.0.2.1|0|0||NAG||"}));
   EXPECT_EQ("bgpdump", named({"BGP4MP|1|W|192.0.2.1|65000|10.0.0.0/8"}));
   EXPECT_EQ("ip-route", named({"default via 192.0.2.1 dev eth0", "192.0.2.0/24 dev eth0 proto kernel scope link"}));
   EXPECT_EQ("ip-route", named({"blackhole 10.1.0.0/16"}));
   EXPECT_EQ("ip-route", named({"10.5.0.0/16", "nexthop via 192.0.2.1 dev eth0 weight 3"}));
   EXPECT_EQ("ip-route", named({"10.5.0.0/16 \\\tnexthop via 192.0.2.1 dev eth0 weight 3"}));
   EXPECT_EQ("netstat", named({"10.5.0.0 192.0.2.1 255.255.0.0 UG 0 0 0 eth0"}));
   EXPECT_EQ("netstat", named({"Kernel IPv6 routing table", "2001:db8:7::/48 2001:db8::1 UG 1024 1 0 eth0"}));
   EXPECT_EQ("ranges", named({"1.0.1.0,1.0.3.255,CN"}));
   EXPECT_EQ("prefixes", named({"1.0.1.0 - 1.0.3.255", "1.0.4.0-1.0.4.255", "10.2.0.0 255.255.0.0 lan"}));
   EXPECT_EQ("ip-route", named({"fe80::/64 dev eth0 proto kernel metric 256 pref medium"}));
}

TEST(TableFormat, theMajorityDecides) {
   EXPECT_EQ("ranges", named({"10.0.0.0/8 x", "16777216,16777471,AU", "16777472,16778239,CN"}));
   EXPECT_EQ("prefixes", named({"10.0.0.0/8 via somewhere", "11.0.0.0/8 x", "12.0.0.0/8 y"}));
   EXPECT_EQ("bgpdump", named({"garbage", "more garbage", "BGP4MP|1|W|192.0.2.1|65000|10.0.0.0/8"}));
}

TEST(TableFormat, whatLooksLikeNothingIsReadAsPrefixes) {
   EXPECT_EQ("prefixes", named({}));
   EXPECT_EQ("prefixes", named({"garbage", "\x01\x02"}));
}

TEST(TableFormat, namesAreDifferent) {
   std::set<std::string_view> names;
   for (const auto& format : tableFormats()) {
      EXPECT_TRUE(names.insert(format.name).second) << format.name;
      EXPECT_TRUE(format.parser == nullptr || format.parser(Selection()) != nullptr);
   }
   EXPECT_EQ(tableFormats().size(), names.size());
}

}  // namespace TableFormatTest
}  // namespace Rtrie
