#include "routetrie/platform/Corenet/IpAddr.h"

#include <arpa/inet.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <limits>
#include <vector>

#include "routetrie/platform/Corvid/RangeException.h"
#include "tests/platform/Corenet/RandomValues.h"
#include "tests/property/Scale.h"

namespace IpAddrTest {

using namespace Corenet;
using TestSupport::RandomValues;

TEST(IpAddr, isFourBytesInNetworkOrder) {
   const IpAddr address(0x0a010203);
   const IpAddr::Bytes expected{10, 1, 2, 3};
   EXPECT_EQ(expected, address.bytes());
   EXPECT_EQ(0, std::memcmp(&address, expected.data(), 4));
   EXPECT_EQ(4u, sizeof address);
   EXPECT_EQ(1u, alignof(IpAddr));
   EXPECT_EQ(0x0a010203u, address.hostOrder());
   EXPECT_EQ(0x0a010203u, address.bits().word());
   EXPECT_EQ(address, IpAddr(expected));
   EXPECT_EQ("10.1.2.3", address.stringValue());
   EXPECT_EQ(AddressFamily::ipv4, IpAddr::family);
}

TEST(IpAddr, isZeroByDefault) {
   EXPECT_EQ(0u, IpAddr().hostOrder());
   EXPECT_EQ("0.0.0.0", IpAddr().stringValue());
   EXPECT_EQ(IpAddr(0), IpAddr());
}

TEST(IpAddr, text) {
   EXPECT_EQ("255.255.255.255", IpAddr(0xffffffff).stringValue());
   EXPECT_EQ("0.0.0.255", IpAddr(255).stringValue());
   EXPECT_EQ("192.0.2.1", IpAddr::fromString("192.0.2.1").stringValue());
   EXPECT_EQ(0xc0000201u, IpAddr::fromString("192.0.2.1").hostOrder());
}

TEST(IpAddr, textIsThatOfTheCLibrary) {
   RandomValues random(Property::seed());
   for (int round = 0; round < 20'000; ++round) {
      const auto address = random.address<IpAddr>();
      const std::string text = address.stringValue();
      char expected[INET_ADDRSTRLEN];
      ASSERT_NE(nullptr, inet_ntop(AF_INET, &address, expected, sizeof expected));
      ASSERT_EQ(expected, text);
   }
}

TEST(IpAddr, orderIsByTheNumber) {
   RandomValues random(Property::seed());
   for (int round = 0; round < 20'000; ++round) {
      const auto a = random.address<IpAddr>();
      const auto b = random.below(4) == 0 ? a : random.address<IpAddr>();
      ASSERT_EQ(a.hostOrder() < b.hostOrder(), a < b);
      ASSERT_EQ(a.hostOrder() == b.hostOrder(), a == b);
      ASSERT_EQ(a.hostOrder() > b.hostOrder(), a > b);
   }
   EXPECT_LT(IpAddr(0x7fffffff), IpAddr(0x80000000)) << "bytes are compared without sign";
   EXPECT_LT(IpAddr(0x000000ff), IpAddr(0x00000100)) << "the first byte counts most";
}

TEST(Ip6Addr, isSixteenBytesInNetworkOrder) {
   const Ip6Addr::Bytes bytes{0x20, 0x01, 0x0d, 0xb8, 0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 0xa, 0xb};
   const Ip6Addr address(bytes);
   EXPECT_EQ(16u, sizeof address);
   EXPECT_EQ(1u, alignof(Ip6Addr));
   EXPECT_EQ(0, std::memcmp(&address, bytes.data(), 16));
   EXPECT_EQ(bytes, address.bytes());
   EXPECT_EQ(address, Ip6Addr(address.bits()));
   EXPECT_EQ("2001:db8:1:203:405:607:809:a0b", address.stringValue());
   EXPECT_EQ(AddressFamily::ipv6, Ip6Addr::family);
}

TEST(Ip6Addr, wordsAreInHostOrder) {
   const auto address = Ip6Addr::fromString("2001:db8:1:203:405:607:809:a0b");
   EXPECT_EQ(0x20010db8u, address.u32(0));
   EXPECT_EQ(0x00010203u, address.u32(1));
   EXPECT_EQ(0x04050607u, address.u32(2));
   EXPECT_EQ(0x08090a0bu, address.u32(3));
}

TEST(Ip6Addr, hasNoFifthWord) {
   const Ip6Addr address;
   EXPECT_EQ(0u, address.u32(3));
   EXPECT_THROW(address.u32(4), Corvid::RangeException);
   EXPECT_THROW(address.u32(5), Corvid::RangeException);
   EXPECT_THROW(address.u32(std::numeric_limits<unsigned>::max()), Corvid::RangeException);
   EXPECT_THROW(throwIp6AddrU32(), Corvid::RangeException);
   try {
      address.u32(4);
   } catch (const std::range_error& fault) {
      EXPECT_THAT(fault.what(), testing::HasSubstr("Ip6Addr::u32"));
   }
}

TEST(Ip6Addr, zeroConstant) {
   EXPECT_EQ(Ip6Addr(), ip6AddrZero);
   EXPECT_EQ("::", ip6AddrZero.stringValue());
   for (const U8 byte : ip6AddrZero.bytes()) {
      EXPECT_EQ(0, byte);
   }
}

TEST(Ip6Addr, orderIsByTheBytes) {
   RandomValues random(Property::seed());
   for (int round = 0; round < 20'000; ++round) {
      const auto a = random.address<Ip6Addr>();
      const auto b = random.below(4) == 0 ? a : random.address<Ip6Addr>();
      const int order = std::memcmp(a.bytes().data(), b.bytes().data(), 16);
      ASSERT_EQ(order < 0, a < b);
      ASSERT_EQ(order == 0, a == b);
      ASSERT_EQ(order > 0, a > b);
   }
}

// --- the text of RFC 5952 ---

struct Spelling {
   const char* text;
   const char* canonical;
};

TEST(Ip6AddrText, examplesOfRfc5952) {
   const Spelling spellings[] = {
      // section 1 and 2: many spellings of one address
      {"2001:db8:0:0:1:0:0:1", "2001:db8::1:0:0:1"},
      {"2001:0db8:0:0:1:0:0:1", "2001:db8::1:0:0:1"},
      {"2001:db8::1:0:0:1", "2001:db8::1:0:0:1"},
      {"2001:db8::0:1:0:0:1", "2001:db8::1:0:0:1"},
      {"2001:0db8::1:0:0:1", "2001:db8::1:0:0:1"},
      {"2001:db8:0:0:1::1", "2001:db8::1:0:0:1"},
      {"2001:db8:0000:0:1::1", "2001:db8::1:0:0:1"},
      {"2001:DB8:0:0:1::1", "2001:db8::1:0:0:1"},
      {"2001:db8:aaaa:bbbb:cccc:dddd:eeee:0001", "2001:db8:aaaa:bbbb:cccc:dddd:eeee:1"},
      {"2001:db8:aaaa:bbbb:cccc:dddd:eeee:001", "2001:db8:aaaa:bbbb:cccc:dddd:eeee:1"},
      {"2001:db8:aaaa:bbbb:cccc:dddd:eeee:01", "2001:db8:aaaa:bbbb:cccc:dddd:eeee:1"},
      {"2001:db8:aaaa:bbbb:cccc:dddd::1", "2001:db8:aaaa:bbbb:cccc:dddd:0:1"},
      {"2001:db8:aaaa:bbbb:cccc:dddd:0:1", "2001:db8:aaaa:bbbb:cccc:dddd:0:1"},
      {"2001:db8:0:0:0::1", "2001:db8::1"},
      {"2001:db8:0:0::1", "2001:db8::1"},
      {"2001:db8:0::1", "2001:db8::1"},
      {"2001:db8::1", "2001:db8::1"},
      {"2001:db8::aaaa:0:0:1", "2001:db8::aaaa:0:0:1"},
      {"2001:db8:0:0:aaaa::1", "2001:db8::aaaa:0:0:1"},
      // 4.1: no leading zeros; a zero group is a single 0
      {"2001:0db8::0001", "2001:db8::1"},
      {"2001:0:0:1:0000:2:3:4", "2001::1:0:2:3:4"},
      // 4.2.1: as short as can be
      {"2001:db8:0:0:0:0:2:1", "2001:db8::2:1"},
      {"2001:db8::0:1", "2001:db8::1"},
      // 4.2.2: a lone zero group is not shortened
      {"2001:db8:0:1:1:1:1:1", "2001:db8:0:1:1:1:1:1"},
      {"2001:db8::1:1:1:1:1", "2001:db8:0:1:1:1:1:1"},
      // 4.2.3: the longest run, and of equal ones the first
      {"2001:0:0:1:0:0:0:1", "2001:0:0:1::1"},
      {"2001:db8:0:0:1:0:0:1", "2001:db8::1:0:0:1"},
      // 4.3: lower case
      {"2001:DB8::ABCD:EF", "2001:db8::abcd:ef"},
      // 5: an embedded IPv4 address shows behind the prefix that says so, and behind no other
      {"::ffff:192.0.2.1", "::ffff:192.0.2.1"},
      {"::FFFF:C000:201", "::ffff:192.0.2.1"},
      {"0:0:0:0:0:ffff:c000:0201", "::ffff:192.0.2.1"},
      {"::ffff:0:0", "::ffff:0.0.0.0"},
      {"::fffe:192.0.2.1", "::fffe:c000:201"},
      {"1::ffff:192.0.2.1", "1::ffff:c000:201"},
      {"::ffff:0:192.0.2.1", "::ffff:0:c000:201"},
      {"::192.0.2.1", "::c000:201"},
   };
   for (const auto& [text, canonical] : spellings) {
      EXPECT_EQ(canonical, Ip6Addr::fromString(text).stringValue()) << text;
   }
}

TEST(Ip6AddrText, bothEndsAndTheMiddle) {
   const Spelling spellings[] = {
      {"0:0:0:0:0:0:0:0", "::"},
      {"0:0:0:0:0:0:0:1", "::1"},
      {"1:0:0:0:0:0:0:0", "1::"},
      {"1:0:0:0:0:0:0:2", "1::2"},
      {"0:0:1:2:3:4:5:6", "::1:2:3:4:5:6"},
      {"1:2:3:4:5:6:0:0", "1:2:3:4:5:6::"},
      {"0:1:2:3:4:5:6:7", "0:1:2:3:4:5:6:7"},
      {"1:2:3:4:5:6:7:0", "1:2:3:4:5:6:7:0"},
      {"0:0:1:0:0:1:0:0", "::1:0:0:1:0:0"},
      {"0:0:1:0:0:0:1:0", "0:0:1::1:0"},
      {"1:0:0:2:0:0:0:0", "1:0:0:2::"},
      {"0:1:0:1:0:1:0:1", "0:1:0:1:0:1:0:1"},
      {"ffff:ffff:ffff:ffff:ffff:ffff:ffff:ffff", "ffff:ffff:ffff:ffff:ffff:ffff:ffff:ffff"},
      {"ffff:ffff:ffff:ffff:ffff:ffff:255.255.255.255", "ffff:ffff:ffff:ffff:ffff:ffff:ffff:ffff"},
   };
   for (const auto& [text, canonical] : spellings) {
      EXPECT_EQ(canonical, Ip6Addr::fromString(text).stringValue()) << text;
   }
}

TEST(Ip6AddrText, theCLibraryReadsTheSameAddress) {
   RandomValues random(Property::seed());
   for (int round = 0; round < Property::sized(5000, 20'000, 1'000'000); ++round) {
      const auto address = random.address<Ip6Addr>();
      const std::string text = address.stringValue();
      Ip6Addr::Bytes read;
      ASSERT_EQ(1, inet_pton(AF_INET6, text.c_str(), read.data())) << text;
      ASSERT_EQ(address.bytes(), read) << text;
   }
}

// Two rules say what the canonical text is among all that read as the address: no shorter one leaves out zeros, and
// the C library, which knows the same rules, prints it too (but for ::a.b.c.d, which is deprecated).
TEST(Ip6AddrText, isThatOfTheCLibraryForEveryPatternOfZeroGroups) {
   for (U32 pattern = 0; pattern < 256; ++pattern) {
      Ip6Addr::Bytes bytes{};
      for (U32 group = 0; group < 8; ++group) {
         bytes[2 * group + 1] = static_cast<U8>((pattern >> group & 1) != 0 ? group + 1 : 0);
      }
      const bool isIpv4Compatible = std::all_of(bytes.begin(), bytes.begin() + 12, [](U8 b) { return b == 0; });
      if (!isIpv4Compatible) {
         char expected[INET6_ADDRSTRLEN];
         ASSERT_NE(nullptr, inet_ntop(AF_INET6, bytes.data(), expected, sizeof expected));
         ASSERT_EQ(expected, Ip6Addr(bytes).stringValue());
      }
   }
}

}  // namespace IpAddrTest
