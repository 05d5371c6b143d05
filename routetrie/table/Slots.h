// Slots: places for values that do not lie in the nodes: they keep their address until they are freed, and are known by a
// number of 32 bits.
//
//    chunk 0: 8 slots   1: 16   2: 32  ...  7: 1024   8: 1024  ...
//
// A freed slot holds the number of the next free one. Chunks double until a value more costs no more than 1024 slots, so that
// a small table stays small, and no chunk is ever moved.
// Tested by tests/table/SlotsTest.cpp.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>
#include <utility>
#include <vector>

#include "routetrie/platform/Language.h"

namespace routetrie::Impl {

template <class T>
class Slots {
  public:
   using Number = std::uint32_t;

   Slots() noexcept = default;
   Slots(Slots&& other) noexcept
      : chunks_(std::move(other.chunks_)),
        free_(std::exchange(other.free_, none)),
        fresh_(std::exchange(other.fresh_, 0)) {}
   // Requires: no value lives here.
   Slots& operator=(Slots&& other) noexcept {
      Slots taken(std::move(other));
      swap(taken);
      return *this;
   }
   void swap(Slots& other) noexcept {
      std::swap(chunks_, other.chunks_);
      std::swap(free_, other.free_);
      std::swap(fresh_, other.fresh_);
   }

   T& operator[](Number number) noexcept { return place(number).value; }
   const T& operator[](Number number) const noexcept { return const_cast<Slots&>(*this).place(number).value; }

   // Makes a value; what its constructor raises, or std::bad_alloc, leaves everything as it was.
   template <class... Args>
   Number make(Args&&... args) {
      const Number number = free_ != none ? free_ : fresh();
      Place& slot = place(number);
      const Number next = free_ != none ? slot.next : none;
      makeAt(slot, std::forward<Args>(args)...);
      if (free_ != none) {
         free_ = next;
      } else {
         ++fresh_;
      }
      return number;
   }
   void destroy(Number number) noexcept {
      Place& slot = place(number);
      std::destroy_at(&slot.value);
      std::construct_at(&slot.next, free_);
      free_ = number;
   }

   // Makes room for the same numbers as in `other`, all of them free and in no list: for copies, which go to the numbers that
   // their originals have. Requires: this is empty.
   void reserveAs(const Slots& other) {
      while (chunks_.size() < other.chunks_.size()) {
         addChunk();
      }
   }
   template <class... Args>
   void makeAt(Number number, Args&&... args) {
      makeAt(place(number), std::forward<Args>(args)...);
   }
   // Takes over which numbers are free. Requires: the same numbers hold values in both.
   void freeAs(const Slots& other) noexcept {
      free_ = other.free_;
      fresh_ = other.fresh_;
      for (Number number = free_; number != none;) {
         const Number next = const_cast<Slots&>(other).place(number).next;
         std::construct_at(&place(number).next, next);
         number = next;
      }
   }

   std::size_t bytes() const noexcept {
      std::size_t sum = chunks_.capacity() * sizeof(Chunk);
      for (std::size_t chunk = 0; chunk < chunks_.size(); ++chunk) {
         sum += slotsOf(chunk) * sizeof(Place);
      }
      return sum;
   }

  private:
   union Place {
      Place() noexcept : next(none) {}
      ~Place() {}
      T value;
      Number next;
   };
   using Chunk = std::unique_ptr<Place[]>;

   static constexpr Number none = ~Number{0};
   static constexpr Number firstSlots = 8;      // in chunk 0
   static constexpr std::size_t doublings = 7;  // chunk 7 and those behind it have 1024 slots
   static constexpr Number lastSlots = firstSlots << doublings;
   static constexpr Number inDoubling = lastSlots - firstSlots;  // slots of the chunks 0 to 6

   static std::size_t slotsOf(std::size_t chunk) noexcept {
      return chunk < doublings ? firstSlots << chunk : lastSlots;
   }

   Place& place(Number number) noexcept {
      if (number >= inDoubling) {
         const Number behind = number - inDoubling;
         return chunks_[doublings + behind / lastSlots][behind % lastSlots];
      }
      const auto chunk = static_cast<std::size_t>(std::bit_width(number / firstSlots + 1) - 1);
      return chunks_[chunk][number - firstSlots * ((Number{1} << chunk) - 1)];
   }
   void addChunk() { chunks_.push_back(Chunk(new Place[slotsOf(chunks_.size())])); }
   Number fresh() {
      const std::size_t chunks = chunks_.size();
      const std::size_t room = chunks <= doublings ? firstSlots * ((std::size_t{1} << chunks) - 1)
                                                   : inDoubling + (chunks - doublings) * lastSlots;
      if (fresh_ == room) {
         addChunk();
      }
      return fresh_;
   }
   template <class... Args>
   static void makeAt(Place& slot, Args&&... args) {
      const Number next = slot.next;
      try {
         std::construct_at(&slot.value, std::forward<Args>(args)...);
      } catch (...) {
         std::construct_at(&slot.next, next);
         throw;
      }
   }

   std::vector<Chunk> chunks_;
   Number free_ = none;
   Number fresh_ = 0;  // the numbers below it have been given out at least once
};

}  // namespace routetrie::Impl
