#include "routetrie/platform/Corvid/ThreadControl.h"

#include <gtest/gtest.h>

namespace ThreadControlTest {

using Corvid::ThreadControl;

TEST(ThreadControl, theByteSaysWhetherThereAreThreads) {
   EXPECT_EQ(0, *ThreadControl::tsp_);
   EXPECT_FALSE(ThreadControl::multiThreaded());
   ThreadControl::multiThreadedIs(true);
   EXPECT_NE(0, *ThreadControl::tsp_);
   EXPECT_TRUE(ThreadControl::multiThreaded());
   *ThreadControl::tsp_ = 0;
   EXPECT_FALSE(ThreadControl::multiThreaded());
   *ThreadControl::tsp_ = 7;
   EXPECT_TRUE(ThreadControl::multiThreaded());
   ThreadControl::multiThreadedIs(false);
   EXPECT_EQ(0, *ThreadControl::tsp_);
}

}  // namespace ThreadControlTest
