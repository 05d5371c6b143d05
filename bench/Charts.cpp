#include "bench/Charts.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <string_view>

namespace Bench {

namespace {

struct ChartRow {
   Op op;
   std::string_view title;
   std::string_view unit;
};

constexpr std::array chartRows = {
   ChartRow{Op::match, "Longest match, one at a time", "nanoseconds a lookup"},
   ChartRow{Op::matchChain, "Longest match, each query known only after the answer before", "nanoseconds a lookup"},
   ChartRow{Op::matchBulk, "Longest match, in bursts of 32", "nanoseconds a lookup"},
   ChartRow{Op::memory, "Memory", "bytes a route"},
};

std::string nameOf(Op op) {
   return std::string(
      std::find_if(opRows.begin(), opRows.end(), [&](const OpRow& row) { return row.op == op; })->name);
}

template <class F>
Chart chartOf(const ChartRow& row, const Results& results, const RunInfo& info, std::span<const EngineRow> engines) {
   const std::string op = nameOf(row.op);
   const std::string family(F::name);
   Chart chart{fmt::format("{}-{}", op, family),
               fmt::format("{}, IP{}", row.title, F::name),
               fmt::format("{}; {}", info.machine, info.date),
               std::string(row.unit),
               {}};
   for (std::size_t i = 0; i < engines.size(); ++i) {
      const EngineRow& engine = engines[i];
      if (engine.isOurs && engine.makerFor<F>() == nullptr) {
         continue;  // of the other family alone
      }
      ChartLine line{std::string(engine.nameFor<F>()), engine.isOurs, engine.makerFor<F>() != nullptr, i, {}};
      if (const auto sizes = info.routes.find(family); sizes != info.routes.end()) {
         for (const auto& [size, routes] : sizes->second) {
            if (const Row* figures = results.find({op, line.engine, family, size}); figures != nullptr) {
               line.points.push_back({static_cast<double>(routes), figures->median()});
            }
         }
      }
      std::sort(line.points.begin(), line.points.end(),
                [](const ChartPoint& a, const ChartPoint& b) { return a.routes < b.routes; });
      chart.lines.push_back(std::move(line));
   }
   return chart;
}

}  // namespace

std::vector<Chart> chartsOf(const Results& results, const RunInfo& info, std::span<const EngineRow> engines) {
   std::vector<Chart> charts;
   for (const ChartRow& row : chartRows) {
      for (auto& chart : {chartOf<V4>(row, results, info, engines), chartOf<V6>(row, results, info, engines)}) {
         if (hasPoints(chart)) {
            charts.push_back(chart);
         }
      }
   }
   return charts;
}

}  // namespace Bench
