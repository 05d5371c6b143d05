// HashMap2018: a hash map whose members are nodes with a link, and which can be iterated while members come and go.
//
//    buckets [ ][*][ ][*]       each a chain of nodes of that hash
//                |      \                                                  (32 bytes a link)
//              node --> node    and through all nodes runs a list in the order in which they came
//
// M1 iteration goes by the list, from the oldest to the newest: growing moves no member, and one that comes meanwhile is met.
// M2 an iterator on a member that is deleted stays where it was, on a stale node, and advances to the member after it.
//    The node lives until the last iterator leaves it; its value has been moved out.
// M3 the map may end before its iterators, which are then at their end.
//
// The code is compiled once, for links; what it has to know of a node is in a descriptor. A node holds its key or can tell
// it from its value, as a node with a pointer to an object that knows its own key does:
//
//    struct HN_Entry : Tesk::HashMap2018Link {
//       const Key& key() const;         // or by value; asked of members only
//       Value& value();                 // unless the map is a set
//    };
//    Tesk::HashMap2018<HN_Entry, Key, Value> map;
//
// A map and its iterators belong to one thread at a time.
// Tested by tests/platform/Tesk/HashMap2018Test.cpp.
#pragma once

#include <cstddef>
#include <memory>
#include <type_traits>
#include <utility>

#include "routetrie/platform/Export.h"
#include "routetrie/platform/Types.h"

namespace Tesk {

class AllocTrackTypeInfo;
class HashMap2018Generic;
class HashMap2018IteratorGeneric;

// The base of a node; the nodes of all maps are counted by one tracker.
class ROUTETRIE_EXPORT HashMap2018Link {
  public:
   HashMap2018Link() noexcept = default;
   HashMap2018Link(const HashMap2018Link&) = delete;
   HashMap2018Link& operator=(const HashMap2018Link&) = delete;

   static AllocTrackTypeInfo* memAllocationTracker_;
   static void* operator new(std::size_t bytes);
   static void operator delete(void* memory, std::size_t bytes) noexcept;

  protected:
   ~HashMap2018Link() = default;

  private:
   friend HashMap2018Generic;
   friend HashMap2018IteratorGeneric;

   HashMap2018Link* chained_ = nullptr;  // the next in the bucket
   HashMap2018Link* before_ = nullptr;   // in the order of coming
   HashMap2018Link* after_ = nullptr;
   U32 hash_ = 0;
   U32 iterators_ : 31 = 0;  // that are on it
   U32 isStale_ : 1 = 0;     // no member any more; lives for its iterators
};

// What a map has to know of its nodes.
struct HashMap2018Descriptor {
   bool (*isKey)(const HashMap2018Link& node, const void* key);
   void (*moveValue)(HashMap2018Link& node, void* out);  // null for a set
   void (*destroy)(HashMap2018Link* node) noexcept;
};

struct HashMap2018Key {
   const void* key;
   U32 hash;  // the same for equal keys
};

class ROUTETRIE_EXPORT HashMap2018Generic {
  public:
   // An empty map, without memory of its own. It will begin with 2 to the power `initialIndex` buckets, and `flag` is kept
   // as bit 31 of the state word.
   explicit HashMap2018Generic(U8 initialIndex = 1, bool flag = false) noexcept
      : state_(initialIndex | (flag ? U32{1} << 31 : 0)) {}
   HashMap2018Generic(const HashMap2018Generic&) = delete;
   HashMap2018Generic& operator=(const HashMap2018Generic&) = delete;
   // Requires: emptied, with its storage released.
   ~HashMap2018Generic();

   // The member with that key, or null.
   HashMap2018Link* lookupNodeG(const HashMap2018Descriptor& descriptor, HashMap2018Key key) const noexcept;
   // Takes the node in as the newest member. Requires: no member has its key. Raises std::bad_alloc, and the node is the
   // caller's still.
   HashMap2018Link& newMemberG(HashMap2018Link* node, U32 hash);
   // Removes the member with that key; its value moves to `out` unless that is null. False if there is none.
   bool deleteMemberG(const HashMap2018Descriptor& descriptor, HashMap2018Key key, void* out) noexcept;
   void _memberDelAll(const HashMap2018Descriptor& descriptor) noexcept;
   // As _memberDelAll; with `releaseStorage` the buckets' memory goes, too.
   void emptyAllBuckets(const HashMap2018Descriptor& descriptor, bool releaseStorage) noexcept;

   U32 memberCount() const noexcept { return members_; }
   // Bits 0 to 7 the logarithm of the number of buckets, bits 8 to 30 the number of changes, bit 31 the flag.
   U32 state() const noexcept { return state_; }
   // The number of members that have come and gone, cut to 23 bits: two looks that find the same number found the same
   // members, unless there were millions of changes between.
   U32 changeNumber() const noexcept { return state_ >> 8 & 0x7fffff; }

  private:
   friend HashMap2018IteratorGeneric;

   std::size_t bucketCount() const noexcept { return buckets_ == nullptr ? 0 : std::size_t{1} << (state_ & 0xff); }
   HashMap2018Link*& bucketOf(U32 hash) const noexcept { return buckets_[hash & (bucketCount() - 1)]; }
   bool bucketsIs(U8 index) noexcept;
   void countChange() noexcept { state_ = (state_ & 0x800000ff) | (((state_ >> 8) + 1) & 0x7fffff) << 8; }
   void remove(const HashMap2018Descriptor& descriptor, HashMap2018Link& node, void* out) noexcept;

   HashMap2018Link** buckets_ = nullptr;
   HashMap2018Link* oldest_ = nullptr;
   HashMap2018Link* newest_ = nullptr;
   HashMap2018IteratorGeneric* iterators_ = nullptr;
   U32 members_ = 0;
   U32 state_;
};

class ROUTETRIE_EXPORT HashMap2018IteratorGeneric {
  public:
   // At the oldest member; or at the one with that key, which is the end if there is none. The descriptor is the map's.
   HashMap2018IteratorGeneric(HashMap2018Generic& map, const HashMap2018Descriptor& descriptor) noexcept;
   HashMap2018IteratorGeneric(HashMap2018Generic& map, const HashMap2018Descriptor& descriptor,
                              HashMap2018Key key) noexcept;
   HashMap2018IteratorGeneric(const HashMap2018IteratorGeneric&) = delete;
   HashMap2018IteratorGeneric& operator=(const HashMap2018IteratorGeneric&) = delete;
   ~HashMap2018IteratorGeneric();

   // To the next member, or to the end.
   void advance() noexcept;
   // The node that the iterator is on, even if it is no member any more; null at the end.
   HashMap2018Link* currNodeMaybeStale() const noexcept { return current_; }
   // The member that the iterator is on; null if it was deleted, and at the end.
   HashMap2018Link* currNodeNonStale() const noexcept {
      return current_ == nullptr || current_->isStale_ ? nullptr : current_;
   }

  private:
   friend HashMap2018Generic;

   void enter(HashMap2018Link* node) noexcept;
   void leave() noexcept;

   HashMap2018Generic* map_;  // null once it is gone
   const HashMap2018Descriptor& descriptor_;
   HashMap2018Link* current_ = nullptr;
   HashMap2018Link* resume_ = nullptr;  // the member to advance to from a stale node
   HashMap2018IteratorGeneric* next_;   // of the map's iterators
};

// A map of nodes of class NodeT, or with Value void a set.
template <class NodeT, class Key, class Value>
class HashMap2018 : public HashMap2018Generic {
  public:
   static_assert(std::is_base_of_v<HashMap2018Link, NodeT>);

   explicit HashMap2018(U8 initialIndex = 1, bool flag = false) noexcept : HashMap2018Generic(initialIndex, flag) {}
   ~HashMap2018() { emptyAllBuckets(descriptor, true); }

   NodeT* lookup(const Key& key, U32 hash) const noexcept {
      return static_cast<NodeT*>(lookupNodeG(descriptor, {&key, hash}));
   }
   // Requires: no member has the node's key. Raises std::bad_alloc.
   NodeT& newMember(std::unique_ptr<NodeT> node, U32 hash) {
      newMemberG(node.get(), hash);
      return *node.release();
   }
   // Whether there was such a member; its value moves to `out` unless that is null.
   bool deleteMember(const Key& key, U32 hash, Value* out = nullptr) noexcept {
      return deleteMemberG(descriptor, {&key, hash}, out);
   }
   void memberDelAll() noexcept { _memberDelAll(descriptor); }

   static const HashMap2018Descriptor descriptor;

  private:
   static void moveValue(HashMap2018Link& node, void* out) {
      if constexpr (!std::is_void_v<Value>) {
         *static_cast<Value*>(out) = std::move(static_cast<NodeT&>(node).value());
      }
   }
};

template <class NodeT, class Key, class Value>
constexpr HashMap2018Descriptor HashMap2018<NodeT, Key, Value>::descriptor{
   .isKey = [](const HashMap2018Link& node,
               const void* key) { return static_cast<const NodeT&>(node).key() == *static_cast<const Key*>(key); },
   .moveValue = &HashMap2018::moveValue,
   .destroy = [](HashMap2018Link* node) noexcept { delete static_cast<NodeT*>(node); }};

// A HashMap2018IteratorGeneric that knows the class of its nodes.
template <class NodeT>
class HashMap2018Iterator : public HashMap2018IteratorGeneric {
  public:
   template <class Key, class Value>
   explicit HashMap2018Iterator(HashMap2018<NodeT, Key, Value>& map) noexcept
      : HashMap2018IteratorGeneric(map, map.descriptor) {}
   template <class Key, class Value>
   HashMap2018Iterator(HashMap2018<NodeT, Key, Value>& map, const Key& key, U32 hash) noexcept
      : HashMap2018IteratorGeneric(map, map.descriptor, {&key, hash}) {}

   NodeT* currNodeMaybeStale() const noexcept {
      return static_cast<NodeT*>(HashMap2018IteratorGeneric::currNodeMaybeStale());
   }
   NodeT* currNodeNonStale() const noexcept {
      return static_cast<NodeT*>(HashMap2018IteratorGeneric::currNodeNonStale());
   }
};

}  // namespace Tesk
