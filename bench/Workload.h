// Workload: what the engines are loaded with and asked, the same for every engine: the first routes of a shuffled
// table, an order to delete them in, and queries. Everything follows from the table, the size and a fixed seed.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <numeric>
#include <string>
#include <vector>

#include "bench/Family.h"
#include "bench/Oracle.h"
#include "bench/Random.h"

namespace Bench {

// Queries come in blocks, so that the clockwork around one block costs nothing a query; every list of queries is a
// whole number of blocks long.
inline constexpr std::size_t blockSize = 512;

template <class F>
struct Workload {
   using Bits = typename F::Bits;
   using Answer = typename Oracle<F>::Answer;

   std::string fault;                      // of the oracle that gave the answers below; empty: none
   std::vector<Route<F>> routes;           // shuffled; the id of a route is its index plus 1, and 0 means none
   std::vector<U32> deleteOrder;           // indices into routes
   std::vector<Bits> inside;               // random addresses inside random routes
   std::vector<Bits> uniform;              // random addresses
   std::vector<U32> asked;                 // random routes, as indices
   std::vector<Route<F>> uniformPrefixes;  // the addresses of `uniform`, cut to the lengths of `asked`

   // For the comparison with the oracle, with its answers.
   struct AddressCheck {
      Bits query;
      Answer match;
      Answer evenMatch;
   };
   struct PrefixCheck {
      Route<F> query;
      bool isRoute;
      bool longer;
   };
   struct RouteCheck {
      Route<F> query;
      Answer parent;
      Answer next;
      Answer previous;
      std::uint64_t children;
   };
   std::vector<AddressCheck> addressChecks;
   std::vector<PrefixCheck> prefixChecks;
   std::vector<RouteCheck> routeChecks;

   // A stream of changes to be applied to the loaded table, in its order; empty: none was given.
   struct Update {
      Route<F> route;
      bool isWithdrawal;
   };
   std::vector<Update> updates;

   const Route<F>& routeOf(std::uint64_t id) const { return routes[id - 1]; }
};

namespace Impl {

// A route of the table, or one near it: one bit longer, one bit shorter, or beside it; or one anywhere.
template <class F>
Route<F> routeOrMiss(const Route<F>& route, Random& random) {
   const auto last = static_cast<typename F::Bits::Word>(typename F::Bits::Word{1} << (F::width - route.length));
   switch (random.below(7)) {
      case 0: return route.length < F::width ? Route<F>{route.bits, route.length + 1} : route;
      case 1: return route.length > 1 ? Route<F>{route.bits.cut(route.length - 1), route.length - 1} : route;
      case 2: return {typename F::Bits(route.bits.word() ^ last), route.length};
      case 3: return {random.address<F>().cut(route.length), route.length};
      default: return route;
   }
}

}  // namespace Impl

// The workload on the first `size` routes of the shuffled table. Requires: no route of length 0, none twice, and
// 0 < size <= shuffled.size().
template <class F>
Workload<F> makeWorkload(const std::vector<Route<F>>& shuffled, std::size_t size, std::size_t checkCount) {
   constexpr std::size_t fewestQueries = 32 * blockSize;
   constexpr std::size_t mostQueries = 2048 * blockSize;
   constexpr std::size_t oracleSamples = 100;

   Random random(0x5eed0000 + size);
   Workload<F> work;
   work.routes.assign(shuffled.begin(), shuffled.begin() + static_cast<std::ptrdiff_t>(size));
   work.deleteOrder.resize(size);
   std::iota(work.deleteOrder.begin(), work.deleteOrder.end(), U32{0});
   random.shuffle(work.deleteOrder);

   const std::size_t queries = std::clamp(4 * size / blockSize * blockSize, fewestQueries, mostQueries);
   const auto anyRoute = [&] { return static_cast<U32>(random.below(size)); };
   for (std::size_t i = 0; i < queries; ++i) {
      work.inside.push_back(random.addressInside(work.routes[anyRoute()]));
      work.uniform.push_back(random.address<F>());
      work.asked.push_back(anyRoute());
      const U32 length = work.routes[work.asked.back()].length;
      work.uniformPrefixes.push_back({work.uniform.back().cut(length), length});
   }

   const Oracle<F> oracle(work.routes);
   work.fault = oracle.selfCheck(oracleSamples, random);
   for (std::size_t i = 0; i < checkCount; ++i) {
      const Route<F>& route = work.routes[anyRoute()];
      const auto address = i % 4 == 3 ? random.address<F>() : random.addressInside(route);
      work.addressChecks.push_back(
         {address, oracle.longestMatch(hostRoute<F>(address)), oracle.evenMatch(hostRoute<F>(address))});
      const auto prefix = Impl::routeOrMiss(route, random);
      work.prefixChecks.push_back({prefix, oracle.has(prefix), oracle.longerPresent(prefix)});
      work.routeChecks.push_back(
         {route, oracle.parent(route), oracle.next(route), oracle.previous(route), oracle.children(route)});
   }
   return work;
}

}  // namespace Bench
