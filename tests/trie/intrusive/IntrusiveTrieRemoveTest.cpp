// How routes get out of an intrusive trie, with the object alone: the table of cases, row by row, with the tags of every
// node that stays, and with references counted; and how one route hands its place to another.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>

#include "routetrie/trie/intrusive/IntrusiveTrie.h"
#include "tests/trie/intrusive/IntrusiveKinds.h"

namespace IntrusiveTrieRemoveTest {

using namespace testing_support;

constexpr auto error = "void Sprig::Intrusive::Impl::trieError\\(\\): Assertion `false' failed";

template <class Kind>
class IntrusiveRemove : public IntrusiveFixture<Kind> {};
TYPED_TEST_SUITE(IntrusiveRemove, IntrusiveKinds);

//    children    slot and parent             what happens
//    two         any                         an internal node takes the place
//    one         any                         the child takes the place
//    none        root                        the root is cleared
//    none        left or right, of a route   the field is cleared; the parent stays
//    none        left or right, of an        the sibling takes the parent's place, and the parent goes
//                internal node

TYPED_TEST(IntrusiveRemove, ofARouteWithTwoChildrenAtTheRoot) {
   this->add("10.0.0.0/8");
   this->add("10.64.0.0/16");
   this->add("10.128.0.0/16");
   this->remove("10.0.0.0/8");
   EXPECT_EQ("o 10.0.0.0/8 I\n  L 10.64.0.0/16 U\n  R 10.128.0.0/16 U\n", this->drawing());
   EXPECT_EQ(1u, this->ownInternals());
   auto* root = this->trie.root();
   EXPECT_EQ(this->wordAtRoot(), root->parentWord);
   EXPECT_EQ(this->wordAtLeft(root), this->node("10.64.0.0/16")->parentWord);
   EXPECT_EQ(this->wordAtRight(root), this->node("10.128.0.0/16")->parentWord);
}

TYPED_TEST(IntrusiveRemove, ofARouteWithTwoChildrenAtTheLeft) {
   this->add("10.0.0.0/8");
   this->add("10.64.0.0/16");
   this->add("10.128.0.0/16");
   this->add("11.0.0.0/8");
   this->remove("10.0.0.0/8");
   EXPECT_EQ("o 10.0.0.0/7 I\n  L 10.0.0.0/8 I\n    L 10.64.0.0/16 U\n    R 10.128.0.0/16 U\n  R 11.0.0.0/8 U\n",
             this->drawing());
   auto* node = this->trie.root()->left;
   EXPECT_EQ(this->wordAtLeft(this->trie.root()), node->parentWord);
   EXPECT_EQ(this->wordAtLeft(node), this->node("10.64.0.0/16")->parentWord);
   EXPECT_EQ(this->wordAtRight(node), this->node("10.128.0.0/16")->parentWord);
}

TYPED_TEST(IntrusiveRemove, ofARouteWithTwoChildrenAtTheRight) {
   this->add("10.0.0.0/7");
   this->add("11.0.0.0/8");
   this->add("11.64.0.0/16");
   this->add("11.128.0.0/16");
   this->remove("11.0.0.0/8");
   EXPECT_EQ("o 10.0.0.0/7 U\n  R 11.0.0.0/8 I\n    L 11.64.0.0/16 U\n    R 11.128.0.0/16 U\n", this->drawing());
   EXPECT_EQ(this->wordAtRight(this->trie.root()), this->trie.root()->right->parentWord);
}

// The bytes are the route's, whole.
TYPED_TEST(IntrusiveRemove, leavesAnInternalNodeWithTheRoutesBytes) {
   this->add("10.1.2.0/23");
   this->add("10.1.2.0/24");
   this->add("10.1.3.0/24");
   this->remove("10.1.2.0/23");
   auto* root = static_cast<typename TestFixture::InternalType*>(this->trie.root());
   EXPECT_EQ(23, root->length());
   EXPECT_EQ(10, root->data()[0]);
   EXPECT_EQ(1, root->data()[1]);
   EXPECT_EQ(2, root->data()[2]);
}

TYPED_TEST(IntrusiveRemove, ofTheNullPrefixWithTwoChildrenLeavesLengthZero) {
   this->add("10.0.0.0/8");
   this->add("192.0.0.0/8");
   const auto null = TypeParam::make(TypeParam::Prefix::nullPrefix());
   this->trie.insert(*null);
   EXPECT_EQ(0u, this->ownInternals());
   null->trieNode().remove();
   EXPECT_EQ("o 0.0.0.0/0 I\n  L 10.0.0.0/8 U\n  R 192.0.0.0/8 U\n", this->drawing());
   EXPECT_EQ(0, static_cast<typename TestFixture::InternalType*>(this->trie.root())->length());
   this->expectDetached(null);
}

TYPED_TEST(IntrusiveRemove, ofARouteWithALeftChildAtEachKindOfSlot) {
   // At the root.
   this->add("10.0.0.0/8");
   this->add("10.64.0.0/16");
   this->remove("10.0.0.0/8");
   EXPECT_EQ("o 10.64.0.0/16 U\n", this->drawing());
   EXPECT_EQ(this->wordAtRoot(), this->node("10.64.0.0/16")->parentWord);
   // At the left and at the right of an internal node.
   this->add("10.64.0.0/10");
   this->add("11.64.0.0/16");
   this->add("11.0.0.0/8");
   this->remove("10.64.0.0/10");
   this->remove("11.0.0.0/8");
   EXPECT_EQ("o 10.0.0.0/7 I\n  L 10.64.0.0/16 U\n  R 11.64.0.0/16 U\n", this->drawing());
   EXPECT_EQ(this->wordAtLeft(this->trie.root()), this->node("10.64.0.0/16")->parentWord);
   EXPECT_EQ(this->wordAtRight(this->trie.root()), this->node("11.64.0.0/16")->parentWord);
   EXPECT_EQ(1u, this->ownInternals());
}

TYPED_TEST(IntrusiveRemove, ofARouteWithARightChildAtEachKindOfSlot) {
   this->add("10.0.0.0/8");
   this->add("10.128.0.0/16");
   this->remove("10.0.0.0/8");
   EXPECT_EQ("o 10.128.0.0/16 U\n", this->drawing());
   EXPECT_EQ(this->wordAtRoot(), this->node("10.128.0.0/16")->parentWord);
   this->add("10.0.0.0/8");
   this->add("10.0.0.0/7");
   this->add("11.0.0.0/8");
   this->add("11.128.0.0/16");
   this->remove("10.0.0.0/8");
   this->remove("11.0.0.0/8");
   EXPECT_EQ("o 10.0.0.0/7 U\n  L 10.128.0.0/16 U\n  R 11.128.0.0/16 U\n", this->drawing());
   EXPECT_EQ(this->wordAtLeft(this->trie.root()), this->node("10.128.0.0/16")->parentWord);
   EXPECT_EQ(this->wordAtRight(this->trie.root()), this->node("11.128.0.0/16")->parentWord);
}

// The child may be internal, and keeps that it is.
TYPED_TEST(IntrusiveRemove, ofARouteAboveAnInternalNode) {
   this->add("10.0.0.0/7");
   this->add("10.64.0.0/16");
   this->add("10.128.0.0/16");
   this->remove("10.0.0.0/7");
   EXPECT_EQ("o 10.0.0.0/8 I\n  L 10.64.0.0/16 U\n  R 10.128.0.0/16 U\n", this->drawing());
   EXPECT_EQ(this->wordAtRoot(), this->trie.root()->parentWord);
   EXPECT_TRUE(this->trie.root()->isInternal());
}

TYPED_TEST(IntrusiveRemove, ofTheOnlyRouteEmptiesTheRoot) {
   this->add("10.0.0.0/8");
   this->remove("10.0.0.0/8");
   EXPECT_TRUE(this->trie.empty());
   EXPECT_EQ(nullptr, this->trie.root());
}

TYPED_TEST(IntrusiveRemove, ofALeafLeavesItsRouteParentInPlace) {
   for (const auto* leaf : {"10.64.0.0/16", "10.128.0.0/16"}) {
      this->add("10.0.0.0/8");
      this->add(leaf);
      this->remove(leaf);
      EXPECT_EQ("o 10.0.0.0/8 U\n", this->drawing());
      EXPECT_EQ(nullptr, this->trie.root()->left);
      EXPECT_EQ(nullptr, this->trie.root()->right);
   }
   // With a sibling, which stays too.
   this->add("10.64.0.0/16");
   this->add("10.128.0.0/16");
   this->remove("10.64.0.0/16");
   EXPECT_EQ("o 10.0.0.0/8 U\n  R 10.128.0.0/16 U\n", this->drawing());
   EXPECT_EQ(this->wordAtRight(this->trie.root()), this->node("10.128.0.0/16")->parentWord);
   this->add("10.64.0.0/16");
   this->remove("10.128.0.0/16");
   EXPECT_EQ("o 10.0.0.0/8 U\n  L 10.64.0.0/16 U\n", this->drawing());
   EXPECT_EQ(this->wordAtLeft(this->trie.root()), this->node("10.64.0.0/16")->parentWord);
}

TYPED_TEST(IntrusiveRemove, ofALeafUnderAnInternalNodeMovesTheSiblingUp) {
   for (const bool isLeft : {true, false}) {
      const std::string leaf = isLeft ? "10.0.0.0/8" : "11.0.0.0/8";
      const std::string sibling = isLeft ? "11.0.0.0/8" : "10.0.0.0/8";
      // At the root.
      this->add(leaf);
      this->add(sibling);
      this->remove(leaf);
      EXPECT_EQ("o " + sibling + " U\n", this->drawing());
      EXPECT_EQ(this->wordAtRoot(), this->node(sibling)->parentWord);
      EXPECT_EQ(0u, this->ownInternals());
      // At the left and at the right of another.
      for (const bool isParentLeft : {true, false}) {
         const std::string other = isParentLeft ? "192.0.0.0/8" : "0.0.0.0/8";
         this->add(other);
         this->add(leaf);
         this->remove(leaf);
         auto* root = this->trie.root();
         EXPECT_TRUE(root->isInternal());
         if (isParentLeft) {
            EXPECT_EQ(this->wordAtLeft(root), this->node(sibling)->parentWord);
            EXPECT_EQ(this->wordAtRight(root), this->node(other)->parentWord);
         } else {
            EXPECT_EQ(this->wordAtRight(root), this->node(sibling)->parentWord);
            EXPECT_EQ(this->wordAtLeft(root), this->node(other)->parentWord);
         }
         EXPECT_EQ(1u, this->ownInternals());
         this->remove(other);
      }
      this->remove(sibling);
   }
}

TYPED_TEST(IntrusiveRemove, movesASiblingUpWithAllBeneathIt) {
   this->add("10.0.0.0/8");
   this->add("11.64.0.0/16");
   this->add("11.128.0.0/16");
   EXPECT_EQ(2u, this->ownInternals());
   this->remove("10.0.0.0/8");
   EXPECT_EQ("o 11.0.0.0/8 I\n  L 11.64.0.0/16 U\n  R 11.128.0.0/16 U\n", this->drawing());
   EXPECT_EQ(this->wordAtRoot(), this->trie.root()->parentWord);
   EXPECT_EQ(1u, this->ownInternals());
}

// The trie's reference may be the last one.
TYPED_TEST(IntrusiveRemove, destroysARouteThatNobodyElseHolds) {
   const auto live = [] { return TestFixture::RouteType::memAllocationTracker_->liveObjects(); };
   auto route = this->make("10.0.0.0/8");
   const std::uint64_t before = live();
   this->trie.insert(*route);
   auto* node = &route->trieNode();
   route = nullptr;
   EXPECT_EQ(before, live());
   node->remove();
   EXPECT_EQ(before - 1, live());
   EXPECT_TRUE(this->trie.empty());
}

TYPED_TEST(IntrusiveRemove, allInAnyOrderOfTheSpine) {
   for (const char* text :
        {"0.0.0.0/0", "10.0.0.0/8", "10.64.0.0/16", "10.128.0.0/16", "11.0.0.0/8", "192.0.0.0/8"}) {
      this->add(text);
   }
   this->trie.removeAll();
   EXPECT_TRUE(this->trie.empty());
   for (const auto& [text, route] : this->routes) {
      EXPECT_EQ(1u, route->uses());
      this->expectDetached(route);
   }
}

// A route whose count ran out while it was linked, which the trie's own reference otherwise rules out: its destructor
// takes it out, and the reference that removal drops only wraps the count of the dead object.
TYPED_TEST(IntrusiveRemove, aRouteThatIsDestroyedWhileLinkedLeavesTheTree) {
   this->add("10.0.0.0/8");
   auto* doomed = this->make("10.64.0.0/16").release();
   this->trie.insert(*doomed);
   this->add("10.128.0.0/16");
   EXPECT_EQ(2u, doomed->uses());
   const std::uint64_t before = TestFixture::RouteType::memAllocationTracker_->liveObjects();
   doomed->decUseImpl();
   doomed->decUseImpl();
   EXPECT_EQ(before - 1, TestFixture::RouteType::memAllocationTracker_->liveObjects());
   EXPECT_EQ("o 10.0.0.0/8 U\n  R 10.128.0.0/16 U\n", this->drawing());
   EXPECT_EQ("", this->trie.audit());
}

TYPED_TEST(IntrusiveRemove, aRouteWithTwoChildrenThatIsDestroyedWhileLinkedLeavesAnInternalNode) {
   auto* doomed = this->make("10.0.0.0/8").release();
   this->trie.insert(*doomed);
   this->add("10.64.0.0/16");
   this->add("10.128.0.0/16");
   doomed->decUseImpl();
   doomed->decUseImpl();
   EXPECT_EQ("o 10.0.0.0/8 I\n  L 10.64.0.0/16 U\n  R 10.128.0.0/16 U\n", this->drawing());
}

#ifdef ROUTETRIE_FAULT_INJECTION
TYPED_TEST(IntrusiveRemove, withoutMemoryChangesNothing) {
   this->add("10.0.0.0/8");
   this->add("10.64.0.0/16");
   this->add("10.128.0.0/16");
   const std::string before = this->drawing();
   CoreSlab::failAt(1);
   EXPECT_THROW(this->node("10.0.0.0/8")->remove(), std::bad_alloc);
   EXPECT_EQ(before, this->drawing());
   EXPECT_EQ("", this->trie.audit());
   EXPECT_EQ(2u, this->routes["10.0.0.0/8"]->uses());
   EXPECT_EQ(0u, this->ownInternals());
   CoreSlab::failAt(1);
   EXPECT_NO_THROW(this->remove("10.64.0.0/16")) << "the other cases need no memory";
   EXPECT_NO_THROW(this->remove("10.0.0.0/8"));
   EXPECT_NO_THROW(this->remove("10.128.0.0/16"));
   CoreSlab::failAt(0);
}
#endif

//--- replaceWith ---

template <class Kind>
class IntrusiveReplace : public IntrusiveFixture<Kind> {};
TYPED_TEST_SUITE(IntrusiveReplace, IntrusiveKinds);

TYPED_TEST(IntrusiveReplace, handsThePlaceAndTheChildrenOver) {
   for (const char* text : {"10.0.0.0/8", "10.64.0.0/16", "10.128.0.0/16", "11.0.0.0/8", "10.64.1.0/24"}) {
      this->add(text);
   }
   const std::string before = this->drawing();
   for (auto& [text, route] : this->routes) {
      const auto other = this->make(text);
      auto* node = this->node(text);
      auto *left = node->left, *right = node->right;
      const std::uint64_t word = node->parentWord;
      node->replaceWith(*other);
      this->expectDetached(route);
      EXPECT_EQ(1u, route->uses()) << text;
      EXPECT_EQ(2u, other->uses()) << text;
      EXPECT_EQ(word, other->trieNode().parentWord);
      EXPECT_EQ(left, other->trieNode().left);
      EXPECT_EQ(right, other->trieNode().right);
      if (left != nullptr) {
         EXPECT_EQ(this->wordAtLeft(&other->trieNode()), left->parentWord);
      }
      if (right != nullptr) {
         EXPECT_EQ(this->wordAtRight(&other->trieNode()), right->parentWord);
      }
      EXPECT_EQ("", this->trie.audit());
      EXPECT_EQ(before, this->drawing());
      route = other;
   }
   EXPECT_EQ(1u, this->ownInternals()) << "nothing is allocated";
}

TYPED_TEST(IntrusiveReplace, worksBetweenTheNullPrefixAndTheZeroLengthPrefix) {
   const auto zero = this->make("0.0.0.0/0");
   const auto null = TypeParam::make(TypeParam::Prefix::nullPrefix());
   this->add("10.0.0.0/8");
   this->trie.insert(*zero);
   zero->trieNode().replaceWith(*null);
   EXPECT_EQ(&null->trieNode(), this->trie.root());
   null->trieNode().replaceWith(*zero);
   EXPECT_EQ(&zero->trieNode(), this->trie.root());
   EXPECT_EQ("", this->trie.audit());
   this->expectDetached(null);
   zero->trieNode().remove();
}

template <class Kind>
class IntrusiveReplaceDeathTest : public IntrusiveFixture<Kind> {};
TYPED_TEST_SUITE(IntrusiveReplaceDeathTest, IntrusiveKinds);

TYPED_TEST(IntrusiveReplaceDeathTest, needsOneLinkedOneDetachedAndEqualPrefixes) {
   this->add("10.0.0.0/8");
   this->add("11.0.0.0/8");
   const auto detached = this->make("10.0.0.0/8");
   const auto same = this->make("10.0.0.0/8");
   const auto longer = this->make("10.0.0.0/9");
   const auto different = this->make("12.0.0.0/8");
   EXPECT_DEATH(detached->trieNode().replaceWith(*same), error);
   EXPECT_DEATH(this->node("10.0.0.0/8")->replaceWith(*longer), error);
   EXPECT_DEATH(this->node("10.0.0.0/8")->replaceWith(*different), error);
   EXPECT_DEATH(this->node("10.0.0.0/8")->replaceWith(*this->routes["11.0.0.0/8"]), error);
   EXPECT_DEATH(this->node("10.0.0.0/8")->replaceWith(*this->routes["10.0.0.0/8"]), error) << "itself is linked";
   typename TestFixture::TrieType other;
   other.insert(*same);
   EXPECT_DEATH(this->node("10.0.0.0/8")->replaceWith(*same), error);
   other.removeAll();
}

template <class Kind>
class IntrusiveRemoveDeathTest : public IntrusiveFixture<Kind> {};
TYPED_TEST_SUITE(IntrusiveRemoveDeathTest, IntrusiveKinds);

TYPED_TEST(IntrusiveRemoveDeathTest, ofADetachedRoute) {
   EXPECT_DEATH(this->make("10.0.0.0/8")->trieNode().remove(), error);
}

TYPED_TEST(IntrusiveRemoveDeathTest, ofALeafWithoutASiblingUnderAnInternalNode) {
   this->add("10.0.0.0/8");
   this->add("11.0.0.0/8");
   auto* root = this->trie.root();
   auto* right = root->right;
   root->right = nullptr;
   EXPECT_DEATH(this->node("10.0.0.0/8")->remove(), error);
   root->right = right;
   auto* left = root->left;
   root->left = nullptr;
   EXPECT_DEATH(this->node("11.0.0.0/8")->remove(), error);
   root->left = left;
}

}  // namespace IntrusiveTrieRemoveTest
