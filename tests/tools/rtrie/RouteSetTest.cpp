// RouteSet: both families with their payloads.
#include "tools/rtrie/RouteSet.h"

#include "Support.h"

namespace Rtrie {
namespace {

using Support::prefix;
using testing::ElementsAre;

TEST(RouteSet, keepsFamiliesApartAndSorted) {
   RouteSet routes;
   routes.add(prefix("2001:db8::/32"), "docs");
   routes.add(prefix("10.0.0.0/16"), "");
   routes.add(prefix("10.0.0.0/8"), "private");
   routes.add(prefix("::/0"), "all");
   EXPECT_THAT(Support::textOf(routes),
               ElementsAre("10.0.0.0/8 private", "10.0.0.0/16 ", "::/0 all", "2001:db8::/32 docs"));
   EXPECT_EQ(2U, routes.size(Corenet::ipv4));
   EXPECT_EQ(2U, routes.size(Corenet::ipv6));
   EXPECT_EQ(4U, routes.size());
}

TEST(RouteSet, theLastPayloadOfAPrefixCounts) {
   RouteSet routes;
   routes.add(prefix("10.0.0.0/8"), "old");
   routes.add(prefix("11.0.0.0/8"), "other");
   routes.add(prefix("10.0.0.0/8"), "new");
   EXPECT_THAT(Support::textOf(routes), ElementsAre("10.0.0.0/8 new", "11.0.0.0/8 other"));
}

TEST(RouteSet, withdrawing) {
   RouteSet routes;
   routes.withdraw(prefix("12.0.0.0/8"));
   routes.add(prefix("10.0.0.0/8"), "a");
   routes.withdraw(prefix("10.0.0.0/8"));
   routes.add(prefix("2001:db8::/32"), "b");
   routes.withdraw(prefix("2001:db8::/32"));
   routes.add(prefix("2001:db8::/32"), "c");
   EXPECT_THAT(Support::textOf(routes), ElementsAre("2001:db8::/32 c"));
}

TEST(RouteSet, payloadOfWhatIsThere) {
   RouteSet routes;
   routes.add(prefix("10.0.0.0/8"), "a");
   routes.seal();
   EXPECT_EQ("a", routes.payload(prefix("10.0.0.0/8")));
   EXPECT_EQ(std::nullopt, routes.payload(prefix("10.0.0.0/9")));
   EXPECT_EQ(std::nullopt, routes.payload(prefix("a00::/8")));  // the same bits in the other family
}

TEST(RouteSet, countsByLength) {
   RouteSet routes;
   routes.addRange(U32{0x0a000001}, U32{0x0a000006}, "r");
   routes.add(prefix("::/0"), "");
   routes.add(prefix("2001:db8::1/128"), "");
   routes.seal();
   const auto ipv4 = routes.countByLength(Corenet::ipv4);
   ASSERT_EQ(33U, ipv4.size());
   EXPECT_EQ(2U, ipv4[32]);
   EXPECT_EQ(2U, ipv4[31]);
   EXPECT_EQ(0U, ipv4[30]);
   const auto ipv6 = routes.countByLength(Corenet::ipv6);
   ASSERT_EQ(129U, ipv6.size());
   EXPECT_EQ(1U, ipv6[0]);
   EXPECT_EQ(1U, ipv6[128]);
}

}  // namespace
}  // namespace Rtrie
