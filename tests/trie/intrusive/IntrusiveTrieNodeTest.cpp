#include "routetrie/trie/intrusive/IntrusiveTrieNode.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <sstream>
#include <string>

#include "routetrie/platform/CoreSlab/Slab.h"
#include "routetrie/trie/intrusive/IntrusiveTrie.h"
#include "tests/trie/intrusive/IntrusiveKinds.h"

namespace IntrusiveTrieNodeTest {

using namespace testing_support;
using namespace Sprig::Intrusive::Impl;

template <class T>
std::string printed(const T& value) {
   std::ostringstream out;
   out << value;
   return out.str();
}

TEST(ParentPtrType, printsAsItsName) {
   EXPECT_EQ("none", printed(ParentPtrType::none));
   EXPECT_EQ("trieRoot", printed(ParentPtrType::trieRoot));
   EXPECT_EQ("nodeLeft", printed(ParentPtrType::nodeLeft));
   EXPECT_EQ("nodeRight", printed(ParentPtrType::nodeRight));
   EXPECT_EQ("unknown 4", printed(static_cast<ParentPtrType>(4)));
   EXPECT_EQ("unknown 200", printed(static_cast<ParentPtrType>(200)));
}

TEST(LongestMatchInternalResult, printsAsItsNames) {
   using Match = LongestMatchInternalResultMatch;
   EXPECT_EQ("empty", printed(Match::empty));
   EXPECT_EQ("exact", printed(Match::exact));
   EXPECT_EQ("moreSpecific", printed(Match::moreSpecific));
   EXPECT_EQ("conflict", printed(Match::conflict));
   EXPECT_EQ("unknown 4", printed(static_cast<Match>(4)));
   using Resolution = LongestMatchInternalResultResolution;
   EXPECT_EQ("none", printed(Resolution::none));
   EXPECT_EQ("belongsOnTheLeft", printed(Resolution::belongsOnTheLeft));
   EXPECT_EQ("belongsOnTheRight", printed(Resolution::belongsOnTheRight));
   EXPECT_EQ("unknown 3", printed(static_cast<Resolution>(3)));
}

TEST(TrieErrorDeathTest, assertsFalseInItsOwnFunction) {
   EXPECT_DEATH(trieError(),
                "IntrusiveTrie.cpp:[0-9]+: void Sprig::Intrusive::Impl::trieError\\(\\): "
                "Assertion `false' failed");
}

template <class Kind>
class IntrusiveNode : public IntrusiveFixture<Kind> {};
TYPED_TEST_SUITE(IntrusiveNode, IntrusiveKinds);

TYPED_TEST(IntrusiveNode, hasThreeWordsAndItsLeftFirst) {
   using User = typename TestFixture::UserType;
   using Node = typename TestFixture::NodeType;
   static_assert(sizeof(User) == 24 && alignof(User) == 8);
   static_assert(offsetof(Node, left) == 0 && offsetof(Node, parentWord) == 8 && offsetof(Node, right) == 16);
   static_assert(!std::is_polymorphic_v<Node>);
}

TYPED_TEST(IntrusiveNode, isAllZeroWhileDetached) {
   const auto route = this->make("10.0.0.0/8");
   this->expectDetached(route);
   EXPECT_FALSE(TestFixture::UserType::of(*route)->isInternal());
   EXPECT_FALSE(TestFixture::UserType::of(*route)->isLinked());
}

TYPED_TEST(IntrusiveNode, findsItsOwner) {
   const auto route = this->make("10.0.0.0/8");
   EXPECT_EQ(route.get(), TestFixture::UserType::of(*route)->owner());
   EXPECT_EQ(&route->trieNode(), TestFixture::UserType::of(*route));
}

TEST(IntrusiveNode, liesAnywhereInItsOwner) {
   const auto route = Ipv4Kind::make(Ipv4Kind::prefix("10.0.0.0/8"));
   const auto distance =
      reinterpret_cast<std::uint64_t>(&route->trieNode()) - reinterpret_cast<std::uint64_t>(route.get());
   EXPECT_GT(distance, sizeof(Corvid::Node));
   EXPECT_LT(distance + 24, sizeof(Ipv4Route));
   // Linking writes the node and nothing beside it.
   Sprig::Intrusive::Trie<Ipv4Route::TrieNode> trie;
   trie.insert(*route);
   EXPECT_EQ(Ipv4Route::guard, route->guardBefore());
   EXPECT_EQ(Ipv4Route::guard, route->guardAfter());
   EXPECT_EQ("payload of 10.0.0.0/8", route->payload());
   route->trieNode().remove();
}

TYPED_TEST(IntrusiveNode, anInternalNodeIsAsLargeAsItsPrefix) {
   using Internal = typename TestFixture::InternalType;
   static_assert(sizeof(Internal) == 32);
   const U8 bytes[32] = {0xde, 0xad, 0xbe, 0xef};
   for (U32 length = 0; length <= 254; ++length) {
      EXPECT_EQ(32 + (length + 7) / 8, Internal::allocationBytes(length));
      const auto slabBefore = CoreSlab::stats();
      const std::uint64_t bytesBefore = Internal::tracker_ == nullptr ? 0 : Internal::tracker_->liveBytes();
      const std::uint64_t nodesBefore = this->internals();
      Internal* node = Internal::make({bytes, length}, length);
      EXPECT_EQ(slabBefore.liveBlocks + 1, CoreSlab::stats().liveBlocks);
      EXPECT_GE(CoreSlab::stats().liveBytes - slabBefore.liveBytes, 32 + (length + 7) / 8);
      EXPECT_LT(CoreSlab::stats().liveBytes - slabBefore.liveBytes, 32 + (length + 7) / 8 + 8);
      EXPECT_EQ(bytesBefore + 48, Internal::tracker_->liveBytes()) << "whatever its real size";
      EXPECT_EQ(nodesBefore + 1, this->internals());
      EXPECT_EQ(length, node->length());
      EXPECT_EQ(0, std::memcmp(bytes, node->data(), (length + 7) / 8));
      Internal::destroy(node);
      EXPECT_EQ(slabBefore.liveBytes, CoreSlab::stats().liveBytes);
      EXPECT_EQ(nodesBefore, this->internals());
   }
}

TYPED_TEST(IntrusiveNode, aNewInternalNodeHasTheInternalFlagAlone) {
   using Internal = typename TestFixture::InternalType;
   Internal* node = Internal::make({nullptr, 0}, 0);
   EXPECT_EQ(4u, node->parentWord);
   EXPECT_EQ(nullptr, node->left);
   EXPECT_EQ(nullptr, node->right);
   EXPECT_TRUE(node->isInternal());
   EXPECT_FALSE(node->isLinked());
   EXPECT_EQ(nullptr, node->slot());
   Internal::destroy(node);
}

// Bits past the length come along from the source; nothing that compares looks at them.
TYPED_TEST(IntrusiveNode, anInternalNodeKeepsTheBitsPastItsLength) {
   using Internal = typename TestFixture::InternalType;
   const U8 bytes[] = {0xff, 0xff};
   Internal* node = Internal::make({bytes, 16}, 9);
   EXPECT_EQ(0xff, node->data()[1]);
   EXPECT_EQ("255.128.0.0/9", this->nameOf(node));
   Internal::destroy(node);
}

TYPED_TEST(IntrusiveNode, theNullPrefixReadsAsLengthZero) {
   const auto route = TypeParam::make(TypeParam::Prefix::nullPrefix());
   const auto view = TestFixture::NodeType::prefixOf(route->trieNode());
   EXPECT_EQ(nullptr, view.data);
   EXPECT_EQ(0u, view.length);
}

TYPED_TEST(IntrusiveNode, linkingMovesANodeAndUnlinksTheOccupant) {
   using Node = typename TestFixture::NodeType;
   using User = typename TestFixture::UserType;
   const auto one = this->make("10.0.0.0/8");
   const auto two = this->make("11.0.0.0/8");
   User* first = User::of(*one);
   User* second = User::of(*two);
   Node* slots[2] = {};
   Node::linkChild(&slots[0], ParentPtrType::nodeLeft, first);
   EXPECT_EQ(this->word(&slots[0], ParentPtrType::nodeLeft, first), first->parentWord);
   // Elsewhere: the old slot is emptied.
   Node::linkChild(&slots[1], ParentPtrType::nodeRight, first);
   EXPECT_EQ(nullptr, slots[0]);
   EXPECT_EQ(this->word(&slots[1], ParentPtrType::nodeRight, first), first->parentWord);
   // Where it is already: it stays.
   Node::linkChild(&slots[1], ParentPtrType::nodeRight, first);
   EXPECT_EQ(this->word(&slots[1], ParentPtrType::nodeRight, first), first->parentWord);
   // In another's place: that one is unlinked.
   Node::linkChild(&slots[1], ParentPtrType::nodeRight, second);
   EXPECT_EQ(0u, first->parentWord);
   EXPECT_EQ(this->word(&slots[1], ParentPtrType::nodeRight, second), second->parentWord);
   second->parentWord = 0;
}

TYPED_TEST(IntrusiveNode, relinkingKeepsTheInternalFlag) {
   using Node = typename TestFixture::NodeType;
   using Internal = typename TestFixture::InternalType;
   Internal* node = Internal::make({nullptr, 0}, 0);
   Internal* other = Internal::make({nullptr, 0}, 0);
   Node* slots[2] = {};
   Node::linkChild(&slots[0], ParentPtrType::trieRoot, node);
   EXPECT_EQ(reinterpret_cast<std::uint64_t>(&slots[0]) | 1 | 4, node->parentWord);
   Node::linkChild(&slots[1], ParentPtrType::nodeRight, node);
   EXPECT_EQ(reinterpret_cast<std::uint64_t>(&slots[1]) | 3 | 4, node->parentWord);
   Node::linkChild(&slots[1], ParentPtrType::nodeRight, other);
   EXPECT_EQ(4u, node->parentWord);
   Internal::destroy(node);
   Internal::destroy(other);
}

TYPED_TEST(IntrusiveNode, theParentFollowsFromTheSlot) {
   using Node = typename TestFixture::NodeType;
   const auto route = this->make("10.0.0.0/8");
   Node* node = &route->trieNode();
   EXPECT_EQ(node, Node::parentAt(&node->left, ParentPtrType::nodeLeft));
   EXPECT_EQ(node, Node::parentAt(&node->right, ParentPtrType::nodeRight));
   EXPECT_EQ(nullptr, Node::parentAt(&node->left, ParentPtrType::trieRoot));
}

template <class Kind>
class IntrusiveNodeDeathTest : public IntrusiveFixture<Kind> {};
TYPED_TEST_SUITE(IntrusiveNodeDeathTest, IntrusiveKinds);

TYPED_TEST(IntrusiveNodeDeathTest, aLinkOfTypeNoneHasNoParent) {
   using Node = typename TestFixture::NodeType;
   const auto route = this->make("10.0.0.0/8");
   Node* node = &route->trieNode();
   constexpr auto error = "void Sprig::Intrusive::Impl::trieError\\(\\): Assertion `false' failed";
   EXPECT_DEATH(Node::parentAt(&node->left, ParentPtrType::none), error);
   EXPECT_DEATH(route->trieNode().parent(), error);
   EXPECT_DEATH(route->trieNode().next(), error);
   EXPECT_DEATH(route->trieNode().nextNode(true, 8), error);
}

}  // namespace IntrusiveTrieNodeTest
