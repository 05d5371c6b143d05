// RouteSet: all that was read from the tables: a RouteList for each family, and the payloads.
//
// Tested by tests/tools/rtrie/RouteSetTest.cpp.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "routetrie/platform/Corenet.h"
#include "routetrie/platform/Types.h"
#include "tools/rtrie/RouteList.h"
#include "tools/rtrie/StringPool.h"

namespace Rtrie {

class RouteSet {
  public:
   // Reading. The same prefix again: the last payload counts. Withdrawing an absent prefix does nothing.
   void add(const Corenet::IpGenPrefix& prefix, std::string_view payload);
   void withdraw(const Corenet::IpGenPrefix& prefix);
   void addRange(U32 first, U32 last, std::string_view payload);
   void addRange(Corenet::U128 first, Corenet::U128 last, std::string_view payload);
   void seal();

   // Once sealed.
   std::uint64_t size(Corenet::AddressFamily af) const;
   std::uint64_t size() const { return list4_.routes().size() + list6_.routes().size(); }

   // The payload of a route, nullopt if there is no such route. The view holds until the next add().
   std::optional<std::string_view> payload(const Corenet::IpGenPrefix& prefix) const;

   // Number of routes of each length, index 0 to 32 or 128.
   std::vector<std::uint64_t> countByLength(Corenet::AddressFamily af) const;

   // Calls each(IpGenPrefix, payload) for the routes of a family in ascending order. The payload's view holds as the one
   // of payload() does.
   template <class Each>
   void forEachWithPayload(Corenet::AddressFamily af, Each&& each) const {
      onList(af, [&](const auto& list) {
         for (const auto& route : list.routes()) {
            each(prefixOf(route.address.number(), route.lengthBits), payloads_.text(route.payload));
         }
      });
   }
   // The same with each(IpGenPrefix).
   template <class Each>
   void forEach(Corenet::AddressFamily af, Each&& each) const {
      forEachWithPayload(af, [&](const Corenet::IpGenPrefix& route, std::string_view) { each(route); });
   }

  private:
   template <class Fn>
   void onList(Corenet::AddressFamily af, Fn&& fn) const {
      if (af == Corenet::AddressFamily::ipv6) {
         fn(list6_);
      } else {
         fn(list4_);
      }
   }

   RouteList<U32> list4_;
   RouteList<Corenet::U128> list6_;
   StringPool payloads_;
};

}  // namespace Rtrie
