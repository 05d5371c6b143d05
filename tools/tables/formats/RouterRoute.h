// RouterRoute: a route as routing daemons list it, which know more than what they gave to the kernel: its protocol, its distance
// or preference, and whether it is the one that was selected. Its payload is spelled as `ip route` does:
//
//    via 192.0.2.2 dev eth0 proto static distance 1
//    blackhole proto static distance 1
//    proto static distance 1 nexthop via 192.0.2.2 dev eth0 weight 1 nexthop via 192.0.2.3 dev eth0 weight 1
//
// ListedTables decides on which of the tables or VRFs of a listing are read. Unless one is selected it is the default one; a
// listing that has one other table alone is read as that one.
// Tested by tests/tools/tables/FormatFixturesTest.cpp.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "routetrie/platform/Corenet.h"
#include "tools/tables/RouteSet.h"
#include "tools/tables/Selection.h"

namespace Rtrie {

struct RouterRoute {
   Corenet::IpGenPrefix prefix;
   std::string table;
   std::string type;               // "blackhole" and the like; empty: it leads somewhere
   std::vector<std::string> hops;  // "via 192.0.2.2 dev eth0 weight 1"
   std::string protocol;
   std::string_view distanceName = "distance";
   std::optional<U32> distance;  // or preference
   U32 metric = 0;
   U32 rank = 0;  // the lowest is taken, after what is selected
   bool isSelected = false;
   bool isUsable = true;  // false: no next hop is active
};

// The payload, as above.
std::string payloadOf(const RouterRoute& route);

class ListedTables {
  public:
   // Names of what is the default, as a listing has them.
   ListedTables(const Selection& selection, std::vector<std::string_view> defaults)
      : selection_(selection), defaults_(std::move(defaults)) {}

   // Adds the route if its table is wanted, or keeps it for the end, or returns false: it is left out.
   bool add(RouterRoute route, RouteSet& routes);
   // Adds what was kept, if the listing has no default table and one other. Otherwise leaveOut is called for each of them.
   void end(RouteSet& routes, const std::function<void(std::string_view table)>& leaveOut);

  private:
   bool isDefault(std::string_view table) const;

   const Selection selection_;
   const std::vector<std::string_view> defaults_;
   bool hasDefault_ = false;
   std::optional<std::string> other_;  // the one other table
   std::vector<RouterRoute> kept_;
};

}  // namespace Rtrie
