#include "routetrie/table/Arena.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <new>

namespace routetrie::Impl {

namespace {

constexpr std::size_t headerBytes = 64;
constexpr std::size_t unmarkedBytes = 40;  // of a header without marks
constexpr std::size_t shortBytes = 32;     // of one without an epoch

constexpr U128 ones(unsigned count) noexcept { return count >= 128 ? ~U128{0} : (U128{1} << count) - 1; }
int lowest(U128 bits) noexcept {
   const auto low = static_cast<U64>(bits);
   return low != 0 ? std::countr_zero(low) : 64 + std::countr_zero(static_cast<U64>(bits >> 64));
}
constexpr U128 evenUnits = ~U128{0} / 3;
// The bits from which `count` in a row are set.
U128 runsOf(U128 bits, unsigned count) noexcept {
   for (unsigned have = 1; have < count;) {
      const unsigned more = std::min(have, count - have);
      bits &= bits >> more;
      have += more;
   }
   return bits;
}
// Without branches, as nobody could foretell them and what `free` is read from is mostly far away.
unsigned listOf(U128 free, unsigned none) noexcept {
   unsigned list = free == 0 ? none : 0;
   free &= free >> 1 & evenUnits;
   for (unsigned have = 2; have <= 64; have *= 2) {
      list += free != 0 ? 1 : 0;
      free &= free >> have;
   }
   return list;
}

}  // namespace

struct Arena::Turnover {
   // Runs of one number of units that came back.
   static constexpr unsigned sizes = 12;
   std::vector<U32> back[sizes];
   U32 backUnits = 0;  // of all of them
   U32 mostBack = 0;   // units; as many may be kept at least

   // What was given out in a batch.
   static constexpr unsigned mostOwn = 24;
   U64 batch = 0;
   U8 ownCount = 0;
   bool isFull = false;  // there was more
   U8 ownUnits[mostOwn];
   U32 own[mostOwn];

   // Those that trees ask for: powers of two, and one and a half of them.
   static constexpr U8 unitsOf[sizes] = {1, 2, 3, 4, 6, 8, 12, 16, 24, 32, 48, 64};
   static constexpr U8 noSize = 255;
   static unsigned sizeOf(unsigned units) noexcept {
      static constexpr auto sizeOfUnits = [] {
         std::array<U8, mostUnits + 1> result{};
         result.fill(noSize);
         U8 size = 0;
         for (const U8 each : unitsOf) {
            result[each] = size++;
         }
         return result;
      }();
      return units <= mostUnits ? sizeOfUnits[units] : noSize;
   }
};

Arena::Following::Following(const Epochs& of) noexcept : epochs(of) {}

Arena::Following::~Following() = default;

void Arena::Following::startPublishing() {
   if (turnover == nullptr) {
      turnover = std::make_unique<Turnover>();
   }
}

Arena::Arena(unsigned unitShift) noexcept : unitShift_(static_cast<U8>(unitShift)) {}

Arena::~Arena() { clear(); }

unsigned Arena::headerUnits(bool isLong) const noexcept {
   const std::size_t bytes = !isLong ? shortBytes : marksOwn() ? headerBytes : unmarkedBytes;
   return static_cast<unsigned>((bytes - 1) >> unitShift_) + 1;
}
unsigned Arena::headerUnits(const Chunk& c) const noexcept { return headerUnits(c.isLong != 0); }

void Arena::link(U32 block, Chunk& c, Lists& in) noexcept {
   if (c.list == lists) {
      return;
   }
   U32& first = in.first[c.list];
   c.next = first & 0x3ffffff;
   c.previous = 0;
   // Not one expression for both: clang 14 cannot compile that in builds with a sanitizer.
   if (first != 0) {
      chunk(first).previous = block & 0x3ffffff;
   } else {
      in.last[c.list] = block & 0x3ffffff;
   }
   first = block;
}

void Arena::unlink(U32, Chunk& c, Lists& in) noexcept {
   if (c.list == lists) {
      return;
   }
   if (c.next != 0) {
      chunk(c.next).previous = c.previous;
   } else {
      in.last[c.list] = c.previous;
   }
   if (c.previous != 0) {
      chunk(c.previous).next = c.next;
   } else {
      in.first[c.list] = c.next;
   }
}

void Arena::setFree(U32 block, Chunk& c, U128 free, Lists& in) noexcept {
   c.free[0] = static_cast<U64>(free);
   c.free[1] = static_cast<U64>(free >> 64);
   const unsigned list = listOf(free, lists);
   if (list != c.list) {
      unlink(block, c, in);
      c.list = list & 63;
      link(block, c, in);
   }
}

U64 Arena::epochOf(U32 at) const noexcept { return epochOf(chunk(blockOf(at))); }

bool Arena::ownsSome() const noexcept {
   const Turnover* const turnover = this->turnover();
   return turnover == nullptr || turnover->batch == epochs().batch;
}

bool Arena::ownsInBatch(U32 at) const noexcept {
   const Turnover& turnover = *this->turnover();
   if (turnover.batch != epochs().batch) {
      return false;
   }
   if (!turnover.isFull || !marksOwn()) {
      for (unsigned i = turnover.ownCount; i-- != 0;) {
         if (at - turnover.own[i] < turnover.ownUnits[i]) {
            return true;
         }
      }
      return false;
   }
   const U32 block = blockOf(at);
   const Chunk& c = chunk(block);
   if (c.isLong == 0 || c.epoch <= epochs().seen || c.batch != epochs().batch) {
      return false;
   }
   const unsigned unit = at - static_cast<U32>(std::size_t{block} << Region::unitShift >> unitShift_);
   return (c.own[unit / 64] >> unit % 64 & 1) != 0;
}

void Arena::join(Lists& from, Lists& to) noexcept {
   for (unsigned list = 0; list < lists; ++list) {
      if (from.first[list] == 0) {
         continue;
      }
      U32& first = to.first[list];
      if (first != 0) {
         chunk(from.last[list]).next = first & 0x3ffffff;
         chunk(first).previous = from.last[list] & 0x3ffffff;
      } else {
         to.last[list] = from.last[list];
      }
      first = from.first[list];
   }
   from = {};
}

U32 Arena::addChunk(unsigned units) {
   static_assert(sizeof(Chunk) == headerBytes && offsetof(Chunk, batch) == unmarkedBytes &&
                 offsetof(Chunk, epoch) == shortBytes);
   const bool isLong = following_ != nullptr && (epochs().now != 1 || epochs().batch != 0);
   const std::size_t needed = std::bit_ceil(std::size_t{units + (headerUnits(isLong) + 1) / 2 * 2} << unitShift_);
   const std::size_t most = std::size_t{128} << unitShift_;
   const std::size_t wanted = std::clamp(std::bit_floor(heldBytes() / 4), Region::bytesOf(0), most);
   const std::size_t bytes = std::max(needed, wanted);
   const auto blockClass = static_cast<unsigned>(std::countr_zero(bytes)) - Region::unitShift;
   const U32 block = Region::take(blockClass);
   base_ = Region::base();
   Chunk& c = chunk(block);
   c = Chunk{};
   c.list = lists;
   c.blockClass = blockClass & 31;
   c.isLong = isLong ? 1 : 0;
   c.epoch = epochs().now;
   c.nextOfAll = all_;
   if (all_ != 0) {
      chunk(all_).previousOfAll = block;
   }
   all_ = block;
   heldBlocks_ += static_cast<U32>(bytes >> Region::unitShift);
   setFree(block, c, ones(static_cast<unsigned>(bytes >> unitShift_)) & ~ones(headerUnits(c)), lists_);
   return block;
}

U32 Arena::allocateInChunk(unsigned units) {
   U32 block = 0;
   for (auto list = static_cast<unsigned>(std::bit_width(units - 1)); list < lists && block == 0; ++list) {
      block = lists_.first[list];
   }
   if (block == 0) {
      block = addChunk(units);
   }
   Chunk& c = chunk(block);
   const U128 free = c.freeBits();
   const U128 pairs = free & free >> 1 & evenUnits;
   const U128 alone = free & ~(pairs | pairs << 1);
   const int from = lowest(units != 1 ? runsOf(free, units) & evenUnits : alone != 0 ? alone : free);
   setFree(block, c, free & ~(ones(units) << from), lists_);
   return static_cast<U32>((std::size_t{block} << Region::unitShift >> unitShift_) + static_cast<unsigned>(from));
}

U32 Arena::allocate(unsigned units) {
   Region::mayFail();
   Turnover* const turns = turnover();
   const U32 at = turns == nullptr ? allocateInChunk(units) : allocateOwn(*turns, units);
   usedUnits_ += units;
   return at;
}

U32 Arena::allocateOwn(Turnover& turnover, unsigned units) {
   const unsigned size = Turnover::sizeOf(units);
   U32 at = 0;
   if (size != Turnover::noSize && !turnover.back[size].empty()) {
      at = turnover.back[size].back();
      turnover.back[size].pop_back();
      turnover.backUnits -= units;
   } else {
      at = allocateInChunk(units);
   }
   if (turnover.batch != epochs().batch) {
      turnover.batch = epochs().batch;
      turnover.ownCount = 0;
      turnover.isFull = false;
   }
   if (turnover.ownCount != Turnover::mostOwn) {
      turnover.own[turnover.ownCount] = at;
      turnover.ownUnits[turnover.ownCount++] = static_cast<U8>(units);
   } else {
      // From here on the marks tell of all of them, as a long list takes longer to go through than what it is asked for.
      for (unsigned i = 0; marksOwn() && !turnover.isFull && i < turnover.ownCount; ++i) {
         markOwn(turnover.own[i], turnover.ownUnits[i]);
      }
      turnover.isFull = true;
      if (marksOwn()) {
         markOwn(at, units);
      }
   }
   return at;
}

void Arena::markOwn(U32 at, unsigned units) noexcept {
   const U32 block = blockOf(at);
   Chunk& c = chunk(block);
   if (c.isLong == 0) {
      return;
   }
   const U128 run = ones(units) << (at - static_cast<U32>(std::size_t{block} << Region::unitShift >> unitShift_));
   if (c.batch != epochs().batch) {
      c.batch = epochs().batch;
      c.own[0] = c.own[1] = 0;
   }
   c.own[0] |= static_cast<U64>(run);
   c.own[1] |= static_cast<U64>(run >> 64);
}

void Arena::recycle(U32 at, unsigned units) noexcept {
   Turnover& turnover = *this->turnover();
   const unsigned size = Turnover::sizeOf(units);
   if (turnover.backUnits + units > turnover.mostBack) [[unlikely]] {
      turnover.mostBack = static_cast<U32>(((256 << 10) + heldBytes() / 8) >> unitShift_);
   }
   if (size != Turnover::noSize && turnover.backUnits + units <= turnover.mostBack) [[likely]] {
      try {
         turnover.back[size].push_back(at);
         turnover.backUnits += units;
         usedUnits_ -= units;
         return;
      } catch (const std::bad_alloc&) {
         // The chunks need no memory for it.
      }
   }
   release(at, units);
}

void Arena::settle() noexcept {
   Turnover* const turns = turnover();
   if (turns == nullptr) {
      return;
   }
   for (unsigned size = 0; size < Turnover::sizes; ++size) {
      for (const U32 at : turns->back[size]) {
         giveBack(at, Turnover::unitsOf[size], lists_);
      }
      std::vector<U32>().swap(turns->back[size]);
   }
   turns->backUnits = 0;
   turns->mostBack = 0;
}

void Arena::release(U32 at, unsigned units, Lists& in) noexcept {
   usedUnits_ -= units;
   giveBack(at, units, in);
}

void Arena::giveBack(U32 at, unsigned units, Lists& in) noexcept {
   const U32 block = blockOf(at);
   Chunk& c = chunk(block);
   const unsigned first = at - static_cast<U32>(std::size_t{block} << Region::unitShift >> unitShift_);
   const U128 free = c.freeBits() | ones(units) << first;
   const std::size_t bytes = Region::bytesOf(c.blockClass);
   if (free != (ones(static_cast<unsigned>(bytes >> unitShift_)) & ~ones(headerUnits(c)))) {
      setFree(block, c, free, in);
      return;
   }
   unlink(block, c, in);
   if (c.nextOfAll != 0) {
      chunk(c.nextOfAll).previousOfAll = c.previousOfAll;
   }
   (c.previousOfAll != 0 ? chunk(c.previousOfAll).nextOfAll : all_) = c.nextOfAll;
   heldBlocks_ -= static_cast<U32>(bytes >> Region::unitShift);
   Region::give(block);
}

void Arena::clear() noexcept {
   for (U32 block = all_; block != 0;) {
      const U32 next = chunk(block).nextOfAll;
      Region::give(block);
      block = next;
   }
   all_ = 0;
   lists_ = {};
   usedUnits_ = 0;
   heldBlocks_ = 0;
}

const char* Arena::audit(std::vector<Run> runs) const {
   const Turnover* const turns = turnover();
   const U32 backUnits = turns != nullptr ? turns->backUnits : 0;
   for (unsigned size = 0; turns != nullptr && size < Turnover::sizes; ++size) {
      for (const U32 at : turns->back[size]) {
         runs.push_back({at, Turnover::unitsOf[size]});
      }
   }
   std::sort(runs.begin(), runs.end(), [](const Run& a, const Run& b) { return a.at < b.at; });
   std::size_t sum = 0;
   for (std::size_t i = 0; i < runs.size(); ++i) {
      const Run& run = runs[i];
      sum += run.units;
      if (i != 0 && runs[i - 1].at + runs[i - 1].units > run.at) {
         return "two runs overlap";
      }
      const U32 block = blockOf(run.at);
      const unsigned first = run.at - static_cast<U32>(std::size_t{block} << Region::unitShift >> unitShift_);
      const Chunk& c = chunk(block);
      if (first < headerUnits(c) ||
          ((std::size_t{first} + run.units) << unitShift_) > Region::bytesOf(c.blockClass)) {
         return "a run is not within a chunk";
      }
      if ((c.freeBits() & ones(run.units) << first) != 0) {
         return "a run is free";
      }
   }
   if (sum != usedUnits_ + backUnits) {
      return "a run is held by nobody";
   }
   std::size_t held = 0;
   std::size_t used = 0;
   for (U32 block = all_; block != 0; block = chunk(block).nextOfAll) {
      const Chunk& c = chunk(block);
      const std::size_t bytes = Region::bytesOf(c.blockClass);
      held += bytes;
      used += (bytes >> unitShift_) - headerUnits(c) -
              static_cast<unsigned>(std::popcount(c.free[0]) + std::popcount(c.free[1]));
      if (c.list != listOf(c.freeBits(), lists)) {
         return "a chunk is in the wrong list";
      }
   }
   return held != heldBytes()              ? "chunks are counted wrong"
          : used != usedUnits_ + backUnits ? "units are counted wrong"
                                           : "";
}

}  // namespace routetrie::Impl
