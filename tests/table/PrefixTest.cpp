#include "routetrie/prefix.h"

#include <arpa/inet.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>
#include <unordered_set>
#include <vector>

#include "routetrie/address.h"

namespace PrefixTest {

using namespace routetrie;

TEST(Prefix, aLiteralHasTheFamilyThatItsTextHas) {
   static_assert(std::is_same_v<decltype("10.0.0.0/8"_prefix), prefix4>);
   static_assert(std::is_same_v<decltype("2001:db8::/32"_prefix), prefix6>);
   static_assert(std::is_same_v<decltype("10.0.0.1"_address), address4>);
   static_assert(std::is_same_v<decltype("::1"_address), address6>);
   static_assert("10.0.0.0/8"_prefix.len() == 8);
   static_assert("10.0.0.0/8"_prefix.bits().word() == 0x0a000000);
   constexpr prefix either = "2001:db8::/32"_prefix;
   EXPECT_EQ("2001:db8::/32", either.stringValue());
   EXPECT_EQ(either, "2001:db8::/32"_prefix) << "a prefix of one family compares with one of either";
   EXPECT_NE(either, "10.0.0.0/8"_prefix);
   EXPECT_LT("255.0.0.0/8"_prefix, either) << "IPv4 before IPv6";
   EXPECT_EQ(prefix4::fromString("10.0.0.0/8"), "10.0.0.0/8"_prefix);
   EXPECT_EQ(address4::fromString("10.0.0.1"), "10.0.0.1"_address);
}

TEST(Prefix, aTextIsAValueOrAnError) {
   EXPECT_EQ("10.0.0.0/8"_prefix, *parse<prefix4>("10.0.0.0/8"));
   EXPECT_EQ("10.0.0.0/8"_prefix, *parse<prefix>("10.0.0.0/8"));
   EXPECT_EQ("::/0"_prefix, *parse<prefix>("::/0"));
   EXPECT_EQ("::1"_address, *parse<address6>("::1"));
   EXPECT_EQ(address("::1"_address), *parse<address>("::1"));
   EXPECT_EQ(address("1.2.3.4"_address), parse<address>("1.2.3.4").value());

   const auto error = [](std::string_view text) { return parse<prefix>(text).error(); };
   EXPECT_EQ("prefix has no length: \"10.0.0.0\"", error("10.0.0.0"));
   EXPECT_EQ("prefix has no length: \"::1\"", error("::1"));
   EXPECT_EQ("prefix length is not a number: \"10.0.0.0/x\"", error("10.0.0.0/x"));
   EXPECT_EQ("prefix length is not a number: \"10.0.0.0/\"", error("10.0.0.0/"));
   EXPECT_EQ("prefix length 33 exceeds 32: \"10.0.0.0/33\"", error("10.0.0.0/33"));
   EXPECT_EQ("prefix length 129 exceeds 128: \"::/129\"", error("::/129"));
   EXPECT_EQ("prefix has bits set past its length: \"10.0.0.1/8\"", error("10.0.0.1/8"));
   EXPECT_EQ("not an IPv4 prefix: \"10.0.0/8\"", error("10.0.0/8"));
   EXPECT_EQ("not an IPv6 prefix: \":/8\"", error(":/8"));
   EXPECT_EQ("not an IPv4 prefix: \"\"", error(""));
   EXPECT_EQ("not an IPv4 prefix: \"\\x0a/8\"", error("\n/8")) << "the message stays one line";
   EXPECT_EQ("not an IPv4 address: \"::1\"", parse<address4>("::1").error());
   EXPECT_EQ("not an IPv6 address: \"1.2.3.4\"", parse<address6>("1.2.3.4").error());
   EXPECT_EQ("not an address: \"nine\"", parse<address>("nine").error());
   EXPECT_EQ("not an address: \"1::2::\"", parse<address>("1::2::").error());
}

TEST(Prefix, neitherTheEmptyNorTheNullPrefixIsRead) {
   EXPECT_EQ("not an IPv4 prefix: \"none\"", parse<prefix>("none").error());
   EXPECT_EQ("prefix length 255 exceeds 32: \"0.0.0.0/255\"", parse<prefix>("0.0.0.0/255").error());
   EXPECT_EQ("prefix length 255 exceeds 128: \"::/255\"", parse<prefix6>("::/255").error());
   EXPECT_FALSE(is_prefix(prefix()));
   EXPECT_FALSE(is_prefix(prefix4::nullPrefix()));
   EXPECT_FALSE(is_prefix(prefix(prefix6::nullPrefix())));
   EXPECT_TRUE(is_prefix(prefix("0.0.0.0/0"_prefix)));
   EXPECT_TRUE(is_prefix("::/128"_prefix));
}

TEST(Prefix, whoWantsAnExceptionAsksForTheValue) {
   try {
      parse<prefix>("10.0.0.1/8").value();
      FAIL() << "took host bits";
   } catch (const std::range_error& raised) {
      EXPECT_STREQ("prefix has bits set past its length: \"10.0.0.1/8\"", raised.what());
   }
   EXPECT_EQ("::/0"_prefix, parse<prefix6>("x").value_or("::/0"_prefix));
   EXPECT_EQ("::/1"_prefix, parse<prefix6>("::/1").value_or("::/0"_prefix));
   EXPECT_EQ(8, parse<prefix4>("10.0.0.0/8")->len());
}

TEST(Prefix, hostBitsAreCutOnRequest) {
   EXPECT_EQ("10.0.0.0/8"_prefix, *parse<prefix>("10.1.2.3/8", host_bits::cut));
   EXPECT_EQ("2001:db8::/32"_prefix, *parse<prefix6>("2001:db8::1/32", host_bits::cut));
   EXPECT_EQ("10.1.2.0/24"_prefix, make_prefix("10.1.2.3"_address, 24, host_bits::cut));
   EXPECT_EQ("10.1.2.3/32"_prefix, make_prefix("10.1.2.3"_address, 32));
   EXPECT_EQ("0.0.0.0/0"_prefix, make_prefix("10.1.2.3"_address, 0, host_bits::cut));
   EXPECT_EQ("2001:db8::/32"_prefix, make_prefix(address("2001:db8::1"_address), 32, host_bits::cut));
   EXPECT_THROW(make_prefix("10.1.2.3"_address, 24), std::range_error);
   EXPECT_THROW(make_prefix("10.1.2.3"_address, 33, host_bits::cut), std::range_error);
   EXPECT_THROW(make_prefix("::"_address, 255), std::range_error) << "that would be the null prefix";
   EXPECT_THROW(make_prefix(address(), 0), std::range_error) << "an address without a family";
}

TEST(Prefix, ofASocketsAddress) {
   EXPECT_EQ("192.0.2.1"_address, routetrie::to_address(in_addr{htonl(0xc0000201)}));
   EXPECT_EQ(htonl(0xc0000201), to_in_addr("192.0.2.1"_address).s_addr);
   EXPECT_EQ("::1"_address, routetrie::to_address(in6addr_loopback));
   const in6_addr loopback = to_in6_addr("::1"_address);
   EXPECT_EQ(0, std::memcmp(&in6addr_loopback, &loopback, sizeof loopback));
   EXPECT_EQ("2001:db8::1"_address, routetrie::to_address6(0x20010db800000000, 1));

   sockaddr_in four{};
   four.sin_family = AF_INET;
   four.sin_addr = to_in_addr("192.0.2.1"_address);
   sockaddr_in6 six{};
   six.sin6_family = AF_INET6;
   six.sin6_addr = loopback;
   sockaddr_storage either;
   const auto taken = [&](const void* from, std::size_t size) {
      std::memset(&either, 0, sizeof either);
      std::memcpy(&either, from, size);
      sockaddr head;
      std::memcpy(&head, &either, sizeof head);
      return routetrie::to_address(*static_cast<const sockaddr*>(static_cast<const void*>(&either)),
                                   static_cast<socklen_t>(size));
   };
   EXPECT_EQ(address("192.0.2.1"_address), taken(&four, sizeof four));
   EXPECT_EQ(address("::1"_address), taken(&six, sizeof six));
   EXPECT_EQ(std::nullopt, taken(&six, sizeof four)) << "cut";
   EXPECT_EQ(std::nullopt, taken(&four, 4)) << "cut";
   four.sin_family = AF_UNIX;
   EXPECT_EQ(std::nullopt, taken(&four, sizeof four));
}

// From outside: as many bytes as the address has, in network order, or what is wrong.
TEST(Prefix, anAddressOfBytes) {
   const std::vector<std::uint8_t> four{192, 0, 2, 1};
   std::vector<std::uint8_t> six(16);
   six[0] = 0x20;
   six[1] = 1;
   six[15] = 7;
   EXPECT_EQ("192.0.2.1"_address, address_from_bytes<address4>(four).value());
   EXPECT_EQ("2001::7"_address, address_from_bytes<address6>(six).value());
   EXPECT_EQ(address("192.0.2.1"_address), address_from_bytes<address>(four).value());
   EXPECT_EQ(address("2001::7"_address), address_from_bytes<address>(six).value());
   EXPECT_EQ("192.0.2.1"_address, address_from_bytes<address4>(std::as_bytes(std::span(four))).value());
   EXPECT_EQ("an IPv4 address has 4 bytes, and not 16", address_from_bytes<address4>(six).error());
   EXPECT_EQ("an IPv6 address has 16 bytes, and not 4", address_from_bytes<address6>(four).error());
   EXPECT_EQ("an address has 4 or 16 bytes, and not 0",
             address_from_bytes<address>(std::span(four).first(0)).error());
   EXPECT_THROW(address_from_bytes<address>(std::span(six).first(15)).value(), Corvid::RangeException);
}

// A prefix may come without the bytes that its length does not need, as routing protocols send it.
TEST(Prefix, aPrefixOfBytes) {
   const std::vector<std::uint8_t> bytes{10, 1, 2, 3};
   const std::span<const std::uint8_t> all(bytes);
   EXPECT_EQ("10.1.2.3/32"_prefix, prefix_from_bytes<prefix4>(all, 32).value());
   EXPECT_EQ("10.1.0.0/16"_prefix, prefix_from_bytes<prefix4>(all.first(2), 16).value());
   EXPECT_EQ("10.1.2.0/23"_prefix, prefix_from_bytes<prefix4>(all.first(3), 23).value());
   EXPECT_EQ("0.0.0.0/0"_prefix, prefix_from_bytes<prefix4>(all.first(0), 0).value());
   EXPECT_EQ("a01:200::/24"_prefix, prefix_from_bytes<prefix6>(all.first(3), 24).value());
   EXPECT_EQ("a01:203::/32"_prefix, prefix_from_bytes<prefix6>(std::as_bytes(all), 32).value());
   EXPECT_EQ("10.0.0.0/8"_prefix, prefix_from_bytes<prefix4>(all, 8, host_bits::cut).value());
   EXPECT_EQ(prefix("10.0.0.0/8"_prefix), prefix_from_bytes<prefix>(all, 8, host_bits::cut).value());
   EXPECT_EQ(prefix("::/0"_prefix), prefix_from_bytes<prefix>(std::vector<std::uint8_t>(16), 0).value());

   // The words are those of parse().
   EXPECT_EQ(parse<prefix4>("10.1.2.3/8").error(), prefix_from_bytes<prefix4>(all, 8).error());
   EXPECT_EQ(parse<prefix4>("10.1.2.3/33").error(), prefix_from_bytes<prefix4>(all, 33).error());
   EXPECT_EQ(parse<prefix6>("a01:203::/129").error(), prefix_from_bytes<prefix6>(all, 129).error());
   EXPECT_EQ(parse<prefix>("10.1.2.3/8").error(), prefix_from_bytes<prefix>(all, 8).error());
   EXPECT_EQ("prefix length 255 exceeds 32: \"10.1.2.3/255\"", prefix_from_bytes<prefix4>(all, 255).error())
      << "no null prefix is made";
   EXPECT_EQ("an IPv4 prefix of 17 bits has 3 to 4 bytes, and not 2",
             prefix_from_bytes<prefix4>(all.first(2), 17).error());
   EXPECT_EQ("an IPv4 prefix of 8 bits has 1 to 4 bytes, and not 16",
             prefix_from_bytes<prefix4>(std::vector<std::uint8_t>(16), 8).error());
   EXPECT_EQ("an IPv6 prefix of 128 bits has 16 bytes, and not 4", prefix_from_bytes<prefix6>(all, 128).error());
   EXPECT_EQ("an address has 4 or 16 bytes, and not 2", prefix_from_bytes<prefix>(all.first(2), 16).error())
      << "which family?";
}

TEST(Prefix, covers) {
   EXPECT_TRUE(covers("10.0.0.0/8"_prefix, "10.1.0.0/16"_prefix));
   EXPECT_TRUE(covers("10.0.0.0/8"_prefix, "10.0.0.0/8"_prefix));
   EXPECT_FALSE(covers("10.1.0.0/16"_prefix, "10.0.0.0/8"_prefix));
   EXPECT_FALSE(covers("10.0.0.0/8"_prefix, "11.0.0.0/8"_prefix));
   EXPECT_TRUE(covers("0.0.0.0/0"_prefix, "255.255.255.255"_address));
   EXPECT_TRUE(covers("::/0"_prefix, "ffff::"_address));
   EXPECT_FALSE(covers(prefix("0.0.0.0/0"_prefix), prefix("::/0"_prefix))) << "families apart";
   EXPECT_TRUE(covers(prefix("2001:db8::/32"_prefix), address("2001:db8::1"_address)));
   EXPECT_FALSE(covers(prefix(), prefix())) << "the empty value is no prefix";
   EXPECT_FALSE(covers(prefix4::nullPrefix(), "10.0.0.0/8"_prefix));
   EXPECT_FALSE(covers("0.0.0.0/0"_prefix, prefix4::nullPrefix()));
   EXPECT_EQ("10.255.255.255"_address, last_address("10.0.0.0/8"_prefix));
   EXPECT_EQ("255.255.255.255"_address, last_address("0.0.0.0/0"_prefix));
   EXPECT_EQ("2001:db8:ffff:ffff:ffff:ffff:ffff:ffff"_address, last_address("2001:db8::/32"_prefix));
   EXPECT_EQ("10.0.0.0"_address, first_address("10.0.0.0/8"_prefix));
   EXPECT_EQ(prefix("10.0.0.1/32"_prefix), host_prefix(address("10.0.0.1"_address)));
   EXPECT_EQ(prefix(), host_prefix(address()));
}

TEST(Prefix, printsAndHashes) {
   EXPECT_EQ("10.0.0.0/8 2001:db8::1", fmt::format("{} {}", "10.0.0.0/8"_prefix, "2001:db8::1"_address));
   EXPECT_EQ("  10.0.0.0/8", fmt::format("{:>12}", prefix("10.0.0.0/8"_prefix)));
   EXPECT_EQ(1u, (std::unordered_set<prefix>{"10.0.0.0/8"_prefix}).count("10.0.0.0/8"_prefix));
}

}  // namespace PrefixTest
