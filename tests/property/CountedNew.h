// CountedNew: replaces the global operator new of the program by one that counts its calls, and can be made to fail. To be
// included by the one source file of a program.
#pragma once

#include <cstddef>
#include <cstdlib>
#include <new>

namespace {

std::size_t newCalls = 0;
[[maybe_unused]] std::size_t newFailsAt = 0;  // the n-th call from now; 0: none

void* counted(std::size_t bytes, std::size_t alignment) {
   ++newCalls;
   if (newFailsAt != 0 && --newFailsAt == 0) {
      throw std::bad_alloc();
   }
   void* memory = std::aligned_alloc(alignment, (bytes + alignment - 1) / alignment * alignment);
   if (memory == nullptr) {
      throw std::bad_alloc();
   }
   return memory;
}

}  // namespace

[[gnu::noinline]] void* operator new(std::size_t bytes) { return counted(bytes, alignof(std::max_align_t)); }
[[gnu::noinline]] void* operator new(std::size_t bytes, std::align_val_t alignment) {
   return counted(bytes, static_cast<std::size_t>(alignment));
}
[[gnu::noinline]] void operator delete(void* memory) noexcept { std::free(memory); }
[[gnu::noinline]] void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }
[[gnu::noinline]] void operator delete(void* memory, std::align_val_t) noexcept { std::free(memory); }
[[gnu::noinline]] void operator delete(void* memory, std::size_t, std::align_val_t) noexcept { std::free(memory); }
