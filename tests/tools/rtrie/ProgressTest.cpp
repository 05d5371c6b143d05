// Progress: the line of the bar. That it shows itself on a terminal alone is tested with the program.
#include "tools/rtrie/Progress.h"

#include <gtest/gtest.h>

#include <thread>

namespace Rtrie {
namespace {

TEST(Progress, lineOfAFile) {
   EXPECT_EQ("t  [........................]    0%  0 lines", progressLine("t", 0, 1000, 0));
   EXPECT_EQ("t  [############............]   50%  1,234 lines", progressLine("t", 500, 1000, 1234));
   EXPECT_EQ("t  [########################]  100%  9 lines", progressLine("t", 1000, 1000, 9));
   EXPECT_EQ("t  [########################]  100%  9 lines", progressLine("t", 2000, 1000, 9));
}

TEST(Progress, lineOfAPipe) {
   EXPECT_EQ("<stdin>  5,000 lines", progressLine("<stdin>", 77, 0, 5000));
}

TEST(Progress, showsOnlyAfterAWhileAndOnlyIfAsked) {
   testing::internal::CaptureStderr();
   {
      Progress shown(true);
      Progress hidden(false);
      shown.update("t", 0, 0, 1);  // too early
      std::this_thread::sleep_for(std::chrono::milliseconds(300));
      hidden.update("t", 0, 0, 2);
      shown.update("t", 0, 0, 3);
      shown.update("t", 0, 0, 4);  // too soon after the last
      shown.hide();
      shown.hide();
   }
   EXPECT_EQ("\rt  3 lines\x1b[K\r\x1b[K", testing::internal::GetCapturedStderr());
}

}  // namespace
}  // namespace Rtrie
