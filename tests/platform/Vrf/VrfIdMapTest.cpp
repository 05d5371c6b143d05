#include "routetrie/platform/Vrf/VrfIdMap.h"

#include <gtest/gtest.h>

#include <sstream>

#include "routetrie/platform/Corvid/RangeException.h"

namespace VrfIdMapTest {

using Vrf::VrfIdMap;

TEST(VrfId, isANumberOf32Bits) {
   EXPECT_EQ(0u, VrfIdMap::VrfId().value());
   constexpr VrfIdMap::VrfId largest(4294967295);
   EXPECT_EQ(4294967295, largest.value());
   EXPECT_LT(VrfIdMap::VrfId(1), largest);
   EXPECT_NE(std::hash<VrfIdMap::VrfId>()(VrfIdMap::VrfId(1)), std::hash<VrfIdMap::VrfId>()(largest));
}

TEST(VrfId, text) {
   EXPECT_EQ("17", VrfIdMap::VrfId(17).stringValue());
   EXPECT_EQ("  17", fmt::format("{:>4}", VrfIdMap::VrfId(17)));
   std::ostringstream out;
   out << VrfIdMap::VrfId(17);
   EXPECT_EQ("17", out.str());
   EXPECT_EQ(VrfIdMap::VrfId(4294967295), VrfIdMap::VrfId::fromString("4294967295"));
   for (const char* bad : {"", "x", "-1", "1 ", "1x", "4294967296"}) {
      EXPECT_THROW(VrfIdMap::VrfId::fromString(bad), Corvid::RangeException) << bad;
   }
}

}  // namespace VrfIdMapTest
