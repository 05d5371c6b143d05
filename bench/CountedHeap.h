// CountedHeap: an allocator for the standard containers that counts what they hold: the bytes that the C library
// hands out, its own word a block included.
#pragma once

#include <malloc.h>

#include <cstddef>
#include <cstdint>
#include <new>

#include "routetrie/platform/Types.h"

namespace Bench {

class CountedHeap {
  public:
   static std::uint64_t liveBytes() noexcept { return live_; }

   static void* take(std::size_t bytes) {
      void* memory = ::operator new(bytes);
      live_ += held(memory);
      return memory;
   }
   static void give(void* memory) noexcept {
      live_ -= held(memory);
      ::operator delete(memory);
   }

  private:
   static std::uint64_t held(void* memory) noexcept { return malloc_usable_size(memory) + sizeof(std::size_t); }

   static inline std::uint64_t live_ = 0;  // of the one thread that runs the benchmarks
};

template <class T>
struct CountedAllocator {
   using value_type = T;

   CountedAllocator() noexcept = default;
   template <class U>
   CountedAllocator(const CountedAllocator<U>&) noexcept {}

   T* allocate(std::size_t count) { return static_cast<T*>(CountedHeap::take(count * sizeof(T))); }
   void deallocate(T* memory, std::size_t) noexcept { CountedHeap::give(memory); }

   friend bool operator==(const CountedAllocator&, const CountedAllocator&) noexcept { return true; }
};

}  // namespace Bench
