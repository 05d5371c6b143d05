// TableAnswers: what the adapters of the library's tables of one family have in common: values are ids, and a match is a route.
#pragma once

#include <cstdint>
#include <optional>

#include "bench/Engine.h"

namespace Bench {

template <class F, class Table>
class TableAnswers {
  public:
   using Key = typename Table::prefix_type;
   using Query = typename Table::address_type;
   using Answer = std::optional<typename Table::value_type>;
   static constexpr std::size_t mostRoutesForUpdates = ~std::size_t{0};

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

   // What its allocators handed out, for the routes.
   std::uint64_t bytes() const { return table_.memory().total() + sizeof table_; }

  protected:
   Table& table() { return table_; }
   const Table& table() const { return table_; }

  private:
   Table table_;
};

}  // namespace Bench
