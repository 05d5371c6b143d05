// Values: where the values of a table lie. Those of up to 8 bytes that copy as bytes lie in the runs of the tree's nodes, where a
// lookup finds them without one more line of memory; others lie in slots, and the run has their numbers. A set has none.
//
//    T                              in a run     valueSize (bytes)
//    void                           nothing      0
//    copies as bytes, up to 8       the value    1, 2, 4 or 8
//    any other                      its slot     4
//
// A tree hands out pointers to the bytes in its runs; this is the one place that knows what they are.
// Tested by tests/table/TableTest.cpp.
#pragma once

#include <bit>
#include <cstddef>
#include <cstring>
#include <memory>
#include <new>
#include <type_traits>
#include <utility>

#include "routetrie/table/Slots.h"

namespace routetrie::Impl {

template <class T>
concept InRun = std::is_copy_constructible_v<T> && std::is_trivially_copyable_v<T> &&
                   std::is_trivially_destructible_v<T> && std::is_object_v<T> && sizeof(T) <= 8 &&
                alignof(T) <= std::bit_ceil(sizeof(T));

template <class T>
class Values {
  public:
   static constexpr unsigned valueSize = sizeof(typename Slots<T>::Number);
   static constexpr bool haveSlots = true;  // that destroy() gives back

   const T& at(const void* inRun) const noexcept { return slots_[number(inRun)]; }

   template <class... Args>
   void make(void* inRun, Args&&... args) {
      put(inRun, slots_.make(std::forward<Args>(args)...));
   }
   // Makes a value from one of `source` that is about to go.
   void makeFrom(void* inRun, Values& source, const void* place) {
      make(inRun, std::move(source.slots_[number(place)]));
   }
   // Assigns, or puts a new value in the old one's place: whichever leaves the old one whole if something is raised.
   template <class U>
   void assign(void* inRun, U&& value) {
      if constexpr (std::is_nothrow_assignable_v<T&, U>) {
         slots_[number(inRun)] = std::forward<U>(value);
      } else {
         replace(inRun, slots_.make(std::forward<U>(value)));
      }
   }
   // Lets `change` have a T&. Of a value that can be copied, and that the change may leave halfway, it is a copy that then takes
   // the place of the old one.
   template <class Change>
   void change(void* inRun, Change&& change) {
      if constexpr (std::is_nothrow_invocable_v<Change, T&> || !std::is_copy_constructible_v<T>) {
         std::forward<Change>(change)(slots_[number(inRun)]);
      } else {
         const auto copy = slots_.make(std::as_const(slots_)[number(inRun)]);
         try {
            std::forward<Change>(change)(slots_[copy]);
         } catch (...) {
            slots_.destroy(copy);
            throw;
         }
         replace(inRun, copy);
      }
   }
   void destroy(const void* inRun) noexcept { slots_.destroy(number(inRun)); }

   // Copies the values of `other` to the same numbers. `each` calls back with every place in a run, in the same order each time.
   // Requires: this is empty.
   template <class Each>
   void copyFrom(const Values& other, Each&& each) {
      slots_.reserveAs(other.slots_);
      std::size_t made = 0;
      try {
         each([&](const void* inRun) {
            slots_.makeAt(number(inRun), other.at(inRun));
            ++made;
         });
      } catch (...) {
         each([&](const void* inRun) {
            if (made != 0) {
               --made;
               slots_.destroy(number(inRun));
            }
         });
         throw;
      }
      slots_.freeAs(other.slots_);
   }
   // Whether the values have to be destroyed one by one.
   static constexpr bool haveToGo = !std::is_trivially_destructible_v<T>;
   void forget() noexcept { slots_ = {}; }
   std::size_t bytes() const noexcept { return slots_.bytes(); }
   void swap(Values& other) noexcept { slots_.swap(other.slots_); }

  private:
   using Number = typename Slots<T>::Number;

   static Number number(const void* inRun) noexcept {
      Number number;
      std::memcpy(&number, inRun, sizeof number);
      return number;
   }
   static void put(void* inRun, Number number) noexcept { std::memcpy(inRun, &number, sizeof number); }
   void replace(void* inRun, Number by) noexcept {
      slots_.destroy(number(inRun));
      put(inRun, by);
   }

   Slots<T> slots_;
};

template <InRun T>
class Values<T> {
  public:
   static constexpr unsigned valueSize = std::bit_ceil(unsigned{sizeof(T)});
   static constexpr bool haveSlots = false;
   static constexpr bool haveToGo = false;

   const T& at(const void* inRun) const noexcept { return *std::launder(static_cast<const T*>(inRun)); }

   template <class... Args>
   void make(void* inRun, Args&&... args) {
      std::construct_at(static_cast<T*>(inRun), std::forward<Args>(args)...);
   }
   void makeFrom(void* inRun, const Values& source, const void* place) { make(inRun, source.at(place)); }
   template <class U>
   void assign(void* inRun, U&& value) {
      const T made(std::forward<U>(value));
      std::memcpy(inRun, std::addressof(made), sizeof made);
   }
   template <class Change>
   void change(void* inRun, Change&& change) {
      T copy = at(inRun);
      std::forward<Change>(change)(copy);
      std::memcpy(inRun, std::addressof(copy), sizeof copy);
   }
   void destroy(const void*) noexcept {}
   template <class Each>
   void copyFrom(const Values&, Each&&) noexcept {}
   void forget() noexcept {}
   std::size_t bytes() const noexcept { return 0; }
   void swap(Values&) noexcept {}
};

template <>
class Values<void> {
  public:
   static constexpr unsigned valueSize = 0;
   static constexpr bool haveSlots = false;
   static constexpr bool haveToGo = false;

   void make(void*) noexcept {}
   void destroy(const void*) noexcept {}
   template <class Each>
   void copyFrom(const Values&, Each&&) noexcept {}
   void forget() noexcept {}
   std::size_t bytes() const noexcept { return 0; }
   void swap(Values&) noexcept {}
};

}  // namespace routetrie::Impl
