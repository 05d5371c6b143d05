// PayloadTable: the library's container with payloads as rtrie reads them: the value of a route is the number of its payload, 4
// bytes that lie in the nodes' own runs.
//
// Tested by tests/tools/rtrie/ContainerTableTest.cpp.
#pragma once

#include <string_view>
#include <vector>

#include "routetrie/table.h"
#include "tools/tables/RouteSet.h"

namespace Rtrie {

class PayloadTable {
  public:
   PayloadTable() = default;
   // All routes of the set, which has to live as long and to stay as it is.
   explicit PayloadTable(const RouteSet& routes) {
      for (const auto af : {Corenet::AddressFamily::ipv4, Corenet::AddressFamily::ipv6}) {
         routes.forEachWithPayload(af,
                                   [this](const auto& route, const Payload& payload) { routeIs(route, payload); });
      }
   }

   // Adds the route, or replaces its payload. Of one set alone.
   void routeIs(const Corenet::IpGenPrefix& route, const Payload& payload) {
      if (payload.id >= texts_.size()) {
         texts_.resize(payload.id + 1);
      }
      texts_[payload.id] = payload.text;
      routes_.insert_or_assign(route, payload.id);
   }
   // Adds the route without a payload, if it is not there.
   void routeIs(const Corenet::IpGenPrefix& route) { routes_.try_emplace(route, U32{0}); }

   const routetrie::table<U32>& routes() const { return routes_; }
   std::string_view text(U32 id) const { return texts_[id]; }

  private:
   routetrie::table<U32> routes_;
   std::vector<std::string_view> texts_{{}};
};

}  // namespace Rtrie
