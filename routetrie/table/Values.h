// Values: where the values of a table lie. Those of up to 8 bytes that copy as bytes lie in the tree's nodes, where a
// lookup finds them in the line of memory that it reads anyhow, or the next; others lie in slots, and the node has their numbers. A set
// has none.
//
//    T                              in a node    valueSize (bytes)
//    void                           nothing      0
//    copies as bytes, up to 8       the value    1, 2, 4 or 8
//    any other                      its slot     4
//
// A tree hands out pointers to the bytes in its nodes; this is the one place that knows what they are.
// Tested by tests/table/TableTest.cpp.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <new>
#include <type_traits>
#include <utility>
#include <vector>

#include "routetrie/platform/Export.h"
#include "routetrie/table/Slots.h"
#include "routetrie/table/Store.h"

namespace routetrie::Impl {

// "a value that a snapshot holds cannot be changed, as it cannot be copied", as std::logic_error.
[[noreturn]] ROUTETRIE_EXPORT void throwHeldValue();

template <class T>
concept InNode = std::is_copy_constructible_v<T> && std::is_trivially_copyable_v<T> &&
                    std::is_trivially_destructible_v<T> && std::is_object_v<T> && sizeof(T) <= 8 &&
                 alignof(T) <= std::bit_ceil(sizeof(T));

template <class T>
class Values {
  public:
   static constexpr unsigned valueSize = sizeof(typename Slots<T>::Number);
   static constexpr bool haveSlots = true;  // that destroy() gives back, or that are retired

   const T& at(const void* inNode) const noexcept { return Slots<T>::at(directory_, number(inNode)); }

   template <class... Args>
   void make(void* inNode, Args&&... args) {
      put(inNode, makeSlot(std::forward<Args>(args)...));
   }
   // Makes a value as T() and lets `change` have it where it lies; what that raises takes it away again.
   template <class Change>
   void makeBy(void* inNode, Change&& change) {
      const Number made = makeSlot();
      try {
         std::forward<Change>(change)((*slots_)[made]);
      } catch (...) {
         slots_->destroy(made);
         throw;
      }
      put(inNode, made);
   }
   // Makes a value from one of `source` that is about to go; a copy, if versions hold it.
   void makeFrom(void* inNode, Values& source, const void* place, bool isVersioned) {
      if (!isVersioned) {
         make(inNode, std::move((*source.slots_)[number(place)]));
      } else if constexpr (std::is_copy_constructible_v<T>) {
         make(inNode, source.at(place));
      } else {
         throwHeldValue();
      }
   }

   // Where versions hold the value, it stays as it is, and another comes in its place. What the old one was in is returned: its slot is
   // to be retired.
   template <class U>
   std::uint32_t exchange(void* inNode, U&& value) {
      const Number old = number(inNode);
      put(inNode, makeSlot(std::forward<U>(value)));
      return old;
   }
   template <class Change>
   std::uint32_t exchangeBy(void* inNode, Change&& change) {
      if constexpr (std::is_copy_constructible_v<T>) {
         const Number made = makeSlot(at(inNode));
         try {
            std::forward<Change>(change)((*slots_)[made]);
         } catch (...) {
            slots_->destroy(made);
            throw;
         }
         const Number old = number(inNode);
         put(inNode, made);
         return old;
      } else {
         throwHeldValue();
      }
   }

   // Assigns, or puts a new value in the old one's place: whichever leaves the old one whole if something is raised.
   template <class U>
   void assign(void* inNode, U&& value) {
      if constexpr (std::is_nothrow_assignable_v<T&, U>) {
         (*slots_)[number(inNode)] = std::forward<U>(value);
      } else {
         replace(inNode, makeSlot(std::forward<U>(value)));
      }
   }
   // Lets `change` have a T&. Of a value that can be copied, and that the change may leave halfway, it is a copy that then takes
   // the place of the old one.
   template <class Change>
   void change(void* inNode, Change&& change) {
      if constexpr (std::is_nothrow_invocable_v<Change, T&> || !std::is_copy_constructible_v<T>) {
         std::forward<Change>(change)((*slots_)[number(inNode)]);
      } else {
         slots_->destroy(exchangeBy(inNode, std::forward<Change>(change)));
      }
   }
   void destroy(const void* inNode) noexcept { slots_->destroy(number(inNode)); }

   // Copies the values of `other` to the same numbers. `each` calls back with every place in a node, in the same order each time.
   // Requires: this is empty.
   template <class Each>
   void copyFrom(const Values& other, bool isVersioned, Each&& each) {
      if (other.slots_ == nullptr) {
         return;
      }
      const Slots<T>& from = *other.slots_;
      slots().reserveAs(from);
      directory_ = slots_->directory();
      std::vector<bool> taken(isVersioned ? from.everFilled() : 0);
      each([&](const void* inNode) {
         const Number at = number(inNode);
         slots_->makeAt(at, other.at(inNode));
         if (isVersioned) {
            taken[at] = true;
         }
      });
      if (isVersioned) {
         slots_->freeBut(from, taken);
      } else {
         slots_->freeAs(from);
      }
   }

   // To be read, while the versions hold the slots.
   Values frozen() const noexcept {
      Values version;
      freezeTo(version);
      return version;
   }
   void freezeTo(Values& version) const noexcept { version.directory_ = directory_; }
   // What a store of versions has to know of the slots, which are made if there are none.
   Store::Keeper keeper() {
      return {slots_ != nullptr ? slots_ : (slots(), slots_),
              [](const void* of, U32 number) noexcept { return static_cast<const Slots<T>*>(of)->epochOf(number); },
              [](void* of, U32 number) noexcept { static_cast<Slots<T>*>(of)->destroy(number); },
              sizeof(typename Slots<T>::Place)};
   }
   void begin(U64 epoch) noexcept { slots_->begin(epoch); }
   void forget() noexcept {
      slots_.reset();
      directory_ = nullptr;
   }
   // Whether equal bytes in nodes of the two are equal values: the number of one slot. The first chunk of slots never moves.
   bool sharesWith(const Values& other) const noexcept {
      return directory_ != nullptr && other.directory_ != nullptr && directory_[0] == other.directory_[0];
   }
   std::size_t bytes() const noexcept { return slots_ != nullptr ? sizeof *slots_ + slots_->bytes() : 0; }
   std::size_t freeBytes() const noexcept { return slots_ != nullptr ? slots_->freeBytes() : 0; }
   void swap(Values& other) noexcept {
      std::swap(directory_, other.directory_);
      slots_.swap(other.slots_);
   }
   static std::uint32_t slotOf(const void* inNode) noexcept { return number(inNode); }

  private:
   using Number = typename Slots<T>::Number;

   static Number number(const void* inNode) noexcept {
      Number number;
      std::memcpy(&number, inNode, sizeof number);
      return number;
   }
   static void put(void* inNode, Number number) noexcept { std::memcpy(inNode, &number, sizeof number); }
   void replace(void* inNode, Number by) noexcept {
      slots_->destroy(number(inNode));
      put(inNode, by);
   }
   Slots<T>& slots() {
      if (slots_ == nullptr) {
         slots_ = std::make_shared<Slots<T>>();
      }
      return *slots_;
   }
   template <class... Args>
   Number makeSlot(Args&&... args) {
      const Number made = slots().make(std::forward<Args>(args)...);
      directory_ = slots_->directory();
      return made;
   }

   typename Slots<T>::Directory directory_ = nullptr;  // of the slots; what a lookup reads
   std::shared_ptr<Slots<T>> slots_;                   // come with the first value; a frozen one has none
};

template <InNode T>
class Values<T> {
  public:
   static constexpr unsigned valueSize = std::bit_ceil(unsigned{sizeof(T)});
   static constexpr bool haveSlots = false;

   const T& at(const void* inNode) const noexcept { return *std::launder(static_cast<const T*>(inNode)); }

   template <class... Args>
   void make(void* inNode, Args&&... args) {
      std::construct_at(static_cast<T*>(inNode), std::forward<Args>(args)...);
   }
   template <class Change>
   void makeBy(void* inNode, Change&& change) {
      T value{};
      std::forward<Change>(change)(value);
      make(inNode, value);
   }
   void makeFrom(void* inNode, const Values& source, const void* place, bool) { make(inNode, source.at(place)); }
   template <class U>
   void assign(void* inNode, U&& value) {
      const T made(std::forward<U>(value));
      std::memcpy(inNode, std::addressof(made), sizeof made);
   }
   template <class Change>
   void change(void* inNode, Change&& change) {
      T copy = at(inNode);
      std::forward<Change>(change)(copy);
      std::memcpy(inNode, std::addressof(copy), sizeof copy);
   }
   void destroy(const void*) noexcept {}
   template <class Each>
   void copyFrom(const Values&, bool, Each&&) noexcept {}
   Values frozen() const noexcept { return {}; }
   void freezeTo(Values&) const noexcept {}
   void forget() noexcept {}
   bool sharesWith(const Values&) const noexcept { return true; }
   std::size_t bytes() const noexcept { return 0; }
   std::size_t freeBytes() const noexcept { return 0; }
   void swap(Values&) noexcept {}
};

template <>
class Values<void> {
  public:
   static constexpr unsigned valueSize = 0;
   static constexpr bool haveSlots = false;

   void make(void*) noexcept {}
   void destroy(const void*) noexcept {}
   template <class Each>
   void copyFrom(const Values&, bool, Each&&) noexcept {}
   Values frozen() const noexcept { return {}; }
   void freezeTo(Values&) const noexcept {}
   void forget() noexcept {}
   bool sharesWith(const Values&) const noexcept { return true; }
   std::size_t bytes() const noexcept { return 0; }
   std::size_t freeBytes() const noexcept { return 0; }
   void swap(Values&) noexcept {}
};

}  // namespace routetrie::Impl
