// Chart: one figure of every engine against the size of the table, a line an engine, as a script for gnuplot that writes
// SVG to its standard output. Both axes are logarithmic. Ours are drawn solid and rivals dashed; the legend lists the
// lines from top to bottom as they end on the right, and after them the engines that were not built. An engine that was not
// measured is left out.
// Tested by tests/bench/ChartTest.cpp.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace Bench {

struct ChartPoint {
   double routes;
   double value;
};

struct ChartLine {
   std::string engine;
   bool isOurs = false;
   bool isBuilt = true;
   std::size_t style = 0;           // of color and point: the same engine looks the same on every chart
   std::vector<ChartPoint> points;  // by routes; empty: not measured
};

struct Chart {
   std::string name;  // of the file, without .svg
   std::string title;
   std::string subtitle;  // the table, the machine, the date
   std::string unit;      // of the values
   std::vector<ChartLine> lines;
};

// Whether there is anything to draw.
bool hasPoints(const Chart& chart);

// Requires: hasPoints(chart).
std::string gnuplotScript(const Chart& chart);

}  // namespace Bench
