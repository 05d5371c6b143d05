// TableLoader: reads tables into a RouteSet, whatever their format. Bad lines are told on standard error and left
// out; the caller ends with ExitStatus::badData if there were any.
//
// Tested by tests/tools/rtrie/ProgramTest.cpp.
#pragma once

#include <cstdint>
#include <span>
#include <string>

#include "routetrie/platform/Types.h"
#include "tools/rtrie/RouteSet.h"

namespace Rtrie {

struct LoadReport {
   std::uint64_t lines = 0;   // of all tables, comments and blank lines included
   std::uint64_t faults = 0;  // bad lines, and tables without a route beside others that have some
   double seconds = 0;
};

// Reads the tables in order and seals the set. Raises DataError if a table cannot be read to its end, if none of
// them holds a route, and, if strict, at the first bad line.
LoadReport loadTables(std::span<const std::string> paths, bool strict, RouteSet& routes);

}  // namespace Rtrie
