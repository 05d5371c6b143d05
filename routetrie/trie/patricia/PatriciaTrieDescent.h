// PatriciaTrieDescent: the ways down the tree that every operation of the engine shares: one step from a node towards
// a prefix, the structural locate, and the report of the routes on one node.
//
// The class of the nodes is a template parameter throughout: an operation resolves it once and compiles its whole
// descent for it.
// Tested by tests/trie/patricia/PatriciaTrieDescentTest.cpp.
#pragma once

#include <algorithm>
#include <bit>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <span>
#include <type_traits>

#include "routetrie/platform/Corvid/Assert.h"
#include "routetrie/platform/Types.h"
#include "routetrie/trie/patricia/PatriciaTrie.h"
#include "routetrie/trie/patricia/PatriciaTrieKey.h"
#include "routetrie/trie/patricia/PatriciaTrieNodeImpl.h"
#include "routetrie/trie/patricia/PatriciaTrieNodeWithDataImpl.h"

namespace Routing {

// A prefix on its way down: its length, and its address in a register.
template <class NodeClass>
struct Query {
   static constexpr U32 width = NodeClass::width;

   Query() = default;  // of no prefix yet
   // Asserts that the prefix is of the nodes' family; call it when there is a node to meet.
   template <RoutePrefix PrefixType>
   explicit Query(const PrefixType& prefix) : length(prefix.len()), bits(prefix.template bits<width>()) {
      ROUTETRIE_ASSERT(NodeClass::family == prefix.af(), "key1.af() == key2.af()");
   }

   // The bits that the node's key shares with the prefix, at most the length of either.
   U32 commonLength(const NodeClass& node) const {
      return std::min({node.bits().commonLength(bits), length, node.len()});
   }
   // Whether the node's key covers the prefix and is shorter, so that the way leads on to a child of it.
   bool passes(const NodeClass& node) const {
      const U32 nodeLength = node.len();
      return nodeLength < std::min(length, width) && bits.sharesFirst(node.bits(), nodeLength);
   }
   // The child that a passed node has towards the prefix; null in a leaf. Which one it is follows from data that nobody
   // can predict, so it is selected by arithmetic and not by a branch.
   NodeClass* childOfPassed(const NodeClass& node) const {
      const auto left = std::bit_cast<std::uintptr_t>(node.left_);
      const auto right = std::bit_cast<std::uintptr_t>(node.right_);
      const std::uintptr_t isRight = bits.bitWithin(node.len());
      return static_cast<NodeClass*>(std::bit_cast<PatriciaTrieNode*>(left ^ ((left ^ right) & (0 - isRight))));
   }
   // The field of the child towards the prefix after `common` matched bits.
   PatriciaTrieNode*& child(PatriciaTrieNode& node, U32 common) const {
      return bits.bit(common) ? node.right_ : node.left_;
   }

   U32 length;  // bits
   Corenet::AddressBits<width> bits;
};

// The nodes that a locate walked, the start node first. Keys get longer on the way down, so there is room for any path
// in place, and recording one allocates nothing.
class PatriciaTrieWalkedPrefixCb {
  public:
   void nodeIs(PatriciaTrieNode* node) noexcept { nodes_[count_++] = node; }
   std::span<PatriciaTrieNode* const> nodes() const noexcept { return {nodes_, count_}; }

  private:
   PatriciaTrieNode* nodes_[PatriciaTrieImpl::PatriciaTrieV6NodeBase::width + 1];  // the first count_ are set
   std::size_t count_ = 0;
};

// Where in the tree the prefix lies, by the nodes' keys alone: the first node whose key the prefix covers, or else the
// deepest node whose key covers the prefix; null if the prefix leaves the tree inside the start node's key. A zero-length
// prefix gives the start node if the default route is present, else null. `path`, unless null, gets every node walked.
template <class NodeClass, RoutePrefix PrefixType>
NodeClass* locate(NodeClass* start, bool defaultRoutePresent, const PrefixType& prefix,
                  PatriciaTrieWalkedPrefixCb* path) {
   const auto walked = [path](NodeClass* node) {
      if (path != nullptr) {
         path->nodeIs(node);
      }
      return node;
   };
   if (start == nullptr || (prefix.len() == 0 && !defaultRoutePresent)) {
      return nullptr;
   }
   if (prefix.len() == 0) {
      return walked(start);
   }
   const Query<NodeClass> query(prefix);
   NodeClass* result = nullptr;
   for (NodeClass* node = start; node != nullptr;) {
      const U32 common = query.commonLength(*node);
      if (common < query.length && common < node->len()) {
         break;
      }
      result = walked(node);
      if (common == query.length) {
         break;
      }
      node = static_cast<NodeClass*>(query.child(*node, common));
   }
   return result;
}

// The same for a trie whose node class is known by its type; `node` is the node to start from and may be null.
template <RoutePrefix PrefixType>
PatriciaTrieNode* lpmNodeImpl(const PatriciaTrie& trie, PatriciaTrieNode* node, const PrefixType& prefix,
                              PatriciaTrieWalkedPrefixCb* path) {
   return PatriciaTrieImpl::trieVisit<PatriciaTrieImpl::NodePicker>(
      trie.paf(), node,
      [&](auto* start) -> PatriciaTrieNode* { return locate(start, trie.defaultRoutePresent(), prefix, path); });
}

// The route of that length on a node. A compact key is handed on as it is, which spares the table of shared records.
template <RoutePrefix PrefixType, class NodeClass>
PrefixType routeOf(const NodeClass& node, U32 length) {
   constexpr bool keyIsCompact = !std::is_base_of_v<PatriciaTrieImpl::PatriciaTrieV6Node, NodeClass>;
   if constexpr (keyIsCompact && std::same_as<PrefixType, Corenet::CompactIpPrefix>) {
      if (length == node.len()) {
         return node.compactPrefix();
      }
   }
   return PrefixType(NodeClass::KeyPrefix::cut(node.bits(), length));
}

// Reports the routes of one node up to the length `upToLen`, shortest first. The callback's results are ignored: a
// search cannot be stopped from its callback. Nothing if `callback` is null.
template <class NodeClass, class CallbackType>
void walkAllAncestorsData(NodeClass* node, bool nodeDataEnabled, PatriciaTrieNodeType type, CallbackType* callback,
                          U32 upToLen) {
   using PrefixType = std::conditional_t<std::same_as<CallbackType, PatriciaTrieWalkCb>, Corenet::IpGenPrefix,
                                         Corenet::CompactIpPrefix>;
   if (callback == nullptr) {
      return;
   }
   for (U32 length = node->firstBlack(); length != 0 && length <= upToLen; length = node->nextBlack(length)) {
      const PrefixData* data = nodeDataEnabled ? getNodeData(type, node, length) : nullptr;
      callback->handlePrefixData(getSubnetFromNode<PrefixType>(node, type, length), data);
   }
}

}  // namespace Routing
