#include "routetrie/platform/Corenet/IpGenPrefix.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <bit>
#include <set>
#include <tuple>
#include <type_traits>
#include <vector>

#include "routetrie/platform/Corvid/RangeException.h"
#include "tests/platform/Corenet/RandomValues.h"
#include "tests/property/Scale.h"

namespace IpGenPrefixTest {

using namespace Corenet;
using TestSupport::RandomValues;
using Bytes = std::array<U8, sizeof(IpGenPrefix)>;

Bytes bytesOf(const IpGenPrefix& prefix) { return std::bit_cast<Bytes>(prefix); }

TEST(IpGenPrefix, isSixteenBytesALengthAndAFamily) {
   static_assert(sizeof(IpGenPrefix) == 18 && alignof(IpGenPrefix) == 1);
   static_assert(std::is_trivially_copyable_v<IpGenPrefix>);
   EXPECT_EQ(Bytes{}, bytesOf(IpGenPrefix()));
   EXPECT_EQ((Bytes{10, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 8, 1}),
             bytesOf(Prefix::fromString("10.0.0.0/8")));
   EXPECT_EQ((Bytes{0x20, 1, 0xd, 0xb8, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 9, 128, 2}),
             bytesOf(Ip6Prefix::fromString("2001:db8::9/128")));
   EXPECT_EQ((Bytes{0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 255, 1}), bytesOf(Prefix::nullPrefix()));
}

TEST(IpGenPrefix, isEmptyByDefault) {
   const IpGenPrefix empty;
   EXPECT_EQ(AddressFamily::none, empty.af());
   EXPECT_EQ(0, empty.len());
   EXPECT_EQ(IpGenAddr(), empty.address());
   EXPECT_NE(empty, IpGenPrefix(Prefix()));
   EXPECT_NE(empty, IpGenPrefix(Ip6Prefix()));
   EXPECT_NE(IpGenPrefix(Prefix()), IpGenPrefix(Ip6Prefix()));
}

TEST(IpGenPrefix, givesThePrefixBack) {
   RandomValues random(Property::seed());
   for (int round = 0; round < 5000; ++round) {
      const auto four = random.prefix<Prefix>();
      ASSERT_EQ(Corenet::ipv4(), IpGenPrefix(four).af());
      ASSERT_EQ(four.len(), IpGenPrefix(four).len());
      ASSERT_EQ(IpGenAddr(four.address()), IpGenPrefix(four).address());
      ASSERT_EQ(four.bits(), IpGenPrefix(four).bits<32>());
      ASSERT_EQ(four, IpGenPrefix(four).v4Prefix());
      ASSERT_EQ(Ip6Prefix::nullPrefix(), IpGenPrefix(four).v6Prefix());

      const auto six = random.prefix<Ip6Prefix>();
      ASSERT_EQ(Corenet::ipv6(), IpGenPrefix(six).af());
      ASSERT_EQ(six.len(), IpGenPrefix(six).len());
      ASSERT_EQ(IpGenAddr(six.address()), IpGenPrefix(six).address());
      ASSERT_EQ(six.bits(), IpGenPrefix(six).bits<128>());
      ASSERT_EQ(six, IpGenPrefix(six).v6Prefix());
      ASSERT_EQ(Prefix::nullPrefix(), IpGenPrefix(six).v4Prefix());
   }
}

TEST(IpGenPrefix, nullPrefixKeepsItsAddress) {
   const Prefix nullLike(IpAddr(0x0a000001), 255);
   EXPECT_EQ(nullLike, IpGenPrefix(nullLike).v4Prefix());
   EXPECT_NE(IpGenPrefix(nullLike), IpGenPrefix(Prefix::nullPrefix()));
}

TEST(IpGenPrefix, emptyIsTheZeroLengthPrefixOfEitherFamily) {
   EXPECT_EQ(Prefix(), IpGenPrefix().v4Prefix());
   EXPECT_EQ(Ip6Prefix(), IpGenPrefix().v6Prefix());
}

TEST(IpGenPrefix, orderIsByFamilyThenAddressThenLength) {
   const auto p = [](std::string_view text) { return IpGenPrefix::fromString(text); };
   const IpGenPrefix ascending[] = {p("none"),          p("0.0.0.0/0"),       p("0.0.0.0/32"),  p("0.0.0.0/255"),
                                    p("10.0.0.0/8"),    p("10.0.0.0/9"),      p("10.0.0.1/32"), p("128.0.0.0/1"),
                                    p("::/0"),          p("::/255"),          p("::1/128"),     p("2001:db8::/32"),
                                    p("2001:db8::/64"), p("2001:db8::1/128"), p("8000::/1")};
   for (std::size_t i = 0; i < std::size(ascending); ++i) {
      for (std::size_t j = 0; j < std::size(ascending); ++j) {
         EXPECT_EQ(i < j, ascending[i] < ascending[j]) << ascending[i] << " " << ascending[j];
         EXPECT_EQ(i == j, ascending[i] == ascending[j]) << ascending[i] << " " << ascending[j];
      }
   }
}

TEST(IpGenPrefix, orderIsStrictAndAgreesWithEquality) {
   RandomValues random(Property::seed());
   const auto key = [](const IpGenPrefix& p) {
      const Bytes bytes = bytesOf(p);
      std::array<U8, 16> address;
      std::copy_n(bytes.begin(), 16, address.begin());
      return std::tuple(bytes[17], address, bytes[16]);
   };
   std::vector<IpGenPrefix> values;
   for (int i = 0; i < Property::sized(200, 600, 3000); ++i) {
      values.push_back(random.below(4) == 0 && !values.empty() ? values[random.below(static_cast<U32>(values.size()))]
                                                               : random.genPrefix());
   }
   for (const auto& a : values) {
      ASSERT_FALSE(a < a);
      for (const auto& b : values) {
         ASSERT_EQ(key(a) < key(b), a < b) << a << " " << b;
         ASSERT_EQ(key(a) == key(b), a == b) << a << " " << b;
         ASSERT_EQ(a == b, !(a < b) && !(b < a)) << a << " " << b;
         ASSERT_EQ(a == b, IpGenPrefixBase::isEq(&a, &b)) << a << " " << b;
      }
   }
   std::sort(values.begin(), values.end());
   ASSERT_TRUE(std::is_sorted(values.begin(), values.end(), [&](auto& a, auto& b) { return key(a) < key(b); }));
}

TEST(IpGenPrefix, hashTakesInEveryField) {
   const auto p = [](std::string_view text) { return IpGenPrefix::fromString(text).hash(17); };
   const std::set<U32> hashes{p("none"),          p("0.0.0.0/0"), p("::/0"),       p("0.0.0.0/1"), p("::/1"),
                              p("10.0.0.0/8"),    p("a00::/8"),   p("11.0.0.0/8"), p("::1/128"),   p("2001:db8::/32"),
                              p("2001:db8::/33"), p("::/255"),    p("0.0.0.0/255")};
   EXPECT_EQ(13u, hashes.size());
}

TEST(IpGenPrefix, text) {
   EXPECT_EQ("none", IpGenPrefix().stringValue());
   EXPECT_EQ("0.0.0.0/0", IpGenPrefix(Prefix()).stringValue());
   EXPECT_EQ("::/0", IpGenPrefix(Ip6Prefix()).stringValue());
   EXPECT_EQ("10.0.0.0/8", IpGenPrefix::fromString("10.0.0.0/8").stringValue());
   EXPECT_EQ("::/255", IpGenPrefix(Ip6Prefix::nullPrefix()).stringValue());
   EXPECT_EQ(IpGenPrefix(), IpGenPrefix::fromString("none"));
   EXPECT_EQ(Ip6Prefix::fromString("2001:db8::/32"), IpGenPrefix::fromString("2001:db8::/32").v6Prefix());
}

TEST(IpGenPrefix, textGivenLater) {
   IpGenPrefix prefix;
   prefix.handleInitialized("10.0.0.0/8");
   EXPECT_EQ(IpGenPrefix::fromString("10.0.0.0/8"), prefix);
   prefix.handleInitialized("2001:db8::/32");
   EXPECT_EQ(IpGenPrefix::fromString("2001:db8::/32"), prefix);
   EXPECT_THROW(prefix.handleInitialized("10.0.0.1/8"), Corvid::RangeException);
   EXPECT_THROW(prefix.handleInitialized(""), Corvid::RangeException);
   EXPECT_EQ(IpGenPrefix::fromString("2001:db8::/32"), prefix) << "unchanged by text that is refused";
   prefix.handleInitialized("none");
   EXPECT_EQ(IpGenPrefix(), prefix);
}

}  // namespace IpGenPrefixTest
