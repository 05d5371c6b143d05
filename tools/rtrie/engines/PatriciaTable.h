// PatriciaTable: the Patricia trie as an engine of rtrie. CompactPatriciaTable is the same trie through its
// compact calls, which on IPv6 are another class of node.
//
// Tested by tests/tools/rtrie/EngineTest.cpp.
#pragma once

#include <cstdint>
#include <utility>

#include "routetrie/trie/patricia/PatriciaTrie.h"
#include "tools/rtrie/RouteTable.h"

namespace Rtrie {

// What needs no prefix, and so is one for both.
class PatriciaTrieTable : public RouteTable {
  public:
   std::uint64_t routes() const override { return trie_->routes(); }
   Shape shape() const override { return {static_cast<std::uint64_t>(trie_->nodes()), {}, std::nullopt}; }
   std::string audit() const override { return trie_->audit(); }
   Corvid::Node& object() const override { return *trie_; }
   void covering(const Prefix& query, const Visit& visit) const override { coveringByParents(query, visit); }
   Prefix next(const Prefix& query) const override;
   void dump(const Corvid::Ptr<const Keel::DumpContext>& context) const override { trie_->dumpState(context, 0); }
   void dumpTree(std::ostream& out) const override { Routing::dumpTree(out, trie_->root(), 0, trie_->paf()); }

  protected:
   explicit PatriciaTrieTable(Corvid::Ptr<Routing::PatriciaTrie> trie) : trie_(std::move(trie)) {}

   const Corvid::Ptr<Routing::PatriciaTrie> trie_;
};

class PatriciaTable final : public PatriciaTrieTable {
  public:
   explicit PatriciaTable(Corenet::AddressFamily af);
   // Requires: the trie takes IpGenPrefix.
   explicit PatriciaTable(Corvid::Ptr<Routing::PatriciaTrie> trie) : PatriciaTrieTable(std::move(trie)) {}
   void routeIs(const Prefix& route) override;
   Prefix longestMatch(const Prefix& query) const override;
   Prefix parent(const Prefix& query) const override;
   bool longerPresent(const Prefix& query) const override;
   void subtree(const Prefix& query, const Visit& visit) const override;
   void children(const Prefix& query, const Visit& visit) const override;
};

class CompactPatriciaTable : public PatriciaTrieTable {
  public:
   explicit CompactPatriciaTable(Corenet::AddressFamily af);
   // Requires: the trie takes CompactIpPrefix.
   explicit CompactPatriciaTable(Corvid::Ptr<Routing::PatriciaTrie> trie) : PatriciaTrieTable(std::move(trie)) {}
   void routeIs(const Prefix& route) override;
   Prefix longestMatch(const Prefix& query) const override;
   Prefix parent(const Prefix& query) const override;
   bool longerPresent(const Prefix& query) const override;
   void subtree(const Prefix& query, const Visit& visit) const override;
   void children(const Prefix& query, const Visit& visit) const override;
};

}  // namespace Rtrie
