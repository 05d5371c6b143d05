// CompiledEngine: what compile() makes of the library's table of one family, with values of four bytes, which are the ids. It answers
// lookups alone; `insert` fills the table that it is made from, and the first question makes it.
#pragma once

#include <cstdint>
#include <optional>
#include <span>

#include "bench/Engine.h"
#include "routetrie/compiled.h"

namespace Bench {

template <class F>
class CompiledEngine {
   using Table = routetrie::basic_table<F::width, U32>;
   using Compiled = routetrie::basic_compiled_table<F::width, U32>;

  public:
   using Key = typename Table::prefix_type;
   using Query = typename Table::address_type;
   using Answer = U32;
   using LookupAnswer = const U32*;
   // The table's are measured in its own row.
   static constexpr std::size_t mostRoutesForUpdates = 0;

   explicit CompiledEngine(const Workload<F>&) {}

   static Key key(const Route<F>& route) { return route.prefix(); }
   static Query query(typename F::Bits address) { return Query(address); }

   bool insert(const Key& key, U32 id) {
      compiled_.reset();
      return table_.try_emplace(key, id).second;
   }
   bool erase(const Key& key) {
      compiled_.reset();
      return table_.erase(key) == 1;
   }

   Answer match(const Query& query) const { return idOf(compiled().lookup(query)); }
   U32 lookup(const Query& query) const { return idOf(compiled().lookup(query)); }
   void lookupBulk(std::span<const Query> queries, std::span<LookupAnswer> answers) const {
      compiled().lookup_bulk(queries, answers);
   }
   static U32 idOf(LookupAnswer answer) { return answer == nullptr ? 0 : *answer; }
   std::uint64_t compile() const {
      const auto fresh = routetrie::compile(table_);
      return fresh.size();
   }

   static std::uint64_t token(Answer answer) { return answer; }
   static std::optional<Route<F>> route(Answer answer, const Workload<F>& work) {
      return answer == 0 ? std::optional<Route<F>>() : work.routeOf(answer);
   }

   // Of the form alone.
   std::uint64_t bytes() const { return compiled().memory().total() + sizeof(Compiled); }

  private:
   const Compiled& compiled() const {
      if (!compiled_) [[unlikely]] {
         compiled_.emplace(routetrie::compile(table_));
      }
      return *compiled_;
   }

   Table table_;
   mutable std::optional<Compiled> compiled_;
};

}  // namespace Bench
