#include "routetrie/platform/Corenet/Text.h"

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>
#include <sstream>
#include <unordered_set>
#include <vector>

#include "routetrie/platform/Corenet.h"
#include "routetrie/platform/Corvid/RangeException.h"
#include "tests/platform/Corenet/RandomValues.h"
#include "tests/property/Scale.h"

namespace TextTest {

using namespace Corenet;
using testing::AllOf;
using testing::HasSubstr;
using testing::StartsWith;
using TestSupport::randomValue;
using TestSupport::RandomValues;
using namespace std::string_view_literals;

// --- every type: what is printed is read back ---

template <class T>
class TextOf : public testing::Test {};

using Types = testing::Types<IpAddr, Ip6Addr, IpGenAddr, Prefix, Ip6Prefix, IpGenPrefix, CompactIpPrefix,
                             IpAddrWithMask, Ip6AddrWithMask, IpGenAddrWithMask>;
TYPED_TEST_SUITE(TextOf, Types);

TYPED_TEST(TextOf, readsWhatItPrints) {
   RandomValues random(Property::seed());
   for (int round = 0; round < Property::sized(2000, 10'000, 500'000); ++round) {
      const TypeParam value = randomValue<TypeParam>(random);
      const Corvid::String text = value.stringValue();
      ASSERT_EQ(value, TypeParam::fromString(text)) << text;
      ASSERT_EQ(text, TypeParam::fromString(text).stringValue());
   }
   EXPECT_EQ(TypeParam(), TypeParam::fromString(TypeParam().stringValue()));
}

TYPED_TEST(TextOf, streamAndFmtPrintTheStringValue) {
   RandomValues random(Property::seed());
   for (int round = 0; round < 200; ++round) {
      const auto value = randomValue<TypeParam>(random);
      const std::string text = value.stringValue();
      std::ostringstream out;
      out << std::hex << value << "|";
      ASSERT_EQ(text + "|", out.str());
      ASSERT_EQ(text, fmt::format("{}", value));
      ASSERT_EQ(fmt::format("{:>60}|{:*<60}", text, text), fmt::format("{:>60}|{:*<60}", value, value));
   }
}

TYPED_TEST(TextOf, differentValuesHaveDifferentTexts) {
   RandomValues random(Property::seed());
   for (int round = 0; round < 2000; ++round) {
      const auto a = randomValue<TypeParam>(random);
      const auto b = randomValue<TypeParam>(random);
      ASSERT_EQ(a == b, a.stringValue() == b.stringValue()) << a << " " << b;
   }
}

TYPED_TEST(TextOf, equalValuesHaveEqualHashesAndOthersSeldomDo) {
   RandomValues random(Property::seed());
   std::vector<TypeParam> values;  // held, so that compact values keep their records
   std::set<std::string> texts;
   std::unordered_set<TypeParam> set;
   std::set<U32> hashes;
   for (int round = 0; round < 10'000; ++round) {
      const auto value = values.emplace_back(randomValue<TypeParam>(random));
      ASSERT_EQ(value.hash(7), TypeParam::fromString(value.stringValue()).hash(7));
      ASSERT_EQ(std::hash<TypeParam>()(value), value.hash(0));
      texts.insert(value.stringValue());
      set.insert(value);
      hashes.insert(value.hash(0));
   }
   EXPECT_EQ(texts.size(), set.size());
   EXPECT_GE(hashes.size() + 10, texts.size()) << "32-bit hashes of 10,000 values hardly collide";
}

TYPED_TEST(TextOf, hashDependsOnTheSeed) {
   RandomValues random(Property::seed());
   int differ = 0;
   for (int round = 0; round < 100; ++round) {
      const auto value = randomValue<TypeParam>(random);
      differ += value.hash(1) != value.hash(2);
   }
   EXPECT_GE(differ, 99);
}

// --- bad text: each kind raises, and quotes the text ---

template <class T>
std::string faultOf(std::string_view text) {
   try {
      const T value = T::fromString(text);
      ADD_FAILURE() << "read " << value << " from \"" << text << '"';
   } catch (const Corvid::RangeException& fault) {
      return fault.what();
   }
   return {};
}

template <class T>
void expectRefused(const std::vector<std::string_view>& texts) {
   for (const auto text : texts) {
      EXPECT_THAT(faultOf<T>(text), HasSubstr(fmt::format(": \"{}\"", text)));
   }
}

// `length` bits are refused for whatever reason; the address in front is one of T's family.
template <class T>
void expectLengthsRefused(const std::string& address) {
   for (const char* length : {"",
                              " ",
                              "8 ",
                              " 8",
                              "+8",
                              "-8",
                              "-0",
                              "0x8",
                              "8.0",
                              "8e0",
                              "eight",
                              "/8",
                              "8/",
                              "8/8",
                              "254",
                              "256",
                              "257",
                              "511",
                              "4294967295",
                              "4294967296",
                              "4294967304",
                              "18446744073709551624",
                              "99999999999999999999999999999999"}) {
      const std::string text = address + '/' + length;
      EXPECT_THAT(faultOf<T>(text), HasSubstr(": \"" + text + '"'));
   }
}

const std::vector<std::string_view> badIpv4 = {"",
                                               " ",
                                               "10",
                                               "10.0",
                                               "10.0.0",
                                               "10.0.0.",
                                               ".10.0.0.0",
                                               "10..0.0",
                                               "10.0.0.0.0",
                                               "256.0.0.0",
                                               "10.0.0.1000",
                                               "-1.0.0.0",
                                               "+1.0.0.0",
                                               "010.0.0.0",
                                               "10.00.0.0",
                                               "10.0.0.01",
                                               "0x10.0.0.0",
                                               "a.b.c.d",
                                               " 10.0.0.0",
                                               "10.0.0.0 ",
                                               "10. 0.0.0",
                                               "10,0,0,0",
                                               "167772160",
                                               "10.0.0.0:80",
                                               "::10.0.0.0",
                                               "2001:db8::",
                                               "none",
                                               "localhost",
                                               "١.0.0.0",
                                               "99999999999999999999.0.0.0",
                                               "10.0.0.0.in-addr.arpa.and.much.more.text.than.an.address.can.have"};

const std::vector<std::string_view> badIpv6 = {"",
                                               " ",
                                               ":",
                                               ":::",
                                               "::1::",
                                               "1::2::3",
                                               "1:2:3:4:5:6:7",
                                               "1:2:3:4:5:6:7:8:9",
                                               "1:2:3:4:5:6:7:",
                                               ":1:2:3:4:5:6:7",
                                               "12345::",
                                               "g::",
                                               "0x1::",
                                               "-1::",
                                               "+1::",
                                               " ::",
                                               ":: ",
                                               "1: :2",
                                               "[::1]",
                                               "fe80::1%eth0",
                                               "::256.0.0.0",
                                               "::1.2.3",
                                               "::1.2.3.4.5",
                                               "1.2.3.4::",
                                               "::01.2.3.4",
                                               "10.0.0.0",
                                               "none",
                                               "1:2:3:4:5:6:7:8::9",
                                               "ffff:ffff:ffff:ffff:ffff:ffff:255.255.255.255:and:much:more"};

TEST(BadText, addresses) {
   expectRefused<IpAddr>(badIpv4);
   expectRefused<Ip6Addr>(badIpv6);
   expectRefused<IpAddr>({"10.0.0.0/8"});
   expectRefused<Ip6Addr>({"2001:db8::/32"});
   expectRefused<IpGenAddr>({"", " ", "10.0.0", "10.0.0.0/8", "2001:db8::/32", "1:2", ":::", "NONE", "none ", " none",
                             "ipv4", "10.0.0.0 none"});
}

TEST(BadText, prefixAddresses) {
   for (const auto address : badIpv4) {
      for (const char* length : {"/0", "/32", "/255"}) {
         const std::string text = std::string(address) + length;
         expectRefused<Prefix>({text});
         expectRefused<IpAddrWithMask>({text});
      }
   }
   for (const auto address : badIpv6) {
      for (const char* length : {"/0", "/128", "/255"}) {
         const std::string text = std::string(address) + length;
         expectRefused<Ip6Prefix>({text});
         expectRefused<Ip6AddrWithMask>({text});
      }
   }
   expectRefused<IpGenPrefix>({"none/0", "none/255", "/0", "/", ":/0", "10.0.0/8", "1:2/16", "NONE", " none"});
   expectRefused<CompactIpPrefix>({"none/0", "none/255", "/0", "/", ":/0", "10.0.0/8", "1:2/16", "NONE", "none "});
   expectRefused<IpGenAddrWithMask>({"none/0", "none/255", "/0", "/", ":/0", "10.0.0/8", "1:2/16", "NONE", "none "});
}

TEST(BadText, prefixWithoutLength) {
   for (const auto text : {"", "10.0.0.0", "0", "8", "255"}) {
      EXPECT_EQ(fmt::format("prefix has no length: \"{}\"", text), faultOf<Prefix>(text));
      EXPECT_EQ(fmt::format("prefix has no length: \"{}\"", text), faultOf<IpGenPrefix>(text));
   }
   EXPECT_EQ("prefix has no length: \"2001:db8::\"", faultOf<Ip6Prefix>("2001:db8::"));
   EXPECT_EQ("prefix has no length: \"2001:db8::\"", faultOf<CompactIpPrefix>("2001:db8::"));
   EXPECT_EQ("prefix has no length: \"10.0.0.1\"", faultOf<IpAddrWithMask>("10.0.0.1"));
   EXPECT_EQ("prefix has no length: \"::1\"", faultOf<Ip6AddrWithMask>("::1"));
   EXPECT_EQ("prefix has no length: \"::1\"", faultOf<IpGenAddrWithMask>("::1"));
}

TEST(BadText, prefixLength) {
   expectLengthsRefused<Prefix>("0.0.0.0");
   expectLengthsRefused<Ip6Prefix>("::");
   expectLengthsRefused<IpGenPrefix>("0.0.0.0");
   expectLengthsRefused<IpGenPrefix>("::");
   expectLengthsRefused<CompactIpPrefix>("0.0.0.0");
   expectLengthsRefused<CompactIpPrefix>("::");
   expectLengthsRefused<IpAddrWithMask>("10.0.0.1");
   expectLengthsRefused<Ip6AddrWithMask>("::1");
   expectLengthsRefused<IpGenAddrWithMask>("10.0.0.1");
   expectLengthsRefused<IpGenAddrWithMask>("::1");
   EXPECT_EQ("prefix length is not a number: \"10.0.0.0/8/8\"", faultOf<Prefix>("10.0.0.0/8/8"));
   EXPECT_EQ("prefix length is not a number: \"10.0.0.0//8\"", faultOf<Prefix>("10.0.0.0//8"));
   EXPECT_EQ("prefix length is not a number: \"10.0.0.0/\"", faultOf<Prefix>("10.0.0.0/"));
   EXPECT_EQ("prefix length is not a number: \"10.0.0.0/-8\"", faultOf<Prefix>("10.0.0.0/-8"));
}

TEST(BadText, prefixLengthOutOfRange) {
   EXPECT_EQ("prefix length 33 exceeds 32: \"10.0.0.0/33\"", faultOf<Prefix>("10.0.0.0/33"));
   EXPECT_EQ("prefix length 128 exceeds 32: \"10.0.0.0/128\"", faultOf<IpGenPrefix>("10.0.0.0/128"));
   EXPECT_EQ("prefix length 254 exceeds 32: \"10.0.0.0/254\"", faultOf<Prefix>("10.0.0.0/254"));
   EXPECT_EQ("prefix length 129 exceeds 128: \"2001:db8::/129\"", faultOf<Ip6Prefix>("2001:db8::/129"));
   EXPECT_EQ("prefix length 254 exceeds 128: \"2001:db8::/254\"", faultOf<CompactIpPrefix>("2001:db8::/254"));
   EXPECT_EQ("prefix length 4294967304 exceeds 32: \"10.0.0.0/4294967304\"", faultOf<Prefix>("10.0.0.0/4294967304"));
   EXPECT_EQ("prefix length 33 exceeds 32: \"10.0.0.1/33\"", faultOf<IpAddrWithMask>("10.0.0.1/33"));
   EXPECT_EQ("prefix length 129 exceeds 128: \"::1/129\"", faultOf<IpGenAddrWithMask>("::1/129"));
}

TEST(BadText, hostBits) {
   EXPECT_EQ("Corenet::Prefix::validAsPrefix != true not allowed: \"10.0.0.1/8\"", faultOf<Prefix>("10.0.0.1/8"));
   EXPECT_EQ("Corenet::Prefix::validAsPrefix != true not allowed: \"0.0.0.1/31\"",
             faultOf<IpGenPrefix>("0.0.0.1/31"));
   EXPECT_EQ("Corenet::Prefix::validAsPrefix != true not allowed: \"128.0.0.0/0\"",
             faultOf<CompactIpPrefix>("128.0.0.0/0"));
   EXPECT_EQ("Corenet::Ip6Prefix::validAsPrefix != true not allowed: \"2001:db8::1/32\"",
             faultOf<Ip6Prefix>("2001:db8::1/32"));
   EXPECT_EQ("Corenet::Ip6Prefix::validAsPrefix != true not allowed: \"::1/127\"", faultOf<IpGenPrefix>("::1/127"));
   EXPECT_EQ("Corenet::Ip6Prefix::validAsPrefix != true not allowed: \"8000::/0\"",
             faultOf<CompactIpPrefix>("8000::/0"));
}

TEST(BadText, wrongFamily) {
   EXPECT_EQ("not an IPv4 prefix: \"::/0\"", faultOf<Prefix>("::/0"));
   EXPECT_EQ("not an IPv6 prefix: \"0.0.0.0/0\"", faultOf<Ip6Prefix>("0.0.0.0/0"));
   EXPECT_EQ("not an IPv4 address: \"::\"", faultOf<IpAddr>("::"));
   EXPECT_EQ("not an IPv6 address: \"0.0.0.0\"", faultOf<Ip6Addr>("0.0.0.0"));
   EXPECT_EQ("not an IPv4 address with a mask: \"::/0\"", faultOf<IpAddrWithMask>("::/0"));
   EXPECT_EQ("not an IPv6 address with a mask: \"0.0.0.0/0\"", faultOf<Ip6AddrWithMask>("0.0.0.0/0"));
}

TEST(BadText, controlCharactersAreSpelledOut) {
   EXPECT_EQ(R"(not an IPv4 prefix: "10.0.0.0\x00/8")", faultOf<Prefix>("10.0.0.0\0/8"sv));
   EXPECT_EQ(R"(prefix length is not a number: "10.0.0.0/8\x00")", faultOf<Prefix>("10.0.0.0/8\0"sv));
   EXPECT_EQ(R"(prefix length is not a number: "10.0.0.0/\x008")", faultOf<Prefix>("10.0.0.0/\0008"sv));
   EXPECT_EQ(R"(not an IPv6 address: "::1\x00")", faultOf<Ip6Addr>("::1\0"sv));
   EXPECT_EQ(R"(not an IPv4 address: "\x00")", faultOf<IpAddr>("\0"sv));
   EXPECT_EQ(R"(prefix length is not a number: "10.0.0.0/8\x0a")", faultOf<Prefix>("10.0.0.0/8\n"));
   EXPECT_EQ(R"(not an IPv4 prefix: "\x0910.0.0.0/8")", faultOf<Prefix>("\t10.0.0.0/8"));
   EXPECT_EQ(R"(not an IPv4 address: "\x1b[1m\x7f")", faultOf<IpAddr>("\x1b[1m\x7f"));
}

TEST(BadText, noCharactersAtAll) {
   const std::string_view nothing;  // its data() is null
   EXPECT_EQ("not an IPv4 address: \"\"", faultOf<IpAddr>(nothing));
   EXPECT_EQ("not an IPv6 address: \"\"", faultOf<Ip6Addr>(nothing));
   EXPECT_EQ("not an IPv4 address: \"\"", faultOf<IpGenAddr>(nothing));
   EXPECT_EQ("prefix has no length: \"\"", faultOf<IpGenPrefix>(nothing));
}

TEST(BadText, aLongOneIsQuotedWhole) {
   const std::string text(100'000, '1');
   EXPECT_EQ("not an IPv4 address: \"" + text + '"', faultOf<IpAddr>(text));
   EXPECT_THAT(faultOf<Prefix>("0.0.0.0/" + text),
               AllOf(StartsWith("prefix length 1111"), HasSubstr(" exceeds 32: \"0.0.0.0/1111")));
}

// A single character changed, put in or left out makes either a bad text, which is quoted, or one that prints and
// reads again as the same value.
TEST(BadText, damagedTextIsReadOrRefused) {
   RandomValues random(Property::seed());
   constexpr std::string_view alphabet = "0123456789abcdef.:/-+ xn"sv;
   int refused = 0;
   for (int round = 0; round < Property::sized(5000, 20'000, 1'000'000); ++round) {
      std::string text = random.genPrefix().stringValue();
      const char c = alphabet[random.below(static_cast<U32>(alphabet.size()))];
      const auto at = random.below(static_cast<U32>(text.size()));
      switch (random.below(3)) {
         case 0: text[at] = c; break;
         case 1: text.insert(at, 1, c); break;
         default: text.erase(at, 1);
      }
      try {
         const auto value = IpGenPrefix::fromString(text);
         ASSERT_EQ(value, IpGenPrefix::fromString(value.stringValue())) << text;
         ASSERT_TRUE(value.v4Prefix().validAsPrefix() && value.v6Prefix().validAsPrefix()) << text;
      } catch (const Corvid::RangeException& fault) {
         ++refused;
         ASSERT_THAT(fault.what(), HasSubstr(": \"" + text + '"'));
      }
   }
   EXPECT_GT(refused, 0);
}

// --- the parts ---

TEST(SplitPrefixText, takesAddressAndLengthApart) {
   const auto parts = Impl::splitPrefixText("anything at all/17", 32);
   EXPECT_EQ("anything at all", parts.address);
   EXPECT_EQ(17u, parts.length);
   EXPECT_EQ(0u, Impl::splitPrefixText("/0", 32).length);
   EXPECT_EQ(32u, Impl::splitPrefixText("/32", 32).length);
   EXPECT_EQ(128u, Impl::splitPrefixText("/128", 128).length);
   EXPECT_EQ(255u, Impl::splitPrefixText("/255", 32).length) << "the null prefix";
}

TEST(LooksLikeIpv6, byItsColon) {
   EXPECT_TRUE(Impl::looksLikeIpv6("::"));
   EXPECT_TRUE(Impl::looksLikeIpv6("::ffff:1.2.3.4"));
   EXPECT_FALSE(Impl::looksLikeIpv6("1.2.3.4"));
   EXPECT_FALSE(Impl::looksLikeIpv6(""));
}

}  // namespace TextTest
