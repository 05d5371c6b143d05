// BgpDumpLines: routing tables and updates as bgpdump -m prints them.
#include "tools/rtrie/formats/BgpDumpLines.h"

#include "Support.h"

namespace Rtrie {
namespace {

using Support::parsedBy;
using testing::ElementsAre;

TEST(BgpDumpLines, tables) {
   const auto parsed = parsedBy<BgpDumpLines>({
      "TABLE_DUMP2|1700000000|B|192.0.2.1|65000|10.0.0.0/8|65000 65001|IGP|192.0.2.1|0|0||NAG||",
      "TABLE_DUMP2|1700000000|B|2001:db8::1|65000|2001:db8:5::/48|65000 {65002,65003}|IGP|2001:db8::1|0|0||NAG||",
      "TABLE_DUMP|1700000000|B|192.0.2.1|65000|0.0.0.0/0|65000|IGP|192.0.2.1|0|0||NAG||",
   });
   EXPECT_THAT(parsed.faults, ElementsAre());
   EXPECT_THAT(parsed.routes,
               ElementsAre("0.0.0.0/0 65000", "10.0.0.0/8 65000 65001", "2001:db8:5::/48 65000 {65002,65003}"));
}

TEST(BgpDumpLines, theLastPeerCounts) {
   EXPECT_THAT(parsedBy<BgpDumpLines>({"TABLE_DUMP2|1|B|192.0.2.1|65000|10.0.0.0/8|65000|IGP|",
                                       "TABLE_DUMP2|1|B|192.0.2.2|65009|10.0.0.0/8|65009|IGP|"})
                  .routes,
               ElementsAre("10.0.0.0/8 65009"));
}

TEST(BgpDumpLines, updates) {
   const auto parsed = parsedBy<BgpDumpLines>({
      "BGP4MP|1|STATE|192.0.2.1|65000|3|2",
      "BGP4MP|1|A|192.0.2.1|65000|10.0.0.0/8|65000|IGP|192.0.2.1|0|0||NAG||",
      "BGP4MP_ET|1.5|A|192.0.2.1|65000|11.0.0.0/8|65001|IGP|192.0.2.1|0|0||NAG||",
      "BGP4MP|2|W|192.0.2.1|65000|10.0.0.0/8",
      "BGP4MP|2|W|192.0.2.1|65000|12.0.0.0/8",
      "BGP4MP|3|W|192.0.2.1|65000|11.0.0.0/8",
      "BGP4MP|4|A|192.0.2.1|65000|11.0.0.0/8|65002|IGP|192.0.2.1|0|0||NAG||",
   });
   EXPECT_THAT(parsed.faults, ElementsAre());
   EXPECT_THAT(parsed.routes, ElementsAre("11.0.0.0/8 65002"));
}

TEST(BgpDumpLines, badLines) {
   const auto parsed = parsedBy<BgpDumpLines>({
      "TABLE_DUMP2|1|B|192.0.2.1|65000|10.0.0.0/33|65000|IGP|",
      "TABLE_DUMP2|1|B|192.0.2.1",
      "TABLE_DUMP2|1|X|192.0.2.1|65000|10.0.0.0/8|65000",
      "10.0.0.0/8",
      "BGP4MP",
   });
   EXPECT_THAT(parsed.routes, ElementsAre());
   EXPECT_THAT(parsed.faults,
               ElementsAre("prefix length 33 exceeds 32: \"10.0.0.0/33\"",
                           "no prefix in field 6: \"TABLE_DUMP2|1|B|192.0.2.1\"",
                           "unknown kind of entry \"X\", known are A, B, W and STATE: "
                           "\"TABLE_DUMP2|1|X|192.0.2.1|65000|10.0.0.0/8|65000\"",
                           "not a line of bgpdump -m: \"10.0.0.0/8\"", "not a line of bgpdump -m: \"BGP4MP\""));
}

}  // namespace
}  // namespace Rtrie
