// PatriciaTrie: routes of one address family in a tree of compressed edges, each node of which may hold many nested
// routes (routetrie/trie/patricia/PatriciaTrieNodeImpl.h draws one).
//
// I6 routes() equals the number of black bits in the tree, plus 1 for the default route. In a trie with node data a
//    delete lowers it also when the payload keeps the route alive, so there it may fall below, and wrap.
// I7 nodes() equals the number of nodes below root(), and root() is null exactly when it is 0.
// I8 all nodes are of the class that paf() and nodeDataEnabled() select.
//
// White leaves pile up. One is left where a leaf's key runs past its routes and a branch takes these over, and nothing seeks
// it out: it goes only with a route that comes to it or with the trie. A table that is meant to forget leaves them behind:
// 10^6 rounds of three additions and three deletions, each a prefix of /20 and two beneath it in an order made for this, leave
// no route and 1,999,999 nodes, 64 MB of IPv4. Who takes routes in from anybody counts nodes() against routes(), and builds
// the trie anew where it finds many times as many; or takes the multibit trie, which keeps no node without use.
//
// A trie has no lock: one thread at a time changes it, and nobody works on it meanwhile. While it stays as it is, any number of
// threads may search, walk and step through it at once, also by the operations that are not const for their callback's sake,
// each with a callback and a container of its own. Only iterators count themselves in the trie, so they are made, copied and
// dropped by one thread at a time. Corvid::ThreadControl::multiThreadedIs(true) has to be called before: answers share the
// records of long compact prefixes, and payloads are counted.
//
// A live iterator forbids every change, which "0 == iterators()" enforces. A walk or a search is not counted, and its callback
// must not change the trie. A build with ROUTETRIE_FAULT_INJECTION checks this, and asserts "a callback must not change the
// trie that it is called for" in the change; no other build does.
//
// Each operation comes twice: on IpGenPrefix, for IPv4 and legacy IPv6 tries, and with a name in ...Compact on
// CompactIpPrefix, for IPv4 and compact IPv6 tries. An IPv4 trie takes both. A prefix of length 0 is the default route,
// which is kept in the trie object and in no node. A prefix of the other family aborts with "key1.af() == key2.af()"
// as soon as it meets a node.
//
// Tested by tests/trie/patricia/PatriciaTrieTest.cpp, by tests/trie/patricia/PatriciaTrieSearchTest.cpp and by tests/property/.
#pragma once

#include <concepts>
#include <cstddef>
#include <iosfwd>
#include <span>
#include <string>

#include "routetrie/platform/Corenet/AddressFamily.h"
#include "routetrie/platform/Corenet/CompactIpPrefix.h"
#include "routetrie/platform/Corenet/IpGenPrefix.h"
#include "routetrie/platform/Corvid/Create.h"
#include "routetrie/platform/Corvid/ModulePlace.h"
#include "routetrie/platform/Corvid/Node.h"
#include "routetrie/platform/Corvid/Ptr.h"
#include "routetrie/platform/Export.h"
#include "routetrie/platform/Keel/DumpContext.h"
#include "routetrie/platform/Types.h"
#include "routetrie/trie/patricia/PatriciaTrieData.h"
#include "routetrie/trie/patricia/PatriciaTrieNodeImpl.h"
#include "routetrie/trie/patricia/PatriciaTrieWalkCb.h"

namespace Routing {

using PatriciaTrieImpl::nodeTypeIpv4;
using PatriciaTrieImpl::nodeTypeIpv6Compact;
using PatriciaTrieImpl::nodeTypeIpv6Legacy;
using PatriciaTrieImpl::PatriciaTrieNode;
using PatriciaTrieImpl::PatriciaTrieNodeType;
using PatriciaTrieImpl::RoutePrefix;

// A pointer to the callback of a prefix type.
template <class Callback, class PrefixType>
concept RouteCallback = (std::same_as<PrefixType, Corenet::IpGenPrefix> &&
                         std::same_as<Callback, PatriciaTrieWalkCb*>) ||
                        (std::same_as<PrefixType, Corenet::CompactIpPrefix> &&
                         std::same_as<Callback, PatriciaTrieCompactWalkCb*>);

// What a search may be given to call: nothing, or the callback of its prefix type, which may be null.
template <class Callback, class PrefixType>
concept WalkCallback = std::same_as<Callback, std::nullptr_t> || RouteCallback<Callback, PrefixType>;

class ROUTETRIE_EXPORT PatriciaTrie : public Corvid::Node {
  public:
   // A family of none counts as IPv4, which ignores the flag. Asserts "false" for any other but the two.
   PatriciaTrie(Corenet::AddressFamily af, bool useCompactIpPrefix);
   ~PatriciaTrie() override;
   Corvid::TypeData typeData() const override;
   static Corvid::Ptr<PatriciaTrie> PatriciaTrieIs(Corenet::AddressFamily af, bool useCompactIpPrefix);

   //--- attributes ---

   Corenet::AddressFamily af() const noexcept { return af_; }
   PatriciaTrieNodeType paf() const noexcept { return paf_; }
   bool useCompactIpPrefix() const noexcept { return useCompactIpPrefix_; }
   // The default route's payload; null in a trie without node data.
   const Corvid::Ptr<PrefixData>& defaultRouteNodeData() const noexcept { return defaultRouteNodeData_; }
   void defaultRouteNodeDataIs(const Corvid::Ptr<PrefixData>& data) { defaultRouteNodeData_ = data; }
   PatriciaTrieNode* root() const noexcept { return root_; }
   bool defaultRoutePresent() const noexcept { return defaultRoutePresent_; }
   int nodes() const noexcept { return nodes_; }
   U32 routes() const noexcept { return routes_; }
   U16 iterators() const noexcept { return iterators_; }
   bool nodeDataEnabled() const noexcept { return nodeDataEnabled_; }
   bool initialized() const noexcept { return initialized_; }

   // Without checks; for the object model and for the classes built on this one.
   void rootIs(PatriciaTrieNode* root) noexcept { root_ = root; }
   void defaultRoutePresentIs(bool value) noexcept { defaultRoutePresent_ = value; }
   void nodesIs(int value) noexcept { nodes_ = value; }
   void nodesInc(int by) noexcept { nodes_ += by; }
   void routesIs(U32 value) noexcept { routes_ = value; }
   void routesInc(unsigned int by) noexcept { routes_ += by; }
   void iteratorsIs(U16 value) noexcept { iterators_ = value; }
   void iteratorsInc(unsigned short by) noexcept { iterators_ = static_cast<U16>(iterators_ + by); }
   void iteratorsDec(unsigned short by) noexcept { iterators_ = static_cast<U16>(iterators_ - by); }
   void nodeDataEnabledIs(bool value) noexcept { nodeDataEnabled_ = value; }
   void initializedIs(bool value) noexcept { initialized_ = value; }

   bool isDefaultRoutePresent() const noexcept { return defaultRoutePresent_; }
   bool empty() const noexcept { return routes_ == 0 && !defaultRoutePresent_; }

   //--- adding routes ---

   // Adds the route; one that is present stays as it is, and in a trie with node data is offered `data`. `data` must be
   // non-null exactly when the trie has node data. Asserts "paf() != nodeTypeIpv6Compact()", or for the second form
   // "paf() != nodeTypeIpv6Legacy()"; "0 == iterators()"; "nodeDataEnabled() == bool( data )". Raises std::bad_alloc,
   // and what the payload's hooks raise. Where memory runs out, routes, counts and answers are as before. Two things may
   // remain: a leaf whose key was lengthened for the route, in a trie with node data; and, where the new key parts from an old
   // one, the first of the two nodes that it takes, if the second fails. That node is lost to the process, and so are the
   // shared records and the tracker's count that it holds.
   void updateRoute(const Corenet::IpGenPrefix& prefix, const Corvid::Ptr<PrefixData>& data);
   void updateRouteCompact(const Corenet::CompactIpPrefix& prefix, const Corvid::Ptr<PrefixData>& data);
   template <RoutePrefix PrefixType>
   void updateRouteImpl(const PrefixType& prefix, const Corvid::Ptr<PrefixData>& data);

   //--- deleting routes ---

   // Deletes the route; false if it is absent, and then nothing changed. A zero-length prefix gives true, present or
   // not. `data` goes to removeData of the route's payload, and `dataContainer` receives that payload; it must be
   // non-null exactly when the trie has node data. Asserts as updateRoute does, with
   // "nodeDataEnabled() == bool( dataContainer )".
   bool deleteRoute(const Corenet::IpGenPrefix& prefix, const Corvid::Ptr<PrefixData>& data,
                    const Corvid::Ptr<PrefixDataContainer>& dataContainer);
   bool deleteRouteCompact(const Corenet::CompactIpPrefix& prefix, const Corvid::Ptr<PrefixData>& data,
                           const Corvid::Ptr<PrefixDataContainer>& dataContainer);
   template <RoutePrefix PrefixType>
   bool deleteRouteImpl(const PrefixType& prefix, const Corvid::Ptr<PrefixData>& data,
                        const Corvid::Ptr<PrefixDataContainer>& dataContainer);

   // Makes a trie without nodes ready: nulls the root without freeing anything and settles family and node type again.
   void handleInitialized();
   // Empties the trie, which stays usable. No payload's onDeletion is called. Asserts "0 == iterators()".
   void handleDeletion();

   //--- looking routes up ---

   // The longest route that covers the prefix, the prefix itself included. Without one the empty value (or the null
   // compact value); if only the default route covers it, the default prefix. A zero-length prefix is answered by the
   // default route alone.
   //
   // `dataContainer`, unless null, receives the payload of the route found, and stays as it was if that is the default
   // route or none. `cb`, unless null, is called for each covering route but the default one, shortest first; its
   // results are ignored. Both need a trie with node data: "nodeDataEnabled()". Asserts "paf() != nodeTypeIpv6Compact()"
   // or "paf() != nodeTypeIpv6Legacy()" as above.
   Corenet::IpGenPrefix longestMatchCommon(const Corenet::IpGenPrefix& prefix,
                                           const Corvid::Ptr<PrefixDataContainer>& dataContainer,
                                           PatriciaTrieWalkCb* cb) const;
   Corenet::CompactIpPrefix longestMatchCommonCompact(const Corenet::CompactIpPrefix& prefix,
                                                      const Corvid::Ptr<PrefixDataContainer>& dataContainer,
                                                      PatriciaTrieCompactWalkCb* cb) const;

   // longestMatchCommon for each prefix of a burst, several at a time: answers[i] is that of prefixes[i]. The two may be the
   // same span. Allocates nothing. Asserts "queries.size() == answers.size()", and on the node type as above.
   void longestMatchBulk(std::span<const Corenet::IpGenPrefix> prefixes,
                         std::span<Corenet::IpGenPrefix> answers) const;
   void longestMatchBulkCompact(std::span<const Corenet::CompactIpPrefix> prefixes,
                                std::span<Corenet::CompactIpPrefix> answers) const;

   // The longest route that covers the prefix and is shorter than it. For a prefix that is itself a route, `cb` and
   // `dataContainer` describe that route and not the parent. A zero-length prefix has no parent: the result has the
   // zero address and length 255, in the prefix's family.
   Corenet::IpGenPrefix findParentCommon(const Corenet::IpGenPrefix& prefix,
                                         const Corvid::Ptr<PrefixDataContainer>& dataContainer,
                                         PatriciaTrieWalkCb* cb) const;
   Corenet::CompactIpPrefix findParentCommonCompact(const Corenet::CompactIpPrefix& prefix,
                                                    const Corvid::Ptr<PrefixDataContainer>& dataContainer,
                                                    PatriciaTrieCompactWalkCb* cb) const;

   // findParentCommon if `returnParent`, else longestMatchCommon.
   Corenet::IpGenPrefix longestMatchOrParent(const Corenet::IpGenPrefix& prefix, bool returnParent,
                                             const Corvid::Ptr<PrefixDataContainer>& dataContainer,
                                             PatriciaTrieWalkCb* cb) const;
   Corenet::CompactIpPrefix longestMatchOrParentCompact(const Corenet::CompactIpPrefix& prefix, bool returnParent,
                                                        const Corvid::Ptr<PrefixDataContainer>& dataContainer,
                                                        PatriciaTrieCompactWalkCb* cb) const;

   // The one search behind the six above. Without a callback type the callback's code does not exist.
   template <RoutePrefix PrefixType, class CallbackType>
   requires WalkCallback<CallbackType, PrefixType> PrefixType
   longestMatchOrParentImpl(const PrefixType& prefix, bool returnParent,
                            const Corvid::Ptr<PrefixDataContainer>& dataContainer, CallbackType cb)
   const;
   template <RoutePrefix PrefixType, class CallbackType>
   requires WalkCallback<CallbackType, PrefixType> PrefixType longestMatchCommonImpl(
      const PrefixType& prefix, const Corvid::Ptr<PrefixDataContainer>& dataContainer, CallbackType cb)
   const { return longestMatchOrParentImpl<PrefixType, CallbackType>(prefix, false, dataContainer, cb); }

   // Whether a route longer than the prefix lies beneath it. A node with children beneath counts as one without a look
   // at its routes, and a zero-length prefix is always answered with false.
   bool longerRoutePresentCommon(const Corenet::IpGenPrefix& prefix) const;
   bool longerRoutePresentCommonCompact(const Corenet::CompactIpPrefix& prefix) const;

   //--- walking ---

   // Reports every route of a subtree, in ascending order of address and then of length. A callback that answers false
   // prunes: the rest of that node's routes and all beneath it are left out, and the walk goes on at its right.
   //
   // `subtreeRoot` says where to begin and the least length to report, and no more. If the tree has no key that starts
   // with it, the walk begins at the deepest key that covers it, and then reports routes outside it too. A zero-length
   // one gives the whole trie: the default route first, with an answer that is ignored, and it alone gives that route.
   //
   // Raises what the callback raises. Asserts "paf() != nodeTypeIpv6Compact()" or "paf() != nodeTypeIpv6Legacy()".
   void preOrderWalk(const Corenet::IpGenPrefix& subtreeRoot, PatriciaTrieWalkCb* callback) const;
   void preOrderWalkCompact(const Corenet::CompactIpPrefix& subtreeRoot, PatriciaTrieCompactWalkCb* callback) const;
   template <RoutePrefix PrefixType, class CallbackType>
   requires WalkCallback<CallbackType, PrefixType>
   void preOrderWalkImpl(const PrefixType& subtreeRoot, CallbackType callback) const;

   // Reports on each branch beneath `subtreeRoot` the first route that is longer than it, and none beneath that. Begins
   // as a walk does, so for a zero-length prefix only if the default route is present, which is itself never reported.
   // The callback's answers are ignored.
   void findImmediateChildren(const Corenet::IpGenPrefix& subtreeRoot, PatriciaTrieWalkCb* callback);
   void findImmediateChildrenCompact(const Corenet::CompactIpPrefix& subtreeRoot,
                                     PatriciaTrieCompactWalkCb* callback);

   //--- stepping ---

   // The first route after `prefix`, a route or not, in the order of a walk; the null prefix of the trie's family at the
   // end. The default route is never given, and a null or zero-length prefix comes before every route. The trie may
   // change from one call to the next.
   //
   // Ends early in one case: if the way on from `prefix` leads to a subtree whose leaves are all white, it looks no
   // further. Asserts "paf() != nodeTypeIpv6Legacy()".
   Corenet::CompactIpPrefix getNext(const Corenet::CompactIpPrefix& prefix);
   // The first route after `prefix` in the subtree of `node`, which may be null; false if there is none.
   bool getNextImpl(PatriciaTrieNode* node, const Corenet::CompactIpPrefix& prefix,
                    Corenet::CompactIpPrefix& next) const;

   // The black lengths of the one node where `subtreeRoot` lies: the least, and the least above `i`; 0 at the end, and for
   // `i` 0. They tell about the node, so they may be shorter than the prefix.
   // Requires: such a node, so the trie is not empty, the prefix does not leave it inside the root's key, and one of
   // length 0 is a route. A breach is fatal. In a node of IPv4 an `i` past 32 counts modulo 32, in one of IPv6 an `i` past
   // 128 is the end. Assert as the walks do.
   U32 getFirstBlack(const Corenet::IpGenPrefix& subtreeRoot);
   U32 getNextBlack(const Corenet::IpGenPrefix& subtreeRoot, U32 i);
   U32 getFirstBlackCompact(const Corenet::CompactIpPrefix& subtreeRoot);
   U32 getNextBlackCompact(const Corenet::CompactIpPrefix& subtreeRoot, U32 i);

   //--- showing ---

   // Writes the routes, one a line and the default route first, for an operator: a heading at `indentCount` blanks, the
   // count of routes at two more, and a list that Keel/DumpList.h cuts as the context says.
   void dumpState(const Corvid::Ptr<const Keel::DumpContext>& dumpCtx, U32 indentCount) const;
   // Writes the nodes to standard output, for a developer; see dumpTree.
   void doDump();

   //--- soundness ---

   // Recounts everything from the nodes: empty if I1 to I8 hold, else the first broken rule and where.
   std::string audit() const;

   static Tesk::AllocTrackTypeInfo* memAllocationTracker_;
   static void* operator new(std::size_t bytes) { return Corvid::allocateFor<PatriciaTrie>(bytes); }
   static void operator delete(void* memory, std::size_t bytes) noexcept {
      Corvid::releaseFor<PatriciaTrie>(memory, bytes);
   }

  private:
   template <class T>
   friend struct Corvid::Description;

   Corenet::AddressFamily af_;
   PatriciaTrieNodeType paf_;
   bool useCompactIpPrefix_;
   Corvid::Ptr<PrefixData> defaultRouteNodeData_;
   PatriciaTrieNode* root_ = nullptr;
   bool defaultRoutePresent_ = false;
   int nodes_ = 0;
   U32 routes_ = 0;
   U16 iterators_ = 0;
   bool nodeDataEnabled_ = false;
   bool initialized_ = false;
};

// A new, empty trie.
ROUTETRIE_EXPORT Corvid::Ptr<PatriciaTrie> patriciaTrieFactory(Corenet::AddressFamily af, bool useCompactIpPrefix);

// Destroys one node, with its payload references, and no hook called; a null node is let be.
ROUTETRIE_EXPORT void deleteSingleNode(PatriciaTrieNode* node, PatriciaTrieNodeType type, bool nodeData);
// Destroys a node and everything beneath it, children first.
ROUTETRIE_EXPORT void deleteNode(PatriciaTrieNode* node, PatriciaTrieNodeType type, bool nodeData);

// Writes a node and everything beneath it in pre-order, one a line behind two blanks a level; each line is flushed.
// Neither the default route nor any payload appears.
ROUTETRIE_EXPORT void dumpTree(std::ostream& out, PatriciaTrieNode* node, U32 depth, PatriciaTrieNodeType type);

// Does nothing; a debugger can stop here.
ROUTETRIE_EXPORT void doDummyTraceV6();

extern template ROUTETRIE_EXPORT void PatriciaTrie::updateRouteImpl(const Corenet::IpGenPrefix&,
                                                                    const Corvid::Ptr<PrefixData>&);
extern template ROUTETRIE_EXPORT void PatriciaTrie::updateRouteImpl(const Corenet::CompactIpPrefix&,
                                                                    const Corvid::Ptr<PrefixData>&);
extern template ROUTETRIE_EXPORT bool PatriciaTrie::deleteRouteImpl(const Corenet::IpGenPrefix&,
                                                                    const Corvid::Ptr<PrefixData>&,
                                                                    const Corvid::Ptr<PrefixDataContainer>&);
extern template ROUTETRIE_EXPORT bool PatriciaTrie::deleteRouteImpl(const Corenet::CompactIpPrefix&,
                                                                    const Corvid::Ptr<PrefixData>&,
                                                                    const Corvid::Ptr<PrefixDataContainer>&);
extern template ROUTETRIE_EXPORT Corenet::IpGenPrefix PatriciaTrie::longestMatchOrParentImpl(
   const Corenet::IpGenPrefix&, bool, const Corvid::Ptr<PrefixDataContainer>&, PatriciaTrieWalkCb*) const;
extern template ROUTETRIE_EXPORT Corenet::IpGenPrefix PatriciaTrie::longestMatchOrParentImpl(
   const Corenet::IpGenPrefix&, bool, const Corvid::Ptr<PrefixDataContainer>&, std::nullptr_t) const;
extern template ROUTETRIE_EXPORT Corenet::CompactIpPrefix PatriciaTrie::longestMatchOrParentImpl(
   const Corenet::CompactIpPrefix&, bool, const Corvid::Ptr<PrefixDataContainer>&, PatriciaTrieCompactWalkCb*) const;
extern template ROUTETRIE_EXPORT Corenet::CompactIpPrefix PatriciaTrie::longestMatchOrParentImpl(
   const Corenet::CompactIpPrefix&, bool, const Corvid::Ptr<PrefixDataContainer>&, std::nullptr_t) const;
extern template ROUTETRIE_EXPORT void PatriciaTrie::preOrderWalkImpl(const Corenet::IpGenPrefix&,
                                                                     PatriciaTrieWalkCb*) const;
extern template ROUTETRIE_EXPORT void PatriciaTrie::preOrderWalkImpl(const Corenet::CompactIpPrefix&,
                                                                     PatriciaTrieCompactWalkCb*) const;

}  // namespace Routing
