// The searches of a PatriciaTrie for routes: from the root down one path, with no recursion and no allocation. A search
// looks at black bits on every node of its path, and keeps the node and length of the best route; the one prefix that
// it builds is the answer.
#include <concepts>
#include <cstddef>
#include <type_traits>

#include "routetrie/platform/Corvid/Assert.h"
#include "routetrie/trie/WalkGuard.h"
#include "routetrie/trie/patricia/PatriciaTrie.h"
#include "routetrie/trie/patricia/PatriciaTrieAnswer.h"
#include "routetrie/trie/patricia/PatriciaTrieDescent.h"
#include "routetrie/trie/patricia/PatriciaTrieKey.h"
#include "routetrie/trie/patricia/PatriciaTrieNodeWithDataImpl.h"

namespace Routing {

namespace {

using PatriciaTrieImpl::nodeClassVisit;
using PatriciaTrieImpl::NodePicker;

// One search; CallbackType is a callback pointer, which is not null, or std::nullptr_t for a search without one.
template <class NodeClass, RoutePrefix PrefixType, class CallbackType>
class Search {
  public:
   static constexpr bool hasCallback = !std::same_as<CallbackType, std::nullptr_t>;

   Search(const PatriciaTrie& trie, const Corvid::Ptr<PrefixDataContainer>& dataContainer, CallbackType callback)
      : trie_(trie), dataContainer_(dataContainer), callback_(callback) {}

   // The answer for a prefix that is not of length 0, in a tree that is not empty; `fallback` if no node has one.
   template <class Fallback>
   PrefixType run(const PrefixType& prefix, bool returnParent, const Fallback& fallback) {
      const Query<NodeClass> query(prefix);
      auto* node = static_cast<NodeClass*>(trie_.root());
      // Every route of a node that is passed covers the prefix; which of them is the longest can wait for the end.
      NodeClass* passed = nullptr;
      while (query.passes(*node)) {
         if constexpr (hasCallback) {
            if (!node->isWhite()) {
               report({node, node->lastBlack()});
            }
         }
         passed = node->isWhite() ? passed : node;
         NodeClass* child = query.childOfPassed(*node);
         if (child == nullptr) {
            node = nullptr;
            break;
         }
         node = child;
      }
      best_ = longestOfPassed(passed);
      if (node != nullptr) {
         const U32 common = query.commonLength(*node);
         if (common == query.length && node->black(common)) {
            if constexpr (hasCallback) {
               report({node, common});
            } else {
               settle({node, common});
            }
            if (!returnParent) {
               return prefix;
            }
            // Container and callback describe the route that was asked for; only the answer is its parent.
            consider({node, node->prevBlack(common - 1)});
            return answer(fallback);
         }
         const Found<NodeClass> found{node, node->prevBlack(common)};
         consider(found);
         if constexpr (hasCallback) {
            if (found.length != 0) {
               report(found);
            }
         }
      }
      if constexpr (!hasCallback) {
         settle(best_);
      }
      return answer(fallback);
   }

  private:
   void consider(Found<NodeClass> found) {
      if (found.length != 0) {
         best_ = found;
      }
   }

   // A node's routes up to the found one; all nodes above were reported before. The container then already holds the
   // found route's payload, and is let be afterwards: what a callback does to it stays.
   void report(Found<NodeClass> found) {
      ROUTETRIE_WALKING(&trie_);
      settle(found);
      walkAllAncestorsData(found.node, trie_.nodeDataEnabled(), trie_.paf(), callback_, found.length);
   }

   void settle(Found<NodeClass> found) const {
      if (found.node != nullptr) {
         setPrefixDataFromNode(found.node, trie_.paf(), found.length, dataContainer_);
      }
   }

   template <class Fallback>
   PrefixType answer(const Fallback& fallback) const {
      if (best_.node == nullptr) {
         return fallback();
      }
      return best_.template prefix<PrefixType>();
   }

   const PatriciaTrie& trie_;
   const Corvid::Ptr<PrefixDataContainer>& dataContainer_;
   const CallbackType callback_;
   Found<NodeClass> best_;
};

template <RoutePrefix PrefixType>
bool longerRoutePresent(const PatriciaTrie& trie, const PrefixType& prefix) {
   if (trie.root() == nullptr || prefix.len() == 0) {
      return false;
   }
   return nodeClassVisit<NodePicker>(trie.paf(), [&]<class NodeClass>(std::type_identity<NodeClass>) {
      const Query<NodeClass> query(prefix);
      for (auto* node = static_cast<NodeClass*>(trie.root()); node != nullptr;) {
         if (!query.passes(*node)) {
            return query.commonLength(*node) == query.length && (!node->isLeaf() || node->lastBlack() > query.length);
         }
         node = query.childOfPassed(*node);
      }
      return false;
   });
}

}  // namespace

template <RoutePrefix PrefixType, class CallbackType>
requires WalkCallback<CallbackType, PrefixType> PrefixType
PatriciaTrie::longestMatchOrParentImpl(const PrefixType& prefix, bool returnParent,
                                       const Corvid::Ptr<PrefixDataContainer>& dataContainer, CallbackType cb)
const {
   if (dataContainer || cb != nullptr) {
      ROUTETRIE_ASSERT(nodeDataEnabled());
   }
   const Corenet::AddressFamily queryFamily = prefix.af();
   const U32 length = prefix.len();
   if (returnParent && length == 0) {
      return noParentAnswer<PrefixType>(queryFamily);
   }
   const auto fallback = [&] { return defaultRoutePresent_ ? defaultAnswer<PrefixType>(queryFamily) : PrefixType(); };
   if (length == 0 || root_ == nullptr) {
      return fallback();
   }
   if constexpr (!std::same_as<CallbackType, std::nullptr_t>) {
      if (cb == nullptr) {
         return longestMatchOrParentImpl<PrefixType, std::nullptr_t>(prefix, returnParent, dataContainer, nullptr);
      }
   }
   return nodeClassVisit<NodePicker>(paf_, [&]<class NodeClass>(std::type_identity<NodeClass>) {
      return Search<NodeClass, PrefixType, CallbackType>(*this, dataContainer, cb)
         .run(prefix, returnParent, fallback);
   });
}

Corenet::IpGenPrefix PatriciaTrie::longestMatchCommon(const Corenet::IpGenPrefix& prefix,
                                                      const Corvid::Ptr<PrefixDataContainer>& dataContainer,
                                                      PatriciaTrieWalkCb* cb) const {
   ROUTETRIE_ASSERT(paf() != nodeTypeIpv6Compact());
   return longestMatchCommonImpl(prefix, dataContainer, cb);
}

Corenet::CompactIpPrefix PatriciaTrie::longestMatchCommonCompact(
   const Corenet::CompactIpPrefix& prefix, const Corvid::Ptr<PrefixDataContainer>& dataContainer,
   PatriciaTrieCompactWalkCb* cb) const {
   ROUTETRIE_ASSERT(paf() != nodeTypeIpv6Legacy());
   return longestMatchCommonImpl(prefix, dataContainer, cb);
}

Corenet::IpGenPrefix PatriciaTrie::findParentCommon(const Corenet::IpGenPrefix& prefix,
                                                    const Corvid::Ptr<PrefixDataContainer>& dataContainer,
                                                    PatriciaTrieWalkCb* cb) const {
   ROUTETRIE_ASSERT(paf() != nodeTypeIpv6Compact());
   return longestMatchOrParentImpl(prefix, true, dataContainer, cb);
}

Corenet::CompactIpPrefix PatriciaTrie::findParentCommonCompact(const Corenet::CompactIpPrefix& prefix,
                                                               const Corvid::Ptr<PrefixDataContainer>& dataContainer,
                                                               PatriciaTrieCompactWalkCb* cb) const {
   ROUTETRIE_ASSERT(paf() != nodeTypeIpv6Legacy());
   return longestMatchOrParentImpl(prefix, true, dataContainer, cb);
}

Corenet::IpGenPrefix PatriciaTrie::longestMatchOrParent(const Corenet::IpGenPrefix& prefix, bool returnParent,
                                                        const Corvid::Ptr<PrefixDataContainer>& dataContainer,
                                                        PatriciaTrieWalkCb* cb) const {
   ROUTETRIE_ASSERT(paf() != nodeTypeIpv6Compact());
   return longestMatchOrParentImpl(prefix, returnParent, dataContainer, cb);
}

Corenet::CompactIpPrefix PatriciaTrie::longestMatchOrParentCompact(
   const Corenet::CompactIpPrefix& prefix, bool returnParent, const Corvid::Ptr<PrefixDataContainer>& dataContainer,
   PatriciaTrieCompactWalkCb* cb) const {
   ROUTETRIE_ASSERT(paf() != nodeTypeIpv6Legacy());
   return longestMatchOrParentImpl(prefix, returnParent, dataContainer, cb);
}

bool PatriciaTrie::longerRoutePresentCommon(const Corenet::IpGenPrefix& prefix) const {
   ROUTETRIE_ASSERT(paf() != nodeTypeIpv6Compact());
   return longerRoutePresent(*this, prefix);
}

bool PatriciaTrie::longerRoutePresentCommonCompact(const Corenet::CompactIpPrefix& prefix) const {
   ROUTETRIE_ASSERT(paf() != nodeTypeIpv6Legacy());
   return longerRoutePresent(*this, prefix);
}

template Corenet::IpGenPrefix PatriciaTrie::longestMatchOrParentImpl(const Corenet::IpGenPrefix&, bool,
                                                                     const Corvid::Ptr<PrefixDataContainer>&,
                                                                     PatriciaTrieWalkCb*) const;
template Corenet::IpGenPrefix PatriciaTrie::longestMatchOrParentImpl(const Corenet::IpGenPrefix&, bool,
                                                                     const Corvid::Ptr<PrefixDataContainer>&,
                                                                     std::nullptr_t) const;
template Corenet::CompactIpPrefix PatriciaTrie::longestMatchOrParentImpl(const Corenet::CompactIpPrefix&, bool,
                                                                         const Corvid::Ptr<PrefixDataContainer>&,
                                                                         PatriciaTrieCompactWalkCb*) const;
template Corenet::CompactIpPrefix PatriciaTrie::longestMatchOrParentImpl(const Corenet::CompactIpPrefix&, bool,
                                                                         const Corvid::Ptr<PrefixDataContainer>&,
                                                                         std::nullptr_t) const;

}  // namespace Routing
