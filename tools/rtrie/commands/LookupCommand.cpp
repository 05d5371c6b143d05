#include "tools/rtrie/commands/LookupCommand.h"

#include <fmt/format.h>
#include <unistd.h>

#include <cstdint>
#include <memory>

#include "tools/rtrie/AnswerFormat.h"
#include "tools/rtrie/Engine.h"
#include "tools/rtrie/Op.h"
#include "tools/rtrie/Output.h"
#include "tools/rtrie/Queries.h"
#include "tools/rtrie/Registry.h"
#include "tools/rtrie/TableSet.h"
#include "tools/tables/PrefixText.h"
#include "tools/tables/TableLoader.h"

namespace Rtrie {
namespace {

struct LookupOptions {
   TableOptions table;
   std::string op = std::string(ops().front().name);
   std::string format = std::string(answerFormats().front().name);
   std::vector<std::string> queries;
};

const RouteTable& tableFor(Corenet::AddressFamily af, std::string_view text, const Engine& engine,
                           const RouteSet& routes, const TableSet& tables) {
   if (const auto& table = tables.of(af).table) {
      return *table;
   }
   if (routes.size(af) == 0) {
      throw BadText(fmt::format("the table has no {} routes: \"{}\"", familyName(af), text));
   }
   throw BadText(fmt::format("engine \"{}\" holds no {} routes: \"{}\"", engine.name, familyName(af), text));
}

ExitStatus run(const LookupOptions& options, Session& session) {
   session.checkStandardInput(options.table, options.queries.empty() ? StandardInput::queries : StandardInput::free);
   const Engine& engine = engineNamed(options.table.engine);
   const Op& op = opOfEngine(options.op, engine, engines());
   const AnswerFormat& format = rowNamed(answerFormats(), "format", options.format);
   const bool tellsCandidates = op.isAboutQuery && format.tellsCandidates;
   const auto asked = session.tables(options.table, tellsCandidates ? Candidates::kept : Candidates::dropped);
   const RouteSet& routes = asked->routes();
   const TableSet& tables = asked->in(engine);
   Output output(STDOUT_FILENO);
   const auto writer = format.writer(
      output, [&](const Corenet::IpGenPrefix& route) { return tables.payload(route); }, op);
   if (tellsCandidates) {
      writer->candidatesAre([&](const Corenet::IpGenPrefix& route) { return routes.candidates(route); });
   }
   Answer answer;
   const auto ask = [&](const Corenet::IpGenPrefix& query, std::string_view text) {
      answer.yes = false;
      answer.routes.clear();
      // Where all routes of a family hold for some packets alone there is no table to ask, but there are candidates.
      if (!tellsCandidates || tables.of(query.af()).table || routes.candidates(query).empty()) {
         op.ask(tableFor(query.af(), text, engine, routes, tables), query, answer);
      }
      writer->write(query, answer);
   };
   const QueryCounts counts = forEachQuery(options.queries, ask, [&] { writer->flush(); });
   writer->flush();
   return exitStatusOf(asked.faults + counts.faults, counts.faults == 0 || counts.answered != 0);
}

}  // namespace

Run addLookup(CLI::App& app) {
   auto options = std::make_shared<LookupOptions>();
   options->table.addTo(app);
   app.add_option("--op", options->op, "What is asked")->type_name("OP")->capture_default_str();
   addFormatOption(app, options->format, "How answers are printed");
   addQueries(app, options->queries);
   app.footer(helpSection("Ops", summariesOf(ops())) + "\n" + helpSection("Engines", summariesOf(engines())) + "\n" +
              helpSection("Formats", summariesOf(answerFormats())) + "\n" +
              helpSection("Example",
                          "  rtrie lookup --table /usr/share/tor/geoip --table /usr/share/tor/geoip6 "
                          "192.0.2.1 2001:db8::/32"));
   return [options](Session& session) { return run(*options, session); };
}

}  // namespace Rtrie
