// ThreadCache: the free blocks that one thread keeps to itself, a list for each size class.
//
// A thread's first use gives it a cache, and registers that so that statistics can count what lies in it. The end of the
// thread gives all blocks back, and what the thread frees after that goes straight to the heap. The cache itself is then
// free for another thread to take; caches are never destroyed. All of them work on the one heap of the process.
// Tested by tests/platform/CoreSlab/SlabTest.cpp.
#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <new>

#include "routetrie/platform/CoreSlab/PageHeap.h"

namespace CoreSlab {

class ThreadCache {
  public:
   constexpr explicit ThreadCache(PageHeap& heap) noexcept : heap_(heap) {}

   // This thread's cache, on `heap` if it is made now; null if the thread is past giving its blocks back, or if there is
   // no memory for a cache.
   static ThreadCache* own(PageHeap& heap) noexcept { return own_ != nullptr ? own_ : make(heap); }

   // A block of the class, from the cache or a batch from the heap; null without memory.
   void* allocate(std::size_t sizeClass) noexcept {
      List& list = lists_[sizeClass];
      if (list.first == nullptr && !refill(list, sizeClass)) {
         return nullptr;
      }
      FreeBlock* block = list.first;
      list.first = block->next;
      list.size.store(list.size.load(std::memory_order_relaxed) - 1, std::memory_order_relaxed);
      return block;
   }
   void free(std::size_t sizeClass, void* block) noexcept {
      List& list = lists_[sizeClass];
      const U32 size = list.size.load(std::memory_order_relaxed) + 1;
      list.first = ::new (block) FreeBlock{list.first};
      list.size.store(size, std::memory_order_relaxed);
      if (size > 2 * batches[sizeClass]) {
         shrink(list, sizeClass);
      }
   }

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
      std::atomic<U32> size{0};  // written by the owner alone
   };

   // How many blocks go to or from the heap at once: about 4 KiB of them.
   static constexpr auto batches = [] {
      std::array<U8, classCount> result{};
      for (std::size_t sizeClass = 0; sizeClass < classCount; ++sizeClass) {
         const std::size_t fitting = 4096 / sizeClassBytes(sizeClass);
         result[sizeClass] = static_cast<U8>(fitting > 64 ? 64 : fitting < 2 ? 2 : fitting);
      }
      return result;
   }();

   static ThreadCache* make(PageHeap& heap) noexcept;
   bool refill(List& list, std::size_t sizeClass) noexcept;
   void shrink(List& list, std::size_t sizeClass) noexcept;
   void flush() noexcept;

   // One word of the thread's own memory, at a fixed distance from its start: reading it takes no call, and a library
   // that is loaded late still finds room for it.
   [[gnu::tls_model("initial-exec")]] static constinit thread_local ThreadCache* own_;

   std::array<List, classCount> lists_{};
   PageHeap& heap_;
   std::atomic<bool> taken_{true};  // by a thread that lives
   ThreadCache* next_ = nullptr;    // among all caches ever made
};

}  // namespace CoreSlab
