#include "bench/Results.h"

#include <fmt/chrono.h>
#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <ctime>
#include <fstream>
#include <nlohmann/json.hpp>

namespace Bench {

double Row::median() const { return medianOf(values); }

//--- gathering ---

void Results::rowIs(const RowName& name) {
   index_.emplace(name.text(), rows_.size());
   rows_.push_back({name, {}});
}

// Times are those of the processor and not of the clock on the wall: they leave out what other programs took.
void Results::ReportRuns(const std::vector<Run>& runs) {
   for (const Run& run : runs) {
      if (run.error_occurred) {
         fault_ = fault_.empty() ? run.run_name.function_name + ": " + run.error_message : fault_;
         continue;
      }
      if (run.run_type != Run::RT_Iteration) {
         continue;
      }
      Row& row = rows_[index_.at(run.run_name.function_name)];
      if (const auto figure = run.counters.find("figure"); figure != run.counters.end()) {
         row.values.push_back(figure->second.value);
         continue;
      }
      const bool isManual = !run.run_name.time_type.empty();
      const double seconds = isManual ? run.real_accumulated_time : run.cpu_accumulated_time;
      const double operations = static_cast<double>(run.iterations) * run.counters.at("ops").value;
      row.values.push_back(seconds * 1e9 / operations);
   }
}

std::size_t Results::measured() const {
   return static_cast<std::size_t>(
      std::count_if(rows_.begin(), rows_.end(), [](const Row& row) { return !row.values.empty(); }));
}

const Row* Results::find(const RowName& name) const {
   const auto found = index_.find(name.text());
   return found == index_.end() || rows_[found->second].values.empty() ? nullptr : &rows_[found->second];
}

//--- showing ---

namespace {

std::string figure(double value) { return value < 100 ? fmt::format("{:.1f}", value) : fmt::format("{:.0f}", value); }

template <class F>
bool isBuilt(const EngineRow& row) {
   return row.makerFor<F>() != nullptr;
}

}  // namespace

template <class F>
std::string Results::tableOf(const RunInfo& info, std::span<const EngineRow> engines) const {
   const std::string family(F::name);
   const auto sizes = info.routes.find(family);
   if (sizes == info.routes.end()) {
      return {};
   }
   std::string text = fmt::format("\n{:<22}{:<18}{:>9}", family, "ours", "");
   for (const EngineRow& rival : engines) {
      if (!rival.isOurs) {
         text += fmt::format("{:>19}", rival.nameFor<F>());
      }
   }
   text += '\n';
   for (const auto& sizeName : {"1k", "10k", "100k", "all"}) {
      const auto size = sizes->second.find(sizeName);
      if (size == sizes->second.end()) {
         continue;
      }
      text += fmt::format("{}, {} routes\n", size->first, size->second);
      for (const OpRow& op : opRows) {
         std::string label(op.name);
         const auto cellOf = [&](const EngineRow& engine) {
            return find({std::string(op.name), std::string(engine.nameFor<F>()), family, size->first});
         };
         const auto rivals = [&](const Row* mine) {
            std::string line;
            for (const EngineRow& rival : engines) {
               if (rival.isOurs) {
                  continue;
               }
               const Row* row = cellOf(rival);
               const std::string ratio =
                  row != nullptr && mine != nullptr ? fmt::format(" ({:.2f})", row->median() / mine->median()) : "";
               line += fmt::format("{:>19}", !isBuilt<F>(rival) ? "not built"
                                             : row == nullptr   ? "-"
                                                                : figure(row->median()) + ratio);
            }
            return line + '\n';
         };
         bool shown = false;
         for (const EngineRow& ours : engines) {
            if (const Row* mine = ours.isOurs ? cellOf(ours) : nullptr) {
               text += fmt::format("   {:<19}{:<18}{:>9}{}", label, ours.nameFor<F>(), figure(mine->median()),
                                   rivals(mine));
               label.clear();
               shown = true;
            }
         }
         const bool rivalsHaveIt =
            std::any_of(engines.begin(), engines.end(), [&](const EngineRow& row) { return cellOf(row) != nullptr; });
         if (!shown && rivalsHaveIt) {
            text += fmt::format("   {:<19}{:<18}{:>9}{}", label, "-", "-", rivals(nullptr));
         }
      }
   }
   return text;
}

std::string Results::text(const RunInfo& info, std::span<const EngineRow> engines) const {
   std::string others;
   for (const OpRow& row : opRows) {
      if (!row.isTime()) {
         others += fmt::format("; for {} {}", row.name, row.unit);
      }
   }
   return fmt::format(
             "table    {}\nmachine  {}\ndate     {}\n\n"
             "Medians: nanoseconds an operation{}.\n"
             "In brackets how many times our figure the rival's is: above 1, ours is the better.\n",
             info.table, info.machine, info.date, others) +
          tableOf<V4>(info, engines) + tableOf<V6>(info, engines);
}

namespace {

std::string_view unitOf(std::string_view op) {
   const auto* const row =
      std::find_if(opRows.begin(), opRows.end(), [&](const OpRow& each) { return each.name == op; });
   return row->unit;
}

}  // namespace

std::string Results::json(const RunInfo& info) const {
   nlohmann::ordered_json out;
   out["table"] = info.table;
   out["machine"] = info.machine;
   out["date"] = info.date;
   out["routes"] = info.routes;
   out["rows"] = nlohmann::ordered_json::array();
   for (const Row& row : rows_) {
      if (!row.values.empty()) {
         out["rows"].push_back({{"name", row.name.text()},
                                {"op", row.name.op},
                                {"engine", row.name.engine},
                                {"family", row.name.family},
                                {"size", row.name.size},
                                {"unit", unitOf(row.name.op)},
                                {"median", row.median()},
                                {"values", row.values}});
      }
   }
   return out.dump(1) + '\n';
}

std::string machineLine() {
   std::ifstream info("/proc/cpuinfo");
   std::string model = "unknown processor";
   for (std::string line; std::getline(info, line);) {
      if (line.starts_with("model name")) {
         model = line.substr(line.find(':') + 2);
         break;
      }
   }
#if defined(__clang__)
   constexpr const char* compiler = "clang " __clang_version__;
#else
   constexpr const char* compiler = "g++ " __VERSION__;
#endif
   return fmt::format("{}, {} cores, {}", model, sysconf(_SC_NPROCESSORS_ONLN), compiler);
}

std::string today() { return fmt::format("{:%Y-%m-%d}", fmt::gmtime(std::time(nullptr))); }

}  // namespace Bench
