#include "routetrie/platform/Tesk/HashMap2018.h"

#include <new>

#include "routetrie/platform/CoreSlab/Slab.h"
#include "routetrie/platform/Corvid/Create.h"

namespace Tesk {

AllocTrackTypeInfo* HashMap2018Link::memAllocationTracker_ = nullptr;

void* HashMap2018Link::operator new(std::size_t bytes) { return Corvid::allocateFor<HashMap2018Link>(bytes); }

void HashMap2018Link::operator delete(void* memory, std::size_t bytes) noexcept {
   Corvid::releaseFor<HashMap2018Link>(memory, bytes);
}

HashMap2018Generic::~HashMap2018Generic() {
   for (auto* iterator = iterators_; iterator != nullptr; iterator = iterator->next_) {
      iterator->map_ = nullptr;
   }
}

HashMap2018Link* HashMap2018Generic::lookupNodeG(const HashMap2018Descriptor& descriptor,
                                                 HashMap2018Key key) const noexcept {
   if (members_ == 0) {
      return nullptr;
   }
   HashMap2018Link* node = bucketOf(key.hash);
   while (node != nullptr && !(node->hash_ == key.hash && descriptor.isKey(*node, key.key))) {
      node = node->chained_;
   }
   return node;
}

// Moves all members to 2 to the power `index` buckets; false if there is no memory for them.
bool HashMap2018Generic::bucketsIs(U8 index) noexcept {
   const std::size_t bytes = sizeof(HashMap2018Link*) << index;
   auto* const buckets = static_cast<HashMap2018Link**>(CoreSlab::slabAllocOrStdMalloc(bytes, 0));
   if (buckets == nullptr) {
      return false;
   }
   CoreSlab::slabFreeOrStdFree(std::exchange(buckets_, buckets));
   state_ = (state_ & ~U32{0xff}) | index;
   for (HashMap2018Link* node = oldest_; node != nullptr; node = node->after_) {
      node->chained_ = std::exchange(bucketOf(node->hash_), node);
   }
   return true;
}

HashMap2018Link& HashMap2018Generic::newMemberG(HashMap2018Link* node, U32 hash) {
   constexpr U8 lastIndex = 31;
   const U8 index = static_cast<U8>(state_ & 0xff);
   if (buckets_ == nullptr) {
      if (!bucketsIs(index)) {
         throw std::bad_alloc();
      }
   } else if (members_ >= bucketCount() && index < lastIndex) {
      bucketsIs(index + 1);  // without memory for more the chains get longer
   }
   node->hash_ = hash;
   node->chained_ = std::exchange(bucketOf(hash), node);
   node->before_ = newest_;
   (newest_ != nullptr ? newest_->after_ : oldest_) = node;
   newest_ = node;
   ++members_;
   countChange();
   for (auto* iterator = iterators_; iterator != nullptr; iterator = iterator->next_) {
      if (iterator->current_ != nullptr && iterator->current_->isStale_ && iterator->resume_ == nullptr) {
         iterator->resume_ = node;
      }
   }
   return *node;
}

void HashMap2018Generic::remove(const HashMap2018Descriptor& descriptor, HashMap2018Link& node, void* out) noexcept {
   HashMap2018Link** chain = &bucketOf(node.hash_);
   while (*chain != &node) {
      chain = &(*chain)->chained_;
   }
   *chain = node.chained_;
   (node.before_ != nullptr ? node.before_->after_ : oldest_) = node.after_;
   (node.after_ != nullptr ? node.after_->before_ : newest_) = node.before_;
   --members_;
   countChange();
   for (auto* iterator = iterators_; iterator != nullptr; iterator = iterator->next_) {
      if (iterator->current_ == &node || iterator->resume_ == &node) {
         iterator->resume_ = node.after_;
      }
   }
   // The map is in order again by now: what happens to the value may call it.
   node.isStale_ = 1;
   const bool isFree = node.iterators_ == 0;
   if (out != nullptr && descriptor.moveValue != nullptr) {
      descriptor.moveValue(node, out);
   }
   if (isFree) {
      descriptor.destroy(&node);
   }
}

bool HashMap2018Generic::deleteMemberG(const HashMap2018Descriptor& descriptor, HashMap2018Key key,
                                       void* out) noexcept {
   HashMap2018Link* const node = lookupNodeG(descriptor, key);
   if (node != nullptr) {
      remove(descriptor, *node, out);
   }
   return node != nullptr;
}

void HashMap2018Generic::_memberDelAll(const HashMap2018Descriptor& descriptor) noexcept {
   while (oldest_ != nullptr) {
      remove(descriptor, *oldest_, nullptr);
   }
}

void HashMap2018Generic::emptyAllBuckets(const HashMap2018Descriptor& descriptor, bool releaseStorage) noexcept {
   _memberDelAll(descriptor);
   if (releaseStorage) {
      CoreSlab::slabFreeOrStdFree(std::exchange(buckets_, nullptr));
   }
}

//--- iterator ---

HashMap2018IteratorGeneric::HashMap2018IteratorGeneric(HashMap2018Generic& map,
                                                       const HashMap2018Descriptor& descriptor) noexcept
   : map_(&map), descriptor_(descriptor), next_(std::exchange(map.iterators_, this)) {
   enter(map.oldest_);
}

HashMap2018IteratorGeneric::HashMap2018IteratorGeneric(HashMap2018Generic& map,
                                                       const HashMap2018Descriptor& descriptor,
                                                       HashMap2018Key key) noexcept
   : map_(&map), descriptor_(descriptor), next_(std::exchange(map.iterators_, this)) {
   enter(map.lookupNodeG(descriptor, key));
}

HashMap2018IteratorGeneric::~HashMap2018IteratorGeneric() {
   leave();
   if (map_ != nullptr) {
      HashMap2018IteratorGeneric** iterator = &map_->iterators_;
      while (*iterator != this) {
         iterator = &(*iterator)->next_;
      }
      *iterator = next_;
   }
}

void HashMap2018IteratorGeneric::advance() noexcept {
   if (current_ != nullptr) {
      HashMap2018Link* const next = current_->isStale_ ? resume_ : current_->after_;
      leave();
      enter(next);
   }
}

void HashMap2018IteratorGeneric::enter(HashMap2018Link* node) noexcept {
   current_ = node;
   resume_ = nullptr;
   if (node != nullptr) {
      ++node->iterators_;
   }
}

void HashMap2018IteratorGeneric::leave() noexcept {
   HashMap2018Link* const node = std::exchange(current_, nullptr);
   if (node == nullptr) {
      return;
   }
   --node->iterators_;
   if (node->iterators_ == 0 && node->isStale_) {
      descriptor_.destroy(node);
   }
}

}  // namespace Tesk
