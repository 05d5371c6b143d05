// CSV, registries' files, JSON with faults, and lines as the tools print them that the fixtures do not have.
#include "tests/tools/tables/Fixtures.h"
#include "tools/tables/JsonReader.h"
#include "tools/tables/formats/CsvLines.h"

namespace Rtrie {
namespace MoreFormatsTest {

using Support::loadedText;
using testing::ElementsAre;
using testing::HasSubstr;

std::vector<std::string> routesOf(std::string_view text) { return loadedText(text).routes; }

TEST(CsvLines, aHeaderNamesTheColumns) {
   EXPECT_THAT(routesOf("asn,Prefix,name\n65000,10.0.0.0/8,\"a, \"\"b\"\"\"\n1,2001:db8::/32,c\n"),
               ElementsAre("10.0.0.0/8 65000,a, \"b\"", "2001:db8::/32 1,c"));
   EXPECT_THAT(routesOf("network;cc\n10.0.0.0/8;DE\n"), ElementsAre("10.0.0.0/8 DE"));
   EXPECT_THAT(routesOf("cidr\tcc\n10.0.0.0/8\tDE\n"), ElementsAre("10.0.0.0/8 DE"));
   EXPECT_THAT(routesOf("prefix\n10.0.0.0/8\n"), ElementsAre("10.0.0.0/8"));
   EXPECT_THAT(routesOf("address,netmask,name\n10.0.0.0,255.0.0.0,a\n11.0.0.0,8,b\n"),
               ElementsAre("10.0.0.0/8 a", "11.0.0.0/8 b"));
   EXPECT_THAT(routesOf("Start IP,End IP,cc\n10.0.0.0,10.0.0.5,DE\n"),
               ElementsAre("10.0.0.0/30 DE", "10.0.0.4/31 DE"));
   EXPECT_FALSE(csvColumnsOf("10.0.0.0/8,DE"));
   EXPECT_FALSE(csvColumnsOf("name,country"));
}

TEST(CsvLines, faults) {
   const auto told = loadedText("prefix,cc\n10.0.0.0/8\n10.0.0.0/33,DE\n\"11.0.0.0/8,DE\n12.0.0.0/8,DE\n").told;
   EXPECT_THAT(told, HasSubstr(":2: 1 field where the header has 2: \"10.0.0.0/8\""));
   EXPECT_THAT(told, HasSubstr(":3: prefix length 33 exceeds 32"));
   EXPECT_THAT(told, HasSubstr(":4: a quoted field without an end"));
   EXPECT_THAT(told, HasSubstr("3 bad lines left out of 5"));
   EXPECT_THAT(loadedText("start,end\n10.0.0.5,10.0.0.0\n10.0.0.0,10.0.0.1\n").told,
               HasSubstr("first address of the range exceeds its last"));
}

constexpr std::string_view delegated =
   "2|ripencc|1700000000|5|19830705|20231114|+0100\n"
   "ripencc|*|ipv4|*|3|summary\n"
   "ripencc|FR|ipv4|2.0.0.0|1048576|20100712|allocated|id\n"
   "ripencc|DE|ipv4|192.0.2.0|768|20100712|assigned|id\n"
   "ripencc||ipv4|198.51.100.0|256||available|\n"
   "ripencc|GB|ipv6|2001:600::|32|19990826|allocated|id\n"
   "ripencc|GB|asn|7|1|19930901|allocated|id\n";

TEST(DelegatedLines, countsBecomePrefixes) {
   const auto loaded = loadedText(delegated);
   EXPECT_EQ("", loaded.told);
   EXPECT_THAT(loaded.routes,
               ElementsAre("2.0.0.0/12 FR allocated", "192.0.2.0/23 DE assigned", "192.0.4.0/24 DE assigned",
                           "198.51.100.0/24 available", "2001:600::/32 GB allocated"));
   const auto faults =
      loadedText(std::string(delegated) + "ripencc|FR|ipv4|255.255.255.0|257|20100712|allocated\n" +
                 "ripencc|FR|ipv4|10.0.0.0|0|20100712|allocated\nripencc|FR|ipv7|10.0.0.0|1|20100712|allocated\n" +
                 "ripencc|FR|ipv4|10.0.0.0|x|20100712|allocated\n");
   EXPECT_EQ(4U, faults.report.faults);
   EXPECT_EQ(loaded.routes, faults.routes);
   EXPECT_THAT(faults.told, HasSubstr("257 addresses from 255.255.255.0 on"));
}

TEST(HostBits, areRefusedOrMasked) {
   for (const auto text :
        {"10.1.2.3/8 a\n11.0.0.0/8 b\n", "prefix,x\n10.1.2.3/8,a\n11.0.0.0/8,b\n", "[\"10.1.2.3/8\",\"11.0.0.0/8\"]",
         "[{\"dst\":\"10.1.2.3/8\",\"dev\":\"a\"},{\"dst\":\"11.0.0.0/8\",\"dev\":\"b\"}]"}) {
      const auto refused = loadedText(text);
      EXPECT_EQ(1U, refused.routes.size()) << text;
      EXPECT_THAT(refused.told, HasSubstr("address has bits set past the prefix length"));
      LoadOptions options;
      options.masksHostBits = true;
      const auto masked = loadedText(text, options);
      ASSERT_EQ(2U, masked.routes.size()) << text << masked.told;
      EXPECT_THAT(masked.routes[0], testing::StartsWith("10.0.0.0/8")) << text;
      EXPECT_THAT(masked.told, HasSubstr("1 prefix with bits past the length, which were cleared")) << text;
      EXPECT_EQ(0U, masked.report.faults) << text;
   }
   LoadOptions options;
   options.masksHostBits = true;
   EXPECT_THAT(loadedText("10.0.0.0/33\n11.0.0.0/8\n", options).told, HasSubstr("prefix length 33 exceeds 32"));
}

TEST(JsonReader, whatIsThereBeforeAFaultIsRead) {
   const auto loaded = loadedText("[{\"dst\":\"10.0.0.0/8\",\"dev\":\"a\"},{\"dst\":\"11.0.0.0/8\" oops");
   EXPECT_THAT(loaded.routes, ElementsAre("10.0.0.0/8 dev a"));
   EXPECT_THAT(loaded.told, HasSubstr("not JSON from here on: line 1, column "));
   EXPECT_EQ(1U, loaded.report.faults);
}

TEST(JsonReader, documentsMayFollowEachOther) {
   EXPECT_THAT(
      routesOf(
         "[{\"dst\":\"default\",\"gateway\":\"192.0.2.1\",\"dev\":\"a\",\"flags\":[\"onlink\"]}]\n"
         "[{\"dst\":\"default\",\"gateway\":\"fe80::1\",\"dev\":\"a\",\"metric\":1024,\"pref\":\"medium\"}]\n[ ]\n"),
      ElementsAre("0.0.0.0/0 via 192.0.2.1 dev a onlink", "::/0 via fe80::1 dev a metric 1024 pref medium"));
}

TEST(JsonReader, bombsEndInAnError) {
   std::string deep = "[";
   for (int i = 0; i < 100'000; ++i) {
      deep += "[";
   }
   EXPECT_THAT(loadedText(deep).told, HasSubstr("nested deeper than 32"));
   EXPECT_THAT(loadedText("[\"" + std::string(5'000'000, '1')).told, HasSubstr("an entry longer than 1048576 bytes"));
   EXPECT_THAT(loadedText("{\"" + std::string(5'000'000, '1')).told, HasSubstr("an entry longer than 1048576 bytes"));
   EXPECT_THAT(loadedText("[{\"a\":1},2,{\"dst\":5}]").told, HasSubstr("entry 1: no route of a kind that is known"));
}

TEST(JsonReader, isTold) {
   EXPECT_TRUE(isJson(" \n[ {"));
   EXPECT_TRUE(isJson("{\"NN\": []}"));
   EXPECT_TRUE(isJson("[]"));
   EXPECT_FALSE(isJson("[::]/0 :: UG"));
   EXPECT_FALSE(isJson("10.0.0.0/8"));
   EXPECT_FALSE(isJson(""));
}

TEST(FrrLines, oddLines) {
   const auto loaded = loadedText(
      "Codes: K - kernel route, C - connected, S - static\n"
      "VRF blue:\n"
      "B>* 10.9.0.0/16 [20/0] via 192.0.2.9, eth9, weight 1, 01:02:03\n"
      "VRF default:\n"
      "S   10.1.0.0/16 [1/0] via 203.0.113.1 inactive, weight 1, 00:00:04\n"
      "O   10.2.0.0/16 [110/20] via 192.0.2.2, eth0, weight 1, 1d02h03m\n"
      "B>r 10.2.0.0/16 [20/5] via 192.0.2.3, eth0, label 16/17, weight 1, 02w3d04h\n"
      "  *                    via 192.0.2.4, eth1, src 192.0.2.1, weight 2, 02w3d04h\n"
      "oops\n"
      "K * 10.3.0.0/16 [0/0] unreachable (ICMP admin-prohibited), 00:00:07\n");
   EXPECT_THAT(
      loaded.routes,
      ElementsAre(
         "10.2.0.0/16 proto bgp distance 20 metric 5 nexthop via 192.0.2.3 dev eth0 label 16/17 weight 1 nexthop "
         "via 192.0.2.4 dev eth1 src 192.0.2.1 weight 2",
         "10.3.0.0/16 prohibit proto kernel distance 0"));
   EXPECT_THAT(loaded.candidates,
               ElementsAre("10.2.0.0/16 via 192.0.2.2 dev eth0 proto ospf distance 110 metric 20"));
   EXPECT_THAT(loaded.told, HasSubstr(":9: no line of show ip route: \"oops\""));
   EXPECT_THAT(loaded.told, HasSubstr("1 line of other routing tables left out: blue (1)"));
   // A listing of one VRF alone is that one.
   EXPECT_THAT(routesOf("Codes: K - kernel route\nVRF red:\nS>* 10.9.0.0/16 [1/0] via 192.0.2.9, eth9, 00:00:01\n"),
               ElementsAre("10.9.0.0/16 via 192.0.2.9 dev eth9 proto static distance 1"));
}

// The default VRF's tables go by number, but for the main one; other VRFs have one each.
TEST(FrrLines, severalTablesOfAVrf) {
   const std::string_view text =
      "Codes: K - kernel route\n"
      "VRF default table 100:\nK>* 10.1.0.0/16 [0/0] via 192.0.2.1, eth0, 00:00:04\n\n"
      "VRF default table 254:\nK>* 10.2.0.0/16 [0/0] via 192.0.2.2, eth0, 00:00:04\n"
      "VRF red table 1001:\nK>* 10.3.0.0/16 [0/0] via 192.0.2.3, eth0, 00:00:04\n";
   const std::string_view json =
      R"({"10.1.0.0/16":[{"prefix":"10.1.0.0/16","protocol":"kernel","vrfName":"default","selected":true,"table":100,
      "nexthops":[{"ip":"192.0.2.1","interfaceName":"eth0","active":true}]}],
      "10.2.0.0/16":[{"prefix":"10.2.0.0/16","protocol":"kernel","vrfName":"default","selected":true,"table":254,
      "nexthops":[{"ip":"192.0.2.2","interfaceName":"eth0","active":true}]}],
      "10.3.0.0/16":[{"prefix":"10.3.0.0/16","protocol":"kernel","vrfName":"red","selected":true,"table":1001,
      "nexthops":[{"ip":"192.0.2.3","interfaceName":"eth0","active":true}]}]})";
   for (const auto listing : {text, json}) {
      const auto routes = [&](std::string_view table) {
         LoadOptions options;
         options.routeTable = table;
         return loadedText(listing, options).routes;
      };
      const auto main = loadedText(listing);
      EXPECT_THAT(main.routes, ElementsAre("10.2.0.0/16 via 192.0.2.2 dev eth0 proto kernel distance 0"));
      EXPECT_THAT(main.told, HasSubstr("left out: 100 (1), red (1)"));
      EXPECT_EQ(main.routes, routes("main"));
      EXPECT_EQ(main.routes, routes("254"));
      EXPECT_THAT(routes("100"), ElementsAre("10.1.0.0/16 via 192.0.2.1 dev eth0 proto kernel distance 0"));
      EXPECT_THAT(routes("red"), ElementsAre("10.3.0.0/16 via 192.0.2.3 dev eth0 proto kernel distance 0"));
      EXPECT_EQ(3U, routes("all").size());
   }
}

TEST(FrrJson, aRouteForOneSourceAloneAnswersNothing) {
   const auto loaded = loadedText(
      R"({"2001:db8:3::/48 from 2001:db8:9::/48":[{"prefix":"2001:db8:3::/48 from 2001:db8:9::/48","protocol":"kernel",
      "vrfName":"default","selected":true,"nexthops":[{"ip":"2001:db8::2","interfaceName":"eth0","active":true}]}],
      "2001:db8::/32":[{"prefix":"2001:db8::/32","protocol":"kernel","vrfName":"default","selected":true,
      "nexthops":[{"interfaceName":"eth0","active":true}]}]})");
   EXPECT_EQ(0U, loaded.report.faults) << loaded.told;
   EXPECT_THAT(loaded.routes, ElementsAre("2001:db8::/32 dev eth0 proto kernel distance 0"));
   EXPECT_THAT(loaded.told, HasSubstr("1 route is dead, or for one source or type of service alone"));
}

TEST(FrrLines, aLineThatIsCutIsTold) {
   const std::string whole =
      "K>* 2001:db8:7::/48 from 2001:db8:9::/48 [0/1024] via fe80::1 (recursive), d0, weight 1, 00:00:07";
   for (std::size_t size = 4; size < whole.size(); ++size) {
      const auto loaded = loadedText("Codes: K - kernel route\nK>* 10.0.0.0/8 [0/0] via 192.0.2.1, d0, 00:00:01\n" +
                                     whole.substr(0, size) + "\n");
      EXPECT_EQ(1U, loaded.routes.size()) << size;
   }
   EXPECT_THAT(loadedText("Codes: K - kernel route\nK>* 10.0.0.0/8 [0/1\n").told,
               HasSubstr(":2: no [DISTANCE/METRIC]: \"K>* 10.0.0.0/8 [0/1\"\n"));
}

TEST(FrrLines, aLineThatIsCutIsNoRoute) {
   const std::string whole = "B>* 10.9.0.0/16 [20/0] via 192.0.2.9";
   for (std::size_t length = std::string_view("B>* 10.9.0.0/16 ").size() + 1; length < whole.find(']') + 1;
        ++length) {
      const auto loaded = loadedText("Codes: K - kernel route, B - BGP\n" + whole.substr(0, length) + "\n");
      EXPECT_THAT(loaded.routes, ElementsAre(testing::EndsWith(": the table has no routes")));
      EXPECT_THAT(loaded.told, HasSubstr("no [DISTANCE/METRIC]"));
   }
}

// What it prints of one prefix, as BGP and other daemons have it.
TEST(FrrLines, oddEntries) {
   const auto loaded = loadedText(
      "% Network not in table\n"
      "Routing entry for 10.0.0.0/8\n"
      "  Known via \"bgp\", distance 20, metric 7, best\n"
      "  Last update 01w2d03h ago\n"
      "  Nexthop Group ID: 24\n"
      "    192.0.2.1 (recursive), weight 1\n"
      "  *   192.0.2.2, via eth0, label 16/17, weight 1\n"
      "    AS-Path          : 65001 65002\n"
      "    Communities : 65001:1 no-export\n"
      "\n"
      "Routing entry for 10.1.0.0/16\n"
      "  Known via \"ospf[1]\", distance 110, metric 20, tag 5, mtu 1400, best\n"
      "  Last update 00:00:01 ago\n"
      "    192.0.2.2, via eth0 inactive, weight 1\n"
      "  b 192.0.2.3, via eth1, src 192.0.2.254, weight 1\n"
      "Routing entry for 10.2.0.0/16\n"
      "  Known via \"static\", distance 1, metric 0\n"
      "    192.0.2.9 inactive, weight 1\n"
      "Routing entry for 10.3.0.0/33\n"
      "  Known via \"static\", distance 1, metric 0, best\n"
      "  * 192.0.2.9, via eth0, weight 1\n"
      "Routing entry for 10.4.0.0/16\n"
      "  Known via \"static\", best\n"
      "  * 192.0.2.9, via eth0, weight 1\n"
      "Routing entry for 10.5.0.0/16\n"
      "  Known via \"static\", distance 1, metric 0, best\n"
      "  * nonsense, via eth0\n"
      "  * 192.0.2.5, via eth0 onlink, weight 1\n"
      "Routing entry for 2001:db8::/32 from 2001:db8:9::/48\n"
      "  Known via \"static\", distance 1, metric 0, best\n"
      "  * fe80::1, via eth0, weight 1\n"
      "S>* 10.6.0.0/16 [1/0] via 192.0.2.6, eth0, weight 1, 00:00:05\n");
   EXPECT_THAT(
      loaded.routes,
      ElementsAre("10.0.0.0/8 via 192.0.2.2 dev eth0 label 16/17 proto bgp distance 20 metric 7",
                  "10.1.0.0/16 proto ospf distance 110 metric 20 nexthop via 192.0.2.2 dev eth0 weight 1 dead "
                  "nexthop via 192.0.2.3 dev eth1 src 192.0.2.254 weight 1",
                  "10.5.0.0/16 via 192.0.2.5 dev eth0 proto static distance 1",
                  "10.6.0.0/16 via 192.0.2.6 dev eth0 proto static distance 1"));
   EXPECT_THAT(loaded.told, HasSubstr(":19: prefix length 33 exceeds 32: \"10.3.0.0/33\"\n"));
   EXPECT_THAT(loaded.told, HasSubstr(":23: no distance and metric: \"Known via \"static\", best\"\n"));
   EXPECT_THAT(loaded.told, HasSubstr(":27: no line of a routing entry: \"* nonsense, via eth0\"\n"));
   EXPECT_THAT(loaded.told, HasSubstr("3 bad lines left out of 31\n"));
   const auto red = [](const LoadOptions& options) {
      return loadedText(
                "Routing entry for 10.0.0.0/8\n  Known via \"static\", distance 1, metric 0, vrf red, best\n"
                "  * 192.0.2.2, via eth0, weight 1\n"
                "Routing entry for 10.1.0.0/16\n  Known via \"static\", distance 1, metric 0, best\n"
                "  * 192.0.2.3, via eth0 (vrf red), weight 1\n",
                options)
         .routes;
   };
   LoadOptions options;
   EXPECT_THAT(red(options), ElementsAre("10.1.0.0/16 via 192.0.2.3 dev eth0 proto static distance 1"));
   options.routeTable = "red";
   EXPECT_THAT(red(options), ElementsAre("10.0.0.0/8 via 192.0.2.2 dev eth0 proto static distance 1"));
}

TEST(BirdLines, ofVersion1) {
   const auto loaded = loadedText(
      "BIRD 1.6.8 ready.\n"
      "10.0.0.0/8         via 192.0.2.2 on eth0 [bgp1 2023-01-01 from 192.0.2.2] * (100) [AS65001i]\n"
      "                   via 192.0.2.3 on eth0 [bgp2 12:00:01] (100/20) [AS65002?]\n"
      "\tBGP.as_path: 65002 65003\n"
      "10.1.0.0/16        multipath [static1 12:00:01] * (200)\n"
      "\tvia 192.0.2.2 on eth0 weight 1\n"
      "\tvia 192.0.2.3 on eth0 weight 2\n"
      "10.2.0.0/16        unreachable [static1 12:00:01] * (200)\n"
      "10.3.0.0/16        dev eth0 [direct1 12:00:01] * (240)\n");
   EXPECT_EQ(0U, loaded.report.faults) << loaded.told;
   EXPECT_THAT(
      loaded.routes,
      ElementsAre("10.0.0.0/8 via 192.0.2.2 dev eth0 proto bgp1 preference 100",
                  "10.1.0.0/16 proto static1 preference 200 nexthop via 192.0.2.2 dev eth0 weight 1 nexthop via "
                  "192.0.2.3 dev eth0 weight 2",
                  "10.2.0.0/16 unreachable proto static1 preference 200",
                  "10.3.0.0/16 dev eth0 proto direct1 preference 240"));
   EXPECT_THAT(loaded.candidates,
               ElementsAre("10.0.0.0/8 via 192.0.2.3 dev eth0 proto bgp2 path 65002 65003 preference 100"));
}

// A table that a validator fills has hundreds of thousands of rows.
TEST(BirdLines, tablesOfOtherThingsAreLeftOut) {
   const std::string_view listing =
      "BIRD 2.0.12 ready.\n"
      "Table troa:\n"
      "192.0.2.0/24-24 AS65001  [rpki1 11:42:00.370] * (100)\n"
      "2001:db8::/32-48 AS65000  [rpki1 11:42:00.370] * (100)\n"
      "\tType: RPKI univ\n"
      "\n"
      "Table master4:\n"
      "10.100.0.0/16        unicast [s4 11:42:00.370] * (200)\n"
      "\tvia 192.0.2.1 on d0\n"
      "\n"
      "Table tvpn:\n"
      "192.0.2.1:7 10.101.0.0/16 blackhole [svpn 11:42:00.370] * (200)\n"
      "65000:1 10.100.0.0/16 unicast [svpn 11:42:00.370] * (200)\n"
      "\tvia 192.0.2.9 on d0 mpls 100\n"
      "                     unicast [svpn2 11:42:00.370] (200)\n"
      "\tvia 192.0.2.8 on d0\n"
      "Table tflow:\n"
      "flow4 { dst 10.0.0.0/8; proto 6; dport 80; }  [sflow 11:42:00.370] * (200)\n"
      "Table tmpls:\n"
      "1000                 unicast [smpls 11:42:00.370] * (200)\n"
      "\tvia 192.0.2.1 on d0 mpls 200\n"
      "Table master6:\n"
      "2001:db8::/32 from 2001:db8:1::/48 unicast [ssadr 11:42:00.370] * (200)\n"
      "\tvia 2001:db8::2 on d0\n"
      "2001:db8:7::/48 from ::/0 blackhole [ssadr 11:42:00.370] * (200)\n";
   const auto loaded = loadedText(listing);
   EXPECT_EQ(0U, loaded.report.faults) << loaded.told;
   EXPECT_THAT(loaded.routes, ElementsAre("10.100.0.0/16 via 192.0.2.1 dev d0 proto s4 preference 200",
                                          "2001:db8:7::/48 blackhole proto ssadr preference 200"));
   EXPECT_THAT(loaded.told, HasSubstr("1 route is dead, or for one source or type of service alone"));
   EXPECT_THAT(loaded.told,
               HasSubstr("6 lines of other routing tables left out: tflow, of flows (1), tmpls, of labels "
                         "(1), troa, of origins (2), tvpn, of a VPN (2)"));
   const auto origins = loadedText("Table troa:\n192.0.2.0/24-24 AS65001  [rpki1 11:42:00.370] * (100)\n");
   EXPECT_EQ(0U, origins.report.faults) << origins.told;
   EXPECT_THAT(origins.told, HasSubstr("troa, of origins (1)"));
}

// birdc -v
TEST(BirdLines, repliesWithNumbers) {
   const auto loaded = loadedText(
      "0001 BIRD 2.0.12 ready.\n"
      "1007-Table master4:\n"
      "     10.1.0.0/16          unicast [s4 11:42:00.370] * (200)\n"
      "     \tvia 192.0.2.1 on d0\n"
      "     \n"
      "     Table other:\n"
      "     10.2.0.0/16          unicast [s4 11:42:00.370] * (200)\n"
      "     \tvia 192.0.2.2 on d0\n"
      "0000 \n");
   EXPECT_EQ(0U, loaded.report.faults) << loaded.told;
   EXPECT_THAT(loaded.routes, ElementsAre("10.1.0.0/16 via 192.0.2.1 dev d0 proto s4 preference 200"));
   EXPECT_THAT(loaded.told, HasSubstr("other (1)"));
}

}  // namespace MoreFormatsTest
}  // namespace Rtrie
