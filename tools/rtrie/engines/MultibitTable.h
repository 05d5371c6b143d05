// MultibitTable: the multibit trie as an engine of rtrie, for IPv4 alone.
//
// Tested by tests/tools/rtrie/MultibitTableTest.cpp and tests/tools/rtrie/EngineTest.cpp.
#pragma once

#include <cstdint>
#include <utility>

#include "routetrie/trie/multibit/Trie.h"
#include "tools/rtrie/RouteTable.h"
#include "tools/tables/LiveBytes.h"

namespace Rtrie {

class MultibitTable final : public RouteTable {
  public:
   explicit MultibitTable(Corenet::AddressFamily) : MultibitTable(Routing::trieFactory()) {}
   explicit MultibitTable(Corvid::Ptr<Routing::Trie> trie) : trie_(std::move(trie)) {}
   void routeIs(const Prefix& route) override { trie_->routeIs(route.v4Prefix(), true); }
   std::uint64_t routes() const override {
      return std::uint64_t{trie_->routes()} + std::uint64_t{trie_->isDefaultRoutePresent()};
   }
   Shape shape() const override;
   std::uint64_t untrackedBytes() const override { return childArrayBytes(*trie_->root()); }
   std::string audit() const override { return trie_->audit(); }
   Corvid::Node& object() const override { return *trie_; }

   Prefix longestMatch(const Prefix& query) const override { return known(trie_->longestMatch(query.v4Prefix())); }
   Prefix parent(const Prefix& query) const override { return known(trie_->findParent(query.v4Prefix())); }
   bool longerPresent(const Prefix& query) const override {
      return query.len() == 0 ? hasLongerThanDefault(query) : trie_->longerRoutePresent(query.v4Prefix());
   }
   void covering(const Prefix& query, const Visit& visit) const override { coveringByParents(query, visit); }
   void subtree(const Prefix& query, const Visit& visit) const override;
   void children(const Prefix& query, const Visit& visit) const override;
   Prefix next(const Prefix& query) const override;
   void dump(const Corvid::Ptr<const Keel::DumpContext>& context) const override { trie_->dumpState(context, 0); }
   void dumpTree(std::ostream& out) const override { trie_->root()->doDump(out, 0); }

  private:
   static Prefix known(const Corenet::Prefix& answer) { return answer.isNullPrefix() ? Prefix() : Prefix(answer); }

   const Corvid::Ptr<Routing::Trie> trie_;
};

}  // namespace Rtrie
