// The audit of an intrusive trie finds each broken rule, planted by hand.
#include "routetrie/trie/intrusive/IntrusiveTrieAudit.h"

#include <cstdint>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "routetrie/trie/intrusive/IntrusiveTrie.h"
#include "tests/trie/intrusive/IntrusiveKinds.h"

namespace IntrusiveTrieAuditTest {

using namespace testing_support;
using testing::StartsWith;

template <class Kind>
class IntrusiveAudit : public IntrusiveFixture<Kind> {
  protected:
   using Node = typename IntrusiveFixture<Kind>::NodeType;

   void SetUp() override {
      for (const char* text :
           {"10.0.0.0/8", "10.64.0.0/16", "10.128.0.0/16", "11.0.0.0/8", "10.64.0.0/24", "10.64.128.0/24"}) {
         this->add(text);
      }
      ASSERT_EQ(
         "o 10.0.0.0/7 I\n  L 10.0.0.0/8 U\n    L 10.64.0.0/16 U\n      L 10.64.0.0/24 U\n"
         "      R 10.64.128.0/24 U\n    R 10.128.0.0/16 U\n  R 11.0.0.0/8 U\n",
         this->drawing());
   }

   // The audit's word while `field` has another value.
   template <class Field>
   std::string with(Field& field, Field value) {
      std::swap(field, value);
      std::string fault = this->trie.audit();
      std::swap(field, value);
      EXPECT_EQ("", this->trie.audit());
      return fault;
   }
   // Both children of the node change their sides, with their links.
   static void swapSides(Node* node) {
      std::swap(node->left, node->right);
      node->left->parentWord = IntrusiveAudit::wordAtLeft(node);
      node->right->parentWord = IntrusiveAudit::wordAtRight(node);
   }
};
TYPED_TEST_SUITE(IntrusiveAudit, IntrusiveKinds);

TYPED_TEST(IntrusiveAudit, findsAnInternalNodeThatLacksAChild) {
   auto* root = this->trie.root();
   EXPECT_THAT(this->with(root->left, decltype(root){}), StartsWith("I1 internal node 0"));
   EXPECT_THAT(this->with(root->right, decltype(root){}), StartsWith("I1 internal node 0"));
}

TYPED_TEST(IntrusiveAudit, findsChildrenOnTheWrongSide) {
   auto* node = this->node("10.64.0.0/16");
   this->swapSides(node);
   EXPECT_THAT(this->trie.audit(), testing::MatchesRegex("I2 node .*: on the wrong side of its parent .*"));
   this->swapSides(node);
}

TYPED_TEST(IntrusiveAudit, findsAChildThatDoesNotExtendItsParent) {
   for (const char* text : {"12.0.0.0/9", "10.0.0.0/7", "0.0.0.0/0"}) {
      const auto stray = this->make(text);
      stray->incUse();
      TestFixture::NodeType::linkChild(&this->node("11.0.0.0/8")->right, ParentPtrType::nodeRight,
                                       &stray->trieNode());
      EXPECT_THAT(this->trie.audit(), testing::MatchesRegex("I2 node .*: does not extend its parent .*")) << text;
      stray->trieNode().remove();
   }
}

TYPED_TEST(IntrusiveAudit, findsARouteThatIsThereTwice) {
   const auto twin = this->make("11.0.0.0/8");
   twin->incUse();
   TestFixture::NodeType::linkChild(&this->node("11.0.0.0/8")->right, ParentPtrType::nodeRight, &twin->trieNode());
   EXPECT_THAT(this->trie.audit(), testing::MatchesRegex("I3 route .*: is there twice"));
   twin->trieNode().remove();
}

// A route that outlives its last reference.
class Revenant : public Sprig::Ipv6TrieRoute {
  public:
   using Ipv6TrieRoute::Ipv6TrieRoute;
   void lastUserGone() override {}
};

TEST(IntrusiveAudit, findsARouteThatNobodyHolds) {
   Sprig::Intrusive::Trie<Sprig::Ipv6TrieRoute::TrieNode> trie;
   auto* route = new Revenant(Corenet::Ip6Prefix::fromString("2001:db8::/32"));
   trie.insert(*route);
   EXPECT_EQ("", trie.audit());
   route->decUseImpl();
   route->decUseImpl();
   EXPECT_EQ("I4 route 20010db8/32: nobody holds it", trie.audit());
   route->incUse();
   trie.removeAll();
   delete route;
}

TYPED_TEST(IntrusiveAudit, findsAWrongSlot) {
   for (const char* text : {"10.0.0.0/8", "10.64.0.0/16", "10.64.128.0/24", "11.0.0.0/8"}) {
      auto* node = this->node(text);
      EXPECT_THAT(this->with(node->parentWord, node->parentWord + 8),
                  testing::MatchesRegex("I5 node .*: its slot is not the one that holds it"));
      EXPECT_THAT(this->with(node->parentWord, node->parentWord & 7),
                  testing::MatchesRegex("I5 node .*: its slot is not the one that holds it"));
   }
   auto* root = this->trie.root();
   EXPECT_THAT(this->with(root->parentWord, root->parentWord + 8),
               testing::MatchesRegex("I5 node .*: its slot is not the one that holds it"));
}

TYPED_TEST(IntrusiveAudit, findsAWrongType) {
   for (const char* text : {"10.0.0.0/8", "10.64.0.0/16", "10.64.128.0/24", "11.0.0.0/8"}) {
      auto* node = this->node(text);
      for (std::uint64_t type = 0; type < 4; ++type) {
         if (type != (node->parentWord & 3)) {
            EXPECT_THAT(this->with(node->parentWord, (node->parentWord & ~std::uint64_t{3}) | type),
                        testing::MatchesRegex("I5 node .*: its slot is of type ., not ."));
         }
      }
   }
   auto* root = this->trie.root();
   EXPECT_THAT(this->with(root->parentWord, root->parentWord ^ 2), StartsWith("I5 node "));
}

}  // namespace IntrusiveTrieAuditTest
