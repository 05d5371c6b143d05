#include "tools/rtrie/commands/AggregateCommand.h"

#include <fmt/format.h>
#include <unistd.h>

#include <memory>
#include <string>

#include "routetrie/aggregate.h"
#include "tools/rtrie/Output.h"
#include "tools/rtrie/PayloadTable.h"
#include "tools/rtrie/Registry.h"
#include "tools/rtrie/RouteFormat.h"
#include "tools/tables/Messages.h"
#include "tools/tables/Numbers.h"
#include "tools/tables/Progress.h"
#include "tools/tables/TableLoader.h"

namespace Rtrie {
namespace {

struct AggregateOptions : LoadOptions {
   std::string format = std::string(routeFormats().front().name);
   bool prefixesOnly = false;
};

// The routes without their payloads: the addresses that they hold.
PayloadTable withoutPayloads(const RouteSet& routes) {
   PayloadTable table;
   for (const auto af : {Corenet::AddressFamily::ipv4, Corenet::AddressFamily::ipv6}) {
      routes.forEach(af, [&](const Corenet::IpGenPrefix& route) { table.routeIs(route); });
   }
   return table;
}

ExitStatus run(const AggregateOptions& options, Session& session) {
   session.checkStandardInput(options);
   const RouteFormat& format = rowNamed(routeFormats(), "format", options.format);
   const auto asked = session.tables(options);
   const PayloadTable bare = options.prefixesOnly ? withoutPayloads(asked->routes()) : PayloadTable();
   const PayloadTable& table = options.prefixesOnly ? bare : asked->payloads();
   const auto smallest = routetrie::aggregate(table.routes());
   if (Progress::standardErrorShows()) {
      say(fmt::format("{} routes became {}", grouped(table.routes().size()), grouped(smallest.size())));
   }
   Output output(STDOUT_FILENO);
   format.begin(output);
   for (const auto& route : smallest) {
      format.route(route.prefix, table.text(route.value), output);
   }
   output.flush();
   return asked.faults == 0 ? ExitStatus::ok : ExitStatus::badData;
}

}  // namespace

Run addAggregate(CLI::App& app) {
   auto options = std::make_shared<AggregateOptions>();
   addLoadOptions(app, *options);
   app.add_flag("--prefixes-only", options->prefixesOnly,
                "Forget the payloads: the fewest prefixes that hold the same addresses");
   addFormatOption(app, options->format, "How routes are printed");
   app.footer(
      "Every address gets the payload that it got before, and one that no route covers is left uncovered; the prefix "
      "that the "
      "answer comes from may be another one.\n\n" +
      helpSection("Formats", summariesOf(routeFormats())) + "\n" +
      helpSection("Examples",
                  "  rtrie aggregate --table routes.txt > fewer.txt\n"
                  "  rtrie aggregate --prefixes-only --table blocked.txt"));
   return [options](Session& session) { return run(*options, session); };
}

}  // namespace Rtrie
