#include "tools/rtrie/commands/LookupCommand.h"

#include <fmt/format.h>
#include <unistd.h>

#include <cstdint>
#include <memory>

#include "tools/rtrie/AnswerFormat.h"
#include "tools/rtrie/Engine.h"
#include "tools/rtrie/Op.h"
#include "tools/rtrie/Output.h"
#include "tools/rtrie/Registry.h"
#include "tools/rtrie/TableSet.h"
#include "tools/tables/LineReader.h"
#include "tools/tables/Messages.h"
#include "tools/tables/PrefixText.h"
#include "tools/tables/TableLoader.h"
#include "tools/tables/Words.h"

namespace Rtrie {
namespace {

struct LookupOptions {
   TableOptions table;
   std::string op = std::string(ops().front().name);
   std::string format = std::string(answerFormats().front().name);
   std::vector<std::string> queries;
};

// Answers one query after the other, and counts those that it could not.
class Lookup {
  public:
   Lookup(const Engine& engine, const Op& op, const RouteSet& routes, const TableSet& tables, AnswerWriter& writer)
      : engine_(engine), op_(op), routes_(routes), tables_(tables), writer_(writer) {}

   // lineNumber: of the query in standard input, 0 if it is an argument.
   void query(std::string_view text, std::uint64_t lineNumber) {
      try {
         const auto query = prefixOfText(text);
         answer_.yes = false;
         answer_.routes.clear();
         // Where all routes of a family hold for some packets alone there is no table to ask, but there are candidates.
         if (!writer_.tellsCandidates() || tables_.of(query.af()).table || routes_.candidates(query).empty()) {
            op_.ask(tableFor(query.af(), text), query, answer_);
         }
         writer_.write(query, answer_);
         ++answered_;
      } catch (const BadText& fault) {
         bad(fault.what(), lineNumber);
      }
   }

   void bad(std::string_view what, std::uint64_t lineNumber) {
      ++faults_;
      say(lineNumber == 0 ? std::string(what) : fmt::format("<stdin>:{}: {}", lineNumber, what));
   }

   std::uint64_t faults() const { return faults_; }
   std::uint64_t answered() const { return answered_; }

  private:
   const RouteTable& tableFor(Corenet::AddressFamily af, std::string_view text) const {
      if (const auto& table = tables_.of(af).table) {
         return *table;
      }
      if (routes_.size(af) == 0) {
         throw BadText(fmt::format("the table has no {} routes: \"{}\"", familyName(af), text));
      }
      throw BadText(fmt::format("engine \"{}\" holds no {} routes: \"{}\"", engine_.name, familyName(af), text));
   }

   const Engine& engine_;
   const Op& op_;
   const RouteSet& routes_;
   const TableSet& tables_;
   AnswerWriter& writer_;
   Answer answer_;
   std::uint64_t faults_ = 0;
   std::uint64_t answered_ = 0;
};

void answerStandardInput(Lookup& lookup, AnswerWriter& writer) {
   // Whoever writes the queries may wait for the answers.
   const auto source = descriptorSource(STDIN_FILENO, "<stdin>", [&] { writer.flush(); });
   LineReader reader(*source, [&](std::uint64_t number, const std::string& what) { lookup.bad(what, number); });
   while (const auto line = reader.next()) {
      const auto text = withoutComment(trimmed(*line));
      if (!text.empty()) {
         lookup.query(text, reader.lineNumber());
      }
   }
}

ExitStatus run(const LookupOptions& options) {
   options.table.check();
   const Engine& engine = engineNamed(options.table.engine);
   const Op& op = opOfEngine(options.op, engine, engines());
   const AnswerFormat& format = rowNamed(answerFormats(), "format", options.format);
   if (options.queries.empty() && options.table.readsStandardInput()) {
      throw UsageError("standard input is the table: give the queries as arguments");
   }

   RouteSet routes;
   const bool tellsCandidates = op.isAboutQuery && format.tellsCandidates;
   if (tellsCandidates) {
      routes.candidatesAreKept();
   }
   const auto report = loadTables(options.table, routes);
   Output output(STDOUT_FILENO);
   const TableSet tables(engine, routes);
   const auto writer = format.writer(
      output, [&](const Corenet::IpGenPrefix& route) { return tables.payload(route); }, op);
   if (tellsCandidates) {
      writer->candidatesAre([&](const Corenet::IpGenPrefix& route) { return routes.candidates(route); });
   }
   Lookup lookup(engine, op, routes, tables, *writer);
   for (const std::string& query : options.queries) {
      lookup.query(query, 0);
   }
   if (options.queries.empty()) {
      answerStandardInput(lookup, *writer);
   }
   writer->flush();
   const bool isUsable = lookup.faults() == 0 || lookup.answered() != 0;
   return exitStatusOf(report.faults + lookup.faults(), isUsable);
}

}  // namespace

Run addLookup(CLI::App& app) {
   auto options = std::make_shared<LookupOptions>();
   options->table.addTo(app);
   app.add_option("--op", options->op, "What is asked")->type_name("OP")->capture_default_str();
   app.add_option("--format", options->format, "How answers are printed")->type_name("FORMAT")->capture_default_str();
   app.add_option("QUERY", options->queries,
                  "An address (taken as /32 or /128) or a prefix; without any, one a line from standard input")
      ->type_name("");
   app.footer(helpSection("Ops", summariesOf(ops())) + "\n" + helpSection("Engines", summariesOf(engines())) + "\n" +
              helpSection("Formats", summariesOf(answerFormats())) + "\n" +
              helpSection("Example",
                          "  rtrie lookup --table /usr/share/tor/geoip --table /usr/share/tor/geoip6 "
                          "192.0.2.1 2001:db8::/32"));
   return [options] { return run(*options); };
}

}  // namespace Rtrie
