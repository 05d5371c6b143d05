// PatriciaTrieWithNodeData: a Patricia trie whose routes carry payloads, in the vocabulary of routes. It adds no search:
// it turns node data on, and does the one job that the engine leaves open, the payload of the default route.
//
//    auto trie = Routing::patriciaTrieWithNodeDataFactory(Corenet::ipv4, false);
//    trie->routeIs(Corenet::IpGenPrefix::fromString("10.0.0.0/8"), payload);
//    trie->longestMatch(Corenet::IpGenPrefix::fromString("10.1.2.3/32"));   // payload
//
// I9 the default route is present exactly when defaultRouteNodeData() is not null. Who adds it through the base class's
//    updateRoute breaks this: it then has no payload, and no operation of this class removes it.
//
// Operations come twice, as the engine's do. Each asserts "paf() != PatriciaTrieNodeType::nodeTypeIpv6Compact_", or in its
// compact form "paf() != PatriciaTrieNodeType::nodeTypeIpv6Legacy_", and then "af() == prefix.af()", a lookup of an empty
// trie too. The null compact value has no family.
//
// A search hands its payload out through a PrefixDataContainer. route() and longestMatch() keep theirs on the stack and not in
// the slab, where containers live otherwise, so that they allocate nothing and no tracker counts it.
//
// Tested by tests/trie/patricia/PatriciaTrieWithNodeDataTest.cpp and tests/property/RouteDataTest.cpp.
#pragma once

#include <cstddef>

#include "routetrie/platform/Corenet/AddressFamily.h"
#include "routetrie/platform/Corenet/CompactIpPrefix.h"
#include "routetrie/platform/Corenet/IpGenPrefix.h"
#include "routetrie/platform/Corvid/Create.h"
#include "routetrie/platform/Corvid/Ptr.h"
#include "routetrie/platform/Export.h"
#include "routetrie/trie/patricia/PatriciaTrie.h"
#include "routetrie/trie/patricia/PatriciaTrieData.h"
#include "routetrie/trie/patricia/PatriciaTrieWalkCb.h"

namespace Routing {

class ROUTETRIE_EXPORT PatriciaTrieWithNodeData : public PatriciaTrie {
  public:
   PatriciaTrieWithNodeData(Corenet::AddressFamily af, bool useCompactIpPrefix);
   ~PatriciaTrieWithNodeData() override;
   Corvid::TypeData typeData() const override;
   static Corvid::Ptr<PatriciaTrieWithNodeData> PatriciaTrieWithNodeDataIs(Corenet::AddressFamily af,
                                                                           bool useCompactIpPrefix);

   //--- adding routes ---

   // Adds the route with its payload. If it is present, its payload's insertData says what becomes of the two. `data` may
   // not be null: "nodeDataEnabled() == bool( data )". Asserts "0 == iterators()". Raises std::bad_alloc, and what the
   // payloads' hooks raise.
   void routeIs(const Corenet::IpGenPrefix& prefix, const Corvid::Ptr<PrefixData>& data);
   void routeCompactIs(const Corenet::CompactIpPrefix& prefix, const Corvid::Ptr<PrefixData>& data);
   // The same under another name.
   void routeAdd(const Corenet::IpGenPrefix& prefix, const Corvid::Ptr<PrefixData>& data);
   void routeAddCompact(const Corenet::CompactIpPrefix& prefix, const Corvid::Ptr<PrefixData>& data);

   //--- deleting routes ---

   // Deletes the route and returns its payload; null if it is absent. A payload whose removeData returns another stays
   // on as that one, and so does the route; routes() falls all the same, and does not rise again when such a route is
   // set. Asserts "0 == iterators()".
   Corvid::Ptr<PrefixData> routeDel(const Corenet::IpGenPrefix& prefix);
   Corvid::Ptr<PrefixData> routeCompactDel(const Corenet::CompactIpPrefix& prefix);
   // The same under another name.
   Corvid::Ptr<PrefixData> routeDelTest(const Corenet::IpGenPrefix& prefix);
   Corvid::Ptr<PrefixData> routeDelCompact(const Corenet::CompactIpPrefix& prefix);
   // The same with `delData` for removeData, which may be null.
   Corvid::Ptr<PrefixData> routeDelOrUpdate(const Corenet::IpGenPrefix& prefix,
                                            const Corvid::Ptr<PrefixData>& delData);
   Corvid::Ptr<PrefixData> routeDelOrUpdateCompact(const Corenet::CompactIpPrefix& prefix,
                                                   const Corvid::Ptr<PrefixData>& delData);

   //--- looking routes up ---

   // The payload of exactly this route; null if it is absent.
   Corvid::Ptr<PrefixData> route(const Corenet::IpGenPrefix& prefix) const;
   Corvid::Ptr<PrefixData> routeCompact(const Corenet::CompactIpPrefix& prefix) const;
   // The payload of the longest route that covers the prefix; null if none does.
   Corvid::Ptr<const PrefixData> longestMatch(const Corenet::IpGenPrefix& prefix) const;
   Corvid::Ptr<const PrefixData> longestMatchCompact(const Corenet::CompactIpPrefix& prefix) const;
   // Reports every route that covers the prefix with its payload: the default route, and then from the shortest to the
   // prefix itself. The callback's results are ignored. It may be null only if the default route is absent.
   void ancestorWalk(const Corenet::IpGenPrefix& prefix, PatriciaTrieWalkCb* cb) const;
   void ancestorWalkCompact(const Corenet::CompactIpPrefix& prefix, PatriciaTrieCompactWalkCb* cb) const;

   static Tesk::AllocTrackTypeInfo* memAllocationTracker_;
   static void* operator new(std::size_t bytes) { return Corvid::allocateFor<PatriciaTrieWithNodeData>(bytes); }
   static void operator delete(void* memory, std::size_t bytes) noexcept {
      Corvid::releaseFor<PatriciaTrieWithNodeData>(memory, bytes);
   }

  private:
   template <RoutePrefix PrefixType>
   void routeIsImpl(const PrefixType& prefix, const Corvid::Ptr<PrefixData>& data);
   template <RoutePrefix PrefixType>
   Corvid::Ptr<PrefixData> routeDelOrUpdateImpl(const PrefixType& prefix, const Corvid::Ptr<PrefixData>& delData);
   template <RoutePrefix PrefixType>
   Corvid::Ptr<PrefixData> routeImpl(const PrefixType& prefix) const;
   template <RoutePrefix PrefixType>
   Corvid::Ptr<const PrefixData> longestMatchImpl(const PrefixType& prefix) const;
   template <RoutePrefix PrefixType, class CallbackType>
   requires RouteCallback<CallbackType, PrefixType>
   void ancestorWalkImpl(const PrefixType& prefix, CallbackType cb) const;
};

// A new, empty trie.
ROUTETRIE_EXPORT Corvid::Ptr<PatriciaTrieWithNodeData> patriciaTrieWithNodeDataFactory(Corenet::AddressFamily af,
                                                                                       bool useCompactIpPrefix);

}  // namespace Routing
