// Measured: an engine of any kind, loaded with a workload and ready to be timed.
#pragma once

#include <benchmark/benchmark.h>

#include <memory>
#include <string>

#include "bench/Op.h"
#include "bench/Workload.h"

namespace Bench {

class Measured {
  public:
   Measured() = default;
   Measured(const Measured&) = delete;
   Measured& operator=(const Measured&) = delete;
   virtual ~Measured() = default;

   virtual bool offers(Op op) const = 0;
   // One run of the benchmark library. Requires: offers(op). Sets the counter "ops", operations an iteration, or for
   // Op::memory "bytes", bytes a route.
   virtual void run(Op op, benchmark::State& state) = 0;
   // Compares the loaded table's answers with the oracle's: empty, or the first that differs.
   virtual std::string check() = 0;
};

// Makes and loads one. The workload must outlive it. Raises std::runtime_error if the engine refuses a route.
template <class F>
using MakeMeasured = std::unique_ptr<Measured> (*)(const Workload<F>&);

}  // namespace Bench
