// The nodes of an intrusive trie. A route is the caller's own object with a UserNode in it, and that node is the route's
// place in the tree: storing a route allocates nothing for it, and from the route alone one gets to its parent, to the
// next route, and out of the trie. Where two routes part and no route lies, an InternalNode joins them.
//
//    root slot                              routes 2001:db8::/32, 2001:db8:1::/48, 2001:db9::/32
//       |
//    I 2001:db8::/31                        an InternalNode: 32 bytes and the 4 bytes of its prefix
//     0/          \1
//    U 2001:db8::/32   U 2001:db9::/32      UserNodes: 24 bytes within the route objects
//     0/
//    U 2001:db8:1::/48
//
// A slot is the pointer variable that holds a node: the trie's root, or a node's left or right. Every linked node knows
// its slot and the slot's kind, so a parent is found from the slot's address: `left` is a node's first field.
//
//    offset 0   left          the child whose next bit is clear
//           8   parentWord    bits 0-1 the slot's kind; bit 2 set in an InternalNode; bits 3-63 the slot's address
//          16   right         the child whose next bit is set
//          24   length (U8), data (ceil(length / 8) bytes), of an InternalNode only
//
// I1 an internal node has two children. A user node has none, one or two.
// I2 a child is longer than its parent, its first bits are the parent's, and its next bit is clear if it is `left` and
//    set if it is `right`. Bit 0 is the most significant bit of byte 0.
// I3 no two user nodes have one prefix.
// I4 the trie owns one reference on each linked user object, and owns each internal node.
// I5 the slot of a linked node holds that node, and the node's type is the slot's kind.
//
// The class T of the routes has to offer (RouteObject below spells it out)
//    - a counted reference: it is a Corvid::Node;
//    - trieGetPrefix(), a view of its prefix, which must not change while the node is linked;
//    - trieNodeMember, which tells where in T the node is embedded; it may be anywhere.
// A route whose length reads as 255 (the null prefix) lies where a prefix of length 0 lies. T's destructor has to call
// remove() if the node is still linked, which it is only if somebody gave up a reference that was not theirs: the trie has one.
// That remove() ends the process if the route has two children and there is no memory for the node that joins them.
//
// Nothing here is safe for threads but the reference counts. Nothing here recurses.
// Tested by tests/trie/intrusive/IntrusiveTrieNodeTest.cpp and tests/trie/intrusive/IntrusiveTrieRemoveTest.cpp.
#pragma once

#include <bit>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <iosfwd>
#include <new>
#include <type_traits>
#include <typeinfo>

#include "routetrie/platform/CoreSlab/Slab.h"
#include "routetrie/platform/Corenet/PrefixDataAndLength.h"
#include "routetrie/platform/Corvid/MemTrack.h"
#include "routetrie/platform/Corvid/Node.h"
#include "routetrie/platform/Export.h"
#include "routetrie/platform/Types.h"

namespace Sprig::Intrusive {

namespace Impl {

// The kind of the slot that holds a node.
enum class ParentPtrType : U8 {
   none = 0,      // not linked
   trieRoot = 1,  // held by the trie's root
   nodeLeft = 2,  // held by a parent's left
   nodeRight = 3,
};

// The name of the value; one outside the enumeration prints as "unknown 4".
ROUTETRIE_EXPORT std::ostream& operator<<(std::ostream& out, ParentPtrType type);

// How a dump shows the kind: o, L or R, and - for any other.
ROUTETRIE_EXPORT char positionLetter(ParentPtrType type) noexcept;

// The end of every operation that meets a structure that cannot be: asserts "false".
[[noreturn]] ROUTETRIE_EXPORT void trieError();

inline constexpr std::uint64_t parentTypeMask = 3;
inline constexpr std::uint64_t internalFlag = 4;
inline constexpr std::uint64_t slotMask = ~std::uint64_t{7};

// The length of a prefix that is none, and that is taken for a prefix of length 0.
inline constexpr U32 nullLength = 255;

template <class T, bool HasParentPointers, int Distinguisher>
class UserNode;
template <class User>
class InternalNode;
template <class User>
struct Emptying;

template <class T, bool HasParentPointers, int Distinguisher>
class ROUTETRIE_EXPORT NodeBase {
   static_assert(HasParentPointers, "a node without parentWord could neither be removed nor stepped from");

  public:
   using User = UserNode<T, HasParentPointers, Distinguisher>;
   using Internal = InternalNode<User>;

   NodeBase() noexcept = default;
   NodeBase(const NodeBase&) = delete;
   NodeBase& operator=(const NodeBase&) = delete;

   //--- what the node is, and where ---

   bool isInternal() const noexcept { return (parentWord & internalFlag) != 0; }
   ParentPtrType parentType() const noexcept { return static_cast<ParentPtrType>(parentWord & parentTypeMask); }
   bool isLinked() const noexcept { return parentType() != ParentPtrType::none; }
   // The slot that holds the node; null when it is not linked.
   NodeBase** slot() const noexcept { return reinterpret_cast<NodeBase**>(parentWord & slotMask); }

   // The node that has the slot as a field; null for a trie's root. A type of none is a trieError().
   static NodeBase* parentAt(const NodeBase* const* slot, ParentPtrType type) noexcept;
   NodeBase* parentNode() const noexcept { return parentAt(slot(), parentType()); }

   // The slot of the child that lies right, or left.
   static ParentPtrType childType(bool isRight) noexcept {
      return static_cast<ParentPtrType>(static_cast<U8>(ParentPtrType::nodeLeft) + U8{isRight});
   }
   // The field of a node that is a slot of that type, nodeLeft or nodeRight. By arithmetic: no one can predict a side.
   static NodeBase** slotOf(NodeBase* node, ParentPtrType type) noexcept {
      return reinterpret_cast<NodeBase**>(reinterpret_cast<std::uint64_t>(node) + distanceOf(type));
   }

   // The node's prefix; the null prefix reads as data null and length 0.
   static Corenet::PrefixDataAndLength prefixOf(const NodeBase& node) noexcept;

   // The nearest route at the node or above it; null if there is none.
   static T* nearestOwner(NodeBase* node) noexcept;

   //--- changing the structure ---

   // Puts the node into the slot, of that kind, and empties the slot that the node was in. A node that stood in `slot` is
   // unlinked, with its children still beneath it. Every change of structure goes through here.
   static void linkChild(NodeBase** slot, ParentPtrType type, NodeBase* node) noexcept;
   // Makes this node, which has no children, stand where `other` stands, with the children of `other`. `other` may be
   // this node itself.
   void takePlaceOf(NodeBase& other) noexcept;

   //--- pre-order: node, left subtree, right subtree; shorter prefixes before those that they cover ---

   // The next route; null after the last.
   T* next() const noexcept;
   // The next node, internal ones included; past the whole subtree if `skipSubtree`. See below for `minLength`.
   NodeBase* nextNode(bool skipSubtree, U8 minLength) const noexcept;
   // The first node after the subtree that the slot holds; null if there is none. The walk up ends with null at an
   // ancestor shorter than `minLength` bits or of the null prefix: so it stays below that length. 0 lets it go anywhere.
   // A slot of type none is a trieError().
   // `NodePointer` is a pointer to a node, to const or not.
   template <class NodePointer>
   static NodePointer nextNodeOutsideSubtree(const NodeBase* const* slot, ParentPtrType type, U8 minLength) noexcept {
      static_assert(std::same_as<std::remove_const_t<std::remove_pointer_t<NodePointer>>, NodeBase>);
      while (NodeBase* parent = parentAt(slot, type)) {
         if (minLength != 0 && minLength > prefixOf(*parent).length) {
            return nullptr;
         }
         if (type == ParentPtrType::nodeLeft && parent->right != nullptr) {
            return parent->right;
         }
         slot = parent->slot();
         type = parent->parentType();
      }
      return nullptr;
   }

   NodeBase* left = nullptr;
   std::uint64_t parentWord = 0;
   NodeBase* right = nullptr;

  protected:
   ~NodeBase() = default;

   // The half of linkChild that is left when `slot` holds nothing that has to be told, and no slot holds the node.
   static void occupy(NodeBase** slot, ParentPtrType type, NodeBase* node) noexcept {
      *slot = node;
      node->parentWord =
         reinterpret_cast<std::uint64_t>(slot) | static_cast<std::uint64_t>(type) | (node->parentWord & internalFlag);
   }

  private:
   // Bytes from a node to its slot of the type.
   static std::uint64_t distanceOf(ParentPtrType type) noexcept {
      static_assert(std::is_standard_layout_v<NodeBase> && offsetof(NodeBase, left) == 0);
      return std::uint64_t{type == ParentPtrType::nodeRight} * offsetof(NodeBase, right);
   }
};

// What joins two routes that part, owned by the trie. Its size varies with its length.
template <class T, int Distinguisher>
class ROUTETRIE_EXPORT InternalNode<UserNode<T, true, Distinguisher>> final
   : public NodeBase<T, true, Distinguisher> {
  public:
   // A node of the first `bits` bits of the prefix, unlinked and without children. Bits of the last byte past the length
   // stay as they come. Requires: `bits` is at most the prefix's length. Raises std::bad_alloc.
   static InternalNode* make(const Corenet::PrefixDataAndLength& prefix, U32 bits) {
      Corvid::MemTrack::Impl::alloc(&tracker_, typeid(InternalNode), trackedBytes, 1);
      void* memory = nullptr;
      try {
         memory = CoreSlab::slabAlloc(allocationBytes(bits));
      } catch (...) {
         Corvid::MemTrack::Impl::dealloc(tracker_, 1);
         throw;
      }
      auto* node = new (memory) InternalNode(static_cast<U8>(bits));
      if (bits != 0) {
         std::memcpy(static_cast<U8*>(memory) + dataOffset, prefix.data, dataBytes(bits));
      }
      return node;
   }
   // Requires: the node is unlinked. Its children are let be.
   static void destroy(InternalNode* node) noexcept {
      Corvid::MemTrack::Impl::dealloc(tracker_, 1);
      node->~InternalNode();
      CoreSlab::slabFree(node, typeid(InternalNode));
   }

   U8 length() const noexcept { return length_; }  // bits
   const U8* data() const noexcept { return reinterpret_cast<const U8*>(this) + dataOffset; }

   static constexpr std::size_t dataBytes(U32 bits) { return (bits + 7) / 8; }
   static constexpr std::size_t allocationBytes(U32 bits) { return sizeof(InternalNode) + dataBytes(bits); }

   // Counts each node as `trackedBytes`, whatever its length: that of an IPv6 address and the node.
   static constexpr std::size_t trackedBytes = 48;
   static inline Tesk::AllocTrackTypeInfo* tracker_ = nullptr;

  private:
   explicit InternalNode(U8 bits) noexcept : length_(bits) {
      static_assert(sizeof(InternalNode) == 32);
      this->parentWord = internalFlag;
   }
   ~InternalNode() = default;

   static constexpr std::size_t dataOffset = sizeof(NodeBase<T, true, Distinguisher>) + 1;

   U8 length_;  // bits; the data follows right behind it
};

// The node that a route object embeds. All its fields are zero while it is detached.
template <class T, bool HasParentPointers, int Distinguisher>
class ROUTETRIE_EXPORT UserNode final : public NodeBase<T, HasParentPointers, Distinguisher> {
  public:
   using Base = NodeBase<T, HasParentPointers, Distinguisher>;

   // The object that embeds the node.
   T* owner() const noexcept {
      // A pointer to a data member is the member's distance from the start of the object.
      const auto distance = static_cast<std::uint64_t>(std::bit_cast<std::ptrdiff_t>(T::trieNodeMember));
      return reinterpret_cast<T*>(reinterpret_cast<std::uint64_t>(this) - distance);
   }
   // The node that the object embeds.
   static UserNode* of(T& owner) noexcept { return &(owner.*T::trieNodeMember); }

   // The route above this one; null if there is none. A trieError() if this one is not linked.
   T* parent() const noexcept { return Base::nearestOwner(this->parentNode()); }

   // Takes the route out of its trie, in time that does not depend on the trie's size, and drops the trie's reference,
   // which may destroy the owner. A route with two children leaves an internal node in its place: raises std::bad_alloc,
   // and then nothing has changed. A trieError() if the node is not linked, or stands alone under an internal node.
   void remove();

   // Takes this route out and puts `other` in its place: the trie takes a reference on it, and then drops the one on this
   // node's owner. A trieError() unless this node is linked, `other` is not, and their prefixes are equal.
   void replaceWith(T& other);

  private:
   friend Emptying<UserNode>;

   // remove() up to the trie's reference, which is then the caller's to drop.
   void unlink();
   void unlinkLeaf();
};

// Takes a route out of a trie that is being emptied, without need for memory.
template <class User>
struct Emptying {
   // Takes out the route of this node, or, where that takes memory that isn't there, a leaf beneath it.
   static void removeAtOrBelow(User* node) {
      try {
         node->unlink();
      } catch (const std::bad_alloc&) {
         typename User::Base* leaf = node;
         while (leaf->left != nullptr || leaf->right != nullptr) {
            leaf = leaf->left != nullptr ? leaf->left : leaf->right;
         }
         node = static_cast<User*>(leaf);
         node->unlinkLeaf();
      }
      node->owner()->decUseImpl();
   }
};

//--- NodeBase ---

template <class T, bool HasParentPointers, int Distinguisher>
auto NodeBase<T, HasParentPointers, Distinguisher>::parentAt(const NodeBase* const* slot, ParentPtrType type) noexcept
   -> NodeBase* {
   if (type >= ParentPtrType::nodeLeft) {
      return reinterpret_cast<NodeBase*>(reinterpret_cast<std::uint64_t>(slot) - distanceOf(type));
   }
   if (type == ParentPtrType::trieRoot) {
      return nullptr;
   }
   trieError();
}

template <class T, bool HasParentPointers, int Distinguisher>
Corenet::PrefixDataAndLength NodeBase<T, HasParentPointers, Distinguisher>::prefixOf(const NodeBase& node) noexcept {
   if (node.isInternal()) {
      const auto& internal = static_cast<const Internal&>(node);
      return {internal.data(), internal.length()};
   }
   const Corenet::PrefixDataAndLength prefix = static_cast<const User&>(node).owner()->trieGetPrefix();
   return prefix.length == nullLength ? Corenet::PrefixDataAndLength{} : prefix;
}

template <class T, bool HasParentPointers, int Distinguisher>
T* NodeBase<T, HasParentPointers, Distinguisher>::nearestOwner(NodeBase* node) noexcept {
   while (node != nullptr && node->isInternal()) {
      node = node->parentNode();
   }
   return node == nullptr ? nullptr : static_cast<const User*>(node)->owner();
}

template <class T, bool HasParentPointers, int Distinguisher>
void NodeBase<T, HasParentPointers, Distinguisher>::linkChild(NodeBase** slot, ParentPtrType type,
                                                              NodeBase* node) noexcept {
   // The occupant first: it may be `node` itself, whose slot must not be emptied then.
   if (*slot != nullptr) {
      (*slot)->parentWord &= internalFlag;
   }
   if (NodeBase** old = node->slot(); old != nullptr) {
      *old = nullptr;
   }
   occupy(slot, type, node);
}

template <class T, bool HasParentPointers, int Distinguisher>
void NodeBase<T, HasParentPointers, Distinguisher>::takePlaceOf(NodeBase& other) noexcept {
   linkChild(other.slot(), other.parentType(), this);
   if (other.left != nullptr) {
      linkChild(&left, ParentPtrType::nodeLeft, other.left);
   }
   if (other.right != nullptr) {
      linkChild(&right, ParentPtrType::nodeRight, other.right);
   }
}

template <class T, bool HasParentPointers, int Distinguisher>
T* NodeBase<T, HasParentPointers, Distinguisher>::next() const noexcept {
   const NodeBase* node = this;
   do {
      node = node->nextNode(false, 0);
   } while (node != nullptr && node->isInternal());
   return node == nullptr ? nullptr : static_cast<const User*>(node)->owner();
}

template <class T, bool HasParentPointers, int Distinguisher>
auto NodeBase<T, HasParentPointers, Distinguisher>::nextNode(bool skipSubtree, U8 minLength) const noexcept
   -> NodeBase* {
   if (!skipSubtree && left != nullptr) {
      __builtin_prefetch(right);  // by its turn it is here
      return left;
   }
   if (!skipSubtree && right != nullptr) {
      return right;
   }
   return nextNodeOutsideSubtree<NodeBase*>(slot(), parentType(), minLength);
}

//--- UserNode ---

template <class T, bool HasParentPointers, int Distinguisher>
void UserNode<T, HasParentPointers, Distinguisher>::remove() {
   unlink();
   owner()->decUseImpl();
}

template <class T, bool HasParentPointers, int Distinguisher>
void UserNode<T, HasParentPointers, Distinguisher>::unlink() {
   if (!this->isLinked()) {
      trieError();
   }
   if (this->left == nullptr && this->right == nullptr) {
      unlinkLeaf();
   } else if (this->left != nullptr && this->right != nullptr) {
      const auto prefix = Base::prefixOf(*this);
      Base::Internal::make(prefix, prefix.length)->takePlaceOf(*this);
   } else {
      Base::linkChild(this->slot(), this->parentType(), this->left != nullptr ? this->left : this->right);
   }
}

template <class T, bool HasParentPointers, int Distinguisher>
void UserNode<T, HasParentPointers, Distinguisher>::unlinkLeaf() {
   const ParentPtrType type = this->parentType();
   Base* parent = this->parentNode();
   if (parent == nullptr || !parent->isInternal()) {
      *this->slot() = nullptr;
      this->parentWord = 0;
      return;
   }
   Base* sibling =
      *Base::slotOf(parent, type == ParentPtrType::nodeLeft ? ParentPtrType::nodeRight : ParentPtrType::nodeLeft);
   if (sibling == nullptr) {
      trieError();
   }
   this->parentWord = 0;
   // Both slots of the parent go with it, so neither they nor the place that it stands in need be read.
   Base::occupy(parent->slot(), parent->parentType(), sibling);
   Base::Internal::destroy(static_cast<typename Base::Internal*>(parent));
}

template <class T, bool HasParentPointers, int Distinguisher>
void UserNode<T, HasParentPointers, Distinguisher>::replaceWith(T& other) {
   UserNode* node = of(other);
   if (!this->isLinked() || node->isLinked() || !(Base::prefixOf(*this) == Base::prefixOf(*node))) {
      trieError();
   }
   other.incUse();
   node->takePlaceOf(*this);
   owner()->decUseImpl();
}

}  // namespace Impl

using Impl::ParentPtrType;
using Impl::UserNode;

// What the class of the routes has to offer; assert it behind the class:
//
//    class Route : public Corvid::Node {
//      public:
//       using TrieNode = Sprig::Intrusive::UserNode<Route, true, 0>;
//       Corenet::PrefixDataAndLength trieGetPrefix() const;
//      private:
//       TrieNode node_;
//      public:
//       static constexpr TrieNode Route::*trieNodeMember = &Route::node_;
//    };
//    static_assert(Sprig::Intrusive::RouteObject<Route>);
template <class T>
concept RouteObject = std::derived_from<T, Corvid::Node> && requires(T& route, const T& constRoute) {
   { constRoute.trieGetPrefix() } -> std::same_as<Corenet::PrefixDataAndLength>;
   // The same type whatever its second and third argument.
   { (route.*T::trieNodeMember).owner() } -> std::same_as<T*>;
};

}  // namespace Sprig::Intrusive
