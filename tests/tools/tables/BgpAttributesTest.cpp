// BgpAttributes: paths, next hops and the routes of other families, as updates and table dumps have them.
#include "tools/tables/mrt/BgpAttributes.h"

#include "Support.h"
#include "tests/tools/tables/MrtBytes.h"
#include "tools/tables/TableErrors.h"
#include "tools/tables/formats/BgpDumpLines.h"

namespace Rtrie {
namespace BgpAttributesTest {

using namespace Mrt;

constexpr AttributeContext as4{4, false, false};
constexpr AttributeContext as2{2, false, false};
constexpr AttributeContext ofTable{4, true, true};

BgpAttributes attributes(const std::string& bytes, const AttributeContext& context = as4) {
   BgpAttributes all;
   all.read(bytesOf(bytes), context);
   return all;
}

std::string faultOf(const std::string& bytes, const AttributeContext& context = as4) {
   try {
      attributes(bytes, context);
   } catch (const BadText& fault) {
      return fault.what();
   }
   return "";
}

TEST(BgpAttributes, aPathIsSpelledAsBgpdumpDoes) {
   const auto all = attributes(attribute(
      2, segment(3, {65001, 65002}) + segment(2, {4200000000, 1}) + segment(1, {7, 8}) + segment(4, {65003, 65004})));
   EXPECT_EQ("(65001 65002) 4200000000 1 {7,8} [65003,65004]", all.path());
   EXPECT_EQ(3U, all.pathLength());
   EXPECT_EQ(asPathLength(all.path()), all.pathLength());
   EXPECT_EQ("", attributes("").path());
   EXPECT_EQ("1", attributes(attribute(2, segment(2, {}) + segment(2, {1}) + segment(2, {}))).path());
}

TEST(BgpAttributes, aLongPathTakesALengthOfTwoBytes) {
   const std::vector<std::uint32_t> ases(200, 65000);
   EXPECT_EQ(200U, attributes(path(ases)).pathLength());
}

TEST(BgpAttributes, ofTwoBytesWithTheRestInAs4Path) {
   const auto joined = [](const std::string& two, const std::string& four, const std::string& more = "") {
      return attributes(attribute(2, two) + more + attribute(17, four, 0xc0), as2).path();
   };
   // As in section 4.2.3 of RFC 6793: what AS_PATH has more stands before.
   EXPECT_EQ("1 2 400000 3", joined(segment(2, {1, 2, 23456, 3}, 2), segment(2, {400000, 3})));
   EXPECT_EQ("400000 3", joined(segment(2, {23456, 3}, 2), segment(2, {400000, 3})));
   EXPECT_EQ("23456", joined(segment(2, {23456}, 2), segment(2, {400000, 3})));
   EXPECT_EQ("1 400000 {5,6}",
             joined(segment(2, {1, 23456}, 2) + segment(1, {5, 6}, 2), segment(2, {400000}) + segment(1, {5, 6})));
   EXPECT_EQ("(65001) 1 400000",
             joined(segment(3, {65001}, 2) + segment(2, {1, 23456}, 2), segment(3, {65009}) + segment(2, {400000})));
   // One that has aggregated since knew of no longer numbers.
   const auto as4Aggregator = attribute(18, u32(400000) + address("192.0.2.1"));
   EXPECT_EQ("1 23456", joined(segment(2, {1, 23456}, 2), segment(2, {400000}),
                               attribute(7, u16(1) + address("192.0.2.1")) + as4Aggregator));
   EXPECT_EQ("1 400000", joined(segment(2, {1, 23456}, 2), segment(2, {400000}),
                                attribute(7, u16(23456) + address("192.0.2.1")) + as4Aggregator));
   // A speaker of 4 bytes does not send it, and nobody reads it there.
   EXPECT_EQ("1", attributes(path({1}) + attribute(17, segment(2, {2}))).path());
}

TEST(BgpAttributes, nextHops) {
   EXPECT_EQ("192.0.2.1", attributes(nextHop("192.0.2.1")).nextHop());
   const auto reach = [](const std::string& hops) {
      return u16(2) + u8(1) + u8(static_cast<unsigned>(hops.size())) + hops + u8(0);
   };
   const auto global = address("2001:db8::1");
   const auto link = address("fe80::1");
   EXPECT_EQ("2001:db8::1", attributes(attribute(14, reach(global))).nextHop6());
   EXPECT_EQ("2001:db8::1", attributes(attribute(14, reach(global + link))).nextHop6());
   EXPECT_EQ("fe80::1", attributes(attribute(14, reach(address("::") + link))).nextHop6());
   EXPECT_EQ("192.0.2.9", attributes(attribute(14, reach(address("192.0.2.9")))).nextHop());
   // Of a table dump: the next hop alone, or all of the attribute.
   EXPECT_EQ("2001:db8::1", attributes(attribute(14, u8(16) + global), ofTable).nextHop6());
   EXPECT_EQ("2001:db8::1", attributes(attribute(14, reach(global)), ofTable).nextHop6());
   EXPECT_FALSE(attributes(attribute(14, reach(global)), ofTable).reached());
   EXPECT_EQ("a next hop of 5 bytes", faultOf(attribute(3, "12345")));
}

TEST(BgpAttributes, routesOfOtherFamilies) {
   const auto bytes =
      attribute(14, u16(2) + u8(1) + u8(16) + address("2001:db8::1") + u8(0) + nlri("2001:db8:5::/48")) +
      attribute(15, u16(1) + u8(2) + nlri("10.0.0.0/8"));
   const auto all = attributes(bytes);
   ASSERT_TRUE(all.reached());
   EXPECT_EQ(2, all.reached()->afi);
   EXPECT_EQ(1, all.reached()->safi);
   EXPECT_EQ(7U, all.reached()->nlri.size());
   ASSERT_TRUE(all.unreached());
   EXPECT_EQ(1, all.unreached()->afi);
   EXPECT_EQ(2, all.unreached()->safi);
   EXPECT_EQ(2U, all.unreached()->nlri.size());
}

TEST(BgpAttributes, theFirstOfAKindCounts) { EXPECT_EQ("1", attributes(path({1}) + path({2})).path()); }

TEST(BgpAttributes, faults) {
   EXPECT_EQ("a path attribute takes 9 bytes where 1 is left", faultOf(u8(0x40) + u8(2) + u8(9) + "x"));
   EXPECT_EQ("a path attribute takes 1 byte where 0 are left", faultOf(u8(0x40)));
   EXPECT_EQ("the AS path takes 8 bytes where 4 are left", faultOf(attribute(2, u8(2) + u8(2) + u32(1))));
   EXPECT_EQ("the AS path has a segment of the unknown kind 5", faultOf(attribute(2, segment(5, {1}))));
   EXPECT_EQ("the AS path takes 12 bytes where 6 are left", faultOf(path({1, 2, 3}, 2)));
   EXPECT_EQ("MP_REACH_NLRI takes 16 bytes where 2 are left", faultOf(attribute(14, u16(2) + u8(1) + u8(16) + "ab")));
   EXPECT_EQ("MP_UNREACH_NLRI takes 2 bytes where 1 is left", faultOf(attribute(15, "x")));
}

}  // namespace BgpAttributesTest
}  // namespace Rtrie
