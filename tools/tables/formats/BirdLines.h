// BirdLines: what BIRD's `show route` prints, of version 1 or 2, with `all`, `primary` or `table all`:
//
//    Table master4:
//    10.1.0.0/16          unicast [s4 04:57:36.221] * (200)        * is the one that it uses
//            via 192.0.2.2 on eth0
//                         unicast [bgp1 04:57:36.221] (100) [AS65001i]      another route of that prefix
//            via 192.0.2.3 on eth0 weight 1
//            BGP.as_path: 65001 65002                               of `all`; other attributes are passed over
//    10.2.0.0/16          blackhole [s4 04:57:36.221] * (200)
//    10.3.0.0/16        via 192.0.2.2 on eth0 [s4 12:00:01] * (200)         of version 1
//
// Its tables of other things are left out: origins (10.0.0.0/8-24 AS65000), VPNs (65000:1 10.0.0.0/8), flows (flow4 { ... }), labels.
// `birdc -v` puts a number before the first line of a reply.
//
// Of several routes of a prefix the one with the mark is taken, then the greatest preference.
// Tested by tests/tools/tables/FormatFixturesTest.cpp.
#pragma once

#include <optional>
#include <string>

#include "tools/tables/TableFormat.h"
#include "tools/tables/formats/RouterRoute.h"

namespace Rtrie {

class BirdLines final : public LineParser {
  public:
   explicit BirdLines(const Selection& selection = {}) : tables_(selection, {"master", "master4", "master6"}) {}
   static bool looksLike(std::string_view line);
   static bool opensWith(std::string_view firstLine);
   void line(std::string_view text, RouteSet& routes) override;
   void end(RouteSet& routes) override;

  private:
   void close(RouteSet& routes);

   ListedTables tables_;
   std::string table_ = "master";
   std::optional<Corenet::IpGenPrefix> prefix_;
   std::optional<RouterRoute> open_;
   bool isOther_ = false;  // the last row was none of a route
   std::string path_;
};

}  // namespace Rtrie
