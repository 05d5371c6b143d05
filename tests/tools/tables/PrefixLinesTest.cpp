// PrefixLines: a prefix a line.
#include "tools/tables/formats/PrefixLines.h"

#include "Support.h"

namespace Rtrie {
namespace PrefixLinesTest {

using Support::parsedBy;
using testing::ElementsAre;

TEST(PrefixLines, anythingAfterThePrefixIsThePayload) {
   const auto parsed = parsedBy<PrefixLines>({
      "10.0.0.0/8",
      "11.0.0.0/8 one  two",
      "12.0.0.0/8\ttab",
      "13.0.0.0/8,comma",
      "14.0.0.0/8 , spaced",
      "15.0.0.0/8,,",
      "2001:db8::/32 docs",
   });
   EXPECT_THAT(parsed.faults, ElementsAre());
   EXPECT_THAT(parsed.routes, ElementsAre("10.0.0.0/8 ", "11.0.0.0/8 one  two", "12.0.0.0/8 tab", "13.0.0.0/8 comma",
                                          "14.0.0.0/8 spaced", "15.0.0.0/8 ,", "2001:db8::/32 docs"));
}

TEST(PrefixLines, aBareAddressIsAHostRoute) {
   EXPECT_THAT(parsedBy<PrefixLines>({"192.0.2.1 host", "2001:db8::1"}).routes,
               ElementsAre("192.0.2.1/32 host", "2001:db8::1/128 "));
}

TEST(PrefixLines, netmasks) {
   const auto parsed = parsedBy<PrefixLines>(
      {"10.2.0.0 255.255.0.0 lan", "0.0.0.0 0.0.0.0 192.0.2.1", "10.3.0.0,255.255.0.0,x", "10.4.0.0 mask 255.255.0.0",
       "10.5.0.0 netmask 255.255.255.255", "10.6.0.0 /16 slash", "1.0.0.0\t24\t13335", "2001:db8::\t32\t1_2"});
   EXPECT_THAT(parsed.faults, ElementsAre());
   EXPECT_THAT(parsed.routes,
               ElementsAre("0.0.0.0/0 192.0.2.1", "1.0.0.0/24 13335", "10.2.0.0/16 lan", "10.3.0.0/16 x",
                           "10.4.0.0/16 ", "10.5.0.0/32 ", "10.6.0.0/16 slash", "2001:db8::/32 1_2"));
}

TEST(PrefixLines, rangesBecomeTheirPrefixes) {
   for (const std::string line : {"1.0.1.0 - 1.0.3.255 office", "1.0.1.0-1.0.3.255 office",
                                  "1.0.1.0- 1.0.3.255 office", "1.0.1.0 -1.0.3.255,office"}) {
      EXPECT_THAT(parsedBy<PrefixLines>({line}).routes, ElementsAre("1.0.1.0/24 office", "1.0.2.0/23 office"))
         << line;
   }
   EXPECT_THAT(parsedBy<PrefixLines>({"2001:db8:: - 2001:db8::2"}).routes,
               ElementsAre("2001:db8::/127 ", "2001:db8::2/128 "));
   // With nothing behind it, or a comment.
   for (const std::string line : {"1.0.1.0-1.0.3.255", "1.0.1.0-1.0.3.255 # office"}) {
      EXPECT_THAT(parsedBy<PrefixLines>({line}).routes, testing::ElementsAre("1.0.1.0/24 ", "1.0.2.0/23 ")) << line;
   }
}

TEST(PrefixLines, aSecondWordThatSaysSomethingElseIsNoPayload) {
   const auto parsed = parsedBy<PrefixLines>({"10.2.0.0 0.0.255.255 wildcard", "10.2.0.1 255.255.0.0",
                                              "1.0.1.0 - 1.0.3.256", "1.0.3.0 - 1.0.1.0", "10.0.0.0/8 - 11.0.0.0",
                                              "1.0.1.0 - 2001:db8::1", "2001:db8::1 2001:db8::2",
                                              "10.5.0.0 192.0.2.1 255.255.0.0 UG", "10.0.0.0 /33", "10.0.0.1 mask"});
   EXPECT_THAT(parsed.routes, ElementsAre());
   ASSERT_EQ(10U, parsed.faults.size());
   EXPECT_EQ(
      "\"0.0.255.255\" behind an address is no netmask, and a range is FIRST - LAST: \"10.2.0.0 0.0.255.255 "
      "wildcard\"",
      parsed.faults[0]);
   EXPECT_THAT(parsed.faults[1], testing::HasSubstr("bits set past the prefix length"));
   EXPECT_EQ("first address of the range exceeds its last: \"1.0.3.0 - 1.0.1.0\"", parsed.faults[3]);
   EXPECT_THAT(parsed.faults[4], testing::StartsWith("a range goes from one address to another"));
   EXPECT_THAT(parsed.faults[6], testing::StartsWith("two addresses: "));
}

TEST(PrefixLines, whatStaysPayload) {
   EXPECT_THAT(parsedBy<PrefixLines>({"10.0.0.1 - a printer", "10.0.0.2 -", "10.0.0.3 24", "10.0.0.4 12:30",
                                      "10.0.0.5 1.2", "10.0.0.0/8 192.0.2.1", "10.0.0.6\t7 8"})
                  .routes,
               ElementsAre("10.0.0.0/8 192.0.2.1", "10.0.0.1/32 - a printer", "10.0.0.2/32 -", "10.0.0.3/32 24",
                           "10.0.0.4/32 12:30", "10.0.0.5/32 1.2", "10.0.0.6/32 7 8"));
}

TEST(PrefixLines, commentsAfterTheRoute) {
   EXPECT_THAT(parsedBy<PrefixLines>({"10.0.0.0/8 # ours", "11.0.0.0/8 site#5 # theirs"}).routes,
               ElementsAre("10.0.0.0/8 ", "11.0.0.0/8 site#5"));
}

TEST(PrefixLines, badLines) {
   const auto parsed = parsedBy<PrefixLines>({"10.0.0.0/33", "10.0.0.1/8 x", "example 10.0.0.0/8", "11.0.0.0/8"});
   EXPECT_THAT(parsed.routes, ElementsAre("11.0.0.0/8 "));
   EXPECT_THAT(parsed.faults, ElementsAre("prefix length 33 exceeds 32: \"10.0.0.0/33\"",
                                          "address has bits set past the prefix length: \"10.0.0.1/8\"",
                                          testing::HasSubstr("\"example\"")));
}

}  // namespace PrefixLinesTest
}  // namespace Rtrie
