// BgpDumpLines: routing tables and updates as bgpdump -m prints them.
#include "tools/tables/formats/BgpDumpLines.h"

#include "Support.h"

namespace Rtrie {
namespace BgpDumpLinesTest {

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

const std::vector<std::string> threePeers = {"TABLE_DUMP2|1|B|192.0.2.1|65000|10.0.0.0/8|65000 1 2|IGP|",
                                             "TABLE_DUMP2|1|B|192.0.2.2|65009|10.0.0.0/8|65009 2|IGP|",
                                             "TABLE_DUMP2|1|B|2001:db8::3|65009|10.0.0.0/8|65009 3|IGP|",
                                             "TABLE_DUMP2|1|B|192.0.2.1|65000|11.0.0.0/8|65000|IGP|"};

TEST(BgpDumpLines, theShortestPathThenTheFirstLine) {
   const auto parsed = parsedBy<BgpDumpLines>(threePeers);
   EXPECT_THAT(parsed.routes, ElementsAre("10.0.0.0/8 65009 2", "11.0.0.0/8 65000"));
   EXPECT_THAT(parsed.candidates, ElementsAre("10.0.0.0/8 65009 3", "10.0.0.0/8 65000 1 2"));
   EXPECT_EQ("", parsed.leftOut);
}

TEST(BgpDumpLines, onePeer) {
   const auto of = [](std::string_view peer) {
      Selection selection;
      selection.peer.emplace(peer);
      return parsedBy<BgpDumpLines>(threePeers, selection);
   };
   EXPECT_THAT(of("192.0.2.1").routes, ElementsAre("10.0.0.0/8 65000 1 2", "11.0.0.0/8 65000"));
   EXPECT_EQ("192.0.2.2 65009 (1), 2001:db8::3 65009 (1)", of("192.0.2.1").leftOut);
   EXPECT_THAT(of("2001:DB8:0::3").routes, ElementsAre("10.0.0.0/8 65009 3"));
   for (const auto as : {"65009", "AS65009"}) {
      EXPECT_THAT(of(as).routes, ElementsAre("10.0.0.0/8 65009 2"));
      EXPECT_THAT(of(as).candidates, ElementsAre("10.0.0.0/8 65009 3"));
   }
   EXPECT_THAT(of("1").routes, ElementsAre());
}

TEST(BgpDumpLines, aPeersUpdatesAreItsOwn) {
   const auto parsed = parsedBy<BgpDumpLines>({
      "TABLE_DUMP2|1|B|192.0.2.1|65000|10.0.0.0/8|65000 1|IGP|",
      "TABLE_DUMP2|1|B|192.0.2.2|65009|10.0.0.0/8|65009 2 3|IGP|",
      "BGP4MP|2|W|192.0.2.1|65000|10.0.0.0/8",
      "BGP4MP|3|A|192.0.2.2|65009|10.0.0.0/8|65009 4 5 6|IGP|",
      "BGP4MP|3|A|192.0.2.3|65010|11.0.0.0/8|1 2|IGP|",
      "BGP4MP|4|A|192.0.2.3|65010|11.0.0.0/8|1 2 3|IGP|",
   });
   EXPECT_THAT(parsed.routes, ElementsAre("10.0.0.0/8 65009 4 5 6", "11.0.0.0/8 1 2 3"));
   EXPECT_THAT(parsed.candidates, ElementsAre());
}

TEST(BgpDumpLines, aSessionThatEndsTakesItsRoutes) {
   const auto parsed = parsedBy<BgpDumpLines>({
      "TABLE_DUMP2|1|B|192.0.2.1|65000|10.0.0.0/8|65000 1|IGP|",
      "TABLE_DUMP2_AP|1|B|192.0.2.1|65000|11.0.0.0/8|7|65000 1|IGP|",
      "TABLE_DUMP2|1|B|192.0.2.1|650001|10.0.0.0/8|650001 2 3|IGP|",
      "BGP4MP|2|STATE|192.0.2.1|65000|5|6",
      "BGP4MP|2|STATE|192.0.2.1|65000|6|1",
      "BGP4MP|3|A|192.0.2.1|65000|12.0.0.0/8|65000|IGP|",
   });
   EXPECT_THAT(parsed.routes, ElementsAre("10.0.0.0/8 650001 2 3", "12.0.0.0/8 65000"));
   EXPECT_THAT(parsed.candidates, ElementsAre());
}

// As bgpdump prints what RFC 8050 has: the number of the path before the path.
TEST(BgpDumpLines, severalPathsOfOnePeer) {
   const auto parsed =
      parsedBy<BgpDumpLines>({"TABLE_DUMP2_AP|1|B|10.0.15.1|65015|10.0.10.0/24|36|65015 65014 65013|IGP|",
                              "TABLE_DUMP2_AP|1|B|10.0.15.1|65015|10.0.10.0/24|38|65015 65014|IGP|"});
   EXPECT_THAT(parsed.routes, ElementsAre("10.0.10.0/24 65015 65014"));
   EXPECT_THAT(parsed.candidates, ElementsAre("10.0.10.0/24 65015 65014 65013"));
}

TEST(BgpDumpLines, lengthsOfPaths) {
   EXPECT_EQ(0U, asPathLength(""));
   EXPECT_EQ(3U, asPathLength("65000 65000 1"));
   EXPECT_EQ(2U, asPathLength("65000 {1,2,3}"));
   EXPECT_EQ(1U, asPathLength("(65001 65002) 7"));
   EXPECT_EQ(2U, asPathLength("[65001,65002] 7 8"));
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

}  // namespace BgpDumpLinesTest
}  // namespace Rtrie
