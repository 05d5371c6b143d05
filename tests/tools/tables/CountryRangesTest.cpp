// CountryRanges: ranges of addresses with a country code.
#include "tools/tables/formats/CountryRanges.h"

#include "Support.h"

namespace Rtrie {
namespace CountryRangesTest {

using Support::parsedBy;
using testing::ElementsAre;
using testing::HasSubstr;

TEST(CountryRanges, rangesBecomePrefixes) {
   const auto parsed = parsedBy<CountryRanges>({
      "16777216,16777471,AU",
      "16777472,16778239,CN",
      "2001:2::,2001:2:0:ffff:ffff:ffff:ffff:ffff,JP",
      "2001::,2001:0:ffff:ffff:ffff:ffff:ffff:ffff,??",
   });
   EXPECT_THAT(parsed.faults, ElementsAre());
   EXPECT_THAT(parsed.routes,
               ElementsAre("1.0.0.0/24 AU", "1.0.1.0/24 CN", "1.0.2.0/23 CN", "2001::/32 ??", "2001:2::/48 JP"));
}

TEST(CountryRanges, wholeSpacesAndSingleAddresses) {
   EXPECT_THAT(parsedBy<CountryRanges>({"0,4294967295,ZZ", "1,1,AA"}).routes,
               ElementsAre("0.0.0.0/0 ZZ", "0.0.0.1/32 AA"));
   EXPECT_THAT(parsedBy<CountryRanges>({"::,ffff:ffff:ffff:ffff:ffff:ffff:ffff:ffff,ZZ"}).routes,
               ElementsAre("::/0 ZZ"));
}

TEST(CountryRanges, aCountryMayBeMissing) {
   EXPECT_THAT(parsedBy<CountryRanges>({"1,1", "2,2,"}).routes, ElementsAre("0.0.0.1/32 ", "0.0.0.2/32 "));
}

TEST(CountryRanges, badRanges) {
   const auto parsed = parsedBy<CountryRanges>({
      "16777471,16777216,AU",
      "5,4,AU",
      "1,4294967296,AU",
      "16777216",
      "1,x,AU",
      "x,1,AU",
      "2001:2::,JP",
      "2001:3::,2001:2::,JP",
      "2001:2:::,2001:3::,JP",
      ",,",
   });
   EXPECT_THAT(parsed.routes, ElementsAre());
   EXPECT_THAT(parsed.faults, ElementsAre("first address of the range exceeds its last: \"16777471,16777216,AU\"",
                                          "first address of the range exceeds its last: \"5,4,AU\"",
                                          "address 4294967296 exceeds 4294967295: \"1,4294967296,AU\"",
                                          "range has no last address: \"16777216\"",
                                          "not a decimal IPv4 address: \"x\" in \"1,x,AU\"",
                                          "not a decimal IPv4 address: \"x\" in \"x,1,AU\"", HasSubstr("\"JP\""),
                                          "first address of the range exceeds its last: \"2001:3::,2001:2::,JP\"",
                                          HasSubstr("\"2001:2:::\""), "range has no last address: \",,\""));
}

TEST(CountryRanges, looksLike) {
   EXPECT_TRUE(CountryRanges::looksLike("1,2,AU"));
   EXPECT_TRUE(CountryRanges::looksLike("::1,::2,AU"));
   EXPECT_FALSE(CountryRanges::looksLike("::1,5,AU"));
   EXPECT_FALSE(CountryRanges::looksLike("1,,AU"));
   EXPECT_FALSE(CountryRanges::looksLike(""));
}

TEST(CountryRanges, dottedAddresses) {
   EXPECT_TRUE(CountryRanges::looksLike("1.0.1.0,1.0.3.255,CN"));
   EXPECT_TRUE(CountryRanges::looksLike("224.0.0.0,255.255.255.255,ZZ"));
   EXPECT_FALSE(CountryRanges::looksLike("10.2.0.0,255.255.0.0,lan"));  // a netmask
   EXPECT_FALSE(CountryRanges::looksLike("10.0.0.1,192.0.2.1"));        // nobody knows
   const auto parsed = Support::parsedBy<CountryRanges>({"1.0.1.0,1.0.3.255,CN", "1.0.4.0,1.0.4.256,CN"});
   EXPECT_THAT(parsed.routes, testing::ElementsAre("1.0.1.0/24 CN", "1.0.2.0/23 CN"));
   EXPECT_EQ(1U, parsed.faults.size());
}

}  // namespace CountryRangesTest
}  // namespace Rtrie
