#include "platform/CoreSlab/ThreadCache.h"

#include <mutex>

namespace CoreSlab {

namespace {

constinit SpinLock cachesLock;
constinit ThreadCache* caches = nullptr;  // in use

constinit thread_local ThreadCache cache;

}  // namespace

// Made at a thread's first use of its cache; ends with the thread.
class ThreadCacheLife {
 public:
   ThreadCacheLife() noexcept {
      const std::lock_guard guard(cachesLock);
      cache.next_ = caches;
      if (caches != nullptr) {
         caches->previous_ = &cache;
      }
      caches = &cache;
      cache.state_ = ThreadCache::State::used;
   }
   ~ThreadCacheLife() {
      if (cache.heap_ != nullptr) {
         cache.flush(*cache.heap_);
      }
      const std::lock_guard guard(cachesLock);
      (cache.previous_ != nullptr ? cache.previous_->next_ : caches) = cache.next_;
      if (cache.next_ != nullptr) {
         cache.next_->previous_ = cache.previous_;
      }
      cache.state_ = ThreadCache::State::gone;
   }
};

ThreadCache* ThreadCache::own() noexcept {
   if (cache.state_ == State::used) {
      return &cache;
   }
   if (cache.state_ == State::gone) {
      return nullptr;
   }
   static thread_local ThreadCacheLife life;
   return &cache;
}

void* ThreadCache::allocate(PageHeap& heap, std::size_t sizeClass) noexcept {
   List& list = lists_[sizeClass];
   std::size_t size = list.size.load(std::memory_order_relaxed);
   if (list.first == nullptr) {
      heap_ = &heap;
      size = batchOf(sizeClass);
      list.first = heap.allocateList(sizeClass, size);
      if (list.first == nullptr) {
         return nullptr;
      }
   }
   FreeBlock* block = list.first;
   list.first = block->next;
   list.size.store(size - 1, std::memory_order_relaxed);
   return block;
}

void ThreadCache::free(PageHeap& heap, std::size_t sizeClass, void* block) noexcept {
   heap_ = &heap;
   List& list = lists_[sizeClass];
   list.first = ::new (block) FreeBlock{list.first};
   std::size_t size = list.size.load(std::memory_order_relaxed) + 1;
   const std::size_t batch = batchOf(sizeClass);
   if (size > 2 * batch) {
      // Keeps the blocks that were freed last: they are the ones in the processor's cache.
      FreeBlock* last = list.first;
      for (std::size_t i = 1; i < batch; ++i) {
         last = last->next;
      }
      heap.freeList(sizeClass, last->next);
      last->next = nullptr;
      size = batch;
   }
   list.size.store(size, std::memory_order_relaxed);
}

void ThreadCache::flush(PageHeap& heap) noexcept {
   for (std::size_t sizeClass = 0; sizeClass < classCount; ++sizeClass) {
      List& list = lists_[sizeClass];
      heap.freeList(sizeClass, list.first);
      list.first = nullptr;
      list.size.store(0, std::memory_order_relaxed);
   }
}

ThreadCache::Kept ThreadCache::kept() noexcept {
   Kept result;
   const std::lock_guard guard(cachesLock);
   for (const ThreadCache* each = caches; each != nullptr; each = each->next_) {
      for (std::size_t sizeClass = 0; sizeClass < classCount; ++sizeClass) {
         const std::size_t size = each->lists_[sizeClass].size.load(std::memory_order_relaxed);
         result.blocks += size;
         result.bytes += size * sizeClassBytes(sizeClass);
      }
   }
   return result;
}

}  // namespace CoreSlab
