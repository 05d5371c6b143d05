// DpdkFib: DPDK's rte_fib (a table of 24 bits, then 8) and rte_fib6 (the same, then 8 at a time), each beside a RIB
// for its updates. Next hops are 4 bytes. Second-level tables are as many as the routes need; but rte_fib6 refuses
// routes unless there is room for tables that no two routes share, and so gets that room, which counts as used only as
// far as it is.
//
// A lookup is a call on a burst; a single query is a burst of one.
#pragma once

#include <rte_fib.h>
#include <rte_fib6.h>

#include <cstdint>
#include <span>

#include "bench/engines/Dpdk.h"

namespace Bench {

inline constexpr U32 spareTables = 64;

template <class F>
struct FibCalls;
template <>
struct FibCalls<V4> {
   using Fib = rte_fib;
   static constexpr auto free = rte_fib_free;
   static U32 tables(const Workload<V4>& work) { return secondLevelTables(work) + spareTables; }
   static Fib* create(const char* name, int maxRoutes, U32 tables) {
      rte_fib_conf conf{};
      conf.type = RTE_FIB_DIR24_8;
      conf.max_routes = maxRoutes;
      conf.dir24_8.nh_sz = RTE_FIB_DIR24_8_4B;
      conf.dir24_8.num_tbl8 = tables;
      return rte_fib_create(name, 0, &conf);
   }
   static int add(Fib* fib, U32 ip, U8 length, U32 id) { return rte_fib_add(fib, ip, length, id); }
   static int remove(Fib* fib, U32 ip, U8 length) { return rte_fib_delete(fib, ip, length); }
   static void match(Fib* fib, const U32* ips, std::uint64_t* ids, std::size_t count) {
      rte_fib_lookup_bulk(fib, const_cast<U32*>(ips), ids, static_cast<int>(count));
   }
};
template <>
struct FibCalls<V6> {
   using Fib = rte_fib6;
   using Ip = std::array<U8, 16>;
   static constexpr auto free = rte_fib6_free;
   static U32 tables(const Workload<V6>& work) {
      U32 sum = spareTables;
      for (const auto& route : work.routes) {
         sum += route.length <= 24 ? 0 : (route.length - 17) / 8;
      }
      return sum;
   }
   static Fib* create(const char* name, int maxRoutes, U32 tables) {
      rte_fib6_conf conf{};
      conf.type = RTE_FIB6_TRIE;
      conf.max_routes = maxRoutes;
      conf.trie.nh_sz = RTE_FIB6_TRIE_4B;
      conf.trie.num_tbl8 = tables;
      return rte_fib6_create(name, 0, &conf);
   }
   static int add(Fib* fib, const Ip& ip, U8 length, U32 id) { return rte_fib6_add(fib, ip.data(), length, id); }
   static int remove(Fib* fib, const Ip& ip, U8 length) { return rte_fib6_delete(fib, ip.data(), length); }
   static void match(Fib* fib, const Ip* ips, std::uint64_t* ids, std::size_t count) {
      static_assert(sizeof(Ip) == RTE_FIB6_IPV6_ADDR_SIZE);
      auto* bytes =
         const_cast<U8(*)[RTE_FIB6_IPV6_ADDR_SIZE]>(reinterpret_cast<const U8(*)[RTE_FIB6_IPV6_ADDR_SIZE]>(ips));
      rte_fib6_lookup_bulk(fib, bytes, ids, static_cast<int>(count));
   }
};

template <class F>
class DpdkFib : public DpdkTable<F> {
   using Calls = FibCalls<F>;

  public:
   using typename DpdkTable<F>::Key;
   using typename DpdkTable<F>::Query;
   using typename DpdkTable<F>::Answer;
   using BulkAnswer = std::uint64_t;
   static constexpr std::size_t mostRoutesForUpdates = ~std::size_t{0};
   // rte_fib6 of 22.11 never gives back the room that it reserved for a route that is deleted, and so in the end
   // refuses routes.
   static constexpr bool losesRoom = F::width == 128;

   explicit DpdkFib(const Workload<F>& work)
      : tablesUsed_(secondLevelTables(work)),
        fib_(madeByDpdk(Calls::create(name_.c_str(), static_cast<int>(work.routes.size() + 1), Calls::tables(work)),
                        "rte_fib")) {}
   DpdkFib(const DpdkFib&) = delete;
   DpdkFib& operator=(const DpdkFib&) = delete;
   ~DpdkFib() { Calls::free(fib_); }

   bool insert(const Key& key, U32 id) { return Calls::add(fib_, key.address, key.length, id) == 0; }
   bool erase(const Key& key) { return Calls::remove(fib_, key.address, key.length) == 0; }

   Answer match(const Query& query) const {
      std::uint64_t id = 0;
      Calls::match(fib_, &query, &id, 1);
      return static_cast<Answer>(id);
   }
   void matchBulk(std::span<const Query> queries, std::span<BulkAnswer> answers) const {
      Calls::match(fib_, queries.data(), answers.data(), queries.size());
   }
   static std::optional<Route<F>> bulkRoute(BulkAnswer answer, const Workload<F>& work) {
      return DpdkTable<F>::route(static_cast<Answer>(answer), work);
   }

   // The RIB's nodes and both levels of tables.
   std::uint64_t bytes() const {
      constexpr std::uint64_t nextHopBytes = 4;
      return dpdkNodeBytes(name_) + ((std::uint64_t{1} << 24) + std::uint64_t{tablesUsed_} * 256) * nextHopBytes;
   }

  private:
   const std::string name_ = (startDpdk(), freshDpdkName());
   const U32 tablesUsed_;
   typename Calls::Fib* const fib_;
};

}  // namespace Bench
