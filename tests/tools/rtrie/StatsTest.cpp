// StatsCommand: the program, run over small tables.
#include "tools/rtrie/commands/StatsCommand.h"

#include <nlohmann/json.hpp>

#include "Support.h"
#include "tools/rtrie/Engine.h"
#include "tools/rtrie/Registry.h"

namespace Rtrie {
namespace StatsTest {

using Support::Ran;
using Support::rtrie;
using testing::ContainsRegex;
using testing::HasSubstr;
using testing::Not;

TEST(Stats, bothFamilies) {
   const Support::Folder folder;
   const auto table = folder.file("table",
                                  "10.0.0.0/8\n10.0.0.0/8\n"  // counted once
                                  "10.1.0.0/16\n"             // on the node of the first
                                  "192.0.2.0/24\n192.0.3.0/24\n"
                                  "2001:db8::/32\n");
   for (const auto& [engine, ipv6NodeBytes] : {std::pair("patricia", 56), std::pair("patricia-compact", 40)}) {
      SCOPED_TRACE(engine);
      const Ran ran = rtrie({"stats", "--table", table, "--engine", engine});
      EXPECT_EQ("rtrie: " + table +
                   ": 1 route lost to another of the same prefix (1 in lists, by the last line; 1 of all these said "
                   "the same again); lookup --op exact --format json shows it\n",
                ran.err);
      EXPECT_EQ(0, ran.status);
      EXPECT_THAT(ran.out, ContainsRegex("^engine +" + std::string(engine) + "\n"));
      EXPECT_THAT(ran.out, ContainsRegex("\nroutes +5\n"));
      EXPECT_THAT(ran.out, ContainsRegex("\nload time +[0-9.]+ s \\([0-9,]+ routes a second\\)\n"));

      const auto ipv6At = ran.out.find("\nIPv6\n");
      ASSERT_NE(std::string::npos, ipv6At);
      const std::string ipv4 = ran.out.substr(0, ipv6At);
      const std::string ipv6 = ran.out.substr(ipv6At);
      EXPECT_THAT(ipv4, HasSubstr("\nIPv4\n"));
      EXPECT_THAT(ipv4, ContainsRegex("\n  routes +4\n"));
      EXPECT_THAT(ipv4, ContainsRegex("\n  nodes +5\n"));
      EXPECT_THAT(ipv4, ContainsRegex("\n  live bytes +[0-9]+\n"));
      EXPECT_THAT(ipv4, ContainsRegex("\n  bytes a route +[0-9]+\\.[0-9][0-9]\n"));
      EXPECT_THAT(ipv4, ContainsRegex("\n    /8 +1  #+\n    /16 +1  #+\n    /24 +2  #{50}\n"));
      EXPECT_THAT(ipv6, ContainsRegex("\n  routes +1\n"));
      EXPECT_THAT(ipv6, ContainsRegex("\n  nodes +1\n"));
      EXPECT_THAT(ipv6, ContainsRegex("\n    /32 +1  #{50}\n"));

      const auto at = ipv6.find("live bytes");
      ASSERT_NE(std::string::npos, at);
      EXPECT_GE(std::stoi(ipv6.substr(at + 10)), ipv6NodeBytes);
   }
}

// The table itself: its nodes level by level, and how deep its routes lie.
TEST(Stats, levelsAndDepthOfTheTable) {
   const Support::Folder folder;
   const auto table = folder.file("table", "10.0.0.0/8\n10.16.0.0/12\n10.16.0.0/13\n192.0.2.0/24\n");
   const Ran ran = rtrie({"stats", "--table", table});
   EXPECT_EQ(0, ran.status);
   EXPECT_THAT(ran.out, HasSubstr("\n  nodes          4\n  depth          2.25 nodes on average, 3 at most\n"));
   EXPECT_THAT(ran.out, ContainsRegex("\n  nodes by level\n    bit 0 +1  #+\n    bit 6 +2  #+\n    bit 12 +1  #+\n"));
   EXPECT_THAT(ran.out, ContainsRegex("\n  routes by level\n    bit 6 +3  #+\n    bit 12 +1  #+\n"));
   const auto json = nlohmann::json::parse(rtrie({"stats", "--table", table, "--format", "json"}).out);
   const auto& four = json["families"][0];
   EXPECT_EQ(2.25, four["averageDepth"]);
   EXPECT_EQ(3, four["worstDepth"]);
   EXPECT_EQ(4, four["nodes"]);
   ASSERT_EQ(3U, four["levels"].size());
   // The kinds of the nodes, with their bytes, which are the level's together.
   EXPECT_THAT(ran.out, ContainsRegex("\n  bytes by level\n    bit 0 +32  #+\n"));
   EXPECT_THAT(ran.out, ContainsRegex("\n  nodes by kind\n    bit 0 +nodes +1 +32 bytes\n    bit 6 +nodes +1 +[0-9]+ "
                                      "bytes\n +leaves +1 +[0-9]+ bytes\n    bit 12 +nodes +1 "));
   const auto& six = four["levels"][1];
   ASSERT_EQ(2U, six["kinds"].size());
   EXPECT_EQ("nodes", six["kinds"][0]["name"]);
   EXPECT_EQ("leaves", six["kinds"][1]["name"]);
   EXPECT_EQ(1, six["kinds"][1]["count"]);
   EXPECT_EQ(six["bytes"], six["kinds"][0]["bytes"].get<unsigned>() + six["kinds"][1]["bytes"].get<unsigned>());
   for (const char* format : {"tsv", "csv"}) {
      const char separator = format[0] == 't' ? '\t' : ',';
      EXPECT_THAT(rtrie({"stats", "--table", table, "--format", format}).out,
                  HasSubstr(fmt::format("\nfamilies.ipv4.levels.bit 6.kinds.leaves.count{}1\n", separator)));
   }
   EXPECT_THAT(rtrie({"stats", "--table", table, "--engine", "multibit"}).out, Not(HasSubstr("by kind")));
   // An engine that does not know says nothing.
   EXPECT_THAT(rtrie({"stats", "--table", table, "--engine", "patricia"}).out, Not(HasSubstr("depth")));
}

TEST(Stats, aFamilyWithoutRoutes) {
   const Support::Folder folder;
   const Ran ran = rtrie({"stats", "--table", folder.file("table", "10.0.0.0/8\n")});
   EXPECT_THAT(ran.out, ContainsRegex("\nIPv6\n  routes +0\n$"));
   EXPECT_EQ(0, ran.status);
}

// One count for both families, and beside it what the engine says of itself.
TEST(Stats, theDefaultRouteIsCountedByEveryEngine) {
   const Support::Folder folder;
   const auto table = folder.file("table", "0.0.0.0/0\n10.0.0.0/8\n::/0\n2001:db8::/32\n");
   for (const Engine& engine : engines()) {
      SCOPED_TRACE(engine.name);
      const std::string name(engine.name);
      const Ran stats = rtrie({"stats", "--table", table, "--engine", name});
      const Ran inspect = rtrie({"inspect", "--table", table, "--engine", name, "routes"});
      const Ran dump = rtrie({"dump", "--table", table, "--engine", name});
      for (const std::string family : {"IPv4", "IPv6"}) {
         if (engine.holds(family == "IPv4" ? Corenet::AddressFamily::ipv4 : Corenet::AddressFamily::ipv6)) {
            EXPECT_THAT(stats.out, HasSubstr("\n" + family + "\n  routes         2\n"));
            EXPECT_THAT("\n" + inspect.out, HasSubstr("\n" + family + "  routes = 2\n"));
            EXPECT_THAT("\n" + dump.out, HasSubstr("\n" + family + "  routes = 2\n"));
         }
      }
   }
   const Ran multibit = rtrie({"stats", "--table", table, "--engine", "multibit"});
   EXPECT_THAT(multibit.out, HasSubstr("\n  routes         2\n  engine counts  1 (Routing::Trie::routes)\n"));
   const Ran own = rtrie({"inspect", "--table", table, "--engine", "multibit", "Trie::routes"});
   EXPECT_EQ("IPv4  Trie::routes = 1\n", own.out);
}

TEST(Stats, speaksJson) {
   const Support::Folder folder;
   const auto table = folder.file("table", "0.0.0.0/0\n10.0.0.0/8\n10.1.0.0/16\n2001:db8::/32\n");
   const Ran ran = rtrie({"stats", "--table", table, "--engine", "multibit", "--format", "json"});
   EXPECT_EQ("", ran.err);
   const auto json = nlohmann::json::parse(ran.out);
   EXPECT_EQ("multibit", json["engine"]);
   EXPECT_EQ(4, json["routes"]);
   EXPECT_EQ(4, json["lines"]);
   EXPECT_TRUE(json["readSeconds"].is_number());
   const auto& ipv4 = json["families"][0];
   EXPECT_EQ("ipv4", ipv4["family"]);
   EXPECT_EQ(3, ipv4["routes"]);
   EXPECT_EQ(true, ipv4["held"]);
   EXPECT_EQ(2, ipv4["engineCounts"]["Routing::Trie::routes"]);
   EXPECT_EQ(nlohmann::json({{"0", 1}, {"8", 1}, {"16", 1}}), ipv4["routesByLength"]);
   EXPECT_TRUE(ipv4["liveBytes"].is_number_unsigned());
   EXPECT_EQ(6U, ipv4["levels"].size());
   EXPECT_EQ(false, json["families"][1]["held"]);
   EXPECT_EQ(2, rtrie({"stats", "--table", table, "--format", "xml"}).status);
}

// What the text form tells on standard error.
TEST(Stats, jsonTellsWhatDoesNotAnswer) {
   const Support::Folder folder;
   const auto table = folder.file("table",
                                  "10.0.0.0/8 via 192.0.2.7 dev d0\n"
                                  "10.0.0.0/8 via 192.0.2.9 dev d0 metric 50\n"
                                  "10.1.0.0/16 via 192.0.2.7 dev d0 table 100\n"
                                  "10.2.0.0/16 via 192.0.2.7 dev d0 table 100\n"
                                  "10.3.0.0/16 via 192.0.2.7 dev d0 table 100\n"
                                  "10.4.0.0/16 tos 0x10 via 192.0.2.7 dev d0\n"
                                  "10.5.0.0/16 tos 0x10 via 192.0.2.7 dev d0\n"
                                  "10.6.0.0/33 via 192.0.2.7 dev d0\n"
                                  "10.7.0.0/33 via 192.0.2.7 dev d0\n"
                                  "10.8.0.0/33 via 192.0.2.7 dev d0\n"
                                  "10.9.0.0/33 via 192.0.2.7 dev d0\n");
   const auto json = nlohmann::json::parse(rtrie({"stats", "--table", table, "--format", "json"}).out);
   EXPECT_EQ(1, json["routes"]);
   EXPECT_EQ(11, json["lines"]);
   EXPECT_EQ(1, json["lost"]);
   EXPECT_EQ(2, json["bound"]);
   EXPECT_EQ(3, json["leftOut"]);
   EXPECT_EQ(4, json["faults"]);
}

TEST(Stats, badLinesAndTables) {
   const Support::Folder folder;
   const auto bad = folder.file("bad", "10.0.0.0/8\n10.0.0.0/33\n");
   Ran ran = rtrie({"stats", "--table", bad});
   EXPECT_THAT(ran.out, ContainsRegex("\nroutes +1\n"));
   EXPECT_EQ("rtrie: " + bad + ":2: prefix length 33 exceeds 32: \"10.0.0.0/33\"\nrtrie: " + bad +
                ": 1 bad line left out of 2\n",
             ran.err);
   EXPECT_EQ(1, ran.status);

   ran = rtrie({"stats", "--strict", "--table", bad});
   EXPECT_EQ("", ran.out);
   EXPECT_EQ(3, ran.status);

   ran = rtrie({"stats", "--table", folder.file("empty", "")});
   EXPECT_THAT(ran.err, testing::EndsWith("empty: the table has no routes\n"));
   EXPECT_EQ(3, ran.status);

   ran = rtrie({"stats", "--table", bad, "--engine", "radix"});
   EXPECT_EQ("rtrie: unknown engine \"radix\": known are " + namesOf(engines()) + "\n", ran.err);
   EXPECT_EQ(2, ran.status);

   ran = rtrie({"stats", "--table", bad, "10.0.0.1"});
   EXPECT_THAT(ran.err, HasSubstr("10.0.0.1"));
   EXPECT_EQ(2, ran.status);
}

TEST(Stats, tableFromStandardInput) {
   const Ran ran = rtrie({"stats", "--table", "-"}, "10.0.0.0/8\n");
   EXPECT_THAT(ran.out, ContainsRegex("\nroutes +1\n"));
   EXPECT_THAT(ran.err, Not(HasSubstr("rtrie")));
   EXPECT_EQ(0, ran.status);
}

// Each row is what the object has under that name.
TEST(Stats, speaksRows) {
   const Support::Folder folder;
   const auto table = folder.file("table", "0.0.0.0/0\n10.0.0.0/8\n10.1.0.0/16\n2001:db8::/32\n");
   const std::vector<std::string> command = {"stats", "--table", table, "--engine", "multibit", "--format"};
   const auto as = [&](const char* format) {
      auto arguments = command;
      arguments.emplace_back(format);
      return rtrie(arguments).out;
   };
   const std::string tsv = as("tsv");
   EXPECT_THAT(tsv, testing::StartsWith("engine\tmultibit\nroutes\t4\nlines\t4\n"));
   EXPECT_THAT(tsv, HasSubstr("\nfamilies.ipv4.routes\t3\n"));
   EXPECT_THAT(tsv, HasSubstr("\nfamilies.ipv4.routesByLength.16\t1\n"));
   EXPECT_THAT(tsv, HasSubstr("\nfamilies.ipv6.held\tfalse\n"));
   EXPECT_THAT(tsv, HasSubstr("\nfamilies.ipv4.levels.0 (/1 to /8).routes\t1\n"));
   EXPECT_THAT(as("csv"), testing::StartsWith("figure,value\nengine,multibit\n"));
}

}  // namespace StatsTest
}  // namespace Rtrie
