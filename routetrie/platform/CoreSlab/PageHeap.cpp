#include "routetrie/platform/CoreSlab/PageHeap.h"

#include <sys/mman.h>

#include <bit>
#include <mutex>
#include <new>

namespace CoreSlab {

namespace {

constexpr std::size_t headerBytes = 64;
constexpr std::size_t headerPlaces = 32;

}  // namespace

struct PageHeap::Page {
   Page* next = nullptr;  // among the pages of the class with room
   Page* previous = nullptr;
   FreeBlock* free = nullptr;
   U32 blockBytes = 0;
   U32 sizeClass = 0;    // classCount for a mapping that holds one large block
   U32 freshOffset = 0;  // bytes; blocks from here on were never handed out
   U32 liveBlocks = 0;
   std::size_t mappedBytes = 0;  // of a large block's mapping

   // The header of the page of that block, or of any address in it.
   static Page* of(const void* block) noexcept {
      const auto address = std::bit_cast<std::uintptr_t>(block);
      return std::bit_cast<Page*>((address & ~(pageBytes - 1)) + headerOffset(address));
   }
   // Headers at the same place of all pages would fight for the same few lines of the processor's caches, and each block
   // given back would wait for memory.
   static std::size_t headerOffset(std::uintptr_t address) noexcept {
      return address / pageBytes % headerPlaces * headerBytes;
   }
   char* begin() noexcept { return std::bit_cast<char*>(std::bit_cast<std::uintptr_t>(this) & ~(pageBytes - 1)); }
   bool hasFresh() const noexcept { return freshOffset + blockBytes <= pageBytes; }
   bool hasRoom() const noexcept { return free != nullptr || hasFresh(); }
};

struct PageHeap::Arena {
   Arena* next = nullptr;  // among the arenas with room
   Arena* previous = nullptr;
   U32 freePages = ~U32{0};  // one bit a page

   static Arena* of(const void* page) noexcept {
      return std::bit_cast<Arena*>((std::bit_cast<std::uintptr_t>(page) & ~(arenaBytes - 1)) + headerOffset);
   }
   char* begin() noexcept { return reinterpret_cast<char*>(this) - headerOffset; }

   static constexpr std::size_t headerOffset = 64;
};

namespace {

constexpr std::size_t pagesInArena = PageHeap::arenaBytes / PageHeap::pageBytes;
static_assert(pagesInArena == 32);

// Puts an element at the front of a doubly linked list, or of what follows `previous` in one, or takes it out.
template <class T>
void link(T*& list, T* element, T* previous = nullptr) noexcept {
   element->next = list;
   element->previous = previous;
   if (list != nullptr) {
      list->previous = element;
   }
   list = element;
}
template <class T>
void unlink(T*& list, T* element) noexcept {
   (element->previous != nullptr ? element->previous->next : list) = element->next;
   if (element->next != nullptr) {
      element->next->previous = element->previous;
   }
}

// `bytes` of memory at a multiple of `alignment`; null if the kernel has none. Both are multiples of 64 KiB.
char* mapAligned(std::size_t bytes, std::size_t alignment) noexcept {
   const std::size_t total = bytes + alignment;
   void* memory = mmap(nullptr, total, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
   if (memory == MAP_FAILED) {
      return nullptr;
   }
   const auto address = std::bit_cast<std::uintptr_t>(memory);
   const std::size_t before = (alignment - address % alignment) % alignment;
   auto* begin = static_cast<char*>(memory) + before;
   if (before != 0) {
      munmap(memory, before);
   }
   munmap(begin + bytes, total - before - bytes);
   return begin;
}

}  // namespace

//--- blocks ---

void* PageHeap::allocate(std::size_t bytes) noexcept {
   if (bytes > classedLimitBytes) {
      return allocateLarge(bytes);
   }
   const std::size_t sizeClass = sizeClassOf(bytes);
   ClassPages& pages = classes_[sizeClass];
   const std::lock_guard guard(pages.lock);
   return allocateLocked(pages, sizeClass);
}

void PageHeap::free(void* block) noexcept {
   Page* page = Page::of(block);
   if (page->sizeClass == classCount) {
      return freeLarge(page);
   }
   ClassPages& pages = classes_[page->sizeClass];
   Page* empty = nullptr;
   {
      const std::lock_guard guard(pages.lock);
      empty = freeLocked(pages, block);
   }
   if (empty != nullptr) {
      releasePage(empty);
   }
}

FreeBlock* PageHeap::allocateList(std::size_t sizeClass, std::size_t& count) noexcept {
   ClassPages& pages = classes_[sizeClass];
   const std::lock_guard guard(pages.lock);
   FreeBlock* list = nullptr;
   FreeBlock** end = &list;
   std::size_t got = 0;
   for (; got < count; ++got) {
      void* block = allocateLocked(pages, sizeClass);
      if (block == nullptr) {
         break;
      }
      *end = ::new (block) FreeBlock{nullptr};
      end = &(*end)->next;
   }
   count = got;
   return list;
}

void PageHeap::freeList(std::size_t sizeClass, FreeBlock* list) noexcept {
   ClassPages& pages = classes_[sizeClass];
   Page* empties = nullptr;
   {
      const std::lock_guard guard(pages.lock);
      while (list != nullptr) {
         FreeBlock* next = list->next;
         if (Page* empty = freeLocked(pages, list)) {
            link(empties, empty);
         }
         list = next;
      }
   }
   while (empties != nullptr) {
      Page* page = empties;
      empties = page->next;
      releasePage(page);
   }
}

std::size_t PageHeap::sizeClassOfBlock(const void* block) noexcept { return Page::of(block)->sizeClass; }

void* PageHeap::allocateLocked(ClassPages& pages, std::size_t sizeClass) noexcept {
   Page* page = pages.withRoom;
   if (page == nullptr) {
      page = newPage(sizeClass);
      if (page == nullptr) {
         return nullptr;
      }
      ++pages.pages;
      link(pages.withRoom, page);
   }
   void* block = nullptr;
   if (page->hasFresh()) {
      block = page->begin() + page->freshOffset;
      page->freshOffset += page->blockBytes;
   } else {
      block = page->free;
      page->free = page->free->next;
   }
   ++page->liveBlocks;
   ++pages.liveBlocks;
   if (!page->hasRoom()) {
      unlink(pages.withRoom, page);
   }
   return block;
}

PageHeap::Page* PageHeap::freeLocked(ClassPages& pages, void* block) noexcept {
   Page* page = Page::of(block);
   const bool hadRoom = page->hasRoom();
   page->free = ::new (block) FreeBlock{page->free};
   --page->liveBlocks;
   --pages.liveBlocks;
   if (!hadRoom) {
      // Behind the first, which goes on being filled: its next blocks lie beside those that were made last.
      Page* first = pages.withRoom;
      link(first != nullptr ? first->next : pages.withRoom, page, first);
   }
   if (page->liveBlocks != 0) {
      return nullptr;
   }
   unlink(pages.withRoom, page);
   --pages.pages;
   return page;
}

//--- pages and arenas ---

PageHeap::Page* PageHeap::newPage(std::size_t sizeClass) noexcept {
   char* memory = nullptr;
   bool isFirst = false;
   {
      const std::lock_guard guard(arenaLock_);
      Arena* arena = arenasWithRoom_;
      if (arena == nullptr) {
         arena = spareArena_ != nullptr ? spareArena_ : newArena();
         if (arena == nullptr) {
            return nullptr;
         }
         spareArena_ = nullptr;
         link(arenasWithRoom_, arena);
      }
      const auto index = static_cast<std::size_t>(std::countr_zero(arena->freePages));
      arena->freePages &= arena->freePages - 1;
      if (arena->freePages == 0) {
         unlink(arenasWithRoom_, arena);
      }
      memory = arena->begin() + index * pageBytes;
      isFirst = index == 0;
   }
   auto* page = ::new (Page::of(memory)) Page;
   page->blockBytes = static_cast<U32>(sizeClassBytes(sizeClass));
   page->sizeClass = static_cast<U32>(sizeClass);
   const std::size_t headers = isFirst ? 2 * headerBytes : headerBytes;
   page->freshOffset = static_cast<U32>(Page::headerOffset(std::bit_cast<std::uintptr_t>(memory)) + headers);
   return page;
}

void PageHeap::releasePage(Page* page) noexcept {
   Arena* arena = Arena::of(page);
   char* begin = arena->begin();
   const std::lock_guard guard(arenaLock_);
   if (arena->freePages == 0) {
      link(arenasWithRoom_, arena);
   }
   arena->freePages |= U32{1} << static_cast<std::size_t>(page->begin() - begin) / pageBytes;
   if (arena->freePages != ~U32{0}) {
      return;
   }
   unlink(arenasWithRoom_, arena);
   if (spareArena_ == nullptr) {
      spareArena_ = arena;
   } else {
      mappedBytes_ -= arenaBytes;
      munmap(begin, arenaBytes);
   }
}

PageHeap::Arena* PageHeap::newArena() noexcept {
   char* memory = mapAligned(arenaBytes, arenaBytes);
   if (memory == nullptr) {
      return nullptr;
   }
   mappedBytes_ += arenaBytes;
   // A descent meets a node on another page at nearly every step, so that the translation of addresses costs as much as
   // the memory. Where the kernel has no huge pages to give, nothing changes.
   madvise(memory, arenaBytes, MADV_HUGEPAGE);
   return ::new (memory + Arena::headerOffset) Arena;
}

//--- large blocks ---

void* PageHeap::allocateLarge(std::size_t bytes) noexcept {
   static_assert(sizeof(Page) <= headerBytes && headerBytes + sizeof(Arena) <= 2 * headerBytes);
   if (bytes > ~std::size_t{0} - 3 * pageBytes) {
      return nullptr;
   }
   const std::size_t mapped = (bytes + headerPlaces * headerBytes + pageBytes - 1) / pageBytes * pageBytes;
   char* memory = mapAligned(mapped, pageBytes);
   if (memory == nullptr) {
      return nullptr;
   }
   auto* page = ::new (Page::of(memory)) Page;
   page->sizeClass = classCount;
   page->mappedBytes = mapped;
   const std::lock_guard guard(arenaLock_);
   mappedBytes_ += mapped;
   ++largeBlocks_;
   largeBytes_ += mapped;
   return reinterpret_cast<char*>(page) + headerBytes;
}

void PageHeap::freeLarge(Page* page) noexcept {
   const std::size_t mapped = page->mappedBytes;
   {
      const std::lock_guard guard(arenaLock_);
      mappedBytes_ -= mapped;
      --largeBlocks_;
      largeBytes_ -= mapped;
   }
   munmap(page->begin(), mapped);
}

PageHeap::Stats PageHeap::stats() noexcept {
   Stats result;
   for (std::size_t sizeClass = 0; sizeClass < classCount; ++sizeClass) {
      ClassPages& pages = classes_[sizeClass];
      const std::lock_guard guard(pages.lock);
      result.pages += pages.pages;
      result.liveBlocks += pages.liveBlocks;
      result.liveBytes += pages.liveBlocks * sizeClassBytes(sizeClass);
   }
   const std::lock_guard guard(arenaLock_);
   result.liveBlocks += largeBlocks_;
   result.liveBytes += largeBytes_;
   result.mappedBytes = mappedBytes_;
   return result;
}

}  // namespace CoreSlab
