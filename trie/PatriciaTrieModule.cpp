#include "trie/PatriciaTrieModule.h"

#include "platform/Corenet/Module.h"
#include "platform/Corvid/ModuleTables.h"
#include "platform/Keel/Module.h"
#include "trie/PatriciaTrie.h"
#include "trie/PatriciaTrieDataModule.h"

namespace Corvid {

template <>
struct Description<Routing::PatriciaTrie> {
   using T = Routing::PatriciaTrie;
   static constexpr auto value = describeClass<T>(
      constructor<&Routing::patriciaTrieFactory>("af", "useCompactIpPrefix"),
      attribute<&T::af>("af").stored(ROUTETRIE_POSITION(T, af_)),  //
      attribute<&T::useCompactIpPrefix>("useCompactIpPrefix").stored(ROUTETRIE_POSITION(T, useCompactIpPrefix_)),
      attribute<&T::defaultRouteNodeData, &T::defaultRouteNodeDataIs>("defaultRouteNodeData")
         .stored(ROUTETRIE_POSITION(T, defaultRouteNodeData_)),
      attribute<&T::defaultRoutePresent>("defaultRoutePresent")
         .at(134)
         .stored(ROUTETRIE_POSITION(T, defaultRoutePresent_)),
      attribute<&T::nodes, &T::nodesIs>("nodes").stored(ROUTETRIE_POSITION(T, nodes_)),
      attribute<&T::routes, &T::routesIs>("routes").stored(ROUTETRIE_POSITION(T, routes_)),
      attribute<&T::iterators, &T::iteratorsIs>("iterators").stored(ROUTETRIE_POSITION(T, iterators_)),
      attribute<&T::nodeDataEnabled, &T::nodeDataEnabledIs>("nodeDataEnabled")
         .stored(ROUTETRIE_POSITION(T, nodeDataEnabled_)),
      operation<&T::isDefaultRoutePresent>("isDefaultRoutePresent"),
      operation<&T::longestMatchOrParent>("longestMatchOrParent", "prefix", "returnParent", "dataContainer", "cb"),
      operation<&T::longestMatchOrParentCompact>("longestMatchOrParentCompact", "prefix", "returnParent",
                                                 "dataContainer", "cb"),
      operation<&T::longestMatchCommon>("longestMatchCommon", "prefix", "dataContainer", "cb"),
      operation<&T::longestMatchCommonCompact>("longestMatchCommonCompact", "prefix", "dataContainer", "cb"),
      operation<&T::findParentCommon>("findParentCommon", "prefix", "dataContainer", "cb"),
      operation<&T::findParentCommonCompact>("findParentCommonCompact", "prefix", "dataContainer", "cb"),
      operation<&T::updateRoute>("updateRoute", "prefix", "data"),
      operation<&T::updateRouteCompact>("updateRouteCompact", "prefix", "data"),
      operation<&T::deleteRoute>("deleteRoute", "prefix", "data", "dataContainer"),
      operation<&T::deleteRouteCompact>("deleteRouteCompact", "prefix", "data", "dataContainer"),
      operation<&T::empty>("empty").at(154),
      operation<&T::longerRoutePresentCommon>("longerRoutePresentCommon", "prefix"),
      operation<&T::longerRoutePresentCommonCompact>("longerRoutePresentCommonCompact", "prefix"),
      attribute<&T::initialized, &T::initializedIs>("initialized")
         .at(162)
         .stored(ROUTETRIE_POSITION(T, initialized_)),
      operation<&T::handleInitialized>("handleInitialized"), operation<&T::handleDeletion>("handleDeletion"));
};

template <>
struct Description<Routing::PatriciaTrieWalkCb> {
   using T = Routing::PatriciaTrieWalkCb;
   static constexpr auto value =
      describeClass<T>(noConstructor, operation<&T::handlePrefixData>("handlePrefixData", "p", "data"));
};

template <>
struct Description<Routing::PatriciaTrieCompactWalkCb> {
   using T = Routing::PatriciaTrieCompactWalkCb;
   static constexpr auto value =
      describeClass<T>(noConstructor, operation<&T::handlePrefixData>("handlePrefixData", "p", "data"));
};

}  // namespace Corvid

ROUTETRIE_MODULE_RECORD(_PatriciaTrie_32e6140574244a09_teskModule)

Corvid::TypeData Routing::PatriciaTrie::typeData() const { return Corvid::typeDataOf<PatriciaTrie>(); }
Corvid::TypeData Routing::PatriciaTrieWalkCb::typeData() const { return Corvid::typeDataOf<PatriciaTrieWalkCb>(); }
Corvid::TypeData Routing::PatriciaTrieCompactWalkCb::typeData() const {
   return Corvid::typeDataOf<PatriciaTrieCompactWalkCb>();
}
