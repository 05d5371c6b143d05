// HashKeys: the hash of the table of shared records, keyed by numbers that every process draws for itself. Who writes the
// routes must not be able to choose prefixes that meet in one bucket: what meets in one process is spread in the next, and
// the keys can't be told from outside.
//
// Each step multiplies two words of 64 bits, each under a key, and folds the 128 bits of the product.
// Tested by tests/platform/Corenet/HashKeysTest.cpp.
#pragma once

#include <array>
#include <cstddef>

#include "routetrie/platform/Corenet/AddressBits.h"
#include "routetrie/platform/Corenet/Integers.h"
#include "routetrie/platform/Export.h"

namespace Corenet {

class HashKeys {
  public:
   using Words = std::array<U64, 4>;
   // Fills memory with random bytes; false if it can't.
   using RandomSource = bool (*)(void* memory, std::size_t bytes) noexcept;

   constexpr explicit HashKeys(const Words& words) noexcept : words_(words) {}
   // Keys of the source; without any, of the clocks and of the addresses at which the system laid out the process.
   ROUTETRIE_EXPORT static HashKeys draw(RandomSource source) noexcept;
   // The kernel's random numbers, unless it has none to give yet.
   ROUTETRIE_EXPORT static bool systemRandom(void* memory, std::size_t bytes) noexcept;

   U32 hash(AddressBits<128> bits, U8 length) const noexcept {
      const U64 high = static_cast<U64>(bits.word() >> 64);
      const U64 low = static_cast<U64>(bits.word());
      const U64 address = folded(high ^ words_[0], low ^ words_[1]);
      return static_cast<U32>(folded(address ^ words_[2], length ^ words_[3]));
   }

   Words words() const noexcept { return words_; }

  private:
   static constexpr U64 folded(U64 a, U64 b) noexcept {
      const U128 product = U128{a} * b;
      return static_cast<U64>(product) ^ static_cast<U64>(product >> 64);
   }

   Words words_;
};

}  // namespace Corenet
