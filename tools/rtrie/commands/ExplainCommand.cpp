#include "tools/rtrie/commands/ExplainCommand.h"

#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "tools/rtrie/JsonLine.h"
#include "tools/rtrie/Output.h"
#include "tools/rtrie/PayloadTable.h"
#include "tools/rtrie/Queries.h"
#include "tools/rtrie/Reasons.h"
#include "tools/rtrie/Registry.h"
#include "tools/rtrie/Rows.h"
#include "tools/tables/PrefixText.h"
#include "tools/tables/TableLoader.h"

namespace Rtrie {
namespace {

// What a lookup reads, as the next lines of a text.
void printReads(const Reasons& reasons, Output& output) {
   output.format("  read: {} place{}, {} bytes\n", reasons.reads.size(), reasons.reads.size() == 1 ? "" : "s",
                 reasons.readBytes());
   for (const auto& read : reasons.reads) {
      output.format("    bit {:<3}  {:>3} bytes  {}\n", read.depth, read.bytes, read.what);
   }
}

void printText(const Reasons& reasons, Output& output) {
   output.format("{}\n", reasons.query.stringValue());
   std::size_t prefixWidth = 0;
   std::size_t payloadWidth = 0;
   for (const auto& each : reasons.candidates) {
      prefixWidth = std::max(prefixWidth, each.prefix.stringValue().size());
      payloadWidth = std::max(payloadWidth, each.payload.size());
   }
   // One long payload would push every verdict off the screen.
   constexpr std::size_t mostPadding = 40;
   payloadWidth = std::min(payloadWidth, mostPadding);
   for (const auto& each : reasons.candidates) {
      output.format("  {:<{}}  ", each.prefix.stringValue(), prefixWidth);
      if (payloadWidth > 0) {
         output.format("{:<{}}  ", each.payload, payloadWidth);
      }
      output.format("{}\n", each.why);
   }
   if (reasons.taken() == nullptr) {
      output.text("  no route\n");
   }
   printReads(reasons, output);
   output.lineDone();
}

void printRows(const Reasons& reasons, RowForm form, Output& output) {
   const std::string query = reasons.query.stringValue();
   for (const auto& each : reasons.candidates) {
      row(output, form, {query, each.prefix.stringValue(), each.payload, Reasons::nameOf(each.verdict), each.why});
   }
   if (reasons.candidates.empty()) {
      row(output, form, {query, "-", "", "none", "no route"});
   }
}

void printTsv(const Reasons& reasons, Output& output) { printRows(reasons, RowForm::tsv, output); }
void printCsv(const Reasons& reasons, Output& output) { printRows(reasons, RowForm::csv, output); }

void printJson(const Reasons& reasons, Output& output) {
   Json candidates = Json::array();
   for (const auto& each : reasons.candidates) {
      candidates.push_back({{"prefix", std::string(each.prefix.stringValue())},
                            {"payload", each.payload},
                            {"verdict", Reasons::nameOf(each.verdict)},
                            {"why", each.why}});
   }
   Json reads = Json::array();
   for (const auto& read : reasons.reads) {
      reads.push_back({{"bit", read.depth}, {"bytes", read.bytes}, {"what", read.what}});
   }
   const auto* taken = reasons.taken();
   jsonLine(output, {{"query", std::string(reasons.query.stringValue())},
                     {"answer", taken == nullptr ? Json() : Json(std::string(taken->prefix.stringValue()))},
                     {"payload", taken == nullptr ? Json() : Json(taken->payload)},
                     {"candidates", std::move(candidates)},
                     {"reads", std::move(reads)},
                     {"readBytes", reasons.readBytes()}});
}

struct ExplainFormat {
   std::string_view name;
   std::string_view summary;
   void (*print)(const Reasons& reasons, Output& output);
};

constexpr ExplainFormat explainFormats[] = {
   {"text", "for people: the routes that cover the query, shortest first, and what a lookup reads", printText},
   {"tsv", "query, tab, prefix, tab, payload, tab, taken, shorter, lost or bound, tab, why", printTsv},
   {"csv", "the same with commas, and the names of the columns first", printCsv},
   {"json", "one object a line: query, answer, payload, candidates, reads, readBytes", printJson},
};

struct ExplainOptions : LoadOptions {
   std::string format = std::string(explainFormats[0].name);
   std::vector<std::string> queries;
};

ExitStatus run(const ExplainOptions& options, Session& session) {
   session.checkStandardInput(options, options.queries.empty() ? StandardInput::queries : StandardInput::free);
   const ExplainFormat& format = rowNamed(std::span<const ExplainFormat>(explainFormats), "format", options.format);
   const auto asked = session.tables(options, Candidates::kept);
   const PayloadTable& table = asked->payloads();
   Output output(STDOUT_FILENO);
   if (format.print == printCsv) {
      rowNames(output, RowForm::csv, {"query", "prefix", "payload", "verdict", "why"});
   }
   const auto counts = forEachQuery(
      options.queries,
      [&](const Corenet::IpGenPrefix& query, std::string_view) {
         format.print(reasonsFor(query, table, asked->routes()), output);
      },
      [&] { output.flush(); });
   output.flush();
   return exitStatusOf(asked.faults + counts.faults, counts.faults == 0 || counts.answered != 0);
}

}  // namespace

Run addExplain(CLI::App& app) {
   auto options = std::make_shared<ExplainOptions>();
   addLoadOptions(app, *options);
   addFormatOption(app, options->format, "How the reasons are printed");
   addQueries(app, options->queries);
   app.footer(
      helpSection("Verdicts",
                  "  taken     the answer: the longest route that covers the query\n"
                  "  shorter   a longer one was taken\n"
                  "  lost      another of the same prefix answers for it: of a lower metric, a shorter path, ...\n"
                  "  bound     it holds for some packets alone, or is dead\n") +
      "\n" + helpSection("Formats", summariesOf(std::span<const ExplainFormat>(explainFormats))) + "\n" +
      helpSection("Examples",
                  "  rtrie explain --table routes.txt 192.0.2.1 2001:db8::/32\n"
                  "  ip route show table all | rtrie explain --table - 192.0.2.1"));
   return [options](Session& session) { return run(*options, session); };
}

}  // namespace Rtrie
