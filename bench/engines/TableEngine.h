// TableEngine: the library's table of one family with values of four bytes, which are the ids.
#pragma once

#include <cstdint>
#include <functional>
#include <iterator>
#include <optional>
#include <span>
#include <vector>

#include "bench/Engine.h"
#include "routetrie/aggregate.h"
#include "routetrie/family_table.h"

namespace Bench {

template <class F>
class TableEngine {
   using Table = routetrie::basic_table<F::width, U32>;

  public:
   using Key = typename Table::prefix_type;
   using Query = typename Table::address_type;
   using Answer = std::optional<typename Table::value_type>;
   using LookupAnswer = const U32*;
   static constexpr std::size_t mostRoutesForUpdates = ~std::size_t{0};

   explicit TableEngine(const Workload<F>&) {}

   static Key key(const Route<F>& route) { return route.prefix(); }
   static Query query(typename F::Bits address) { return Query(address); }

   bool insert(const Key& key, U32 id) { return table_.try_emplace(key, id).second; }
   bool erase(const Key& key) { return table_.erase(key) == 1; }

   Answer match(const Query& query) const { return table_.match(query); }
   Answer matchIf(const Query& query) const {
      return table_.match_if(query, [](const auto& route) { return route.prefix.len() % 2 == 0; });
   }
   U32 lookup(const Query& query) const { return idOf(table_.lookup(query)); }
   void lookupBulk(std::span<const Query> queries, std::span<LookupAnswer> answers) const {
      table_.lookup_bulk(queries, answers);
   }
   static U32 idOf(LookupAnswer answer) { return answer == nullptr ? 0 : *answer; }

   bool exact(const Key& key) const { return table_.contains(key); }
   Answer parent(const Key& key) const { return table_.parent(key); }
   bool longer(const Key& key) const { return table_.has_longer(key); }
   Answer next(const Key& key) const { return at(table_.upper_bound(key)); }
   Answer previous(const Key& key) const {
      auto here = table_.lower_bound(key);
      return here == table_.begin() ? std::nullopt : at(--here);
   }
   std::uint64_t children(const Key& key) const {
      std::uint64_t count = 0;
      for (const auto& route : table_.children(key)) {
         count += route.value != 0;
      }
      return count;
   }
   std::uint64_t walk() const {
      std::uint64_t routes = 0;
      for (const auto& [prefix, id] : table_) {
         routes += id != 0;
      }
      return routes;
   }
   std::uint64_t walkNext() const {
      std::uint64_t routes = 0;
      for (auto here = table_.begin(); here != table_.end(); here = table_.upper_bound(here->prefix)) {
         ++routes;
      }
      return routes;
   }

   std::uint64_t aggregate() const {
      const auto hopOf = [](U32 id) { return id % 64; };
      return routetrie::aggregate(
                table_, [&](U32 a, U32 b) { return hopOf(a) == hopOf(b); },
                [&](U32 id) { return std::hash<U32>()(hopOf(id)); })
         .size();
   }

   void mark() { table_.mark(); }
   bool sweep(std::size_t budget) { return table_.sweep(budget).done; }

   static std::uint64_t token(const Answer& answer) {
      return answer ? tokenOf<F::width>(answer->prefix) + answer->value : 0;
   }
   static std::optional<Route<F>> route(const Answer& answer, const Workload<F>&) {
      return answer ? std::optional(Route<F>{answer->prefix.bits(), answer->prefix.len()}) : std::nullopt;
   }

   // What its allocators handed out.
   std::uint64_t bytes() const { return table_.memory().total() + sizeof table_; }

  protected:
   Table& table() { return table_; }
   const Table& table() const { return table_; }

  private:
   Answer at(const typename Table::iterator& here) const {
      return here == table_.end() ? std::nullopt : Answer(*here);
   }

   Table table_;
};

}  // namespace Bench
