// Slab: memory for objects and nodes, in size classes, without a header before each block.
//
// Memory is from PageHeap (routetrie/platform/CoreSlab/PageHeap.h). Every call is safe from any thread at any time, and a block may
// be freed by another thread than the one that got it. Once the process is multi-threaded (Corvid::ThreadControl) each
// thread keeps a few free blocks of each class to itself, and gives them back when it ends. The slab is there from load
// time to the process's end.
//
// Built for the address sanitizer, the slab hands every call on to the C heap, so that the sanitizer sees each block:
// leaks, overruns and use after free. Statistics and failing on purpose work there too.
// Tested by tests/platform/CoreSlab/SlabTest.cpp.
#pragma once

#include <cstddef>
#include <cstdint>
#include <typeinfo>

#include "routetrie/platform/Export.h"
#include "routetrie/platform/Types.h"

namespace CoreSlab {

// Memory for one object of `size` bytes; it is not initialised. Aligned to 16 if the size is a multiple of 16, else to 8.
// Never null: raises std::bad_alloc.
[[nodiscard]] ROUTETRIE_EXPORT void* slabAlloc(std::size_t size);
// Gives back what slabAlloc gave; null is let be. The type is the object's, for tools that watch the call.
ROUTETRIE_EXPORT void slabFree(void* memory, const std::type_info& type) noexcept;

// The same with the C heap to fall back to; null if neither has memory. Each byte is set to `pattern`, or left as it is if
// that is negative. What this gives, only slabFreeOrStdFree takes back; null is let be.
[[nodiscard]] ROUTETRIE_EXPORT void* slabAllocOrStdMalloc(std::size_t size, int pattern) noexcept;
ROUTETRIE_EXPORT void slabFreeOrStdFree(void* memory) noexcept;

struct Stats {
   std::size_t liveBlocks = 0;   // handed out and not given back
   std::size_t liveBytes = 0;    // of them, each by the size of its class
   std::size_t mappedBytes = 0;  // got from the kernel, kept free blocks included; 0 where the C heap serves
   std::size_t pages = 0;        // of 64 KiB, in use by a size class
};
// Exact while no other thread allocates or frees.
ROUTETRIE_EXPORT Stats stats();

#ifdef ROUTETRIE_FAULT_INJECTION
// Makes the n-th allocation from now fail, counted over both ways to allocate and over all threads: std::bad_alloc from
// slabAlloc, null from slabAllocOrStdMalloc. 0 lets all succeed.
ROUTETRIE_EXPORT void failAt(std::uint64_t n);
// As failAt, but all allocations fail from the n-th on, until failAt(0).
ROUTETRIE_EXPORT void failFrom(std::uint64_t n);
#endif

}  // namespace CoreSlab
