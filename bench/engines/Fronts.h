// Fronts: the library's front ends as engines, beside the bare engines that they stand on: what a front end adds to a lookup
// and to an update is the difference. Nothing is kept with a route, and nobody watches.
#pragma once

#include <cstdint>
#include <optional>
#include <span>

#include "bench/Engine.h"
#include "routetrie/platform/Corenet.h"
#include "routetrie/trie/front/TrieGen.h"
#include "routetrie/trie/front/TrieWrapper.h"
#include "tools/tables/LiveBytes.h"

namespace Bench {

// How a front end is made, the form of its prefixes, and what it holds that has no tracker: the arrays of children in the
// multibit trie, if it stands on one.
struct Trie6Front {
   using Form = Corenet::Ip6Prefix;
   static std::uint64_t untrackedBytes(const Routing6::Trie&) { return 0; }
   static auto make(Corenet::AddressFamily) { return Routing6::trieFactory(); }
};
struct CompactFront {
   using Form = Corenet::CompactIpPrefix;
   static std::uint64_t untrackedBytes(const Routing::TrieCompact&) { return 0; }
   static auto make(Corenet::AddressFamily af) { return Routing::trieCompactFactory(af); }
};
struct GenFront {
   using Form = Corenet::IpGenPrefix;
   static std::uint64_t untrackedBytes(const Routing::TrieGen& trie) {
      return trie.trie4() ? Rtrie::childArrayBytes(*trie.trie4()->root()) : 0;
   }
   static auto make(Corenet::AddressFamily af) { return Routing::trieGenFactory("measured", af); }
};
struct WrapperFront {
   using Form = Corenet::CompactIpPrefix;
   static std::uint64_t untrackedBytes(const Routing::TrieWrapper& trie) {
      return trie.v4v6() == Corenet::V4V6::v4 ? Rtrie::childArrayBytes(*trie.v4Trie()->root()) : 0;
   }
   static auto make(Corenet::AddressFamily af) { return Routing::trieWrapperFactory(af); }
};

template <class F, class Front>
class FrontEnd {
   using Trie = decltype(Front::make(F::af));

  public:
   using Key = typename Front::Form;
   using Query = Key;
   using Answer = Key;
   using BulkAnswer = Key;
   static constexpr std::size_t mostRoutesForUpdates = ~std::size_t{0};

   explicit FrontEnd(const Workload<F>&) : bytesBefore_(Rtrie::trackedBytes()), trie_(Front::make(F::af)) {}

   static Key key(const Route<F>& route) { return Key(route.prefix()); }
   static Query query(typename F::Bits address) { return Key(F::Prefix::cut(address, F::width)); }

   bool insert(const Key& key, U32) {
      trie_->routeIs(key, true);
      return true;
   }
   bool erase(const Key& key) { return trie_->routeDel(key); }

   Answer match(const Query& query) const { return trie_->longestMatch(query); }
   void matchBulk(std::span<const Query> queries, std::span<BulkAnswer> answers) const {
      trie_->longestMatchBulk(queries, answers);
   }
   static std::optional<Route<F>> bulkRoute(const BulkAnswer& answer, const Workload<F>& work) {
      return route(answer, work);
   }
   bool exact(const Key& key) const { return trie_->route(key); }
   Answer parent(const Key& key) const { return trie_->findParent(key); }
   bool longer(const Key& key) const { return trie_->longerRoutePresent(key); }

   static std::uint64_t token(const Answer& answer) { return tokenOf<F::width>(answer); }
   static std::optional<Route<F>> route(const Answer& answer, const Workload<F>&) {
      return isNone(answer) ? std::nullopt : std::optional(Route<F>{answer.template bits<F::width>(), answer.len()});
   }

   std::uint64_t bytes() const { return Rtrie::trackedBytes() - bytesBefore_ + Front::untrackedBytes(*trie_); }

  private:
   static bool isNone(const Corenet::CompactIpPrefix& p) {
      return p.isNull() || p == Corenet::CompactIpPrefix::getNull(F::af);
   }
   static bool isNone(const Corenet::IpGenPrefix& p) {
      return p.af() == Corenet::AddressFamily::none || p.len() == Corenet::nullPrefixLength;
   }

   const std::uint64_t bytesBefore_;
   const Trie trie_;
};

// Its prefixes know their width.
class Trie6Engine : public FrontEnd<V6, Trie6Front> {
  public:
   using FrontEnd::FrontEnd;
   static std::optional<Route<V6>> route(const Answer& answer, const Workload<V6>&) {
      return answer.isNullPrefix() ? std::nullopt : std::optional(Route<V6>{answer.bits(), answer.len()});
   }
   static std::optional<Route<V6>> bulkRoute(const BulkAnswer& answer, const Workload<V6>& work) {
      return route(answer, work);
   }
};

}  // namespace Bench
