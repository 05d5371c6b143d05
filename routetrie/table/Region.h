// Region: the one range of addresses that the trees of a process live in, so that a place is a number of 32 bits.
//
//    extent 0, zeros     extent, 64 KiB: blocks of one size           extent
//    +----------------+  +-------+-------+-------+-- ... --+-------+  +-------------------- ...
//    | nothing        |  | block | block | block |         | block |  |
//    +----------------+  +-------+-------+-------+-- ... --+-------+  +-------------------- ...
//
// The range is reserved once, without memory behind it, and never moves nor goes. Blocks have 256 bytes to 64 KiB, a power of two,
// and lie at a multiple of their size; their number counts 256 bytes. Extents that are empty are kept in small numbers; the memory
// behind others is given back. The lock is taken for a block, which holds many runs (see Arena.h), and for nothing smaller.
//
// What lies here is made of bytes: everybody gets at it through static_cast from a void*, and everything in it copies as bytes.
// Tested by tests/table/ArenaTest.cpp.
#pragma once

#include <cstddef>

#include "routetrie/platform/Corenet/Integers.h"
#include "routetrie/platform/Export.h"

namespace routetrie::Impl {

using Corenet::U128;
using Corenet::U16;
using Corenet::U32;
using Corenet::U64;
using Corenet::U8;

class ROUTETRIE_EXPORT Region {
  public:
   static constexpr unsigned unitShift = 8;                          // of a block's number, in bits
   static constexpr unsigned extentShift = 16;                       // bits
   static constexpr unsigned classes = extentShift - unitShift + 1;  // class k: blocks of 256 << k bytes
   static constexpr std::size_t mostExtents = std::size_t{1} << 18;  // 16 GiB: as far as 32 bits count the values
   static constexpr std::size_t nothingBytes = 16 * 1024;

   // Where the numbers count from. Reserves the range if nobody has; std::bad_alloc without addresses.
   static std::byte* base();
   // What stands in for the range while there is none: as its beginning, nothingBytes of zeros. Not to be written.
   static std::byte* nothing() noexcept;

   // A block, its bytes unspecified; std::bad_alloc without memory. give() takes it back.
   static U32 take(unsigned blockClass);
   static void give(U32 block) noexcept;
   // The class of the block that the byte lies in. Requires: it lies in one.
   static unsigned classAt(std::size_t byte) noexcept { return classes_[byte >> extentShift]; }

   static constexpr std::size_t bytesOf(unsigned blockClass) noexcept {
      return std::size_t{1} << (unitShift + blockClass);
   }
   static void* at(std::byte* base, U32 block) noexcept { return base + (std::size_t{block} << unitShift); }

#ifdef ROUTETRIE_FAULT_INJECTION
   // Lets the n-th allocation of a tree, counted from now on, raise std::bad_alloc; 0: none.
   static void failAt(U64 n) noexcept;
   static void mayFail();
#else
   static void mayFail() noexcept {}
#endif

  private:
   // Of each extent. Read without the lock by those who hold a block in it. Pages of it that nobody needs stay untouched.
   static U8 classes_[mostExtents];
};

}  // namespace routetrie::Impl
