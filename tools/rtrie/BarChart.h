// BarChart: counts as lines of text, the longest bar for the greatest count.
//
//    /8          16  #
//    /24    600,000  ########################################
//
// Tested by tests/tools/rtrie/BarChartTest.cpp.
#pragma once

#include <cstdint>
#include <span>
#include <string>

#include "routetrie/platform/Types.h"

namespace Rtrie {

struct Bar {
   std::string label;
   std::uint64_t count;
};

// One line a bar with a count, in the order given; a count of 0 has no line, every other has at least one mark.
// widthMarks: length of the longest bar.
std::string barChart(std::span<const Bar> bars, unsigned widthMarks);

}  // namespace Rtrie
