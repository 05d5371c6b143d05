// DifferingWords: which of the words differ that two nodes have by bits. A node has a word for each bit of a mask, in the order of the
// bits, one behind the other; here both have the same bits.
//
//    bits    0 1 1 0 1        a   7 8 9        differing bits    0 0 1 0 0
//                             b   7 5 9
//
// Words of 4 bytes, which are numbers of children and most values, are compared many at a time, by what the machine has.
// Tested by tests/table/DifferingWordsTest.cpp.
#pragma once

#include <bit>
#include <cstddef>
#include <cstring>

#include "routetrie/platform/Export.h"
#include "routetrie/table/Node.h"

namespace routetrie::Impl {

// Of the bits of a mask those with these numbers, counted from the lowest on.
ROUTETRIE_EXPORT U64 bitsWithNumbers(U64 mask, U64 numbers) noexcept;

// Words of 4 bytes.
ROUTETRIE_EXPORT U64 differingWords(U64 bits, const std::byte* a, const std::byte* b) noexcept;
// The same without the instructions of AVX-512, which it uses where the machine has them.
ROUTETRIE_EXPORT U64 differingWordsOfAny(U64 bits, const std::byte* a, const std::byte* b) noexcept;

// Words that stand `step` bytes apart. No branch depends on which of them differ.
template <class Word>
ROUTETRIE_EXPORT U64 differingWords(U64 bits, const std::byte* a, const std::byte* b, unsigned step) noexcept {
   const auto count = static_cast<unsigned>(std::popcount(bits));
   U64 numbers = 0;
   for (unsigned n = 0; n < count; ++n, a += step, b += step) {
      Word inA;
      Word inB;
      std::memcpy(&inA, a, sizeof inA);
      std::memcpy(&inB, b, sizeof inB);
      numbers |= static_cast<U64>(inA != inB) << n;
   }
   return bitsWithNumbers(bits, numbers);
}

}  // namespace routetrie::Impl
