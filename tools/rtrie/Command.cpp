#include "tools/rtrie/Command.h"

#include "tools/rtrie/Engine.h"
#include "tools/rtrie/Registry.h"

namespace Rtrie {

void addLoadOptions(CLI::App& app, LoadOptions& options, bool needsTable) {
   app.add_option(
         "--table", options.tables,
         "A table of routes, plain or as .gz, .bz2, .xz or .zst; - is standard input, kernel: what this machine's "
         "kernel has, kernel:NAME its routing table or VRF of that name or number. Can be given again")
      ->type_name("FILE|kernel:[NAME]")
      ->allow_extra_args(false)
      ->required(needsTable);
   addSelectionOptions(app, options);
}

void addSelectionOptions(CLI::App& app, LoadOptions& options) {
   app.add_flag("--strict", options.strict, "Stop at the first bad line of a table");
   app.add_option("--peer", options.peer,
                  "Of MRT files and lines of bgpdump, only what this peer says, or the peers of this AS; the best of "
                  "all unless given")
      ->type_name("ADDRESS|AS|all");
   app.add_option(
         "--route-table,--vrf", options.routeTable,
         "Of what ip route, FRR or BIRD print or the kernel has, the routes of this routing table or VRF, or of all; "
         "main unless given")
      ->type_name("NAME|ID|all");
   app.add_option_function<std::string>(
         "--host-bits", [&options](const std::string& what) { options.masksHostBits = what == "mask"; },
         "What is done with an address that has bits past the length of its prefix: refuse, unless given, or mask")
      ->type_name("refuse|mask")
      ->check(CLI::IsMember({"refuse", "mask"}));
}

void TableOptions::addTo(CLI::App& app, bool needsTable) {
   engine = engines().front().name;
   addLoadOptions(app, *this, needsTable);
   app.add_option("--engine", engine, "What keeps the routes")->type_name("ENGINE")->capture_default_str();
}

void addFormatOption(CLI::App& app, std::string& format, const std::string& what) {
   app.add_option("--format", format, what)->type_name("FORMAT")->capture_default_str();
}

void addQueries(CLI::App& app, std::vector<std::string>& queries) {
   app.add_option("QUERY", queries,
                  "An address (taken as /32 or /128) or a prefix; without any, one a line from standard input")
      ->type_name("");
}

std::string helpSection(std::string_view title, std::string_view lines) {
   std::string section(title);
   section += ":\n";
   section += lines;
   return section;
}

}  // namespace Rtrie
