// Small worlds on the multibit trie, tried out whole, at its top, at its end, and across each border between two levels, so that
// routes of one world stand in both.
#include <gtest/gtest.h>

#include "tests/property/LiveCounts.h"
#include "tests/property/MultibitEngine.h"
#include "tests/property/SmallWorld.h"

namespace Property {
namespace {

class MultibitSmallWorld : public testing::TestWithParam<U32> {};

TEST_P(MultibitSmallWorld, everySetInEveryOrder) {
   const LiveCounts before;
   {
      // One set of routes makes nearly one tree, so that asking each anew would tell nothing.
      SmallWorld<MultibitEngine> world(GetParam(), false);
      EXPECT_EQ("", world.run());
      // As many sets as SmallWorldTest tells, and the empty one.
      const std::size_t sets = world.largestSet() == 3 ? 31 + 465 + 4495 : 31 + 465;
      EXPECT_GE(world.shapes(), sets + 1);
   }
   EXPECT_EQ("", before.changes());
}

INSTANTIATE_TEST_SUITE_P(At, MultibitSmallWorld, testing::Values(0, 6, 14, 18, 22, 26, 28),
                         testing::PrintToStringParamName());

}  // namespace
}  // namespace Property
