// The C library's own assert.h first, with assertions on, and then NDEBUG: the rules hold beside the one and under the
// other.
#undef NDEBUG
#include <cassert>
#define NDEBUG

#include "routetrie/platform/Corvid/Assert.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <string>

namespace AssertTest {

using testing::AllOf;
using testing::HasSubstr;

#define WIDTH_LIMIT 32

bool nodeDataEnabled() { return true; }

struct Rules {
   int evaluations = 0;

   bool holds(bool value) {
      ++evaluations;
      return value;
   }
   void check(bool value) { ROUTETRIE_ASSERT(holds(value)); }
   static void isBelowLimit(int width) { ROUTETRIE_ASSERT(width < WIDTH_LIMIT); }
   static void hasData(const void* data) {
      ROUTETRIE_ASSERT(nodeDataEnabled() == bool(data), "nodeDataEnabled() == bool( data )");
   }
   static constexpr int half(int value) {
      ROUTETRIE_ASSERT(value % 2 == 0);
      return value / 2;
   }
};

TEST(Assert, evaluatesTheConditionOnce) {
   Rules rules;
   rules.check(true);
   EXPECT_EQ(1, rules.evaluations);
   Rules::isBelowLimit(31);
   Rules::hasData(&rules);
}

TEST(Assert, isAnExpressionThatNeedsNoBraces) {
   bool elseTaken = false;
   if (nodeDataEnabled())
      ROUTETRIE_ASSERT(true);
   else
      elseTaken = true;
   EXPECT_FALSE(elseTaken);
}

TEST(Assert, worksInConstantExpressions) { static_assert(Rules::half(8) == 4); }

TEST(AssertDeathTest, printsTheConditionAndTheFunction) {
   EXPECT_DEATH(Rules().check(false), AllOf(HasSubstr("AssertTest.cpp:"), HasSubstr("Rules::check(bool): "),
                                            HasSubstr("Assertion `holds(value)' failed.")));
   EXPECT_DEATH(Rules::half(7), HasSubstr("Assertion `value % 2 == 0' failed."));
}

TEST(AssertDeathTest, printsConstantsByTheirName) {
   EXPECT_DEATH(Rules::isBelowLimit(32), HasSubstr("Assertion `width < WIDTH_LIMIT' failed."));
}

TEST(AssertDeathTest, printsTheGivenTextInstead) {
   EXPECT_DEATH(Rules::hasData(nullptr), HasSubstr("Assertion `nodeDataEnabled() == bool( data )' failed."));
}

TEST(AssertDeathTest, endsInAbort) {
   EXPECT_EXIT(Rules().check(false), testing::KilledBySignal(SIGABRT), HasSubstr("holds(value)"));
}

}  // namespace AssertTest
