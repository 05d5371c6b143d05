// TableEngine: the library's table of one family with values of four bytes, which are the ids.
#pragma once

#include <cstdint>
#include <functional>
#include <iterator>
#include <optional>
#include <span>
#include <vector>

#include "bench/engines/TableAnswers.h"
#include "routetrie/aggregate.h"
#include "routetrie/family_table.h"

namespace Bench {

template <class F>
class TableEngine : public TableAnswers<F, routetrie::basic_table<F::width, U32>> {
   using Table = routetrie::basic_table<F::width, U32>;
   using Base = TableAnswers<F, Table>;

  protected:
   using Base::table;

  public:
   using typename Base::Answer;
   using typename Base::Key;
   using typename Base::Query;
   using LookupAnswer = const U32*;

   explicit TableEngine(const Workload<F>&) {}

   Answer matchIf(const Query& query) const {
      return table().match_if(query, [](const auto& route) { return route.prefix.len() % 2 == 0; });
   }
   U32 lookup(const Query& query) const { return idOf(table().lookup(query)); }
   void lookupBulk(std::span<const Query> queries, std::span<LookupAnswer> answers) const {
      table().lookup_bulk(queries, answers);
   }
   static U32 idOf(LookupAnswer answer) { return answer == nullptr ? 0 : *answer; }

   bool exact(const Key& key) const { return table().contains(key); }
   Answer parent(const Key& key) const { return table().parent(key); }
   bool longer(const Key& key) const { return table().has_longer(key); }
   Answer next(const Key& key) const { return at(table().upper_bound(key)); }
   Answer previous(const Key& key) const {
      auto here = table().lower_bound(key);
      return here == table().begin() ? std::nullopt : at(--here);
   }
   std::uint64_t children(const Key& key) const {
      std::uint64_t count = 0;
      for (const auto& route : table().children(key)) {
         count += route.value != 0;
      }
      return count;
   }
   std::uint64_t walk() const {
      std::uint64_t routes = 0;
      for (const auto& [prefix, id] : table()) {
         routes += id != 0;
      }
      return routes;
   }
   std::uint64_t walkNext() const {
      std::uint64_t routes = 0;
      for (auto here = table().begin(); here != table().end(); here = table().upper_bound(here->prefix)) {
         ++routes;
      }
      return routes;
   }

   std::uint64_t aggregate() const {
      const auto hopOf = [](U32 id) { return id % 64; };
      return routetrie::aggregate(
                table(), [&](U32 a, U32 b) { return hopOf(a) == hopOf(b); },
                [&](U32 id) { return std::hash<U32>()(hopOf(id)); })
         .size();
   }

   void mark() { table().mark(); }
   bool sweep(std::size_t budget) { return table().sweep(budget).done; }

  private:
   Answer at(const typename Table::iterator& here) const {
      return here == table().end() ? std::nullopt : Answer(*here);
   }
};

}  // namespace Bench
