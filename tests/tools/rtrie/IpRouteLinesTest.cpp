// IpRouteLines: what ip route show prints, and whose "default" is whose.
#include "tools/rtrie/formats/IpRouteLines.h"

#include "Support.h"

namespace Rtrie {
namespace {

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

TEST(IpRouteLines, ipv6Listing) {
   const auto parsed = parsedBy<IpRouteLines>({
      "2001:db8::/32 dev eth0 metric 256 pref medium",
      "unreachable 2001:db8:1::/48 dev lo metric 1024 error -113 pref medium",
      "local ::1 dev lo table local proto kernel metric 0 pref medium",
      "multicast ff00::/8 dev eth0 table local proto kernel metric 256 pref medium",
      "fe80::/64 dev eth0 proto kernel metric 256 pref medium",
      "default via fe80::1 dev eth0 metric 1024 pref medium",
   });
   EXPECT_THAT(parsed.faults, ElementsAre());
   EXPECT_THAT(parsed.routes,
               ElementsAre("::/0 via fe80::1 dev eth0 metric 1024 pref medium",
                           "::1/128 local dev lo table local proto kernel metric 0 pref medium",
                           "2001:db8::/32 dev eth0 metric 256 pref medium",
                           "2001:db8:1::/48 unreachable dev lo metric 1024 error -113 pref medium",
                           "fe80::/64 dev eth0 proto kernel metric 256 pref medium",
                           "ff00::/8 multicast dev eth0 table local proto kernel metric 256 pref medium"));
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

TEST(IpRouteLines, nextHopLinesBelongToTheLineAbove) {
   EXPECT_THAT(parsedBy<IpRouteLines>({"default proto static", "nexthop via 192.0.2.1 dev eth0 weight 1",
                                       "nexthop via 192.0.2.2 dev eth0 weight 1"})
                  .routes,
               ElementsAre("0.0.0.0/0 proto static"));
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

}  // namespace
}  // namespace Rtrie
