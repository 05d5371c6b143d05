#include "routetrie/trie/patricia/PatriciaTrieKey.h"

#include <gtest/gtest.h>

#include "routetrie/platform/Corvid/RangeException.h"

namespace PatriciaTrieKeyTest {

using namespace Routing;
using Corenet::AddressFamily;
using Corenet::CompactIpPrefix;
using Corenet::IpGenAddr;
using Corenet::IpGenPrefix;

// The common length by both forms, which must agree.
U32 common(std::string_view address, std::string_view prefix, U32 maxLen) {
   const auto key = IpGenAddr::fromString(address);
   const auto other = IpGenPrefix::fromString(prefix);
   const U32 width = key.af() == Corenet::ipv4 ? 32 : 128;
   const U32 result = commonPrefixLenImpl(key, other, maxLen);
   EXPECT_EQ(result, commonPrefixLenImpl(CompactIpPrefix(pfx(key, width)), CompactIpPrefix(other), maxLen));
   return result;
}

TEST(CommonPrefixLen, ipv4) {
   EXPECT_EQ(8u, common("10.0.0.0", "10.0.0.0/8", 8));
   EXPECT_EQ(7u, common("10.0.0.0", "11.0.0.0/8", 8));
   EXPECT_EQ(0u, common("10.0.0.0", "128.0.0.0/1", 1));
   EXPECT_EQ(5u, common("10.0.0.0", "11.0.0.0/8", 5));
   EXPECT_EQ(31u, common("10.0.0.0", "10.0.0.1/32", 32));
   EXPECT_EQ(32u, common("10.0.0.1", "10.0.0.1/32", 32));
   EXPECT_EQ(40u, common("10.0.0.1", "10.0.0.1/32", 40)) << "equal keys share as much as is asked for";
}

TEST(CommonPrefixLen, ipv6AtEveryBit) {
   for (U32 bit = 0; bit < 128; ++bit) {
      const Corenet::AddressBits<128> one(Corenet::U128{1} << (127 - bit));
      const IpGenAddr key{Corenet::Ip6Addr(one)};
      const IpGenPrefix zero(Corenet::Ip6Prefix(Corenet::ip6AddrZero, 128));
      for (const U32 maxLen : {U32{0}, bit / 2, bit, bit + 1, U32{128}, U32{200}}) {
         ASSERT_EQ(std::min(bit, maxLen), commonPrefixLenImpl(key, zero, maxLen));
      }
   }
   EXPECT_EQ(128u, common("2001:db8::1", "2001:db8::1/128", 200));
   EXPECT_EQ(64u, common("2001:db8::1", "2001:db8::1/128", 64));
}

TEST(CommonPrefixLen, noFamilySharesNothing) {
   EXPECT_EQ(0u, commonPrefixLenImpl(IpGenAddr(), IpGenPrefix(), 8));
   EXPECT_EQ(0u, commonPrefixLenImpl(CompactIpPrefix(), CompactIpPrefix(), 8));
}

TEST(CommonPrefixLenDeathTest, familiesDiffer) {
   EXPECT_DEATH(commonPrefixLenImpl(IpGenAddr::fromString("10.0.0.0"), IpGenPrefix::fromString("2001:db8::/32"), 8),
                "key1\\.af\\(\\) == key2\\.af\\(\\)' failed");
   EXPECT_DEATH(commonPrefixLenImpl(CompactIpPrefix(), CompactIpPrefix::fromString("10.0.0.0/8"), 8),
                "key1\\.af\\(\\) == key2\\.af\\(\\)' failed");
}

TEST(PrefixToV6Addr, zeroForAllButIpv6) {
   for (const auto* text : {"2001:db8::/32", "2001:db8:1:2:3::/80", "::/0"}) {
      const auto prefix = Corenet::Ip6Prefix::fromString(text);
      EXPECT_EQ(prefix.address(), prefixToV6Addr(IpGenPrefix(prefix)));
      EXPECT_EQ(prefix.address(), prefixToV6Addr(CompactIpPrefix(prefix)));
   }
   for (const auto* text : {"10.0.0.0/8", "none", "0.0.0.0/255", "::/255"}) {
      EXPECT_EQ(Corenet::ip6AddrZero, prefixToV6Addr(IpGenPrefix::fromString(text))) << text;
      EXPECT_EQ(Corenet::ip6AddrZero, prefixToV6Addr(CompactIpPrefix::fromString(text))) << text;
   }
}

TEST(GetDefaultPrefix, byFamily) {
   EXPECT_EQ("0.0.0.0/0", getDefaultPrefix<IpGenPrefix>(Corenet::ipv4).stringValue());
   EXPECT_EQ("::/0", getDefaultPrefix<IpGenPrefix>(Corenet::ipv6).stringValue());
   EXPECT_EQ(CompactIpPrefix::fromString("0.0.0.0/0"), getDefaultPrefix<CompactIpPrefix>(Corenet::ipv4));
   EXPECT_EQ(CompactIpPrefix::fromString("::/0"), getDefaultPrefix<CompactIpPrefix>(Corenet::ipv6));
}

TEST(GetDefaultPrefixDeathTest, unknownFamily) {
   constexpr auto text = "false && \"Unknown af in getDefaultPrefix\"' failed";
   EXPECT_DEATH(getDefaultPrefix<IpGenPrefix>(AddressFamily::none), text);
   EXPECT_DEATH(getDefaultPrefix<CompactIpPrefix>(static_cast<AddressFamily>(7)), text);
}

template <class Node>
void expectSubnets(const typename Node::KeyPrefix& key, PatriciaTrieNodeType type) {
   const Node node(key.len(), key, true);
   for (U32 len = 0; len <= key.len(); ++len) {
      const auto expected = Node::KeyPrefix::cut(key.bits(), len);
      ASSERT_EQ(IpGenPrefix(expected), getSubnetFromNode<IpGenPrefix>(&node, type, len));
      ASSERT_EQ(CompactIpPrefix(expected), getSubnetFromNode<CompactIpPrefix>(&node, type, len));
   }
}

TEST(GetSubnetFromNode, everyLengthOfEveryClass) {
   expectSubnets<PatriciaTrieImpl::PatriciaTrieV4Node>(Corenet::Prefix::fromString("10.255.255.255/32"),
                                                       PatriciaTrieImpl::nodeTypeIpv4());
   const auto key = Corenet::Ip6Prefix::fromString("2001:db8:ffff:ffff:ffff:ffff:ffff:ffff/128");
   expectSubnets<PatriciaTrieImpl::PatriciaTrieV6Node>(key, PatriciaTrieImpl::nodeTypeIpv6Legacy());
   expectSubnets<PatriciaTrieImpl::PatriciaTrieV6CompactNode>(key, PatriciaTrieImpl::nodeTypeIpv6Compact());
}

TEST(GetSubnetFromNode, keyWithoutAFamily) {
   const PatriciaTrieImpl::PatriciaTrieV4Node node{CompactIpPrefix(), false};
   EXPECT_EQ(CompactIpPrefix(), getSubnetFromNode<CompactIpPrefix>(&node, PatriciaTrieImpl::nodeTypeIpv4(), 8));
}

TEST(Pfx, cutsByTheFamilysRule) {
   const auto ten = IpGenAddr::fromString("10.1.2.3");
   EXPECT_EQ("10.0.0.0/8", pfx(ten, 8).stringValue());
   EXPECT_EQ("0.0.0.0/0", pfx(ten, 0).stringValue());
   EXPECT_EQ("10.1.2.3/32", pfx(ten, 32).stringValue());
   EXPECT_EQ("2001:db8::/32", pfx(IpGenAddr::fromString("2001:db8::1"), 32).stringValue());
}

TEST(Pfx, lengthsPastTheWidthAreStoredCutTo8Bits) {
   const auto one = IpGenAddr::fromString("10.0.0.1");
   EXPECT_THROW(pfx(one, 33), Corvid::RangeException);
   EXPECT_THROW(pfx(one, 256), Corvid::RangeException) << "host bits at length 0";
   EXPECT_EQ("10.0.0.1/32", pfx(one, 288).stringValue());
   EXPECT_EQ("10.0.0.1/255", pfx(one, 255).stringValue());
   EXPECT_EQ("0.0.0.0/0", pfx(IpGenAddr::fromString("0.0.0.0"), 256).stringValue());
}

TEST(Pfx, noFamilyGivesTheEmptyValueWhateverTheLength) {
   for (const U32 len : {0u, 8u, 33u, 129u, 255u, 1000u}) {
      EXPECT_EQ(IpGenPrefix(), pfx(IpGenAddr(), len));
   }
}

}  // namespace PatriciaTrieKeyTest
