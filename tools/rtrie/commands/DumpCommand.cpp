#include "tools/rtrie/commands/DumpCommand.h"

#include <unistd.h>

#include <fmt/format.h>

#include <memory>
#include <sstream>
#include <string>
#include <string_view>

#include "routetrie/platform/Keel/DumpContext.h"
#include "tools/rtrie/Engine.h"
#include "tools/rtrie/JsonLine.h"
#include "tools/rtrie/OutputStream.h"
#include "tools/rtrie/Registry.h"
#include "tools/rtrie/Rows.h"
#include "tools/rtrie/TableSet.h"
#include "tools/tables/PrefixText.h"
#include "tools/tables/TableLoader.h"

namespace Rtrie {
namespace {

using WriteDump = std::function<void(std::ostream&)>;

// How what the engine writes of itself is printed. count: the table's own, since the engine's may be without the default route;
// nullopt for a tree, which tells its own.
struct DumpFormat {
   std::string_view name;
   std::string_view summary;
   bool hasLegend;  // for people, who have to be told how to read a tree
   void (*begin)(Output& output);
   void (*print)(Corenet::AddressFamily af, std::optional<std::uint64_t> count, const WriteDump& write,
                 Output& output);
};

void printDumpText(Corenet::AddressFamily af, std::optional<std::uint64_t> count, const WriteDump& write,
                   Output& output) {
   if (count) {
      output.format("{}  routes = {}\n", familyName(af), *count);
   }
   OutputStream stream(output);
   write(stream);
}

// Calls each(line) for each line of what is written.
template <class Each>
void forEachDumpLine(const WriteDump& write, Each&& each) {
   std::stringstream stream;
   write(stream);
   for (std::string line; std::getline(stream, line);) {
      each(line);
   }
}

template <RowForm form>
void printDumpRows(Corenet::AddressFamily af, std::optional<std::uint64_t>, const WriteDump& write, Output& output) {
   forEachDumpLine(write, [&](const std::string& line) {
      row(output, form, {Corenet::stringValue(af).view(), line});
   });
}

void printDumpJson(Corenet::AddressFamily af, std::optional<std::uint64_t> count, const WriteDump& write,
                   Output& output) {
   Json lines = Json::array();
   forEachDumpLine(write, [&](const std::string& line) { lines.push_back(line); });
   jsonLine(output, {{"family", Corenet::stringValue(af).view()},
                     {"routes", count ? Json(*count) : Json()},
                     {"lines", std::move(lines)}});
}

constexpr DumpFormat dumpFormats[] = {
   {"text", "for people", true, [](Output&) {}, printDumpText},
   {"tsv", "a line of it each: family, tab, line", false, [](Output&) {}, printDumpRows<RowForm::tsv>},
   {"csv", "the same with a comma, and the names of the columns first", false,
    [](Output& output) {
       rowNames(output, RowForm::csv, {"family", "line"});
    },
    printDumpRows<RowForm::csv>},
   {"json", "one object a family: family, routes, lines", false, [](Output&) {}, printDumpJson},
};

struct DumpOptions {
   TableOptions table;
   std::string format = std::string(dumpFormats[0].name);
   bool verbose = false;
   bool tree = false;
   U32 limit = Keel::DumpContext::defaultListLimit;
};

ExitStatus run(const DumpOptions& options, Session& session) {
   session.checkStandardInput(options.table);
   const Engine& engine = options.tree ? engineNamed(options.table.engine, Questions::dumpTree, "dump --tree")
                                       : engineNamed(options.table.engine, Questions::dump, "dump");
   const DumpFormat& format = rowNamed(std::span<const DumpFormat>(dumpFormats), "format", options.format);
   const auto asked = session.tables(options.table);
   const TableSet& tables = asked->in(engine);
   Output output(STDOUT_FILENO);
   format.begin(output);
   bool legendIsPrinted = !format.hasLegend;
   for (const auto af : families) {
      const auto& held = tables.of(af).table;
      if (!held) {
         continue;
      }
      if (options.tree) {
         output.text(legendIsPrinted ? "" : held->treeLegend());
         legendIsPrinted = true;
         format.print(
            af, std::nullopt, [&](std::ostream& stream) { held->dumpTree(stream); }, output);
         continue;
      }
      const auto writeList = [&](std::ostream& stream) {
         const auto context = Keel::dumpContextFactory(stream);
         context->verbosityIs(options.verbose ? Keel::DumpContext::verbose : 0);
         context->listLimitIs(options.limit);
         held->dump(context);
      };
      format.print(af, held->routes(), writeList, output);
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
   addFormatOption(app, options->format, "How it is printed");
   app.footer(
      "For each family the count of its routes, then what the engine writes of itself, which is made for people: "
      "for records take walk --format json.\n\n" +
      helpSection("Engines", summariesOf(engines())) + "\n" +
      helpSection("Formats", summariesOf(std::span<const DumpFormat>(dumpFormats))) + "\n" +
      helpSection("Example", "  rtrie dump --table routes.txt --limit 20"));
   return [options](Session& session) { return run(*options, session); };
}

}  // namespace Rtrie
