// digest_stream: what values are poured into to be hashed: words of 64 bits, whose order matters. It is SipHash-2-4 with 128 bits of
// result, a keyed hash: who does not know the key cannot find two inputs with the same result.
// Source: Aumasson and Bernstein, "SipHash: a fast short-input PRF", INDOCRYPT 2012.
// Tested by tests/table/DigestTest.cpp.
#pragma once

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "routetrie/platform/Export.h"

namespace routetrie {

// What a digest is made with. The one that is there by itself stands in the source for all to read.
struct digest_key {
   std::uint64_t first = 0x726f7574652d7472;
   std::uint64_t second = 0x6965206469676573;
   friend bool operator==(const digest_key&, const digest_key&) noexcept = default;
};

class ROUTETRIE_EXPORT digest_stream {
  public:
   explicit digest_stream(const digest_key& key = {}) noexcept
      : v_{key.first ^ 0x736f6d6570736575, key.second ^ 0x646f72616e646f6d ^ 0xee, key.first ^ 0x6c7967656e657261,
           key.second ^ 0x7465646279746573} {}

   void number(std::uint64_t word) noexcept {
      v_[3] ^= word;
      rounds(2);
      v_[0] ^= word;
      ++words_;
   }
   // Their count and the bytes, eight a word, the first one lowest.
   void text(std::string_view bytes) noexcept;
   // 128 bits: the low word, the high word.
   std::array<std::uint64_t, 2> result() noexcept {
      number(words_ << 59);  // the number of bytes, of which the hash takes eight bits
      v_[2] ^= 0xee;
      rounds(4);
      const std::uint64_t low = v_[0] ^ v_[1] ^ v_[2] ^ v_[3];
      v_[1] ^= 0xdd;
      rounds(4);
      return {low, v_[0] ^ v_[1] ^ v_[2] ^ v_[3]};
   }

  private:
   void rounds(int count) noexcept {
      for (; count != 0; --count) {
         v_[0] += v_[1];
         v_[2] += v_[3];
         v_[1] = std::rotl(v_[1], 13) ^ v_[0];
         v_[3] = std::rotl(v_[3], 16) ^ v_[2];
         v_[0] = std::rotl(v_[0], 32) + v_[3];
         v_[2] += v_[1];
         v_[1] = std::rotl(v_[1], 17) ^ v_[2];
         v_[3] = std::rotl(v_[3], 21) ^ v_[0];
         v_[2] = std::rotl(v_[2], 32);
      }
   }

   std::uint64_t v_[4];
   std::uint64_t words_ = 0;
};

}  // namespace routetrie
