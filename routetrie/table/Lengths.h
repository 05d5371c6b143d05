// Lengths: a set of lengths of prefixes, 0 to `width` bits: which routes cover an address, say.
// Tested by tests/table/LengthsTest.cpp.
#pragma once

#include <array>
#include <bit>
#include <cstdint>
#include <optional>

#include "routetrie/platform/Language.h"

namespace routetrie::Impl {

template <unsigned width>
class Lengths {
  public:
   constexpr void insert(unsigned length) noexcept { words_[length / 64] |= std::uint64_t{1} << length % 64; }
   constexpr bool contains(unsigned length) const noexcept { return words_[length / 64] >> length % 64 & 1; }
   constexpr bool empty() const noexcept {
      for (const std::uint64_t word : words_) {
         if (word != 0) {
            return false;
         }
      }
      return true;
   }

   // The least member that is at least `length`, the greatest that is at most `length`; none if there is no such.
   constexpr std::optional<unsigned> atLeast(unsigned length) const noexcept {
      for (unsigned i = length / 64; i < words_.size(); ++i) {
         const std::uint64_t rest = i == length / 64 ? words_[i] >> length % 64 << length % 64 : words_[i];
         if (rest != 0) {
            return i * 64 + static_cast<unsigned>(std::countr_zero(rest));
         }
      }
      return std::nullopt;
   }
   constexpr std::optional<unsigned> atMost(unsigned length) const noexcept {
      for (unsigned i = length / 64 + 1; i-- != 0;) {
         const unsigned past = 63 - length % 64;
         const std::uint64_t rest = i == length / 64 ? words_[i] << past >> past : words_[i];
         if (rest != 0) {
            return i * 64 + 63 - static_cast<unsigned>(std::countl_zero(rest));
         }
      }
      return std::nullopt;
   }

   friend constexpr bool operator==(const Lengths&, const Lengths&) noexcept = default;

  private:
   std::array<std::uint64_t, width / 64 + 1> words_{};
};

}  // namespace routetrie::Impl
