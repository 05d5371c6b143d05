// DpdkLpm: DPDK's rte_lpm and rte_lpm6, the older tables of 24 bits and then 8 at a time, with next hops of 24 and 21
// bits. An insertion into rte_lpm scans all rules of its length, so that the whole Internet table takes minutes.
#pragma once

#include <rte_lpm.h>
#include <rte_lpm6.h>

#include <cstdint>
#include <span>

#include "bench/engines/Dpdk.h"

namespace Bench {

template <class F>
struct LpmCalls;
template <>
struct LpmCalls<V4> {
   using Lpm = rte_lpm;
   using BulkAnswer = U32;
   static constexpr std::size_t mostRoutesForUpdates = 100'000;
   static constexpr auto free = rte_lpm_free;
   static Lpm* create(const char* name, U32 maxRoutes, U32 tables) {
      rte_lpm_config conf{};
      conf.max_rules = maxRoutes;
      conf.number_tbl8s = tables;
      return rte_lpm_create(name, 0, &conf);
   }
   static int add(Lpm* lpm, U32 ip, U8 length, U32 id) { return rte_lpm_add(lpm, ip, length, id); }
   static int remove(Lpm* lpm, U32 ip, U8 length) { return rte_lpm_delete(lpm, ip, length); }
   static U32 match(const Lpm* lpm, U32 ip) {
      U32 id = 0;
      return rte_lpm_lookup(lpm, ip, &id) == 0 ? id : 0;
   }
   static void matchBulk(const Lpm* lpm, const U32* ips, BulkAnswer* answers, std::size_t count) {
      rte_lpm_lookup_bulk(lpm, ips, answers, static_cast<unsigned>(count));
   }
   static U32 idOf(BulkAnswer answer) { return (answer & RTE_LPM_LOOKUP_SUCCESS) != 0 ? answer & 0x00ffffff : 0; }
};
template <>
struct LpmCalls<V6> {
   using Lpm = rte_lpm6;
   using Ip = std::array<U8, 16>;
   using BulkAnswer = std::int32_t;
   static constexpr std::size_t mostRoutesForUpdates = ~std::size_t{0};
   static constexpr auto free = rte_lpm6_free;
   static Lpm* create(const char* name, U32 maxRoutes, U32 tables) {
      rte_lpm6_config conf{};
      conf.max_rules = maxRoutes;
      conf.number_tbl8s = tables;
      return rte_lpm6_create(name, 0, &conf);
   }
   static int add(Lpm* lpm, const Ip& ip, U8 length, U32 id) { return rte_lpm6_add(lpm, ip.data(), length, id); }
   static int remove(Lpm* lpm, const Ip& ip, U8 length) { return rte_lpm6_delete(lpm, ip.data(), length); }
   static U32 match(const Lpm* lpm, const Ip& ip) {
      U32 id = 0;
      return rte_lpm6_lookup(lpm, ip.data(), &id) == 0 ? id : 0;
   }
   static void matchBulk(const Lpm* lpm, const Ip* ips, BulkAnswer* answers, std::size_t count) {
      static_assert(sizeof(Ip) == RTE_LPM6_IPV6_ADDR_SIZE);
      auto* bytes =
         const_cast<U8(*)[RTE_LPM6_IPV6_ADDR_SIZE]>(reinterpret_cast<const U8(*)[RTE_LPM6_IPV6_ADDR_SIZE]>(ips));
      rte_lpm6_lookup_bulk_func(lpm, bytes, answers, static_cast<unsigned>(count));
   }
   static U32 idOf(BulkAnswer answer) { return answer < 0 ? 0 : static_cast<U32>(answer); }
};

template <class F>
class DpdkLpm : public DpdkTable<F> {
   using Calls = LpmCalls<F>;

  public:
   using typename DpdkTable<F>::Key;
   using typename DpdkTable<F>::Query;
   using typename DpdkTable<F>::Answer;
   using BulkAnswer = typename Calls::BulkAnswer;
   static constexpr std::size_t mostRoutesForUpdates = Calls::mostRoutesForUpdates;

   explicit DpdkLpm(const Workload<F>& work)
      : lpm_(madeByDpdk(Calls::create(freshDpdkName().c_str(), static_cast<U32>(work.routes.size() + 1),
                                      secondLevelTables(work) + 64),
                        "rte_lpm")) {}
   DpdkLpm(const DpdkLpm&) = delete;
   DpdkLpm& operator=(const DpdkLpm&) = delete;
   ~DpdkLpm() { Calls::free(lpm_); }

   bool insert(const Key& key, U32 id) { return Calls::add(lpm_, key.address, key.length, id) == 0; }
   bool erase(const Key& key) { return Calls::remove(lpm_, key.address, key.length) == 0; }

   Answer match(const Query& query) const { return Calls::match(lpm_, query); }
   void matchBulk(std::span<const Query> queries, std::span<BulkAnswer> answers) const {
      Calls::matchBulk(lpm_, queries.data(), answers.data(), queries.size());
   }
   static std::optional<Route<F>> bulkRoute(BulkAnswer answer, const Workload<F>& work) {
      return DpdkTable<F>::route(Calls::idOf(answer), work);
   }

   // All of it comes from DPDK's heap, in tables made for this number of routes.
   std::uint64_t bytes() const { return dpdkHeapBytes() - bytesBefore_; }

  private:
   const std::uint64_t bytesBefore_ = (startDpdk(), dpdkHeapBytes());
   typename Calls::Lpm* const lpm_;
};

}  // namespace Bench
