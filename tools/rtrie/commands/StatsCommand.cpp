#include "tools/rtrie/commands/StatsCommand.h"

#include <fmt/format.h>
#include <unistd.h>

#include <cstdint>
#include <memory>

#include "tools/rtrie/BarChart.h"
#include "tools/rtrie/Engine.h"
#include "tools/rtrie/Numbers.h"
#include "tools/rtrie/Output.h"
#include "tools/rtrie/PrefixText.h"
#include "tools/rtrie/Registry.h"
#include "tools/rtrie/TableLoader.h"
#include "tools/rtrie/TableSet.h"

namespace Rtrie {
namespace {

constexpr unsigned chartMarks = 50;

std::string timeAndRate(double seconds, std::uint64_t count, std::string_view what) {
   return fmt::format("{:.3f} s ({} {} a second)", seconds, grouped(perSecond(count, seconds)), what);
}

void printFamily(Output& output, const Engine& engine, Corenet::AddressFamily af, const RouteSet& routes,
                 const TableSet::Family& family) {
   output.format("\n{}\n", familyName(af));
   const auto line = [&](std::string_view name, std::string_view value) {
      output.format("  {:<15}{}\n", name, value);
   };
   if (routes.size(af) == 0) {
      line("routes", "0");
      return;
   }
   if (!family.table) {
      line("routes", fmt::format("{} in the tables: engine {} holds none", grouped(routes.size(af)), engine.name));
      return;
   }
   std::uint64_t const count = family.table->routes();
   line("routes", grouped(count));
   line("nodes", grouped(family.table->nodes()));
   line("live bytes", grouped(family.liveBytes));
   line("bytes a route", fmt::format("{:.2f}", static_cast<double>(family.liveBytes) / static_cast<double>(count)));
   line("insert time", timeAndRate(family.seconds, count, "routes"));

   std::vector<Bar> bars;
   const auto counts = routes.countByLength(af);
   bars.reserve(counts.size());
   for (std::size_t length = 0; length < counts.size(); ++length) {
      bars.push_back({fmt::format("    /{}", length), counts[length]});
   }
   output.text("  routes by length\n");
   output.text(barChart(bars, chartMarks));

   const auto levels = family.table->levels();
   const auto chart = [&](std::string_view title, std::uint64_t RouteTable::Level::*figure) {
      std::vector<Bar> levelBars;
      levelBars.reserve(levels.size());
      for (const auto& level : levels) {
         levelBars.push_back({"    " + level.name, level.*figure});
      }
      output.format("  {}\n", title);
      output.text(barChart(levelBars, chartMarks));
   };
   if (!levels.empty()) {
      chart("nodes by level", &RouteTable::Level::nodes);
      chart("routes by level", &RouteTable::Level::routes);
   }
}

ExitStatus run(const TableOptions& options) {
   options.check();
   const Engine& engine = rowNamed(engines(), "engine", options.engine);
   RouteSet routes;
   const auto report = loadTables(options.tables, options.strict, routes);
   const TableSet tables(engine, routes);

   double insertSeconds = 0;
   for (auto af : families) {
      insertSeconds += tables.of(af).seconds;
   }
   Output output(STDOUT_FILENO);
   output.format("{:<17}{}\n", "engine", engine.name);
   output.format("{:<17}{}\n", "routes", grouped(routes.size()));
   output.format("{:<17}{}\n", "load time", timeAndRate(report.seconds + insertSeconds, routes.size(), "routes"));
   output.format("{:<17}{}\n", "  reading", timeAndRate(report.seconds, report.lines, "lines"));
   output.format("{:<17}{}\n", "  inserting", timeAndRate(insertSeconds, routes.size(), "routes"));
   for (auto af : families) {
      printFamily(output, engine, af, routes, tables.of(af));
   }
   output.flush();
   return report.faults == 0 ? ExitStatus::ok : ExitStatus::badData;
}

}  // namespace

Run addStats(CLI::App& app) {
   auto options = std::make_shared<TableOptions>();
   options->addTo(app);
   app.footer(helpSection("Engines", summariesOf(engines())) + "\n" +
              helpSection("Example", "  rtrie stats --table /usr/share/tor/geoip --engine patricia-compact"));
   return [options] { return run(*options); };
}

}  // namespace Rtrie
