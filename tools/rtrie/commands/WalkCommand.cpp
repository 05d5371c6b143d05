#include "tools/rtrie/commands/WalkCommand.h"

#include <unistd.h>

#include <memory>

#include "tools/rtrie/Engine.h"
#include "tools/rtrie/Output.h"
#include "tools/rtrie/PrefixText.h"
#include "tools/rtrie/Registry.h"
#include "tools/rtrie/TableLoader.h"
#include "tools/rtrie/TableSet.h"

namespace Rtrie {
namespace {

struct WalkOptions {
   TableOptions table;
   std::string prefix;
};

// One route a line, and behind a blank its payload: a table of routes again.
void walk(const TableSet& tables, const RouteTable::Prefix& prefix, Output& output) {
   const auto* table = tables.of(prefix.af()).table.get();
   if (table == nullptr) {
      return;
   }
   table->subtree(prefix, [&](const RouteTable::Prefix& route) {
      output.text(route.stringValue());
      if (const auto payload = tables.payload(route); payload && !payload->empty()) {
         output.text(" ");
         output.text(*payload);
      }
      output.text("\n");
      output.lineDone();
   });
}

ExitStatus run(const WalkOptions& options) {
   options.table.check();
   const Engine& engine = rowNamed(engines(), "engine", options.table.engine);
   requireAnswers(engine, Questions::subtree, "walk", engines());
   RouteTable::Prefix prefix;
   if (!options.prefix.empty()) {
      try {
         prefix = prefixOfText(options.prefix);
      } catch (const BadText& fault) {
         throw UsageError(fault.what());
      }
   }
   RouteSet routes;
   const auto report = loadTables(options.table.tables, options.table.strict, routes);
   const TableSet tables(engine, routes);
   Output output(STDOUT_FILENO);
   if (!options.prefix.empty()) {
      walk(tables, prefix, output);
   } else {
      walk(tables, Corenet::Prefix(), output);
      walk(tables, Corenet::Ip6Prefix(), output);
   }
   output.flush();
   return report.faults == 0 ? ExitStatus::ok : ExitStatus::badData;
}

}  // namespace

Run addWalk(CLI::App& app) {
   auto options = std::make_shared<WalkOptions>();
   options->table.addTo(app);
   app.add_option("PREFIX", options->prefix, "Only the routes that it covers; without it, all")->type_name("");
   app.footer(helpSection("Engines", summariesOf(engines())) + "\n" +
              helpSection("Example", "  rtrie walk --table routes.txt 10.0.0.0/8"));
   return [options] { return run(*options); };
}

}  // namespace Rtrie
