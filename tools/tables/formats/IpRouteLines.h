// IpRouteLines: what `ip route show` and `ip -6 route show` print, with or without -o, -d and `table all`:
//
//    default via 192.0.2.1 dev eth0
//    10.0.0.0/8 via 192.0.2.7 dev eth0 metric 100
//    192.0.2.9 dev eth0 scope link
//    blackhole 10.1.0.0/16
//    10.6.0.0/16 via 192.0.2.3 dev eth0 table 100        left out unless that table is selected
//    default from 2001:db8:9::/48 via fe80::3 dev eth0   holds for some packets alone: answers nothing
//    default proto static
//            nexthop via fe80::1 dev eth0 weight 1       belongs to the line above, as behind the backslash of -o
//
// The payload is the line without the destination, and the next hops behind it. Of several routes for a prefix the kernel
// takes the lowest metric, for IPv6 then the highest `pref`, then the first line; a line without a metric has 0, or for IPv6
// 1024. What is bound to a source (`from`) or a type of service (`tos`), and what is `dead`, it takes for no packet but
// those. Of all routing tables at once, the local one comes first, then main, then default, as its rules have it.
//
// "default" does not say of which family it is. In this order: by an address on its line, by `pref`, which only IPv6
// routes have, by the nearest line before it that is known, by the first one after it; IPv4 if there is none.
// Tested by tests/tools/tables/IpRouteLinesTest.cpp.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "routetrie/platform/Corenet.h"
#include "tools/tables/TableFormat.h"

namespace Rtrie {

// What the words after a route's destination, or those of a next hop, say that decides on it.
struct RouteAttributes {
   std::optional<Corenet::AddressFamily> family;
   std::optional<U32> metric;
   std::string_view table = "main";
   U8 preference = 1;     // low, medium, high
   bool isBound = false;  // it holds for packets of some source or type of service alone
   bool isDead = false;

   void familyIs(Corenet::AddressFamily known) {
      if (!family) {
         family = known;
      }
   }
};

// Up to the next hops that have lines of their own. Raises BadText for a metric that is no number of 32 bits.
RouteAttributes routeAttributesOf(std::string_view text);

// Of a line without one.
constexpr U32 unsaidMetric(Corenet::AddressFamily family) {
   return family == Corenet::AddressFamily::ipv6 ? 1024 : 0;
}

// "blackhole" and the like, which stand before a destination.
bool isRouteType(std::string_view word);

class IpRouteLines final : public LineParser {
  public:
   explicit IpRouteLines(const Selection& selection = {}) : selection_(selection) {}
   static bool looksLike(std::string_view text);
   void line(std::string_view text, RouteSet& routes) override;
   void end(RouteSet& routes) override;

  private:
   // A route whose next hops may still come, or whose family.
   struct Route {
      std::optional<Corenet::IpGenPrefix> prefix;  // none: the default route
      std::optional<Corenet::AddressFamily> family;
      std::string payload;
      std::string table;
      std::optional<U32> metric;
      U8 preference = 0;
      bool isBound = false;
      bool isDead = false;
      std::uint64_t nextHops = 0;
      std::uint64_t deadNextHops = 0;
   };

   void nextHop(std::string_view text);
   void close(RouteSet& routes);
   void familyIs(Corenet::AddressFamily family, RouteSet& routes);
   void add(const Route& route, Corenet::AddressFamily family, RouteSet& routes) const;

   const Selection selection_;
   std::optional<Route> open_;
   bool isPassedOver_ = false;                     // of the line before; next hops after it are, too
   std::optional<Corenet::AddressFamily> family_;  // of the last line that is known
   std::vector<Route> undecided_;                  // the default routes before the first known line
};

}  // namespace Rtrie
