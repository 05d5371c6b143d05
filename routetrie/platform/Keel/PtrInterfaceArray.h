// PtrInterfaceArray: an array of counted pointers in one word.
//
//    word                  size        meaning
//    all ones but bit 0    0           empty
//    even, 0 included      1           the word is the one element; 0 is one null element
//    odd                   2 or more   the word less bit 0 is the address of a block
//
// A block is a header word whose low 32 bits hold the size, then that many elements, exactly. So no element and one
// element take no memory, and n elements take n + 1 words. The array never grows in place: a new size is a new array.
// Elements must have even addresses; each holds one reference.
//
// Tested by tests/platform/Keel/PtrInterfaceArrayTest.cpp.
#pragma once

#include <bit>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <new>
#include <typeinfo>
#include <utility>

#include "routetrie/platform/CoreSlab/Slab.h"
#include "routetrie/platform/Corvid/Assert.h"
#include "routetrie/platform/Corvid/Ptr.h"
#include "routetrie/platform/Keel/HeapChecker.h"
#include "routetrie/platform/Tesk/AllocTrack.h"
#include "routetrie/platform/Types.h"

namespace Keel {

// Only the plain form is there: no compressed pointers, no stash of its own.
template <class T, class Aux = void, bool allowCompressedPointer = false, class Distinguisher = void,
          bool allocateInStash = false>
requires(!allowCompressedPointer && !allocateInStash) class PtrInterfaceArray {
  public:
   PtrInterfaceArray() noexcept = default;  // empty
   // `size` null elements. Raises std::bad_alloc.
   explicit PtrInterfaceArray(U32 size) : word_(size == 0 ? emptyWord : size == 1 ? nullElement : newBlock(size)) {}
   PtrInterfaceArray(PtrInterfaceArray&& other) noexcept : word_(std::exchange(other.word_, emptyWord)) {}
   PtrInterfaceArray& operator=(PtrInterfaceArray&& other) noexcept {
      if (this != &other) {
         clear();
         word_ = std::exchange(other.word_, emptyWord);
      }
      return *this;
   }
   ~PtrInterfaceArray() { clear(); }

   U32 size() const noexcept {
      if (word_ == emptyWord) {
         return 0;
      }
      return isBlock() ? static_cast<U32>(block()[0]) : 1;
   }

   // The element, with no new reference. Asserts "index < size()", as all access does.
   T* elementMaybeCompressed(U32 index) const { return std::bit_cast<T*>(*place(index)); }

   // Puts `value` in the place of the element, with a new reference, or with the caller's. Nothing happens if it is
   // there already.
   void elementIs(U32 index, T* value) { elementIs(index, Corvid::Ptr<T>(value)); }
   template <class U>
   requires std::convertible_to<U*, T*>
   void elementIs(U32 index, Corvid::Ptr<U>&& value) {
      std::uint64_t* element = place(index);
      T* const old = std::bit_cast<T*>(*element);
      if (value.get() != old) {
         *element = std::bit_cast<std::uint64_t>(static_cast<T*>(value.release()));
         drop(old);
      }
   }

   // Gives up every element and any block; the array is then empty.
   void clear() {
      const std::uint64_t word = std::exchange(word_, emptyWord);
      if (word == emptyWord) {
         return;
      }
      if ((word & blockBit) == 0) {
         drop(std::bit_cast<T*>(word));
         return;
      }
      std::uint64_t* block = blockOf(word);
      const U32 size = static_cast<U32>(block[0]);
      for (U32 i = 0; i < size; ++i) {
         drop(std::bit_cast<T*>(block[1 + i]));
      }
      freeBlock(block, size);
   }

   // The word itself, for tests of its forms.
   std::uint64_t word() const noexcept { return word_; }

   // Counts the blocks of this array type, in bytes.
   static inline Tesk::AllocTrackTypeInfo* memAllocationTracker_ = nullptr;

  private:
   static constexpr std::uint64_t emptyWord = ~std::uint64_t{1};
   static constexpr std::uint64_t nullElement = 0;
   static constexpr std::uint64_t blockBit = 1;

   static std::uint64_t* blockOf(std::uint64_t word) noexcept {
      return std::bit_cast<std::uint64_t*>(word & ~blockBit);
   }
   static std::size_t blockBytes(U32 size) noexcept { return (std::size_t{size} + 1) * sizeof(std::uint64_t); }

   static std::uint64_t newBlock(U32 size) {
      const std::size_t bytes = blockBytes(size);
      auto* block = static_cast<std::uint64_t*>(CoreSlab::slabAllocOrStdMalloc(bytes, 0));
      if (block == nullptr) {
         throw std::bad_alloc();
      }
      block[0] = size;
      Impl::doHeapCheckerIgnoreObject(block);
      Tesk::AllocTrackTypeInfo::_trackAllocationNoOverhead(&memAllocationTracker_, typeid(PtrInterfaceArray), bytes);
      return std::bit_cast<std::uint64_t>(block) | blockBit;
   }
   static void freeBlock(std::uint64_t* block, U32 size) noexcept {
      Tesk::AllocTrackTypeInfo::trackDeallocation(memAllocationTracker_, blockBytes(size));
      heapCheckerUnIgnoreObject(block);
      CoreSlab::slabFreeOrStdFree(block);
   }
   static void drop(T* element) {
      if (element != nullptr) {
         element->decUseImpl();
      }
   }

   bool isBlock() const noexcept { return (word_ & blockBit) != 0; }
   std::uint64_t* block() const noexcept { return blockOf(word_); }
   const std::uint64_t* place(U32 index) const {
      ROUTETRIE_ASSERT(index < size());
      return isBlock() ? block() + 1 + index : &word_;
   }
   std::uint64_t* place(U32 index) { return const_cast<std::uint64_t*>(std::as_const(*this).place(index)); }

   std::uint64_t word_ = emptyWord;
};

}  // namespace Keel
