// Lookups, written for the instructions of the machine and chosen as the program runs. All addresses of a burst take a step before
// any takes the next one, so that what they wait for overlaps.
#include <algorithm>
#include <concepts>
#include <stdexcept>
#include <type_traits>

#include "routetrie/table/Compiled.h"

#define ROUTETRIE_INLINE_LAMBDA __attribute__((always_inline))
#if defined(__x86_64__)
// g++ 12 takes what an intrinsic leaves open on purpose for a mistake, wherever it is inlined.
#ifndef __clang__
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#pragma GCC diagnostic ignored "-Wuninitialized"
#endif
#include <immintrin.h>
#define ROUTETRIE_AVX2 __attribute__((target("avx2,bmi,bmi2,popcnt")))
#define ROUTETRIE_AVX512 __attribute__((target("avx512f,avx512bw,avx512vl,avx512vpopcntdq,avx2,bmi,bmi2,popcnt")))
#endif

namespace routetrie::Impl {

void throwNoInstructions() { throw std::invalid_argument("this machine does not have these instructions"); }

template <unsigned width>
struct Compiled<width>::Bulk {
   static constexpr std::size_t burst = 32;
   // Of a whole burst the compiler knows how many there are.
   using Whole = std::integral_constant<std::size_t, burst>;
   static constexpr std::size_t addressBytes = width / 8;

   // Room for pointers, to whatever the caller takes the answers for.
   struct Found {
      U8* bytes;
      ROUTETRIE_INLINE void put(std::size_t i, const U32* place) const noexcept {
         std::memcpy(bytes + i * sizeof place, &place, sizeof place);
      }
      ROUTETRIE_INLINE Found from(std::size_t i) const noexcept { return {bytes + i * sizeof(const U32*)}; }
   };

   static ROUTETRIE_INLINE Bits load(const U8* addresses, std::size_t i) noexcept {
      return Bits::load(addresses + i * addressBytes);
   }
#if defined(__x86_64__)
   ROUTETRIE_AVX2 static inline U32 childAvx2(const BorderNode& node, __m256i key) noexcept {
      const auto* const lanes = static_cast<const __m256i*>(static_cast<const void*>(&node));
      // The borders above the key, two bits each; the first lane is no border.
      const __m256i above = _mm256_packs_epi32(_mm256_cmpgt_epi32(_mm256_load_si256(lanes), key),
                                               _mm256_cmpgt_epi32(_mm256_load_si256(lanes + 1), key));
      const U32 bits = static_cast<U32>(_mm256_movemask_epi8(above)) & ~3u;
      return node.base() + 15 - static_cast<U32>(_mm_popcnt_u32(bits)) / 2;
   }
   ROUTETRIE_AVX512 static inline U32 childAvx512(const BorderNode& node, __m512i key) noexcept {
      const __mmask16 within = _mm512_mask_cmple_epi32_mask(0xfffe, _mm512_load_si512(&node), key);
      return node.base() + static_cast<U32>(_mm_popcnt_u32(within));
   }
#endif

   static ROUTETRIE_INLINE const Slot& slotOf(const Shape& shape, U32 word) noexcept {
      return shape.slots[word >> Slot::slotShift];
   }
   // Each of a burst. Those of a whole one in a row, as the end of a loop is mostly foretold wrongly.
   template <class Count, class Step>
   static ROUTETRIE_INLINE void forEach(Count count, Step&& step) noexcept {
      if constexpr (std::same_as<Count, Whole>) {
#pragma GCC unroll 32
         for (std::size_t i = 0; i < burst; ++i) {
            step(i);
         }
      } else {
         for (std::size_t i = 0; i < count; ++i) {
            step(i);
         }
      }
   }
   // What a processor waits for in order fills its room for instructions; what it fetches does not.
   template <class Count>
   static ROUTETRIE_INLINE void inBitmap(const Shape& shape, const U8* addresses, U32* at, Count count) noexcept {
      const Slot* const slots = shape.slots;
      const U32* const answers = shape.answers;
      forEach(count, [&](std::size_t i) ROUTETRIE_INLINE_LAMBDA {
         __builtin_prefetch(slots + (static_cast<U32>(load(addresses, i).word()) >> Slot::slotShift));
      });
      forEach(count, [&](std::size_t i) ROUTETRIE_INLINE_LAMBDA {
         const U32 word = static_cast<U32>(load(addresses, i).word());
         at[i] = slots[word >> Slot::slotShift].answerOf(word);
         __builtin_prefetch(answers + at[i]);
      });
   }

   template <class Count>
   static ROUTETRIE_INLINE void indexAll(const Compiled& of, const U8* addresses, I32* keys, U32* at,
                                         Count count) noexcept {
      forEach(count, [&](std::size_t i) ROUTETRIE_INLINE_LAMBDA {
         at[i] = of.treeIndexed(load(addresses, i), keys[i]);
         __builtin_prefetch(of.shape_.nodes + at[i]);
      });
   }

   // Those that are aside, once all others are found.
   static void finishFine(const Compiled& of, const U8* addresses, Found found, const U8* fine,
                          unsigned fines) noexcept {
      for (unsigned i = 0; i < fines; ++i) {
         found.put(fine[i], of.lookupFine(load(addresses, fine[i])));
      }
   }
   template <class Count>
   static ROUTETRIE_INLINE void finish(const Compiled& of, const U8* addresses, const U32* at, Found found,
                                       Count count) noexcept {
      const U32* const answers = of.shape_.answers;
      const U32 none = of.shape_.none, aside = of.shape_.aside;
      U8 fine[burst + 1];
      unsigned fines = 0;
      forEach(count, [&](std::size_t i) ROUTETRIE_INLINE_LAMBDA {
         const U32* const place = answers + at[i];
         found.put(i, *place != none ? place : nullptr);
         fine[fines] = static_cast<U8>(i);
         fines += *place == aside ? 1 : 0;
      });
      if (fines != 0) [[unlikely]] {
         finishFine(of, addresses, found, fine, fines);
      }
   }

   //--- one address ---

   static const U32* onePlain(const Compiled& of, Bits address) noexcept {
      const Shape& shape = of.shape_;
      I32 key;
      U32 at = of.treeIndexed(address, key);
      for (unsigned level = shape.levels; level != 0; --level) {
         at = shape.nodes[at].childOf(key);
      }
      return of.answer(address, at);
   }
#if defined(__x86_64__)
   ROUTETRIE_AVX2 static const U32* oneAvx2(const Compiled& of, Bits address) noexcept {
      const Shape& shape = of.shape_;
      I32 key;
      U32 at = of.treeIndexed(address, key);
      const __m256i keys = _mm256_set1_epi32(key);
      for (unsigned level = shape.levels; level != 0; --level) {
         at = childAvx2(shape.nodes[at], keys);
      }
      return of.answer(address, at);
   }
   ROUTETRIE_AVX512 static const U32* oneAvx512(const Compiled& of, Bits address) noexcept {
      const Shape& shape = of.shape_;
      I32 key;
      U32 at = of.treeIndexed(address, key);
      const __m512i keys = _mm512_set1_epi32(key);
      for (unsigned level = shape.levels; level != 0; --level) {
         at = childAvx512(shape.nodes[at], keys);
      }
      return of.answer(address, at);
   }
#endif

   //--- bursts ---

   template <class Count>
   static void plain(const Compiled& of, const U8* addresses, Found found, Count count) noexcept {
      const Shape& shape = of.shape_;
      U32 at[burst];
      if (width == 32 && shape.slots != nullptr) {
         inBitmap(shape, addresses, at, count);
      } else {
         I32 keys[burst];
         indexAll(of, addresses, keys, at, count);
         for (unsigned level = shape.levels; level != 0; --level) {
            for (std::size_t i = 0; i < count; ++i) {
               at[i] = shape.nodes[at[i]].childOf(keys[i]);
               __builtin_prefetch(level != 1 ? static_cast<const void*>(shape.nodes + at[i]) : shape.answers + at[i]);
            }
         }
      }
      finish(of, addresses, at, found, count);
   }

#if defined(__x86_64__)
   template <class Count>
   ROUTETRIE_AVX2 static void avx2(const Compiled& of, const U8* addresses, Found found, Count count) noexcept {
      const Shape& shape = of.shape_;
      U32 at[burst];
      if (width == 32 && shape.slots != nullptr) {
         inBitmap(shape, addresses, at, count);
      } else {
         I32 keys[burst];
         indexAll(of, addresses, keys, at, count);
         for (unsigned level = shape.levels; level != 0; --level) {
            for (std::size_t i = 0; i < count; ++i) {
               at[i] = childAvx2(shape.nodes[at[i]], _mm256_set1_epi32(keys[i]));
               __builtin_prefetch(level != 1 ? static_cast<const void*>(shape.nodes + at[i]) : shape.answers + at[i]);
            }
         }
      }
      finish(of, addresses, at, found, count);
   }

   ROUTETRIE_AVX512 static inline __mmask16 finish16(const Shape& shape, __m512i at, Found found,
                                                     __mmask16 valid) noexcept {
      const __m512i words = _mm512_mask_i32gather_epi32(_mm512_setzero_si512(), valid, at, shape.answers, 4);
      const __mmask16 there =
         _mm512_mask_cmpneq_epi32_mask(valid, words, _mm512_set1_epi32(static_cast<I32>(shape.none)));
      const __mmask16 fine =
         _mm512_mask_cmpeq_epi32_mask(valid, words, _mm512_set1_epi32(static_cast<I32>(shape.aside)));
      // Eight pointers are made in one register, by arithmetic on their addresses, which intrinsics take as integers alone.
      const __m512i base = _mm512_set1_epi64(static_cast<long long>(reinterpret_cast<std::uintptr_t>(shape.answers)));
      const __m512i low = _mm512_slli_epi64(_mm512_cvtepu32_epi64(_mm512_castsi512_si256(at)), 2);
      const __m512i high = _mm512_slli_epi64(_mm512_cvtepu32_epi64(_mm512_extracti64x4_epi64(at, 1)), 2);
      _mm512_mask_storeu_epi64(found.bytes, static_cast<__mmask8>(valid),
                               _mm512_maskz_add_epi64(static_cast<__mmask8>(there), base, low));
      _mm512_mask_storeu_epi64(found.from(8).bytes, static_cast<__mmask8>(valid >> 8),
                               _mm512_maskz_add_epi64(static_cast<__mmask8>(there >> 8), base, high));
      return fine;
   }
   static ROUTETRIE_INLINE __mmask16 firstOf(std::size_t count) noexcept {
      return static_cast<__mmask16>(count >= 16 ? 0xffff : (1u << count) - 1);
   }

   template <class Count>
   ROUTETRIE_AVX512 static void avx512(const Compiled& of, const U8* addresses, Found found, Count count) noexcept {
      const Shape& shape = of.shape_;
      const __mmask16 valid1 = firstOf(count), valid2 = firstOf(count - std::min<std::size_t>(count, 16));
      alignas(64) U32 at[burst];
      if (width == 32 && shape.slots != nullptr) {
         inBitmap(shape, addresses, at, count);
      } else {
         I32 keys[burst];
         indexAll(of, addresses, keys, at, count);
         for (unsigned level = shape.levels; level != 0; --level) {
            for (std::size_t i = 0; i < count; ++i) {
               at[i] = childAvx512(shape.nodes[at[i]], _mm512_set1_epi32(keys[i]));
               __builtin_prefetch(level != 1 ? static_cast<const void*>(shape.nodes + at[i]) : shape.answers + at[i]);
            }
         }
      }
      const __m512i at1 = _mm512_maskz_load_epi32(valid1, at), at2 = _mm512_maskz_load_epi32(valid2, at + 16);
      const __mmask16 fine1 = finish16(shape, at1, found, valid1);
      const __mmask16 fine2 = finish16(shape, at2, found.from(16), valid2);
      for (U32 fine = fine1 | U32{fine2} << 16; fine != 0; fine &= fine - 1) {
         const auto i = static_cast<std::size_t>(std::countr_zero(fine));
         found.put(i, of.lookupFine(load(addresses, i)));
      }
   }
#endif
};

template <unsigned width>
const U32* Compiled<width>::lookupByLibrary(Bits address, instruction_set with) const noexcept {
   if (width == 32 && shape_.slots != nullptr) {
      const U32 word = static_cast<U32>(address.word());
      return answer(address, Bulk::slotOf(shape_, word).answerOf(word));
   }
#if defined(__x86_64__)
   if (with == instruction_set::avx512) {
      return Bulk::oneAvx512(*this, address);
   }
   if (with == instruction_set::avx2) {
      return Bulk::oneAvx2(*this, address);
   }
#else
   static_cast<void>(with);
#endif
   return Bulk::onePlain(*this, address);
}

template <unsigned width>
void Compiled<width>::lookupBulk(const void* addresses, void* found, std::size_t count,
                                 instruction_set with) const noexcept {
   const U8* from = static_cast<const U8*>(addresses);
   typename Bulk::Found to{static_cast<U8*>(found)};
   const auto lookup = [&](auto some) {
#if defined(__x86_64__)
      if (with == instruction_set::avx512) {
         Bulk::avx512(*this, from, to, some);
      } else if (with == instruction_set::avx2) {
         Bulk::avx2(*this, from, to, some);
      } else
#endif
         Bulk::plain(*this, from, to, some);
   };
   for (; count >= Bulk::burst; count -= Bulk::burst) {
      lookup(typename Bulk::Whole{});
      from += Bulk::burst * Bulk::addressBytes;
      to = to.from(Bulk::burst);
   }
   if (count != 0) {
      lookup(count);
   }
   static_cast<void>(with);
}

template const U32* Compiled<32>::lookupByLibrary(Bits, instruction_set) const noexcept;
template const U32* Compiled<128>::lookupByLibrary(Bits, instruction_set) const noexcept;
template void Compiled<32>::lookupBulk(const void*, void*, std::size_t, instruction_set) const noexcept;
template void Compiled<128>::lookupBulk(const void*, void*, std::size_t, instruction_set) const noexcept;

}  // namespace routetrie::Impl
