// The walks of a PatriciaTrie: a subtree in order of address and length, and the nearest routes beneath a prefix. They go
// down by recursion on the left link alone, so at most a key's length deep, and allocate nothing.
// Tested by tests/trie/patricia/PatriciaTrieWalkTest.cpp.
#include <type_traits>

#include "routetrie/platform/Corvid/Assert.h"
#include "routetrie/trie/BulkDescent.h"
#include "routetrie/trie/WalkGuard.h"
#include "routetrie/trie/patricia/PatriciaTrie.h"
#include "routetrie/trie/patricia/PatriciaTrieDescent.h"
#include "routetrie/trie/patricia/PatriciaTrieKey.h"

namespace Routing {

namespace {

using PatriciaTrieImpl::nodeClassVisit;
using PatriciaTrieImpl::NodePicker;

// Reports the routes of one trie that its length admits to one callback.
template <class NodeClass, RoutePrefix PrefixType, class CallbackType>
class Walk {
  public:
   Walk(const PatriciaTrie& trie, U32 length, CallbackType callback)
      : type_(trie.paf()), nodeDataEnabled_(trie.nodeDataEnabled()), length_(length), callback_(callback) {}

   // Every route from `node` down, which may be null, of at least the walk's length. An answer of false ends this call,
   // and so leaves out the rest of the node and all beneath it.
   void preOrder(NodeClass* node) const { preOrder(node, nullptr); }

   // On each branch from `node` down, which may be null, the shortest route that is longer than the walk's length.
   void immediateChildren(NodeClass* node) const {
      for (; node != nullptr; node = static_cast<NodeClass*>(node->right_)) {
         const U32 black = length_ == 0 ? node->firstBlack() : node->nextBlack(length_);
         if (black > length_) {  // the null prefix's length is beyond any, which nextBlack is not made for
            report(*node, black);
            return;
         }
         immediateChildren(static_cast<NodeClass*>(node->left_));
      }
   }

  private:
   // `after` is the node that the walk comes to when it is through with `node`, or null. A walk waits for memory at nearly
   // every node, so what it will come to is fetched while it waits for something nearer.
   void preOrder(NodeClass* node, NodeClass* after) const {
      while (node != nullptr) {
         fetchChildren(*node);
         if (after != nullptr) {
            fetchChildren(*after);
         }
         for (U32 black = node->firstBlack(); black != 0; black = node->nextBlack(black)) {
            if (black >= length_ && !report(*node, black)) {
               return;
            }
         }
         auto* right = static_cast<NodeClass*>(node->right_);
         preOrder(static_cast<NodeClass*>(node->left_), right);
         node = right;
      }
   }

   static void fetchChildren(const NodeClass& node) {
      if (!node.isLeaf()) {
         fetchAhead(static_cast<const NodeClass*>(node.left_));
         fetchAhead(static_cast<const NodeClass*>(node.right_));
      }
   }

   bool report(NodeClass& node, U32 black) const {
      const PrefixData* data = nodeDataEnabled_ ? getNodeData(type_, &node, black) : nullptr;
      return callback_->handlePrefixData(routeOf<PrefixType>(node, black), data);
   }

   const PatriciaTrieNodeType type_;
   const bool nodeDataEnabled_;
   const U32 length_;  // bits
   const CallbackType callback_;
};

// Calls `visitor` with the walk's class and its first node, which may be null.
template <RoutePrefix PrefixType, class CallbackType, class Visitor>
void walkFrom(const PatriciaTrie& trie, PatriciaTrieNode* start, Visitor&& visitor) {
   nodeClassVisit<NodePicker>(trie.paf(), [&]<class NodeClass>(std::type_identity<NodeClass>) {
      visitor(std::type_identity<Walk<NodeClass, PrefixType, CallbackType>>{}, static_cast<NodeClass*>(start));
   });
}

template <RoutePrefix PrefixType, class CallbackType>
void reportImmediateChildren(const PatriciaTrie& trie, const PrefixType& subtreeRoot, CallbackType callback) {
   ROUTETRIE_WALKING(&trie);
   walkFrom<PrefixType, CallbackType>(trie, lpmNodeImpl(trie, trie.root(), subtreeRoot, nullptr),
                                      [&]<class W>(std::type_identity<W>, auto* start) {
                                         W(trie, subtreeRoot.len(), callback).immediateChildren(start);
                                      });
}

}  // namespace

template <RoutePrefix PrefixType, class CallbackType>
requires WalkCallback<CallbackType, PrefixType>
void PatriciaTrie::preOrderWalkImpl(const PrefixType& subtreeRoot, CallbackType callback) const {
   ROUTETRIE_WALKING(this);
   const U32 length = subtreeRoot.len();
   PatriciaTrieNode* start = root_;
   if (length != 0) {
      start = lpmNodeImpl(*this, root_, subtreeRoot, nullptr);
   } else if (defaultRoutePresent_) {
      callback->handlePrefixData(getDefaultPrefix<PrefixType>(af_), defaultRouteNodeData_.get());
   }
   walkFrom<PrefixType, CallbackType>(
      *this, start, [&]<class W>(std::type_identity<W>, auto* node) { W(*this, length, callback).preOrder(node); });
}

void PatriciaTrie::preOrderWalk(const Corenet::IpGenPrefix& subtreeRoot, PatriciaTrieWalkCb* callback) const {
   ROUTETRIE_ASSERT(paf() != nodeTypeIpv6Compact());
   preOrderWalkImpl(subtreeRoot, callback);
}

void PatriciaTrie::preOrderWalkCompact(const Corenet::CompactIpPrefix& subtreeRoot,
                                       PatriciaTrieCompactWalkCb* callback) const {
   ROUTETRIE_ASSERT(paf() != nodeTypeIpv6Legacy());
   preOrderWalkImpl(subtreeRoot, callback);
}

void PatriciaTrie::findImmediateChildren(const Corenet::IpGenPrefix& subtreeRoot, PatriciaTrieWalkCb* callback) {
   ROUTETRIE_ASSERT(paf() != nodeTypeIpv6Compact());
   reportImmediateChildren(*this, subtreeRoot, callback);
}

void PatriciaTrie::findImmediateChildrenCompact(const Corenet::CompactIpPrefix& subtreeRoot,
                                                PatriciaTrieCompactWalkCb* callback) {
   ROUTETRIE_ASSERT(paf() != nodeTypeIpv6Legacy());
   reportImmediateChildren(*this, subtreeRoot, callback);
}

template void PatriciaTrie::preOrderWalkImpl(const Corenet::IpGenPrefix&, PatriciaTrieWalkCb*) const;
template void PatriciaTrie::preOrderWalkImpl(const Corenet::CompactIpPrefix&, PatriciaTrieCompactWalkCb*) const;

}  // namespace Routing
