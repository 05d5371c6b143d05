#include "routetrie/trie/patricia/PatriciaTrieModule.h"

#include <type_traits>

#include "routetrie/platform/Corenet/Module.h"
#include "routetrie/platform/Corvid/ModuleTables.h"
#include "routetrie/platform/Keel/Module.h"
#include "routetrie/trie/patricia/PatriciaTrie.h"
#include "routetrie/trie/patricia/PatriciaTrieDataModule.h"
#include "routetrie/trie/patricia/PatriciaTrieDumpStateWalkCb.h"
#include "routetrie/trie/patricia/PatriciaTrieIterator.h"

namespace {

// A callback that writes a dump.
template <class T>
Corvid::Ptr<T> made(const Corvid::Ptr<const Keel::DumpContext>& dumpCtx, U32 indentCount) {
   return Corvid::ptrIsImpl<T>(dumpCtx, indentCount);
}

}  // namespace

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
      operation<&T::doDump>("doDump"),
      attribute<&T::defaultRoutePresent>("defaultRoutePresent").stored(ROUTETRIE_POSITION(T, defaultRoutePresent_)),
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
      operation<&T::findImmediateChildren>("findImmediateChildren", "subtreeRoot", "callback"),
      operation<&T::findImmediateChildrenCompact>("findImmediateChildrenCompact", "subtreeRoot", "callback"),
      operation<&T::preOrderWalk>("preOrderWalk", "subtreeRoot", "callback"),
      operation<&T::preOrderWalkCompact>("preOrderWalkCompact", "subtreeRoot", "callback"),
      operation<&T::empty>("empty"), operation<&T::longerRoutePresentCommon>("longerRoutePresentCommon", "prefix"),
      operation<&T::longerRoutePresentCommonCompact>("longerRoutePresentCommonCompact", "prefix"),
      operation<&T::getFirstBlack>("getFirstBlack", "subtreeRoot"),
      operation<&T::getFirstBlackCompact>("getFirstBlackCompact", "subtreeRoot"),
      operation<&T::getNextBlack>("getNextBlack", "subtreeRoot", "i"),
      operation<&T::getNextBlackCompact>("getNextBlackCompact", "subtreeRoot", "i"),
      operation<&T::getNext>("getNext", "prefix"),
      attribute<&T::initialized, &T::initializedIs>("initialized").stored(ROUTETRIE_POSITION(T, initialized_)),
      operation<&T::handleInitialized>("handleInitialized"), operation<&T::handleDeletion>("handleDeletion"),
      operation<&T::dumpState>("dumpState", "dumpCtx", "indentCount"));
};

template <OneOf<Routing::PatriciaTrieWalkCb, Routing::PatriciaTrieCompactWalkCb> T>
struct Description<T> {
   static constexpr auto value =
      describeClass<T>(noConstructor, operation<&T::handlePrefixData>("handlePrefixData", "p", "data"));
};

template <OneOf<Routing::PatriciaTrieIteratorCb, Routing::PatriciaTrieCompactIteratorCb> T>
struct Description<T> {
   static constexpr auto value = describeClass<T>(noConstructor, operation<&T::isPrefixSkip>("isPrefixSkip", "p"));
};

template <OneOf<Routing::PatriciaTrieDumpStateWalkCb, Routing::PatriciaTrieCompactDumpStateWalkCb> T>
struct Description<T> {
   using Base = std::conditional_t<std::derived_from<T, Routing::PatriciaTrieWalkCb>, Routing::PatriciaTrieWalkCb,
                                   Routing::PatriciaTrieCompactWalkCb>;
   static constexpr auto value = describeClass<T, Base>(
      constructor<&made<T>>("dumpCtx", "indentCount"),
      attribute<&T::dumpCtx>("dumpCtx").stored(ROUTETRIE_POSITION(T, dumpCtx_)),
      attribute<&T::indentCount>("indentCount").stored(ROUTETRIE_POSITION(T, indentCount_)),
      attribute<&T::entries, &T::entriesIs>("entries").stored(ROUTETRIE_POSITION(T, entries_)));
};

}  // namespace Corvid

ROUTETRIE_MODULE_RECORD(_PatriciaTrie_32e6140574244a09_teskModule)

Corvid::TypeData Routing::PatriciaTrie::typeData() const { return Corvid::typeDataOf<PatriciaTrie>(); }
Corvid::TypeData Routing::PatriciaTrieWalkCb::typeData() const { return Corvid::typeDataOf<PatriciaTrieWalkCb>(); }
Corvid::TypeData Routing::PatriciaTrieCompactWalkCb::typeData() const {
   return Corvid::typeDataOf<PatriciaTrieCompactWalkCb>();
}
Corvid::TypeData Routing::PatriciaTrieDumpStateWalkCb::typeData() const {
   return Corvid::typeDataOf<PatriciaTrieDumpStateWalkCb>();
}
Corvid::TypeData Routing::PatriciaTrieCompactDumpStateWalkCb::typeData() const {
   return Corvid::typeDataOf<PatriciaTrieCompactDumpStateWalkCb>();
}
Corvid::TypeData Routing::PatriciaTrieIteratorCb::typeData() const {
   return Corvid::typeDataOf<PatriciaTrieIteratorCb>();
}
Corvid::TypeData Routing::PatriciaTrieCompactIteratorCb::typeData() const {
   return Corvid::typeDataOf<PatriciaTrieCompactIteratorCb>();
}
