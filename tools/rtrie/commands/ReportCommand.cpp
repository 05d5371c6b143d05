#include "tools/rtrie/commands/ReportCommand.h"

#include <fmt/format.h>
#include <time.h>

#include <algorithm>
#include <bit>
#include <cstdlib>
#include <memory>
#include <string>
#include <string_view>

#include "routetrie/difference.h"
#include "tools/rtrie/Engine.h"
#include "tools/rtrie/OutputFile.h"
#include "tools/rtrie/PayloadTable.h"
#include "tools/rtrie/Session.h"
#include "tools/rtrie/TableSet.h"
#include "tools/rtrie/map/MapPicture.h"
#include "tools/rtrie/report/ReportPage.h"
#include "tools/tables/ByteSource.h"
#include "tools/tables/TableLoader.h"

namespace Rtrie {
namespace {

constexpr std::size_t reportedPayloads = 15;
constexpr std::size_t reportedBlocks = 20;
constexpr std::size_t reportedChanges = 100;
constexpr unsigned mostReportMapSide = 2048;

struct ReportOptions : LoadOptions {
   std::string out;
   std::string against;
   std::string title;
   unsigned side = 1024;
};

// Now, or the time that SOURCE_DATE_EPOCH tells, so that the same tables give the same page.
std::string reportTime() {
   const char* told = std::getenv("SOURCE_DATE_EPOCH");
   time_t seconds = told != nullptr ? static_cast<time_t>(std::strtoll(told, nullptr, 10)) : time(nullptr);
   tm parts = {};
   gmtime_r(&seconds, &parts);
   char text[64];
   return {text, strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%SZ", &parts)};
}

DifferenceReport differenceOf(const PayloadTable& a, const PayloadTable& b, std::string against) {
   DifferenceReport report;
   report.against = std::move(against);
   const auto equal = [&](U32 x, U32 y) { return a.text(x) == b.text(y); };
   for (const auto& each : routetrie::difference(a.routes(), b.routes(), equal)) {
      ++(!each.before ? report.added : !each.after ? report.removed : report.replaced);
      if (report.first.size() < reportedChanges) {
         Effect effect{!each.before  ? ChangeKind::add
                       : !each.after ? ChangeKind::remove
                                     : ChangeKind::replace,
                       each.prefix,
                       {},
                       {}};
         if (each.before) {
            effect.before = std::string(a.text(each.before->value));
         }
         if (each.after) {
            effect.after = std::string(b.text(each.after->value));
         }
         report.first.push_back(std::move(effect));
      }
   }
   report.same = b.routes().size() - report.added - report.replaced;
   return report;
}

ExitStatus run(const ReportOptions& options, const Session& session) {
   session.checkStandardInput(options);
   session.checkFile(options.against);
   if (!options.out.ends_with(".html") && !options.out.ends_with(".htm")) {
      throw UsageError(fmt::format("--out is a file whose name ends in .html: \"{}\"", options.out));
   }
   if (options.against == "-" && std::count(options.tables.begin(), options.tables.end(), "-") > 0) {
      throw UsageError("standard input can be a table only once");
   }
   if (!std::has_single_bit(options.side) || options.side < 64 || options.side > mostReportMapSide) {
      throw UsageError(
         fmt::format("--size is a power of two from 64 to {}, in pixels: {}", mostReportMapSide, options.side));
   }
   Report report;
   const auto asked = session.tables(options);
   const RouteSet& routes = asked->routes();
   report.load = asked->report();
   std::uint64_t faults = asked.faults;
   Session::Asked askedBefore;
   const RouteSet none;
   if (!options.against.empty()) {
      LoadOptions one = static_cast<const LoadOptions&>(options);
      one.tables = {options.against};
      askedBefore = session.tables(one);
      faults += askedBefore.faults;
      report.difference = differenceOf(askedBefore->payloads(), asked->payloads(), tableName(options.against));
   }
   const RouteSet& before = askedBefore.tables != nullptr ? askedBefore->routes() : none;
   for (const std::string& path : options.tables) {
      report.tables.push_back(tableName(path));
   }
   if (report.tables.empty()) {  // those that the shell uses
      report.tables.push_back(session.used()->name);
   }
   report.title =
      !options.title.empty() ? options.title : "Routes of " + fmt::format("{}", fmt::join(report.tables, ", "));
   report.time = reportTime();
   report.version = RTRIE_VERSION;

   const auto order = static_cast<unsigned>(std::countr_zero(options.side));
   const TableSet& tables = asked->in(engines().front());
   ShownBlock shown;
   shown.add(routes);
   shown.add(before);
   for (const auto af : families) {
      const bool wasThere = !options.against.empty() && before.size(af) != 0;
      if (routes.size(af) == 0 && !wasThere) {
         continue;
      }
      FamilyReport family;
      family.facts = factsOf(routes, af, reportedPayloads, reportedBlocks);
      family.bytes = tables.of(af).liveBytes;
      if (canDraw()) {
         const auto block = shown.of(af);
         if (routes.size(af) != 0) {
            family.map = mapByLength(routes, block, order);
         }
         if (!options.against.empty()) {
            family.difference = mapByDifference(before, routes, block, order);
         }
      }
      report.families.push_back(std::move(family));
   }
   writeFile(options.out, reportPage(report));
   return faults == 0 ? ExitStatus::ok : ExitStatus::badData;
}

}  // namespace

Run addReport(CLI::App& app) {
   auto options = std::make_shared<ReportOptions>();
   addLoadOptions(app, *options);
   app.add_option("--out", options->out, "The page, an .html file")->type_name("FILE")->required();
   app.add_option("--against", options->against, "An older table, to tell what changed since")->type_name("FILE");
   app.add_option("--title", options->title, "Its heading; the names of the tables unless given")->type_name("TEXT");
   app.add_option("--size", options->side, "Side of its maps in pixels, a power of two from 64 to 2048")
      ->type_name("N")
      ->capture_default_str();
   app.footer(
      "The page is one file that loads nothing and runs nothing: sizes, a map, lengths, depth, payloads, the largest "
      "blocks, "
      "and what changed. Its date is that of SOURCE_DATE_EPOCH where that is set.\n\n" +
      helpSection("Examples",
                  "  rtrie report --table routes.txt --out routes.html\n"
                  "  rtrie report --table today.txt.gz --against yesterday.txt.gz --title 'Today' --out today.html"));
   return [options](Session& session) { return run(*options, session); };
}

}  // namespace Rtrie
