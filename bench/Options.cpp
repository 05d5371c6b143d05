#include "bench/Options.h"

#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <algorithm>

#include "tools/tables/Messages.h"

namespace Bench {

namespace {

const std::vector<Size> allSizes = {{"1k", 1000}, {"10k", 10000}, {"100k", 100000}, {"all", ~std::size_t{0}}};

template <class Rows, class NameOf>
std::vector<std::string> namesOf(const Rows& rows, NameOf&& nameOf) {
   std::vector<std::string> names;
   for (const auto& row : rows) {
      names.emplace_back(nameOf(row));
   }
   return names;
}

bool contains(const std::vector<std::string>& names, std::string_view name) {
   return std::find(names.begin(), names.end(), name) != names.end();
}

}  // namespace

std::optional<Options> optionsOf(int argc, char** argv, int& status) {
   Options options;
   std::vector<std::string> sizes = namesOf(allSizes, [](const Size& size) { return size.name; });
   std::vector<std::string> ops = namesOf(opRows, [](const OpRow& row) { return row.name; });
   std::vector<std::string> engineNames;
   for (const EngineRow& row : engines()) {
      engineNames.emplace_back(row.name[0]);
      if (row.name[1] != row.name[0]) {
         engineNames.emplace_back(row.name[1]);
      }
   }
   std::vector<std::string> asked = engineNames;
   options.families = {"v4", "v6"};

   CLI::App app("Measures the library's engines side by side with other route tables, on one table of routes.");
   std::string footer = "operations:\n";
   for (const OpRow& row : opRows) {
      footer += fmt::format("  {:<20}{}\n", row.name, row.summary);
   }
   footer +=
      "\nexample: routetrie-bench --sizes 100k,all --ops match,insert --engines patricia,rte_rib --json out.json";
   app.footer(footer);
   app.add_option("--table", options.table, "a table of routes, in any format that rtrie reads, plain or .gz")
      ->envname("ROUTETRIE_TABLE")
      ->type_name("FILE");
   app.add_option("--updates", options.updates,
                  "changes for the operation `updates`: lines \"+ PREFIX\", \"- PREFIX\", \"TIME a PREFIX ...\", "
                  "\"TIME w PREFIX ...\", plain or .gz")
      ->type_name("FILE");
   const auto list = [&](const char* name, std::vector<std::string>& value, const char* text) {
      app.add_option(name, value, text)
         ->delimiter(',')
         ->type_name("NAME,...")
         ->check(CLI::IsMember(value))
         ->capture_default_str();
   };
   list("--sizes", sizes, "how many routes of the table");
   list("--families", options.families, "address families");
   list("--ops", ops, "what to measure");
   list("--engines", asked, "which engines");
   auto* const repetitions = app.add_option("--repetitions", options.repetitions,
                                            "how often each row is measured, interleaved with its rivals")
                                ->check(CLI::Range(1, 1000))
                                ->capture_default_str();
   auto* const minTime = app.add_option("--min-time", options.minSeconds, "seconds a repetition takes at least")
                            ->check(CLI::Range(0.0, 3600.0))
                            ->capture_default_str();
   auto* const json = app.add_option("--json", options.json, "write all figures to this file")->type_name("FILE");
   auto* const plot =
      app.add_option("--plot", options.plot, "draw charts into this folder, as SVG, with gnuplot")->type_name("DIR");
   app.add_flag("--check", options.checkOnly,
                "each row once, and the answers compared, to see that all works; nothing is timed, in any build")
      ->excludes(repetitions)
      ->excludes(minTime)
      ->excludes(json)
      ->excludes(plot);

   try {
      app.parse(argc, argv);
   } catch (const CLI::Success& wish) {
      status = app.exit(wish);
      return {};
   } catch (const CLI::Error& error) {
      Rtrie::say(fmt::format("{}; see --help", error.what()));
      status = 2;
      return {};
   }

   for (const Size& size : allSizes) {
      if (contains(sizes, size.name)) {
         options.sizes.push_back(size);
      }
   }
   for (const OpRow& row : opRows) {
      if (contains(ops, row.name)) {
         options.ops.push_back(row);
      }
   }
   for (const EngineRow& row : engines()) {
      if (contains(asked, row.name[0]) || contains(asked, row.name[1])) {
         options.engines.push_back(row);
      }
   }
   return options;
}

}  // namespace Bench
