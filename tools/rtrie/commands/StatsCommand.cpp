#include "tools/rtrie/commands/StatsCommand.h"

#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <functional>
#include <memory>
#include <string_view>
#include <utility>
#include <vector>

#include "routetrie/platform/Corvid/Inspect.h"
#include "tools/rtrie/BarChart.h"
#include "tools/rtrie/Engine.h"
#include "tools/rtrie/InspectPath.h"
#include "tools/rtrie/JsonLine.h"
#include "tools/rtrie/Output.h"
#include "tools/rtrie/Registry.h"
#include "tools/rtrie/Rows.h"
#include "tools/rtrie/TableSet.h"
#include "tools/tables/Numbers.h"
#include "tools/tables/PrefixText.h"
#include "tools/tables/TableLoader.h"

namespace Rtrie {
namespace {

constexpr unsigned chartMarks = 50;

std::string timeAndRate(double seconds, std::uint64_t count, std::string_view what) {
   return fmt::format("{:.3f} s ({} {} a second)", seconds, grouped(perSecond(count, seconds)), what);
}

// What the engine's own object counts, which may be without the default route, and the name of that field; none if it
// does not count.
struct OwnCount {
   std::string name;
   std::uint64_t routes = 0;
};
std::optional<OwnCount> ownCountOf(const Engine& engine, const RouteTable& table) {
   if (!includes(engine.answers, Questions::object)) {
      return std::nullopt;
   }
   auto& object = table.object();
   const auto type = Corvid::Inspect::typeOf(object);
   const auto field = type ? type->field("routes") : std::nullopt;
   if (!field) {
      return std::nullopt;
   }
   return OwnCount{fmt::format("{}::routes", field->owner().name()),
                   std::stoull(InspectPath("routes").read(object).text)};
}

// A line for each kind at each level, the first of them with the level's name.
void printKinds(const std::vector<RouteTable::Level>& levels, Output& output) {
   std::size_t names = 0;
   for (const auto& level : levels) {
      names = std::max(names, level.name.size());
   }
   output.text("  nodes by kind\n");
   for (const auto& level : levels) {
      std::string_view name = level.name;
      for (const auto& kind : level.kinds) {
         output.format("    {:<{}}  {:<6}  {:>11}  {:>14} bytes\n", name, names, kind.name, grouped(kind.count),
                       grouped(kind.bytes));
         name = "";
      }
   }
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
   if (const auto own = ownCountOf(engine, *family.table)) {
      line("engine counts", fmt::format("{} ({})", grouped(own->routes), own->name));
   }
   const RouteTable::Shape shape = family.table->shape();
   if (shape.nodes) {
      line("nodes", grouped(*shape.nodes));
   }
   if (const auto& depth = shape.depth) {
      line("depth", fmt::format("{:.2f} nodes on average, {} at most", depth->average, depth->worst));
   }
   line("live bytes", grouped(family.liveBytes));
   for (const auto& [use, bytes] : family.table->bytesByUse()) {
      line(fmt::format("  {}", use), grouped(bytes));
   }
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

   const auto chart = [&](std::string_view title, auto figure) {
      std::vector<Bar> levelBars;
      levelBars.reserve(shape.levels.size());
      for (const auto& level : shape.levels) {
         levelBars.push_back({"    " + level.name, std::invoke(figure, level)});
      }
      output.format("  {}\n", title);
      output.text(barChart(levelBars, chartMarks));
   };
   if (!shape.levels.empty()) {
      chart("nodes by level", &RouteTable::Level::nodes);
      chart("routes by level", &RouteTable::Level::routes);
      if (std::ranges::any_of(shape.levels, [](const auto& level) { return !level.kinds.empty(); })) {
         chart("bytes by level", &RouteTable::Level::bytes);
         printKinds(shape.levels, output);
      }
   }
}

// What the command found out, for either form.
struct Figures {
   const Engine& engine;
   const RouteSet& routes;
   const TableSet& tables;
   const LoadReport& report;
   double insertSeconds;
};

void printText(const Figures& figures, Output& output) {
   const auto& [engine, routes, tables, report, insertSeconds] = figures;
   output.format("{:<17}{}\n", "engine", engine.name);
   output.format("{:<17}{}\n", "routes", grouped(routes.size()));
   output.format("{:<17}{}\n", "load time", timeAndRate(report.seconds + insertSeconds, routes.size(), "routes"));
   output.format("{:<17}{}\n", "  reading", timeAndRate(report.seconds, report.lines, "lines"));
   output.format("{:<17}{}\n", "  inserting", timeAndRate(insertSeconds, routes.size(), "routes"));
   for (auto af : families) {
      printFamily(output, engine, af, routes, tables.of(af));
   }
}

Json familyJson(const Engine& engine, Corenet::AddressFamily af, const RouteSet& routes,
                const TableSet::Family& family) {
   Json object = {{"family", Corenet::stringValue(af).view()}, {"routes", routes.size(af)}};
   object["held"] = family.table != nullptr;
   if (!family.table) {
      return object;
   }
   if (const auto own = ownCountOf(engine, *family.table)) {
      object["engineCounts"] = {{own->name, own->routes}};
   }
   const RouteTable::Shape shape = family.table->shape();
   if (shape.nodes) {
      object["nodes"] = *shape.nodes;
   }
   if (const auto& depth = shape.depth) {
      object["averageDepth"] = depth->average;
      object["worstDepth"] = depth->worst;
   }
   object["liveBytes"] = family.liveBytes;
   for (const auto& [use, bytes] : family.table->bytesByUse()) {
      object["bytesByUse"][std::string(use)] = bytes;
   }
   object["bytesARoute"] = static_cast<double>(family.liveBytes) / static_cast<double>(routes.size(af));
   object["insertSeconds"] = family.seconds;
   Json byLength = Json::object();
   const auto counts = routes.countByLength(af);
   for (std::size_t length = 0; length < counts.size(); ++length) {
      if (counts[length] != 0) {
         byLength[std::to_string(length)] = counts[length];
      }
   }
   object["routesByLength"] = std::move(byLength);
   Json levels = Json::array();
   for (const auto& level : shape.levels) {
      Json told = {{"name", level.name}, {"nodes", level.nodes}, {"routes", level.routes}};
      if (!level.kinds.empty()) {
         told["bytes"] = level.bytes();
         for (const auto& kind : level.kinds) {
            told["kinds"].push_back({{"name", kind.name}, {"count", kind.count}, {"bytes", kind.bytes}});
         }
      }
      levels.push_back(std::move(told));
   }
   object["levels"] = std::move(levels);
   return object;
}

// Times in seconds.
Json jsonOf(const Figures& figures) {
   Json families = Json::array();
   for (auto af : Rtrie::families) {
      families.push_back(familyJson(figures.engine, af, figures.routes, figures.tables.of(af)));
   }
   return {{"engine", figures.engine.name},
           {"routes", figures.routes.size()},
           {"lines", figures.report.lines},
           {"faults", figures.report.faults},
           {"leftOut", figures.report.leftOut},
           {"lost", figures.report.lost.count()},
           {"lostInLists", figures.report.lost.of(Choice::lastLine)},
           {"lostByMetric", figures.report.lost.of(Choice::metric)},
           {"lostByPath", figures.report.lost.of(Choice::asPath)},
           {"lostAlike", figures.report.lost.alike},
           {"replaced", figures.report.lost.replaced},
           {"bound", figures.report.bound},
           {"readSeconds", figures.report.seconds},
           {"insertSeconds", figures.insertSeconds},
           {"families", std::move(families)}};
}

// One object.
void printStatsJson(const Figures& figures, Output& output) { jsonLine(output, jsonOf(figures)); }

// Each figure of the object on a line of its own, by the names that lead to it; those in a list by their family or name.
void printFigures(const std::string& path, const Json& value, RowForm form, Output& output) {
   if (!value.is_structured()) {
      row(output, form, {path, value.is_string() ? value.get<std::string>() : value.dump()});
      return;
   }
   for (const auto& [key, each] : value.items()) {
      std::string name = key;
      for (const char* naming : {"family", "name"}) {
         if (value.is_array() && each.contains(naming)) {
            name = each[naming].get<std::string>();
         }
      }
      printFigures(path.empty() ? name : fmt::format("{}.{}", path, name), each, form, output);
   }
}

template <RowForm form>
void printStatsRows(const Figures& figures, Output& output) {
   rowNames(output, form, {"figure", "value"});
   printFigures("", jsonOf(figures), form, output);
}

struct StatsFormat {
   std::string_view name;
   std::string_view summary;
   void (*print)(const Figures& figures, Output& output);
};

constexpr StatsFormat statsFormats[] = {
   {"text", "for people", printText},
   {"tsv", "a figure a line: its name in the object, tab, value", printStatsRows<RowForm::tsv>},
   {"csv", "the same with a comma, and the names of the columns first", printStatsRows<RowForm::csv>},
   {"json", "one object", printStatsJson},
};

struct StatsOptions {
   TableOptions table;
   std::string format = std::string(statsFormats[0].name);
};

ExitStatus run(const StatsOptions& options, Session& session) {
   session.checkStandardInput(options.table);
   const Engine& engine = engineNamed(options.table.engine);
   const StatsFormat& format = rowNamed(std::span<const StatsFormat>(statsFormats), "format", options.format);
   const auto asked = session.tables(options.table);
   const TableSet& tables = asked->in(engine);

   double insertSeconds = 0;
   for (auto af : families) {
      insertSeconds += tables.of(af).seconds;
   }
   Output output(STDOUT_FILENO);
   format.print({engine, asked->routes(), tables, asked->report(), insertSeconds}, output);
   output.flush();
   return asked.faults == 0 ? ExitStatus::ok : ExitStatus::badData;
}

}  // namespace

Run addStats(CLI::App& app) {
   auto options = std::make_shared<StatsOptions>();
   options->table.addTo(app);
   addFormatOption(app, options->format, "How the figures are printed");
   app.footer(helpSection("Engines", summariesOf(engines())) + "\n" +
              helpSection("Formats", summariesOf(std::span<const StatsFormat>(statsFormats))) + "\n" +
              helpSection("Example", "  rtrie stats --table /usr/share/tor/geoip --engine patricia-compact"));
   return [options](Session& session) { return run(*options, session); };
}

}  // namespace Rtrie
