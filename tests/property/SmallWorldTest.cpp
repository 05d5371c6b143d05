// Small worlds, tried out whole, on each engine and at several places of an address: at its top; across the ends of
// 32-bit words; across 56 bits, where compact IPv6 keys begin to share records; and at its end.
#include "tests/property/SmallWorld.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/property/LiveCounts.h"
#include "tests/property/PatriciaEngine.h"

namespace Property {
namespace {

template <class EngineType, U32 offsetBits>
struct At {
   using E = EngineType;
   static constexpr U32 offset = offsetBits;
};

struct AtName {
   template <class Place>
   static std::string GetName(int) {
      return std::string(Place::E::name) + "At" + std::to_string(Place::offset);
   }
};

template <class Place>
class SmallWorldTest : public testing::Test {};

using Places = testing::Types<
   At<Ipv4Engine, 0>, At<Ipv4Engine, 14>, At<Ipv4Engine, 28>, At<Ipv4CompactEngine, 0>, At<Ipv4CompactEngine, 14>,
   At<Ipv4CompactEngine, 28>, At<Ipv6LegacyEngine, 0>, At<Ipv6LegacyEngine, 30>, At<Ipv6LegacyEngine, 62>,
   At<Ipv6LegacyEngine, 94>, At<Ipv6LegacyEngine, 124>, At<Ipv6CompactEngine, 0>, At<Ipv6CompactEngine, 30>,
   At<Ipv6CompactEngine, 54>, At<Ipv6CompactEngine, 62>, At<Ipv6CompactEngine, 94>, At<Ipv6CompactEngine, 124>>;
TYPED_TEST_SUITE(SmallWorldTest, Places, AtName);

TYPED_TEST(SmallWorldTest, everySetInEveryOrder) {
   const LiveCounts before;
   {
      using World = SmallWorld<typename TypeParam::E>;
      // A shape is asked on the first of the ways that lead to it; at full size, at one place, on each of them.
      World world(TypeParam::offset, isFull() && TypeParam::offset == 0);
      EXPECT_EQ("", world.run());
      // There are 31 sets of one, 465 of two and 4495 of three. Each is added in all orders, and after each of these
      // removed in all orders.
      std::size_t sets = 31 + 465;
      std::size_t states = (31 + 465 * 2) + (31 + 465 * 2 * 2 * 2);
      if (World::largestSet() == 3) {
         sets += 4495;
         states += 4495 * 6 + 4495 * 6 * 6 * 3;
      }
      EXPECT_EQ(states, world.states());
      EXPECT_GT(world.shapes(), sets);
   }
   EXPECT_EQ("", before.changes());
}

}  // namespace
}  // namespace Property
