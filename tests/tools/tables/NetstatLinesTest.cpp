// NetstatLines: listings as netstat and route printed them.
#include "tools/tables/formats/NetstatLines.h"

#include "Support.h"

namespace Rtrie {
namespace NetstatLinesTest {

using Support::parsedBy;
using testing::ElementsAre;
using testing::HasSubstr;

TEST(NetstatLines, ipv4) {
   const auto parsed = parsedBy<NetstatLines>({
      "Kernel IP routing table",
      "Destination     Gateway         Genmask         Flags   MSS Window  irtt Iface",
      "0.0.0.0         192.0.2.2       0.0.0.0         UG        0 0          0 eth0",
      "0.0.0.0         192.0.2.1       0.0.0.0         UG        0 0          0 eth0",
      "10.5.0.0        192.0.2.1       255.255.0.0     UG        0 0          0 eth0",
      "10.8.0.0        0.0.0.0         255.255.0.0     U         0 0          0 *",
      "10.8.1.0        -               255.255.255.0   !H        0 0          0 -",
      "192.0.2.0       *               255.255.255.0   U         0 0          0 eth0",
   });
   EXPECT_THAT(parsed.routes, ElementsAre("0.0.0.0/0 via 192.0.2.2 dev eth0 flags UG",
                                          "10.5.0.0/16 via 192.0.2.1 dev eth0 flags UG", "10.8.0.0/16 flags U",
                                          "10.8.1.0/24 unreachable flags !H", "192.0.2.0/24 dev eth0 flags U"));
   EXPECT_THAT(parsed.candidates, ElementsAre("0.0.0.0/0 via 192.0.2.1 dev eth0 flags UG"));
   EXPECT_THAT(parsed.faults, ElementsAre());
}

TEST(NetstatLines, ipv4WithMetrics) {
   const auto parsed = parsedBy<NetstatLines>({
      "Kernel IP routing table",
      "Destination     Gateway         Genmask         Flags Metric Ref    Use Iface",
      "default         192.0.2.1       0.0.0.0         UG    100    0        0 eth0",
      "default         192.0.2.2       0.0.0.0         UG    50     0        0 eth0",
      "10.14.0.0       192.0.2.7       255.255.0.0     UG    -1     0        0 eth0",
      "10.16.0.0       -               255.255.0.0     !     -1     -        0 -",
      "10.15.0.0       192.0.2.7       255.255.0.0     UG    -2147483649 0   0 eth0",
      "gateway.example 192.0.2.2       255.255.255.255 UGH   50     0        0 eth0",
   });
   EXPECT_THAT(parsed.routes, ElementsAre("0.0.0.0/0 via 192.0.2.2 dev eth0 metric 50 flags UG",
                                          "10.14.0.0/16 via 192.0.2.7 dev eth0 metric 4294967295 flags UG",
                                          "10.16.0.0/16 unreachable metric 4294967295 flags !"));
   EXPECT_EQ(2U, parsed.faults.size());
}

TEST(NetstatLines, ipv6) {
   const auto parsed = parsedBy<NetstatLines>({
      "Kernel IPv6 routing table",
      "Destination                    Next Hop                   Flag Met Ref  Use If",
      "2001:db8:7::/48                2001:db8::1                UG   1024 1      0 eth0",
      "::/0                           ::                         !n   -1  2      0 lo",
      "2001:db8:5::/48                2001:db8::7                UGe  1024 1      0 d0",
      "2001:db8:8::/48                ::                         !n   1024 1      0 lo",
      "2001:db8:9::/48                ::                         !n   -1   1      0 lo",
      "2001:db8:aaaa:bbbb:cccc:dddd:eeee:1/128 2001:db8::1                UG   1024 1      0 eth0",
      "[::]/0                         2001:db8::1                UG   1024 1      0 eth0",
      "::/0                           2001:db8::2                UG   50  1      0 eth0",
      "::1/128                        [::]                       Un   0   3      0 lo",
   });
   EXPECT_THAT(parsed.faults, ElementsAre());
   EXPECT_THAT(parsed.routes,
               ElementsAre("::/0 via 2001:db8::2 dev eth0 metric 50 flags UG", "::1/128 dev lo metric 0 flags Un",
                           "2001:db8:5::/48 via 2001:db8::7 dev d0 metric 1024 flags UGe",
                           "2001:db8:7::/48 via 2001:db8::1 dev eth0 metric 1024 flags UG",
                           "2001:db8:8::/48 unreachable dev lo metric 1024 flags !n",
                           "2001:db8:9::/48 unreachable dev lo metric 4294967295 flags !n",
                           "2001:db8:aaaa:bbbb:cccc:dddd:eeee:1/128 via 2001:db8::1 dev eth0 metric 1024 flags UG"));
   EXPECT_THAT(parsed.candidates, ElementsAre("::/0 via 2001:db8::1 dev eth0 metric 1024 flags UG"));
}

TEST(NetstatLines, otherSystemsListingsAreRefused) {
   const auto parsed = parsedBy<NetstatLines>({
      "Destination        Gateway            Flags     Netif Expire",
      "default            192.0.2.1          UGS         em0",
      "10.0.0.0           192.0.2.1          UGS         em0",
   });
   EXPECT_THAT(parsed.routes, ElementsAre());
   ASSERT_EQ(3U, parsed.faults.size());
   EXPECT_THAT(parsed.faults[2], HasSubstr("without the column Genmask or Next Hop is not read"));
}

TEST(NetstatLines, badRows) {
   const auto parsed = parsedBy<NetstatLines>({"10.0.0.1 192.0.2.1 255.0.0.0 UG 0 0 0 eth0", "10.0.0.0/8 x", ""});
   EXPECT_THAT(parsed.routes, ElementsAre());
   EXPECT_EQ(3U, parsed.faults.size());
}

}  // namespace NetstatLinesTest
}  // namespace Rtrie
