// PageHeap: blocks of the size classes in pages, pages in arenas.
//
//    arena, 2 MiB, aligned to its size       page, 64 KiB, aligned to its size
//    +------+------+-- ... --+------+        +--------+-------+-------+-- ... --+-------+
//    | page | page |         | page |        | header | block | block |         | block |
//    +------+------+-- ... --+------+        +--------+-------+-------+-- ... --+-------+
//
// A page holds blocks of one class, and its header tells which: a block's page is found by masking its address, so that
// a block has no header and is freed without its size. The header stands a line further with each page of an arena, which
// the picture leaves out. The first page of an arena holds the arena's header too. Blocks
// of a fresh page are handed out in ascending order, all of them before one that was given back, so that what is made
// together lies together. A block that is free holds the link to the next one.
//
// An empty page goes back to its arena, and an empty arena is unmapped, but for one that is kept in case. Each class has
// a lock, and so has the list of arenas, which may be taken while a class's is held and not the other way round.
// Tested by tests/platform/CoreSlab/PageHeapTest.cpp.
#pragma once

#include <array>
#include <cstddef>

#include "routetrie/platform/CoreSlab/SizeClass.h"
#include "routetrie/platform/CoreSlab/SpinLock.h"
#include "routetrie/platform/Export.h"
#include "routetrie/platform/Types.h"

namespace CoreSlab {

// A free block, by its link to the next one.
struct FreeBlock {
   FreeBlock* next;
};

class ROUTETRIE_EXPORT PageHeap {
  public:
   static constexpr std::size_t pageBytes = 64 * 1024;
   static constexpr std::size_t arenaBytes = 2 * 1024 * 1024;

   constexpr PageHeap() = default;
   PageHeap(const PageHeap&) = delete;
   PageHeap& operator=(const PageHeap&) = delete;

   // A block for `bytes`, aligned to 16 if its class is a multiple of 16, else to 8; null without memory.
   void* allocate(std::size_t bytes) noexcept;
   // Gives a block of this heap back.
   void free(void* block) noexcept;

   // Up to `count` blocks of a class as a list, in ascending order from a fresh page; null without memory. `count` becomes
   // the number got.
   FreeBlock* allocateList(std::size_t sizeClass, std::size_t& count) noexcept;
   // Gives a list of blocks of a class back.
   void freeList(std::size_t sizeClass, FreeBlock* list) noexcept;

   // The class of a block of this heap, or classCount for one with a mapping of its own.
   static std::size_t sizeClassOfBlock(const void* block) noexcept;

   struct Stats {
      std::size_t liveBlocks = 0;   // handed out
      std::size_t liveBytes = 0;    // of them, by the sizes of their classes
      std::size_t mappedBytes = 0;  // got from the kernel
      std::size_t pages = 0;        // in use by a class
   };
   // Exact while no other thread works on the heap.
   Stats stats() noexcept;

  private:
   struct Page;
   struct Arena;

   struct alignas(64) ClassPages {
      SpinLock lock;
      Page* withRoom = nullptr;  // pages that have a free block, doubly linked
      std::size_t pages = 0;
      std::size_t liveBlocks = 0;
   };

   void* allocateLocked(ClassPages& pages, std::size_t sizeClass) noexcept;
   // Returns the page if it is empty now and leaves its class, else null.
   Page* freeLocked(ClassPages& pages, void* block) noexcept;

   Page* newPage(std::size_t sizeClass) noexcept;
   void releasePage(Page* page) noexcept;
   Arena* newArena() noexcept;

   void* allocateLarge(std::size_t bytes) noexcept;
   void freeLarge(Page* page) noexcept;

   std::array<ClassPages, classCount> classes_{};
   SpinLock arenaLock_;
   Arena* arenasWithRoom_ = nullptr;  // partly used ones, doubly linked
   Arena* spareArena_ = nullptr;      // an empty one
   std::size_t mappedBytes_ = 0;
   std::size_t largeBlocks_ = 0;
   std::size_t largeBytes_ = 0;
};

}  // namespace CoreSlab
