// IpRouteLines: what `ip route show` and `ip -6 route show` print:
//
//    default via 192.0.2.1 dev eth0
//    10.0.0.0/8 via 192.0.2.7 dev eth0 metric 100
//    192.0.2.9 dev eth0 scope link
//    blackhole 10.1.0.0/16
//    default proto static
//            nexthop via fe80::1 dev eth0 weight 1       belongs to the line above: passed over
//
// The payload is the line without the destination. "default" does not say of which family it is. In this order:
// by an address on its line, by `pref`, which only IPv6 routes have, by the nearest line before it that is known,
// by the first one after it; IPv4 if there is none.
// Tested by tests/tools/rtrie/IpRouteLinesTest.cpp.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "routetrie/platform/Corenet.h"
#include "tools/rtrie/TableFormat.h"

namespace Rtrie {

class IpRouteLines final : public LineParser {
  public:
   static bool looksLike(std::string_view text);
   void line(std::string_view text, RouteSet& routes) override;
   void end(RouteSet& routes) override;

  private:
   void familyIs(Corenet::AddressFamily family, RouteSet& routes);

   std::optional<Corenet::AddressFamily> family_;  // of the last line that is known
   std::vector<std::string> undecided_;            // payloads of the default routes before the first known line
};

}  // namespace Rtrie
