// UpdateLines: the signed lines, and all that `ip monitor` prints.
#include "tools/rtrie/UpdateLines.h"

#include <cstdint>

#include <fmt/format.h>

#include "Support.h"
#include "tools/rtrie/Errors.h"

namespace Rtrie {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

// "+ PREFIX PAYLOAD", with "k" behind the sign for a place in a kernel's table.
struct Collected {
   std::vector<std::string> updates;
   std::vector<std::string> faults;
   std::uint64_t otherTables = 0;
   std::uint64_t forSomePackets = 0;
   std::uint64_t otherObjects = 0;
};

// flushAfter: lines after which nothing comes for a while.
Collected collected(const std::vector<std::string>& lines, bool flushesAfterEach = false) {
   Collected all;
   UpdateLines reader([&](const RouteUpdate& update) {
      all.updates.push_back(fmt::format("{}{} {}{}{}", update.isWithdrawal ? '-' : '+', update.isKernels ? "k" : "",
                                        update.prefix.stringValue(), update.payload.empty() ? "" : " ",
                                        update.payload));
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
   all.otherTables = reader.otherTables();
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
   EXPECT_EQ("metric is no number of 32 bits: \"ton\"", all.faults[7]);
}

TEST(UpdateLines, MetricAndNextHopsOfARoute) {
   EXPECT_EQ(0U, metricOf("via 192.0.2.7 dev d0"));
   EXPECT_EQ(50U, metricOf("via 192.0.2.7 metric 50 mtu 1400"));
   EXPECT_EQ(4294967295U, metricOf("metric 4294967295"));
   EXPECT_THROW(metricOf("metric 4294967296"), BadText);
   EXPECT_THROW(metricOf("metric ton"), BadText);
   EXPECT_EQ("", nextHopsOf("unreachable metric 5"));
   EXPECT_EQ("via 192.0.2.7 dev d0 ", nextHopsOf("via 192.0.2.7 dev d0 expires 9sec"));
}

}  // namespace
}  // namespace Rtrie
