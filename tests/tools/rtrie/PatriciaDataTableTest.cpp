// PatriciaDataTable: payloads inside the engine, and the program printing them from there.
#include "tools/rtrie/engines/PatriciaDataTable.h"

#include "Support.h"
#include "routetrie/platform/Tesk/AllocTrack.h"

namespace Rtrie {
namespace PatriciaDataTableTest {

using Support::prefix;
using Support::rtrie;

std::string payloadOf(const RouteTable& table, std::string_view route) {
   return std::string(table.payload(prefix(route)).value_or("no route"));
}

TEST(PatriciaDataTable, keepsAPayloadForEachRoute) {
   PatriciaDataTable table(Corenet::ipv4);
   table.routeWithPayloadIs(prefix("0.0.0.0/0"), {1, "upstream"});
   table.routeWithPayloadIs(prefix("10.0.0.0/8"), {2, "private"});
   table.routeIs(prefix("10.1.0.0/16"));
   EXPECT_EQ("upstream", payloadOf(table, "0.0.0.0/0"));
   EXPECT_EQ("private", payloadOf(table, "10.0.0.0/8"));
   EXPECT_EQ("", payloadOf(table, "10.1.0.0/16"));
   EXPECT_EQ("no route", payloadOf(table, "10.2.0.0/16")) << "covered is no route";
   table.routeWithPayloadIs(prefix("10.1.0.0/16"), {3, "branch"});
   table.routeWithPayloadIs(prefix("0.0.0.0/0"), {4, "other"});
   EXPECT_EQ("branch", payloadOf(table, "10.1.0.0/16"));
   EXPECT_EQ("other", payloadOf(table, "0.0.0.0/0"));
   EXPECT_EQ(3u, table.routes());
}

TEST(PatriciaDataTable, equalPayloadsAreOneObject) {
   // The first object of the class makes its tracker.
   const auto first = Routing::prefixDataFactory();
   const auto* tracker = Routing::PrefixData::memAllocationTracker_;
   const auto before = tracker->liveObjects();
   {
      PatriciaDataTable table(Corenet::ipv6);
      for (U8 length = 32; length <= 128; ++length) {
         table.routeWithPayloadIs(Corenet::Ip6Prefix::cut(prefix("2001:db8::/32").bits<128>(), length),
                                  length % 2 == 0 ? Payload{1, "DE"} : Payload{2, "NL"});
      }
      EXPECT_EQ(97u, table.routes());
      EXPECT_EQ(before + 2, tracker->liveObjects());
      EXPECT_EQ("NL", payloadOf(table, "2001:db8::/127"));
   }
   EXPECT_EQ(before, tracker->liveObjects());
}

TEST(PatriciaDataTable, theProgramPrintsThePayloadOfTheEngine) {
   const Support::Folder folder;
   const auto table = folder.file("table.txt", "0.0.0.0/0 up\n10.0.0.0/8 private\n10.1.0.0/16\n2001:db8::/32 docs\n");
   const auto run = [&](std::vector<std::string> arguments) {
      arguments.insert(arguments.end(), {"--table", table, "--engine", "patricia-data"});
      const auto ran = rtrie(arguments);
      EXPECT_EQ("", ran.err);
      EXPECT_EQ(0, ran.status);
      return ran.out;
   };
   EXPECT_EQ(
      "10.1.2.3/32      10.1.0.0/16\n"
      "10.2.0.0/16      10.0.0.0/8     private\n"
      "2001:db8::1/128  2001:db8::/32  docs\n",
      run({"lookup", "10.1.2.3", "10.2.0.0/16", "2001:db8::1"}));
   EXPECT_EQ(
      "10.1.0.0/16\t0.0.0.0/0\n"
      "10.1.0.0/16\t10.0.0.0/8\n"
      "10.1.0.0/16\t10.1.0.0/16\n"
      "2001:db9::/32\t-\n",
      run({"lookup", "--op", "covering", "--format", "tsv", "10.1.0.0/16", "2001:db9::/32"}));
   EXPECT_EQ("0.0.0.0/0 up\n10.0.0.0/8 private\n10.1.0.0/16\n2001:db8::/32 docs\n", run({"walk"}));
   EXPECT_EQ(
      "IPv4  routes = 3\nPatriciaTrie\n  route[] #3\n    0.0.0.0/0\n    10.0.0.0/8\n    10.1.0.0/16\n"
      "IPv6  routes = 1\nPatriciaTrie\n  route[] #1\n    2001:db8::/32\n",
      run({"dump"}));
}

}  // namespace PatriciaDataTableTest
}  // namespace Rtrie
