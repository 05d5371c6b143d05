// TableLoader: reads tables into a RouteSet, whatever their format. Bad lines are told on standard error and left
// out; the caller ends with ExitStatus::badData if there were any.
//
// Tested by tests/tools/tables/TableLoaderTest.cpp.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "routetrie/platform/Types.h"
#include "tools/tables/RouteSet.h"
#include "tools/tables/Selection.h"

namespace Rtrie {

// What to read, and which part of it.
struct LoadOptions {
   std::vector<std::string> tables;
   bool strict = false;
   std::string peer;            // a PeerName; empty: the best of all peers
   bool masksHostBits = false;  // of addresses with bits past the length of their prefix; else they are refused
   std::string routeTable;      // name or id of one of the kernel's routing tables, or "all"; empty: main
};

// With the names of this machine's routing tables. Raises UsageError if the peer is none.
Selection selectionOf(const LoadOptions& options);

struct LoadReport {
   std::uint64_t lines = 0;    // of all tables, comments and blank lines included
   std::uint64_t faults = 0;   // bad lines, and tables without a route beside others that have some
   std::uint64_t leftOut = 0;  // lines that are not of the peer or routing table that is wanted
   LostOffers lost;            // routes that answer nothing since the table answers with another one of their prefix
   std::uint64_t bound = 0;    // routes that answer nothing since they hold for some packets alone
   double seconds = 0;
};

// Reads the tables in order and seals the set; how many routes were left out, lost or bound is told on standard error.
// Raises DataError if a table cannot be read to its end, if none of them holds a route or is of a format that the options
// select by, and, if strict, at the first bad line. Raises UsageError if the peer is none.
LoadReport loadTables(const LoadOptions& options, RouteSet& routes);

}  // namespace Rtrie
