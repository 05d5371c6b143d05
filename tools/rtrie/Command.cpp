#include "tools/rtrie/Command.h"

#include <algorithm>

#include "tools/rtrie/Engine.h"
#include "tools/rtrie/Registry.h"

namespace Rtrie {

void TableOptions::addTo(CLI::App& app, bool needsTable) {
   engine = engines().front().name;
   app.add_option("--table", tables, "A table of routes, plain or .gz; - is standard input. Can be given again")
      ->type_name("FILE")
      ->allow_extra_args(false)
      ->required(needsTable);
   app.add_option("--engine", engine, "What keeps the routes")->type_name("ENGINE")->capture_default_str();
   app.add_flag("--strict", strict, "Stop at the first bad line of a table");
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
