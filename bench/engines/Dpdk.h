// Dpdk: what the adapters to DPDK's tables share: its environment in memory, keys as its calls want them, names for
// its tables, and what its heap and its pools hold.
//
// The environment is started once, without huge pages, devices or files, on a heap that fits the tables of a whole
// Internet table several times over; pages that nobody touches cost nothing.
#pragma once

#include <rte_malloc.h>
#include <rte_mempool.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "bench/Engine.h"

namespace Bench {

// Starts the environment if this is the first call, and leaves the thread on the processors that it may run on.
// Raises std::runtime_error.
void startDpdk();

// A name that no table of this process has had.
std::string freshDpdkName();

// The table, or std::runtime_error if it could not be made.
template <class Table>
Table* madeByDpdk(Table* table, const char* what) {
   if (table == nullptr) {
      throw std::runtime_error(std::string(what) + ": no memory for the table");
   }
   return table;
}

// Bytes that are allocated from DPDK's heap, pools included.
std::uint64_t dpdkHeapBytes();
// Bytes of the objects in use of the pool of nodes that a RIB of this name made, DPDK's header of each included. The
// rest of a pool is room that its owner asked for, and depends on how well it could foresee the number of routes.
std::uint64_t dpdkNodeBytes(const std::string& ribName);

// An address as DPDK's calls take it: a word in host order, or 16 bytes in network order.
template <class F>
struct DpdkAddress;
template <>
struct DpdkAddress<V4> {
   using Type = U32;
   static Type of(V4::Bits bits) { return bits.word(); }
};
template <>
struct DpdkAddress<V6> {
   using Type = std::array<U8, 16>;
   static Type of(V6::Bits bits) {
      Type bytes;
      bits.store(bytes.data());
      return bytes;
   }
};

// Keys, queries and answers, for all of them: a lookup answers with a next hop, which here is the id of a route.
template <class F>
struct DpdkTable {
   using Address = typename DpdkAddress<F>::Type;
   struct Key {
      Address address;
      U8 length;
   };
   using Query = Address;
   using Answer = U32;

   static Key key(const Route<F>& route) { return {DpdkAddress<F>::of(route.bits), static_cast<U8>(route.length)}; }
   static Query query(typename F::Bits address) { return DpdkAddress<F>::of(address); }
   static std::uint64_t token(Answer answer) { return answer; }
   static std::optional<Route<F>> route(Answer answer, const Workload<F>& work) {
      return answer == 0 ? std::optional<Route<F>>() : work.routeOf(answer);
   }
};

// How many second-level tables of 256 entries the routes need, if the first level resolves 24 bits and each further
// one 8: one for each prefix of 24, 32, 40... bits that longer routes lie beneath.
template <class F>
U32 secondLevelTables(const Workload<F>& work) {
   std::vector<Route<F>> tables;
   for (const auto& route : work.routes) {
      for (U32 length = 24; length < route.length; length += 8) {
         tables.push_back({route.bits.cut(length), length});
      }
   }
   std::sort(tables.begin(), tables.end());
   return static_cast<U32>(std::unique(tables.begin(), tables.end()) - tables.begin());
}

}  // namespace Bench
