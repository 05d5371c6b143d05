// CountedNew: replaces the global operator new of the program by one that counts its calls. To be included by the one source
// file of a program.
#pragma once

#include <cstddef>
#include <cstdlib>
#include <new>

namespace {

std::size_t newCalls = 0;

void* counted(std::size_t bytes, std::size_t alignment) {
   ++newCalls;
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
