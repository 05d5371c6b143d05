// Multibit: the library's multibit trie as an engine, for IPv4. Nothing is kept with a route, and a walk counts what a
// callback is told of.
#pragma once

#include <cstdint>
#include <optional>
#include <span>

#include "bench/Engine.h"
#include "routetrie/trie/multibit/Trie.h"
#include "tools/tables/LiveBytes.h"

namespace Bench {

class Multibit {
  public:
   using Key = Corenet::Prefix;
   using Query = Corenet::Prefix;
   using Answer = Corenet::Prefix;
   using BulkAnswer = Corenet::Prefix;
   static constexpr std::size_t mostRoutesForUpdates = ~std::size_t{0};

   explicit Multibit(const Workload<V4>&) : bytesBefore_(Rtrie::trackedBytes()), trie_(Routing::trieFactory()) {}

   static Key key(const Route<V4>& route) { return route.prefix(); }
   static Query query(V4::Bits address) { return Corenet::Prefix::cut(address, V4::width); }

   bool insert(const Key& key, U32) {
      trie_->routeIs(key, true);
      return true;
   }
   bool erase(const Key& key) { return trie_->routeDel(key); }

   Answer match(const Query& query) const { return trie_->longestMatch(query); }
   void matchBulk(std::span<const Query> queries, std::span<BulkAnswer> answers) const {
      trie_->longestMatchBulk(queries, answers);
   }
   static std::optional<Route<V4>> bulkRoute(const BulkAnswer& answer, const Workload<V4>& work) {
      return route(answer, work);
   }
   bool exact(const Key& key) const { return trie_->route(key); }
   Answer parent(const Key& key) const { return trie_->findParent(key); }
   bool longer(const Key& key) const { return trie_->longerRoutePresent(key); }
   // The default route's value stands for the end; here that is none.
   Answer next(const Key& key) const {
      const Answer found = trie_->getNext(key);
      return found.len() == 0 ? Corenet::Prefix::nullPrefix() : found;
   }
   std::uint64_t walk() const {
      struct Counting : Routing::TrieWalkCallback {
         int handlePrefix(const Corenet::Prefix&) override {
            ++routes;
            return 1;
         }
         std::uint64_t routes = 0;
      };
      const auto callback = Corvid::ptrIsImpl<Counting>();
      trie_->preOrderWalk(Corenet::Prefix(), callback);
      return callback->routes;
   }

   static std::uint64_t token(const Answer& answer) { return tokenOf<32>(answer); }
   static std::optional<Route<V4>> route(const Answer& answer, const Workload<V4>&) {
      return answer.isNullPrefix() ? std::nullopt : std::optional(Route<V4>{answer.bits(), answer.len()});
   }

   // The nodes by their trackers, and the arrays of children, which have none, as the C library handed them out.
   std::uint64_t bytes() const {
      return Rtrie::trackedBytes() - bytesBefore_ + Rtrie::childArrayBytes(*trie_->root());
   }

  private:
   const std::uint64_t bytesBefore_;
   const Corvid::Ptr<Routing::Trie> trie_;
};

}  // namespace Bench
