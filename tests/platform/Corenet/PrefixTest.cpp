#include "routetrie/platform/Corenet/Prefix.h"

#include <gtest/gtest.h>

#include <cstring>
#include <type_traits>

#include "routetrie/platform/Corenet/Ip6Prefix.h"
#include "routetrie/platform/Corvid/RangeException.h"
#include "tests/platform/Corenet/RandomValues.h"
#include "tests/property/Scale.h"

namespace PrefixTest {

using namespace Corenet;
using TestSupport::RandomValues;

template <class P>
std::string faultOf(const typename P::AddressType& address, U32 length) {
   try {
      const P prefix(address, length);
      ADD_FAILURE() << "made " << prefix;
   } catch (const Corvid::RangeException& fault) {
      return fault.what();
   }
   return {};
}

constexpr char invalid4[] = "Corenet::Prefix::validAsPrefix != true not allowed";
constexpr char invalid6[] = "Corenet::Ip6Prefix::validAsPrefix != true not allowed";

template <class P>
class PrefixOf : public testing::Test {
  public:
   using Address = typename P::AddressType;
   using Bits = typename P::Bits;
   static constexpr U32 width = P::width;
   static const char* invalid() { return width == 32 ? invalid4 : invalid6; }

   // The address whose only bit is bit `n`.
   static Address oneAt(U32 n) {
      typename Address::Bytes bytes{};
      bytes[n / 8] = static_cast<U8>(0x80 >> n % 8);
      return Address(bytes);
   }
};

using Types = testing::Types<Prefix, Ip6Prefix>;
TYPED_TEST_SUITE(PrefixOf, Types);

TYPED_TEST(PrefixOf, isTheDefaultRouteByDefault) {
   const TypeParam prefix;
   EXPECT_EQ(typename TestFixture::Address(), prefix.address());
   EXPECT_EQ(0, prefix.len());
   EXPECT_TRUE(prefix.isDefaultRoutePrefix());
   EXPECT_FALSE(prefix.isNullPrefix());
   EXPECT_TRUE(prefix.validAsPrefix());
   EXPECT_EQ(prefix, TypeParam(typename TestFixture::Address(), 0));
   EXPECT_NE(prefix, TypeParam::nullPrefix());
}

TYPED_TEST(PrefixOf, nullPrefixIsTheZeroAddressWithLength255) {
   const auto null = TypeParam::nullPrefix();
   EXPECT_EQ(typename TestFixture::Address(), null.address());
   EXPECT_EQ(255, null.len());
   EXPECT_TRUE(null.isNullPrefix());
   EXPECT_TRUE(null.validAsPrefix());
   EXPECT_FALSE(null.isDefaultRoutePrefix());
   EXPECT_EQ(null, TypeParam(typename TestFixture::Address(), 255));
}

TYPED_TEST(PrefixOf, everyLengthOfTheZeroAddress) {
   const typename TestFixture::Address zero;
   for (U32 length = 0; length <= 600; ++length) {
      const bool valid = length <= TestFixture::width || length == 255;
      ASSERT_EQ(valid, TypeParam::validAsPrefix(zero, length)) << length;
      if (valid) {
         ASSERT_EQ(length, TypeParam(zero, length).len());
      } else {
         ASSERT_EQ(TestFixture::invalid(), faultOf<TypeParam>(zero, length)) << length;
      }
   }
   EXPECT_EQ(TestFixture::invalid(), faultOf<TypeParam>(zero, 0x80000000));
   EXPECT_EQ(TestFixture::invalid(), faultOf<TypeParam>(zero, 0xffffffff));
}

// A constructor refuses host bits; it never clears them.
TYPED_TEST(PrefixOf, everyBitAgainstEveryLength) {
   for (U32 bit = 0; bit < TestFixture::width; ++bit) {
      const auto address = TestFixture::oneAt(bit);
      for (U32 length = 0; length <= TestFixture::width; ++length) {
         ASSERT_EQ(bit < length, TypeParam::validAsPrefix(address, length)) << bit << " " << length;
         if (bit < length) {
            const TypeParam prefix(address, length);
            ASSERT_EQ(address, prefix.address());
            ASSERT_EQ(length, prefix.len());
            ASSERT_TRUE(prefix.validAsPrefix());
         } else {
            ASSERT_EQ(TestFixture::invalid(), faultOf<TypeParam>(address, length));
         }
      }
      const TypeParam nullLike(address, 255);
      ASSERT_TRUE(nullLike.isNullPrefix() && nullLike.validAsPrefix());
      ASSERT_EQ(address, nullLike.address());
      ASSERT_NE(nullLike, TypeParam::nullPrefix()) << "the address counts";
   }
}

TYPED_TEST(PrefixOf, cutClearsTheHostBits) {
   RandomValues random(Property::seed());
   for (int round = 0; round < 2000; ++round) {
      const auto bits = random.bits<TestFixture::width>();
      const U32 length = random.below(TestFixture::width + 1);
      const auto prefix = TypeParam::cut(bits, length);
      ASSERT_EQ(length, prefix.len());
      ASSERT_EQ(bits.cut(length), prefix.bits());
      ASSERT_GE(prefix.bits().commonLength(bits), length);
   }
}

TYPED_TEST(PrefixOf, equalityAndOrderAreByAddressThenLength) {
   RandomValues random(Property::seed());
   for (int round = 0; round < Property::sized(5000, 20'000, 500'000); ++round) {
      const auto a = random.prefix<TypeParam>();
      const auto b = random.below(3) == 0 ? TypeParam(a.address(), 255) : random.prefix<TypeParam>();
      const int byAddress = std::memcmp(&a.address(), &b.address(), TestFixture::width / 8);
      const bool less = byAddress != 0 ? byAddress < 0 : a.len() < b.len();
      const bool equal = byAddress == 0 && a.len() == b.len();
      ASSERT_EQ(equal, a == b) << a << " " << b;
      ASSERT_EQ(equal, TypeParam::isEq(&a, &b)) << a << " " << b;
      ASSERT_EQ(less, a < b) << a << " " << b;
      ASSERT_EQ(!less && !equal, a > b) << a << " " << b;
   }
}

TYPED_TEST(PrefixOf, isAPlainValueOfAddressAndLength) {
   static_assert(std::is_trivially_copyable_v<TypeParam>);
   RandomValues random(Property::seed());
   const auto prefix = random.prefix<TypeParam>();
   U8 bytes[sizeof prefix];
   std::memcpy(bytes, &prefix, sizeof prefix);
   EXPECT_EQ(TestFixture::width / 8 + 1, sizeof prefix);
   EXPECT_EQ(0, std::memcmp(bytes, prefix.address().bytes().data(), TestFixture::width / 8));
   EXPECT_EQ(prefix.len(), bytes[TestFixture::width / 8]);
}

TEST(Prefix, hostBitsAndLengths) {
   const auto address = IpAddr::fromString("10.0.0.1");
   EXPECT_EQ(invalid4, faultOf<Prefix>(address, 8));
   EXPECT_EQ(invalid4, faultOf<Prefix>(address, 0));
   EXPECT_EQ(invalid4, faultOf<Prefix>(address, 31));
   EXPECT_EQ("10.0.0.1/32", Prefix(address, 32).stringValue());
   EXPECT_EQ(invalid4, faultOf<Prefix>(address, 33));
   EXPECT_EQ(invalid4, faultOf<Prefix>(address, 254));
   EXPECT_EQ("10.0.0.1/255", Prefix(address, 255).stringValue());
   EXPECT_NE(Prefix(address, 255), Prefix::nullPrefix());
   EXPECT_EQ(invalid4, faultOf<Prefix>(address, 256));
   EXPECT_EQ(invalid4, faultOf<Prefix>(address, 288)) << "the length is judged before it is cut to 8 bits";
}

TEST(Ip6Prefix, hostBitsAndLengths) {
   const auto address = Ip6Addr::fromString("2001:db8::1");
   EXPECT_EQ(invalid6, faultOf<Ip6Prefix>(address, 32));
   EXPECT_EQ(invalid6, faultOf<Ip6Prefix>(address, 0));
   EXPECT_EQ(invalid6, faultOf<Ip6Prefix>(address, 127));
   EXPECT_EQ("2001:db8::1/128", Ip6Prefix(address, 128).stringValue());
   EXPECT_EQ(invalid6, faultOf<Ip6Prefix>(address, 129));
   EXPECT_EQ(invalid6, faultOf<Ip6Prefix>(address, 254));
   EXPECT_EQ("2001:db8::1/255", Ip6Prefix(address, 255).stringValue());
   EXPECT_EQ(invalid6, faultOf<Ip6Prefix>(address, 384));
}

TEST(Prefix, text) {
   EXPECT_EQ("0.0.0.0/0", Prefix().stringValue());
   EXPECT_EQ("0.0.0.0/255", Prefix::nullPrefix().stringValue());
   EXPECT_EQ(Prefix(IpAddr(0x0a000000), 8), Prefix::fromString("10.0.0.0/8"));
   EXPECT_EQ(Prefix(IpAddr(0x0a000001), 255), Prefix::fromString("10.0.0.1/255"));
}

TEST(Ip6Prefix, text) {
   EXPECT_EQ("::/0", Ip6Prefix().stringValue());
   EXPECT_EQ("::/255", Ip6Prefix::nullPrefix().stringValue());
   EXPECT_EQ("2001:db8::/32", Ip6Prefix::fromString("2001:DB8:0:0::/32").stringValue());
   EXPECT_EQ("::ffff:192.0.2.0/120", Ip6Prefix::fromString("::ffff:c000:200/120").stringValue());
}

}  // namespace PrefixTest
