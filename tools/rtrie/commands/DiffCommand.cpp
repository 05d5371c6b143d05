#include "tools/rtrie/commands/DiffCommand.h"

#include <fmt/format.h>
#include <unistd.h>

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "routetrie/difference.h"
#include "tools/rtrie/ChangeFormat.h"
#include "tools/rtrie/Colours.h"
#include "tools/rtrie/Output.h"
#include "tools/rtrie/PayloadTable.h"
#include "tools/rtrie/Registry.h"
#include "tools/tables/Messages.h"
#include "tools/tables/TableLoader.h"

namespace Rtrie {
namespace {

struct DiffFormat {
   std::string_view name;
   std::string_view summary;
   void (*begin)(Output& output);
   void (*print)(const Effect& effect, Output& output);
};

void printSide(std::string_view sign, std::string_view colour, const Effect& effect,
               const std::optional<std::string>& payload, const Colours& colours, Output& output) {
   if (payload) {
      output.format("{}{} {}{}{}{}\n", colour, sign, effect.prefix.stringValue(), payload->empty() ? "" : " ",
                    *payload, colours.end());
      output.lineDone();
   }
}

void printDiffText(const Effect& effect, Output& output) {
   const Colours colours(STDOUT_FILENO);
   printSide("-", colours.removed(), effect, effect.before, colours, output);
   printSide("+", colours.added(), effect, effect.after, colours, output);
}

constexpr DiffFormat diffFormats[] = {
   {"text",
    "- PREFIX PAYLOAD of A, + PREFIX PAYLOAD of B, one behind the other where both have one; watch reads them",
    [](Output&) {}, printDiffText},
   {"tsv", "add, delete or replace, tab, prefix, tab, payload in A, tab, payload in B", [](Output&) {},
    [](const Effect& effect, Output& output) { printChangeRow(effect, RowForm::tsv, output); }},
   {"csv", "the same with commas, and the names of the columns first",
    [](Output& output) { printChangeNames(RowForm::csv, output); },
    [](const Effect& effect, Output& output) { printChangeRow(effect, RowForm::csv, output); }},
   {"json", "one object a line: change, prefix, old, new", [](Output&) {}, printChangeJson},
};

struct DiffOptions : LoadOptions {
   std::string a;
   std::string b;
   bool prefixesOnly = false;
   std::string format = std::string(diffFormats[0].name);
};

// A table of its own; without a path, the one that the session has.
Session::Asked tableOf(const DiffOptions& options, const std::string& path, const Session& session) {
   LoadOptions one;
   if (!path.empty()) {
      one = static_cast<const LoadOptions&>(options);
      one.tables = {path};
   }
   session.checkStandardInput(one);
   return session.tables(one);
}

// Calls each(effect) for each difference, and tells whether there is any.
template <class Each>
bool compare(const PayloadTable& a, const PayloadTable& b, bool prefixesOnly, Each&& each) {
   const auto equal = [&](U32 x, U32 y) { return prefixesOnly || a.text(x) == b.text(y); };
   bool differs = false;
   for (const auto& d : routetrie::difference(a.routes(), b.routes(), equal)) {
      differs = true;
      Effect effect{!d.before  ? ChangeKind::add
                    : !d.after ? ChangeKind::remove
                               : ChangeKind::replace,
                    d.prefix,
                    {},
                    {}};
      if (d.before) {
         effect.before = std::string(a.text(d.before->value));
      }
      if (d.after) {
         effect.after = std::string(b.text(d.after->value));
      }
      each(effect);
   }
   return differs;
}

constexpr auto same = ExitStatus::ok;
constexpr auto differing = ExitStatus::badData;
constexpr auto trouble = ExitStatus::badUsage;

ExitStatus run(const DiffOptions& options, const Session& session) try {
   if (options.a == "-" && options.b == "-") {
      throw UsageError("standard input can be a table only once");
   }
   const DiffFormat& format = rowNamed(std::span<const DiffFormat>(diffFormats), "format", options.format);
   const bool isBAlone = options.b.empty();
   const auto askedA = tableOf(options, isBAlone ? "" : options.a, session);
   const auto askedB = tableOf(options, isBAlone ? options.a : options.b, session);
   const PayloadTable& a = askedA->payloads();
   const PayloadTable& b = askedB->payloads();
   Output output(STDOUT_FILENO);
   format.begin(output);
   const bool differs =
      compare(a, b, options.prefixesOnly, [&](const Effect& effect) { format.print(effect, output); });
   output.flush();
   return askedA.faults + askedB.faults != 0 ? trouble : differs ? differing : same;
} catch (const DataError& error) {
   say(error.what());
   return trouble;
}

}  // namespace

Run addDiff(CLI::App& app) {
   auto options = std::make_shared<DiffOptions>();
   app.add_option("A", options->a, "A table of routes, plain or as .gz, .bz2, .xz or .zst; - is standard input")
      ->type_name("")
      ->required();
   app.add_option("B", options->b, "The table to compare it with")->type_name("")->required();
   addSelectionOptions(app, *options);
   app.add_flag("--prefixes-only", options->prefixesOnly, "Routes with other payloads are the same");
   addFormatOption(app, options->format, "How differences are printed");
   app.footer(helpSection("Formats", summariesOf(std::span<const DiffFormat>(diffFormats))) + "\n" +
              helpSection("Examples",
                          "  rtrie diff yesterday.txt.gz today.txt.gz\n"
                          "  ip route show | rtrie diff wanted.txt -"));
   return [options](Session& session) { return run(*options, session); };
}

}  // namespace Rtrie
