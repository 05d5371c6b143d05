// Words compared four at a time, or sixteen.
#include "routetrie/table/DifferingWords.h"

#include "routetrie/table/Instructions.h"

#if defined(__x86_64__)
#include <immintrin.h>
#define ROUTETRIE_WIDE_WORDS __attribute__((target("avx512f,bmi,bmi2,popcnt")))
#endif

namespace routetrie::Impl {

namespace {

// The place of the n-th bit that is set, from the lowest on. Requires: there are more than n.
unsigned placeOfBit(U64 mask, unsigned n) noexcept {
   unsigned place = 0;
   for (unsigned half = 32; half != 0; half /= 2) {
      const auto count = static_cast<unsigned>(std::popcount(below(mask, half)));
      const bool isAbove = n >= count;
      n -= isAbove ? count : 0;
      place += isAbove ? half : 0;
      mask >>= isAbove ? half : 0;
   }
   return place;
}

#if defined(__x86_64__)
const bool hasWideWords = hasInstructions(instruction_set::avx512);

ROUTETRIE_WIDE_WORDS U64 differingWideWords(U64 bits, const std::byte* a, const std::byte* b) noexcept {
   const auto count = static_cast<unsigned>(_mm_popcnt_u64(bits));
   U64 numbers = 0;
   for (unsigned n = 0; n < count; n += 16, a += 64, b += 64) {
      const auto there = static_cast<__mmask16>(_bzhi_u32(0xffff, count - n));
      const __m512i inA = _mm512_maskz_loadu_epi32(there, a);
      const __m512i inB = _mm512_maskz_loadu_epi32(there, b);
      numbers |= U64{_mm512_cmpneq_epi32_mask(inA, inB)} << n;
   }
   return _pdep_u64(numbers, bits);
}

// Of four words from here on.
ROUTETRIE_INLINE U64 differingOfFour(const std::byte* a, const std::byte* b) noexcept {
   const auto four = [](const std::byte* from) {
      return _mm_loadu_si128(static_cast<const __m128i*>(static_cast<const void*>(from)));
   };
   const __m128i equal = _mm_cmpeq_epi32(four(a), four(b));
   return static_cast<U64>(_mm_movemask_ps(_mm_castsi128_ps(equal)) ^ 15);
}
#endif

}  // namespace

U64 bitsWithNumbers(U64 mask, U64 numbers) noexcept {
   if (mask == ~U64{0}) {
      return numbers;
   }
   U64 result = 0;
   for (; numbers != 0; numbers &= numbers - 1) {
      result |= U64{1} << placeOfBit(mask, static_cast<unsigned>(std::countr_zero(numbers)));
   }
   return result;
}

U64 differingWordsOfAny(U64 bits, const std::byte* a, const std::byte* b) noexcept {
#if defined(__x86_64__)
   if (const auto count = static_cast<unsigned>(std::popcount(bits)); count >= 4) {
      // The last four may be among those before.
      const std::size_t last = count - 4;
      U64 numbers = differingOfFour(a + last * 4, b + last * 4) << last;
      for (std::size_t n = 0; n < last; n += 4) {
         numbers |= differingOfFour(a + n * 4, b + n * 4) << n;
      }
      return bitsWithNumbers(bits, numbers);
   }
#endif
   return differingWords<U32>(bits, a, b, 4);
}

U64 differingWords(U64 bits, const std::byte* a, const std::byte* b) noexcept {
#if defined(__x86_64__)
   if (hasWideWords) {
      return differingWideWords(bits, a, b);
   }
#endif
   return differingWordsOfAny(bits, a, b);
}

}  // namespace routetrie::Impl
