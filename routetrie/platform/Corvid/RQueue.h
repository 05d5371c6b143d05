// RQueue: a first-in first-out queue of values that can be read through from the oldest on while it changes.
//
// Each value has a position, a U32 that counts up from 0 over the queue's life and wraps. The front's position is the number
// of values that have left, so a place in the queue is named by a number and no iterator dangles:
//
//    for (U32 position = queue.frontPosition(); queue.contains(position); ++position) { ... queue.at(position) ... }
//
// Values lie in a ring of a power of two of them, which doubles when full.
// Tested by tests/platform/Corvid/RQueueTest.cpp.
#pragma once

#include <memory>
#include <new>
#include <utility>

#include "routetrie/platform/CoreSlab/Slab.h"
#include "routetrie/platform/Types.h"

namespace Corvid {

// `QE` tells queues of the same values apart, as the class that owns the queue declares it. `keepsStorage` says whether an
// emptied queue keeps its memory for the next value.
template <class T, bool keepsStorage, class QE>
class RQueue {
  public:
   static_assert(alignof(T) <= 8, "the slab aligns to 8");

   RQueue() noexcept = default;
   RQueue(const RQueue&) = delete;
   RQueue& operator=(const RQueue&) = delete;
   ~RQueue() {
      memberDelAll();
      CoreSlab::slabFreeOrStdFree(ring_);
   }

   U32 members() const noexcept { return members_; }
   bool empty() const noexcept { return members_ == 0; }

   // The value at an end; null if the queue is empty.
   const T* front() const noexcept { return empty() ? nullptr : &at(front_); }
   const T* back() const noexcept { return empty() ? nullptr : &at(front_ + members_ - 1); }

   // Appends. Raises std::bad_alloc, or what T's copy raises, and is then unchanged.
   void enq(const T& value) {
      T copy(value);  // the value may lie in the ring, which may move
      if (members_ == size_) {
         grow();
      }
      std::construct_at(&slot(front_ + members_), std::move(copy));
      ++members_;
   }
   // Removes and returns the oldest value. Requires: the queue is not empty.
   T deq() {
      T value(std::move(slot(front_)));
      remove();
      if (!keepsStorage && members_ == 0) {
         freeRing();
      }
      return value;
   }
   void memberDelAll() noexcept {
      while (members_ != 0) {
         remove();
      }
      if (!keepsStorage) {
         freeRing();
      }
   }

   U32 frontPosition() const noexcept { return front_; }
   bool contains(U32 position) const noexcept { return position - front_ < members_; }
   // Requires: contains(position).
   const T& at(U32 position) const noexcept { return ring_[position & (size_ - 1)]; }

  private:
   static constexpr U32 firstSize = 8;

   T& slot(U32 position) noexcept { return ring_[position & (size_ - 1)]; }

   void remove() noexcept {
      std::destroy_at(&slot(front_));
      ++front_;
      --members_;
   }

   void freeRing() noexcept {
      CoreSlab::slabFreeOrStdFree(std::exchange(ring_, nullptr));
      size_ = 0;
   }

   void grow() {
      const U32 size = size_ == 0 ? firstSize : size_ * 2;
      T* const ring = static_cast<T*>(CoreSlab::slabAllocOrStdMalloc(size * sizeof(T), -1));
      if (ring == nullptr) {
         throw std::bad_alloc();
      }
      static_assert(std::is_nothrow_move_constructible_v<T>);
      for (U32 position = front_; contains(position); ++position) {
         std::construct_at(&ring[position & (size - 1)], std::move(slot(position)));
         std::destroy_at(&slot(position));
      }
      CoreSlab::slabFreeOrStdFree(ring_);
      ring_ = ring;
      size_ = size;
   }

   T* ring_ = nullptr;
   U32 size_ = 0;     // of the ring, in values: 0 or a power of two
   U32 front_ = 0;    // position of the oldest
   U32 members_ = 0;  // in the ring, from `front_` on
};

}  // namespace Corvid
