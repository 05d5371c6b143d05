#include "tools/rtrie/RouteSet.h"

#include <cstdint>

#include "tools/rtrie/RangeCut.h"

namespace Rtrie {

void RouteSet::add(const Corenet::IpGenPrefix& prefix, std::string_view payload) {
   U32 const id = payloads_.idOf(payload);
   if (prefix.af() == Corenet::AddressFamily::ipv6) {
      list6_.add(numberOf(prefix.v6Prefix().address()), prefix.len(), id);
   } else {
      list4_.add(numberOf(prefix.v4Prefix().address()), prefix.len(), id);
   }
}

void RouteSet::withdraw(const Corenet::IpGenPrefix& prefix) {
   if (prefix.af() == Corenet::AddressFamily::ipv6) {
      list6_.withdraw(numberOf(prefix.v6Prefix().address()), prefix.len());
   } else {
      list4_.withdraw(numberOf(prefix.v4Prefix().address()), prefix.len());
   }
}

void RouteSet::addRange(U32 first, U32 last, std::string_view payload) {
   U32 const id = payloads_.idOf(payload);
   cutRange(first, last, [&](U32 address, U8 lengthBits) { list4_.add(address, lengthBits, id); });
}

void RouteSet::addRange(Corenet::U128 first, Corenet::U128 last, std::string_view payload) {
   U32 const id = payloads_.idOf(payload);
   cutRange(first, last, [&](Corenet::U128 address, U8 lengthBits) { list6_.add(address, lengthBits, id); });
}

void RouteSet::seal() {
   list4_.seal();
   list6_.seal();
}

std::uint64_t RouteSet::size(Corenet::AddressFamily af) const {
   std::uint64_t size = 0;
   onList(af, [&](const auto& list) { size = list.routes().size(); });
   return size;
}

std::optional<std::string_view> RouteSet::payload(const Corenet::IpGenPrefix& prefix) const {
   auto id = prefix.af() == Corenet::AddressFamily::ipv6
                ? list6_.payloadOf(numberOf(prefix.v6Prefix().address()), prefix.len())
                : list4_.payloadOf(numberOf(prefix.v4Prefix().address()), prefix.len());
   if (!id) {
      return std::nullopt;
   }
   return payloads_.text(*id);
}

std::vector<std::uint64_t> RouteSet::countByLength(Corenet::AddressFamily af) const {
   std::vector<std::uint64_t> counts(af == Corenet::AddressFamily::ipv6 ? 129 : 33);
   onList(af, [&](const auto& list) {
      for (const auto& route : list.routes()) {
         ++counts[route.lengthBits];
      }
   });
   return counts;
}

}  // namespace Rtrie
