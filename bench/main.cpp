// routetrie-bench: every engine of the library and every rival that was built, on the same routes and the same
// queries, one family and size after the other. All engines of a group are loaded, and compared with the oracle,
// before any of them is timed; then each operation is measured, its rows interleaved at random.
#include <benchmark/benchmark.h>
#include <fmt/format.h>

#include <algorithm>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "bench/Charts.h"
#include "bench/Gnuplot.h"
#include "bench/Optimised.h"
#include "bench/Options.h"
#include "bench/Results.h"
#include "bench/Table.h"
#include "bench/Updates.h"
#include "bench/Workload.h"
#include "tools/tables/Messages.h"

namespace Bench {

namespace {

// How many queries of each kind the answers to are compared.
constexpr std::size_t checkCount = 10000;

struct Loaded {
   std::string name;
   std::unique_ptr<Measured> engine;
};

// Raises std::runtime_error if an answer differs from the oracle's.
void check(std::vector<Loaded>& group, const std::string& where) {
   for (const auto& [name, engine] : group) {
      if (const auto fault = engine->check(); !fault.empty()) {
         throw std::runtime_error(fmt::format("{}: {}: {}", where, name, fault));
      }
   }
}

template <class F>
std::vector<Loaded> load(const Options& options, const Workload<F>& work, const std::string& where) {
   std::vector<Loaded> group;
   for (const EngineRow& row : options.engines) {
      if (const auto make = row.makerFor<F>(); make != nullptr) {
         const std::string name(row.nameFor<F>());
         Rtrie::say(fmt::format("{}: loading {}", where, name));
         try {
            group.push_back({name, make(work)});
         } catch (const std::runtime_error& error) {
            throw std::runtime_error(fmt::format("{}: {}: {}", where, name, error.what()));
         }
      }
   }
   return group;
}

// Measures one operation of all engines of a group that offer it.
void measure(const Options& options, const OpRow& op, std::vector<Loaded>& group, RowName name, Results& results) {
   const bool hasOwnClock =
      op.op == Op::insert || op.op == Op::erase || op.op == Op::eraseHandle || op.op == Op::updates;
   benchmark::ClearRegisteredBenchmarks();
   bool any = false;
   for (const auto& [engineName, engine] : group) {
      if (!engine->offers(op.op)) {
         continue;
      }
      any = true;
      name.engine = engineName;
      results.rowIs(name);
      auto* row = benchmark::RegisterBenchmark(
         name.text().c_str(),
         [&op, measured = engine.get()](benchmark::State& state) { measured->run(op.op, state); });
      if (op.op == Op::memory || options.checkOnly) {
         row->Iterations(1);
         continue;
      }
      if (!op.isTime()) {
         row->Iterations(1)->Repetitions(options.repetitions);
         continue;
      }
      row->MinTime(options.minSeconds)->Repetitions(options.repetitions);
      if (hasOwnClock) {
         row->UseManualTime();
      }
   }
   if (any) {
      benchmark::RunSpecifiedBenchmarks(&results);
   }
   if (!results.fault().empty()) {
      throw std::runtime_error(results.fault());
   }
}

template <class F>
void runFamily(const Options& options, const Table& table, const Updates& updates, RunInfo& info, Results& results) {
   const auto& shuffled = table.of<F>();
   const std::string family(F::name);
   if (std::find(options.families.begin(), options.families.end(), family) == options.families.end()) {
      return;
   }
   if (shuffled.empty()) {
      Rtrie::say(fmt::format("{}: the table has no routes", family));
      return;
   }
   for (const Size& size : options.sizes) {
      const std::string where = family + ' ' + size.name;
      const std::size_t routes = std::min(size.routes, shuffled.size());
      Workload<F> work = makeWorkload<F>(shuffled, routes, checkCount);
      work.updates = updates.of<F>();
      if (work.fault.empty()) {
         info.routes[family][size.name] = routes;
      } else {
         throw std::runtime_error(fmt::format("{}: {}", where, work.fault));
      }
      std::vector<Loaded> group = load<F>(options, work, where);
      check(group, where);
      Rtrie::say(fmt::format("{}: {} engines give the right answers on {} queries", where, group.size(), checkCount));
      for (const OpRow& op : options.ops) {
         Rtrie::say(fmt::format("{}: {} {}", where, options.checkOnly ? "running" : "measuring", op.name));
         measure(options, op, group, {std::string(op.name), "", family, size.name}, results);
      }
      check(group, where + ", afterwards");
   }
}

void initialiseLibrary(char* name) {
   std::string interleave = "--benchmark_enable_random_interleaving=true";
   std::vector<char*> arguments = {name, interleave.data(), nullptr};
   int count = 2;
   benchmark::Initialize(&count, arguments.data());
}

int run(int argc, char** argv) {
   int status = 0;
   const auto options = optionsOf(argc, argv, status);
   if (!options) {
      return status;
   }
   if (!isOptimised() && !options->checkOnly) {
      Rtrie::say(
         "built without optimisation: the figures would mean nothing; build with the preset bench, or use --check");
      return 2;
   }
   if (!options->plot.empty()) {
      needGnuplot();
      std::filesystem::create_directories(options->plot);
   }
   initialiseLibrary(argv[0]);

   const Table table = loadTable(options->table);
   RunInfo info{table.source, machineLine(), today(), {}};
   Rtrie::say(fmt::format("table {}: {} IPv4 and {} IPv6 routes", table.source, table.v4.size(), table.v6.size()));

   const Updates updates = options->updates.empty() ? Updates() : loadUpdates(options->updates);

   Results results;
   runFamily<V4>(*options, table, updates, info, results);
   runFamily<V6>(*options, table, updates, info, results);
   if (options->checkOnly) {
      fmt::print("{} rows ran, and all answers were right\n", results.measured());
      return 0;
   }
   fmt::print("{}", results.text(info, options->engines));
   if (!options->json.empty()) {
      std::ofstream out(options->json);
      out << results.json(info);
      if (!out.flush()) {
         throw std::runtime_error(options->json + ": cannot be written");
      }
   }
   std::fflush(stdout);
   if (!options->plot.empty()) {
      for (const Chart& chart : chartsOf(results, info, options->engines)) {
         const auto path = (std::filesystem::path(options->plot) / (chart.name + ".svg")).string();
         Rtrie::say("drawing " + path);
         runGnuplot(gnuplotScript(chart), path);
      }
   }
   return 0;
}

}  // namespace

}  // namespace Bench

int main(int argc, char** argv) {
   Rtrie::speakerIs("routetrie-bench");
   try {
      return Bench::run(argc, argv);
   } catch (const std::exception& error) {
      Rtrie::say(error.what());
      return 1;
   }
}
