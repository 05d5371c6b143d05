// PatriciaData: the library's Patricia trie with a payload for each route as an engine. An answer is a payload, here the
// route's id, so that a match is what a caller who keeps data by route does: find it and read it.
#pragma once

#include <cstdint>
#include <optional>

#include "bench/Engine.h"
#include "routetrie/platform/Corenet.h"
#include "routetrie/platform/Corvid/Create.h"
#include "routetrie/trie/patricia/PatriciaTrieWithCompactNodeData.h"
#include "tools/tables/LiveBytes.h"

namespace Bench {

template <class F>
class PatriciaData {
  public:
   using Key = Corenet::CompactIpPrefix;
   using Query = Corenet::CompactIpPrefix;
   using Answer = U32;  // the id of a route, 0 for none
   static constexpr std::size_t mostRoutesForUpdates = ~std::size_t{0};

   explicit PatriciaData(const Workload<F>&)
      : bytesBefore_(Rtrie::trackedBytes()), trie_(Routing::patriciaTrieWithCompactNodeDataFactory(F::af)) {}

   static Key key(const Route<F>& route) { return Key(route.prefix()); }
   static Query query(typename F::Bits address) { return Key(F::Prefix::cut(address, F::width)); }

   bool insert(const Key& key, U32 id) {
      trie_->routeCompactIs(key, Corvid::ptrIsImpl<Payload>(id));
      return true;
   }
   bool erase(const Key& key) { return bool(trie_->routeCompactDel(key)); }

   Answer match(const Query& query) const { return idOf(trie_->longestMatchCompact(query).get()); }
   bool exact(const Key& key) const { return bool(trie_->routeCompact(key)); }
   bool longer(const Key& key) const { return trie_->longerRoutePresentCommonCompact(key); }

   static std::uint64_t token(Answer answer) { return answer; }
   static std::optional<Route<F>> route(Answer answer, const Workload<F>& work) {
      return answer == 0 ? std::optional<Route<F>>() : work.routeOf(answer);
   }

   // The payloads are in it.
   std::uint64_t bytes() const { return Rtrie::trackedBytes() - bytesBefore_; }

  private:
   struct Payload final : Routing::PrefixData {
      explicit Payload(U32 itsId) : id(itsId) {}
      const U32 id;
   };
   static U32 idOf(const Routing::PrefixData* data) {
      return data == nullptr ? 0 : static_cast<const Payload*>(data)->id;
   }

   const std::uint64_t bytesBefore_;
   const Corvid::Ptr<Routing::PatriciaTrieWithCompactNodeData> trie_;
};

}  // namespace Bench
