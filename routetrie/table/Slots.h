// Slots: places for values that do not lie in the nodes: they keep their address until they are freed, and are known by a
// number of 32 bits.
//
//    chunk 0: 8 slots   1: 16   2: 32  ...  7: 1024   8: 1024  ...
//
// A freed slot holds the number of the next free one. Chunks double until a value more costs no more than 1024 slots, so that
// a small table stays small, and no chunk is ever moved. The directory of the chunks does move as it grows; what it moved from stays
// until the slots go, so whoever reads by an older directory, on another thread, finds what that one knows of.
//
// The slots of a table are held by the table and by the store of its versions (Store.h), and the last of them destroys what lives here.
// Once a snapshot was taken, each slot that is filled is noted with its epoch.
// Tested by tests/table/SlotsTest.cpp.
#pragma once

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>
#include <type_traits>
#include <utility>
#include <vector>

#include "routetrie/platform/Language.h"

namespace routetrie::Impl {

template <class T>
class Slots {
  public:
   using Number = std::uint32_t;

   union Place {
      Place() noexcept : next(none) {}
      ~Place() {}
      T value;
      Number next;
   };
   // The chunks by their numbers.
   using Directory = Place* const*;

   Slots() noexcept = default;
   Slots(const Slots&) = delete;
   Slots& operator=(const Slots&) = delete;
   ~Slots() {
      if constexpr (mayLive) {
         for (std::size_t word = 0; word < live_.size(); ++word) {
            for (std::uint64_t rest = live_[word]; rest != 0; rest &= rest - 1) {
               std::destroy_at(
                  &place(static_cast<Number>(word * 64) + static_cast<Number>(std::countr_zero(rest))).value);
            }
         }
      }
      for (std::size_t chunk = 0; chunk < chunks_; ++chunk) {
         delete[] directory_[chunk];
      }
   }

   Directory directory() const noexcept { return directory_.get(); }
   static T& at(Directory directory, Number number) noexcept { return placeIn(directory, number).value; }
   T& operator[](Number number) noexcept { return place(number).value; }
   const T& operator[](Number number) const noexcept { return placeIn(directory_.get(), number).value; }

   // The epoch that slots are filled in from now on; 0 unless it was told.
   void begin(std::uint64_t epoch) noexcept { epoch_ = epoch; }
   std::uint64_t epochOf(Number number) const noexcept {
      const auto [chunk, in] = whereIs(number);
      return chunk < epochs_.size() && epochs_[chunk] != nullptr ? epochs_[chunk][in] : 0;
   }

   // Makes a value; what its constructor raises, or std::bad_alloc, leaves everything as it was.
   template <class... Args>
   Number make(Args&&... args) {
      const Number number = free_ != none ? free_ : fresh();
      if (epoch_ != 0) [[unlikely]] {
         noteEpoch(number);
      }
      const Number next = free_ != none ? place(number).next : none;
      makeAt(number, std::forward<Args>(args)...);
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
      if constexpr (mayLive) {
         live_[number / 64] &= ~(std::uint64_t{1} << number % 64);
      }
      std::construct_at(&slot.next, free_);
      free_ = number;
      --filled_;
   }

   // Makes room for the same numbers as in `other`, all of them free and in no list: for copies, which go to the numbers that
   // their originals have. Requires: this is empty.
   void reserveAs(const Slots& other) {
      while (chunks_ < other.chunks_) {
         addChunk();
      }
   }
   template <class... Args>
   void makeAt(Number number, Args&&... args) {
      Place& slot = place(number);
      const Number next = slot.next;
      try {
         std::construct_at(&slot.value, std::forward<Args>(args)...);
      } catch (...) {
         std::construct_at(&slot.next, next);
         throw;
      }
      ++filled_;
      if constexpr (mayLive) {
         live_[number / 64] |= std::uint64_t{1} << number % 64;
      }
   }
   // Takes over which numbers are free. Requires: the same numbers hold values in both.
   void freeAs(const Slots& other) noexcept {
      free_ = other.free_;
      fresh_ = other.fresh_;
      for (Number number = free_; number != none;) {
         const Number next = placeIn(other.directory_.get(), number).next;
         std::construct_at(&place(number).next, next);
         number = next;
      }
   }
   // The same where `other` has values besides that only its versions hold: free is what is not in `taken`.
   void freeBut(const Slots& other, const std::vector<bool>& taken) noexcept {
      fresh_ = other.fresh_;
      for (Number number = fresh_; number-- != 0;) {
         if (!taken[number]) {
            std::construct_at(&place(number).next, free_);
            free_ = number;
         }
      }
   }
   Number everFilled() const noexcept { return fresh_; }  // numbers from here on never were

   // All; and of these, the places that hold no value.
   std::size_t bytes() const noexcept {
      std::size_t sum = live_.capacity() * sizeof live_[0] + epochs_.capacity() * sizeof epochs_[0] +
                        older_.capacity() * sizeof older_[0] + room_ * sizeof(Place*);
      for (std::size_t i = 0; i < older_.size(); ++i) {
         sum += (std::size_t{1} << i) * sizeof(Place*);
      }
      for (std::size_t chunk = 0; chunk < chunks_; ++chunk) {
         sum += slotsOf(chunk) * (sizeof(Place) + (chunk < epochs_.size() && epochs_[chunk] != nullptr ? 8 : 0));
      }
      return sum;
   }
   std::size_t freeBytes() const noexcept { return (room() - filled_) * sizeof(Place); }

  private:
   // Whether what is left has to be destroyed at the end, and so to be known.
   static constexpr bool mayLive = !std::is_trivially_destructible_v<T>;
   static constexpr Number none = ~Number{0};
   static constexpr Number firstSlots = 8;      // in chunk 0
   static constexpr std::size_t doublings = 7;  // chunk 7 and those behind it have 1024 slots
   static constexpr Number lastSlots = firstSlots << doublings;
   static constexpr Number inDoubling = lastSlots - firstSlots;  // slots of the chunks 0 to 6

   static std::size_t slotsOf(std::size_t chunk) noexcept {
      return chunk < doublings ? firstSlots << chunk : lastSlots;
   }

   struct Where {
      std::size_t chunk;
      Number in;
   };
   static Where whereIs(Number number) noexcept {
      if (number >= inDoubling) {
         const Number behind = number - inDoubling;
         return {doublings + behind / lastSlots, behind % lastSlots};
      }
      const auto chunk = static_cast<std::size_t>(std::bit_width(number / firstSlots + 1) - 1);
      return {chunk, number - firstSlots * ((Number{1} << chunk) - 1)};
   }
   static Place& placeIn(Directory directory, Number number) noexcept {
      const auto [chunk, in] = whereIs(number);
      return directory[chunk][in];
   }
   Place& place(Number number) noexcept { return placeIn(directory_.get(), number); }
   void addChunk() {
      if (chunks_ == room_) {
         const std::size_t room = room_ == 0 ? 1 : 2 * room_;
         auto larger = std::make_unique<Place*[]>(room);
         if (room_ != 0) {
            std::copy_n(directory_.get(), room_, larger.get());
            older_.push_back(nullptr);
            older_.back() = std::move(directory_);
         }
         directory_ = std::move(larger);
         room_ = room;
      }
      if constexpr (mayLive) {
         live_.resize(live_.size() + (slotsOf(chunks_) + 63) / 64);
      }
      directory_[chunks_] = new Place[slotsOf(chunks_)];
      ++chunks_;
   }
   void noteEpoch(Number number) {
      const auto [chunk, in] = whereIs(number);
      if (epochs_.size() <= chunk) {
         epochs_.resize(chunk + 1);
      }
      if (epochs_[chunk] == nullptr) {
         epochs_[chunk] = std::make_unique<std::uint64_t[]>(slotsOf(chunk));
      }
      epochs_[chunk][in] = epoch_;
   }
   // Slots in all chunks.
   std::size_t room() const noexcept {
      return chunks_ <= doublings ? firstSlots * ((std::size_t{1} << chunks_) - 1)
                                  : inDoubling + (chunks_ - doublings) * lastSlots;
   }
   Number fresh() {
      if (fresh_ == room()) {
         addChunk();
      }
      return fresh_;
   }
   std::unique_ptr<Place*[]> directory_;  // owns the chunks
   std::size_t chunks_ = 0;
   std::size_t room_ = 0;                          // of the directory
   std::vector<std::unique_ptr<Place*[]>> older_;  // directories, of 1, 2, 4, ... chunks
   std::vector<std::uint64_t> live_;               // a bit for each number; only where values have to be destroyed
   std::vector<std::unique_ptr<std::uint64_t[]>> epochs_;  // by chunk; null, or none: of before the first snapshot
   std::uint64_t epoch_ = 0;
   Number free_ = none;
   Number filled_ = 0;  // slots that hold a value
   Number fresh_ = 0;   // the numbers below it have been given out at least once
};

}  // namespace routetrie::Impl
