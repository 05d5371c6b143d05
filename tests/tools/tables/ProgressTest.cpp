// Progress: the line of the bar. That it shows itself on a terminal alone is tested with the program.
#include "tools/tables/Progress.h"

#include <gtest/gtest.h>

#include <chrono>

namespace Rtrie {
namespace ProgressTest {

TEST(Progress, lineOfAFile) {
   EXPECT_EQ("t  [........................]    0%  0 lines", progressLine("t", 0, 1000, 0));
   EXPECT_EQ("t  [############............]   50%  1,234 lines", progressLine("t", 500, 1000, 1234));
   EXPECT_EQ("t  [########################]  100%  9 lines", progressLine("t", 1000, 1000, 9));
   EXPECT_EQ("t  [########################]  100%  9 lines", progressLine("t", 2000, 1000, 9));
}

TEST(Progress, lineOfAPipe) { EXPECT_EQ("<stdin>  5,000 lines", progressLine("<stdin>", 77, 0, 5000)); }

TEST(Progress, showsOnlyAfterAWhileAndOnlyIfAsked) {
   using std::chrono::milliseconds;
   Progress::Clock::time_point time{};
   const auto now = [&] { return time; };
   testing::internal::CaptureStderr();
   {
      Progress shown(true, now);
      Progress hidden(false, now);
      time += milliseconds(249);
      shown.update("t", 0, 0, 1);  // too early
      time += milliseconds(1);
      hidden.update("t", 0, 0, 2);
      shown.update("t", 0, 0, 3);
      time += milliseconds(99);
      shown.update("t", 0, 0, 4);  // too soon after the last
      shown.hide();
      shown.hide();  // there is nothing to hide any more
      time += milliseconds(1);
      shown.update("t", 0, 0, 5);
   }
   EXPECT_EQ("\rt  3 lines\x1b[K\r\x1b[K\rt  5 lines\x1b[K\r\x1b[K", testing::internal::GetCapturedStderr());
}

}  // namespace ProgressTest
}  // namespace Rtrie
