// BarChart: counts as bars.
#include "tools/rtrie/BarChart.h"

#include <gtest/gtest.h>

#include <vector>

namespace Rtrie {
namespace BarChartTest {

std::string chart(const std::vector<Bar>& bars) { return barChart(bars, 10); }

TEST(BarChart, barsAreInProportion) {
   EXPECT_EQ(
      "/8       16  #\n"
      "/16   6,000  #####\n"
      "/24  12,000  ##########\n",
      chart({{"/8", 16}, {"/16", 6000}, {"/24", 12000}}));
}

TEST(BarChart, nothingForACountOfZero) {
   EXPECT_EQ("/24  1  ##########\n", chart({{"/8", 0}, {"/24", 1}, {"/128", 0}}));
   EXPECT_EQ("", chart({{"/8", 0}}));
   EXPECT_EQ("", chart({}));
}

}  // namespace BarChartTest
}  // namespace Rtrie
