#include "routetrie/platform/Corenet/AddressFamily.h"

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>

namespace AddressFamilyTest {

using namespace Corenet;
using testing::AllOf;
using testing::HasSubstr;

template <class T>
std::string printed(const T& value) {
   std::ostringstream out;
   out << value;
   return out.str();
}

TEST(AddressFamily, isEightBitsWithFixedValues) {
   EXPECT_EQ(1u, sizeof(AddressFamily));
   EXPECT_EQ(0, static_cast<int>(AddressFamily::none));
   EXPECT_EQ(1, static_cast<int>(AddressFamily::ipv4));
   EXPECT_EQ(2, static_cast<int>(AddressFamily::ipv6));
   EXPECT_EQ(AddressFamily::none, AddressFamily{});
}

TEST(AddressFamily, hasTwoSpellingsEach) {
   static_assert(ipv4 == AddressFamily::ipv4 && ipv4() == AddressFamily::ipv4);
   static_assert(ipv6 == AddressFamily::ipv6 && ipv6() == AddressFamily::ipv6);
   const AddressFamily byName = Corenet::ipv6;
   const AddressFamily byCall = Corenet::ipv6();
   EXPECT_EQ(byName, byCall);
   EXPECT_TRUE(byName == Corenet::ipv6());
   EXPECT_TRUE(Corenet::ipv4 != byName);
   EXPECT_FALSE(byCall == Corenet::ipv4());
}

TEST(AddressFamily, text) {
   EXPECT_EQ("none", stringValue(AddressFamily::none));
   EXPECT_EQ("ipv4", stringValue(AddressFamily::ipv4));
   EXPECT_EQ("ipv6", stringValue(AddressFamily::ipv6));
   EXPECT_EQ("unknown 3", stringValue(AddressFamily{3}));
   EXPECT_EQ("unknown 255", stringValue(AddressFamily{255}));
   EXPECT_EQ("none", printed(AddressFamily::none));
   EXPECT_EQ("ipv4", printed(ipv4()));
   EXPECT_EQ("ipv6", printed(ipv6()));
   EXPECT_EQ("unknown 77", printed(AddressFamily{77}));
   EXPECT_EQ("ipv4|  none|unknown 3",
             fmt::format("{}|{:>6}|{}", AddressFamily::ipv4, AddressFamily::none, AddressFamily{3}));
}

TEST(V4V6, holdsTheTwoFamilies) {
   EXPECT_EQ(1u, sizeof(V4V6));
   EXPECT_EQ(0, static_cast<int>(V4V6::v4));
   EXPECT_EQ(1, static_cast<int>(V4V6::v6));
   static_assert(v4V6(ipv4) == V4V6::v4);
   static_assert(v4V6(ipv6()) == V4V6::v6);
   EXPECT_EQ(V4V6::v4, v4V6(AddressFamily::ipv4));
   EXPECT_EQ(V4V6::v6, v4V6(AddressFamily::ipv6));
   EXPECT_EQ("ipv4", printed(V4V6::v4));
   EXPECT_EQ("ipv6", printed(V4V6::v6));
}

TEST(V4V6DeathTest, refusesAnyOtherFamily) {
   EXPECT_DEATH(v4V6(AddressFamily::none),
                AllOf(HasSubstr("V4V6 Corenet::v4V6("), HasSubstr("Assertion `false' failed.")));
   EXPECT_DEATH(v4V6(AddressFamily{3}), HasSubstr("Assertion `false' failed"));
   EXPECT_DEATH(v4V6(AddressFamily{255}), HasSubstr("Assertion `false' failed"));
}

}  // namespace AddressFamilyTest
