// IntrusiveTable: the intrusive trie as an engine of rtrie, for IPv6 routes.
//
// Tested by tests/tools/rtrie/EngineTest.cpp.
#pragma once

#include <cstdint>

#include "routetrie/trie/intrusive/Ipv6Trie.h"
#include "tools/rtrie/RouteTable.h"

namespace Rtrie {

class IntrusiveTable final : public RouteTable {
  public:
   // Requires: `af` is IPv6.
   explicit IntrusiveTable(Corenet::AddressFamily af);
   void routeIs(const Prefix& route) override;
   std::uint64_t routes() const override { return routes_; }
   // Routes and the nodes that join them.
   Shape shape() const override;
   std::string audit() const override { return trie_->audit(); }
   Corvid::Node& object() const override { return *trie_; }
   Prefix longestMatch(const Prefix& query) const override;
   Prefix parent(const Prefix& query) const override;
   bool longerPresent(const Prefix& query) const override;
   void covering(const Prefix& query, const Visit& visit) const override;
   void subtree(const Prefix& query, const Visit& visit) const override;
   void children(const Prefix& query, const Visit& visit) const override;
   Prefix next(const Prefix& query) const override;
   // The trie has one view of itself, which is the tree of its nodes: dumpTree leaves out the object around it.
   void dump(const Corvid::Ptr<const Keel::DumpContext>& context) const override;
   void dumpTree(std::ostream& out) const override;

  private:
   using Node = Sprig::Ipv6Trie::Engine::NodeBase;
   using Match = Sprig::Ipv6Trie::Engine::LongestMatchResult;

   Match match(const Prefix& query) const;
   // The first node in order that is not before the query; null if there is none.
   const Node* firstFrom(const Prefix& query) const;
   // Calls each(prefix) for the routes that the query covers, in order; where that is false, not for those beneath one.
   template <class Each>
   void walk(const Prefix& query, Each&& each) const;

   Corvid::Ptr<Sprig::Ipv6Trie> trie_ = Sprig::ipv6TrieFactory();
   std::uint64_t routes_ = 0;
};

}  // namespace Rtrie
