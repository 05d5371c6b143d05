// Chart: the script for gnuplot, and what becomes of figures that are missing.
#include "bench/Chart.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace Bench {
namespace ChartTest {

using testing::HasSubstr;
using testing::Not;

Chart chart() {
   return {"match-v4",
           "Longest match",
           "a machine; today",
           "nanoseconds a lookup",
           {{"slow", true, true, 0, {{1000, 50}, {160147, 900}}},
            {"fast", true, true, 1, {{1000, 20}, {10000, 30}, {160147, 40}}},
            {"unasked", true, true, 2, {}},
            {"absent", false, false, 3, {}}}};
}

TEST(Chart, HasALineForEachEngineWithFigures) {
   const std::string script = gnuplotScript(chart());
   EXPECT_THAT(script, HasSubstr("$line0 << END\n1000 50\n160147 900\nEND\n"));
   EXPECT_THAT(script, HasSubstr("$line1 << END\n1000 20\n10000 30\n160147 40\nEND\n"));
   EXPECT_THAT(script, HasSubstr("title 'slow'"));
   EXPECT_THAT(script, HasSubstr("title 'fast'"));
   EXPECT_THAT(script, Not(HasSubstr("unasked")));
}

TEST(Chart, TellsOfAnEngineThatWasNotBuilt) {
   EXPECT_THAT(gnuplotScript(chart()), HasSubstr("keyentry with lines lc rgb '#ffffff' title 'absent: not built'"));
}

TEST(Chart, ListsLinesAsTheyEndFromTheTop) {
   Chart upsideDown = chart();
   std::swap(upsideDown.lines[0], upsideDown.lines[1]);
   EXPECT_EQ(gnuplotScript(upsideDown), gnuplotScript(chart()));
}

TEST(Chart, MarksTheSizesThatWereMeasured) {
   EXPECT_THAT(gnuplotScript(chart()), HasSubstr("set xtics ('1k' 1000, '10k' 10000, '160k' 160147)"));
}

TEST(Chart, MarksOneTwoFiveOnANarrowAxisAndPowersOfTenOnAWideOne) {
   EXPECT_THAT(gnuplotScript(chart()), HasSubstr("set ytics (20, 50, 100, 200, 500, 1000)"));
   Chart wide = chart();
   wide.lines[0].points[0].value = 70000;
   EXPECT_THAT(gnuplotScript(wide), HasSubstr("set ytics (100, 1000, 10000)"));
}

TEST(Chart, HasUnitsOnBothAxesWhichAreLogarithmic) {
   const std::string script = gnuplotScript(chart());
   EXPECT_THAT(script, HasSubstr("set logscale xy\n"));
   EXPECT_THAT(script, HasSubstr("set xlabel 'routes in the table'\n"));
   EXPECT_THAT(script, HasSubstr("set ylabel 'nanoseconds a lookup'\n"));
}

TEST(Chart, QuotesWhatGnuplotWouldRead) {
   Chart odd = chart();
   odd.title = "it's `date` \"\\n\"\nnext";
   EXPECT_THAT(gnuplotScript(odd), HasSubstr("set title 'it''s `date` \"\\n\" next' font"));
}

TEST(Chart, WithoutAFigureIsNothingToDraw) {
   Chart empty = chart();
   EXPECT_TRUE(hasPoints(empty));
   empty.lines.erase(empty.lines.begin(), empty.lines.begin() + 2);
   EXPECT_FALSE(hasPoints(empty));
}

}  // namespace ChartTest
}  // namespace Bench
