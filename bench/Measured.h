// Measured: an engine of any kind, loaded with a workload and ready to be timed.
#pragma once

#include <benchmark/benchmark.h>

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "bench/Op.h"
#include "bench/Workload.h"

namespace Bench {

// The middle one, or the mean of the two in the middle. Requires: there is one.
inline double medianOf(std::vector<double> values) {
   std::sort(values.begin(), values.end());
   const std::size_t half = values.size() / 2;
   return values.size() % 2 == 1 ? values[half] : (values[half - 1] + values[half]) / 2;
}
// Requires: as medianOf().
inline double slowestToMedian(const std::vector<double>& times) {
   return *std::max_element(times.begin(), times.end()) / medianOf(times);
}

class Measured {
  public:
   Measured() = default;
   Measured(const Measured&) = delete;
   Measured& operator=(const Measured&) = delete;
   virtual ~Measured() = default;

   virtual bool offers(Op op) const = 0;
   // One run of the benchmark library. Requires: offers(op). Sets the counter "ops", operations an iteration, or of what is no
   // time "figure".
   virtual void run(Op op, benchmark::State& state) = 0;
   // Compares the loaded table's answers with the oracle's: empty, or the first that differs.
   virtual std::string check() = 0;
};

// Makes and loads one. The workload must outlive it. Raises std::runtime_error if the engine refuses a route.
template <class F>
using MakeMeasured = std::unique_ptr<Measured> (*)(const Workload<F>&);

}  // namespace Bench
