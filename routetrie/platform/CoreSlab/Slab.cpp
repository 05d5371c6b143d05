#include "routetrie/platform/CoreSlab/Slab.h"

#include <malloc.h>

#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <new>

#include "routetrie/platform/CoreSlab/PageHeap.h"
#include "routetrie/platform/CoreSlab/ThreadCache.h"
#include "routetrie/platform/Corvid/ThreadControl.h"

#if defined(__SANITIZE_ADDRESS__)
#define ROUTETRIE_SLAB_IS_C_HEAP 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define ROUTETRIE_SLAB_IS_C_HEAP 1
#endif
#endif
#ifndef ROUTETRIE_SLAB_IS_C_HEAP
#define ROUTETRIE_SLAB_IS_C_HEAP 0
#endif

namespace CoreSlab {

namespace {

// More than any machine has. Asked for more than they can address, the sanitizers' heaps end the process instead of
// answering null; and up to here the size of a block and of what stands before it never wraps.
constexpr std::size_t cHeapLimitBytes = std::size_t{1} << 39;

void* cHeapMalloc(std::size_t size) noexcept { return size <= cHeapLimitBytes ? std::malloc(size) : nullptr; }

// Where blocks come from: two functions and their statistics.
#if ROUTETRIE_SLAB_IS_C_HEAP

constinit std::atomic<std::size_t> liveBlocks{0};
constinit std::atomic<std::size_t> liveBytes{0};

void* allocate(std::size_t size) noexcept {
   void* memory = cHeapMalloc(size);
   if (memory != nullptr) {
      liveBlocks.fetch_add(1, std::memory_order_relaxed);
      liveBytes.fetch_add(malloc_usable_size(memory), std::memory_order_relaxed);
   }
   return memory;
}
void release(void* memory) noexcept {
   liveBlocks.fetch_sub(1, std::memory_order_relaxed);
   liveBytes.fetch_sub(malloc_usable_size(memory), std::memory_order_relaxed);
   std::free(memory);
}
Stats currentStats() {
   return {liveBlocks.load(std::memory_order_relaxed), liveBytes.load(std::memory_order_relaxed), 0, 0};
}

#else

constinit PageHeap pageHeap;

void* allocate(std::size_t size) noexcept {
   if (size <= classedLimitBytes && Corvid::ThreadControl::multiThreaded()) {
      if (ThreadCache* cache = ThreadCache::own(pageHeap)) {
         return cache->allocate(sizeClassOf(size));
      }
   }
   return pageHeap.allocate(size);
}
void release(void* memory) noexcept {
   if (Corvid::ThreadControl::multiThreaded()) {
      const std::size_t sizeClass = PageHeap::sizeClassOfBlock(memory);
      ThreadCache* cache = sizeClass < classCount ? ThreadCache::own(pageHeap) : nullptr;
      if (cache != nullptr) {
         return cache->free(sizeClass, memory);
      }
   }
   pageHeap.free(memory);
}
Stats currentStats() {
   const auto heapStats = pageHeap.stats();
   const auto kept = ThreadCache::kept();
   return {heapStats.liveBlocks - kept.blocks, heapStats.liveBytes - kept.bytes, heapStats.mappedBytes,
           heapStats.pages};
}

#endif

// Blocks that came from the C heap because the slab had no memory. They are few, if there are any, and found by
// searching for their address.
class Fallbacks {
  public:
   void* allocate(std::size_t size) noexcept {
      auto* entry = size <= cHeapLimitBytes ? static_cast<Entry*>(cHeapMalloc(sizeof(Entry) + size)) : nullptr;
      if (entry == nullptr) {
         return nullptr;
      }
      const std::lock_guard guard(lock_);
      entry->next = first_;
      first_ = entry;
      count_.fetch_add(1, std::memory_order_relaxed);
      return entry + 1;
   }
   // False if the block is not from here.
   bool free(void* memory) noexcept {
      if (count_.load(std::memory_order_relaxed) == 0) {
         return false;
      }
      Entry* found = nullptr;
      {
         const std::lock_guard guard(lock_);
         Entry** link = &first_;
         while (*link != nullptr && *link + 1 != memory) {
            link = &(*link)->next;
         }
         found = *link;
         if (found == nullptr) {
            return false;
         }
         *link = found->next;
         count_.fetch_sub(1, std::memory_order_relaxed);
      }
      std::free(found);
      return true;
   }

  private:
   struct alignas(16) Entry {
      Entry* next;
   };

   SpinLock lock_;
   Entry* first_ = nullptr;
   std::atomic<std::size_t> count_{0};
};

constinit Fallbacks fallbacks;

#ifdef ROUTETRIE_FAULT_INJECTION

// Allocations up to and including the one that fails; 0: none fails.
constinit std::atomic<std::uint64_t> untilFailure{0};
// Whether all fail from there on: the last step down is not taken then.
constinit std::atomic<bool> failureStays{false};

bool failsNow() noexcept {
   std::uint64_t left = untilFailure.load(std::memory_order_relaxed);
   while (left != 0) {
      if (left == 1 && failureStays.load(std::memory_order_relaxed)) {
         return true;
      }
      if (untilFailure.compare_exchange_weak(left, left - 1, std::memory_order_relaxed)) {
         return left == 1;
      }
   }
   return false;
}

#else

constexpr bool failsNow() noexcept { return false; }

#endif

}  // namespace

#ifdef ROUTETRIE_FAULT_INJECTION
void failAt(std::uint64_t n) {
   failureStays.store(false, std::memory_order_relaxed);
   untilFailure.store(n, std::memory_order_relaxed);
}

void failFrom(std::uint64_t n) {
   failAt(n);
   failureStays.store(true, std::memory_order_relaxed);
}
#endif

void* slabAlloc(std::size_t size) {
   void* memory = failsNow() ? nullptr : allocate(size);
   if (memory == nullptr) {
      throw std::bad_alloc();
   }
   return memory;
}

void slabFree(void* memory, const std::type_info&) noexcept {
   if (memory != nullptr) {
      release(memory);
   }
}

void* slabAllocOrStdMalloc(std::size_t size, int pattern) noexcept {
   if (failsNow()) {
      return nullptr;
   }
   void* memory = allocate(size);
   if (memory == nullptr) {
      memory = fallbacks.allocate(size);
   }
   if (memory != nullptr && pattern >= 0) {
      std::memset(memory, pattern, size);
   }
   return memory;
}

void slabFreeOrStdFree(void* memory) noexcept {
   if (memory != nullptr && !fallbacks.free(memory)) {
      release(memory);
   }
}

Stats stats() { return currentStats(); }

}  // namespace CoreSlab
