// PatriciaTable: the Patricia trie as an engine of rtrie. CompactPatriciaTable is the same trie through its
// compact calls, which on IPv6 are another class of node.
//
// Tested by tests/tools/rtrie/EngineTest.cpp.
#pragma once

#include "tools/rtrie/RouteTable.h"
#include "trie/PatriciaTrie.h"

namespace Rtrie {

class PatriciaTable final : public RouteTable {
  public:
   explicit PatriciaTable(Corenet::AddressFamily af);
   void routeIs(const Prefix& route) override;
   U64 routes() const override;
   U64 nodes() const override;
   Corvid::Node& object() const override { return *trie_; }
   Prefix longestMatch(const Prefix& query) const override;
   Prefix parent(const Prefix& query) const override;
   bool longerPresent(const Prefix& query) const override;

  private:
   Corvid::Ptr<Routing::PatriciaTrie> trie_;
};

class CompactPatriciaTable final : public RouteTable {
  public:
   explicit CompactPatriciaTable(Corenet::AddressFamily af);
   void routeIs(const Prefix& route) override;
   U64 routes() const override;
   U64 nodes() const override;
   Corvid::Node& object() const override { return *trie_; }
   Prefix longestMatch(const Prefix& query) const override;
   Prefix parent(const Prefix& query) const override;
   bool longerPresent(const Prefix& query) const override;

  private:
   Corvid::Ptr<Routing::PatriciaTrie> trie_;
};

}  // namespace Rtrie
