#include "routetrie/platform/Corenet/PrefixDataAndLength.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <vector>

#include "routetrie/platform/Corenet/Ip6Prefix.h"
#include "tests/platform/Corenet/RandomValues.h"
#include "tests/property/Scale.h"

namespace PrefixDataAndLengthTest {

using namespace Corenet;
using testing::HasSubstr;

// A copy of the bytes that a view of `length` bits may read, and no byte more, so that the address sanitizer sees
// a read past them.
std::vector<U8> exactly(const Ip6Addr& address, U32 length) {
   std::vector<U8> bytes(address.bytes().begin(), address.bytes().begin() + (length + 7) / 8);
   bytes.shrink_to_fit();
   return bytes;
}

TEST(PrefixDataAndLength, isEmptyByDefault) {
   const PrefixDataAndLength view;
   EXPECT_EQ(nullptr, view.data);
   EXPECT_EQ(0u, view.length);
   EXPECT_EQ("::/0", view.formatIpv6());
   EXPECT_TRUE(view == PrefixDataAndLength());
}

TEST(PrefixDataAndLength, text) {
   const auto address = Ip6Addr::fromString("2001:db8:1:2:3:4:5:6");
   for (U32 length = 0; length <= 128; ++length) {
      const auto bytes = exactly(address, length);
      const PrefixDataAndLength view{bytes.data(), length};
      EXPECT_EQ(Ip6Prefix::cut(address.bits(), length).stringValue(), view.formatIpv6());
   }
}

TEST(PrefixDataAndLength, ipv4Text) {
   EXPECT_EQ("0.0.0.0/0", PrefixDataAndLength().formatIpv4());
   const U8 bytes[] = {10, 1, 2, 255};
   EXPECT_EQ("10.1.2.0/24", (PrefixDataAndLength{bytes, 24}.formatIpv4()));
   EXPECT_EQ("10.1.2.128/25", (PrefixDataAndLength{bytes, 25}.formatIpv4()));
   EXPECT_EQ("10.1.2.255/32", (PrefixDataAndLength{bytes, 32}.formatIpv4()));
   const std::vector<U8> one(1, 0xff);
   EXPECT_EQ("240.0.0.0/4", (PrefixDataAndLength{one.data(), 4}.formatIpv4()));
}

TEST(PrefixDataAndLength, bitsPastTheLengthDoNotCount) {
   const U8 one[] = {0x20, 0x01, 0x8f};
   const U8 two[] = {0x20, 0x01, 0x80};
   EXPECT_EQ("2001:8000::/17", (PrefixDataAndLength{one, 17}.formatIpv6()));
   EXPECT_TRUE((PrefixDataAndLength{one, 20} == PrefixDataAndLength{two, 20}));
   EXPECT_FALSE((PrefixDataAndLength{one, 21} == PrefixDataAndLength{two, 21}));
   EXPECT_FALSE((PrefixDataAndLength{one, 20} == PrefixDataAndLength{one, 19})) << "the length counts";
   EXPECT_TRUE((PrefixDataAndLength{nullptr, 0} == PrefixDataAndLength{two, 0})) << "nothing is read for length 0";
}

TEST(PrefixDataAndLength, equalityAtEveryLengthAndBit) {
   const auto address = Ip6Addr::fromString("2001:db8:1:2:3:4:5:6");
   for (U32 length = 0; length <= 128; ++length) {
      const auto bytes = exactly(address, length);
      for (U32 n = 0; n < length + 7 - (length + 7) % 8; ++n) {
         auto flipped = bytes;
         flipped[n / 8] = static_cast<U8>(flipped[n / 8] ^ 0x80 >> n % 8);
         ASSERT_EQ(n >= length,
                   (PrefixDataAndLength{bytes.data(), length} == PrefixDataAndLength{flipped.data(), length}))
            << "length " << length << ", bit " << n;
      }
   }
}

TEST(PrefixDataAndLength, comparesLongerKeysThanAnAddressHas) {
   const std::vector<U8> a(100, 0xab);
   std::vector<U8> b = a;
   EXPECT_TRUE((PrefixDataAndLength{a.data(), 800} == PrefixDataAndLength{b.data(), 800}));
   b[99] = 0xaa;
   EXPECT_FALSE((PrefixDataAndLength{a.data(), 800} == PrefixDataAndLength{b.data(), 800}));
   EXPECT_TRUE((PrefixDataAndLength{a.data(), 799} == PrefixDataAndLength{b.data(), 799}));
}

TEST(PrefixDataAndLengthDeathTest, textOfMoreThanAnAddress) {
   const std::vector<U8> bytes(17, 0);
   EXPECT_DEATH((void)(PrefixDataAndLength{bytes.data(), 129}.formatIpv6()),
                HasSubstr("Assertion `length <= 128' failed"));
   EXPECT_DEATH((void)(PrefixDataAndLength{bytes.data(), 33}.formatIpv4()),
                HasSubstr("Assertion `length <= 32' failed"));
}

}  // namespace PrefixDataAndLengthTest
