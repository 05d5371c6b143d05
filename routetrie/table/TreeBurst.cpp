// Lookups in bursts: one address after the other, or eight side by side where the processor can count the bits of eight words at once.
#if defined(__x86_64__)
#include <immintrin.h>
#endif

#include <cstddef>
#include <cstdint>

#include "routetrie/table/Tree.h"

namespace routetrie::Impl {

// A burst goes level by level: what one address waits for is fetched while the others are looked at.
template <unsigned width>
template <unsigned step>
void Tree<width>::burstByOne(const Bits* addresses, const void** answers, unsigned count) const noexcept {
   U32 at[32];
   U8 shifts[32];
   U8 rest[32 + 1];  // those that need a search of their own
   unsigned rests = 0;
   for (unsigned i = 0; i < count; ++i) {
      const U32 number = indexed(addresses[i]);
      at[i] = number & ~aboveBit;
      shifts[i] = static_cast<U8>(indexShift + (number >> 31) * stride);
      __builtin_prefetch(nodes() + at[i]);
   }
   const auto high = [&](unsigned i) { return highBits(addresses[i]); };
   if constexpr (width == 128) {
      for (unsigned level = 0; level < levelsHere; ++level) {
         for (unsigned i = 0; i < count; ++i) {
            unsigned shift = shifts[i];
            at[i] = childHere(at[i], high(i), shift);
            shifts[i] = static_cast<U8>(shift);
            __builtin_prefetch(nodes() + at[i]);
         }
      }
   }
   for (unsigned i = 0; i < count; ++i) {
      const Node& n = nodes()[at[i]];
      const unsigned chunk = static_cast<unsigned>(high(i) >> shifts[i]) & 63;
      const unsigned half = chunk >> 5;
      const U64 routes = n.routes[half];
      const U64 covering = routes & wayTo[chunk & 31];
      if (covering == 0 || (n.children >> chunk & 1) != 0 || n.isCompressed()) [[unlikely]] {
         rest[rests++] = static_cast<U8>(i);
         continue;
      }
      const auto above = static_cast<unsigned>(std::countl_zero(covering));
      const void* const value = n.bytes() + valueOffset(n, half, routes, above, step);
      __builtin_prefetch(value);
      answers[i] = value;
   }
   for (unsigned r = 0; r < rests; ++r) {
      answers[rest[r]] = matchFurther(addresses[rest[r]]).value;
   }
}

#if defined(__x86_64__)

namespace {

// The compiler's own header begins many an answer with a value of its own, and is then warned of it.
#if !defined(__clang__)
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#endif

#define ROUTETRIE_WIDE __attribute__((target("avx512f,avx512dq,avx512cd,avx512vpopcntdq")))

const bool isWide = __builtin_cpu_supports("avx512f") != 0 && __builtin_cpu_supports("avx512dq") != 0 &&
                    __builtin_cpu_supports("avx512cd") != 0 && __builtin_cpu_supports("avx512vpopcntdq") != 0;

// Words of 32 and 64 bits at so many bytes from a place.
ROUTETRIE_WIDE inline __m512i words32(const void* from, __m512i bytes) noexcept {
   return _mm512_cvtepu32_epi64(_mm512_i64gather_epi32(bytes, from, 1));
}
ROUTETRIE_WIDE inline __m512i words64(const void* from, __m512i bytes) noexcept {
   return _mm512_i64gather_epi64(bytes, from, 1);
}
// From numbers of a page and of a slot in it, what the slot holds.
ROUTETRIE_WIDE inline __m512i slots(const void* base, __m512i pages, __m512i high, unsigned shift) noexcept {
   const __m512i slot =
      _mm512_and_si512(_mm512_srl_epi64(high, _mm_cvtsi32_si128(static_cast<int>(shift))), _mm512_set1_epi64(63));
   return words32(base, _mm512_add_epi64(_mm512_slli_epi64(pages, Region::unitShift), _mm512_slli_epi64(slot, 2)));
}

}  // namespace

// As burstByOne(), for eights of addresses.
template <unsigned width>
ROUTETRIE_WIDE void Tree<width>::burstByEight(const Bits* addresses, const void** answers,
                                              unsigned count) const noexcept {
   constexpr unsigned most = mostInBurst / 8;
   const unsigned eights = count / 8;
   const __m512i one = _mm512_set1_epi64(1);
   const __m512i low6 = _mm512_set1_epi64(63);
   __m512i high[most];
   __m512i at[most];
   __m512i shift[most];
   for (unsigned e = 0; e < eights; ++e) {
      alignas(64) U64 words[8];
      for (unsigned i = 0; i < 8; ++i) {
         words[i] = highBits(addresses[8 * e + i]);
      }
      high[e] = _mm512_load_si512(words);
      __m512i number = _mm512_set1_epi64(index_);
      if (hasParts_) {
         number = slots(base_, slots(base_, number, high[e], 64 - stride), high[e], 64 - 2 * stride);
      } else {
         number = words32(page(index_), _mm512_slli_epi64(_mm512_srli_epi64(high[e], 64 - topBits), 2));
      }
      for (unsigned depth = topBits; depth != indexDepth; depth += stride) {
         number = slots(base_, number, high[e], 64 - stride - depth);
      }
      const __m512i above = _mm512_srli_epi64(number, 31);
      at[e] = _mm512_and_si512(number, _mm512_set1_epi64(~aboveBit));
      shift[e] = _mm512_add_epi64(_mm512_set1_epi64(indexShift),
                                  _mm512_add_epi64(_mm512_slli_epi64(above, 2), _mm512_slli_epi64(above, 1)));
   }
   if constexpr (width == 128) {
      for (unsigned level = 0; level < levelsHere; ++level) {
         for (unsigned e = 0; e < eights; ++e) {
            const __m512i bytes = _mm512_slli_epi64(at[e], 5);
            const __m512i children = words64(base_ + offsetof(Node, children), bytes);
            const __m512i routes = words64(base_, bytes);
            const __m512i chunk = _mm512_and_si512(_mm512_srlv_epi64(high[e], shift[e]), low6);
            const __m512i upTo = _mm512_sllv_epi64(children, _mm512_sub_epi64(low6, chunk));
            const __mmask8 isThere = _mm512_movepi64_mask(_mm512_andnot_si512(routes, upTo));
            const __m512i rank = _mm512_maskz_popcnt_epi64(isThere, upTo);
            const __m512i child =
               words32(base_ + Node::headerBytes - 4, _mm512_add_epi64(bytes, _mm512_slli_epi64(rank, 2)));
            at[e] = _mm512_mask_mov_epi64(at[e], isThere, child);
            shift[e] = _mm512_mask_sub_epi64(shift[e], isThere, shift[e], _mm512_set1_epi64(stride));
         }
      }
   }
   unsigned odd = 0;
   const __m512i odd8 = _mm512_set1_epi64(step() >> 1 & 4);
   const __m128i stepShift = _mm_cvtsi32_si128(step() == 8 ? 3 : step() == 4 ? 2 : 64);
   for (unsigned e = 0; e < eights; ++e) {
      const __m512i bytes = _mm512_slli_epi64(at[e], 5);
      const __m512i chunk = _mm512_and_si512(_mm512_srlv_epi64(high[e], shift[e]), low6);
      const __m512i half = _mm512_srli_epi64(chunk, 5);
      const __m512i low = _mm512_and_si512(chunk, _mm512_set1_epi64(31));
      const __m512i routes = words64(base_, _mm512_add_epi64(bytes, _mm512_slli_epi64(half, 3)));
      const __m512i flags = words64(base_, bytes);
      const __m512i children = words64(base_ + offsetof(Node, children), bytes);
      const __m512i covering = _mm512_and_si512(routes, words64(wayTo.data(), _mm512_slli_epi64(low, 3)));
      const __m512i above = _mm512_lzcnt_epi64(covering);
      // Those of the other half come first.
      const __mmask8 isSecond = _mm512_test_epi64_mask(half, half);
      const __m512i before = _mm512_mask_sub_epi64(_mm512_sub_epi64(_mm512_setzero_si512(), one), isSecond,
                                                   _mm512_popcnt_epi64(flags), one);
      const __m512i rank = _mm512_add_epi64(before, _mm512_popcnt_epi64(_mm512_sllv_epi64(routes, above)));
      const __m512i numbers = _mm512_slli_epi64(_mm512_popcnt_epi64(children), 2);
      const __m512i values = _mm512_add_epi64(_mm512_andnot_si512(odd8, _mm512_add_epi64(numbers, odd8)),
                                              _mm512_add_epi64(bytes, _mm512_set1_epi64(Node::headerBytes)));
      const __m512i isChild = _mm512_sllv_epi64(children, _mm512_sub_epi64(low6, chunk));
      const __mmask8 search = static_cast<__mmask8>(_mm512_movepi64_mask(_mm512_or_si512(isChild, flags)) |
                                                    _mm512_testn_epi64_mask(covering, covering));
      odd |= static_cast<unsigned>(search) << (8 * e);
      const __m512i offset = _mm512_add_epi64(values, _mm512_sll_epi64(rank, stepShift));
      const auto base = static_cast<long long>(std::bit_cast<std::uintptr_t>(base_));
      _mm512_storeu_si512(answers + 8 * e, _mm512_add_epi64(_mm512_set1_epi64(base), offset));
   }
   for (; odd != 0; odd &= odd - 1) {
      const auto i = static_cast<unsigned>(std::countr_zero(odd));
      answers[i] = matchFurther(addresses[i]).value;
   }
}

#if !defined(__clang__)
#pragma GCC diagnostic pop
#endif
#endif

template <unsigned width>
void Tree<width>::burst(const Bits* addresses, const void** answers, unsigned count) const noexcept {
   unsigned done = 0;
#if defined(__x86_64__)
   if (isWide) {
      burstByEight(addresses, answers, count);
      done = count / 8 * 8;
   }
#endif
   switch (step()) {
      case 0: burstByOne<0>(addresses + done, answers + done, count - done); break;
      case 8: burstByOne<8>(addresses + done, answers + done, count - done); break;
      default: burstByOne<4>(addresses + done, answers + done, count - done); break;
   }
}

template void Tree<32>::burst(const Bits*, const void**, unsigned) const noexcept;
template void Tree<128>::burst(const Bits*, const void**, unsigned) const noexcept;

}  // namespace routetrie::Impl
