// Stepping through a PatriciaTrie without a callback and without an iterator: the next route after any prefix, and the
// black lengths of the node that holds one.
// Tested by tests/trie/patricia/PatriciaTrieTraversalTest.cpp.
#include <span>
#include <type_traits>

#include "routetrie/platform/Corvid/Assert.h"
#include "routetrie/trie/patricia/PatriciaTrie.h"
#include "routetrie/trie/patricia/PatriciaTrieDescent.h"

namespace Routing {

namespace {

using PatriciaTrieImpl::nodeClassVisit;
using PatriciaTrieImpl::NodePicker;

// A route by its node and its black length in bits; a null node: there is none.
template <class NodeClass>
struct Place {
   NodeClass* node = nullptr;
   U32 length = 0;
};

// The first route of a subtree that lies after the prefix of those bits and that length. A plain search in pre-order,
// which compares every route that it passes, and builds none.
template <class NodeClass>
Place<NodeClass> firstAfter(NodeClass* node, Corenet::AddressBits<NodeClass::width> bits, U32 length) {
   for (; node != nullptr; node = static_cast<NodeClass*>(node->right_)) {
      for (U32 black = node->firstBlack(); black != 0; black = node->nextBlack(black)) {
         const auto route = node->bits().cut(black);
         if (bits < route || (bits == route && length < black)) {
            return {node, black};
         }
      }
      if (const auto found = firstAfter(static_cast<NodeClass*>(node->left_), bits, length); found.node != nullptr) {
         return found;
      }
   }
   return {};
}

// The right link of the nearest node that `path` left by its left link; null if it left none so.
PatriciaTrieNode* rightOfPath(std::span<PatriciaTrieNode* const> path) {
   for (std::size_t i = path.size(); i > 1; --i) {
      if (path[i - 2]->right_ != path[i - 1]) {
         return path[i - 2]->right_;
      }
   }
   return nullptr;
}

// The length of a prefix in the order of routes, in which a null prefix comes before all.
U32 orderedLength(const Corenet::CompactIpPrefix& prefix) {
   constexpr U32 nullLength = 255;
   const U32 length = prefix.len();
   return length == nullLength ? 0 : length;
}

// The node where a prefix lies, for the callers that may not ask about one that lies at none. A compiler may take it that
// they do not, so the fault is made certain.
template <RoutePrefix PrefixType>
PatriciaTrieNode& nodeOf(const PatriciaTrie& trie, const PrefixType& prefix) {
   PatriciaTrieNode* node = lpmNodeImpl(trie, trie.root(), prefix, nullptr);
   if (node == nullptr) {
      __builtin_trap();
   }
   return *node;
}

}  // namespace

bool PatriciaTrie::getNextImpl(PatriciaTrieNode* node, const Corenet::CompactIpPrefix& prefix,
                               Corenet::CompactIpPrefix& next) const {
   return nodeClassVisit<NodePicker>(paf_, [&]<class NodeClass>(std::type_identity<NodeClass>) {
      const auto found =
         firstAfter(static_cast<NodeClass*>(node), prefix.bits<NodeClass::width>(), orderedLength(prefix));
      if (found.node == nullptr) {
         return false;
      }
      next = routeOf<Corenet::CompactIpPrefix>(*found.node, found.length);
      return true;
   });
}

Corenet::CompactIpPrefix PatriciaTrie::getNext(const Corenet::CompactIpPrefix& prefix) {
   ROUTETRIE_ASSERT(paf() != nodeTypeIpv6Legacy());
   if (root_ == nullptr) {
      return Corenet::CompactIpPrefix::getNull(af_);
   }
   const U32 length = orderedLength(prefix);
   PatriciaTrieWalkedPrefixCb path;
   PatriciaTrieNode* node = length == 0 ? nullptr : lpmNodeImpl(*this, root_, prefix, &path);
   if (node == nullptr) {
      node = root_;
   } else if (node->black(length, paf_)) {
      if (const U32 longer = node->nextBlack(length, paf_); longer != 0) {
         return getSubnetFromNode<Corenet::CompactIpPrefix>(node, paf_, longer);
      }
   }
   // One climb and one search at its end: a subtree of white leaves alone ends the order.
   if (Corenet::CompactIpPrefix next;
       getNextImpl(node, prefix, next) || getNextImpl(rightOfPath(path.nodes()), prefix, next)) {
      return next;
   }
   return Corenet::CompactIpPrefix::getNull(af_);
}

U32 PatriciaTrie::getFirstBlack(const Corenet::IpGenPrefix& subtreeRoot) {
   ROUTETRIE_ASSERT(paf() != nodeTypeIpv6Compact());
   return nodeOf(*this, subtreeRoot).firstBlack(paf_);
}

U32 PatriciaTrie::getNextBlack(const Corenet::IpGenPrefix& subtreeRoot, U32 i) {
   ROUTETRIE_ASSERT(paf() != nodeTypeIpv6Compact());
   return nodeOf(*this, subtreeRoot).nextBlack(i, paf_);
}

U32 PatriciaTrie::getFirstBlackCompact(const Corenet::CompactIpPrefix& subtreeRoot) {
   ROUTETRIE_ASSERT(paf() != nodeTypeIpv6Legacy());
   return nodeOf(*this, subtreeRoot).firstBlack(paf_);
}

U32 PatriciaTrie::getNextBlackCompact(const Corenet::CompactIpPrefix& subtreeRoot, U32 i) {
   ROUTETRIE_ASSERT(paf() != nodeTypeIpv6Legacy());
   return nodeOf(*this, subtreeRoot).nextBlack(i, paf_);
}

}  // namespace Routing
