// Charts: which charts show the results of a run: for each family, time a lookup of three kinds and bytes a route.
#pragma once

#include <span>
#include <vector>

#include "bench/Chart.h"
#include "bench/Engines.h"
#include "bench/Results.h"

namespace Bench {

// Those that have anything to show.
std::vector<Chart> chartsOf(const Results& results, const RunInfo& info, std::span<const EngineRow> engines);

}  // namespace Bench
