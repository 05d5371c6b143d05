// StdMap: routes in one std::map; a longest match scans the lengths, all of them, each a search of the map.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <map>
#include <utility>

#include "bench/engines/ByLength.h"

namespace Bench {

template <class F>
class StdMap : public ByLength<StdMap<F>, F> {
  public:
   explicit StdMap(const Workload<F>&) {}

   bool insert(const Route<F>& route, U32 id) { return routes_.emplace(route, id).second; }
   bool erase(const Route<F>& route) { return routes_.erase(route) == 1; }

   U32 idOf(const Route<F>& route) const {
      const auto found = routes_.find(route);
      return found == routes_.end() ? 0 : found->second;
   }
   static const auto& longestFirst() {
      static constexpr auto lengths = [] {
         std::array<U32, F::width + 1> all{};
         for (U32 i = 0; i <= F::width; ++i) {
            all[i] = F::width - i;
         }
         return all;
      }();
      return lengths;
   }

   // A route stands right before those that it covers.
   bool longer(const Route<F>& route) const {
      const auto next = routes_.upper_bound(route);
      return next != routes_.end() && route.covers(next->first);
   }

   typename StdMap::Answer next(const Route<F>& route) const {
      const auto found = routes_.upper_bound(route);
      return found == routes_.end() ? 0 : found->second;
   }
   std::uint64_t walk() const {
      std::uint64_t routes = 0;
      for (const auto& [route, id] : routes_) {
         routes += id != 0;
      }
      return routes;
   }

  private:
   std::map<Route<F>, U32, std::less<>, CountedAllocator<std::pair<const Route<F>, U32>>> routes_;
};

}  // namespace Bench
