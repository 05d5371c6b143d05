// BlackBits: the routes on one edge of a Patricia trie, as a bitmap by prefix length.
//
// The bit of length n, for n from 1, lies in word (n - 1) / 32 under the mask 0x80000000 >> ((n - 1) % 32), so that
// ascending lengths run from the most significant bit of word 0 downward. A set bit is black, a route; a clear bit
// is white. A length of 0 has no bit, and 0 as a result always says that there is no such length.
//
//    word 0                     word 1
//    1  2  3 ... 31 32          33 34 ... 64
//
// The words are not initialised: a node's constructor decides which of them it writes. Searches work on whole words
// with counts of leading and trailing zeros; none loops over lengths.
// Tested by tests/trie/patricia/BlackBitsTest.cpp against a set of lengths.
#pragma once

#include <bit>

#include "routetrie/platform/Corenet/AddressBits.h"
#include "routetrie/platform/Corvid/Assert.h"
#include "routetrie/platform/Types.h"

namespace PatriciaTrieImpl {

template <U32 wordCount>
struct BlackBits {
   static constexpr U32 maxLength = wordCount * 32;

   U32 words[wordCount];

   // `length` from 1 up; false past the last.
   bool black(U32 length) const noexcept {
      return length - 1 < maxLength && (words[wordOf(length)] & maskOf(length)) != 0;
   }
   // Requires: `length` from 1 to maxLength.
   void blackIs(U32 length, bool value) noexcept {
      U32& word = words[wordOf(length)];
      word = value ? word | maskOf(length) : word & ~maskOf(length);
   }
   // Writes the word of `length` and no other: the length alone if `value`, else zero. Nothing for length 0.
   void onlyBlackIs(U32 length, bool value) noexcept {
      if (length != 0) {
         words[wordOf(length)] = value ? maskOf(length) : 0;
      }
   }
   void clear() noexcept {
      for (U32& word : words) {
         word = 0;
      }
   }
   bool isWhite() const noexcept {
      U32 all = 0;
      for (const U32 word : words) {
         all |= word;
      }
      return all == 0;
   }
   U32 count() const noexcept {
      int sum = 0;
      for (const U32 word : words) {
         sum += std::popcount(word);
      }
      return static_cast<U32>(sum);
   }

   void merge(const U32* bits) noexcept {
      for (U32 i = 0; i < wordCount; ++i) {
         words[i] |= bits[i];
      }
   }
   // As merge, but no length above `length` passes.
   void mergeUpTo(const U32* bits, U32 length) noexcept {
      for (U32 i = 0; i < wordCount; ++i) {
         words[i] |= bits[i] & maskUpTo(i, length);
      }
   }
   // Clears every length up to and including `length`. In a single word length 32 clears nothing: the shift is taken
   // modulo 32, and a key is always longer than the lengths that a split takes from it.
   void clearUpTo(U32 length) noexcept {
      const U32 word = wordCount == 1 ? 0 : length / 32;
      for (U32 i = 0; i < word && i < wordCount; ++i) {
         words[i] = 0;
      }
      if (word < wordCount) {
         words[word] &= ~U32{0} >> (length % 32);
      }
   }
   // Clears every length above `length`; but at a multiple of 32 other than 0 the word behind it stays whole, which
   // nobody sees: the bits were cut to the same length when they were merged in.
   void clearAbove(U32 length) noexcept {
      const U32 word = wordCount == 1 ? 0 : length / 32;
      for (U32 i = word + 1; i < wordCount; ++i) {
         words[i] = 0;
      }
      if (word < wordCount) {
         words[word] &= length == 0 ? 0 : ~U32{0} << ((32 - length) % 32);
      }
   }

   // The least black length that is at most `limit`.
   U32 first(U32 limit) const noexcept { return firstFrom(0, words[0], limit); }
   // The least black length above `length` that is at most `limit`. 0 for length 0: it does not start a search. Past
   // maxLength there is nothing in four words; a single word takes the length modulo 32, as its shift does.
   U32 next(U32 length, U32 limit) const noexcept {
      if (length == 0 || (wordCount != 1 && length > maxLength)) {
         return 0;
      }
      const U32 word = wordCount == 1 ? 0 : wordOf(length);
      return firstFrom(word, words[word] & (maskOf(length) - 1), limit);
   }
   // The greatest black length that is at most `length`.
   U32 prev(U32 length) const noexcept {
      if (length == 0) {
         return 0;
      }
      U32 word = wordOf(length);
      if constexpr (wordCount == 1) {
         word = 0;
      } else {
         ROUTETRIE_ASSERT(word < 4);
      }
      return lastFrom(word, words[word] & maskUpTo(word, length));
   }
   U32 last() const noexcept { return lastFrom(wordCount - 1, words[wordCount - 1]); }

   // The bits of word `word` that belong to lengths of at most `length`.
   static constexpr U32 maskUpTo(U32 word, U32 length) noexcept {
      return length <= 32 * word ? 0 : Corenet::AddressBits<32>::mask(length - 32 * word);
   }

  private:
   static constexpr U32 wordOf(U32 length) noexcept { return (length - 1) / 32; }
   static constexpr U32 maskOf(U32 length) noexcept { return U32{0x80000000} >> ((length - 1) % 32); }

   U32 firstFrom(U32 word, U32 bits, U32 limit) const noexcept {
      while (bits == 0) {
         if (++word == wordCount) {
            return 0;
         }
         bits = words[word];
      }
      const U32 length = 32 * word + static_cast<U32>(std::countl_zero(bits)) + 1;
      return length <= limit ? length : 0;
   }
   U32 lastFrom(U32 word, U32 bits) const noexcept {
      while (bits == 0) {
         if (word-- == 0) {
            return 0;
         }
         bits = words[word];
      }
      return 32 * (word + 1) - static_cast<U32>(std::countr_zero(bits));
   }
};

}  // namespace PatriciaTrieImpl
