// Patricia: the library's Patricia trie as an engine, through the calls of one prefix type: IpGenPrefix, or
// CompactIpPrefix, which for IPv6 selects another class of node.
#pragma once

#include <concepts>
#include <cstdint>
#include <optional>
#include <span>
#include <type_traits>

#include "bench/Engine.h"
#include "routetrie/platform/Corenet.h"
#include "routetrie/trie/patricia/PatriciaTrie.h"
#include "routetrie/trie/patricia/PatriciaTrieIterator.h"
#include "tools/tables/LiveBytes.h"

namespace Bench {

template <class F, Routing::RoutePrefix PrefixType>
class Patricia {
  public:
   using Key = PrefixType;
   using Query = PrefixType;
   using Answer = PrefixType;
   using BulkAnswer = PrefixType;
   static constexpr std::size_t mostRoutesForUpdates = ~std::size_t{0};

   explicit Patricia(const Workload<F>&)
      : bytesBefore_(Rtrie::trackedBytes()), trie_(Routing::patriciaTrieFactory(F::af, isCompact)) {}

   static Key key(const Route<F>& route) { return Key(route.prefix()); }
   static Query query(typename F::Bits address) { return Key(F::Prefix::cut(address, F::width)); }

   bool insert(const Key& key, U32) {
      if constexpr (isCompact) {
         trie_->updateRouteCompact(key, nullptr);
      } else {
         trie_->updateRoute(key, nullptr);
      }
      return true;
   }
   bool erase(const Key& key) {
      if constexpr (isCompact) {
         return trie_->deleteRouteCompact(key, nullptr, nullptr);
      } else {
         return trie_->deleteRoute(key, nullptr, nullptr);
      }
   }

   Answer match(const Query& query) const {
      if constexpr (isCompact) {
         return trie_->longestMatchCommonCompact(query, nullptr, nullptr);
      } else {
         return trie_->longestMatchCommon(query, nullptr, nullptr);
      }
   }
   void matchBulk(std::span<const Query> queries, std::span<BulkAnswer> answers) const {
      if constexpr (isCompact) {
         trie_->longestMatchBulkCompact(queries, answers);
      } else {
         trie_->longestMatchBulk(queries, answers);
      }
   }
   static std::optional<Route<F>> bulkRoute(const BulkAnswer& answer, const Workload<F>& work) {
      return route(answer, work);
   }
   bool exact(const Key& key) const { return match(key) == key; }
   Answer parent(const Key& key) const {
      if constexpr (isCompact) {
         return trie_->findParentCommonCompact(key, nullptr, nullptr);
      } else {
         return trie_->findParentCommon(key, nullptr, nullptr);
      }
   }
   bool longer(const Key& key) const {
      if constexpr (isCompact) {
         return trie_->longerRoutePresentCommonCompact(key);
      } else {
         return trie_->longerRoutePresentCommon(key);
      }
   }

   Answer next(const Key& key) requires std::same_as<PrefixType, Corenet::CompactIpPrefix> {
      return trie_->getNext(key);
   }
   std::uint64_t walk() const {
      struct Count : std::conditional_t<isCompact, Routing::PatriciaTrieCompactWalkCb, Routing::PatriciaTrieWalkCb> {
         bool handlePrefixData(const PrefixType&, const Routing::PrefixData*) override {
            ++routes;
            return true;
         }
         std::uint64_t routes = 0;
      };
      const auto count = Corvid::ptrIsImpl<Count>();
      const PrefixType all(typename F::Prefix{});
      if constexpr (isCompact) {
         trie_->preOrderWalkCompact(all, count.get());
      } else {
         trie_->preOrderWalk(all, count.get());
      }
      return count->routes;
   }

   std::uint64_t walkIterator() const {
      using Iterator =
         std::conditional_t<isCompact, Routing::PatriciaTrieCompactIterator, Routing::PatriciaTrieIterator>;
      std::uint64_t routes = 0;
      for (Iterator iterator(trie_, nullptr); iterator; ++iterator) {
         ++routes;
      }
      return routes;
   }
   std::uint64_t walkNext() const requires std::same_as<PrefixType, Corenet::CompactIpPrefix> {
      const auto end = Corenet::CompactIpPrefix::getNull(F::af);
      std::uint64_t routes = 0;
      for (auto p = trie_->getNext(Corenet::CompactIpPrefix()); p != end; p = trie_->getNext(p)) {
         ++routes;
      }
      return routes;
   }

   static std::uint64_t token(const Answer& answer) { return tokenOf<F::width>(answer); }
   static std::optional<Route<F>> route(const Answer& answer, const Workload<F>&) {
      if (answer.af() == Corenet::AddressFamily::none) {
         return {};
      }
      if constexpr (isCompact) {
         if (answer == Key::getNull(F::af)) {  // the end of the order
            return {};
         }
      }
      return Route<F>{answer.template bits<F::width>(), answer.len()};
   }

   std::uint64_t bytes() const { return Rtrie::trackedBytes() - bytesBefore_; }

  private:
   static constexpr bool isCompact = std::same_as<PrefixType, Corenet::CompactIpPrefix>;

   const std::uint64_t bytesBefore_;
   const Corvid::Ptr<Routing::PatriciaTrie> trie_;
};

}  // namespace Bench
