// Trie: the routes of an intrusive trie, whose nodes (routetrie/trie/intrusive/IntrusiveTrieNode.h draws them) lie in the caller's own route
// objects. It is one pointer, for its owner to embed.
//
//    Sprig::Intrusive::Trie<Sprig::Intrusive::UserNode<Route, true, 0>> trie;
//    trie.insert(*route);                          // the trie takes a reference
//    auto match = trie._longestMatch(route->trieGetPrefix(), nullptr);
//    Route::TrieNode::of(*route)->remove();        // with the route alone, no search
//
// Nothing in it knows an address family: a prefix is bytes and a length in bits, at most 254. The null prefix (length
// 255) of a route counts as length 0; a prefix that is sought has to come as data null and length 0 then.
//
// A trie has no lock. While nobody changes it, any number of threads may search it and step from route to route at once, which
// writes nothing and calls nobody back. A route may be linked in one trie at a time. Whoever owns a trie empties it before it
// goes; a Trie does not do so by itself.
//
// Tested by tests/trie/intrusive/IntrusiveTrieInsertTest.cpp, tests/trie/intrusive/IntrusiveTrieSearchTest.cpp and by tests/property/.
#pragma once

#include <iosfwd>
#include <string>

#include "routetrie/platform/CoreFmt/Format.h"
#include "routetrie/platform/Corenet/AddressFamily.h"
#include "routetrie/platform/Corenet/PrefixDataAndLength.h"
#include "routetrie/platform/Corvid/String.h"
#include "routetrie/platform/Export.h"
#include "routetrie/platform/Keel/DisplayPointer.h"
#include "routetrie/platform/Keel/DumpList.h"
#include "routetrie/platform/Types.h"
#include "routetrie/trie/intrusive/IntrusiveTrieAudit.h"
#include "routetrie/trie/intrusive/IntrusiveTrieCompare.h"
#include "routetrie/trie/intrusive/IntrusiveTrieNode.h"

namespace Sprig::Intrusive {

namespace Impl {

// What a descent ended on.
enum class LongestMatchInternalResultMatch : U8 {
   empty = 0,         // an empty slot
   exact = 1,         // a node with the sought prefix
   moreSpecific = 2,  // a node that the sought prefix covers
   conflict = 3,      // a node that parts from it
};

// Where the node that was found would lie beneath a route of the sought prefix, or beneath the internal node that joined
// the two.
enum class LongestMatchInternalResultResolution : U8 {
   none = 0,
   belongsOnTheLeft = 1,
   belongsOnTheRight = 2,
};

// The names of the values; one outside the enumeration prints as "unknown 4".
ROUTETRIE_EXPORT std::ostream& operator<<(std::ostream& out, LongestMatchInternalResultMatch match);
ROUTETRIE_EXPORT std::ostream& operator<<(std::ostream& out, LongestMatchInternalResultResolution resolution);

}  // namespace Impl

template <class Node>
class Trie;

template <class T, int Distinguisher>
class ROUTETRIE_EXPORT Trie<UserNode<T, true, Distinguisher>> {
  public:
   using NodeBase = Impl::NodeBase<T, true, Distinguisher>;
   using User = UserNode<T, true, Distinguisher>;
   using Internal = Impl::InternalNode<User>;

   struct LongestMatchResult {
      T* route = nullptr;               // the longest route that covers the prefix; null if there is none
      bool exact = false;               // `route` has the very prefix
      NodeBase* deepestNode = nullptr;  // the longest node that covers it, which may be internal; a hint for later
   };

   Trie() noexcept = default;
   Trie(const Trie&) = delete;
   Trie& operator=(const Trie&) = delete;

   bool empty() const noexcept { return root_ == nullptr; }
   NodeBase* root() const noexcept { return root_; }

   //--- changing ---

   // Links the route, and takes a reference on it. A route of the same prefix leaves the trie, and the trie's reference
   // on it is dropped; inserting the route that is there already changes nothing. Requires: the route is not linked in
   // another trie. Raises std::bad_alloc, where two routes part: the tree is then as it was, but the reference is taken,
   // and the caller has to give it up.
   void insert(T& route);

   // Takes all routes out, the first on the left spine each time, and drops the trie's references on them. It needs no
   // memory: where there is none for the node that a route with two children leaves behind, a leaf beneath it goes first.
   void removeAll();

   //--- looking up ---

   // The longest route that covers the prefix. The search starts at the root, or at the hint, a linked node of this trie
   // that covers the prefix: the answer is the same. With a hint that does not cover it, deepestNode is the hint's parent.
   // An unlinked hint is a trieError().
   LongestMatchResult _longestMatch(const Corenet::PrefixDataAndLength& prefix, const NodeBase* hint) const noexcept;

   // The lowest node, from the hint upward, that covers both the hint and the prefix; null if there is none, or no hint.
   // A trieError() if it has to climb from an unlinked hint.
   const NodeBase* getSubtreeRootFromHint(const NodeBase* hint,
                                          const Corenet::PrefixDataAndLength& prefix) const noexcept;

   // The first route in pre-order; null if there is none. NodeBase::next() goes on from there.
   T* first() const noexcept;

   //--- showing ---

   using DumpContext = Corvid::Ptr<const Keel::DumpContext>;
   using PrefixFormatter = Corvid::String (*)(const Corenet::PrefixDataAndLength&);

   // Writes "Trie" and the whole tree beneath, behind `indent` and `indent` + 2 blanks, with prefixes as texts of that
   // family. Nothing is left out, however large the tree is.
   void dumpStateIp(const DumpContext& dumpCtx, U32 indent, Corenet::V4V6 family) const noexcept;
   // Writes a slot, and in pre-order all that lies beneath, a line each: "L - 0x..." for an empty slot; otherwise
   // "L 2001:db8::/32 0x... E 0x...": o, L or R for root, left or right (- for none of them), prefix, the slot's address,
   // E for a route or I for an internal node, and the address of the route object or of the internal node. Before it stand
   // `indent` blanks and "| " for each level of `depth`, which wraps at 256. Recurses as deep as the tree is.
   static void dumpStateDoParentPointer(const NodeBase* const* slot, ParentPtrType type, U8 depth,
                                        const DumpContext& dumpCtx, U32 indent, PrefixFormatter format) noexcept;

   //--- soundness ---

   // Checks the whole tree: empty if I1 to I5 hold, else the first broken rule and where.
   std::string audit() const { return Impl::Audit<User>().run(&root_); }

  private:
   struct Descent {
      NodeBase** slot;
      ParentPtrType type;
      Impl::LongestMatchInternalResultMatch match;
      Impl::LongestMatchInternalResultResolution resolution;
      U8 commonLength;  // bits that the prefix shares with the node that was found
   };

   // Walks from a slot to where the prefix lies beneath it.
   static Descent descend(NodeBase** slot, ParentPtrType type, const Corenet::PrefixDataAndLength& prefix) noexcept;

   // Links two children under a new parent that has none.
   static void pair(NodeBase& parent, NodeBase* left, NodeBase* right) noexcept {
      NodeBase::linkChild(&parent.left, ParentPtrType::nodeLeft, left);
      NodeBase::linkChild(&parent.right, ParentPtrType::nodeRight, right);
   }

   NodeBase* root_ = nullptr;
};

template <class T, int Distinguisher>
auto Trie<UserNode<T, true, Distinguisher>>::descend(NodeBase** slot, ParentPtrType type,
                                                     const Corenet::PrefixDataAndLength& prefix) noexcept -> Descent {
   using Difference = Impl::CompareResult::Difference;
   using Match = Impl::LongestMatchInternalResultMatch;
   using Resolution = Impl::LongestMatchInternalResultResolution;
   U8 known = 0;  // bits that the prefix shares with the node above
   while (NodeBase* node = *slot) {
      const auto [common, difference] = Impl::compare(prefix, NodeBase::prefixOf(*node), known);
      // The side by a branch: one that is guessed right has the next node on its way before this one has been compared.
      switch (difference) {
         case Difference::lhsLongerAndClear:
            slot = &node->left;
            type = ParentPtrType::nodeLeft;
            known = common;
            continue;
         case Difference::lhsLongerAndSet:
            slot = &node->right;
            type = ParentPtrType::nodeRight;
            known = common;
            continue;
         case Difference::none: return {slot, type, Match::exact, Resolution::none, common};
         case Difference::rhsLongerAndClear:
            return {slot, type, Match::moreSpecific, Resolution::belongsOnTheLeft, common};
         case Difference::rhsLongerAndSet:
            return {slot, type, Match::moreSpecific, Resolution::belongsOnTheRight, common};
         case Difference::bothLongerAndLhsSet:
            return {slot, type, Match::conflict, Resolution::belongsOnTheLeft, common};
         case Difference::bothLongerAndRhsSet:
            return {slot, type, Match::conflict, Resolution::belongsOnTheRight, common};
      }
   }
   return {slot, type, Match::empty, Resolution::none, known};
}

template <class T, int Distinguisher>
void Trie<UserNode<T, true, Distinguisher>>::insert(T& route) {
   static_assert(RouteObject<T>);
   using Match = Impl::LongestMatchInternalResultMatch;
   using Resolution = Impl::LongestMatchInternalResultResolution;
   route.incUse();
   User* node = User::of(route);
   const auto prefix = NodeBase::prefixOf(*node);
   const Descent at = descend(&root_, ParentPtrType::trieRoot, prefix);
   NodeBase* found = *at.slot;
   switch (at.match) {
      case Match::empty: NodeBase::linkChild(at.slot, at.type, node); break;
      case Match::exact:
         node->takePlaceOf(*found);
         if (found->isInternal()) {
            Internal::destroy(static_cast<Internal*>(found));
         } else {
            static_cast<User*>(found)->owner()->decUseImpl();
         }
         break;
      case Match::moreSpecific:
         if (at.resolution == Resolution::belongsOnTheLeft) {
            NodeBase::linkChild(&node->left, ParentPtrType::nodeLeft, found);
         } else {
            NodeBase::linkChild(&node->right, ParentPtrType::nodeRight, found);
         }
         NodeBase::linkChild(at.slot, at.type, node);
         break;
      case Match::conflict: {
         Internal* joint = Internal::make(prefix, at.commonLength);
         if (at.resolution == Resolution::belongsOnTheLeft) {
            pair(*joint, found, node);
         } else {
            pair(*joint, node, found);
         }
         NodeBase::linkChild(at.slot, at.type, joint);
         break;
      }
   }
}

template <class T, int Distinguisher>
void Trie<UserNode<T, true, Distinguisher>>::removeAll() {
   while (NodeBase* node = root_) {
      while (node->isInternal()) {
         node = node->left;
      }
      Impl::Emptying<User>::removeAtOrBelow(static_cast<User*>(node));
   }
}

template <class T, int Distinguisher>
auto Trie<UserNode<T, true, Distinguisher>>::_longestMatch(const Corenet::PrefixDataAndLength& prefix,
                                                           const NodeBase* hint) const noexcept
   -> LongestMatchResult {
   using Match = Impl::LongestMatchInternalResultMatch;
   NodeBase** slot = const_cast<NodeBase**>(&root_);
   ParentPtrType type = ParentPtrType::trieRoot;
   if (hint != nullptr) {
      slot = hint->slot();
      type = hint->parentType();
      if (type == ParentPtrType::none) {
         Impl::trieError();
      }
   }
   const Descent at = descend(slot, type, prefix);
   NodeBase* deepest = at.match == Match::exact ? *at.slot : NodeBase::parentAt(at.slot, at.type);
   const bool exact = at.match == Match::exact && !deepest->isInternal();
   return {NodeBase::nearestOwner(deepest), exact, deepest};
}

template <class T, int Distinguisher>
auto Trie<UserNode<T, true, Distinguisher>>::getSubtreeRootFromHint(
   const NodeBase* hint, const Corenet::PrefixDataAndLength& prefix) const noexcept -> const NodeBase* {
   if (hint == nullptr) {
      return nullptr;
   }
   const U32 common = Impl::compare(prefix, NodeBase::prefixOf(*hint), 0).commonLength;
   const NodeBase* node = hint;
   while (node != nullptr && NodeBase::prefixOf(*node).length > common) {
      node = node->parentNode();
   }
   return node;
}

template <class T, int Distinguisher>
T* Trie<UserNode<T, true, Distinguisher>>::first() const noexcept {
   if (root_ == nullptr) {
      return nullptr;
   }
   return root_->isInternal() ? root_->next() : static_cast<const User*>(root_)->owner();
}

template <class T, int Distinguisher>
void Trie<UserNode<T, true, Distinguisher>>::dumpStateIp(const DumpContext& dumpCtx, U32 indent,
                                                         Corenet::V4V6 family) const noexcept {
   using View = Corenet::PrefixDataAndLength;
   const PrefixFormatter format = family == Corenet::V4V6::v4
                                     ? PrefixFormatter([](const View& prefix) { return prefix.formatIpv4(); })
                                     : PrefixFormatter([](const View& prefix) { return prefix.formatIpv6(); });
   Keel::dumpLine(dumpCtx, indent, "Trie\n");
   dumpStateDoParentPointer(&root_, ParentPtrType::trieRoot, 0, dumpCtx, indent + 2, format);
}

template <class T, int Distinguisher>
void Trie<UserNode<T, true, Distinguisher>>::dumpStateDoParentPointer(const NodeBase* const* slot, ParentPtrType type,
                                                                      U8 depth, const DumpContext& dumpCtx,
                                                                      U32 indent, PrefixFormatter format) noexcept {
   Keel::dumpLine(dumpCtx, indent, "%s", "");
   for (U32 level = 0; level < depth; ++level) {
      Keel::_objDumpPrintf(dumpCtx, "| ");
   }
   const char position = Impl::positionLetter(type);
   const Keel::DisplayPointer slotAddress(slot);
   const NodeBase* node = *slot;
   if (node == nullptr) {
      Keel::_objDumpPrintf(dumpCtx, "%s\n", CoreFmt::format("{} - {}", position, slotAddress).c_str());
      return;
   }
   const char kind = node->isInternal() ? 'I' : 'E';
   const Keel::DisplayPointer nodeAddress(node->isInternal()
                                             ? static_cast<const void*>(static_cast<const Internal*>(node))
                                             : static_cast<const void*>(static_cast<const User*>(node)->owner()));
   const Corvid::String prefix = format(NodeBase::prefixOf(*node));
   Keel::_objDumpPrintf(dumpCtx, "%s\n",
                        CoreFmt::format("{} {} {} {} {}", position, prefix, slotAddress, kind, nodeAddress).c_str());
   const auto below = static_cast<U8>(depth + 1);
   dumpStateDoParentPointer(&node->left, ParentPtrType::nodeLeft, below, dumpCtx, indent, format);
   dumpStateDoParentPointer(&node->right, ParentPtrType::nodeRight, below, dumpCtx, indent, format);
}

}  // namespace Sprig::Intrusive
