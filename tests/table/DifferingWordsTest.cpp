#include "routetrie/table/DifferingWords.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <bit>
#include <cstring>
#include <random>
#include <vector>

namespace routetrie::Impl {
namespace DifferingWordsTest {

U64 byOne(U64 bits, const std::byte* a, const std::byte* b, unsigned step, unsigned size) {
   U64 result = 0;
   for (unsigned place = 0; place < 64; ++place) {
      if ((bits >> place & 1) != 0) {
         result |= std::memcmp(a, b, size) != 0 ? U64{1} << place : 0;
         a += step;
         b += step;
      }
   }
   return result;
}
U64 randomBits(std::mt19937_64& random) {
   switch (random() % 4) {
      case 0: return random() & random() & random();
      case 1: return random() | random() | random();
      case 2: return ~U64{0} >> (random() % 64);
      default: return random();
   }
}

// Exactly as long as what is compared, so that a sanitizer sees what is read behind it.
TEST(DifferingWords, areThoseThatDiffer) {
   for (unsigned seed = 1; seed <= 3000; ++seed) {
      SCOPED_TRACE(fmt::format("seed {}", seed));
      std::mt19937_64 random(seed);
      const U64 bits = seed == 1 ? 0 : seed == 2 ? ~U64{0} : randomBits(random);
      for (const unsigned size : {1u, 2u, 4u, 8u}) {
         const unsigned step = size == 8 ? 8 : 4;
         std::vector<std::byte> a(static_cast<std::size_t>(std::popcount(bits)) * step);
         for (std::byte& byte : a) {
            byte = static_cast<std::byte>(random());
         }
         std::vector<std::byte> b = a;
         for (unsigned n = 0, count = static_cast<unsigned>(random() % 5); n < count && !b.empty(); ++n) {
            b[random() % b.size()] ^= std::byte{1};
         }
         const U64 wanted = byOne(bits, a.data(), b.data(), step, size);
         switch (size) {
            case 1: ASSERT_EQ(wanted, differingWords<U8>(bits, a.data(), b.data(), step)); break;
            case 2: ASSERT_EQ(wanted, differingWords<U16>(bits, a.data(), b.data(), step)); break;
            case 8: ASSERT_EQ(wanted, differingWords<U64>(bits, a.data(), b.data(), step)); break;
            default:
               ASSERT_EQ(wanted, differingWords(bits, a.data(), b.data()));
               ASSERT_EQ(wanted, differingWordsOfAny(bits, a.data(), b.data()));
               ASSERT_EQ(wanted, differingWords<U32>(bits, a.data(), b.data(), step));
               break;
         }
      }
   }
}

TEST(DifferingWords, bitsHaveNumbers) {
   EXPECT_EQ(0u, bitsWithNumbers(0b1011000, 0));
   EXPECT_EQ(0b1001000u, bitsWithNumbers(0b1011000, 0b101));
   EXPECT_EQ(U64{1} << 63 | 1, bitsWithNumbers(~U64{0}, U64{1} << 63 | 1));
   EXPECT_EQ(U64{1} << 63, bitsWithNumbers(U64{1} << 63, 1));
}

}  // namespace DifferingWordsTest
}  // namespace routetrie::Impl
