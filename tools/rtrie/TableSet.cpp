#include "tools/rtrie/TableSet.h"

#include <chrono>
#include <cstdint>

#include "tools/tables/LiveBytes.h"
#include "tools/tables/Progress.h"

namespace Rtrie {
namespace {

constexpr std::uint64_t routesPerUpdate = 4096;

}  // namespace

TableSet::TableSet(const Engine& engine, const RouteSet& routes)
   : routes_(routes), hasPayloads_(includes(engine.answers, Questions::payload)) {
   Progress progress(Progress::standardErrorShows());
   for (auto af : families) {
      if (!engine.holds(af) || routes.size(af) == 0) {
         continue;
      }
      Family& family = families_[af == Corenet::AddressFamily::ipv6 ? 1 : 0];
      const auto bytesBefore = trackedBytes();
      const auto start = std::chrono::steady_clock::now();
      family.table = engine.make(af);
      std::uint64_t done = 0;
      routes.forEachWithPayload(af, [&](const Corenet::IpGenPrefix& route, const Payload& payload) {
         family.table->routeWithPayloadIs(route, payload);
         if (++done % routesPerUpdate == 0) {
            progress.update(engine.name, done, routes.size(af), done, "routes");
         }
      });
      progress.hide();
      family.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
      family.liveBytes = trackedBytes() - bytesBefore + family.table->untrackedBytes();
   }
}

std::optional<std::string_view> TableSet::payload(const Corenet::IpGenPrefix& route) const {
   const auto& table = of(route.af()).table;
   return hasPayloads_ && table ? table->payload(route) : routes_.payload(route);
}

}  // namespace Rtrie
