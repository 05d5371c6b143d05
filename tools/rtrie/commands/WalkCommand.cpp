#include "tools/rtrie/commands/WalkCommand.h"

#include <unistd.h>

#include <memory>

#include "tools/rtrie/Engine.h"
#include "tools/rtrie/Output.h"
#include "tools/rtrie/Registry.h"
#include "tools/rtrie/RouteFormat.h"
#include "tools/rtrie/TableSet.h"
#include "tools/tables/PrefixText.h"
#include "tools/tables/TableLoader.h"

namespace Rtrie {
namespace {

struct WalkOptions {
   TableOptions table;
   std::string format = std::string(routeFormats().front().name);
   std::string prefix;
};

void walk(const TableSet& tables, const RouteTable::Prefix& prefix, const RouteFormat& format, Output& output) {
   const auto* table = tables.of(prefix.af()).table.get();
   if (table == nullptr) {
      return;
   }
   table->subtree(prefix, [&](const RouteTable::Prefix& route) {
      format.route(route, tables.payload(route).value_or(""), output);
   });
}

ExitStatus run(const WalkOptions& options, Session& session) {
   session.checkStandardInput(options.table);
   const Engine& engine = engineNamed(options.table.engine, Questions::subtree, "walk");
   const RouteFormat& format = rowNamed(routeFormats(), "format", options.format);
   RouteTable::Prefix prefix;
   if (!options.prefix.empty()) {
      try {
         prefix = prefixOfText(options.prefix);
      } catch (const BadText& fault) {
         throw UsageError(fault.what());
      }
   }
   const auto asked = session.tables(options.table);
   const TableSet& tables = asked->in(engine);
   Output output(STDOUT_FILENO);
   format.begin(output);
   if (!options.prefix.empty()) {
      walk(tables, prefix, format, output);
   } else {
      walk(tables, Corenet::Prefix(), format, output);
      walk(tables, Corenet::Ip6Prefix(), format, output);
   }
   output.flush();
   return asked.faults == 0 ? ExitStatus::ok : ExitStatus::badData;
}

}  // namespace

Run addWalk(CLI::App& app) {
   auto options = std::make_shared<WalkOptions>();
   options->table.addTo(app);
   app.add_option("--format", options->format, "How routes are printed")->type_name("FORMAT")->capture_default_str();
   app.add_option("PREFIX", options->prefix, "Only the routes that it covers; without it, all")->type_name("");
   app.footer(helpSection("Engines", summariesOf(engines())) + "\n" +
              helpSection("Formats", summariesOf(routeFormats())) + "\n" +
              helpSection("Example", "  rtrie walk --table routes.txt 10.0.0.0/8"));
   return [options](Session& session) { return run(*options, session); };
}

}  // namespace Rtrie
