// Lookups, written for the instructions of the machine and chosen as the program runs. All addresses of a burst take a step before
// any takes the next one, so that what they wait for overlaps.
#include <algorithm>
#include <stdexcept>

#include "routetrie/table/Compiled.h"

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

bool hasInstructions(instruction_set which) noexcept {
#if defined(__x86_64__)
   switch (which) {
      case instruction_set::plain: return true;
      case instruction_set::avx2:
         return __builtin_cpu_supports("avx2") && __builtin_cpu_supports("bmi2") && __builtin_cpu_supports("popcnt");
      case instruction_set::avx512:
         return hasInstructions(instruction_set::avx2) && __builtin_cpu_supports("avx512f") &&
                __builtin_cpu_supports("avx512bw") && __builtin_cpu_supports("avx512vl") &&
                __builtin_cpu_supports("avx512vpopcntdq");
   }
   return false;
#else
   return which == instruction_set::plain;
#endif
}

instruction_set bestInstructions() noexcept {
   static const instruction_set best = hasInstructions(instruction_set::avx512) ? instruction_set::avx512
                                       : hasInstructions(instruction_set::avx2) ? instruction_set::avx2
                                                                                : instruction_set::plain;
   return best;
}

void throwNoInstructions() { throw std::invalid_argument("this machine does not have these instructions"); }

template <unsigned width>
struct Compiled<width>::Bulk {
   static constexpr std::size_t burst = 32;
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
   // What a processor waits for in order fills its room for instructions; what it fetches does not.
   static ROUTETRIE_INLINE void fetchSlots(const Shape& shape, const U8* addresses, std::size_t count) noexcept {
      for (std::size_t i = 0; i < count; ++i) {
         __builtin_prefetch(&slotOf(shape, static_cast<U32>(load(addresses, i).word())));
      }
   }
   static ROUTETRIE_INLINE void inBitmap(const Shape& shape, const U8* addresses, U32* at,
                                         std::size_t count) noexcept {
      fetchSlots(shape, addresses, count);
      for (std::size_t i = 0; i < count; ++i) {
         const U32 word = static_cast<U32>(load(addresses, i).word());
         at[i] = slotOf(shape, word).answerOf(word);
         __builtin_prefetch(shape.answers + at[i]);
      }
   }

   // Those that are aside, once all others are found.
   static void finishFine(const Compiled& of, const U8* addresses, Found found, const U8* fine,
                          unsigned fines) noexcept {
      for (unsigned i = 0; i < fines; ++i) {
         found.put(fine[i], of.lookupFine(load(addresses, fine[i])));
      }
   }
   static ROUTETRIE_INLINE void finish(const Compiled& of, const U8* addresses, const U32* at, Found found,
                                       std::size_t count) noexcept {
      const Shape& shape = of.shape_;
      U8 fine[burst + 1];
      unsigned fines = 0;
      for (std::size_t i = 0; i < count; ++i) {
         const U32* const place = shape.answers + at[i];
         found.put(i, *place != shape.none ? place : nullptr);
         fine[fines] = static_cast<U8>(i);
         fines += *place == shape.aside ? 1 : 0;
      }
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

   static void plain(const Compiled& of, const U8* addresses, Found found, std::size_t count) noexcept {
      const Shape& shape = of.shape_;
      U32 at[burst];
      if (width == 32 && shape.slots != nullptr) {
         inBitmap(shape, addresses, at, count);
      } else {
         I32 keys[burst];
         for (std::size_t i = 0; i < count; ++i) {
            at[i] = of.treeIndexed(load(addresses, i), keys[i]);
            __builtin_prefetch(shape.nodes + at[i]);
         }
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
   ROUTETRIE_AVX2 static void avx2(const Compiled& of, const U8* addresses, Found found, std::size_t count) noexcept {
      const Shape& shape = of.shape_;
      U32 at[burst];
      if (width == 32 && shape.slots != nullptr) {
         inBitmap(shape, addresses, at, count);
      } else {
         I32 keys[burst];
         for (std::size_t i = 0; i < count; ++i) {
            at[i] = of.treeIndexed(load(addresses, i), keys[i]);
            __builtin_prefetch(shape.nodes + at[i]);
         }
         for (unsigned level = shape.levels; level != 0; --level) {
            for (std::size_t i = 0; i < count; ++i) {
               at[i] = childAvx2(shape.nodes[at[i]], _mm256_set1_epi32(keys[i]));
               __builtin_prefetch(level != 1 ? static_cast<const void*>(shape.nodes + at[i]) : shape.answers + at[i]);
            }
         }
      }
      finish(of, addresses, at, found, count);
   }

   // Slot::answerOf() of sixteen addresses, of which `valid` are there.
   ROUTETRIE_AVX512 static inline __m512i answersOf16(const Shape& shape, const U8* addresses,
                                                      __mmask16 valid) noexcept {
      const __m512i turn = _mm512_broadcast_i32x4(_mm_set_epi8(12, 13, 14, 15, 8, 9, 10, 11, 4, 5, 6, 7, 0, 1, 2, 3));
      const __m512i words = _mm512_shuffle_epi8(_mm512_maskz_loadu_epi32(valid, addresses), turn);
      const __m512i slot = _mm512_srli_epi32(words, Slot::slotShift);
      const __m512i first = _mm512_add_epi32(_mm512_add_epi32(slot, slot), slot);  // in words of 32 bits
      const __m512i base = _mm512_i32gather_epi32(first, &shape.slots->base, 4);
      const __m512i low = _mm512_i32gather_epi64(_mm512_castsi512_si256(first), shape.slots, 4);
      const __m512i high = _mm512_i32gather_epi64(_mm512_extracti64x4_epi64(first, 1), shape.slots, 4);
      const __m512i past = _mm512_andnot_si512(_mm512_srli_epi32(words, Slot::blockShift), _mm512_set1_epi32(63));
      const __m512i countLow =
         _mm512_popcnt_epi64(_mm512_sllv_epi64(low, _mm512_cvtepu32_epi64(_mm512_castsi512_si256(past))));
      const __m512i countHigh =
         _mm512_popcnt_epi64(_mm512_sllv_epi64(high, _mm512_cvtepu32_epi64(_mm512_extracti64x4_epi64(past, 1))));
      return _mm512_add_epi32(base, _mm512_inserti64x4(_mm512_castsi256_si512(_mm512_cvtepi64_epi32(countLow)),
                                                       _mm512_cvtepi64_epi32(countHigh), 1));
   }
   ROUTETRIE_AVX512 static inline __mmask16 finish16(const Shape& shape, __m512i at, Found found,
                                                     __mmask16 valid) noexcept {
      const __m512i words = _mm512_mask_i32gather_epi32(_mm512_setzero_si512(), valid, at, shape.answers, 4);
      const __mmask16 there =
         _mm512_mask_cmpneq_epi32_mask(valid, words, _mm512_set1_epi32(static_cast<I32>(shape.none)));
      const __mmask16 fine =
         _mm512_mask_cmpeq_epi32_mask(valid, words, _mm512_set1_epi32(static_cast<I32>(shape.aside)));
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

   ROUTETRIE_AVX512 static void avx512(const Compiled& of, const U8* addresses, Found found,
                                       std::size_t count) noexcept {
      const Shape& shape = of.shape_;
      const __mmask16 valid1 = firstOf(count), valid2 = firstOf(count - std::min<std::size_t>(count, 16));
      __m512i at1, at2;
      if (width == 32 && shape.slots != nullptr) {
         fetchSlots(shape, addresses, count);
         at1 = answersOf16(shape, addresses, valid1);
         at2 = answersOf16(shape, addresses + 16 * addressBytes, valid2);
         alignas(64) U32 at[burst];
         _mm512_store_si512(at, at1);
         _mm512_store_si512(at + 16, at2);
         for (std::size_t i = 0; i < count; ++i) {
            __builtin_prefetch(shape.answers + at[i]);
         }
      } else {
         alignas(64) U32 at[burst];
         I32 keys[burst];
         for (std::size_t i = 0; i < count; ++i) {
            at[i] = of.treeIndexed(load(addresses, i), keys[i]);
            __builtin_prefetch(shape.nodes + at[i]);
         }
         for (unsigned level = shape.levels; level != 0; --level) {
            for (std::size_t i = 0; i < count; ++i) {
               at[i] = childAvx512(shape.nodes[at[i]], _mm512_set1_epi32(keys[i]));
               __builtin_prefetch(level != 1 ? static_cast<const void*>(shape.nodes + at[i]) : shape.answers + at[i]);
            }
         }
         at1 = _mm512_maskz_load_epi32(valid1, at);
         at2 = _mm512_maskz_load_epi32(valid2, at + 16);
      }
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
   for (std::size_t done = 0; done < count; done += Bulk::burst) {
      const std::size_t piece = std::min(count - done, Bulk::burst);
#if defined(__x86_64__)
      if (with == instruction_set::avx512) {
         Bulk::avx512(*this, from, to, piece);
      } else if (with == instruction_set::avx2) {
         Bulk::avx2(*this, from, to, piece);
      } else
#endif
         Bulk::plain(*this, from, to, piece);
      from += piece * Bulk::addressBytes;
      to = to.from(piece);
   }
   static_cast<void>(with);
}

template const U32* Compiled<32>::lookupByLibrary(Bits, instruction_set) const noexcept;
template const U32* Compiled<128>::lookupByLibrary(Bits, instruction_set) const noexcept;
template void Compiled<32>::lookupBulk(const void*, void*, std::size_t, instruction_set) const noexcept;
template void Compiled<128>::lookupBulk(const void*, void*, std::size_t, instruction_set) const noexcept;

}  // namespace routetrie::Impl
