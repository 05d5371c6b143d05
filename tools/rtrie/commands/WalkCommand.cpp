#include "tools/rtrie/commands/WalkCommand.h"

#include <unistd.h>

#include <memory>

#include "tools/rtrie/Engine.h"
#include "tools/rtrie/JsonLine.h"
#include "tools/rtrie/Output.h"
#include "tools/rtrie/Registry.h"
#include "tools/rtrie/TableSet.h"
#include "tools/rtrie/TsvField.h"
#include "tools/tables/PrefixText.h"
#include "tools/tables/TableLoader.h"

namespace Rtrie {
namespace {

// How one route is printed.
struct WalkFormat {
   std::string_view name;
   std::string_view summary;
   void (*route)(const RouteTable::Prefix& route, std::string_view payload, Output& output);
};

constexpr WalkFormat walkFormats[] = {
   {"text", "the route, and behind a blank its payload: a table of routes again",
    [](const RouteTable::Prefix& route, std::string_view payload, Output& output) {
       output.text(route.stringValue());
       output.text(payload.empty() ? "" : " ");
       output.text(payload);
       output.text("\n");
    }},
   {"tsv", "the route alone",
    [](const RouteTable::Prefix& route, std::string_view, Output& output) {
       output.text(route.stringValue());
       output.text("\n");
    }},
   {"tsv-payload", "route, tab, payload",
    [](const RouteTable::Prefix& route, std::string_view payload, Output& output) {
       output.text(route.stringValue());
       output.text("\t");
       output.text(tsvField(payload));
       output.text("\n");
    }},
   {"json", "one object a line: prefix, length, payload",
    [](const RouteTable::Prefix& route, std::string_view payload, Output& output) {
       jsonLine(output,
                {{"prefix", std::string(route.stringValue())}, {"length", route.len()}, {"payload", payload}});
    }},
};

struct WalkOptions {
   TableOptions table;
   std::string format = std::string(walkFormats[0].name);
   std::string prefix;
};

void walk(const TableSet& tables, const RouteTable::Prefix& prefix, const WalkFormat& format, Output& output) {
   const auto* table = tables.of(prefix.af()).table.get();
   if (table == nullptr) {
      return;
   }
   table->subtree(prefix, [&](const RouteTable::Prefix& route) {
      format.route(route, tables.payload(route).value_or(""), output);
      output.lineDone();
   });
}

ExitStatus run(const WalkOptions& options) {
   options.table.check();
   const Engine& engine = engineNamed(options.table.engine, Questions::subtree, "walk");
   const WalkFormat& format = rowNamed(std::span<const WalkFormat>(walkFormats), "format", options.format);
   RouteTable::Prefix prefix;
   if (!options.prefix.empty()) {
      try {
         prefix = prefixOfText(options.prefix);
      } catch (const BadText& fault) {
         throw UsageError(fault.what());
      }
   }
   RouteSet routes;
   const auto report = loadTables(options.table, routes);
   const TableSet tables(engine, routes);
   Output output(STDOUT_FILENO);
   if (!options.prefix.empty()) {
      walk(tables, prefix, format, output);
   } else {
      walk(tables, Corenet::Prefix(), format, output);
      walk(tables, Corenet::Ip6Prefix(), format, output);
   }
   output.flush();
   return report.faults == 0 ? ExitStatus::ok : ExitStatus::badData;
}

}  // namespace

Run addWalk(CLI::App& app) {
   auto options = std::make_shared<WalkOptions>();
   options->table.addTo(app);
   app.add_option("--format", options->format, "How routes are printed")->type_name("FORMAT")->capture_default_str();
   app.add_option("PREFIX", options->prefix, "Only the routes that it covers; without it, all")->type_name("");
   app.footer(helpSection("Engines", summariesOf(engines())) + "\n" +
              helpSection("Formats", summariesOf(std::span<const WalkFormat>(walkFormats))) + "\n" +
              helpSection("Example", "  rtrie walk --table routes.txt 10.0.0.0/8"));
   return [options] { return run(*options); };
}

}  // namespace Rtrie
