// Small worlds on intrusive tries, tried out whole, at the top of an address, across the ends of bytes and at its end.
#include <gtest/gtest.h>

#include "tests/property/IntrusiveEngine.h"
#include "tests/property/LiveCounts.h"
#include "tests/property/SmallWorld.h"

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
class IntrusiveSmallWorld : public testing::Test {};

using Places = testing::Types<At<Ipv6IntrusiveEngine, 0>, At<Ipv6IntrusiveEngine, 4>, At<Ipv6IntrusiveEngine, 62>,
                              At<Ipv6IntrusiveEngine, 124>, At<Ipv4IntrusiveEngine, 0>, At<Ipv4IntrusiveEngine, 14>,
                              At<Ipv4IntrusiveEngine, 28>>;
TYPED_TEST_SUITE(IntrusiveSmallWorld, Places, AtName);

TYPED_TEST(IntrusiveSmallWorld, everySetInEveryOrderMakesOneTree) {
   const LiveCounts before;
   {
      // One set of routes makes one tree, so that asking it anew would tell nothing.
      SmallWorld<typename TypeParam::E> world(TypeParam::offset, false);
      EXPECT_EQ("", world.run());
      // As many sets as SmallWorldTest tells, and the empty one: each has one tree, whatever led to it.
      const std::size_t sets = world.largestSet() == 3 ? 31 + 465 + 4495 : 31 + 465;
      EXPECT_EQ(sets + 1, world.shapes());
   }
   EXPECT_EQ("", before.changes());
}

}  // namespace
}  // namespace Property
