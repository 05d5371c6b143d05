// FrrJson: what FRR's `show ip route json` and `show ipv6 route json` print: {"10.1.0.0/16": [{"protocol": "static", "vrfName":
// "default", "selected": true, "distance": 1, "metric": 0, "nexthops": [{"ip": "192.0.2.2", "interfaceName": "eth0", "active":
// true, "fib": true}]}]}. What holds for the listing without json (FrrLines.h) holds here.
// Tested by tests/tools/tables/FormatFixturesTest.cpp.
#pragma once

#include "tools/tables/TableFormat.h"
#include "tools/tables/formats/RouterRoute.h"

namespace Rtrie {

class FrrJson final : public EntryParser {
  public:
   explicit FrrJson(const Selection& selection = {}) : tables_(selection, {"default"}) {}
   static bool hasEntry(const JsonEntry& entry);
   void entry(const JsonEntry& entry, RouteSet& routes) override;
   void end(RouteSet& routes) override;

  private:
   ListedTables tables_;
};

}  // namespace Rtrie
