#include "tools/rtrie/commands/DumpCommand.h"

#include <unistd.h>

#include <memory>

#include "routetrie/platform/Keel/DumpContext.h"
#include "tools/rtrie/Engine.h"
#include "tools/rtrie/OutputStream.h"
#include "tools/rtrie/Registry.h"
#include "tools/rtrie/TableSet.h"
#include "tools/tables/PrefixText.h"
#include "tools/tables/TableLoader.h"

namespace Rtrie {
namespace {

struct DumpOptions {
   TableOptions table;
   bool verbose = false;
   bool tree = false;
   U32 limit = Keel::DumpContext::defaultListLimit;
};

ExitStatus run(const DumpOptions& options, Session& session) {
   session.checkStandardInput(options.table);
   const Engine& engine = options.tree ? engineNamed(options.table.engine, Questions::dumpTree, "dump --tree")
                                       : engineNamed(options.table.engine, Questions::dump, "dump");
   const auto asked = session.tables(options.table);
   const TableSet& tables = asked->in(engine);
   Output output(STDOUT_FILENO);
   OutputStream stream(output);
   const auto context = Keel::dumpContextFactory(stream);
   context->verbosityIs(options.verbose ? Keel::DumpContext::verbose : 0);
   context->listLimitIs(options.limit);
   bool legendIsPrinted = false;
   for (const auto af : families) {
      if (const auto& table = tables.of(af).table) {
         if (options.tree) {
            output.text(legendIsPrinted ? "" : table->treeLegend());
            legendIsPrinted = true;
            table->dumpTree(stream);
         } else {
            // The engine's own list or count may be without the default route.
            output.format("{}  routes = {}\n", familyName(af), table->routes());
            table->dump(context);
         }
      }
   }
   output.flush();
   return asked.faults == 0 ? ExitStatus::ok : ExitStatus::badData;
}

}  // namespace

Run addDump(CLI::App& app) {
   auto options = std::make_shared<DumpOptions>();
   options->table.addTo(app);
   app.add_flag("--verbose", options->verbose, "All entries of every list, whatever the limit");
   app.add_option("--limit", options->limit, "The most entries that a list may show")
      ->type_name("N")
      ->capture_default_str();
   app.add_flag(
         "--tree", options->tree,
         "The tree of nodes with their keys and bits, instead of the list of routes; intrusive has the tree alone")
      ->excludes("--verbose", "--limit");
   app.footer(
      "For each family the count of its routes, then what the engine writes of itself, which is made for people: "
      "for records take walk --format json.\n\n" +
      helpSection("Engines", summariesOf(engines())) + "\n" +
      helpSection("Example", "  rtrie dump --table routes.txt --limit 20"));
   return [options](Session& session) { return run(*options, session); };
}

}  // namespace Rtrie
