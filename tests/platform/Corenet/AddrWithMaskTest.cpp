#include "routetrie/platform/Corenet/AddrWithMask.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cstring>

#include "routetrie/platform/Corvid/RangeException.h"
#include "tests/platform/Corenet/RandomValues.h"
#include "tests/property/LiveCounts.h"
#include "tests/property/Scale.h"

namespace AddrWithMaskTest {

using namespace Corenet;
using testing::HasSubstr;
using TestSupport::RandomValues;

IpGenAddr gen(std::string_view text) { return IpGenAddr::fromString(text); }

constexpr char invalid4[] = "Corenet::Prefix::validAsPrefix != true not allowed";
constexpr char invalid6[] = "Corenet::Ip6Prefix::validAsPrefix != true not allowed";

template <class Make>
std::string faultOf(Make make) {
   try {
      ADD_FAILURE() << "made " << make();
   } catch (const Corvid::RangeException& fault) {
      return fault.what();
   }
   return {};
}

TEST(IpAddrWithMask, keepsHostBitsAndCutsThemFromTheSubnet) {
   const IpAddrWithMask value(IpAddr(0x0a010203), 8);
   EXPECT_EQ(IpAddr(0x0a010203), value.address());
   EXPECT_EQ(8u, value.maskLen());
   EXPECT_EQ("10.0.0.0/8", value.subnet().stringValue());
   EXPECT_EQ("10.1.2.3/8", value.stringValue());
   EXPECT_EQ("0.0.0.0/0", IpAddrWithMask(IpAddr(0x0a010203), 0).subnet().stringValue());
   EXPECT_EQ(Prefix(), IpAddrWithMask().subnet());
}

TEST(IpAddrWithMask, subnetOfEveryLengthKeepsThatManyBits) {
   RandomValues random(Property::seed());
   for (U32 length = 0; length <= 32; ++length) {
      const auto address = random.address<IpAddr>();
      const std::uint64_t host = length == 32 ? 0 : 0xffffffffu >> length;
      const auto subnet = IpAddrWithMask(address, length).subnet();
      EXPECT_EQ(IpAddr(static_cast<U32>(address.hostOrder() & ~host)), subnet.address());
      EXPECT_EQ(length, subnet.len());
   }
}

TEST(Ip6AddrWithMask, subnetOfEveryLengthKeepsThatManyBits) {
   RandomValues random(Property::seed());
   for (U32 length = 0; length <= 128; ++length) {
      const auto address = random.address<Ip6Addr>();
      auto bytes = address.bytes();
      for (U32 n = length; n < 128; ++n) {
         bytes[n / 8] = static_cast<U8>(bytes[n / 8] & ~(0x80 >> n % 8));
      }
      const auto subnet = Ip6AddrWithMask(address, length).subnet();
      EXPECT_EQ(Ip6Addr(bytes), subnet.address());
      EXPECT_EQ(length, subnet.len());
   }
}

// At and past the width the address is kept whole and the length is cut to 8 bits; the prefix judges the two.
TEST(IpAddrWithMask, masksPastTheWidth) {
   const auto subnet = [](const char* address, U32 length) {
      return IpAddrWithMask(IpAddr::fromString(address), length).subnet();
   };
   EXPECT_EQ("10.0.0.1/32", subnet("10.0.0.1", 32).stringValue());
   EXPECT_EQ(invalid4, faultOf([&] { return subnet("10.0.0.1", 33); }));
   EXPECT_EQ(invalid4, faultOf([&] { return subnet("0.0.0.0", 33); }));
   EXPECT_EQ(invalid4, faultOf([&] { return subnet("10.0.0.1", 254); }));
   EXPECT_EQ("10.0.0.1/255", subnet("10.0.0.1", 255).stringValue());
   EXPECT_EQ(invalid4, faultOf([&] { return subnet("10.0.0.1", 256); })) << "host bits at length 0";
   EXPECT_EQ("0.0.0.0/0", subnet("0.0.0.0", 256).stringValue());
   EXPECT_EQ(invalid4, faultOf([&] { return subnet("10.0.0.1", 264); })) << "host bits at length 8";
   EXPECT_EQ("10.0.0.0/8", subnet("10.0.0.0", 264).stringValue());
   EXPECT_EQ("10.0.0.1/32", subnet("10.0.0.1", 288).stringValue());
   EXPECT_EQ(288u, IpAddrWithMask(IpAddr(), 288).maskLen()) << "the mask itself is not cut";
   EXPECT_EQ("10.0.0.1/255", subnet("10.0.0.1", 0xffffffff).stringValue());
}

TEST(Ip6AddrWithMask, masksPastTheWidth) {
   const auto subnet = [](const char* address, U32 length) {
      return Ip6AddrWithMask(Ip6Addr::fromString(address), length).subnet();
   };
   EXPECT_EQ("2001:db8::1/128", subnet("2001:db8::1", 128).stringValue());
   EXPECT_EQ(invalid6, faultOf([&] { return subnet("2001:db8::1", 129); }));
   EXPECT_EQ(invalid6, faultOf([&] { return subnet("::", 129); }));
   EXPECT_EQ(invalid6, faultOf([&] { return subnet("2001:db8::1", 254); }));
   EXPECT_EQ("2001:db8::1/255", subnet("2001:db8::1", 255).stringValue());
   EXPECT_EQ(invalid6, faultOf([&] { return subnet("2001:db8::1", 256); }));
   EXPECT_EQ("::/0", subnet("::", 256).stringValue());
   EXPECT_EQ("2001:db8::1/128", subnet("2001:db8::1", 384).stringValue());
}

TEST(IpGenAddrWithMask, ofEachFamily) {
   const IpGenAddrWithMask four(gen("10.1.2.3"), 8);
   EXPECT_EQ(Corenet::ipv4(), four.af());
   EXPECT_EQ(gen("10.1.2.3"), four.address());
   EXPECT_EQ(8u, four.maskLen());
   EXPECT_EQ(IpAddrWithMask(IpAddr(0x0a010203), 8), four.v4AddrWithMask());
   EXPECT_EQ("10.0.0.0/8", four.v4Subnet().stringValue());
   EXPECT_EQ("10.0.0.0/8", four.subnet().stringValue());
   EXPECT_EQ("10.0.0.0/8", four.compactSubnet().stringValue());
   EXPECT_EQ(Ip6AddrWithMask(), four.v6AddrWithMask());
   EXPECT_EQ("::/0", four.v6AddrWithMask().subnet().stringValue());
   EXPECT_EQ("10.1.2.3/8", four.stringValue());

   const IpGenAddrWithMask six(gen("2001:db8::9"), 32);
   EXPECT_EQ(Corenet::ipv6(), six.af());
   EXPECT_EQ(Ip6AddrWithMask(Ip6Addr::fromString("2001:db8::9"), 32), six.v6AddrWithMask());
   EXPECT_EQ("2001:db8::/32", six.v6AddrWithMask().subnet().stringValue());
   EXPECT_EQ("2001:db8::/32", six.subnet().stringValue());
   EXPECT_EQ("2001:db8::/32", six.compactSubnet().stringValue());
   EXPECT_EQ("0.0.0.0/0", six.v4Subnet().stringValue()) << "another family's is the default route, not an error";
   EXPECT_EQ("2001:db8::9/32", six.stringValue());
}

TEST(IpGenAddrWithMask, isAddressThenMaskLengthThenFamily) {
   static_assert(sizeof(IpGenAddrWithMask) == 24);
   const auto bytesOf = [](const IpGenAddrWithMask& value) {
      std::array<U8, 21> bytes;
      std::memcpy(bytes.data(), &value, bytes.size());
      return bytes;
   };
   using Bytes = std::array<U8, 21>;
   EXPECT_EQ((Bytes{10, 1, 2, 3, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0x18, 0, 0, 0, 1}),
             bytesOf({gen("10.1.2.3"), 24}));
   EXPECT_EQ((Bytes{0x20, 1, 0xd, 0xb8, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 9, 0x44, 0x33, 0x22, 0x11, 2}),
             bytesOf({gen("2001:db8::9"), 0x11223344}));
   EXPECT_EQ((Bytes{}), bytesOf({}));
   EXPECT_EQ(gen("2001:db8::9"), IpGenAddrWithMask(gen("2001:db8::9"), 7).address());
   const IpGenAddr unknown(static_cast<AddressFamily>(7));
   EXPECT_EQ(unknown, IpGenAddrWithMask(unknown, 7).address());
}

TEST(IpGenAddrWithMask, ofNoFamilyIsEmptyForEveryMask) {
   for (const U32 length : {0u, 1u, 8u, 32u, 33u, 128u, 129u, 254u, 255u, 256u, 0xffffffffu}) {
      const IpGenAddrWithMask value(IpGenAddr(), length);
      EXPECT_EQ(Prefix(), value.v4Subnet());
      EXPECT_EQ(IpGenPrefix(), value.subnet());
      EXPECT_EQ(CompactIpPrefix(), value.compactSubnet());
   }
   EXPECT_EQ(AddressFamily::none, IpGenAddrWithMask().af());
   EXPECT_EQ("none", IpGenAddrWithMask().stringValue());
}

TEST(IpGenAddrWithMask, fromACompactPrefixWithAMaskOfItsOwn) {
   const auto compact = [](std::string_view text) { return CompactIpPrefix::fromString(text); };
   EXPECT_EQ("10.1.0.0/8", IpGenAddrWithMask(compact("10.1.0.0/16"), 8).stringValue());
   EXPECT_EQ("10.0.0.0/8", IpGenAddrWithMask(compact("10.1.0.0/16"), 8).compactSubnet().stringValue());
   EXPECT_EQ("2001:db8:1::/64", IpGenAddrWithMask(compact("2001:db8:1::/48"), 64).compactSubnet().stringValue());
   EXPECT_EQ(AddressFamily::none, IpGenAddrWithMask(CompactIpPrefix(), 8).af());
   EXPECT_EQ(CompactIpPrefix(), IpGenAddrWithMask(CompactIpPrefix(), 8).compactSubnet());
   EXPECT_EQ(IpGenAddrWithMask(gen("0.0.0.0"), 4), IpGenAddrWithMask(CompactIpPrefix::getNull(Corenet::ipv4), 4));
   EXPECT_EQ(IpGenAddrWithMask(gen("::"), 4), IpGenAddrWithMask(CompactIpPrefix::getNull(Corenet::ipv6), 4));
}

TEST(IpGenAddrWithMask, masksPastTheWidth) {
   const auto subnet = [](const char* address, U32 length) {
      return IpGenAddrWithMask(gen(address), length).subnet();
   };
   EXPECT_EQ(invalid4, faultOf([&] { return subnet("10.0.0.1", 33); }));
   EXPECT_EQ("10.0.0.1/32", subnet("10.0.0.1", 288).stringValue());
   EXPECT_EQ(invalid6, faultOf([&] { return subnet("2001:db8::1", 129); }));
   EXPECT_EQ(invalid4, faultOf([&] { return IpGenAddrWithMask(gen("10.0.0.1"), 33).compactSubnet(); }));
   EXPECT_EQ(invalid6, faultOf([&] { return IpGenAddrWithMask(gen("::1"), 129).compactSubnet(); }));
   EXPECT_EQ(CompactIpPrefix::getNull(Corenet::ipv4), IpGenAddrWithMask(gen("0.0.0.0"), 255).compactSubnet());
}

TEST(IpGenAddrWithMask, subnetsOfAllKindsAgree) {
   const Property::LiveCounts before;
   RandomValues random(Property::seed());
   for (int round = 0; round < 5000; ++round) {
      const auto value = TestSupport::randomValue<IpGenAddrWithMask>(random);
      ASSERT_EQ(value.subnet(), value.compactSubnet().genPrefix()) << value;
      if (value.af() == Corenet::ipv4()) {
         ASSERT_EQ(IpGenPrefix(value.v4Subnet()), value.subnet()) << value;
      }
   }
   EXPECT_EQ("", before.changes());
}

TEST(IpGenAddrWithMaskDeathTest, compactSubnetOfAnUnknownFamily) {
   EXPECT_DEATH(IpGenAddrWithMask(IpGenAddr(AddressFamily{3}), 8).compactSubnet(),
                HasSubstr("Assertion `false && \"Unhandled af in compactSubnet\"' failed"));
   EXPECT_DEATH(IpGenAddrWithMask(IpGenAddr(AddressFamily{255}), 0).compactSubnet(),
                HasSubstr("Assertion `false && \"Unhandled af in compactSubnet\"' failed"));
   EXPECT_EQ(IpGenPrefix(), IpGenAddrWithMask(IpGenAddr(AddressFamily{3}), 8).subnet());
   EXPECT_EQ(Prefix(), IpGenAddrWithMask(IpGenAddr(AddressFamily{3}), 8).v4Subnet());
}

TEST(IpGenAddrWithMask, equalityTakesInTheMask) {
   EXPECT_EQ(IpGenAddrWithMask(gen("10.0.0.1"), 8), IpGenAddrWithMask(gen("10.0.0.1"), 8));
   EXPECT_NE(IpGenAddrWithMask(gen("10.0.0.1"), 8), IpGenAddrWithMask(gen("10.0.0.1"), 9));
   EXPECT_NE(IpGenAddrWithMask(gen("10.0.0.1"), 8), IpGenAddrWithMask(gen("10.0.0.2"), 8));
   EXPECT_NE(IpGenAddrWithMask(gen("10.0.0.1"), 8), IpGenAddrWithMask(gen("10.0.0.1"), 264));
}

}  // namespace AddrWithMaskTest
