// TableSet: a table for each family, and the bytes that it takes.
#include "tools/rtrie/TableSet.h"

#include <cstdint>

#include "Support.h"
#include "tools/rtrie/Registry.h"
#include "tools/tables/LiveBytes.h"

namespace Rtrie {
namespace TableSetTest {

using Support::prefix;

TEST(TableSet, onlyFamiliesWithRoutes) {
   RouteSet routes;
   routes.add(prefix("10.0.0.0/8"), "");
   routes.seal();
   const TableSet tables(engines().front(), routes);
   ASSERT_NE(nullptr, tables.of(Corenet::ipv4).table);
   EXPECT_EQ(1U, tables.of(Corenet::ipv4).table->routes());
   EXPECT_EQ(nullptr, tables.of(Corenet::ipv6).table);
   EXPECT_EQ(0U, tables.of(Corenet::ipv6).liveBytes);
}

TEST(TableSet, onlyFamiliesThatTheEngineHolds) {
   Engine onlyIpv6 = engines().front();
   onlyIpv6.ipv4 = false;
   RouteSet routes;
   routes.add(prefix("10.0.0.0/8"), "");
   routes.add(prefix("2001:db8::/32"), "");
   routes.seal();
   const TableSet tables(onlyIpv6, routes);
   EXPECT_EQ(nullptr, tables.of(Corenet::ipv4).table);
   EXPECT_NE(nullptr, tables.of(Corenet::ipv6).table);
}

// Each route here has a leaf of its own, so that bytes follow from the sizes of nodes: 32 bytes for IPv4, 56 for
// IPv6 with whole addresses.
TEST(TableSet, liveBytesAreThoseOfTheNodes) {
   constexpr U32 count = 1024;
   RouteSet routes;
   for (U32 i = 0; i < count; ++i) {
      routes.add(prefixOf(i << 22, 32), "");
      routes.add(prefixOf(Corenet::U128{i} << 118, 128), "");
   }
   routes.seal();
   const std::uint64_t before = trackedBytes();
   {
      const TableSet tables(rowNamed(engines(), "engine", "patricia"), routes);
      const auto& ipv4 = tables.of(Corenet::ipv4);
      const auto& ipv6 = tables.of(Corenet::ipv6);
      EXPECT_EQ(2 * count - 1, ipv4.table->shape().nodes.value());
      EXPECT_EQ(2 * count - 1, ipv6.table->shape().nodes.value());
      constexpr std::uint64_t trieBytes = 256;  // room for the trie object itself
      EXPECT_GE(ipv4.liveBytes, 32 * ipv4.table->shape().nodes.value());
      EXPECT_LE(ipv4.liveBytes, 32 * ipv4.table->shape().nodes.value() + trieBytes);
      EXPECT_GE(ipv6.liveBytes, 56 * ipv6.table->shape().nodes.value());
      EXPECT_LE(ipv6.liveBytes, 56 * ipv6.table->shape().nodes.value() + trieBytes);
      EXPECT_EQ(before + ipv4.liveBytes + ipv6.liveBytes, trackedBytes());
   }
   EXPECT_EQ(before, trackedBytes());
}

}  // namespace TableSetTest
}  // namespace Rtrie
