// Arena: runs of units for one tree, from chunks that the region hands out.
//
//    chunk: a block of 256 bytes up to 128 units, at a multiple of its size
//    +--------+----------+--------+----- ... ---+
//    | header | run of 3 |  free  | run of 4    |        header: a bit for each unit that is free; links
//    +--------+----------+--------+----- ... ---+
//
// A run lies in one chunk. It gives units of its end back without asking for any, so taking a route out of a tree needs no memory.
// It does not grow in place: what takes its longer content anew is at hand, as it was given out a moment ago, and the header that
// knows whether there is room behind it mostly is not. Chunks are in lists by the longest run that is free in them: list k holds those
// where it has 2^k units or more and fewer than 2^(k+1). A chunk that is empty goes back. The first chunks are small, and each next
// may be as large as a quarter of all before it.
// Tested by tests/table/ArenaTest.cpp.
#pragma once

#include <cstddef>
#include <vector>

#include "routetrie/table/Region.h"

namespace routetrie::Impl {

class ROUTETRIE_EXPORT Arena {
  public:
   static constexpr unsigned mostUnits = 64;  // in a run

   explicit Arena(unsigned unitShift) noexcept : unitShift_(static_cast<U8>(unitShift)) {}  // log2 of a unit's bytes
   Arena(const Arena&) = delete;
   Arena& operator=(const Arena&) = delete;
   ~Arena() { clear(); }

   // Runs are known by the number of their first unit, counted from the region's base; never 0.
   U32 allocate(unsigned units);  // std::bad_alloc without memory
   // Frees a run, or a part of one.
   void release(U32 at, unsigned units) noexcept;
   void clear() noexcept;
   // Fetches ahead what a change of that run reads. Requires: it is one.
   void prefetch(U32 at) const noexcept {
      __builtin_prefetch(base_ + (std::size_t{at} << unitShift_));
      __builtin_prefetch(Region::at(base_, blockOf(at)));
   }

   std::size_t usedBytes() const noexcept { return std::size_t{usedUnits_} << unitShift_; }
   std::size_t heldBytes() const noexcept { return heldBytes_; }

   // For audits: "" or what is broken. `runs` are all that the tree holds, in any order.
   struct Run {
      U32 at;
      U32 units;
   };
   const char* audit(std::vector<Run> runs) const;

  private:
   struct Chunk;
   static constexpr unsigned lists = 7;

   Chunk& chunk(U32 block) const noexcept;
   U32 blockOf(U32 at) const noexcept {
      const std::size_t byte = std::size_t{at} << unitShift_;
      const unsigned blockClass = Region::classAt(byte);
      return static_cast<U32>(byte >> (Region::unitShift + blockClass) << blockClass);
   }
   unsigned headerUnits() const noexcept;
   U32 addChunk(unsigned units);
   void link(U32 block, Chunk& chunk) noexcept;
   void unlink(U32 block, Chunk& chunk) noexcept;
   void setFree(U32 block, Chunk& chunk, U128 free) noexcept;

   std::byte* base_ = nullptr;  // the region's; null while there is no chunk
   U32 all_ = 0;                // list of all chunks
   U32 lists_[lists]{};         // see above
   U32 usedUnits_ = 0;          // in runs
   U8 unitShift_;
   std::size_t heldBytes_ = 0;
};

}  // namespace routetrie::Impl
