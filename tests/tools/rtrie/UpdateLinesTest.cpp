// UpdateLines: the signed lines, and all that `ip monitor` prints.
#include "tools/rtrie/UpdateLines.h"

#include <cstdint>
#include <random>

#include <fmt/format.h>

#include "Support.h"
#include "tools/rtrie/Errors.h"

namespace Rtrie {
namespace UpdateLinesTest {

using testing::ElementsAre;
using testing::IsEmpty;

// "+ PREFIX PAYLOAD", with "k" behind the sign for a place in a kernel's table.
struct Collected {
   std::vector<std::string> updates;
   std::vector<std::string> faults;
   std::vector<std::string> places;  // "100 20": routing table and metric of each of a kernel
   std::uint64_t otherTables = 0;
   std::string otherTableNames;
   std::uint64_t forSomePackets = 0;
   std::uint64_t otherObjects = 0;
};

// flushesAfterEach: after each line nothing comes for a while.
Collected collected(const std::vector<std::string>& lines, bool flushesAfterEach = false,
                    const Selection& selection = {}) {
   Collected all;
   UpdateLines reader(selection, [&](const RouteUpdate& update) {
      all.updates.push_back(fmt::format("{}{} {}{}{}{}", update.isWithdrawal ? '-' : '+',
                                        update.choice == Choice::metric ? "k" : "", update.prefix.stringValue(),
                                        update.payload.empty() ? "" : " ", update.payload,
                                        update.answers ? "" : " (dead)"));
      if (update.choice == Choice::metric) {
         all.places.push_back(fmt::format("{} {}", update.source, metricOfRank(update.rank)));
      }
   });
   for (const auto& line : lines) {
      try {
         reader.line(line);
      } catch (const BadText& fault) {
         all.faults.emplace_back(fault.what());
      }
      if (flushesAfterEach) {
         reader.flush();
      }
   }
   reader.flush();
   all.otherTables = reader.otherTables().count();
   all.otherTableNames = reader.otherTables().names();
   all.forSomePackets = reader.forSomePackets();
   all.otherObjects = reader.otherObjects();
   return all;
}

TEST(UpdateLines, SignedLinesHavePayloads) {
   const auto all =
      collected({"+ 10.0.0.0/8", "+ 10.1.0.0/16 via  192.0.2.1 # a comment", "- 10.0.0.0/8", "", "# nothing",
                 "1700000000 a 2001:db8::/32 65000 65001", "1700000000.5 w 2001:db8::/32"});
   EXPECT_THAT(all.faults, IsEmpty());
   EXPECT_THAT(all.updates, ElementsAre("+ 10.0.0.0/8", "+ 10.1.0.0/16 via  192.0.2.1", "- 10.0.0.0/8",
                                        "+ 2001:db8::/32 65000 65001", "- 2001:db8::/32"));
}

// As `ip monitor route` printed it in a network namespace.
TEST(UpdateLines, RoutesAsTheKernelTellsThem) {
   const auto all = collected(
      {"10.0.0.0/8 via 192.0.2.7 dev d0 ", "10.0.0.0/8 via 192.0.2.9 dev d0 metric 50 ",
       "Deleted 10.0.0.0/8 via 192.0.2.9 dev d0 metric 50 ", "unreachable 10.9.0.0/16 ",
       "prohibit 10.7.0.0/16 metric 9 ", "default proto static metric 20 ",
       "\tnexthop via 192.0.2.7 dev d0 weight 1 ", "\tnexthop via 192.0.2.8 dev d0 weight 2 ",
       "Deleted default proto static metric 20 ", "\tnexthop via 192.0.2.7 dev d0 weight 1 ",
       "\tnexthop via 192.0.2.8 dev d0 weight 2 ", "default via 192.0.2.1 dev d0 ",
       "10.4.0.0/16 via inet6 2001:db8::7 dev d0 ", "10.6.0.0/16 nhid 1 via 192.0.2.8 dev d0 ",
       "default via 2001:db8::7 dev d0 metric 1024 pref medium",
       "Deleted default via 2001:db8::7 dev d0 metric 1024 pref medium", "2001:db8:2::/48 metric 1024 pref medium",
       "\tnexthop via 2001:db8::7 dev d0 weight 1 ", "\tnexthop via 2001:db8::8 dev d0 weight 1 "});
   EXPECT_THAT(all.faults, IsEmpty());
   EXPECT_THAT(
      all.updates,
      ElementsAre(
         "+k 10.0.0.0/8 via 192.0.2.7 dev d0", "+k 10.0.0.0/8 via 192.0.2.9 dev d0 metric 50",
         "-k 10.0.0.0/8 via 192.0.2.9 dev d0 metric 50", "+k 10.9.0.0/16 unreachable",
         "+k 10.7.0.0/16 prohibit metric 9",
         "+k 0.0.0.0/0 proto static metric 20 nexthop via 192.0.2.7 dev d0 weight 1 nexthop via 192.0.2.8 dev d0 "
         "weight 2",
         "-k 0.0.0.0/0 proto static metric 20 nexthop via 192.0.2.7 dev d0 weight 1 nexthop via 192.0.2.8 dev d0 "
         "weight 2",
         "+k 0.0.0.0/0 via 192.0.2.1 dev d0", "+k 10.4.0.0/16 via inet6 2001:db8::7 dev d0",
         "+k 10.6.0.0/16 nhid 1 via 192.0.2.8 dev d0", "+k ::/0 via 2001:db8::7 dev d0 metric 1024 pref medium",
         "-k ::/0 via 2001:db8::7 dev d0 metric 1024 pref medium",
         "+k 2001:db8:2::/48 metric 1024 pref medium nexthop via 2001:db8::7 dev d0 weight 1 nexthop via "
         "2001:db8::8 dev d0 weight 1"));
   EXPECT_EQ(0U, all.otherTables + all.forSomePackets + all.otherObjects);
}

TEST(UpdateLines, TimesAndLabels) {
   const auto all = collected({"Timestamp: Sun Nov 22 00:35:11 2026 60275 usec", "10.0.0.0/8 via 192.0.2.7 dev d0 ",
                               "[2026-11-22T00:35:11.059831] [ROUTE]10.1.0.0/16 via 192.0.2.7 dev d0 ",
                               "[2026-11-22T00:35:11.059831] Deleted 10.1.0.0/16 via 192.0.2.7 dev d0 ",
                               "[nsid 0][ROUTE]Deleted default proto static metric 20 ",
                               "\tnexthop via 192.0.2.7 dev d0 weight 1 "});
   EXPECT_THAT(all.faults, IsEmpty());
   EXPECT_THAT(all.updates, ElementsAre("+k 10.0.0.0/8 via 192.0.2.7 dev d0", "+k 10.1.0.0/16 via 192.0.2.7 dev d0",
                                        "-k 10.1.0.0/16 via 192.0.2.7 dev d0",
                                        "-k 0.0.0.0/0 proto static metric 20 nexthop via 192.0.2.7 dev d0 weight 1"));
}

// `ip monitor all`, and `ip monitor link address route neigh rule`, which labels nothing.
TEST(UpdateLines, WhatIsNoRouteOfTheMainTableIsPassedOver) {
   auto all = collected(
      {"[NEIGH]192.0.2.7 dev d0 lladdr 02:00:00:00:00:01 PERMANENT ", "[NEIGH]Deleted 192.0.2.7 dev d0 FAILED ",
       "[NEXTHOP]id 1 via 192.0.2.8 dev d0 scope link ", "[RULE]32765:\tfrom 10.0.0.0/8 lookup 100",
       "[ADDR]3: d0    inet 192.0.2.99/24 scope global secondary d0",
       "       valid_lft forever preferred_lft forever",
       "[LINK]3: d0@d1: <BROADCAST,MULTICAST> mtu 1500 qdisc noqueue state DOWN group default ",
       "    link/ether 5a:44:1b:15:f0:d0 brd ff:ff:ff:ff:ff:ff", "[ROUTE]10.3.0.0/16 via 192.0.2.7 dev d0 table 100 ",
       "[ROUTE]Deleted local 192.0.2.1 dev d0 table local proto kernel scope host src 192.0.2.1 ",
       "[ROUTE]default proto static table 100 ", "\tnexthop via 192.0.2.7 dev d0 weight 1 ",
       "[ROUTE]10.3.0.0/16 tos 0x10 via 192.0.2.7 dev d0 ",
       "[ROUTE]default from 2001:db8::/64 via 2001:db8::7 dev d0 metric 1024 pref medium"});
   EXPECT_THAT(all.faults, IsEmpty());
   EXPECT_THAT(all.updates, IsEmpty());
   EXPECT_EQ(6U, all.otherObjects);
   EXPECT_EQ(3U, all.otherTables);
   EXPECT_EQ(2U, all.forSomePackets);
   all = collected({"192.0.2.7 dev d0 lladdr 02:00:00:00:00:01 PERMANENT ", "Deleted 192.0.2.7 dev d0 FAILED ",
                    "id 1 via 192.0.2.8 dev d0 scope link ", "32765:\tfrom 10.0.0.0/8 lookup 100",
                    "Deleted 3: d0    inet 192.0.2.99/24 scope global secondary d0",
                    "       valid_lft forever preferred_lft forever",
                    "3: d0@d1: <BROADCAST,MULTICAST> mtu 1500 qdisc noqueue state DOWN group default ",
                    "    link/ether 5a:44:1b:15:f0:d0 brd ff:ff:ff:ff:ff:ff", "10.0.0.0/8 via 192.0.2.7 dev d0 "});
   EXPECT_THAT(all.faults, IsEmpty());
   EXPECT_THAT(all.updates, ElementsAre("+k 10.0.0.0/8 via 192.0.2.7 dev d0"));
   EXPECT_EQ(6U, all.otherObjects);
}

TEST(UpdateLines, NextHopsThatComeLateAreTakenIn) {
   const auto all =
      collected({"default proto static ", "\tnexthop via 192.0.2.7 dev d0 ", "\tnexthop via 192.0.2.8 dev d0 ",
                 "Deleted default proto static ", "\tnexthop via 192.0.2.7 dev d0 "},
                true);
   EXPECT_THAT(all.faults, IsEmpty());
   EXPECT_THAT(all.updates,
               ElementsAre("+k 0.0.0.0/0 proto static", "+k 0.0.0.0/0 proto static nexthop via 192.0.2.7 dev d0",
                           "+k 0.0.0.0/0 proto static nexthop via 192.0.2.7 dev d0 nexthop via 192.0.2.8 dev d0",
                           "-k 0.0.0.0/0 proto static"));
}

TEST(UpdateLines, WhatIsNoneIsQuoted) {
   const auto all =
      collected({"* 10.0.0.0/8", "+ 10.0.0.0/33", "+", "10.0.0.0/33 via 192.0.2.7", "1700000000 x 10.0.0.0/8",
                 "Deleted nothing", "unreachable", "10.0.0.0/8 via 192.0.2.7 metric ton"});
   EXPECT_THAT(all.updates, IsEmpty());
   ASSERT_EQ(8U, all.faults.size());
   EXPECT_EQ(
      "not an update, known are \"+ PREFIX\", \"- PREFIX\", \"TIME a PREFIX\", \"TIME w PREFIX\" and what ip monitor "
      "prints: \"* 10.0.0.0/8\"",
      all.faults[0]);
   EXPECT_EQ("prefix length 33 exceeds 32: \"10.0.0.0/33\"", all.faults[1]);
   EXPECT_EQ("metric \"ton\" is no number of 32 bits", all.faults[7]);
}

// Lines of other routing tables than the selected one are left out, and named.
TEST(UpdateLines, OneRoutingTableOfTheKernel) {
   const std::vector<std::string> lines = {
      "10.0.0.0/8 via 192.0.2.7 dev d0 ",
      "10.0.0.0/8 via 192.0.2.7 dev d0 table main ",
      "10.1.0.0/16 via 192.0.2.7 dev d0 table 100 metric 5 ",
      "Deleted local 192.0.2.1 dev d0 table local proto kernel scope host src 192.0.2.1 ",
      "default proto static table 100 ",
      "\tnexthop via 192.0.2.7 dev d0 weight 1 ",
      "default proto static table local ",
      "\tnexthop via 192.0.2.7 dev d0 weight 1 "};
   auto all = collected(lines);
   EXPECT_THAT(all.updates,
               ElementsAre("+k 10.0.0.0/8 via 192.0.2.7 dev d0", "+k 10.0.0.0/8 via 192.0.2.7 dev d0 table main"));
   EXPECT_THAT(all.places, ElementsAre("254 0", "254 0"));
   EXPECT_EQ(4U, all.otherTables);
   EXPECT_EQ("100 (2), local (2)", all.otherTableNames);
   Selection selection;
   selection.routeTable = "100";
   all = collected(lines, false, selection);
   EXPECT_THAT(all.updates, ElementsAre("+k 10.1.0.0/16 via 192.0.2.7 dev d0 table 100 metric 5",
                                        "+k 0.0.0.0/0 proto static table 100 nexthop via 192.0.2.7 dev d0 weight 1"));
   EXPECT_THAT(all.places, ElementsAre("100 5", "100 0"));
   EXPECT_EQ("local (2), main (2)", all.otherTableNames);
   selection = {};
   selection.allRouteTables = true;
   all = collected(lines, false, selection);
   EXPECT_THAT(all.places, ElementsAre("254 0", "254 0", "100 5", "255 0", "100 0", "255 0"));
   EXPECT_EQ(0U, all.otherTables);
}

TEST(UpdateLines, ARouteWithoutALivingNextHopAnswersNothing) {
   const auto all = collected({"10.0.0.0/8 via 192.0.2.7 dev d0 dead linkdown ", "default proto static ",
                               "\tnexthop via 192.0.2.7 dev d0 weight 1 dead linkdown ",
                               "default via 2001:db8::7 dev d0 metric 1024 dead pref medium"});
   EXPECT_THAT(all.faults, IsEmpty());
   EXPECT_THAT(all.updates,
               ElementsAre("+k 10.0.0.0/8 via 192.0.2.7 dev d0 dead linkdown (dead)",
                           "+k 0.0.0.0/0 proto static nexthop via 192.0.2.7 dev d0 weight 1 dead linkdown (dead)",
                           "+k ::/0 via 2001:db8::7 dev d0 metric 1024 dead pref medium (dead)"));
}

// `ip -o monitor route`, `ip -d monitor route`, and the routes by label that stand between the others.
// `ip -o -d monitor route`, and -N, which has numbers for names.
TEST(UpdateLines, NextHopsBehindWhatTheirIdStandsForAndNumbersForNames) {
   const auto all = collected({"unicast 10.1.0.0/16 nhid 10 table main ",
                               "\tnh_info id 10 group 1/2 \\\tnexthop via 192.0.2.8 dev d0 weight 1 \\\tnexthop via "
                               "192.0.2.9 dev d0 weight 1 ",
                               "6 10.3.0.0/16 ", "Deleted 2 fe80::1 dev d0 table 255 proto 2 metric 0 pref medium",
                               "12 10.3.0.0/16"});
   EXPECT_THAT(all.updates, ElementsAre("+k 10.1.0.0/16 unicast nhid 10 table main nexthop via 192.0.2.8 dev d0 "
                                        "weight 1 nexthop via 192.0.2.9 dev d0 weight 1",
                                        "+k 10.3.0.0/16 6"));
   EXPECT_EQ(1U, all.otherTables);
   EXPECT_EQ(1U, all.faults.size());
}

TEST(UpdateLines, OneLineARouteAndRoutesByLabel) {
   const auto all = collected(
      {"default proto static metric 20 \\\tnexthop via 192.0.2.7 dev d0 weight 1 \\\tnexthop via 192.0.2.8 dev d0 "
       "weight 2 ",
       "unicast 10.0.0.0/8 via 192.0.2.7 dev d0 proto boot scope global ",
       "unicast 10.1.0.0/16 nhid 10 table main proto boot scope global ",
       "\tnh_info id 10 group 1/2 scope global proto unspec ", "\tnexthop via 192.0.2.8 dev d0 weight 1 ",
       "100 as to 200 via inet 192.0.2.7 dev d0 ",
       "Deleted 100 as to 200/300 via inet 192.0.2.7 dev d0 proto static ", "101 proto static ",
       "\tnexthop as to 200 via inet 192.0.2.7 dev d0"});
   EXPECT_THAT(all.faults, IsEmpty());
   EXPECT_THAT(
      all.updates,
      ElementsAre(
         "+k 0.0.0.0/0 proto static metric 20 nexthop via 192.0.2.7 dev d0 weight 1 "
         "nexthop via 192.0.2.8 dev d0 weight 2",
         "+k 10.0.0.0/8 unicast via 192.0.2.7 dev d0 proto boot scope global",
         "+k 10.1.0.0/16 unicast nhid 10 table main proto boot scope global nexthop via 192.0.2.8 dev d0 weight 1"));
   EXPECT_EQ(3U, all.otherObjects);
}

// Whatever has become of it on its way, a line is an update, passed over or told; and what is there afterwards is read.
TEST(UpdateLines, damagedOnesAreReadOrTold) {
   const auto seed = std::random_device()();
   SCOPED_TRACE(fmt::format("seed {}", seed));
   std::mt19937 random(seed);
   const std::vector<std::string> whole = {
      "Timestamp: Sun Nov 22 11:29:31 2026 853818 usec",
      "[ROUTE]10.20.0.0/16 via 192.0.2.1 dev d0 ",
      "[2026-11-22T11:29:31.854036] 10.20.0.0/16 via 192.0.2.2 dev d0 ",
      "[ROUTE]Deleted 2001:db8:2::/48 metric 1024 pref medium",
      "\tnexthop via 2001:db8::2 dev d0 weight 1 ",
      "Deleted blackhole 10.1.0.0/16 table 100 ",
      "unicast 10.1.0.0/16 nhid 10 table main proto boot scope global ",
      "\tnh_info id 10 group 1/2 scope global proto unspec ",
      "7: d1@d0: <BROADCAST,MULTICAST,UP,LOWER_UP> mtu 1500 ",
      "    link/ether 02:00:00:00:00:01 brd ff:ff:ff:ff:ff:ff",
      "+ 192.0.2.0/24 customer 7",
      "- 10.0.0.0/8",
   };
   for (int round = 0; round < 300; ++round) {
      std::vector<std::string> lines;
      for (int i = 0; i < 10; ++i) {
         auto line = whole[random() % whole.size()];
         for (auto changes = random() % 4; changes > 0 && !line.empty(); --changes) {
            const auto at = random() % line.size();
            switch (random() % 4) {
               case 0: line[at] = static_cast<char>(random()); break;
               case 1: line.erase(at, random() % 10); break;
               case 2: line.insert(at, line.substr(random() % line.size(), random() % 20)); break;
               default: line.resize(at); break;
            }
         }
         lines.push_back(line);
      }
      lines.emplace_back("+ 203.0.113.0/24 after");
      const auto all = collected(lines, random() % 2 == 0);
      ASSERT_FALSE(all.updates.empty()) << testing::PrintToString(lines);
      EXPECT_EQ("+ 203.0.113.0/24 after", all.updates.back()) << testing::PrintToString(lines);
      EXPECT_LE(all.updates.size(), lines.size());
   }
}

}  // namespace UpdateLinesTest
}  // namespace Rtrie
