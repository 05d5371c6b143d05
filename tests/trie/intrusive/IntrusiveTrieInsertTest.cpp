// How routes get into an intrusive trie: each case of a descent's end, with the tags of every node it touches and with the
// references counted.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>

#include "routetrie/trie/intrusive/IntrusiveTrie.h"
#include "tests/trie/intrusive/IntrusiveKinds.h"

namespace IntrusiveTrieInsertTest {

using namespace testing_support;

template <class Kind>
class IntrusiveInsert : public IntrusiveFixture<Kind> {};
TYPED_TEST_SUITE(IntrusiveInsert, IntrusiveKinds);

TYPED_TEST(IntrusiveInsert, intoAnEmptyTrieLinksTheRouteAtTheRoot) {
   EXPECT_EQ("", this->drawing());
   EXPECT_TRUE(this->trie.empty());
   this->add("10.0.0.0/8");
   EXPECT_EQ("o 10.0.0.0/8 U\n", this->drawing());
   EXPECT_EQ(this->node("10.0.0.0/8"), this->trie.root());
   EXPECT_EQ(this->wordAtRoot(), this->node("10.0.0.0/8")->parentWord);
   EXPECT_EQ(0u, this->ownInternals()) << "nothing is allocated";
}

TYPED_TEST(IntrusiveInsert, theTrieIsOnePointer) {
   static_assert(sizeof(typename TestFixture::TrieType) == sizeof(void*));
}

TYPED_TEST(IntrusiveInsert, partingRoutesGetAnInternalNode) {
   for (const bool lowFirst : {true, false}) {
      this->add(lowFirst ? "32.1.13.184/32" : "32.1.13.185/32");
      this->add(lowFirst ? "32.1.13.185/32" : "32.1.13.184/32");
      EXPECT_EQ("o 32.1.13.184/31 I\n  L 32.1.13.184/32 U\n  R 32.1.13.185/32 U\n", this->drawing());
      auto* root = this->trie.root();
      EXPECT_EQ(1u, this->ownInternals());
      EXPECT_EQ(this->wordAtRoot(), root->parentWord);
      EXPECT_EQ(this->wordAtLeft(root), this->node("32.1.13.184/32")->parentWord);
      EXPECT_EQ(this->wordAtRight(root), this->node("32.1.13.185/32")->parentWord);
      this->remove("32.1.13.184/32");
      this->remove("32.1.13.185/32");
   }
}

TYPED_TEST(IntrusiveInsert, routesThatPartAtTheFirstBitGetAnInternalNodeWithoutBytes) {
   this->add("0.0.0.0/1");
   this->add("128.0.0.0/1");
   EXPECT_EQ("o 0.0.0.0/0 I\n  L 0.0.0.0/1 U\n  R 128.0.0.0/1 U\n", this->drawing());
}

// The bytes come from the new route, with whatever follows the length.
TYPED_TEST(IntrusiveInsert, anInternalNodeTakesItsBytesFromTheNewRoute) {
   using Internal = typename TestFixture::InternalType;
   this->add("10.0.0.0/8");
   this->add("15.0.0.0/8");
   auto* root = static_cast<Internal*>(this->trie.root());
   EXPECT_EQ(5, root->length());
   EXPECT_EQ(15, root->data()[0]);
   EXPECT_EQ("8.0.0.0/5", this->nameOf(root));
}

TYPED_TEST(IntrusiveInsert, aLongerRouteGoesBelow) {
   this->add("10.0.0.0/8");
   this->add("10.64.0.0/16");
   this->add("10.128.0.0/16");
   EXPECT_EQ("o 10.0.0.0/8 U\n  L 10.64.0.0/16 U\n  R 10.128.0.0/16 U\n", this->drawing());
   auto* root = this->trie.root();
   EXPECT_EQ(this->wordAtLeft(root), this->node("10.64.0.0/16")->parentWord);
   EXPECT_EQ(this->wordAtRight(root), this->node("10.128.0.0/16")->parentWord);
   EXPECT_EQ(0u, this->ownInternals());
}

TYPED_TEST(IntrusiveInsert, aShorterRouteGoesAbove) {
   this->add("10.64.0.0/16");
   this->add("10.0.0.0/8");
   EXPECT_EQ("o 10.0.0.0/8 U\n  L 10.64.0.0/16 U\n", this->drawing());
   EXPECT_EQ(this->wordAtRoot(), this->node("10.0.0.0/8")->parentWord);
   EXPECT_EQ(this->wordAtLeft(this->trie.root()), this->node("10.64.0.0/16")->parentWord);
   this->add("10.0.0.0/9");
   EXPECT_EQ("o 10.0.0.0/8 U\n  L 10.0.0.0/9 U\n    R 10.64.0.0/16 U\n", this->drawing());
   EXPECT_EQ(this->wordAtRight(this->node("10.0.0.0/9")), this->node("10.64.0.0/16")->parentWord);
   EXPECT_EQ(0u, this->ownInternals());
}

TYPED_TEST(IntrusiveInsert, theZeroLengthRouteTakesTheRootOnTheSideOfItsFirstBit) {
   this->add("10.0.0.0/8");
   this->add("0.0.0.0/0");
   EXPECT_EQ("o 0.0.0.0/0 U\n  L 10.0.0.0/8 U\n", this->drawing());
   this->remove("10.0.0.0/8");
   this->remove("0.0.0.0/0");
   this->add("192.0.0.0/8");
   this->add("0.0.0.0/0");
   EXPECT_EQ("o 0.0.0.0/0 U\n  R 192.0.0.0/8 U\n", this->drawing());
}

TYPED_TEST(IntrusiveInsert, aShorterRouteGoesAboveAnInternalNode) {
   this->add("10.0.0.0/9");
   this->add("10.128.0.0/9");
   this->add("10.0.0.0/7");
   EXPECT_EQ("o 10.0.0.0/7 U\n  L 10.0.0.0/8 I\n    L 10.0.0.0/9 U\n    R 10.128.0.0/9 U\n", this->drawing());
   EXPECT_EQ(this->wordAtLeft(this->trie.root()), this->trie.root()->left->parentWord);
}

TYPED_TEST(IntrusiveInsert, aRouteTakesThePlaceOfAnInternalNodeOfItsPrefix) {
   this->add("10.0.0.0/9");
   this->add("10.128.0.0/9");
   this->add("192.0.0.0/8");
   EXPECT_EQ(2u, this->ownInternals());
   this->add("10.0.0.0/8");
   EXPECT_EQ(1u, this->ownInternals());
   EXPECT_EQ("o 0.0.0.0/0 I\n  L 10.0.0.0/8 U\n    L 10.0.0.0/9 U\n    R 10.128.0.0/9 U\n  R 192.0.0.0/8 U\n",
             this->drawing());
   auto* route = this->node("10.0.0.0/8");
   EXPECT_EQ(this->wordAtLeft(this->trie.root()), route->parentWord);
   EXPECT_EQ(this->wordAtLeft(route), this->node("10.0.0.0/9")->parentWord);
   EXPECT_EQ(this->wordAtRight(route), this->node("10.128.0.0/9")->parentWord);
}

TYPED_TEST(IntrusiveInsert, aRouteReplacesTheRouteOfItsPrefix) {
   this->add("10.0.0.0/8");
   this->add("10.64.0.0/16");
   this->add("10.128.0.0/16");
   const std::string before = this->drawing();
   const auto old = this->routes["10.0.0.0/8"];
   EXPECT_EQ(3u, old->uses());
   this->add("10.0.0.0/8");
   EXPECT_EQ(before, this->drawing());
   EXPECT_EQ(1u, old->uses()) << "the trie's reference is dropped, as is the map's";
   this->expectDetached(old);
   auto* route = this->node("10.0.0.0/8");
   EXPECT_EQ(route, this->trie.root());
   EXPECT_EQ(this->wordAtRoot(), route->parentWord);
   EXPECT_EQ(this->wordAtLeft(route), this->node("10.64.0.0/16")->parentWord);
   EXPECT_EQ(this->wordAtRight(route), this->node("10.128.0.0/16")->parentWord);
}

TYPED_TEST(IntrusiveInsert, replacingALeafKeepsItALeaf) {
   this->add("10.0.0.0/8");
   const auto old = this->routes["10.0.0.0/8"];
   this->add("10.0.0.0/8");
   this->expectDetached(old);
   EXPECT_EQ("o 10.0.0.0/8 U\n", this->drawing());
}

// A route that nobody else holds goes when it is replaced.
TYPED_TEST(IntrusiveInsert, aReplacedRouteThatNobodyHoldsIsDestroyed) {
   const auto live = [] { return TestFixture::RouteType::memAllocationTracker_->liveObjects(); };
   auto route = this->make("10.0.0.0/8");
   const std::uint64_t before = live();
   this->trie.insert(*route);
   route = this->make("10.0.0.0/8");
   EXPECT_EQ(before + 1, live());
   this->trie.insert(*route);
   EXPECT_EQ(before, live());
}

TYPED_TEST(IntrusiveInsert, insertingARouteAgainChangesNothing) {
   this->add("10.0.0.0/8");
   this->add("10.64.0.0/16");
   this->add("10.128.0.0/16");
   this->add("192.0.0.0/8");
   const std::string before = this->drawing();
   for (const auto& [text, route] : this->routes) {
      const auto* node = this->node(text);
      const std::uint64_t word = node->parentWord;
      const auto *left = node->left, *right = node->right;
      this->trie.insert(*route);
      EXPECT_EQ(2u, route->uses());
      EXPECT_EQ(word, node->parentWord);
      EXPECT_EQ(left, node->left);
      EXPECT_EQ(right, node->right);
      EXPECT_EQ("", this->trie.audit());
   }
   EXPECT_EQ(before, this->drawing());
   EXPECT_EQ(1u, this->ownInternals());
}

// Both read as length 0, so either takes the other's place.
TYPED_TEST(IntrusiveInsert, theNullPrefixLiesWhereTheZeroLengthPrefixLies) {
   this->add("10.0.0.0/8");
   const auto zero = this->make("0.0.0.0/0");
   const auto null = TypeParam::make(TypeParam::Prefix::nullPrefix());
   this->trie.insert(*zero);
   this->trie.insert(*null);
   EXPECT_EQ("o 0.0.0.0/0 U\n  L 10.0.0.0/8 U\n", this->drawing());
   EXPECT_EQ(&null->trieNode(), this->trie.root());
   this->expectDetached(zero);
   this->trie.insert(*zero);
   EXPECT_EQ(&zero->trieNode(), this->trie.root());
   this->expectDetached(null);
   EXPECT_EQ("", this->trie.audit());
   zero->trieNode().remove();
}

TYPED_TEST(IntrusiveInsert, routesAtEveryLengthMakeAChain) {
   for (U32 length = 0; length <= 32; ++length) {
      this->add("0.0.0.0/" + std::to_string(length));
   }
   EXPECT_EQ(0u, this->ownInternals());
   const auto* node = this->trie.root();
   for (U32 length = 0; length <= 32; ++length, node = node->left) {
      EXPECT_EQ(length, TestFixture::NodeType::prefixOf(*node).length);
      EXPECT_EQ(nullptr, node->right);
   }
   EXPECT_EQ(nullptr, node);
}

#ifdef ROUTETRIE_FAULT_INJECTION
// The one allocation of an insertion is the internal node. Without it the tree is as it was, but the trie's reference on
// the route is taken, and is the caller's to give up.
TYPED_TEST(IntrusiveInsert, withoutMemoryLeavesTheTreeAndTakesTheReference) {
   this->add("10.0.0.0/8");
   const std::string before = this->drawing();
   const auto route = this->make("11.0.0.0/8");
   CoreSlab::failAt(1);
   EXPECT_THROW(this->trie.insert(*route), std::bad_alloc);
   EXPECT_EQ(before, this->drawing());
   EXPECT_EQ("", this->trie.audit());
   EXPECT_EQ(0u, this->ownInternals()) << "what was counted is counted out again";
   this->expectDetached(route);
   EXPECT_EQ(2u, route->uses());
   route->decUseImpl();
   this->trie.insert(*route);
   EXPECT_EQ("o 10.0.0.0/7 I\n  L 10.0.0.0/8 U\n  R 11.0.0.0/8 U\n", this->drawing());
   route->trieNode().remove();
}

TYPED_TEST(IntrusiveInsert, onlyPartingRoutesNeedMemory) {
   for (const char* text : {"10.0.0.0/8", "10.64.0.0/16", "8.0.0.0/6", "10.0.0.0/8"}) {
      const auto route = this->make(text);
      CoreSlab::failAt(1);
      EXPECT_NO_THROW(this->trie.insert(*route)) << text;
      CoreSlab::failAt(0);
   }
}
#endif

}  // namespace IntrusiveTrieInsertTest
