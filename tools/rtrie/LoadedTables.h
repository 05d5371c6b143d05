// LoadedTables: what was read of some tables, and what commands ask: the routes, an engine that holds them, the container with
// their payloads. An engine and the container are made when they are first asked for, and stay.
//
// Tested by tests/tools/rtrie/SessionTest.cpp.
#pragma once

#include <map>
#include <memory>
#include <string_view>

#include "tools/rtrie/Engine.h"
#include "tools/rtrie/PayloadTable.h"
#include "tools/rtrie/TableSet.h"
#include "tools/tables/RouteSet.h"
#include "tools/tables/TableLoader.h"

namespace Rtrie {

// Whether all routes of a prefix are kept, or those alone that answer.
enum class Candidates { dropped, kept };

class LoadedTables {
  public:
   // Reads the tables. Raises what loadTables() raises.
   LoadedTables(const LoadOptions& options, Candidates candidates);
   LoadedTables(const LoadedTables&) = delete;
   LoadedTables& operator=(const LoadedTables&) = delete;

   const RouteSet& routes() const { return routes_; }
   const LoadReport& report() const { return report_; }
   // The routes in that engine. Not for those who may change what is in it.
   const TableSet& in(const Engine& engine);
   const PayloadTable& payloads();

  private:
   RouteSet routes_;
   LoadReport report_;
   std::map<std::string_view, TableSet> engines_;
   std::unique_ptr<PayloadTable> payloads_;
};

}  // namespace Rtrie
