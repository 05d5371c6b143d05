#include "tools/rtrie/Command.h"

#include <algorithm>

#include "tools/rtrie/Engine.h"
#include "tools/rtrie/Registry.h"

namespace Rtrie {

void addLoadOptions(CLI::App& app, LoadOptions& options, bool needsTable) {
   app.add_option("--table", options.tables,
                  "A table of routes, plain or as .gz, .bz2, .xz or .zst; - is standard input. Can be given again")
      ->type_name("FILE")
      ->allow_extra_args(false)
      ->required(needsTable);
   app.add_flag("--strict", options.strict, "Stop at the first bad line of a table");
   app.add_option("--peer", options.peer, "Of lines of bgpdump, only what this peer says, or the peers of this AS")
      ->type_name("ADDRESS|AS");
   app.add_option("--route-table", options.routeTable,
                  "Of what ip route prints, the routes of this routing table, or of all; main unless given")
      ->type_name("NAME|ID|all");
}

void TableOptions::addTo(CLI::App& app, bool needsTable) {
   engine = engines().front().name;
   addLoadOptions(app, *this, needsTable);
   app.add_option("--engine", engine, "What keeps the routes")->type_name("ENGINE")->capture_default_str();
}

void TableOptions::check() const {
   if (std::count(tables.begin(), tables.end(), "-") > 1) {
      throw UsageError("standard input can be a table only once");
   }
}

bool TableOptions::readsStandardInput() const { return std::count(tables.begin(), tables.end(), "-") > 0; }

std::string helpSection(std::string_view title, std::string_view lines) {
   std::string section(title);
   section += ":\n";
   section += lines;
   return section;
}

}  // namespace Rtrie
