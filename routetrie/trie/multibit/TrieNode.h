// TrieNode: one node of a multibit trie, a plain packed record. Its class follows from its level and is stored nowhere.
//
//    header, one word           key 0-7 | routes 8-16 | level 17-22 | children 23-31     (bits, from the low one)
//    TrieNodeRoot      288 bytes  header  3 child keys  children  256 route bytes          levels 0 and 1
//    TrieNodeInternal   48 bytes  header  3 child keys  children   16 route bytes          levels 2 to 4
//    TrieNodeLeaf       20 bytes  header                           16 route bytes          level 5
//
// Up to three children stand in the node, their keys beside them in no order (direct form). From the fourth on there is an
// array by key (indirect form), and back at three there is none: the count alone tells the form.
//
//      routes 10.0.0.0/7, 10.0.0.0/8, 11.128.0.0/9      level 0, key 10   route byte 00000011
//                                                                key 11   route byte 00000010 -> level 1, keys 128 to 255:
//                                                                                               route byte 10000000
// I1 a node's key and level never change.
// I2 a node's children are one level below it.
// I3 a node holds a route or a child; the node of level 0 may hold neither, and so may those that an addition had made when it
//    ran out of memory.
// I4 a route's bit (routetrie/trie/multibit/TrieGeometry.h) is set in all the entries that the route covers, or in none.
// I5 `routes` counts a route once, however many entries it has; `children` counts the filled slots.
//
// Pointers to nodes of every level are TrieNode*. A leaf is less than that: of one, only what TrieNodeBase has may be
// touched, and child(), which answers null. Its route bytes stand elsewhere too: ask routeByte().
//
// Tested by tests/trie/multibit/TrieNodeTest.cpp (`drawing` builds the one above).
#pragma once

#include <cstddef>
#include <iosfwd>

#include "routetrie/platform/Corenet/Prefix.h"
#include "routetrie/platform/Corvid/Create.h"
#include "routetrie/platform/Export.h"
#include "routetrie/platform/Types.h"
#include "routetrie/trie/multibit/TrieGeometry.h"

namespace Routing {
class Trie;
}  // namespace Routing

namespace TrieImpl {

class TrieNode;

class TrieNodeBase {
  public:
   U32 key() const noexcept { return header_ & 0xff; }  // the node's index in its parent; 0 at level 0
   U32 routes() const noexcept { return header_ >> routesShift & 0x1ff; }
   U32 level() const noexcept { return header_ >> levelShift & 0x3f; }
   U32 children() const noexcept { return header_ >> childrenShift; }

   // Whether the node holds neither a route nor a child.
   bool isBare() const noexcept { return (header_ & 0xff81ff00) == 0; }
   bool isIndirect() const noexcept { return header_ >> 16 >= 512; }
   bool isLeaf() const noexcept { return level() == leafLevel; }

   void placeIs(U32 level, U32 key) noexcept { header_ = level << levelShift | key; }
   void routesInc(int by) noexcept { header_ += static_cast<U32>(by) << routesShift; }
   void childrenInc(int by) noexcept { header_ += static_cast<U32>(by) << childrenShift; }

  private:
   static constexpr U32 routesShift = 8;
   static constexpr U32 levelShift = 17;
   static constexpr U32 childrenShift = 23;

   U32 header_;
};

class ROUTETRIE_EXPORT TrieNode : public TrieNodeBase {
  public:
   static constexpr U32 directChildren = 3;

   // Null if there is none. Requires: in indirect form `key` is below levelEntries of the node's level.
   TrieNode* child(U32 key) const noexcept {
      if (isIndirect()) {
         return u_.indirect_[key];
      }
      const U32 count = children();
      for (U32 i = 0; i < directChildren; ++i) {
         if (i < count && childKey_[i] == key) {
            return u_.direct_[i];
         }
      }
      return nullptr;
   }

   // Entry `index` of the route bytes. Requires: `index` is below levelEntries of the node's level.
   const U8& routeByte(U32 index) const noexcept {
      return isLeaf() ? routeByteOfLeaf(index) : routeByteAboveLeaf(index);
   }
   U8& routeByte(U32 index) noexcept { return const_cast<U8&>(static_cast<const TrieNode*>(this)->routeByte(index)); }
   // The same where the caller knows the level.
   const U8& routeByteOfLeaf(U32 index) const noexcept { return bytes()[sizeof(TrieNodeBase) + index]; }
   const U8& routeByteAboveLeaf(U32 index) const noexcept { return bytes()[sizeof(TrieNode) + index]; }

   // The child with that key, made if there is none; `trie` counts it. Asserts "level_ < 5". Raises std::bad_alloc, and
   // has then changed nothing.
   TrieNode* getChild(U32 key, Routing::Trie* trie);
   // Destroys a child that has no children itself.
   void deleteChild(TrieNode* child);

   // Adds the route with route bit `len` that starts at entry `key`; node and trie count it if it is new. Asserts
   // "len && len <= 128".
   void doSetRouteBits(U16 key, U8 len, Routing::Trie* trie);

   // Whether the node holds a route longer than the prefix and beneath it, or a child there. Requires: this is the node
   // that would hold the prefix.
   bool longerRoutePresent(const Corenet::Prefix& prefix) const noexcept;
   // The parent, found from the root down along the prefix's address: null for the root. Asserts "node" where a step finds
   // none. Requires: the node lies on the way to the prefix.
   TrieNode* parent(const Corenet::Prefix& prefix, TrieNode* root);

   // Aborts at a child pointer of a 256-way node that can't be one:
   // "u_.indirect_[ i ] == 0 || ( ( uintptr_t )u_.indirect_[ i ] ) > 0x4096". Nodes with other arrays are not looked at.
   void audit();

   // Writes the node and all beneath it, to standard output or to `out`; `prefix` is its address, in host order.
   void doDump(U32 prefix);
   void doDump(std::ostream& out, U32 prefix);

   static Tesk::AllocTrackTypeInfo* memAllocationTracker_;

   U8 childKey_[directChildren];  // of the direct children
   union {
      TrieNode* direct_[directChildren];
      TrieNode** indirect_;  // owned; levelEntries slots, null where there is no child
   } u_;

  private:
   const U8* bytes() const noexcept { return reinterpret_cast<const U8*>(this); }
   void linkChild(TrieNode* made, TrieNode** array);
};

// Levels 0 and 1; from the general heap.
class ROUTETRIE_EXPORT TrieNodeRoot : public TrieNode {
  public:
   U8 routeBits_[256];

   static Tesk::AllocTrackTypeInfo* memAllocationTracker_;
   static void* operator new(std::size_t bytes);
   static void operator delete(void* memory, std::size_t bytes) noexcept;
};

// Levels 2 to 4; from the slab.
class ROUTETRIE_EXPORT TrieNodeInternal : public TrieNode {
  public:
   U8 routeBits_[16];

   static Tesk::AllocTrackTypeInfo* memAllocationTracker_;
   static void* operator new(std::size_t bytes) { return Corvid::allocateFor<TrieNodeInternal>(bytes); }
   static void operator delete(void* memory, std::size_t bytes) noexcept {
      Corvid::releaseFor<TrieNodeInternal>(memory, bytes);
   }
};

// Level 5; from the slab.
class ROUTETRIE_EXPORT TrieNodeLeaf : public TrieNodeBase {
  public:
   U8 routeBits_[16];

   static Tesk::AllocTrackTypeInfo* memAllocationTracker_;
   static void* operator new(std::size_t bytes) { return Corvid::allocateFor<TrieNodeLeaf>(bytes); }
   static void operator delete(void* memory, std::size_t bytes) noexcept {
      Corvid::releaseFor<TrieNodeLeaf>(memory, bytes);
   }
};

// routeByte() counts on the route bytes standing right behind what TrieNode and TrieNodeBase have.
static_assert(sizeof(TrieNodeBase) == 4 && sizeof(TrieNode) == 32);
static_assert(sizeof(TrieNodeLeaf) == 20 && sizeof(TrieNodeInternal) == 48 && sizeof(TrieNodeRoot) == 288);

// A new node of that level without routes or children. Raises std::bad_alloc.
ROUTETRIE_EXPORT TrieNode* newNode(U32 level, U32 key);
// Destroys the node alone; its children and their array are the caller's to see to.
ROUTETRIE_EXPORT void deleteNodeAlone(TrieNode* node) noexcept;
// Destroys the node and everything beneath it; null is let be. No counter of a trie is changed.
ROUTETRIE_EXPORT void deleteNode(TrieNode* node) noexcept;

// The node that holds routes of the prefix's length on the way to it, from `root`, the node of level 0, down; null where
// the way ends before, or if `root` is null.
inline TrieNode* lpmNode(TrieNode* root, const Corenet::Prefix& prefix) {
   const U32 address = prefix.bits().word();
   const U32 last = levelOf(prefix.len());
   TrieNode* node = root;
   for (U32 level = 0; level < last && node != nullptr; ++level) {
      node = node->child(keyi(level, address));
   }
   return node;
}

}  // namespace TrieImpl
