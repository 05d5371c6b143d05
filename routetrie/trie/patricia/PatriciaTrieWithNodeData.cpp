#include "routetrie/trie/patricia/PatriciaTrieWithNodeData.h"

#include <concepts>
#include <cstddef>

#include "routetrie/platform/Corvid/Assert.h"
#include "routetrie/trie/WalkGuard.h"
#include "routetrie/trie/patricia/PatriciaTrieKey.h"

namespace Routing {

namespace {

const Corenet::IpGenPrefix defaultRoute4 = Corenet::IpGenPrefix::fromString("0.0.0.0/0");
const Corenet::IpGenPrefix defaultRoute6 = Corenet::IpGenPrefix::fromString("::/0");

using DataPtr = Corvid::Ptr<PrefixData>;

// A search that hands its payload out through a container. The container lives on the stack, so that a lookup allocates
// nothing; the reference that an object is born with is the stack's, and never falls.
template <RoutePrefix PrefixType>
struct Lookup {
   Lookup(const PatriciaTrie& trie, const PrefixType& prefix)
      : match(trie.longestMatchCommonImpl<PrefixType, std::nullptr_t>(prefix, ContainerPtr(&container), nullptr)) {}

   using ContainerPtr = Corvid::Ptr<PrefixDataContainer>;

   PrefixDataContainer container;
   const PrefixType match;
};

}  // namespace

Tesk::AllocTrackTypeInfo* PatriciaTrieWithNodeData::memAllocationTracker_ = nullptr;

PatriciaTrieWithNodeData::PatriciaTrieWithNodeData(Corenet::AddressFamily af, bool useCompactIpPrefix)
   : PatriciaTrie(af, useCompactIpPrefix) {
   nodeDataEnabledIs(true);
}

PatriciaTrieWithNodeData::~PatriciaTrieWithNodeData() { nodeFlagSet(Corvid::nodeFlagAlive, false); }

Corvid::Ptr<PatriciaTrieWithNodeData> PatriciaTrieWithNodeData::PatriciaTrieWithNodeDataIs(Corenet::AddressFamily af,
                                                                                           bool useCompactIpPrefix) {
   return Corvid::ptrIsImpl<PatriciaTrieWithNodeData>(af, useCompactIpPrefix);
}

Corvid::Ptr<PatriciaTrieWithNodeData> patriciaTrieWithNodeDataFactory(Corenet::AddressFamily af,
                                                                      bool useCompactIpPrefix) {
   return PatriciaTrieWithNodeData::PatriciaTrieWithNodeDataIs(af, useCompactIpPrefix);
}

//--- adding ---

template <RoutePrefix PrefixType>
void PatriciaTrieWithNodeData::routeIsImpl(const PrefixType& prefix, const DataPtr& data) {
   ROUTETRIE_ASSERT(af() == prefix.af());
   updateRouteImpl(prefix, data);
   if (prefix.len() != 0) {
      return;
   }
   data->onAddition();
   const DataPtr old = defaultRouteNodeData();
   defaultRouteNodeDataIs(old ? old->insertData(data) : data);
}

void PatriciaTrieWithNodeData::routeIs(const Corenet::IpGenPrefix& prefix, const DataPtr& data) {
   ROUTETRIE_ASSERT(paf() != PatriciaTrieNodeType::nodeTypeIpv6Compact_);
   routeIsImpl(prefix, data);
}

void PatriciaTrieWithNodeData::routeCompactIs(const Corenet::CompactIpPrefix& prefix, const DataPtr& data) {
   ROUTETRIE_ASSERT(paf() != PatriciaTrieNodeType::nodeTypeIpv6Legacy_);
   routeIsImpl(prefix, data);
}

void PatriciaTrieWithNodeData::routeAdd(const Corenet::IpGenPrefix& prefix, const DataPtr& data) {
   ROUTETRIE_ASSERT(paf() != PatriciaTrieNodeType::nodeTypeIpv6Compact_);
   routeIsImpl(prefix, data);
}

void PatriciaTrieWithNodeData::routeAddCompact(const Corenet::CompactIpPrefix& prefix, const DataPtr& data) {
   ROUTETRIE_ASSERT(paf() != PatriciaTrieNodeType::nodeTypeIpv6Legacy_);
   routeIsImpl(prefix, data);
}

//--- deleting ---

template <RoutePrefix PrefixType>
DataPtr PatriciaTrieWithNodeData::routeDelOrUpdateImpl(const PrefixType& prefix, const DataPtr& delData) {
   ROUTETRIE_ASSERT(af() == prefix.af());
   const auto container = prefixDataContainerFactory();
   deleteRouteImpl(prefix, delData, container);
   DataPtr old = defaultRouteNodeData();
   if (prefix.len() != 0 || !old) {
      return container->prefixData();
   }
   // The engine counts a route in a node down before it asks whether the route goes, and so does this.
   routesInc(~0U);
   old->onDeletion();
   defaultRouteNodeDataIs(old->removeData(delData));
   if (!defaultRouteNodeData()) {
      defaultRoutePresentIs(false);
   }
   return old;
}

DataPtr PatriciaTrieWithNodeData::routeDel(const Corenet::IpGenPrefix& prefix) {
   ROUTETRIE_ASSERT(paf() != PatriciaTrieNodeType::nodeTypeIpv6Compact_);
   return routeDelOrUpdateImpl(prefix, nullptr);
}

DataPtr PatriciaTrieWithNodeData::routeCompactDel(const Corenet::CompactIpPrefix& prefix) {
   ROUTETRIE_ASSERT(paf() != PatriciaTrieNodeType::nodeTypeIpv6Legacy_);
   return routeDelOrUpdateImpl(prefix, nullptr);
}

DataPtr PatriciaTrieWithNodeData::routeDelTest(const Corenet::IpGenPrefix& prefix) { return routeDel(prefix); }

DataPtr PatriciaTrieWithNodeData::routeDelCompact(const Corenet::CompactIpPrefix& prefix) {
   return routeCompactDel(prefix);
}

DataPtr PatriciaTrieWithNodeData::routeDelOrUpdate(const Corenet::IpGenPrefix& prefix, const DataPtr& delData) {
   ROUTETRIE_ASSERT(paf() != PatriciaTrieNodeType::nodeTypeIpv6Compact_);
   return routeDelOrUpdateImpl(prefix, delData);
}

DataPtr PatriciaTrieWithNodeData::routeDelOrUpdateCompact(const Corenet::CompactIpPrefix& prefix,
                                                          const DataPtr& delData) {
   ROUTETRIE_ASSERT(paf() != PatriciaTrieNodeType::nodeTypeIpv6Legacy_);
   return routeDelOrUpdateImpl(prefix, delData);
}

//--- looking up ---

template <RoutePrefix PrefixType>
DataPtr PatriciaTrieWithNodeData::routeImpl(const PrefixType& prefix) const {
   ROUTETRIE_ASSERT(af() == prefix.af());
   const Lookup<PrefixType> lookup(*this, prefix);
   if (!(lookup.match == prefix)) {
      return nullptr;
   }
   return prefix.len() != 0 ? lookup.container.prefixData() : defaultRouteNodeData();
}

DataPtr PatriciaTrieWithNodeData::route(const Corenet::IpGenPrefix& prefix) const {
   ROUTETRIE_ASSERT(paf() != PatriciaTrieNodeType::nodeTypeIpv6Compact_);
   return routeImpl(prefix);
}

DataPtr PatriciaTrieWithNodeData::routeCompact(const Corenet::CompactIpPrefix& prefix) const {
   ROUTETRIE_ASSERT(paf() != PatriciaTrieNodeType::nodeTypeIpv6Legacy_);
   return routeImpl(prefix);
}

template <RoutePrefix PrefixType>
Corvid::Ptr<const PrefixData> PatriciaTrieWithNodeData::longestMatchImpl(const PrefixType& prefix) const {
   ROUTETRIE_ASSERT(af() == prefix.af());
   const Lookup<PrefixType> lookup(*this, prefix);
   // A search leaves the container alone if the default route is what it finds.
   return lookup.match == getDefaultPrefix<PrefixType>(af()) ? defaultRouteNodeData() : lookup.container.prefixData();
}

Corvid::Ptr<const PrefixData> PatriciaTrieWithNodeData::longestMatch(const Corenet::IpGenPrefix& prefix) const {
   ROUTETRIE_ASSERT(paf() != PatriciaTrieNodeType::nodeTypeIpv6Compact_);
   return longestMatchImpl(prefix);
}

Corvid::Ptr<const PrefixData> PatriciaTrieWithNodeData::longestMatchCompact(
   const Corenet::CompactIpPrefix& prefix) const {
   ROUTETRIE_ASSERT(paf() != PatriciaTrieNodeType::nodeTypeIpv6Legacy_);
   return longestMatchImpl(prefix);
}

template <RoutePrefix PrefixType, class CallbackType>
requires RouteCallback<CallbackType, PrefixType>
void PatriciaTrieWithNodeData::ancestorWalkImpl(const PrefixType& prefix, CallbackType cb) const {
   ROUTETRIE_ASSERT(af() == prefix.af());
   ROUTETRIE_WALKING(this);
   if (defaultRoutePresent()) {
      const auto& defaultRoute = af() == Corenet::ipv4() ? defaultRoute4 : defaultRoute6;
      cb->handlePrefixData(PrefixType(defaultRoute), defaultRouteNodeData().get());
   }
   longestMatchCommonImpl<PrefixType, CallbackType>(prefix, nullptr, cb);
}

void PatriciaTrieWithNodeData::ancestorWalk(const Corenet::IpGenPrefix& prefix, PatriciaTrieWalkCb* cb) const {
   ROUTETRIE_ASSERT(paf() != PatriciaTrieNodeType::nodeTypeIpv6Compact_);
   ancestorWalkImpl(prefix, cb);
}

void PatriciaTrieWithNodeData::ancestorWalkCompact(const Corenet::CompactIpPrefix& prefix,
                                                   PatriciaTrieCompactWalkCb* cb) const {
   ROUTETRIE_ASSERT(paf() != PatriciaTrieNodeType::nodeTypeIpv6Legacy_);
   ancestorWalkImpl(prefix, cb);
}

}  // namespace Routing
