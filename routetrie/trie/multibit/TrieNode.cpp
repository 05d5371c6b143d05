#include "routetrie/trie/multibit/TrieNode.h"

#include <cstdint>
#include <cstring>
#include <memory>
#include <new>

#include "routetrie/platform/Corvid/Assert.h"
#include "routetrie/trie/multibit/Trie.h"
#include "routetrie/trie/multibit/TrieTrace.h"

namespace TrieImpl {

Tesk::AllocTrackTypeInfo* TrieNode::memAllocationTracker_ = nullptr;
Tesk::AllocTrackTypeInfo* TrieNodeRoot::memAllocationTracker_ = nullptr;
Tesk::AllocTrackTypeInfo* TrieNodeInternal::memAllocationTracker_ = nullptr;
Tesk::AllocTrackTypeInfo* TrieNodeLeaf::memAllocationTracker_ = nullptr;

//--- nodes come and go ---

void* TrieNodeRoot::operator new(std::size_t bytes) {
   constexpr std::size_t heapAlignment = 16;
   Tesk::AllocTrackTypeInfo::_trackAllocation(&memAllocationTracker_, typeid(TrieNodeRoot), bytes, heapAlignment);
   try {
      return ::operator new(bytes);
   } catch (...) {
      Tesk::AllocTrackTypeInfo::trackDeallocation(memAllocationTracker_, bytes);
      throw;
   }
}

void TrieNodeRoot::operator delete(void* memory, std::size_t bytes) noexcept {
   Tesk::AllocTrackTypeInfo::trackDeallocation(memAllocationTracker_, bytes);
   ::operator delete(memory);
}

namespace {

// All zero. No constructor runs, so that the compiler can't take the zeroing for idle.
template <class NodeClass>
TrieNode* zeroedNode() {
   void* memory = NodeClass::operator new(sizeof(NodeClass));
   std::memset(memory, 0, sizeof(NodeClass));
   return static_cast<TrieNode*>(memory);
}

template <class NodeClass>
void freeNode(TrieNode* node) noexcept {
   NodeClass::operator delete(node, sizeof(NodeClass));
}

}  // namespace

TrieNode* newNode(U32 level, U32 key) {
   TrieNode* node = level <= 1          ? zeroedNode<TrieNodeRoot>()
                    : level < leafLevel ? zeroedNode<TrieNodeInternal>()
                                        : zeroedNode<TrieNodeLeaf>();
   node->placeIs(level, key);
   return node;
}

void deleteNodeAlone(TrieNode* node) noexcept {
   const U32 level = node->level();
   if (level <= 1) {
      freeNode<TrieNodeRoot>(node);
   } else if (level < leafLevel) {
      freeNode<TrieNodeInternal>(node);
   } else {
      freeNode<TrieNodeLeaf>(node);
   }
}

void deleteNode(TrieNode* node) noexcept {
   if (node == nullptr) {
      return;
   }
   if (node->isIndirect()) {
      for (U32 key = 0; key < levelEntries[node->level()]; ++key) {
         deleteNode(node->u_.indirect_[key]);
      }
      delete[] node->u_.indirect_;
   } else {
      for (U32 i = 0; i < node->children(); ++i) {
         deleteNode(node->u_.direct_[i]);
      }
   }
   deleteNodeAlone(node);
}

//--- children ---

TrieNode* TrieNode::getChild(U32 key, Routing::Trie* trie) {
   ROUTETRIE_ASSERT(level() < leafLevel, "level_ < 5");
   if (TrieNode* known = child(key)) {
      return known;
   }
   // The array first: should there be no memory for it, there is no child yet to be lost.
   std::unique_ptr<TrieNode*[]> array;
   if (children() == directChildren) {
      array = std::make_unique<TrieNode*[]>(levelEntries[level()]);
   }
   TrieNode* made = newNode(level() + 1, key);
   trie->nodesInc(1);
   linkChild(made, array.release());
   return made;
}

// Links a child that is not there yet. `array`, empty, is for the fourth child alone, and becomes the node's.
void TrieNode::linkChild(TrieNode* made, TrieNode** array) {
   const U32 ckey = made->key();
   const U32 count = children();
   if (count < directChildren) {
      for (U32 i = 0; i < count; ++i) {
         ROUTETRIE_ASSERT(made != u_.direct_[i], "c != u_.direct_[ i ]");  // cannot fail: it is new
      }
      childKey_[count] = static_cast<U8>(ckey);
      u_.direct_[count] = made;
      childrenInc(1);
      return;
   }
   if (count == directChildren) {
      for (U32 i = 0; i < directChildren; ++i) {
         array[childKey_[i]] = u_.direct_[i];
      }
      u_.indirect_ = array;
   }
   TrieNode** const indirect = u_.indirect_;
   ROUTETRIE_ASSERT(!indirect[ckey], "!indirect[ ckey ]");  // cannot fail: child() has just looked there
   indirect[ckey] = made;
   childrenInc(1);
   ROUTETRIE_ASSERT(children() <= 256, "children_ <= 256");
}

void TrieNode::deleteChild(TrieNode* child) {
   const U32 key = child->key();
   ROUTETRIE_TRACE(trieTrace, 1) << static_cast<const void*>(this) << ": deleteChild(" << key << ") @"
                                 << child->level() << ": " << children();
   childrenInc(-1);
   const U32 count = children();
   deleteNodeAlone(child);
   if (count < directChildren) {
      for (U32 i = 0; i < count; ++i) {
         if (childKey_[i] == key) {
            childKey_[i] = childKey_[count];
            u_.direct_[i] = u_.direct_[count];
         }
      }
      return;
   }
   TrieNode** const array = u_.indirect_;
   array[key] = nullptr;
   if (count == directChildren) {
      U32 found = 0;
      for (U32 i = 0; found < directChildren; ++i) {
         if (array[i] != nullptr) {
            childKey_[found] = static_cast<U8>(i);
            u_.direct_[found] = array[i];
            ++found;
         }
      }
      delete[] array;
   }
}

void TrieNode::audit() {
   if (level() >= 2 || !isIndirect()) {
      return;
   }
   for (U32 i = 0; i < 256; ++i) {
      ROUTETRIE_ASSERT(u_.indirect_[i] == nullptr || reinterpret_cast<std::uintptr_t>(u_.indirect_[i]) > 0x4096,
                       "u_.indirect_[ i ] == 0 || ( ( uintptr_t )u_.indirect_[ i ] ) > 0x4096");
   }
}

}  // namespace TrieImpl
