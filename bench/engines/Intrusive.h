// Intrusive: the library's intrusive trie as an engine. An insertion makes the route object, too; the object is the handle
// by which a route can be deleted. As the trie is meant to be used, the objects belong to the caller: a deletion takes one
// out of the trie and does not destroy it.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <utility>
#include <vector>

#include "bench/Engine.h"
#include "routetrie/platform/Corenet.h"
#include "routetrie/trie/intrusive/Ipv6Trie.h"
#include "tools/tables/LiveBytes.h"

namespace Bench {

class Intrusive {
  public:
   using Key = Corenet::Ip6Prefix;
   using Query = Corenet::Ip6Prefix;
   using Answer = const Sprig::Ipv6TrieRoute*;
   using BulkAnswer = Sprig::Ipv6TrieRoute*;
   static constexpr std::size_t mostRoutesForUpdates = ~std::size_t{0};

   explicit Intrusive(const Workload<V6>& work)
      : bytesBefore_(Rtrie::trackedBytes()), trie_(Sprig::ipv6TrieFactory()) {
      handles_.resize(work.routes.size() + 1);
   }

   static Key key(const Route<V6>& route) { return route.prefix(); }
   static Query query(V6::Bits address) { return Key::cut(address, V6::width); }

   bool insert(const Key& key, U32 id) {
      auto route = Sprig::ipv6TrieRouteFactory(key);
      trie_->routeIs(route);
      handles_[id] = std::move(route);
      return true;
   }
   bool erase(const Key& key) { return trie_->routeDel(key) != nullptr; }
   bool eraseHandle(U32 id) {
      handles_[id]->trieRemove();
      return true;
   }

   Answer match(const Query& query) const { return trie_->longestMatch(query); }
   void matchBulk(std::span<const Query> queries, std::span<BulkAnswer> answers) const {
      trie_->longestMatchBulk(queries, answers);
   }
   static std::optional<Route<V6>> bulkRoute(const BulkAnswer& answer, const Workload<V6>& work) {
      return route(answer, work);
   }
   bool exact(const Key& key) const { return trie_->route(key) != nullptr; }
   Answer parent(const Key& key) const { return trie_->route(key)->trieNode().parent(); }
   Answer next(const Key& key) const { return trie_->route(key)->trieNode().next(); }
   std::uint64_t walk() const {
      std::uint64_t routes = 0;
      for (const auto* route = trie_->trie().first(); route != nullptr; route = route->trieNode().next()) {
         ++routes;
      }
      return routes;
   }

   static std::uint64_t token(Answer answer) { return answer == nullptr ? 0 : answer->prefix().len(); }
   static std::optional<Route<V6>> route(Answer answer, const Workload<V6>&) {
      if (answer == nullptr) {
         return {};
      }
      return Route<V6>{answer->prefix().bits(), answer->prefix().len()};
   }

   std::uint64_t bytes() const { return Rtrie::trackedBytes() - bytesBefore_; }

  private:
   const std::uint64_t bytesBefore_;
   const Corvid::Ptr<Sprig::Ipv6Trie> trie_;
   std::vector<Corvid::Ptr<Sprig::Ipv6TrieRoute>> handles_;  // by id
};

}  // namespace Bench
