// PrefixText: prefixes and bare addresses from text.
#include "tools/tables/PrefixText.h"

#include "Support.h"
#include "tools/rtrie/Errors.h"

namespace Rtrie {
namespace PrefixTextTest {

std::string faultOf(std::string_view text) {
   try {
      prefixOfText(text);
      return "no fault";
   } catch (const BadText& fault) {
      return fault.what();
   }
}

TEST(PrefixText, prefixesOfBothFamilies) {
   EXPECT_EQ("10.0.0.0/8", std::string(prefixOfText("10.0.0.0/8").stringValue()));
   EXPECT_EQ("0.0.0.0/0", std::string(prefixOfText("0.0.0.0/0").stringValue()));
   EXPECT_EQ("2001:db8::/32", std::string(prefixOfText("2001:0db8:0:0::/32").stringValue()));
   EXPECT_EQ("::/0", std::string(prefixOfText("::/0").stringValue()));
}

TEST(PrefixText, aBareAddressStandsForItself) {
   EXPECT_EQ("192.0.2.1/32", std::string(prefixOfText("192.0.2.1").stringValue()));
   EXPECT_EQ("2001:db8::1/128", std::string(prefixOfText("2001:db8::1").stringValue()));
}

TEST(PrefixText, badTextIsQuoted) {
   EXPECT_EQ("prefix length 33 exceeds 32: \"10.0.0.0/33\"", faultOf("10.0.0.0/33"));
   EXPECT_EQ("prefix length 129 exceeds 128: \"2001:db8::/129\"", faultOf("2001:db8::/129"));
   EXPECT_EQ("address has bits set past the prefix length: \"10.0.0.1/8\"", faultOf("10.0.0.1/8"));
   EXPECT_EQ("address has bits set past the prefix length: \"2001:db8::1/64\"", faultOf("2001:db8::1/64"));
   for (const char* text : {"", "none", "10.0.0/8", "10.0.0.0.0", "10.0.0.0/", "/8", "10.0.0.0/8x", "10.0.0.0/-1",
                            "256.0.0.1", "2001:db8:::", "g::", "example"}) {
      EXPECT_THAT(faultOf(text), testing::HasSubstr('"' + std::string(text) + '"'));
   }
}

TEST(PrefixText, theNullPrefixIsNoPrefixOfATable) {
   EXPECT_EQ("prefix length 255 exceeds 32: \"0.0.0.0/255\"", faultOf("0.0.0.0/255"));
   EXPECT_EQ("prefix length 255 exceeds 128: \"::/255\"", faultOf("::/255"));
}

TEST(PrefixText, isPrefixTextAgreesWithParsing) {
   for (const char* text : {"10.0.0.0/8", "192.0.2.1", "::", "2001:db8::/32", "fe80::1", "", "default", "10", "dead",
                            "beef/8", "10.0.0.1/8", "10.0.0.0/33", ":", ".", "16777216,16777471,AU", "::/255"}) {
      EXPECT_EQ(faultOf(text) == "no fault", isPrefixText(text)) << text;
   }
}

TEST(PrefixText, familyNames) {
   EXPECT_EQ("IPv4", familyName(Corenet::ipv4));
   EXPECT_EQ("IPv6", familyName(Corenet::ipv6));
}

TEST(PrefixText, netmasks) {
   EXPECT_EQ(16, netmaskLength("255.255.0.0"));
   EXPECT_EQ(0, netmaskLength("0.0.0.0"));
   EXPECT_EQ(32, netmaskLength("255.255.255.255"));
   for (const auto text : {"255.0.255.0", "0.0.255.255", "10.0.0.0", "255.255.0.0/16", "::", "", "x"}) {
      EXPECT_EQ(std::nullopt, netmaskLength(text)) << text;
   }
   EXPECT_EQ("10.2.0.0/16", prefixOfMask("10.2.0.0", 16).stringValue());
   EXPECT_THROW(prefixOfMask("10.2.0.1", 16), BadText);
   EXPECT_TRUE(isAddressText("2001:db8::1"));
   EXPECT_FALSE(isAddressText("10.0.0.0/8"));
}

}  // namespace PrefixTextTest
}  // namespace Rtrie
