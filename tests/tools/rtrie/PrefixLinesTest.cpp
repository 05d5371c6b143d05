// PrefixLines: a prefix a line.
#include "tools/rtrie/formats/PrefixLines.h"

#include "Support.h"

namespace Rtrie {
namespace {

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

}  // namespace
}  // namespace Rtrie
