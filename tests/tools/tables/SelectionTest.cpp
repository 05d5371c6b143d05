// Selection: peers, names of routing tables, and what was left out.
#include "tools/tables/Selection.h"

#include <fmt/format.h>

#include "Support.h"
#include "tools/rtrie/Errors.h"

namespace Rtrie {
namespace SelectionTest {

TEST(Selection, aPeerByAddressOrAs) {
   EXPECT_TRUE(PeerName("192.0.2.1").isOf("192.0.2.1", "65000"));
   EXPECT_FALSE(PeerName("192.0.2.1").isOf("192.0.2.10", "65000"));
   EXPECT_TRUE(PeerName("2001:DB8:0::1").isOf("2001:db8::1", "65000"));
   EXPECT_FALSE(PeerName("2001:db8::1").isOf("", ""));
   EXPECT_TRUE(PeerName("65000").isOf("192.0.2.1", "65000"));
   EXPECT_TRUE(PeerName("as65000").isOf("192.0.2.1", "65000"));
   EXPECT_FALSE(PeerName("65000").isOf("192.0.2.1", "6500"));
   EXPECT_TRUE(PeerName("all").isOf("192.0.2.1", "65000"));
   for (const auto text : {"", "AS", "192.0.2.0/24", "rrc00", "192.0.2.300"}) {
      EXPECT_THROW(PeerName{text}, UsageError) << text;
   }
}

TEST(Selection, namesOfRoutingTables) {
   RouteTableNames names;
   EXPECT_EQ("254", names.key("main"));
   EXPECT_EQ("255", names.key("local"));
   EXPECT_EQ("253", names.key("default"));
   EXPECT_EQ("red", names.key("red"));
   names.add("# reserved\n255\tlocal\n\n0xc8 red # a VRF\n300 blue\nnonsense\n301\n-1 x\n");
   EXPECT_EQ("200", names.key("red"));
   EXPECT_EQ("300", names.key("blue"));
   EXPECT_EQ("x", names.key("x"));
   EXPECT_EQ("100", names.key("100"));
   EXPECT_EQ("100", names.key("0x64"));
   EXPECT_EQ("254", RouteTableNames::ofThisMachine().key("main"));
}

TEST(Selection, takesMainUnlessAnotherRoutingTableIsNamed) {
   Selection selection;
   EXPECT_TRUE(selection.takesRouteTable("main"));
   EXPECT_TRUE(selection.takesRouteTable("254"));
   EXPECT_FALSE(selection.takesRouteTable("100"));
   selection.routeTable = "100";
   EXPECT_TRUE(selection.takesRouteTable("0x64"));
   EXPECT_FALSE(selection.takesRouteTable("main"));
   selection.allRouteTables = true;
   EXPECT_TRUE(selection.takesRouteTable("main"));
}

TEST(Selection, whatIsLeftOutIsNamedAsLongAsThatIsAHandful) {
   LeftOut leftOut;
   EXPECT_EQ(0U, leftOut.count());
   EXPECT_EQ("", leftOut.names());
   for (int i = 0; i < 100; ++i) {
      leftOut.add(fmt::format("t{}", i % 10));
   }
   EXPECT_EQ(100U, leftOut.count());
   EXPECT_EQ("t0 (10), t1 (10), t2 (10), t3 (10), t4 (10), t5 (10), t6 (10), t7 (10), others (20)", leftOut.names());
}

}  // namespace SelectionTest
}  // namespace Rtrie
