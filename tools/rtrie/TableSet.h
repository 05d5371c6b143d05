// TableSet: a RouteTable for each family, filled from a RouteSet, with what each of them cost.
//
// Tested by tests/tools/rtrie/TableSetTest.cpp.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <string_view>

#include "routetrie/platform/Corenet.h"
#include "routetrie/platform/Types.h"
#include "tools/rtrie/Engine.h"
#include "tools/tables/RouteSet.h"

namespace Rtrie {

inline constexpr std::array<Corenet::AddressFamily, 2> families = {Corenet::AddressFamily::ipv4,
                                                                   Corenet::AddressFamily::ipv6};

class TableSet {
  public:
   struct Family {
      std::unique_ptr<RouteTable> table;  // null if the engine does not hold the family, or there are no routes
      std::uint64_t liveBytes = 0;
      double seconds = 0;  // to insert the routes, in ascending order
   };

   // Keeps a reference to the routes.
   TableSet(const Engine& engine, const RouteSet& routes);

   // The payload of a route, from the engine if it keeps payloads, else from the routes; nullopt if there is none.
   std::optional<std::string_view> payload(const Corenet::IpGenPrefix& route) const;

   const Family& of(Corenet::AddressFamily af) const { return families_[af == Corenet::AddressFamily::ipv6 ? 1 : 0]; }

  private:
   const RouteSet& routes_;
   const bool hasPayloads_;
   std::array<Family, 2> families_;
};

}  // namespace Rtrie
