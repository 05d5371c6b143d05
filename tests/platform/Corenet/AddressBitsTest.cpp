#include "routetrie/platform/Corenet/AddressBits.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <limits>
#include <string>
#include <type_traits>
#include <vector>

#include "tests/platform/Corenet/RandomValues.h"
#include "tests/property/Scale.h"

namespace AddressBitsTest {

using namespace Corenet;
using TestSupport::RandomValues;

// The model: a text of '0' and '1', bit 0 first. It knows nothing of words, masks or byte order.
template <unsigned width>
std::string modelOf(const std::array<U8, width / 8>& bytes) {
   std::string bits;
   for (const U8 byte : bytes) {
      for (int i = 7; i >= 0; --i) {
         bits += (byte >> i) % 2 == 0 ? '0' : '1';
      }
   }
   return bits;
}

template <unsigned width>
std::array<U8, width / 8> bytesOf(AddressBits<width> bits) {
   std::array<U8, width / 8> bytes;
   bits.store(bytes.data());
   return bytes;
}

template <unsigned width>
std::string modelOf(AddressBits<width> bits) {
   return modelOf<width>(bytesOf(bits));
}

std::string modelCut(std::string bits, U32 length) {
   for (std::size_t i = length; i < bits.size(); ++i) {
      bits[i] = '0';
   }
   return bits;
}

U32 modelCommonLength(const std::string& a, const std::string& b) {
   U32 length = 0;
   while (length < a.size() && a[length] == b[length]) {
      ++length;
   }
   return length;
}

// Every length, some past the width, and the ends of the types.
std::vector<U32> lengthsFor(U32 width) {
   std::vector<U32> result;
   for (U32 n = 0; n <= width + 2; ++n) {
      result.push_back(n);
   }
   result.insert(result.end(), {200, 254, 255, 256, width * 2, std::numeric_limits<U32>::max()});
   return result;
}

template <class Width>
class AddressBitsOf : public testing::Test {};

using Widths = testing::Types<std::integral_constant<unsigned, 32>, std::integral_constant<unsigned, 128>>;
TYPED_TEST_SUITE(AddressBitsOf, Widths);

TYPED_TEST(AddressBitsOf, isZeroByDefault) {
   constexpr U32 width = TypeParam::value;
   using Bits = AddressBits<width>;
   constexpr Bits bits;
   static_assert(bits.word() == 0 && bits.isZeroPast(0) && !bits.bit(0));
   EXPECT_EQ(std::string(width, '0'), modelOf(bits));
}

TYPED_TEST(AddressBitsOf, bitZeroIsTheFirstInNetworkOrder) {
   constexpr U32 width = TypeParam::value;
   using Bits = AddressBits<width>;
   using Word = typename Bits::Word;
   for (U32 n = 0; n < width; ++n) {
      const Bits one(static_cast<Word>(Word{1} << (width - 1 - n)));
      std::array<U8, width / 8> expected{};
      expected[n / 8] = static_cast<U8>(0x80 >> (n % 8));
      ASSERT_EQ(expected, bytesOf(one)) << n;
      for (U32 m = 0; m < width + 3; ++m) {
         ASSERT_EQ(m == n, one.bit(m)) << n << " " << m;
         if (m < width) {
            ASSERT_EQ(m == n ? 1U : 0U, one.bitWithin(m)) << n << " " << m;
         }
      }
   }
}

TYPED_TEST(AddressBitsOf, loadsAndStoresAtAnyAlignment) {
   constexpr U32 width = TypeParam::value;
   constexpr std::size_t size = width / 8;
   std::array<U8, size + 17> from;
   for (std::size_t i = 0; i < from.size(); ++i) {
      from[i] = static_cast<U8>(i * 37 + 1);
   }
   for (std::size_t at = 0; at < 16; ++at) {
      const auto bits = AddressBits<width>::load(from.data() + at);
      std::array<U8, size + 17> to;
      to.fill(0xee);
      bits.store(to.data() + 16 - at);
      ASSERT_TRUE(std::equal(from.begin() + at, from.begin() + at + size, to.begin() + 16 - at)) << at;
      EXPECT_EQ(17, std::count(to.begin(), to.end(), 0xee)) << "store() writes only the address, at " << at;
   }
}

TYPED_TEST(AddressBitsOf, agreesWithTheModel) {
   constexpr U32 width = TypeParam::value;
   using Bits = AddressBits<width>;
   RandomValues random(Property::seed());
   const auto lengths = lengthsFor(width);
   for (int round = 0; round < Property::sized(100, 500, 5000); ++round) {
      const auto bits = random.bits<width>();
      const std::string model = modelOf(bits);
      for (const U32 length : lengths) {
         ASSERT_EQ(length < model.size() && model[length] == '1', bits.bit(length)) << model << " " << length;
         const std::string cut = modelCut(model, length);
         ASSERT_EQ(cut, modelOf(bits.cut(length))) << length;
         ASSERT_EQ(cut == model, bits.isZeroPast(length)) << model << " " << length;
         ASSERT_EQ(modelCut(std::string(width, '1'), length), modelOf(Bits(Bits::mask(length))));
      }
   }
}

TYPED_TEST(AddressBitsOf, commonLengthAndOrderAgreeWithTheModel) {
   constexpr U32 width = TypeParam::value;
   using Bits = AddressBits<width>;
   RandomValues random(Property::seed());
   for (int round = 0; round < Property::sized(1000, 8'000, 200'000); ++round) {
      const auto a = random.bits<width>();
      // Alike up to a random bit, so that each common length comes up.
      const U32 alike = random.below(width + 1);
      const auto tail = random.bits<width>();
      const Bits b(a.cut(alike).word() | (tail.word() & ~Bits::mask(alike)));
      const std::string modelA = modelOf(a);
      const std::string modelB = modelOf(b);
      ASSERT_EQ(modelCommonLength(modelA, modelB), a.commonLength(b)) << modelA << " " << modelB;
      for (U32 length = 0; length <= width; ++length) {
         ASSERT_EQ(length <= a.commonLength(b), a.sharesFirst(b, length)) << modelA << " " << modelB << " " << length;
      }
      ASSERT_EQ(modelA == modelB, a == b);
      ASSERT_EQ(modelA < modelB, a < b) << modelA << " " << modelB;
      ASSERT_EQ(modelB<modelA, a> b);
   }
}

TYPED_TEST(AddressBitsOf, commonLengthAtEveryBit) {
   constexpr U32 width = TypeParam::value;
   using Bits = AddressBits<width>;
   using Word = typename Bits::Word;
   for (U32 n = 0; n < width; ++n) {
      const Bits flipped(static_cast<Word>(~Word{0} ^ (Word{1} << (width - 1 - n))));
      ASSERT_EQ(n, Bits(static_cast<Word>(~Word{0})).commonLength(flipped));
      ASSERT_EQ(n, flipped.commonLength(Bits(static_cast<Word>(~Word{0}))));
   }
   EXPECT_EQ(width, Bits().commonLength(Bits()));
}

}  // namespace AddressBitsTest
