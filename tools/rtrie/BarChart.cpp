#include "tools/rtrie/BarChart.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <iterator>

#include "tools/tables/Numbers.h"

namespace Rtrie {

std::string barChart(std::span<const Bar> bars, unsigned widthMarks) {
   std::uint64_t greatest = 0;
   std::size_t labelWidth = 0;
   for (const Bar& bar : bars) {
      if (bar.count == 0) {
         continue;
      }
      greatest = std::max(greatest, bar.count);
      labelWidth = std::max(labelWidth, bar.label.size());
   }
   const std::size_t countWidth = grouped(greatest).size();
   std::string chart;
   for (const Bar& bar : bars) {
      if (bar.count == 0) {
         continue;
      }
      const auto share = static_cast<double>(bar.count) / static_cast<double>(greatest);
      const auto marks = std::max(1U, static_cast<unsigned>(std::lround(share * widthMarks)));
      fmt::format_to(std::back_inserter(chart), "{:<{}}  {:>{}}  {:#<{}}\n", bar.label, labelWidth,
                     grouped(bar.count), countWidth, "", marks);
   }
   return chart;
}

}  // namespace Rtrie
