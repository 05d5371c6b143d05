#include "tools/rtrie/commands/VerifyCommand.h"

#include <fmt/format.h>
#include <unistd.h>

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "tools/rtrie/Engine.h"
#include "tools/rtrie/JsonLine.h"
#include "tools/rtrie/Output.h"
#include "tools/rtrie/Registry.h"
#include "tools/rtrie/Rows.h"
#include "tools/rtrie/TableSet.h"
#include "tools/rtrie/Verification.h"
#include "tools/tables/Messages.h"
#include "tools/tables/Numbers.h"
#include "tools/tables/PrefixText.h"
#include "tools/tables/Progress.h"
#include "tools/tables/TableLoader.h"

namespace Rtrie {
namespace {

using Corenet::AddressFamily;

struct VerifyFormat {
   std::string_view name;
   std::string_view summary;
   void (*begin)(Output& output);
   void (*print)(AddressFamily af, std::string_view engine, const Verified& verified, Output& output);
};

std::string_view nameOf(const Verified& verified) { return verified.isSound() ? "sound" : "faulty"; }

template <RowForm form>
void printVerifiedNames(Output& output) {
   rowNames(output, form, {"family", "engine", "result", "routes", "borders", "samples", "faults", "seconds"});
}

template <RowForm form>
void printVerifiedRow(AddressFamily af, std::string_view engine, const Verified& verified, Output& output) {
   row(output, form,
       {Corenet::stringValue(af).view(), engine, nameOf(verified), fmt::format("{}", verified.routes),
        fmt::format("{}", verified.borders), fmt::format("{}", verified.samples), fmt::format("{}", verified.faults),
        fmt::format("{:.3f}", verified.seconds)});
}

constexpr VerifyFormat verifyFormats[] = {
   {"text", "for people: what was compared, an engine a line",
    [](Output& output) {
       output.format("{:<4}  {:<16}  {:<6}  {:>11}  {:>11}  {:>11}  {:>9}\n", "", "engine", "", "routes", "borders",
                     "samples", "seconds");
    },
    [](AddressFamily af, std::string_view engine, const Verified& verified, Output& output) {
       output.format("{}  {:<16}  {:<6}  {:>11}  {:>11}  {:>11}  {:>9.3f}\n", familyName(af), engine,
                     nameOf(verified), grouped(verified.routes), grouped(verified.borders), grouped(verified.samples),
                     verified.seconds);
    }},
   {"tsv", "family, engine, sound or faulty, routes, borders, samples, faults, seconds, with tabs between",
    [](Output&) {}, printVerifiedRow<RowForm::tsv>},
   {"csv", "the same with commas, and the names of the columns first", printVerifiedNames<RowForm::csv>,
    printVerifiedRow<RowForm::csv>},
   {"json", "one object a line: family, engine, sound, routes, borders, samples, faults, shown, seconds",
    [](Output&) {},
    [](AddressFamily af, std::string_view engine, const Verified& verified, Output& output) {
       jsonLine(output, {{"family", Corenet::stringValue(af).view()},
                         {"engine", engine},
                         {"sound", verified.isSound()},
                         {"routes", verified.routes},
                         {"borders", verified.borders},
                         {"samples", verified.samples},
                         {"faults", verified.faults},
                         {"shown", verified.shown},
                         {"seconds", verified.seconds}});
    }},
};

struct VerifyOptions : LoadOptions {
   std::vector<std::string> engines;
   std::size_t samples = 10000;
   std::string format = std::string(verifyFormats[0].name);
};

std::vector<const Engine*> enginesOf(const VerifyOptions& options) {
   std::vector<const Engine*> chosen;
   if (options.engines.empty()) {
      for (const Engine& engine : engines().subspan(1)) {  // not auto, which is one of the others
         chosen.push_back(&engine);
      }
   }
   for (const std::string& name : options.engines) {
      chosen.push_back(&engineNamed(name, Questions::longestMatch, "verify"));
   }
   return chosen;
}

ExitStatus run(const VerifyOptions& options, Session& session) {
   session.checkStandardInput(options);
   const VerifyFormat& format = rowNamed(std::span<const VerifyFormat>(verifyFormats), "format", options.format);
   const auto chosen = enginesOf(options);
   const auto asked = session.tables(options);
   const RouteSet& routes = asked->routes();
   std::uint64_t faults = asked.faults;
   Output output(STDOUT_FILENO);
   format.begin(output);
   std::uint64_t verifiedEngines = 0;
   Progress progress(Progress::standardErrorShows());
   for (const auto af : families) {
      if (routes.size(af) == 0) {
         continue;
      }
      const Verification verification(routes, af, options.samples);
      for (const Engine* engine : chosen) {
         if (!engine->holds(af)) {
            continue;
         }
         const std::string name = fmt::format("{} {}", familyName(af), engine->name);
         const Verified verified = verification.of(*engine, [&](std::uint64_t done, std::uint64_t all) {
            progress.update(name, done, all, done, "questions");
         });
         progress.hide();
         format.print(af, engine->name, verified, output);
         output.flush();
         for (const std::string& fault : verified.shown) {
            say(fmt::format("{}: {}", name, fault));
         }
         if (verified.faults > verified.shown.size()) {
            say(fmt::format("{}: {} more faults not shown", name, grouped(verified.faults - verified.shown.size())));
         }
         faults += verified.faults;
         ++verifiedEngines;
      }
   }
   output.flush();
   if (verifiedEngines == 0) {
      throw DataError("no engine that was asked for holds a family of the table");
   }
   return faults == 0 ? ExitStatus::ok : ExitStatus::badData;
}

}  // namespace

Run addVerify(CLI::App& app) {
   auto options = std::make_shared<VerifyOptions>();
   addLoadOptions(app, *options);
   app.add_option("--engine", options->engines, "Only this engine; can be given again. Without it, all")
      ->type_name("ENGINE")
      ->allow_extra_args(false);
   app.add_option("--samples", options->samples, "Routes that every other question is asked about")
      ->type_name("N")
      ->capture_default_str();
   addFormatOption(app, options->format, "How the results are printed");
   app.footer(
      helpSection(
         "What is compared",
         "  routes    the engine's count, and its walk over all routes in order\n"
         "  borders   the longest match wherever it can change: of the first and last address of each route, and of\n"
         "            the addresses beside them; with what a sweep over the sorted routes gives\n"
         "  samples   every op of lookup about some routes, prefixes around them and prefixes anywhere; with what\n"
         "            the engine table answers\n"
         "and each engine's own audit has to find it sound. Faults are told on standard error.\n") +
      "\n" + helpSection("Formats", summariesOf(std::span<const VerifyFormat>(verifyFormats))) + "\n" +
      helpSection("Examples",
                  "  rtrie verify --table routes.txt\n"
                  "  rtrie verify --table routes.txt --engine table --engine multibit"));
   return [options](Session& session) { return run(*options, session); };
}

}  // namespace Rtrie
