// How a route gets into a PatriciaTrie and out of it. An insertion marks a black bit, lengthens a leaf's key, adds a
// leaf, or adds a branch and a leaf; a deletion clears a bit, and takes a leaf that it turned white away together with
// the leaf's parent. Both go down once, with no recursion.
#include <concepts>
#include <type_traits>

#include "routetrie/platform/Corvid/Assert.h"
#include "routetrie/trie/WalkGuard.h"
#include "routetrie/trie/patricia/PatriciaTrie.h"
#include "routetrie/trie/patricia/PatriciaTrieDescent.h"
#include "routetrie/trie/patricia/PatriciaTrieNodeWithDataImpl.h"

namespace Routing {

namespace {

using PatriciaTrieImpl::NodePicker;

template <class NodeClass>
constexpr bool hasData = requires(NodeClass& node) {
   node.dataDelAll();
};

// The prefix as the type that a node's constructor cuts.
template <class NodeClass, RoutePrefix PrefixType>
typename NodeClass::KeyPrefix keyPrefixOf(const PrefixType& prefix) {
   constexpr bool isIpv4 = NodeClass::family == Corenet::AddressFamily::ipv4;
   if constexpr (std::same_as<PrefixType, Corenet::IpGenPrefix>) {
      if constexpr (isIpv4) {
         return prefix.v4Prefix();
      } else {
         return prefix.v6Prefix();
      }
   } else if constexpr (isIpv4) {
      return prefix.ipv4();
   } else {
      return prefix.ipv6();
   }
}

template <class NodeClass, RoutePrefix PrefixType>
NodeClass* newNode(U32 len, const PrefixType& prefix, bool black, const Corvid::Ptr<PrefixData>& data) {
   if constexpr (hasData<NodeClass>) {
      return new NodeClass(len, keyPrefixOf<NodeClass>(prefix), black, data);
   } else {
      return new NodeClass(len, keyPrefixOf<NodeClass>(prefix), black);
   }
}

// Calls `visitor` with the class of the nodes that are built for `prefix`, by its type, its family and the presence of
// data.
template <RoutePrefix PrefixType, class Visitor>
decltype(auto) builtNodeClassVisit(const PrefixType& prefix, bool withData, Visitor&& visitor) {
   constexpr bool isCompact = std::same_as<PrefixType, Corenet::CompactIpPrefix>;
   const auto visit = [&]<class Branches>(std::type_identity<Branches>) -> decltype(auto) {
      using Ipv6 = std::conditional_t<isCompact, typename Branches::Ipv6Compact, typename Branches::Ipv6Legacy>;
      return prefix.af() == Corenet::ipv6 ? visitor(std::type_identity<Ipv6>{})
                                          : visitor(std::type_identity<typename Branches::Ipv4>{});
   };
   return withData ? visit(std::type_identity<NodeWithDataPicker>{}) : visit(std::type_identity<NodePicker>{});
}

constexpr Corenet::AddressFamily familyOf(PatriciaTrieNodeType type) {
   return type == nodeTypeIpv4() ? Corenet::ipv4() : Corenet::ipv6();
}

// One insertion of a prefix that is not of length 0.
template <class NodeClass, RoutePrefix PrefixType>
class Insertion {
  public:
   Insertion(PatriciaTrie& trie, const PrefixType& prefix, const Corvid::Ptr<PrefixData>& data)
      : trie_(trie), prefix_(prefix), data_(data), query_(prefix) {}

   // `slot` is the field that holds the root.
   void run(PatriciaTrieNode** slot) {
      while (*slot != nullptr) {
         NodeClass& node = *static_cast<NodeClass*>(*slot);
         if (query_.passes(node) && !node.isLeaf()) {
            slot = &query_.child(node, node.len());
            continue;
         }
         const U32 common = query_.commonLength(node);
         if (common == query_.length) {
            return markBlack(node);
         }
         if (common < node.len()) {
            return split(slot, node, common);
         }
         return lengthen(node);
      }
      *slot = newNode<NodeClass>(query_.length, prefix_, true, data_);
      trie_.nodesInc(1);
      trie_.routesInc(1);
   }

  private:
   // The data array follows the black bits as they stand, so data goes first.
   void setData(NodeClass& node) {
      if constexpr (hasData<NodeClass>) {
         setPrefixData(&node, trie_.paf(), query_.length, data_);
      }
   }

   void markBlack(NodeClass& node) {
      setData(node);
      if (!node.black(query_.length)) {
         trie_.routesInc(1);
         node.blackIs(query_.length, true);
      }
   }

   void lengthen(NodeClass& leaf) {
      leaf.prefixIs(prefix_);
      setData(leaf);
      trie_.routesInc(1);
      leaf.blackIs(query_.length, true);
   }

   // The keys part after `common` bits, inside the node's edge: a branch takes the node's place, and its routes up to
   // that length. Nothing is linked or counted before both new nodes are whole. The first is not taken back where the
   // second fails.
   void split(PatriciaTrieNode** slot, NodeClass& node, U32 common) {
      NodeClass* branch = newNode<NodeClass>(common, prefix_, false, nullptr);
      NodeClass* leaf = newNode<NodeClass>(query_.length, prefix_, true, data_);
      if constexpr (hasData<NodeClass>) {
         branch->splitData(&node, common);
      }
      trie_.routesInc(1);
      trie_.nodesInc(2);
      branch->blackBitsIs(node.blackBits());
      branch->maxBlackBitIs(common);
      node.minBlackBitIs(common);
      const bool leafIsRight = query_.bits.bit(common);
      branch->left_ = leafIsRight ? &node : leaf;
      branch->right_ = leafIsRight ? leaf : &node;
      *slot = branch;
   }

   PatriciaTrie& trie_;
   const PrefixType& prefix_;
   const Corvid::Ptr<PrefixData>& data_;
   const Query<NodeClass> query_;
};

}  // namespace

//--- adding ---

void PatriciaTrie::updateRoute(const Corenet::IpGenPrefix& prefix, const Corvid::Ptr<PrefixData>& data) {
   ROUTETRIE_ASSERT(paf() != nodeTypeIpv6Compact());
   updateRouteImpl(prefix, data);
}

void PatriciaTrie::updateRouteCompact(const Corenet::CompactIpPrefix& prefix, const Corvid::Ptr<PrefixData>& data) {
   ROUTETRIE_ASSERT(paf() != nodeTypeIpv6Legacy());
   updateRouteImpl(prefix, data);
}

template <RoutePrefix PrefixType>
void PatriciaTrie::updateRouteImpl(const PrefixType& prefix, const Corvid::Ptr<PrefixData>& data) {
   ROUTETRIE_CHANGING(this);
   ROUTETRIE_ASSERT(0 == iterators());
   ROUTETRIE_ASSERT(nodeDataEnabled() == bool(data), "nodeDataEnabled() == bool( data )");
   if (prefix.len() == 0) {
      if (!defaultRoutePresent_) {
         routesInc(1);
         defaultRoutePresent_ = true;
      }
      return;
   }
   ROUTETRIE_ASSERT(root_ == nullptr || familyOf(paf_) == prefix.af(), "key1.af() == key2.af()");
   builtNodeClassVisit(prefix, bool(data), [&]<class NodeClass>(std::type_identity<NodeClass>) {
      Insertion<NodeClass, PrefixType>(*this, prefix, data).run(&root_);
   });
}

//--- deleting ---

bool PatriciaTrie::deleteRoute(const Corenet::IpGenPrefix& prefix, const Corvid::Ptr<PrefixData>& data,
                               const Corvid::Ptr<PrefixDataContainer>& dataContainer) {
   ROUTETRIE_ASSERT(paf() != nodeTypeIpv6Compact());
   return deleteRouteImpl(prefix, data, dataContainer);
}

bool PatriciaTrie::deleteRouteCompact(const Corenet::CompactIpPrefix& prefix, const Corvid::Ptr<PrefixData>& data,
                                      const Corvid::Ptr<PrefixDataContainer>& dataContainer) {
   ROUTETRIE_ASSERT(paf() != nodeTypeIpv6Legacy());
   return deleteRouteImpl(prefix, data, dataContainer);
}

namespace {

// One deletion of a prefix that is not of length 0, from a tree that is not empty. A parent link is spared by carrying
// two slots down: the node's own and its parent's.
template <class NodeClass, RoutePrefix PrefixType>
class Deletion {
  public:
   // `slot` is the field that holds the root.
   Deletion(PatriciaTrie& trie, PatriciaTrieNode** slot, const PrefixType& prefix)
      : trie_(trie), query_(prefix), slot_(slot) {}

   bool run(const Corvid::Ptr<PrefixData>& data, const Corvid::Ptr<PrefixDataContainer>& dataContainer) {
      if (!descend()) {
         return false;
      }
      NodeClass& node = *static_cast<NodeClass*>(*slot_);
      trie_.routesInc(~0U);
      if constexpr (hasData<NodeClass>) {
         dataContainer->prefixDataIs(delPrefixData(&node, trie_.paf(), query_.length, data));
      } else {
         node.blackIs(query_.length, false);
      }
      if (node.isWhite() && node.isLeaf()) {
         reclaim(node);
      }
      return true;
   }

  private:
   // Leaves slot_ at the node that holds the route; false if there is none.
   bool descend() {
      for (;;) {
         NodeClass& node = *static_cast<NodeClass*>(*slot_);
         if (!query_.passes(node)) {
            return query_.commonLength(node) == query_.length && node.black(query_.length);
         }
         parentSlot_ = slot_;
         slot_ = &query_.child(node, node.len());
         if (*slot_ == nullptr) {
            return false;
         }
      }
   }

   // Takes the white leaf away, and its parent, whose routes the sibling inherits. The sibling keeps its key, which
   // extends the parent's.
   void reclaim(NodeClass& leaf) {
      *slot_ = nullptr;
      if (parentSlot_ != nullptr) {
         auto* parent = static_cast<NodeClass*>(*parentSlot_);
         auto* sibling = static_cast<NodeClass*>(parent->left_ != nullptr ? parent->left_ : parent->right_);
         *parentSlot_ = sibling;
         if constexpr (hasData<NodeClass>) {
            sibling->mergeData(parent);
         }
         sibling->mergeBlack(parent);
         discard(*parent);
      }
      discard(leaf);
   }

   void discard(NodeClass& node) {
      delPrefixDataAll(&node, trie_.paf(), hasData<NodeClass>);
      deleteSingleNode(&node, trie_.paf(), hasData<NodeClass>);
      trie_.nodesInc(-1);
   }

   PatriciaTrie& trie_;
   const Query<NodeClass> query_;
   PatriciaTrieNode** slot_;
   PatriciaTrieNode** parentSlot_ = nullptr;
};

}  // namespace

template <RoutePrefix PrefixType>
bool PatriciaTrie::deleteRouteImpl(const PrefixType& prefix, const Corvid::Ptr<PrefixData>& data,
                                   const Corvid::Ptr<PrefixDataContainer>& dataContainer) {
   ROUTETRIE_CHANGING(this);
   ROUTETRIE_ASSERT(0 == iterators());
   ROUTETRIE_ASSERT(nodeDataEnabled() == bool(dataContainer), "nodeDataEnabled() == bool( dataContainer )");
   if (prefix.len() == 0) {
      // With node data the default route and its payload are the derived class's affair.
      if (defaultRoutePresent_ && !nodeDataEnabled_) {
         routesInc(~0U);
         defaultRoutePresent_ = false;
      }
      return true;
   }
   if (root_ == nullptr) {
      return false;
   }
   ROUTETRIE_ASSERT(familyOf(paf_) == prefix.af(), "key1.af() == key2.af()");
   return builtNodeClassVisit(prefix, nodeDataEnabled_, [&]<class NodeClass>(std::type_identity<NodeClass>) {
      return Deletion<NodeClass, PrefixType>(*this, &root_, prefix).run(data, dataContainer);
   });
}

template void PatriciaTrie::updateRouteImpl(const Corenet::IpGenPrefix&, const Corvid::Ptr<PrefixData>&);
template void PatriciaTrie::updateRouteImpl(const Corenet::CompactIpPrefix&, const Corvid::Ptr<PrefixData>&);
template bool PatriciaTrie::deleteRouteImpl(const Corenet::IpGenPrefix&, const Corvid::Ptr<PrefixData>&,
                                            const Corvid::Ptr<PrefixDataContainer>&);
template bool PatriciaTrie::deleteRouteImpl(const Corenet::CompactIpPrefix&, const Corvid::Ptr<PrefixData>&,
                                            const Corvid::Ptr<PrefixDataContainer>&);

}  // namespace Routing
