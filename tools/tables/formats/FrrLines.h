// FrrLines: what FRR's `show ip route` and `show ipv6 route` print, for one VRF or all,
//
//    S>* 10.1.0.0/16 [1/0] via 192.0.2.2, eth0, weight 1, 00:00:05
//    S   10.1.0.0/16 [50/0] via 192.0.2.3, eth0, weight 1, 00:00:05          not selected
//    S>* 10.5.0.0/16 [1/0] via 192.0.2.2, eth0, weight 1, 00:00:05
//      *                   via 192.0.2.3, eth0, weight 1, 00:00:05           a further next hop of the line above
//    S>  10.8.0.0/16 [1/0] via 10.1.0.1 (recursive), weight 1, 00:00:05      resolved by the lines below
//    S>* 10.2.0.0/16 [1/0] unreachable (blackhole), weight 1, 00:00:05
//    C>* 192.0.2.0/24 is directly connected, eth0, 00:00:07
//    VRF red:
//    VRF default table 100:                                                  of `table all`: see frrTable()
//
// and what they print of one prefix:
//
//    Routing entry for 10.1.0.0/16
//      Known via "static", distance 1, metric 0, best
//      Last update 00:00:05 ago
//      * 192.0.2.2, via eth0, weight 1
//
// Of several routes of a prefix the selected one is taken, then the lowest distance. What is inactive, or bound to a source,
// answers nothing.
// Tested by tests/tools/tables/FormatFixturesTest.cpp.
#pragma once

#include <optional>
#include <string>

#include "tools/tables/TableFormat.h"
#include "tools/tables/formats/RouterRoute.h"

namespace Rtrie {

// What a listing's table goes by: a VRF by its name, and of the default VRF, which alone has several, those beside the main one by
// their numbers. Without a number it is the VRF's own.
std::string frrTable(std::string_view vrf, std::string_view number);

class FrrLines final : public LineParser {
  public:
   explicit FrrLines(const Selection& selection = {}) : tables_(selection, {"default"}) {}
   static bool looksLike(std::string_view line);
   static bool opensWith(std::string_view firstLine);
   void line(std::string_view text, RouteSet& routes) override;
   void end(RouteSet& routes) override;

  private:
   void entryLine(std::string_view text, RouteSet& routes);
   void hop(std::string_view text);
   void close(RouteSet& routes);

   ListedTables tables_;
   std::string table_ = "default";
   std::optional<RouterRoute> open_;
   bool hasActiveHop_ = false;
   bool isEntry_ = false;  // from the first routing entry on
};

}  // namespace Rtrie
