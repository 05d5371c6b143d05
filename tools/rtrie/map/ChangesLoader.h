// ChangesLoader: the tables of a command that shows changes: streams of updates, and beside them tables, which tell what was there
// all the time.
//
// Tested by tests/tools/rtrie/map/MapCommandTest.cpp.
#pragma once

#include <cstdint>

#include "tools/rtrie/map/ChangeTimes.h"
#include "tools/tables/RouteSet.h"
#include "tools/tables/TableLoader.h"

namespace Rtrie {

// Reads all of them and seals the set. Bad records and lines are told on standard error; returns how many. Raises DataError as
// loadTables() does, and if nothing of it has changed.
std::uint64_t loadChanges(const LoadOptions& options, ChangeTimes& changes, RouteSet& routes);

}  // namespace Rtrie
