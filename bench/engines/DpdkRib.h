// DpdkRib: DPDK's rte_rib and rte_rib6, bitwise tries with compressed paths.
#pragma once

#include <rte_rib.h>
#include <rte_rib6.h>

#include <cstdint>

#include "bench/engines/Dpdk.h"

namespace Bench {

// The calls of one family; the two differ in nothing but the type of the address.
template <class F>
struct RibCalls;
template <>
struct RibCalls<V4> {
   using Rib = rte_rib;
   using Node = rte_rib_node;
   using Conf = rte_rib_conf;
   static constexpr auto create = rte_rib_create;
   static constexpr auto free = rte_rib_free;
   static constexpr auto parent = rte_rib_lookup_parent;
   static constexpr auto nextHop = rte_rib_get_nh;
   static constexpr auto nextHopIs = rte_rib_set_nh;
   static Node* insert(Rib* rib, U32 ip, U8 length) { return rte_rib_insert(rib, ip, length); }
   static void remove(Rib* rib, U32 ip, U8 length) { rte_rib_remove(rib, ip, length); }
   static Node* match(Rib* rib, U32 ip) { return rte_rib_lookup(rib, ip); }
   static Node* exact(Rib* rib, U32 ip, U8 length) { return rte_rib_lookup_exact(rib, ip, length); }
   static Node* following(Rib* rib, Node* node) { return rte_rib_get_nxt(rib, 0, 0, node, RTE_RIB_GET_NXT_ALL); }
   static Node* next(Rib* rib, U32 ip, U8 length) {
      return rte_rib_get_nxt(rib, ip, length, nullptr, RTE_RIB_GET_NXT_COVER);
   }
};
template <>
struct RibCalls<V6> {
   using Rib = rte_rib6;
   using Node = rte_rib6_node;
   using Conf = rte_rib6_conf;
   using Ip = std::array<U8, 16>;
   static constexpr auto create = rte_rib6_create;
   static constexpr auto free = rte_rib6_free;
   static constexpr auto parent = rte_rib6_lookup_parent;
   static constexpr auto nextHop = rte_rib6_get_nh;
   static constexpr auto nextHopIs = rte_rib6_set_nh;
   static Node* insert(Rib* rib, const Ip& ip, U8 length) { return rte_rib6_insert(rib, ip.data(), length); }
   static void remove(Rib* rib, const Ip& ip, U8 length) { rte_rib6_remove(rib, ip.data(), length); }
   static Node* match(Rib* rib, const Ip& ip) { return rte_rib6_lookup(rib, ip.data()); }
   static Node* exact(Rib* rib, const Ip& ip, U8 length) { return rte_rib6_lookup_exact(rib, ip.data(), length); }
   static Node* following(Rib* rib, Node* node) {
      return rte_rib6_get_nxt(rib, Ip{}.data(), 0, node, RTE_RIB6_GET_NXT_ALL);
   }
   static Node* next(Rib* rib, const Ip& ip, U8 length) {
      return rte_rib6_get_nxt(rib, ip.data(), length, nullptr, RTE_RIB6_GET_NXT_COVER);
   }
};

template <class F>
class DpdkRib : public DpdkTable<F> {
   using Calls = RibCalls<F>;
   using Node = typename Calls::Node;

  public:
   using typename DpdkTable<F>::Key;
   using typename DpdkTable<F>::Query;
   using typename DpdkTable<F>::Answer;
   static constexpr std::size_t mostRoutesForUpdates = ~std::size_t{0};

   explicit DpdkRib(const Workload<F>& work) {
      typename Calls::Conf conf{};
      conf.max_nodes = static_cast<int>(2 * work.routes.size() + 1);
      rib_ = madeByDpdk(Calls::create(name_.c_str(), 0, &conf), "rte_rib");
   }
   DpdkRib(const DpdkRib&) = delete;
   DpdkRib& operator=(const DpdkRib&) = delete;
   ~DpdkRib() { Calls::free(rib_); }

   bool insert(const Key& key, U32 id) {
      Node* node = Calls::insert(rib_, key.address, key.length);
      return node != nullptr && Calls::nextHopIs(node, id) == 0;
   }
   // The call says nothing; a route that stays shows when the table is asked afterwards.
   bool erase(const Key& key) {
      Calls::remove(rib_, key.address, key.length);
      return true;
   }

   Answer match(const Query& query) const { return idOf(Calls::match(rib_, query)); }
   bool exact(const Key& key) const { return Calls::exact(rib_, key.address, key.length) != nullptr; }
   Answer parent(const Key& key) const { return idOf(Calls::parent(Calls::exact(rib_, key.address, key.length))); }
   bool longer(const Key& key) const { return Calls::next(rib_, key.address, key.length) != nullptr; }

   std::uint64_t walk() const {
      std::uint64_t routes = 0;
      for (Node* node = Calls::following(rib_, nullptr); node != nullptr; node = Calls::following(rib_, node)) {
         routes += idOf(node) != 0;
      }
      return routes;
   }

   std::uint64_t bytes() const { return dpdkNodeBytes(name_); }

  private:
   static Answer idOf(const Node* node) {
      std::uint64_t id = 0;
      if (node != nullptr) {
         Calls::nextHop(node, &id);
      }
      return static_cast<Answer>(id);
   }

   const std::string name_ = (startDpdk(), freshDpdkName());
   typename Calls::Rib* rib_ = nullptr;
};

}  // namespace Bench
