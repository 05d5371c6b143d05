// Compiled: the answers of one family's routes for lookup alone, made once from their borders (Borders.h) and never changed.
//
// Every answer is a word of 32 bits in one run; a search finds the place of the word. There are two ways to it:
//
//    bitmap (a large IPv4 table)                       tree (everything else)
//
//    18 bits -> slot, 12 bytes                         first bits -> a node; from there the same number of levels for all
//    +--------------------+------+                     +------+---------------------------+
//    | borders: 64 blocks | base |                     | base | 15 borders of 32 bits     |  64 bytes
//    +--------------------+------+                     +------+---------------------------+
//    6 bits -> block, a /24; a set bit says that       a node's children stand in one run; the child for a key is
//    its answer differs from the one before. The       base + how many borders are at most the key. Missing borders
//    answer is base + bits set up to the block.        are the least there is and stand first, and base makes up for
//                                                      them. The last level's children are answers.
//
// The key of a tree is 32 bits of the address, behind the bits that the index takes: all of an IPv4 address, and of an IPv6 one
// those where it pays. The index is a window of the values that occur, and one entry more for all others. What is finer than the
// key, or than a /24 in the bitmap, has the word `aside`: an IPv4 address is then searched in a tree of its own, and an IPv6 one
// among all borders of such places in order, between two that the first bits tell.
//
// Borders are kept with their top bit turned, since processors compare signed numbers. Linearised B+-trees searched by vector
// compares without branches: Zhang et al., "PlanB", NSDI 2026; bitmaps with counts: Asai and Ohara, "Poptrie", SIGCOMM 2015.
// Tested by tests/table/CompiledTest.cpp, tests/property/CompiledTest.cpp.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <new>
#include <utility>

#include "routetrie/explanation.h"
#include "routetrie/platform/Export.h"
#include "routetrie/table/Borders.h"
#include "routetrie/table/Instructions.h"
#include "routetrie/table/Tree.h"

namespace routetrie {

namespace Impl {

using I32 = std::int32_t;

// Elements that copy as bytes, at the start of a line of memory.
template <class T>
class LineArray {
  public:
   LineArray() noexcept = default;
   explicit LineArray(std::size_t size)
      : data_(static_cast<T*>(::operator new (size * sizeof(T), std::align_val_t{64}))), size_(size) {}
   T* data() const noexcept { return data_.get(); }
   std::size_t bytes() const noexcept { return size_ * sizeof(T); }

  private:
   struct Free {
      void operator()(T* data) const noexcept { ::operator delete (data, std::align_val_t{64}); }
   };
   std::unique_ptr<T, Free> data_;
   std::size_t size_ = 0;
};

struct Slot {
   U32 borders[2];  // 64 bits as the machine stores them, at the alignment of 32
   U32 base;        // one less than where its answers start

   static constexpr unsigned slotShift = 14, blockShift = 8;
   static constexpr std::size_t count = std::size_t{1} << (32 - slotShift);

   // Where the answer to an address is.
   ROUTETRIE_INLINE U32 answerOf(U32 address) const noexcept {
      U64 bits;
      std::memcpy(&bits, borders, sizeof bits);
      return base + static_cast<U32>(std::popcount(bits << (~(address >> blockShift) & 63)));
   }
};
static_assert(sizeof(Slot) == 12);

struct BorderNode {
   using Four [[gnu::vector_size(16)]] = I32;
   static constexpr unsigned fanout = 16;

   Four lanes[4];  // the first is base

   static I32 turned(U32 key) noexcept { return static_cast<I32>(key ^ 0x80000000u); }
   U32 base() const noexcept { return static_cast<U32>(lanes[0][0]); }
   ROUTETRIE_INLINE U32 childOf(I32 key) const noexcept {
      const Four keys{key, key, key, key};
      const Four borders{0, -1, -1, -1};
      const Four sum = ((lanes[0] <= keys) & borders) + (lanes[1] <= keys) + (lanes[2] <= keys) + (lanes[3] <= keys);
      return base() - static_cast<U32>(sum[0] + sum[1] + sum[2] + sum[3]);
   }
};
static_assert(sizeof(BorderNode) == 64);

// As std::invalid_argument.
[[noreturn]] ROUTETRIE_EXPORT void throwNoInstructions();

// Which form is made: for tests, since otherwise the borders tell.
enum class CompiledForm : U8 { best, bitmap, tree, sorted };

template <unsigned width>
class ROUTETRIE_EXPORT Compiled {
  public:
   using Bits = Corenet::AddressBits<width>;
   using Word = typename Bits::Word;

   Compiled() noexcept = default;  // no route
   explicit Compiled(const Borders<width>& borders, CompiledForm form = CompiledForm::best);
   Compiled(Compiled&& other) noexcept { swap(other); }
   Compiled& operator=(Compiled&& other) noexcept {
      Compiled taken(std::move(other));
      swap(taken);
      return *this;
   }
   ~Compiled() = default;
   void swap(Compiled& other) noexcept {
      std::swap(shape_, other.shape_);
      std::swap(index_, other.index_);
      std::swap(slots_, other.slots_);
      std::swap(nodes_, other.nodes_);
      std::swap(answers_, other.answers_);
      std::swap(fineBorders_, other.fineBorders_);
      std::swap(fineIndex_, other.fineIndex_);
   }

   // Where the word of the answer lies; null: no route. Requires: the machine has the instructions.
   const U32* lookup(Bits address, instruction_set with) const noexcept {
      if constexpr (width == 32 && countsBits) {
         if (shape_.slots != nullptr) [[likely]] {
            return answer(address, shape_.slots[address.word() >> Slot::slotShift].answerOf(address.word()));
         }
      }
      return lookupByLibrary(address, with);
   }
   // Of `count` addresses, each `width` / 8 bytes in network order, one behind the other; `found` has room for as many
   // pointers.
   void lookupBulk(const void* addresses, void* found, std::size_t count, instruction_set with) const noexcept;

   table_memory memory() const noexcept;
   const char* shape() const noexcept;  // "bitmap", "tree", "sorted", "empty"

  private:
   struct Bulk;
   struct Plan;

   // What a lookup reads, and the constants of the search.
   struct Shape {
      static constexpr U32 zero[1] = {0};
      static constexpr U32 absent[1] = {~U32{0}};

      const Slot* slots = nullptr;  // of the bitmap; null: a tree
      const U32* index = zero;      // of windowSize + 1 nodes; answers, if there are no levels
      const BorderNode* nodes = nullptr;
      const U32* answers = absent;
      U64 windowFirst = 0;     // of the values of the first bits, the first and how many are in the index
      U64 windowSize = 0;      // IPv4: all
      unsigned indexBits = 0;  // of the address
      unsigned levels = 0;
      U32 none = ~U32{0};
      U32 aside = ~U32{0} - 1;
      // Of what is finer: IPv4, a tree.
      U32 fineRoot = 0;
      unsigned fineLevels = 0;
      // IPv6: borders in order; those from `fineFirst` on whose distance to it, shifted, is i lie at fineIndex[i] up to
      // fineIndex[i + 1], and the first border lies before them all.
      const Word* fineBorders = nullptr;
      const U32* fineIndex = nullptr;
      std::size_t fineAnswers = 0;  // where theirs begin
      Word fineFirst = 0;
      unsigned fineShift = 0;
      U32 fineBuckets = 0;
   };

   ROUTETRIE_INLINE const U32* answer(Bits address, U32 at) const noexcept {
      const U32* const place = shape_.answers + at;
      return *place - shape_.aside > 1 ? place : *place == shape_.none ? nullptr : lookupFine(address);
   }
   ROUTETRIE_INLINE U32 treeIndexed(Bits address, I32& key) const noexcept;
   const U32* lookupByLibrary(Bits address, instruction_set with) const noexcept;
   const U32* lookupFine(Bits address) const noexcept;

   struct BitmapPlan;
   void makeBitmap(const Borders<width>& borders, const BitmapPlan& plan);
   void makeTree(const Borders<width>& borders, const Plan& plan);
   void makeSorted(const Borders<width>& borders);
   void setFine(const std::vector<Word>& starts, std::size_t firstAnswer);

   Shape shape_;
   LineArray<U32> index_;
   LineArray<Slot> slots_;
   LineArray<BorderNode> nodes_;
   LineArray<U32> answers_;
   LineArray<Word> fineBorders_;
   LineArray<U32> fineIndex_;
};

template <unsigned width>
ROUTETRIE_INLINE U32 Compiled<width>::treeIndexed(Bits address, I32& key) const noexcept {
   if constexpr (width == 32) {
      key = BorderNode::turned(address.word());
      return shape_.index[U64{address.word()} << shape_.indexBits >> 32];
   } else {
      const U64 first = static_cast<U64>(address.word() >> 64) >> (32 - shape_.indexBits);
      key = BorderNode::turned(static_cast<U32>(first));
      const U64 at = (first >> 32) - shape_.windowFirst;
      return shape_.index[at < shape_.windowSize ? at : shape_.windowSize];
   }
}

}  // namespace Impl
}  // namespace routetrie
