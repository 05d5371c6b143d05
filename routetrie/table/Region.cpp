#include "routetrie/table/Region.h"

#include <sys/mman.h>

#include <atomic>
#include <cstring>
#include <memory>
#include <mutex>
#include <new>

namespace routetrie::Impl {

namespace {

constexpr std::size_t extentBytes = std::size_t{1} << Region::extentShift;
constexpr U32 idleKept = 16;  // empty extents that keep their memory
constexpr U16 noBlock = 0xffff;

struct Extent {
   U32 next;      // in the list of those of its class that have room, or of the empty ones
   U32 previous;  // 0: none; extent 0 holds no blocks
   U16 fresh;     // blocks from here on were never handed out
   U16 used;
   U16 free;  // the first of those that came back, by its number in the extent

   bool hasRoom(unsigned blockClass) const noexcept {
      return free != noBlock || fresh < U32{1} << (Region::extentShift - Region::unitShift - blockClass);
   }
};

// Pages of it that nobody needs stay untouched.
constinit Extent extents[Region::mostExtents]{};

struct Shared {
   std::mutex lock;
   std::atomic<std::byte*> base{nullptr};
   std::size_t reserved = 0;  // extents
   U32 fresh = 1;             // extents from here on were never used
   U32 idle = 0;              // list of empty extents
   U32 idleCount = 0;         // of them, those that have kept their memory
   U32 withRoom[Region::classes]{};
};
constinit Shared shared;

alignas(64) constinit std::byte zeros[Region::nothingBytes]{};

void link(U32& list, U32 number) noexcept {
   Extent& extent = extents[number];
   extent.next = list;
   extent.previous = 0;
   if (list != 0) {
      extents[list].previous = number;
   }
   list = number;
}
void unlink(U32& list, U32 number) noexcept {
   const Extent& extent = extents[number];
   if (extent.next != 0) {
      extents[extent.next].previous = extent.previous;
   }
   (extent.previous != 0 ? extents[extent.previous].next : list) = extent.next;
}

std::byte* extentAt(U32 number) noexcept {
   return shared.base.load(std::memory_order_relaxed) + number * extentBytes;
}
std::byte* blockAt(U32 number, unsigned blockClass, unsigned index) noexcept {
   return extentAt(number) + index * Region::bytesOf(blockClass);
}

U32 openExtent(unsigned blockClass) {
   U32 number = shared.idle;
   if (number != 0) {
      unlink(shared.idle, number);
      shared.idleCount -= shared.idleCount != 0 ? 1 : 0;
   } else if (shared.fresh < shared.reserved) {
      number = shared.fresh++;
   } else {
      throw std::bad_alloc();
   }
   extents[number] = {.next = 0, .previous = 0, .fresh = 0, .used = 0, .free = noBlock};
   link(shared.withRoom[blockClass], number);
   return number;
}

}  // namespace

constinit U8 Region::classes_[mostExtents]{};

std::byte* Region::base() {
   if (std::byte* base = shared.base.load(std::memory_order_acquire)) {
      return base;
   }
   const std::lock_guard guard(shared.lock);
   // A process whose address space is limited gets a smaller range.
   for (std::size_t count = mostExtents; shared.base.load(std::memory_order_relaxed) == nullptr; count /= 4) {
      if (count < 1024) {
         throw std::bad_alloc();
      }
      // One extent more, for the alignment.
      void* got = mmap(nullptr, (count + 1) * extentBytes, PROT_READ | PROT_WRITE,
                       MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
      if (got != MAP_FAILED) {
         std::size_t room = (count + 1) * extentBytes;
         void* aligned = std::align(extentBytes, count * extentBytes, got, room);
         shared.reserved = count;
         shared.base.store(static_cast<std::byte*>(aligned), std::memory_order_release);
      }
   }
   return shared.base.load(std::memory_order_relaxed);
}

std::byte* Region::nothing() noexcept { return zeros; }

U32 Region::take(unsigned blockClass) {
   base();
   const std::lock_guard guard(shared.lock);
   U32 number = shared.withRoom[blockClass];
   if (number == 0) {
      number = openExtent(blockClass);
      classes_[number] = static_cast<U8>(blockClass);
   }
   Extent& extent = extents[number];
   U16 index = extent.free;
   if (index != noBlock) {
      std::memcpy(&extent.free, blockAt(number, blockClass, index), sizeof extent.free);
   } else {
      index = extent.fresh++;
   }
   ++extent.used;
   if (!extent.hasRoom(blockClass)) {
      unlink(shared.withRoom[blockClass], number);
   }
   return (number << (extentShift - unitShift)) + (U32{index} << blockClass);
}

void Region::give(U32 block) noexcept {
   const std::lock_guard guard(shared.lock);
   const U32 number = block >> (extentShift - unitShift);
   Extent& extent = extents[number];
   const unsigned blockClass = classes_[number];
   const auto index = static_cast<U16>((block - (number << (extentShift - unitShift))) >> blockClass);
   if (!extent.hasRoom(blockClass)) {
      link(shared.withRoom[blockClass], number);
   }
   std::memcpy(blockAt(number, blockClass, index), &extent.free, sizeof extent.free);
   extent.free = index;
   if (--extent.used != 0) {
      return;
   }
   unlink(shared.withRoom[blockClass], number);
   link(shared.idle, number);
   if (shared.idleCount < idleKept) {
      ++shared.idleCount;
   } else {
      madvise(extentAt(number), extentBytes, MADV_DONTNEED);
   }
}

#ifdef ROUTETRIE_FAULT_INJECTION
namespace {
constinit std::atomic<U64> untilFailure{0};
}
void Region::failAt(U64 n) noexcept { untilFailure.store(n, std::memory_order_relaxed); }
void Region::mayFail() {
   const U64 left = untilFailure.load(std::memory_order_relaxed);
   if (left != 0) {
      untilFailure.store(left - 1, std::memory_order_relaxed);
      if (left == 1) {
         throw std::bad_alloc();
      }
   }
}
#endif

}  // namespace routetrie::Impl
