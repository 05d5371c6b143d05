// Arena: runs of units for one tree, from chunks that the region hands out.
//
//    chunk: a block of 256 bytes up to 128 units, at a multiple of its size
//    +--------+----------+--------+----- ... ---+
//    | header | run of 3 |  free  | run of 4    |        header: a bit for each unit that is free; links; epoch
//    +--------+----------+--------+----- ... ---+
//
// A run lies in one chunk. One of two units or more begins at an even one: where units have 32 bytes, with a line of memory. It gives
// units of its end back without asking for any, so taking a route out of a tree needs no memory.
// It does not grow in place: what takes its longer content anew is at hand, as it was given out a moment ago, and the header that
// knows whether there is room behind it mostly is not. Chunks are in lists by the longest run that can be had of them: list k holds
// those where it has 2^k units or more and fewer than 2^(k+1). A chunk that is empty goes back. The first chunks are small, and each next
// may be as large as a quarter of all before it.
//
// A tree has versions (Store.h), and a run must not be written while an older version than the one that is changed has it. A chunk
// holds runs of one epoch, which is a number that grows with each snapshot: whatever lies in a chunk of an epoch that a snapshot has
// seen is as old as that, and such a chunk gives out no runs, though it takes them back. Chunks from before the first snapshot need no
// number for it: they are of epoch 1.
//
// A tree that publishes a version with every change copies a few runs with each, and gets those of an earlier one back. Both go by
// lists here (Turnover), and no chunk is looked at: its header is far away, and those beside it in its lists farther. Runs that came
// back are given out again, those first that came last, which a cache may still have. And what was given out since the last version,
// which the change may write, is found in a short list; where it is more, by a bit for each unit in the chunks. Of chunks that were there
// before there were versions, which have no room for the bits, and of arenas of small units, where they would not pay, it is then said that
// it is not: who copies such a run once more has lost a little time and nothing else.
// Tested by tests/table/ArenaTest.cpp.
#pragma once

#include <cstddef>
#include <memory>
#include <vector>

#include "routetrie/table/Region.h"

namespace routetrie::Impl {

// What the arenas of a tree are told of its versions.
struct Epochs {
   U64 now = 1;
   U64 seen = 0;   // the last one that a snapshot has seen which is still there
   U64 batch = 0;  // grows as versions are published; 0: none are
};

class ROUTETRIE_EXPORT Arena {
  public:
   static constexpr unsigned mostUnits = 64;  // in a run

   static constexpr unsigned lists = 7;
   // The chunks with free units, by the longest run that can be had of them.
   struct Lists {
      U32 first[lists]{};
      U32 last[lists]{};
   };

   explicit Arena(unsigned unitShift) noexcept;  // log2 of a unit's bytes
   Arena(const Arena&) = delete;
   Arena& operator=(const Arena&) = delete;
   ~Arena();

   // Runs are known by the number of their first unit, counted from the region's base; never 0.
   U32 allocate(unsigned units);  // std::bad_alloc without memory
   // Frees a run, or a part of one.
   void release(U32 at, unsigned units) noexcept { release(at, units, lists_); }
   // The same where chunks of its epoch are in lists that were set aside.
   void release(U32 at, unsigned units, Lists& in) noexcept;
   void clear() noexcept;

   //--- versions
   struct Turnover;
   // What an arena of a tree that has had versions needs more.
   struct Following {
      explicit Following(const Epochs& of) noexcept;
      ~Following();
      // The versions are published from now on; std::bad_alloc.
      void startPublishing();

      const Epochs& epochs;
      std::unique_ptr<Turnover> turnover;  // of one that publishes
   };
   // From now on it goes by this, which lives as long.
   void follow(Following& following) noexcept { following_ = &following; }
   // As release(), of a run that no snapshot has seen, in a tree that publishes: it is given out again soon.
   void recycle(U32 at, unsigned units) noexcept;
   // What waits to be given out again goes to the chunks.
   void settle() noexcept;
   U64 epochOf(U32 at) const noexcept;
   // Whether nothing older than the version that is changed has the run that this unit is in.
   bool owns(U32 at) const noexcept {
      return turnover() != nullptr ? ownsInBatch(at) : epochOf(chunk(blockOf(at))) > epochs().seen;
   }
   // False: owns() is true of nothing.
   bool ownsSome() const noexcept;
   // A new epoch begins: the chunks of the one before go to the lists.
   void setAside(Lists& aside) noexcept {
      settle();
      aside = lists_;
      lists_ = {};
   }
   // There is no snapshot any more from the epoch of these lists up to those that get them, or to now.
   void join(Lists& from, Lists& to) noexcept;
   void join(Lists& from) noexcept { join(from, lists_); }
   // Fetches ahead what a change of that run reads. Requires: it is one.
   void prefetch(U32 at) const noexcept {
      __builtin_prefetch(base_ + (std::size_t{at} << unitShift_));
      __builtin_prefetch(Region::at(base_, blockOf(at)));
   }

   unsigned unitShift() const noexcept { return unitShift_; }
   std::size_t usedBytes() const noexcept { return std::size_t{usedUnits_} << unitShift_; }
   std::size_t heldBytes() const noexcept { return std::size_t{heldBlocks_} << Region::unitShift; }

   // For audits: "" or what is broken. `runs` are all that the tree holds, in any order.
   struct Run {
      U32 at;
      U32 units;
   };
   const char* audit(std::vector<Run> runs) const;

  private:
   struct Chunk {
      U64 free[2];  // the low word first; bits behind the chunk's end are zero
      U32 next : 26;
      U32 list : 6;  // `lists`: in none, as nothing is free
      U32 previous : 26;
      U32 blockClass : 5;
      U32 isLong : 1;  // has what comes behind the links
      U32 nextOfAll;
      U32 previousOfAll;
      // Only of chunks of trees that have had versions:
      U64 epoch;
      // Only where the arena marks its own:
      U64 batch;   // in which the marks were made; those of another mean nothing
      U64 own[2];  // units that were given out in it

      U128 freeBits() const noexcept { return U128{free[1]} << 64 | free[0]; }
   };

   static constexpr Epochs noEpochs{};
   const Epochs& epochs() const noexcept { return following_ != nullptr ? following_->epochs : noEpochs; }
   Turnover* turnover() const noexcept { return following_ != nullptr ? following_->turnover.get() : nullptr; }

   Chunk& chunk(U32 block) const noexcept { return *static_cast<Chunk*>(Region::at(base_, block)); }
   U32 blockOf(U32 at) const noexcept {
      const std::size_t byte = std::size_t{at} << unitShift_;
      const unsigned blockClass = Region::classAt(byte);
      return static_cast<U32>(byte >> (Region::unitShift + blockClass) << blockClass);
   }
   unsigned headerUnits(bool isLong) const noexcept;
   unsigned headerUnits(const Chunk& chunk) const noexcept;
   static U64 epochOf(const Chunk& chunk) noexcept { return chunk.isLong != 0 ? chunk.epoch : 1; }
   bool ownsInBatch(U32 at) const noexcept;
   U32 addChunk(unsigned units);
   U32 allocateInChunk(unsigned units);
   U32 allocateOwn(Turnover& turnover, unsigned units);
   void giveBack(U32 at, unsigned units, Lists& in) noexcept;
   void markOwn(U32 at, unsigned units) noexcept;
   bool marksOwn() const noexcept { return unitShift_ >= 5; }
   void link(U32 block, Chunk& c, Lists& in) noexcept;
   void unlink(U32 block, Chunk& c, Lists& in) noexcept;
   void setFree(U32 block, Chunk& c, U128 free, Lists& in) noexcept;

   std::byte* base_ = nullptr;  // the region's; null while there is no chunk
   Following* following_ = nullptr;
   Lists lists_;         // of chunks of epochs that no snapshot has seen
   U32 all_ = 0;         // list of all chunks
   U32 usedUnits_ = 0;   // in runs
   U32 heldBlocks_ = 0;  // of 256 bytes
   U8 unitShift_;
};

}  // namespace routetrie::Impl
