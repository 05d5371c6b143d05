// RouteVisitor: the callback of a Patricia trie's walks that hands on the routes under a query. TopVisitor: the one for a
// zero-length query for children, of which the trie itself finds none unless the default route is there.
//
// Tested by tests/tools/rtrie/EngineTest.cpp.
#pragma once

#include "routetrie/trie/patricia/PatriciaTrieWalkCb.h"
#include "tools/rtrie/RouteTable.h"
#include "tools/tables/AddressNumber.h"

namespace Rtrie {

inline const Corenet::IpGenPrefix& genPrefixOf(const Corenet::IpGenPrefix& prefix) { return prefix; }
inline Corenet::IpGenPrefix genPrefixOf(const Corenet::CompactIpPrefix& prefix) { return prefix.genPrefix(); }

// A walk that has no node for its prefix begins above, and so reports routes elsewhere, too. They are left out; and as
// no route is shorter than the query, nothing beneath such a route is the query's either, and the walk is pruned there:
// false.
inline bool visitIfUnder(const RouteTable::Prefix& query, const RouteTable::Prefix& route,
                         const RouteTable::Visit& visit) {
   const bool isUnder = covers(query, route);
   if (isUnder) {
      visit(route);
   }
   return isUnder;
}

template <class Callback, class PrefixType>
class RouteVisitor final : public Callback {
  public:
   RouteVisitor(const RouteTable::Prefix& query, const RouteTable::Visit& visit) : query_(query), visit_(visit) {}

   bool handlePrefixData(const PrefixType& p, const Routing::PrefixData*) override {
      return visitIfUnder(query_, genPrefixOf(p), visit_);
   }

  private:
   const RouteTable::Prefix query_;
   const RouteTable::Visit& visit_;
};

// Hands on the routes that no other one but the default route covers.
template <class Callback, class PrefixType>
class TopVisitor final : public Callback {
  public:
   explicit TopVisitor(const RouteTable::Visit& visit) : visit_(visit) {}

   bool handlePrefixData(const PrefixType& p, const Routing::PrefixData*) override {
      if (p.len() != 0) {
         visit_(genPrefixOf(p));
      }
      return p.len() == 0;
   }

  private:
   const RouteTable::Visit& visit_;
};

using GenVisitor = RouteVisitor<Routing::PatriciaTrieWalkCb, Corenet::IpGenPrefix>;
using GenTopVisitor = TopVisitor<Routing::PatriciaTrieWalkCb, Corenet::IpGenPrefix>;
using CompactVisitor = RouteVisitor<Routing::PatriciaTrieCompactWalkCb, Corenet::CompactIpPrefix>;
using CompactTopVisitor = TopVisitor<Routing::PatriciaTrieCompactWalkCb, Corenet::CompactIpPrefix>;

}  // namespace Rtrie
