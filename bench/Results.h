// Results: the figures of a run, gathered from the benchmark library, and how they are shown: for people, a table a
// family that sets each of our engines beside each rival; for programs, JSON.
#pragma once

#include <benchmark/benchmark.h>

#include <cstddef>
#include <map>
#include <span>
#include <string>
#include <vector>

#include "bench/Engines.h"
#include "bench/Op.h"

namespace Bench {

// One row of the benchmark library's, named OP/ENGINE/FAMILY/SIZE.
struct RowName {
   std::string op;
   std::string engine;
   std::string family;
   std::string size;

   std::string text() const { return op + '/' + engine + '/' + family + '/' + size; }
};

struct Row {
   RowName name;
   std::vector<double> values;  // one a repetition, in the unit of the operation

   double median() const;
};

// What all figures of a run share.
struct RunInfo {
   std::string table;
   std::string machine;
   std::string date;
   std::map<std::string, std::map<std::string, std::size_t>> routes;  // by family and size
};

class Results : public benchmark::BenchmarkReporter {
  public:
   // Announces a row; what the benchmark library reports under its name is added to it.
   void rowIs(const RowName& name);

   bool ReportContext(const Context&) override { return true; }
   void ReportRuns(const std::vector<Run>& runs) override;

   // Empty, or what the first row that failed says.
   const std::string& fault() const { return fault_; }
   // Rows that were announced and have a figure.
   std::size_t measured() const;

   std::string text(const RunInfo& info, std::span<const EngineRow> engines) const;
   std::string json(const RunInfo& info) const;

   // Null if it has no figures.
   const Row* find(const RowName& name) const;

  private:
   template <class F>
   std::string tableOf(const RunInfo& info, std::span<const EngineRow> engines) const;

   std::vector<Row> rows_;
   std::map<std::string, std::size_t> index_;  // of rows_, by name
   std::string fault_;
};

// The processor, its cores, the compiler.
std::string machineLine();
// Today, as 2025-11-21.
std::string today();

}  // namespace Bench
