// PatriciaTrieNodeWithData: a Patricia node that keeps one PrefixData object for each of its routes, in one word more.
//
// Element i of the array belongs to the i-th black length, counted upward from the shortest; the array has exactly as
// many elements as the node has black lengths. A data call and the black-bit call that follows it are briefly out of
// step, so their order matters: data moves while the black bits still stand as they were.
//
// Tested by tests/trie/patricia/PatriciaTrieNodeWithDataImplTest.cpp.
#pragma once

#include <cstddef>

#include "routetrie/platform/Corvid/Assert.h"
#include "routetrie/platform/Corvid/Create.h"
#include "routetrie/platform/Corvid/Ptr.h"
#include "routetrie/platform/Export.h"
#include "routetrie/platform/Keel/PtrInterfaceArray.h"
#include "routetrie/platform/Types.h"
#include "routetrie/trie/patricia/PatriciaTrieData.h"
#include "routetrie/trie/patricia/PatriciaTrieNodeImpl.h"

namespace PatriciaTrieImpl {

template <class Base, class PrefixType>
class PatriciaTrieNodeWithData : public Base {
  public:
   using DataPtr = Corvid::Ptr<Routing::PrefixData>;
   using DataArray = Keel::PtrInterfaceArray<Routing::PrefixData>;

   // Base(len, prefix, black), with `data` for the key's own length unless it is null.
   PatriciaTrieNodeWithData(U32 len, const PrefixType& prefix, bool black, const DataPtr& data)
      : Base(len, prefix, black) {
      if (data) {
         dataIs(len, data);
      }
   }

   // Gives the route of length `len` its object; the caller sets the black bit afterwards. Raises std::bad_alloc and
   // what the object's hooks raise, and the array is then whole.
   void dataIs(U32 len, const DataPtr& data) {
      data->onAddition();
      if (data_.size() == 0) {
         DataArray one(1);
         one.elementIs(0, data.get());
         data_ = std::move(one);
         return;
      }
      const Position at = positionOf(len);
      if (at.isBlack) {
         const DataPtr old = element(at.index);
         data_.elementIs(at.index, old->insertData(data));
         return;
      }
      const U32 size = data_.size();
      DataArray larger(size + 1);
      copy(data_, 0, at.index, larger, 0);
      larger.elementIs(at.index, data.get());
      copy(data_, at.index, size - at.index, larger, at.index + 1);
      data_ = std::move(larger);
   }

   // Takes the object of the route of length `len` away and returns it; null, with nothing changed, if the length is
   // white. Clears the black bit, unless removeData gave an object to go on with.
   DataPtr dataDel(U32 len, const DataPtr& data) {
      const Position at = positionOf(len);
      if (!at.isBlack) {
         return nullptr;
      }
      DataPtr old = element(at.index);
      if (old) {
         old->onDeletion();
         if (DataPtr next = old->removeData(data)) {
            data_.elementIs(at.index, std::move(next));
            return old;
         }
      }
      const U32 size = data_.size();
      DataArray smaller(size - 1);
      copy(data_, 0, at.index, smaller, 0);
      copy(data_, at.index + 1, size - at.index - 1, smaller, at.index);
      data_ = std::move(smaller);
      this->blackIs(len, false);
      return old;
   }

   // Adds the elements of `other`, whose lengths all lie on one side of this node's; `other` keeps its own. The caller
   // merges the black bits afterwards.
   void mergeData(PatriciaTrieNodeWithData* other) {
      const U32 size = data_.size();
      const U32 otherSize = other->data_.size();
      if (size == 0 && otherSize == 0) {
         return;
      }
      DataArray merged(size + otherSize);
      const PatriciaTrieNodeWithData* first = this;
      const PatriciaTrieNodeWithData* second = other;
      if (first->firstBlack() > second->firstBlack()) {
         std::swap(first, second);
      }
      ROUTETRIE_ASSERT(first->lastBlack() < second->firstBlack());
      const U32 firstSize = first->data_.size();
      copy(first->data_, 0, firstSize, merged, 0);
      copy(second->data_, 0, second->data_.size(), merged, firstSize);
      data_ = std::move(merged);
   }

   // Takes from `other` the elements of its lengths up to `len`. The caller moves the black bits afterwards.
   void splitData(PatriciaTrieNodeWithData* other, U32 len) {
      const U32 size = other->data_.size();
      U32 taken = 0;
      for (U32 black = other->firstBlack(); black != 0 && black <= len; black = other->nextBlack(black)) {
         ++taken;
      }
      if (size == 0 || taken == 0) {
         return;
      }
      DataArray lower(taken);
      DataArray upper(size - taken);
      copy(other->data_, 0, taken, lower, 0);
      copy(other->data_, taken, size - taken, upper, 0);
      data_ = std::move(lower);
      other->data_ = std::move(upper);
   }

   // The object of the route of length `len`, with no new reference; null if the length is white.
   Routing::PrefixData* data(U32 len) const {
      const Position at = positionOf(len);
      return at.isBlack ? data_.elementMaybeCompressed(at.index) : nullptr;
   }
   void dataDelAll() { data_.clear(); }
   const DataArray& dataArray() const noexcept { return data_; }

   static inline Tesk::AllocTrackTypeInfo* memAllocationTracker_ = nullptr;
   static void* operator new(std::size_t bytes) { return Corvid::allocateFor<PatriciaTrieNodeWithData>(bytes); }
   static void operator delete(void* memory, std::size_t bytes) noexcept {
      Corvid::releaseFor<PatriciaTrieNodeWithData>(memory, bytes);
   }

  private:
   // Where the element of a length is, or where it would belong.
   struct Position {
      U32 index;
      bool isBlack;
   };
   Position positionOf(U32 len) const {
      U32 index = 0;
      U32 black = this->firstBlack();
      while (black != 0 && black < len) {
         ++index;
         black = this->nextBlack(black);
      }
      return {index, black == len};
   }
   DataPtr element(U32 index) const { return data_.elementMaybeCompressed(index); }

   static void copy(const DataArray& from, U32 at, U32 count, DataArray& to, U32 toAt) {
      for (U32 i = 0; i < count; ++i) {
         to.elementIs(toAt + i, from.elementMaybeCompressed(at + i));
      }
   }

   DataArray data_;
};

using V4NodeWithData = PatriciaTrieNodeWithData<PatriciaTrieV4Node, Corenet::Prefix>;
using V6NodeWithData = PatriciaTrieNodeWithData<PatriciaTrieV6Node, Corenet::Ip6Prefix>;
using V6CompactNodeWithData = PatriciaTrieNodeWithData<PatriciaTrieV6CompactNode, Corenet::Ip6Prefix>;

static_assert(sizeof(V4NodeWithData) == 40);
static_assert(sizeof(V6NodeWithData) == 64);
static_assert(sizeof(V6CompactNodeWithData) == 48);

}  // namespace PatriciaTrieImpl

namespace Routing {

using PatriciaTrieImpl::PatriciaTrieNode;
using PatriciaTrieImpl::PatriciaTrieNodeType;

// The three classes of nodes with data, for trieVisit.
struct NodeWithDataPicker {
   using Ipv4 = PatriciaTrieImpl::V4NodeWithData;
   using Ipv6Legacy = PatriciaTrieImpl::V6NodeWithData;
   using Ipv6Compact = PatriciaTrieImpl::V6CompactNodeWithData;
};

// Each calls the operation of the class with data that `type` selects; `node` must be of that class.
ROUTETRIE_EXPORT void setPrefixData(PatriciaTrieNode* node, PatriciaTrieNodeType type, U32 len,
                                    const Corvid::Ptr<PrefixData>& data);
ROUTETRIE_EXPORT Corvid::Ptr<PrefixData> delPrefixData(PatriciaTrieNode* node, PatriciaTrieNodeType type, U32 len,
                                                       const Corvid::Ptr<PrefixData>& data);
// Drops all of the node's objects, with no hook called. Nothing if `nodeData` is false: the node is then a plain one.
ROUTETRIE_EXPORT void delPrefixDataAll(PatriciaTrieNode* node, PatriciaTrieNodeType type, bool nodeData);
// The object of length `len`, with no new reference; null if the length is white.
ROUTETRIE_EXPORT PrefixData* getNodeData(PatriciaTrieNodeType type, PatriciaTrieNode* node, U32 len);
// Puts the object of length `len`, or null, into the container. Nothing if `container` is null: the node may then be a
// plain one.
ROUTETRIE_EXPORT void setPrefixDataFromNode(PatriciaTrieNode* node, PatriciaTrieNodeType type, U32 len,
                                            const Corvid::Ptr<PrefixDataContainer>& container);

}  // namespace Routing
