#include "routetrie/trie/patricia/PatriciaTrieNodeImpl.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <sstream>
#include <string>
#include <type_traits>
#include <vector>

#include "routetrie/platform/Corvid/RangeException.h"
#include "routetrie/platform/Tesk/AllocTrack.h"
#include "tests/trie/patricia/PatriciaKinds.h"

namespace PatriciaTrieNodeImplTest {

using namespace PatriciaTrieImpl;
using Corenet::AddressFamily;
using Corenet::CompactIpPrefix;
using Corenet::Ip6Prefix;
using Corenet::IpGenPrefix;
using Corenet::Prefix;

template <class Node>
std::vector<U32> blackLengths(const Node& node) {
   std::vector<U32> lengths;
   for (U32 length = 1; length <= Node::width; ++length) {
      if (node.black(length)) {
         lengths.push_back(length);
      }
   }
   return lengths;
}
using Lengths = std::vector<U32>;

template <class Node>
typename Node::KeyPrefix keyOf(std::string_view ipv4Text) {
   const IpGenPrefix prefix = testing_support::prefixOf<Node::family>(ipv4Text);
   if constexpr (Node::family == AddressFamily::ipv4) {
      return prefix.v4Prefix();
   } else {
      return prefix.v6Prefix();
   }
}

template <class Node>
std::unique_ptr<Node> nodeOf(std::string_view ipv4Text, bool black, const Lengths& more = {}) {
   const auto key = keyOf<Node>(ipv4Text);
   auto node = std::make_unique<Node>(key.len(), key, black);
   for (const U32 length : more) {
      node->blackIs(length, true);
   }
   return node;
}

//--- all three classes ---

template <class Node>
class PatriciaTrieNodeClass : public testing::Test {
  protected:
   static constexpr PatriciaTrieNodeType type = std::is_same_v<Node, PatriciaTrieV4Node>   ? nodeTypeIpv4()
                                                : std::is_same_v<Node, PatriciaTrieV6Node> ? nodeTypeIpv6Legacy()
                                                                                           : nodeTypeIpv6Compact();
};
using NodeClasses = testing::Types<PatriciaTrieV4Node, PatriciaTrieV6Node, PatriciaTrieV6CompactNode>;
TYPED_TEST_SUITE(PatriciaTrieNodeClass, NodeClasses);

TYPED_TEST(PatriciaTrieNodeClass, isPlainData) {
   EXPECT_FALSE(std::is_polymorphic_v<TypeParam>);
   EXPECT_TRUE((std::is_base_of_v<PatriciaTrieNode, TypeParam>));
   EXPECT_EQ(TypeParam::family == AddressFamily::ipv6, (std::is_base_of_v<PatriciaTrieV6NodeBase, TypeParam>));
}

TYPED_TEST(PatriciaTrieNodeClass, constructorCutsTheKeyAndSetsItsLengthAlone) {
   const auto key = keyOf<TypeParam>("10.1.2.0/24");
   for (U32 len = 0; len <= TypeParam::width; ++len) {
      for (const bool black : {false, true}) {
         const TypeParam node(len, key, black);
         ASSERT_EQ(len, node.len());
         ASSERT_EQ(key.bits().cut(len), node.bits());
         ASSERT_EQ(black && len != 0 ? Lengths{len} : Lengths{}, blackLengths(node)) << len;
         ASSERT_TRUE(node.isLeaf());
      }
   }
}

TYPED_TEST(PatriciaTrieNodeClass, keyReadsBackInEveryForm) {
   const auto key = keyOf<TypeParam>("10.1.2.0/24");
   const TypeParam node(24, key, true);
   EXPECT_EQ(Corenet::IpGenAddr(key.address()), node.prefix());
   EXPECT_EQ(CompactIpPrefix(key), node.compactPrefix());
   EXPECT_EQ(24u, node.PatriciaTrieNode::len(this->type));
   EXPECT_EQ(Corenet::IpGenAddr(key.address()), node.PatriciaTrieNode::prefix(this->type));
   EXPECT_EQ(CompactIpPrefix(key), node.PatriciaTrieNode::compactPrefix(this->type));
}

TYPED_TEST(PatriciaTrieNodeClass, prefixIsReplacesTheKeyAndNothingElse) {
   const auto node = nodeOf<TypeParam>("10.0.0.0/8", true, {4});
   const auto next = keyOf<TypeParam>("192.0.2.0/24");
   node->prefixIs(IpGenPrefix(next));
   EXPECT_EQ(24u, node->len());
   EXPECT_EQ(next.bits(), node->bits());
   EXPECT_EQ((Lengths{4, 8}), blackLengths(*node));
   const auto again = keyOf<TypeParam>("10.1.0.0/16");
   node->prefixIs(CompactIpPrefix(again));
   EXPECT_EQ(again.bits(), node->bits());
   node->PatriciaTrieNode::prefixIs(IpGenPrefix(next), this->type);
   node->PatriciaTrieNode::prefixIs(CompactIpPrefix(again), this->type);
   EXPECT_EQ(16u, node->len());
   EXPECT_EQ((Lengths{4, 8}), blackLengths(*node));
}

TYPED_TEST(PatriciaTrieNodeClass, searchesHideLengthsAboveTheKeyUpwardOnly) {
   const auto node = nodeOf<TypeParam>("10.1.0.0/16", false, {24});
   EXPECT_EQ(0u, node->firstBlack());
   EXPECT_EQ(0u, node->nextBlack(8));
   EXPECT_EQ(24u, node->lastBlack());
   EXPECT_EQ(24u, node->prevBlack(32));
   EXPECT_FALSE(node->isWhite());
}

TYPED_TEST(PatriciaTrieNodeClass, nextIsExclusiveAndPrevInclusive) {
   const auto node = nodeOf<TypeParam>("10.1.0.0/16", true, {8});
   EXPECT_EQ(8u, node->firstBlack());
   EXPECT_EQ(0u, node->nextBlack(0)) << "does not start a search";
   EXPECT_EQ(8u, node->nextBlack(7));
   EXPECT_EQ(16u, node->nextBlack(8));
   EXPECT_EQ(0u, node->nextBlack(16));
   EXPECT_EQ(16u, node->prevBlack(16));
   EXPECT_EQ(8u, node->prevBlack(15));
   EXPECT_EQ(0u, node->prevBlack(7));
   EXPECT_EQ(0u, node->prevBlack(0));
   EXPECT_EQ(16u, node->lastBlack());
}

TYPED_TEST(PatriciaTrieNodeClass, blackBitsIsCutsToTheKeyAndMergeBlackDoesNot) {
   const auto donor = nodeOf<TypeParam>("10.1.2.0/24", false, {8, 16});
   const auto cut = nodeOf<TypeParam>("10.0.0.0/8", false);
   cut->blackBitsIs(donor->blackBits());
   EXPECT_EQ(Lengths{8}, blackLengths(*cut));
   cut->mergeBlack(donor.get());
   EXPECT_EQ((Lengths{8, 16}), blackLengths(*cut));
   const auto root = nodeOf<TypeParam>("0.0.0.0/0", true);
   root->blackBitsIs(donor->blackBits());
   EXPECT_TRUE(root->isWhite()) << "a key of length 0 takes nothing";
}

TYPED_TEST(PatriciaTrieNodeClass, blackBitsIsTakesAllOfAFullWord) {
   const auto donor = nodeOf<TypeParam>("10.1.2.3/32", true, {1, 31});
   if constexpr (TypeParam::family == AddressFamily::ipv6) {
      donor->blackIs(33, true);
      donor->blackIs(128, true);
   }
   const auto node = nodeOf<TypeParam>("10.1.2.3/32", false);
   node->blackBitsIs(donor->blackBits());
   EXPECT_EQ((Lengths{1, 31, 32}), blackLengths(*node));
}

TYPED_TEST(PatriciaTrieNodeClass, minAndMaxBlackBit) {
   const auto fresh = [] { return nodeOf<TypeParam>("10.1.2.0/24", true, {1, 8, 16}); };
   auto node = fresh();
   node->minBlackBitIs(0);
   EXPECT_EQ((Lengths{1, 8, 16, 24}), blackLengths(*node));
   node->minBlackBitIs(8);
   EXPECT_EQ((Lengths{16, 24}), blackLengths(*node));
   node = fresh();
   node->maxBlackBitIs(16);
   EXPECT_EQ((Lengths{1, 8, 16}), blackLengths(*node));
   node->maxBlackBitIs(0);
   EXPECT_TRUE(node->isWhite());
}

// The operations that take the node type give what the class's own give.
TYPED_TEST(PatriciaTrieNodeClass, typedFormsForward) {
   const auto node = nodeOf<TypeParam>("10.1.2.0/24", true, {8, 16});
   PatriciaTrieNode* base = node.get();
   EXPECT_TRUE(base->black(8, this->type));
   EXPECT_FALSE(base->black(9, this->type));
   EXPECT_EQ(8u, base->firstBlack(this->type));
   EXPECT_EQ(16u, base->nextBlack(8, this->type));
   EXPECT_EQ(16u, base->prevBlack(23, this->type));
   EXPECT_EQ(24u, base->lastBlack(this->type));
   EXPECT_EQ(node->blackBits(), base->blackBits(this->type));
   base->minBlackBitIs(8, this->type);
   base->maxBlackBitIs(16, this->type);
   EXPECT_EQ(Lengths{16}, blackLengths(*node));
   base->blackIs(16, false, this->type);
   EXPECT_TRUE(base->isWhite(this->type));
   const auto other = nodeOf<TypeParam>("10.1.2.3/32", true, {24});
   base->blackBitsIs(other->blackBits(), this->type);
   EXPECT_EQ(Lengths{24}, blackLengths(*node));
   base->mergeBlack(other.get(), this->type);
   EXPECT_EQ((Lengths{24, 32}), blackLengths(*node));
   std::ostringstream own;
   std::ostringstream typed;
   node->dump(own);
   EXPECT_EQ(&typed, &base->dump(typed, this->type));
   EXPECT_EQ(own.str(), typed.str());
}

TYPED_TEST(PatriciaTrieNodeClass, trieVisitGivesTheClass) {
   const auto node = nodeOf<TypeParam>("10.0.0.0/8", true);
   PatriciaTrieNode* base = node.get();
   const bool same = trieVisit<NodePicker>(this->type, base, [](auto* visited) {
      return std::is_same_v<std::remove_pointer_t<decltype(visited)>, TypeParam>;
   });
   EXPECT_TRUE(same);
}

TYPED_TEST(PatriciaTrieNodeClass, nodesAreCountedByTheirClass) {
   { const auto first = nodeOf<TypeParam>("10.0.0.0/8", true); }
   const auto before = TypeParam::memAllocationTracker_->liveObjects();
   const auto node = nodeOf<TypeParam>("10.0.0.0/8", true);
   EXPECT_EQ(before + 1, TypeParam::memAllocationTracker_->liveObjects());
   EXPECT_EQ(sizeof(TypeParam), TypeParam::memAllocationTracker_->objectSize());
}

//--- IPv4 ---

TEST(PatriciaTrieV4Node, masks) {
   const auto node = nodeOf<PatriciaTrieV4Node>("10.0.0.0/8", true);
   EXPECT_EQ(0u, node->mask(0));
   EXPECT_EQ(0x80000000u, node->mask(1));
   EXPECT_EQ(0xff000000u, node->mask(8));
   EXPECT_EQ(0xffffffffu, node->mask(32));
}

TEST(PatriciaTrieV4Node, minBlackBit32ClearsNothing) {
   auto node = nodeOf<PatriciaTrieV4Node>("10.1.2.3/32", false);
   *node->blackBits() = 0xffffffff;
   node->minBlackBitIs(32);
   EXPECT_EQ(0xffffffffu, *node->blackBits());
   EXPECT_EQ(0u, node->nextBlack(32));
}

TEST(PatriciaTrieV4Node, fromACompactValue) {
   const PatriciaTrieV4Node node(CompactIpPrefix::fromString("10.0.0.0/8"), true);
   EXPECT_EQ(8u, node.len());
   EXPECT_EQ(Lengths{8}, blackLengths(node));
   const PatriciaTrieV4Node null(CompactIpPrefix(), true);
   EXPECT_EQ(0u, null.len());
   EXPECT_EQ(0u, null.firstBlack());
   EXPECT_TRUE(null.isWhite());
   EXPECT_EQ(Corenet::IpAddr(0), null.prefix().v4Addr());
   const PatriciaTrieV4Node foreign(CompactIpPrefix::fromString("2001:db8::/32"), true);
   EXPECT_EQ(Corenet::IpAddr(0), foreign.prefix().v4Addr()) << "no IPv4 value: the zero address";
}

// The length after the slash is one raw byte.
TEST(PatriciaTrieV4Node, dump) {
   const auto dump = [](std::string_view key, const Lengths& lengths) {
      std::ostringstream out;
      out << nodeOf<PatriciaTrieV4Node>(key, false, lengths).get() << ' ' << 17;
      return out.str();
   };
   EXPECT_EQ("10.0.0.0/10/\n[ 400000 ] 17", dump("10.0.0.0/10", {10}));
   EXPECT_EQ("10.1.2.3/32/ [ 1 ] 17", dump("10.1.2.3/32", {32}));
   EXPECT_EQ("10.0.0.0/8/\x08[ 11000000 ] 17", dump("10.0.0.0/8", {4, 8}));
}

//--- IPv6 ---

TEST(PatriciaTrieV6Node, masks) {
   const PatriciaTrieV6Node node(0, Ip6Prefix(), false);
   EXPECT_EQ(0u, node.mask(0, 0));
   EXPECT_EQ(0x80000000u, node.mask(0, 1));
   EXPECT_EQ(0xffffffffu, node.mask(0, 32));
   EXPECT_EQ(0u, node.mask(1, 32));
   EXPECT_EQ(0x80000000u, node.mask(1, 33));
   EXPECT_EQ(0xffffffffu, node.mask(0, 128));
   EXPECT_EQ(0xfffffffeu, node.mask(3, 127));
   EXPECT_DEATH(static_cast<void>(node.mask(4, 128)), "word < 4' failed");
}

TEST(PatriciaTrieV6Node, wordBorders) {
   PatriciaTrieV6Node node(128, Ip6Prefix(Corenet::ip6AddrZero, 128), false);
   node.blackIs(32, true);
   EXPECT_EQ(1u, node.blackBits()[0]);
   node.blackIs(33, true);
   EXPECT_EQ(0x80000000u, node.blackBits()[1]);
   EXPECT_EQ(33u, node.nextBlack(32));
   EXPECT_EQ(32u, node.prevBlack(32));
   EXPECT_EQ(0u, node.nextBlack(129));
   EXPECT_DEATH(static_cast<void>(node.prevBlack(129)), "word < 4' failed");
}

TEST(PatriciaTrieV6Node, maxBlackBitAtABorderLeavesTheWordBehindIt) {
   const auto fresh = [] {
      auto node = std::make_unique<PatriciaTrieV6Node>(128, Ip6Prefix(Corenet::ip6AddrZero, 128), false);
      for (const U32 length : {32u, 33u, 64u, 65u, 97u}) {
         node->blackIs(length, true);
      }
      return node;
   };
   auto node = fresh();
   node->maxBlackBitIs(32);
   EXPECT_EQ((Lengths{32, 33, 64}), blackLengths(*node));
   node = fresh();
   node->maxBlackBitIs(33);
   EXPECT_EQ((Lengths{32, 33}), blackLengths(*node));
   node = fresh();
   node->maxBlackBitIs(0);
   EXPECT_TRUE(node->isWhite());
}

TEST(PatriciaTrieV6Node, minBlackBit128TouchesNothingBehindTheWords) {
   const auto key = Ip6Prefix::fromString("2001:db8::1/128");
   PatriciaTrieV6Node node(128, key, true);
   for (U32 word = 0; word < 4; ++word) {
      node.blackBits()[word] = 0xffffffff;
   }
   node.minBlackBitIs(128);
   EXPECT_TRUE(node.isWhite());
   EXPECT_EQ(128u, node.len());
   EXPECT_EQ(key.address(), node.prefix().v6Addr());
}

TEST(PatriciaTrieV6Node, dump) {
   PatriciaTrieV6Node node(32, Ip6Prefix::fromString("2001:db8::/32"), true);
   std::ostringstream out;
   out << std::hex << &node << ' ' << 17;
   EXPECT_EQ("2001:db8::/32[1, 0, 0, 0] 17", out.str()) << "the length is decimal, and so is what follows";
}

TEST(PatriciaTrieV6CompactNode, dump) {
   PatriciaTrieV6CompactNode node(64, Ip6Prefix::fromString("2001:db8:1:2::/64"), true);
   node.blackIs(28, true);
   std::ostringstream out;
   node.dump(out) << ' ' << 17;
   EXPECT_EQ("2001:db8:1:2::/64[10, 1, 0, 0] 17", out.str());
}

TEST(PatriciaTrieV6CompactNode, ownsItsKeysRecord) {
   const auto before = Corenet::PrefixDedup::liveRecords();
   {
      PatriciaTrieV6CompactNode node(64, Ip6Prefix::fromString("2001:db8:1:2::/64"), true);
      EXPECT_EQ(before + 1, Corenet::PrefixDedup::liveRecords());
      node.prefixIs(IpGenPrefix::fromString("2001:db8:1:2:3::/80"));
      EXPECT_EQ(before + 1, Corenet::PrefixDedup::liveRecords());
   }
   EXPECT_EQ(before, Corenet::PrefixDedup::liveRecords());
}

// A key with host bits, such as a caller may set, has no compact form.
TEST(PatriciaTrieV6Node, compactPrefixRefusesHostBits) {
   alignas(PatriciaTrieV6Node) unsigned char memory[sizeof(PatriciaTrieV6Node)];
   volatile unsigned char* filled = memory;
   for (std::size_t i = 0; i < sizeof memory; ++i) {
      filled[i] = 0;
   }
   auto* node = new (memory) PatriciaTrieV6Node(CompactIpPrefix::fromString("2001:db8::/32"), true);
   EXPECT_EQ(0u, node->len());
   EXPECT_THROW(static_cast<void>(node->compactPrefix()), Corvid::RangeException);
   node->~PatriciaTrieV6Node();
}

// These constructors write one black word, and the legacy class's leaves the length alone.
template <class Node>
void expectOneWordWritten(std::string_view text, U32 ownWord) {
   alignas(Node) unsigned char memory[sizeof(Node)];
   volatile unsigned char* filled = memory;
   for (std::size_t i = 0; i < sizeof memory; ++i) {
      filled[i] = 0x5a;
   }
   const auto prefix = CompactIpPrefix::fromString(text);
   auto* node = new (memory) Node(prefix, true);
   for (U32 word = 0; word < 4; ++word) {
      const U32 expected = word == ownWord ? U32{0x80000000} >> ((prefix.len() - 1) % 32) : 0x5a5a5a5a;
      EXPECT_EQ(expected, node->blackBits()[word]) << text << ' ' << word;
   }
   EXPECT_EQ(nullptr, node->left_);
   EXPECT_EQ(nullptr, node->right_);
   EXPECT_EQ(prefix.ipv6().address(), node->prefix().v6Addr());
   if constexpr (std::is_same_v<Node, PatriciaTrieV6Node>) {
      EXPECT_EQ(0x5a5a5a5au, node->len());
   }
   node->~Node();
}

TEST(PatriciaTrieV6Node, fromACompactValueWritesOneWord) {
   expectOneWordWritten<PatriciaTrieV6Node>("2001:db8::/32", 0);
   expectOneWordWritten<PatriciaTrieV6Node>("2001:db8:8000::/33", 1);
   expectOneWordWritten<PatriciaTrieV6Node>("2001:db8::1/128", 3);
   expectOneWordWritten<PatriciaTrieV6Node>("::/0", 4);
   expectOneWordWritten<PatriciaTrieV6CompactNode>("2001:db8::/32", 0);
   expectOneWordWritten<PatriciaTrieV6CompactNode>("2001:db8::1/128", 3);
   expectOneWordWritten<PatriciaTrieV6CompactNode>("::/0", 4);
}

TEST(PatriciaTrieV6CompactNode, nullKeyHasNoLengths) {
   alignas(PatriciaTrieV6CompactNode) unsigned char memory[sizeof(PatriciaTrieV6CompactNode)];
   volatile unsigned char* filled = memory;
   for (std::size_t i = 0; i < sizeof memory; ++i) {
      filled[i] = 0;
   }
   auto* node = new (memory) PatriciaTrieV6CompactNode(CompactIpPrefix(), true);
   node->blackIs(8, true);
   EXPECT_EQ(0u, node->len());
   EXPECT_EQ(0u, node->firstBlack());
   EXPECT_EQ(0u, node->nextBlack(4));
   node->~PatriciaTrieV6CompactNode();
}

//--- dispatch ---

TEST(PatriciaTrieNode, typeOfAFamily) {
   EXPECT_EQ(nodeTypeIpv4(), patriciaTrieNodeType(Corenet::ipv4, false));
   EXPECT_EQ(nodeTypeIpv4(), patriciaTrieNodeType(Corenet::ipv4, true)) << "the flag is ignored";
   EXPECT_EQ(nodeTypeIpv6Legacy(), patriciaTrieNodeType(Corenet::ipv6, false));
   EXPECT_EQ(nodeTypeIpv6Compact(), patriciaTrieNodeType(Corenet::ipv6, true));
   EXPECT_EQ(0, static_cast<int>(nodeTypeIpv4()));
   EXPECT_EQ(1, static_cast<int>(nodeTypeIpv6Legacy()));
   EXPECT_EQ(2, static_cast<int>(nodeTypeIpv6Compact()));
}

// The tree that the node's header draws.
TEST(PatriciaTrieNode, drawing) {
   struct Fixture : testing_support::PatriciaFixture<testing_support::Ipv4> {
      using PatriciaFixture::add;
      using PatriciaFixture::drawing;
      void TestBody() override {}
   } fixture;
   for (const auto* route : {"10.0.0.0/8", "128.0.0.0/1", "10.1.2.0/24", "10.1.0.0/16"}) {
      fixture.add(route);
   }
   EXPECT_EQ("0.0.0.0/0 {}\n  10.1.2.0/24 {8 16 24}\n  128.0.0.0/1 {1}\n", fixture.drawing());
}

TEST(PatriciaTrieNodeDeathTest, unknownType) {
   const auto node = nodeOf<PatriciaTrieV4Node>("10.0.0.0/8", true);
   const PatriciaTrieNode* base = node.get();
   EXPECT_DEATH(static_cast<void>(base->len(static_cast<PatriciaTrieNodeType>(3))),
                "false && \"Address family is neither IPv4 nor IPv6\"' failed");
   EXPECT_DEATH(Routing::deleteSingleNode(nullptr, static_cast<PatriciaTrieNodeType>(3), false),
                "false && \"Address family is neither IPv4 nor IPv6\"' failed");
}

TEST(PatriciaTrieNodeDeathTest, unknownFamily) {
   EXPECT_DEATH(patriciaTrieNodeType(AddressFamily::none, false), "false' failed");
}

TEST(PatriciaTrieNodeDeathTest, lengthsPastTheKey) {
   EXPECT_DEATH(PatriciaTrieV4Node(33, Prefix(), true), "len <= 32' failed");
   EXPECT_DEATH(PatriciaTrieV6Node(129, Ip6Prefix(), true), "len <= 128' failed");
   EXPECT_DEATH(PatriciaTrieV6CompactNode(129, Ip6Prefix(), true), "len <= 128' failed");
   EXPECT_DEATH(PatriciaTrieV4Node(CompactIpPrefix::fromString("2001:db8:8000::/33"), true),
                "_prefixLen <= 32' failed");
   EXPECT_DEATH(PatriciaTrieV6Node(CompactIpPrefix::getNull(Corenet::ipv6), true), "_prefixLen <= 128' failed");
   EXPECT_DEATH(PatriciaTrieV6CompactNode(CompactIpPrefix::getNull(Corenet::ipv6), true),
                "_prefixLen <= 128' failed");
}

}  // namespace PatriciaTrieNodeImplTest
