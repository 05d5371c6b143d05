// WatchedEngine: the library's table of one family with so many watches, ten a route at most, none of which any change concerns: of the
// best matches of addresses where the Internet has no routes, 240.0.0.0/4 and fc00::/6.
#pragma once

#include <algorithm>
#include <cstdint>
#include <optional>
#include <vector>

#include "bench/Engine.h"
#include "bench/Random.h"
#include "routetrie/watch.h"

namespace Bench {

template <class F, std::size_t watches>
class WatchedEngine {
   using Table = routetrie::tracked_table<routetrie::basic_table<F::width, U32>, routetrie::watch_tracker>;

  public:
   using Key = typename Table::prefix_type;
   using Query = typename Table::address_type;
   using Answer = std::optional<typename Table::value_type>;
   static constexpr std::size_t mostRoutesForUpdates = ~std::size_t{0};
   static constexpr bool isDearToMake = watches > 1000;

   explicit WatchedEngine(const Workload<F>& work) {
      const std::size_t count = std::min(watches, 10 * work.routes.size());
      Random random(watches);
      const auto apart =
         static_cast<typename F::Bits::Word>(typename F::Bits::Word{F::width == 32 ? 0xf0 : 0xfc} << (F::width - 8));
      watches_.reserve(count);
      for (std::size_t i = 0; i < count; ++i) {
         const typename F::Bits address(apart | random.address<F>().word());
         watches_.push_back(table_.watch(query(address), routetrie::watch_kind::best_match,
                                         [](const auto& event) { benchmark::DoNotOptimize(event.changed); }));
      }
   }

   static Key key(const Route<F>& route) { return route.prefix(); }
   static Query query(typename F::Bits address) { return Query(address); }

   bool insert(const Key& key, U32 id) { return table_.try_emplace(key, id).second; }
   bool erase(const Key& key) { return table_.erase(key) == 1; }
   Answer match(const Query& query) const { return table_.match(query); }

   static std::uint64_t token(const Answer& answer) {
      return answer ? tokenOf<F::width>(answer->prefix) + answer->value : 0;
   }
   static std::optional<Route<F>> route(const Answer& answer, const Workload<F>&) {
      return answer ? std::optional(Route<F>{answer->prefix.bits(), answer->prefix.len()}) : std::nullopt;
   }

   // Of the routes alone.
   std::uint64_t bytes() const { return table_.memory().total() + sizeof table_; }

  private:
   Table table_;
   std::vector<routetrie::watch_handle> watches_;
};

}  // namespace Bench
