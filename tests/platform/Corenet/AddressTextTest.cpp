#include "routetrie/platform/Corenet/AddressText.h"

#include <arpa/inet.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <string>
#include <string_view>

#include "routetrie/platform/Corenet/IpAddr.h"
#include "tests/platform/Corenet/RandomValues.h"
#include "tests/property/Scale.h"

namespace AddressTextTest {

using namespace Corenet;
using Impl::readAddress;
using Impl::readPrefix;
using Impl::TextFault;
using TestSupport::RandomValues;

// What the C library makes of the text.
template <unsigned width>
bool readByLibrary(const std::string& text, AddressBits<width>& bits) {
   std::array<U8, width / 8> bytes;
   if (inet_pton(width == 32 ? AF_INET : AF_INET6, text.c_str(), bytes.data()) != 1) {
      return false;
   }
   bits = AddressBits<width>::load(bytes.data());
   return true;
}

template <unsigned width>
testing::AssertionResult readsAsTheLibrary(const std::string& text) {
   AddressBits<width> expected;
   AddressBits<width> read;
   const bool isAddress = readByLibrary(text, expected);
   if (readAddress(text, read) != isAddress) {
      return testing::AssertionFailure() << '"' << text << (isAddress ? "\" is refused" : "\" is taken");
   }
   return expected == read ? testing::AssertionSuccess()
                           : testing::AssertionFailure() << '"' << text << "\" is read as another address";
}

TEST(AddressText, literalsAreReadByTheCompiler) {
   constexpr auto word = [](std::string_view text) {
      AddressBits<32> bits;
      return readAddress(text, bits) ? bits.word() : 0;
   };
   static_assert(word("10.1.2.3") == 0x0a010203);
   static_assert(word("10.1.2") == 0);
   constexpr auto word6 = [](std::string_view text) {
      AddressBits<128> bits;
      return readAddress(text, bits) ? bits.word() : 0;
   };
   static_assert(word6("2001:db8::1") == (Corenet::U128{0x20010db800000000} << 64 | 1));
}

TEST(AddressText, spellingsThatTheLibraryDecides) {
   for (const std::string text :
        {"",          ".",        "1",        "1.2",      "1.2.3",     "1.2.3.4",         "1.2.3.4.",   ".1.2.3.4",
         "1.2.3.4.5", "01.2.3.4", "0.0.0.0",  "00.0.0.0", "256.1.1.1", "1.2.3.256",       "1.2.3.2555", "1..2.3",
         "1.2.3.4 ",  " 1.2.3.4", "1.2.3.-4", "1.2.3.a",  "0x1.2.3.4", "255.255.255.255", "4294967295"}) {
      EXPECT_TRUE(readsAsTheLibrary<32>(text));
   }
   for (const std::string text : {"",
                                  ":",
                                  "::",
                                  ":::",
                                  "::1",
                                  "1::",
                                  "1:",
                                  ":1",
                                  "1::2::3",
                                  "1:2:3:4:5:6:7:8",
                                  "1:2:3:4:5:6:7:8:9",
                                  "1:2:3:4:5:6:7",
                                  "1:2:3:4:5:6:7::",
                                  "::2:3:4:5:6:7:8",
                                  "1::3:4:5:6:7:8",
                                  "1:2:3:4:5:6:7:8::",
                                  "::1:2:3:4:5:6:7:8",
                                  "12345::",
                                  "::g",
                                  "::FFFF",
                                  "::ffff:1.2.3.4",
                                  "::1.2.3.4",
                                  "1:2:3:4:5:6:1.2.3.4",
                                  "1:2:3:4:5:6:7:1.2.3.4",
                                  "1:2:3:4:5:1.2.3.4",
                                  "::1.2.3.4:5",
                                  "::1.2.3",
                                  "::1.2.3.4.5",
                                  "::01.2.3.4",
                                  "1.2.3.4",
                                  "1.2.3.4::",
                                  "::1a.2.3.4",
                                  "fe80::1%eth0",
                                  "::/0",
                                  "1:::2",
                                  "0:0:0:0:0:0:0:0",
                                  "00000::",
                                  "::0001"}) {
      EXPECT_TRUE(readsAsTheLibrary<128>(text));
   }
}

TEST(AddressText, manglingIsReadAsTheLibraryReadsIt) {
   RandomValues random(Property::seed());
   constexpr std::string_view letters = "0123456789abcdefF:.::..g% ";
   std::size_t taken = 0;
   for (int round = 0; round < 200'000; ++round) {
      std::string text =
         round % 2 != 0 ? random.address<IpAddr>().stringValue() : random.address<Ip6Addr>().stringValue();
      for (std::size_t change = random.below(4); change != 0 && !text.empty(); --change) {
         const std::size_t at = random.below(static_cast<U32>(text.size()));
         const char letter = letters[random.below(static_cast<U32>(letters.size()))];
         switch (random.below(3)) {
            case 0: text[at] = letter; break;
            case 1: text.insert(at, 1, letter); break;
            default: text.erase(at, 1);
         }
      }
      ASSERT_TRUE(readsAsTheLibrary<32>(text));
      ASSERT_TRUE(readsAsTheLibrary<128>(text));
      AddressBits<128> bits;
      taken += readAddress(text, bits);
   }
   EXPECT_GT(taken, 10'000u) << "hardly an address among them";
}

TEST(AddressText, faultsOfAPrefix) {
   AddressBits<32> bits;
   U32 length = 0;
   const auto fault = [&](std::string_view text) { return readPrefix(text, bits, length); };
   EXPECT_EQ(TextFault::none, fault("10.0.0.0/8"));
   EXPECT_EQ(8u, length);
   EXPECT_EQ(TextFault::none, fault("0.0.0.0/0"));
   EXPECT_EQ(TextFault::none, fault("10.0.0.1/32"));
   EXPECT_EQ(TextFault::notAddress, fault("10.0.0/8"));
   EXPECT_EQ(TextFault::notAddress, fault("::/8"));
   EXPECT_EQ(TextFault::noLength, fault("10.0.0.0"));
   EXPECT_EQ(TextFault::lengthNotNumber, fault("10.0.0.0/"));
   EXPECT_EQ(TextFault::lengthNotNumber, fault("10.0.0.0/8x"));
   EXPECT_EQ(TextFault::lengthNotNumber, fault("10.0.0.0/-1"));
   EXPECT_EQ(TextFault::lengthNotNumber, fault("10.0.0.0/8/8"));
   EXPECT_EQ(TextFault::lengthTooGreat, fault("10.0.0.0/33"));
   EXPECT_EQ(TextFault::lengthTooGreat, fault("10.0.0.0/255"));
   EXPECT_EQ(TextFault::lengthTooGreat, fault("10.0.0.0/4294967304")) << "2^32 + 8";
   EXPECT_EQ(TextFault::lengthTooGreat, fault("10.0.0.0/18446744073709551624")) << "2^64 + 8";
   EXPECT_EQ(TextFault::hostBits, fault("10.0.0.1/8"));
   EXPECT_EQ(0x0a000001u, bits.word()) << "who wants them cut has them";
   EXPECT_EQ(8u, length);
}

}  // namespace AddressTextTest
