#include "routetrie/platform/Corenet/IpGenAddr.h"

#include <gtest/gtest.h>

#include <array>
#include <bit>
#include <type_traits>

#include "tests/platform/Corenet/RandomValues.h"
#include "tests/property/Scale.h"

namespace IpGenAddrTest {

using namespace Corenet;
using Bytes = std::array<U8, sizeof(IpGenAddr)>;

Bytes bytesOf(const IpGenAddr& address) { return std::bit_cast<Bytes>(address); }

TEST(IpGenAddr, isSixteenBytesAndAFamily) {
   static_assert(sizeof(IpGenAddr) == 17 && alignof(IpGenAddr) == 1 && std::is_trivially_copyable_v<IpGenAddr>);
   EXPECT_EQ(Bytes{}, bytesOf(IpGenAddr()));
   EXPECT_EQ((Bytes{10, 1, 2, 3, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1}), bytesOf(IpAddr(0x0a010203)));
   EXPECT_EQ((Bytes{0x20, 1, 0xd, 0xb8, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 9, 2}),
             bytesOf(Ip6Addr::fromString("2001:db8::9")));
}

TEST(IpGenAddr, zeroAddressOfAFamily) {
   EXPECT_EQ(IpGenAddr(IpAddr()), IpGenAddr(AddressFamily::ipv4));
   EXPECT_EQ(IpGenAddr(Ip6Addr()), IpGenAddr(Corenet::ipv6));
   EXPECT_EQ(IpGenAddr(Ip6Addr()), IpGenAddr(Corenet::ipv6()));
   EXPECT_EQ(IpGenAddr(), IpGenAddr(AddressFamily::none));
   EXPECT_NE(IpGenAddr(Corenet::ipv4), IpGenAddr(Corenet::ipv6)) << "the family counts";
   EXPECT_NE(IpGenAddr(), IpGenAddr(Corenet::ipv4));
   EXPECT_EQ(AddressFamily{9}, IpGenAddr(AddressFamily{9}).af());
}

TEST(IpGenAddr, givesTheAddressBack) {
   TestSupport::RandomValues random(Property::seed());
   for (int round = 0; round < 2000; ++round) {
      const auto four = random.address<IpAddr>();
      const auto six = random.address<Ip6Addr>();
      ASSERT_EQ(Corenet::ipv4(), IpGenAddr(four).af());
      ASSERT_EQ(four, IpGenAddr(four).v4Addr());
      ASSERT_EQ(four.bits(), IpGenAddr(four).bits<32>());
      ASSERT_EQ(Corenet::ipv6(), IpGenAddr(six).af());
      ASSERT_EQ(six, IpGenAddr(six).v6Addr());
      ASSERT_EQ(six.bits(), IpGenAddr(six).bits<128>());
   }
}

TEST(IpGenAddr, anotherFamilysAddressIsZero) {
   EXPECT_EQ(Ip6Addr(), IpGenAddr(IpAddr(0x0a010203)).v6Addr());
   EXPECT_EQ(IpAddr(), IpGenAddr(Ip6Addr::fromString("2001:db8::9")).v4Addr());
   EXPECT_EQ(IpAddr(), IpGenAddr().v4Addr());
   EXPECT_EQ(Ip6Addr(), IpGenAddr().v6Addr());
}

TEST(IpGenAddr, text) {
   EXPECT_EQ("none", IpGenAddr().stringValue());
   EXPECT_EQ("10.1.2.3", IpGenAddr(IpAddr(0x0a010203)).stringValue());
   EXPECT_EQ("0.0.0.0", IpGenAddr(Corenet::ipv4).stringValue());
   EXPECT_EQ("::", IpGenAddr(Corenet::ipv6).stringValue());
   EXPECT_EQ("unknown 9", IpGenAddr(AddressFamily{9}).stringValue());
   EXPECT_EQ(IpGenAddr(), IpGenAddr::fromString("none"));
   EXPECT_EQ(Corenet::ipv6(), IpGenAddr::fromString("::ffff:10.0.0.1").af()) << "a mapped address stays IPv6";
   EXPECT_EQ(Corenet::ipv4(), IpGenAddr::fromString("10.0.0.1").af());
}

}  // namespace IpGenAddrTest
