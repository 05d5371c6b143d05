// AddressBits: an address in registers, as one host-order word of 32 or 128 bits, and the arithmetic on its bits.
//
// Bit 0 is the most significant. Lengths are in bits and may run past the width: bits that are not there read as
// zero, and a cut at or past the width keeps everything. This is the one place for masks, bit tests and common
// lengths; every prefix type and every trie goes through it.
// Tested by tests/platform/Corenet/AddressBitsTest.cpp against a bit-by-bit model.
#pragma once

#include <bit>
#include <compare>
#include <cstddef>
#include <cstring>
#include <type_traits>

#include "routetrie/platform/Corenet/Integers.h"

namespace Corenet {

template <unsigned widthBits>
class AddressBits {
   static_assert(widthBits == 32 || widthBits == 128);

  public:
   static constexpr U32 width = widthBits;
   using Word = std::conditional_t<width == 32, U32, U128>;

   constexpr AddressBits() noexcept = default;
   constexpr explicit AddressBits(Word hostOrder) noexcept : word_(hostOrder) {}

   // From and to `width` / 8 bytes in network order, at any alignment.
   static AddressBits load(const U8* bytes) noexcept {
      Word word;
      std::memcpy(&word, bytes, sizeof word);
      return fromNetworkOrder(word);
   }
   void store(U8* bytes) const noexcept {
      const Word word = networkOrder();
      std::memcpy(bytes, &word, sizeof word);
   }

   // From and to the word that has those bytes in memory.
   static constexpr AddressBits fromNetworkOrder(Word word) noexcept { return AddressBits(swapped(word)); }
   constexpr Word networkOrder() const noexcept { return swapped(word_); }

   constexpr Word word() const noexcept { return word_; }

   constexpr bool bit(U32 n) const noexcept { return n < width && bitWithin(n) != 0; }
   // 0 or 1, with no branch for 32 bits. Requires: `n` is below `width`.
   constexpr U32 bitWithin(U32 n) const noexcept {
      if constexpr (width == 32) {
         return word_ >> (31 - n) & 1;
      } else {
         const U64 half = n < 64 ? static_cast<U64>(word_ >> 64) : static_cast<U64>(word_);
         return static_cast<U32>(half >> (63 - n % 64)) & 1;
      }
   }

   // The first `length` bits, zeros behind them.
   constexpr AddressBits cut(U32 length) const noexcept { return AddressBits(word_ & mask(length)); }
   static constexpr Word mask(U32 length) noexcept {
      if (length == 0) {
         return 0;
      }
      return length >= width ? ~Word{0} : static_cast<Word>(~Word{0} << (width - length));
   }
   constexpr bool isZeroPast(U32 length) const noexcept { return (word_ & ~mask(length)) == 0; }

   // Whether the first `length` bits are the same. Requires: `length` is at most `width`. No branch for 32 bits, and for
   // 128 only the one between the halves, which few prefixes cross.
   constexpr bool sharesFirst(AddressBits other, U32 length) const noexcept {
      const Word differing = word_ ^ other.word_;
      if constexpr (width == 32) {
         return (U64{differing} >> (width - length)) == 0;
      } else {
         const U64 high = static_cast<U64>(differing >> 64);
         return length < 64 ? (high >> 1 >> (63 - length)) == 0
                            : high == 0 && (length == 64 || (static_cast<U64>(differing) >> (128 - length)) == 0);
      }
   }

   // How many leading bits the two share, 0 to `width`.
   constexpr U32 commonLength(AddressBits other) const noexcept { return leadingZeros(word_ ^ other.word_); }

   friend constexpr bool operator==(AddressBits, AddressBits) noexcept = default;
   friend constexpr std::strong_ordering operator<=>(AddressBits a, AddressBits b) noexcept {
      return a.word_ < b.word_   ? std::strong_ordering::less
             : a.word_ > b.word_ ? std::strong_ordering::greater
                                 : std::strong_ordering::equal;
   }

  private:
   static constexpr U32 leadingZeros(Word word) noexcept {
      if constexpr (width == 32) {
         return static_cast<U32>(std::countl_zero(word));
      } else {
         const U64 high = static_cast<U64>(word >> 64);
         return static_cast<U32>(high != 0 ? std::countl_zero(high) : 64 + std::countl_zero(static_cast<U64>(word)));
      }
   }
   static constexpr Word swapped(Word word) noexcept {
      if constexpr (std::endian::native == std::endian::big) {
         return word;
      } else if constexpr (width == 32) {
         return __builtin_bswap32(word);
      } else {
         return Word{__builtin_bswap64(static_cast<U64>(word))} << 64 |
                __builtin_bswap64(static_cast<U64>(word >> 64));
      }
   }

   Word word_ = 0;
};

}  // namespace Corenet
