#include "routetrie/platform/CoreSlab/ThreadCache.h"

namespace CoreSlab {

namespace {

// All caches, the newest first; none ever leaves.
constinit std::atomic<ThreadCache*> caches{nullptr};

// Set from when the thread gave its blocks back.
[[gnu::tls_model("initial-exec")]] constinit thread_local bool isPast = false;

}  // namespace

constinit thread_local ThreadCache* ThreadCache::own_ = nullptr;

// Ends with the thread. Whatever else of the thread is destroyed after it finds no cache.
class ThreadCacheLife {
  public:
   constexpr ThreadCacheLife() = default;
   ~ThreadCacheLife() {
      ThreadCache* cache = ThreadCache::own_;
      ThreadCache::own_ = nullptr;
      isPast = true;
      if (cache != nullptr) {
         cache->flush();
         cache->taken_.store(false, std::memory_order_release);
      }
   }
   void begin(ThreadCache* cache) noexcept { ThreadCache::own_ = cache; }
};

ThreadCache* ThreadCache::make(PageHeap& heap) noexcept {
   if (isPast) {
      return nullptr;
   }
   ThreadCache* cache = caches.load(std::memory_order_acquire);
   for (; cache != nullptr; cache = cache->next_) {
      bool taken = false;
      if (cache->taken_.compare_exchange_strong(taken, true, std::memory_order_acquire)) {
         break;
      }
   }
   if (cache == nullptr) {
      cache = new (std::nothrow) ThreadCache(heap);
      if (cache == nullptr) {
         return nullptr;
      }
      cache->next_ = caches.load(std::memory_order_relaxed);
      while (
         !caches.compare_exchange_weak(cache->next_, cache, std::memory_order_release, std::memory_order_relaxed)) {
      }
   }
   static thread_local ThreadCacheLife life;
   life.begin(cache);
   return cache;
}

bool ThreadCache::refill(List& list, std::size_t sizeClass) noexcept {
   std::size_t count = batches[sizeClass];
   list.first = heap_.allocateList(sizeClass, count);
   list.size.store(static_cast<U32>(count), std::memory_order_relaxed);
   return list.first != nullptr;
}

// Keeps the batch that was freed last: it is the one in the processor's cache.
void ThreadCache::shrink(List& list, std::size_t sizeClass) noexcept {
   FreeBlock* last = list.first;
   for (std::size_t i = 1; i < batches[sizeClass]; ++i) {
      last = last->next;
   }
   heap_.freeList(sizeClass, last->next);
   last->next = nullptr;
   list.size.store(batches[sizeClass], std::memory_order_relaxed);
}

void ThreadCache::flush() noexcept {
   for (std::size_t sizeClass = 0; sizeClass < classCount; ++sizeClass) {
      List& list = lists_[sizeClass];
      heap_.freeList(sizeClass, list.first);
      list.first = nullptr;
      list.size.store(0, std::memory_order_relaxed);
   }
}

ThreadCache::Kept ThreadCache::kept() noexcept {
   Kept result;
   for (const auto* cache = caches.load(std::memory_order_acquire); cache != nullptr; cache = cache->next_) {
      for (std::size_t sizeClass = 0; sizeClass < classCount; ++sizeClass) {
         const std::size_t size = cache->lists_[sizeClass].size.load(std::memory_order_relaxed);
         result.blocks += size;
         result.bytes += size * sizeClassBytes(sizeClass);
      }
   }
   return result;
}

}  // namespace CoreSlab
