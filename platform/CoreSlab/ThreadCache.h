// ThreadCache: the free blocks that one thread keeps to itself, a list for each size class.
//
// A thread's first use registers its cache, so that statistics can count what lies in it; the end of the thread gives all
// blocks back, and what the thread frees after that goes straight to the heap.
// Tested by tests/platform/CoreSlab/SlabTest.cpp.
#pragma once

#include <array>
#include <atomic>
#include <cstddef>

#include "platform/CoreSlab/PageHeap.h"

namespace CoreSlab {

class ThreadCache {
 public:
   constexpr ThreadCache() = default;

   // This thread's cache, or null if the thread is past giving its blocks back.
   static ThreadCache* own() noexcept;

   // A block of the class, from the cache or a batch from `heap`; null without memory.
   void* allocate(PageHeap& heap, std::size_t sizeClass) noexcept;
   void free(PageHeap& heap, std::size_t sizeClass, void* block) noexcept;

   // The blocks in all threads' caches, which the heap counts as handed out.
   struct Kept {
      std::size_t blocks = 0;
      std::size_t bytes = 0;
   };
   static Kept kept() noexcept;

 private:
   friend class ThreadCacheLife;

   struct List {
      FreeBlock* first = nullptr;
      std::atomic<std::size_t> size{0};  // written by the owner alone
   };

   // How many blocks go to or from the heap at once: about 4 KiB of them.
   static constexpr std::size_t batchOf(std::size_t sizeClass) noexcept {
      const std::size_t fitting = 4096 / sizeClassBytes(sizeClass);
      return fitting > 64 ? 64 : fitting < 2 ? 2 : fitting;
   }
   void flush(PageHeap& heap) noexcept;

   enum class State : U8 { unused, used, gone };

   std::array<List, classCount> lists_{};
   State state_ = State::unused;
   PageHeap* heap_ = nullptr;
   ThreadCache* next_ = nullptr;  // among the caches in use
   ThreadCache* previous_ = nullptr;
};

}  // namespace CoreSlab
