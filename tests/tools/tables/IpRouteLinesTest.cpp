// IpRouteLines: what ip route show prints, and whose "default" is whose.
#include "tools/tables/formats/IpRouteLines.h"

#include "Support.h"

namespace Rtrie {
namespace IpRouteLinesTest {

using Support::parsedBy;
using testing::ElementsAre;

TEST(IpRouteLines, ipv4Listing) {
   const auto parsed = parsedBy<IpRouteLines>({
      "default via 192.0.2.1 dev eth0",
      "10.0.0.0/8 via 192.0.2.7 dev eth0 metric 100",
      "blackhole 10.1.0.0/16",
      "unreachable 10.2.0.0/16 metric 5",
      "192.0.2.0/24 dev eth0 proto kernel scope link src 192.0.2.5",
      "192.0.2.9 dev eth0 scope link",
   });
   EXPECT_THAT(parsed.faults, ElementsAre());
   EXPECT_THAT(
      parsed.routes,
      ElementsAre("0.0.0.0/0 via 192.0.2.1 dev eth0", "10.0.0.0/8 via 192.0.2.7 dev eth0 metric 100",
                  "10.1.0.0/16 blackhole", "10.2.0.0/16 unreachable metric 5",
                  "192.0.2.0/24 dev eth0 proto kernel scope link src 192.0.2.5", "192.0.2.9/32 dev eth0 scope link"));
}

const std::vector<std::string> listing6 = {
   "2001:db8::/32 dev eth0 metric 256 pref medium",
   "unreachable 2001:db8:1::/48 dev lo metric 1024 error -113 pref medium",
   "local ::1 dev lo table local proto kernel metric 0 pref medium",
   "multicast ff00::/8 dev eth0 table local proto kernel metric 256 pref medium",
   "fe80::/64 dev eth0 proto kernel metric 256 pref medium",
   "default via fe80::1 dev eth0 metric 1024 pref medium",
};

Selection selected(std::string_view table) {
   Selection selection;
   selection.routeTableNames.add("200 vrf-red\n");
   selection.allRouteTables = table == "all";
   selection.routeTable = selection.routeTableNames.key(table);
   return selection;
}

TEST(IpRouteLines, ipv6Listing) {
   const auto parsed = parsedBy<IpRouteLines>(listing6);
   EXPECT_THAT(parsed.faults, ElementsAre());
   EXPECT_THAT(parsed.routes, ElementsAre("::/0 via fe80::1 dev eth0 metric 1024 pref medium",
                                          "2001:db8::/32 dev eth0 metric 256 pref medium",
                                          "2001:db8:1::/48 unreachable dev lo metric 1024 error -113 pref medium",
                                          "fe80::/64 dev eth0 proto kernel metric 256 pref medium"));
   EXPECT_EQ("local (2)", parsed.leftOut);
}

TEST(IpRouteLines, aRoutingTableOfItsOwn) {
   const std::vector<std::string> lines = {"10.0.0.0/8 via 192.0.2.1 dev eth0 table main metric 5",
                                           "10.0.0.0/8 via 192.0.2.2 dev eth0 table 100",
                                           "10.0.0.0/8 via 192.0.2.3 dev eth0 table vrf-red",
                                           "10.5.0.0/16 table 100",
                                           "nexthop via 192.0.2.1 dev eth0 weight 1",
                                           "10.6.0.0/16 dev eth0"};
   EXPECT_THAT(parsedBy<IpRouteLines>(lines).routes,
               ElementsAre("10.0.0.0/8 via 192.0.2.1 dev eth0 table main metric 5", "10.6.0.0/16 dev eth0"));
   EXPECT_EQ("100 (2), vrf-red (1)", parsedBy<IpRouteLines>(lines).leftOut);
   EXPECT_THAT(parsedBy<IpRouteLines>(lines, selected("254")).routes.size(), 2U);
   EXPECT_THAT(parsedBy<IpRouteLines>(lines, selected("100")).routes,
               ElementsAre("10.0.0.0/8 via 192.0.2.2 dev eth0 table 100",
                           "10.5.0.0/16 table 100 nexthop via 192.0.2.1 dev eth0 weight 1"));
   for (const auto name : {"vrf-red", "200", "0xc8"}) {
      EXPECT_THAT(parsedBy<IpRouteLines>(lines, selected(name)).routes,
                  ElementsAre("10.0.0.0/8 via 192.0.2.3 dev eth0 table vrf-red"));
   }
   const auto all = parsedBy<IpRouteLines>(lines, selected("all"));
   EXPECT_EQ("", all.leftOut);
   EXPECT_THAT(all.routes,
               ElementsAre("10.0.0.0/8 via 192.0.2.1 dev eth0 table main metric 5",  // main before others
                           "10.5.0.0/16 table 100 nexthop via 192.0.2.1 dev eth0 weight 1", "10.6.0.0/16 dev eth0"));
   EXPECT_THAT(all.candidates, ElementsAre("10.0.0.0/8 via 192.0.2.2 dev eth0 table 100",
                                           "10.0.0.0/8 via 192.0.2.3 dev eth0 table vrf-red"));
   EXPECT_THAT(
      parsedBy<IpRouteLines>({"10.0.0.1 dev eth0", "local 10.0.0.1 dev eth0 table local"}, selected("all")).routes,
      ElementsAre("10.0.0.1/32 local dev eth0 table local"));
}

// As `ip route show` printed them, and `ip route get 10.0.0.1` then took 192.0.2.12.
TEST(IpRouteLines, theLowestMetricIsTakenThenTheFirstLine) {
   const auto parsed = parsedBy<IpRouteLines>({
      "default via 192.0.2.1 dev eth0 metric 100",
      "default via 192.0.2.2 dev eth0 metric 50",
      "10.0.0.0/8 tos 0x10 via 192.0.2.13 dev eth0 metric 7",
      "10.0.0.0/8 via 192.0.2.12 dev eth0",
      "10.0.0.0/8 via 192.0.2.9 dev eth0",
      "10.0.0.0/8 via 192.0.2.10 dev eth0 metric 20",
   });
   EXPECT_THAT(parsed.routes,
               ElementsAre("0.0.0.0/0 via 192.0.2.2 dev eth0 metric 50", "10.0.0.0/8 via 192.0.2.12 dev eth0"));
   EXPECT_THAT(parsed.candidates,
               ElementsAre("0.0.0.0/0 via 192.0.2.1 dev eth0 metric 100", "10.0.0.0/8 via 192.0.2.9 dev eth0",
                           "10.0.0.0/8 via 192.0.2.10 dev eth0 metric 20",
                           "10.0.0.0/8 tos 0x10 via 192.0.2.13 dev eth0 metric 7 (bound)"));
}

TEST(IpRouteLines, ipv6RoutesOfOnePrefix) {
   const auto parsed = parsedBy<IpRouteLines>({
      "default from 2001:db8:9::/48 via 2001:db8::3 dev eth0 metric 10 pref medium",
      "default via 2001:db8::1 dev eth0 metric 1024 pref medium",
      "default via 2001:db8::2 dev eth0 metric 50 pref medium",
      "default from :: via 2001:db8::4 dev eth0 metric 50 pref medium",
      "2001:db8:6::/48 dev eth0 metric 1024 pref low",
      "2001:db8:6::/48 dev eth1 metric 1024 pref medium",
      "2001:db8:6::/48 dev eth2 metric 1024 pref high",
      "2001:db8:7::/48 dev eth0",  // as it is typed: the kernel makes it 1024
      "2001:db8:7::/48 dev eth1 metric 1023 pref medium",
   });
   EXPECT_THAT(parsed.routes, ElementsAre("::/0 via 2001:db8::2 dev eth0 metric 50 pref medium",
                                          "2001:db8:6::/48 dev eth2 metric 1024 pref high",
                                          "2001:db8:7::/48 dev eth1 metric 1023 pref medium"));
   EXPECT_THAT(parsed.candidates,
               ElementsAre("::/0 from :: via 2001:db8::4 dev eth0 metric 50 pref medium",
                           "::/0 via 2001:db8::1 dev eth0 metric 1024 pref medium",
                           "::/0 from 2001:db8:9::/48 via 2001:db8::3 dev eth0 metric 10 pref medium (bound)",
                           "2001:db8:6::/48 dev eth1 metric 1024 pref medium",
                           "2001:db8:6::/48 dev eth0 metric 1024 pref low", "2001:db8:7::/48 dev eth0"));
}

TEST(IpRouteLines, whatIsDeadOrBoundDoesNotAnswer) {
   const auto parsed = parsedBy<IpRouteLines>({
      "10.0.0.0/8 via 192.0.2.1 dev eth0 dead linkdown", "10.0.0.0/8 via 192.0.2.2 dev eth0 metric 9 linkdown",
      "10.1.0.0/16", "nexthop via 192.0.2.1 dev eth0 weight 1 dead linkdown",
      "nexthop via 192.0.2.2 dev eth1 weight 1 dead", "10.2.0.0/16",
      "nexthop via 192.0.2.1 dev eth0 weight 1 dead linkdown", "nexthop via 192.0.2.2 dev eth1 weight 1",
      "10.3.0.0/16 from 192.0.2.0/24 dev eth0",
      "10.4.0.0/16 encap ip id 0 src 0.0.0.0 dst 192.0.2.9 ttl 0 tos 5 dev eth0",  // the tunnel's tos
   });
   EXPECT_THAT(
      parsed.routes,
      ElementsAre("10.0.0.0/8 via 192.0.2.2 dev eth0 metric 9 linkdown",
                  "10.2.0.0/16 nexthop via 192.0.2.1 dev eth0 weight 1 dead linkdown nexthop via 192.0.2.2 dev "
                  "eth1 weight 1",
                  "10.4.0.0/16 encap ip id 0 src 0.0.0.0 dst 192.0.2.9 ttl 0 tos 5 dev eth0"));
}

TEST(IpRouteLines, defaultByItsOwnLine) {
   EXPECT_THAT(parsedBy<IpRouteLines>({"default via fe80::1 dev eth0"}).routes,
               ElementsAre("::/0 via fe80::1 dev eth0"));
   EXPECT_THAT(parsedBy<IpRouteLines>({"default dev tun0 metric 1024 pref medium"}).routes,
               ElementsAre("::/0 dev tun0 metric 1024 pref medium"));
   EXPECT_THAT(parsedBy<IpRouteLines>({"default dev tun0 src 2001:db8::5"}).routes,
               ElementsAre("::/0 dev tun0 src 2001:db8::5"));
   // An IPv4 route through an IPv6 gateway says so.
   EXPECT_THAT(parsedBy<IpRouteLines>({"default via inet6 fe80::1 dev eth0"}).routes,
               ElementsAre("0.0.0.0/0 via inet6 fe80::1 dev eth0"));
   EXPECT_THAT(parsedBy<IpRouteLines>({"unreachable default dev lo metric 4294967295 error -101 pref medium"}).routes,
               ElementsAre("::/0 unreachable dev lo metric 4294967295 error -101 pref medium"));
}

TEST(IpRouteLines, defaultByTheOtherLines) {
   EXPECT_THAT(parsedBy<IpRouteLines>({"default dev tun0"}).routes, ElementsAre("0.0.0.0/0 dev tun0"));
   EXPECT_THAT(parsedBy<IpRouteLines>({"default dev tun0", "2001:db8::/32 dev eth0"}).routes,
               ElementsAre("::/0 dev tun0", "2001:db8::/32 dev eth0"));
   EXPECT_THAT(parsedBy<IpRouteLines>({"2001:db8::/32 dev eth0", "default dev tun0"}).routes,
               ElementsAre("::/0 dev tun0", "2001:db8::/32 dev eth0"));
   // Both listings in one file.
   EXPECT_THAT(parsedBy<IpRouteLines>(
                  {"default dev tun0", "10.0.0.0/8 dev eth0", "2001:db8::/32 dev eth0", "default dev tun1"})
                  .routes,
               ElementsAre("0.0.0.0/0 dev tun0", "10.0.0.0/8 dev eth0", "::/0 dev tun1", "2001:db8::/32 dev eth0"));
}

TEST(IpRouteLines, nextHopsBelongToThePayload) {
   constexpr auto whole =
      "10.5.0.0/16 nexthop via 192.0.2.1 dev eth0 weight 3 nexthop via 198.51.100.1 dev eth1 weight 1";
   EXPECT_THAT(parsedBy<IpRouteLines>({"10.5.0.0/16", "nexthop via 192.0.2.1 dev eth0 weight 3",
                                       "nexthop via 198.51.100.1 dev eth1 weight 1", "11.0.0.0/8 dev eth0"})
                  .routes,
               ElementsAre(whole, "11.0.0.0/8 dev eth0"));
   EXPECT_THAT(
      parsedBy<IpRouteLines>(
         {"10.5.0.0/16 \\\tnexthop via 192.0.2.1 dev eth0 weight 3 \\\tnexthop via 198.51.100.1 dev eth1 weight 1"})
         .routes,
      ElementsAre(whole));
   EXPECT_THAT(parsedBy<IpRouteLines>({whole}).routes, ElementsAre(whole));  // as rtrie walk prints it
   EXPECT_THAT(
      parsedBy<IpRouteLines>({"unicast 10.11.0.0/16 nhid 10 table main proto boot", "nh_info id 10 group 7,3/8",
                              "nexthop via 192.0.2.1 dev eth0 weight 3", "10.5.1.1 via 192.0.2.1 dev eth0", "cache"})
         .routes,
      ElementsAre("10.5.1.1/32 via 192.0.2.1 dev eth0",
                  "10.11.0.0/16 unicast nhid 10 table main proto boot nexthop via 192.0.2.1 dev eth0 weight 3"));
   // "pref medium" ends in a backslash here.
   EXPECT_THAT(
      parsedBy<IpRouteLines>({"2001:db8:5::/48 metric 7 pref medium\\\tnexthop via 2001:db8::1 dev eth0 weight 1 "
                              "\\\tnexthop via 2001:db8:1::1 dev eth1 weight 2"})
         .routes,
      ElementsAre("2001:db8:5::/48 metric 7 pref medium nexthop via 2001:db8::1 dev eth0 weight 1 nexthop via "
                  "2001:db8:1::1 dev eth1 weight 2"));
   // The family of a default route may be on the next hops alone.
   EXPECT_THAT(parsedBy<IpRouteLines>({"default proto static", "nexthop via fe80::1 dev eth0 weight 1"}).routes,
               ElementsAre("::/0 proto static nexthop via fe80::1 dev eth0 weight 1"));
}

TEST(IpRouteLines, nextHopsOfNoRoute) {
   const auto parsed = parsedBy<IpRouteLines>({"nexthop via 192.0.2.1 dev eth0 weight 1", "10.0.0.0/33",
                                               "nexthop via 192.0.2.1 dev eth0 weight 1", "10.0.0.0/8 metric x"});
   EXPECT_THAT(parsed.routes, ElementsAre());
   EXPECT_THAT(parsed.faults,
               ElementsAre("next hop without a route before it: \"nexthop via 192.0.2.1 dev eth0 weight 1\"",
                           "prefix length 33 exceeds 32: \"10.0.0.0/33\"", "metric \"x\" is no number of 32 bits"));
}

TEST(IpRouteLines, badLines) {
   const auto parsed = parsedBy<IpRouteLines>({"10.0.0.0/33 dev eth0", "blackhole", "somewhere dev eth0"});
   EXPECT_THAT(parsed.routes, ElementsAre());
   EXPECT_THAT(parsed.faults,
               ElementsAre("prefix length 33 exceeds 32: \"10.0.0.0/33\"",
                           "route without a destination: \"blackhole\"", testing::HasSubstr("\"somewhere\"")));
}

TEST(IpRouteLines, looksLike) {
   EXPECT_TRUE(IpRouteLines::looksLike("default"));
   EXPECT_TRUE(IpRouteLines::looksLike("throw 10.0.0.0/8"));
   EXPECT_TRUE(IpRouteLines::looksLike("10.0.0.0/8 dev eth0"));
   EXPECT_TRUE(IpRouteLines::looksLike("nexthop via 192.0.2.1 dev eth0 weight 1"));
   EXPECT_FALSE(IpRouteLines::looksLike("10.0.0.0/8"));
   EXPECT_FALSE(IpRouteLines::looksLike("10.0.0.0/8 device"));
   EXPECT_FALSE(IpRouteLines::looksLike("blackhole"));
   EXPECT_FALSE(IpRouteLines::looksLike(""));
}

}  // namespace IpRouteLinesTest
}  // namespace Rtrie
