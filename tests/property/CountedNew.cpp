#include "tests/property/CountedNew.h"

#include <cstdlib>
#include <new>

namespace Property {

std::size_t newCalls = 0;
std::size_t newFailsAt = 0;

namespace {

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
}  // namespace Property

[[gnu::noinline]] void* operator new(std::size_t bytes) {
   return Property::counted(bytes, alignof(std::max_align_t));
}
[[gnu::noinline]] void* operator new(std::size_t bytes, std::align_val_t alignment) {
   return Property::counted(bytes, static_cast<std::size_t>(alignment));
}
[[gnu::noinline]] void operator delete(void* memory) noexcept { std::free(memory); }
[[gnu::noinline]] void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }
[[gnu::noinline]] void operator delete(void* memory, std::align_val_t) noexcept { std::free(memory); }
[[gnu::noinline]] void operator delete(void* memory, std::size_t, std::align_val_t) noexcept { std::free(memory); }
