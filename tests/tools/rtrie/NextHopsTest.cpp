// NextHops: the next hops in a payload.
#include "tools/rtrie/NextHops.h"

#include "Support.h"

namespace Rtrie {
namespace NextHopsTest {

using testing::ElementsAre;

TEST(NextHops, eachWithItsParts) {
   const auto hops = nextHopsOf(
      "proto static nexthop via 192.0.2.1 dev eth0 weight 3 nexthop encap mpls 100/200 via inet6 fe80::1 dev eth1 "
      "weight 1 "
      "dead linkdown nexthop dev tun0 weight 256 ");
   ASSERT_EQ(3U, hops.size());
   EXPECT_EQ("192.0.2.1", hops[0].gateway);
   EXPECT_EQ("eth0", hops[0].device);
   EXPECT_EQ(3U, hops[0].weight);
   EXPECT_EQ("mpls 100/200", hops[1].encap);
   EXPECT_EQ("fe80::1", hops[1].gateway);
   EXPECT_EQ("eth1", hops[1].device);
   EXPECT_THAT(hops[1].flags, ElementsAre("dead", "linkdown"));
   EXPECT_EQ("", hops[2].gateway);
   EXPECT_EQ("tun0", hops[2].device);
   EXPECT_EQ(256U, hops[2].weight);
   EXPECT_THAT(hops[2].flags, ElementsAre());
}

TEST(NextHops, ofOtherPayloads) {
   EXPECT_TRUE(nextHopsOf("").empty());
   EXPECT_TRUE(nextHopsOf("via 192.0.2.1 dev eth0").empty());
   EXPECT_TRUE(nextHopsOf("the nexthop is unknown").empty());
   EXPECT_TRUE(nextHopsOf("nexthop").empty());
}

}  // namespace NextHopsTest
}  // namespace Rtrie
