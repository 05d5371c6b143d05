#include "tools/rtrie/TableSet.h"

#include <chrono>
#include <cstdint>

#include "tools/tables/LiveBytes.h"

namespace Rtrie {

TableSet::TableSet(const Engine& engine, const RouteSet& routes)
   : routes_(routes), hasPayloads_(includes(engine.answers, Questions::payload)) {
   for (auto af : families) {
      if (!engine.holds(af) || routes.size(af) == 0) {
         continue;
      }
      Family& family = families_[af == Corenet::AddressFamily::ipv6 ? 1 : 0];
      const auto bytesBefore = trackedBytes();
      const auto start = std::chrono::steady_clock::now();
      family.table = engine.make(af);
      routes.forEachWithPayload(af, [&](const Corenet::IpGenPrefix& route, const Payload& payload) {
         family.table->routeWithPayloadIs(route, payload);
      });
      family.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
      family.liveBytes = trackedBytes() - bytesBefore + family.table->untrackedBytes();
   }
}

std::optional<std::string_view> TableSet::payload(const Corenet::IpGenPrefix& route) const {
   const auto& table = of(route.af()).table;
   return hasPayloads_ && table ? table->payload(route) : routes_.payload(route);
}

}  // namespace Rtrie
