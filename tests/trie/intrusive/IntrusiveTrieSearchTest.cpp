// Looking up in an intrusive trie: the longest match from the root and from hints, the subtree root from a hint, parents,
// and the steps of a walk.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "routetrie/trie/intrusive/IntrusiveTrie.h"
#include "tests/trie/intrusive/IntrusiveKinds.h"

namespace IntrusiveTrieSearchTest {

using namespace testing_support;

constexpr auto error = "void Sprig::Intrusive::Impl::trieError\\(\\): Assertion `false' failed";

template <class Kind>
class IntrusiveSearch : public IntrusiveFixture<Kind> {
  protected:
   using Node = typename IntrusiveFixture<Kind>::NodeType;
   using Route = typename IntrusiveFixture<Kind>::RouteType;

   // "route", with "!" if it is exact, and the deepest node.
   std::string match(std::string_view text, const Node* hint = nullptr) const {
      const auto prefix = Kind::prefix(text);
      const auto found = this->trie._longestMatch(this->viewOf(prefix), hint);
      return this->nameOf(found.route) + (found.exact ? "!" : "") + ' ' + this->nameOf(found.deepestNode);
   }
   std::string subtreeRoot(const Node* hint, std::string_view text) const {
      const auto prefix = Kind::prefix(text);
      return this->nameOf(this->trie.getSubtreeRootFromHint(hint, this->viewOf(prefix)));
   }
   std::string parent(const std::string& text) { return this->nameOf(this->node(text)->parent()); }
   std::string walked() const {
      std::string list;
      for (const Route* route = this->trie.first(); route != nullptr;) {
         list += this->nameOf(route) + ' ';
         route = (route->*Route::trieNodeMember).next();
      }
      return list;
   }
   void addAll() {
      for (const char* text : {"10.0.0.0/8", "10.64.0.0/16", "10.64.0.0/24", "10.64.128.0/24", "10.128.0.0/16",
                               "11.0.0.0/8", "192.0.0.0/8"}) {
         this->add(text);
      }
      ASSERT_EQ(
         "o 0.0.0.0/0 I\n  L 10.0.0.0/7 I\n    L 10.0.0.0/8 U\n      L 10.64.0.0/16 U\n"
         "        L 10.64.0.0/24 U\n        R 10.64.128.0/24 U\n      R 10.128.0.0/16 U\n"
         "    R 11.0.0.0/8 U\n  R 192.0.0.0/8 U\n",
         this->drawing());
   }
};
TYPED_TEST_SUITE(IntrusiveSearch, IntrusiveKinds);

TYPED_TEST(IntrusiveSearch, ofAnEmptyTrieFindsNothing) {
   EXPECT_EQ("none none", this->match("10.0.0.0/8"));
   EXPECT_EQ("none none", this->match("0.0.0.0/0"));
   EXPECT_EQ(nullptr, this->trie.first());
}

TYPED_TEST(IntrusiveSearch, findsTheLongestCoveringRoute) {
   this->addAll();
   EXPECT_EQ("10.0.0.0/8! 10.0.0.0/8", this->match("10.0.0.0/8"));
   EXPECT_EQ("10.0.0.0/8 10.0.0.0/8", this->match("10.1.0.0/16")) << "a longer prefix is not exact";
   EXPECT_EQ("10.0.0.0/8 10.0.0.0/8", this->match("10.0.0.0/9"));
   EXPECT_EQ("10.64.0.0/16! 10.64.0.0/16", this->match("10.64.0.0/16"));
   EXPECT_EQ("10.64.0.0/16 10.64.0.0/16", this->match("10.64.1.0/24"));
   EXPECT_EQ("10.64.128.0/24 10.64.128.0/24", this->match("10.64.128.7/32"));
   EXPECT_EQ("192.0.0.0/8 192.0.0.0/8", this->match("192.1.2.3/32"));
   EXPECT_EQ("none 0.0.0.0/0", this->match("193.0.0.0/8"));
   EXPECT_EQ("none 10.0.0.0/7", this->match("10.0.0.0/7"));
   EXPECT_EQ("none 0.0.0.0/0", this->match("8.0.0.0/5"));
}

TYPED_TEST(IntrusiveSearch, anExactHitOnAnInternalNodeIsTheRouteAbove) {
   this->add("10.0.0.0/8");
   this->add("10.64.0.0/16");
   this->add("10.65.0.0/16");
   EXPECT_EQ("10.0.0.0/8 10.64.0.0/15", this->match("10.64.0.0/15"));
   EXPECT_EQ("10.0.0.0/8 10.64.0.0/15", this->match("10.64.0.0/15", this->node("10.0.0.0/8")->left));
}

TYPED_TEST(IntrusiveSearch, ofTheZeroLengthPrefix) {
   this->addAll();
   EXPECT_EQ("none 0.0.0.0/0", this->match("0.0.0.0/0"));
   this->add("0.0.0.0/0");
   EXPECT_EQ("0.0.0.0/0! 0.0.0.0/0", this->match("0.0.0.0/0"));
   const auto found = this->trie._longestMatch({nullptr, 0}, nullptr);
   EXPECT_EQ(this->routes["0.0.0.0/0"].get(), found.route);
   EXPECT_TRUE(found.exact);
}

TYPED_TEST(IntrusiveSearch, fromEachHintThatCoversTheQueryGivesTheRootsAnswer) {
   this->addAll();
   for (const char* query : {"10.64.128.9/32", "10.64.0.0/24", "10.64.0.0/20", "10.128.0.0/16", "11.2.0.0/16",
                             "10.0.0.0/7", "200.0.0.0/8", "0.0.0.0/0"}) {
      const auto prefix = TypeParam::prefix(query);
      for (const auto* hint = this->trie.root(); hint != nullptr; hint = hint->nextNode(false, 0)) {
         const auto cover = TestFixture::NodeType::prefixOf(*hint);
         if (cover.length <= prefix.len() &&
             cover == PrefixDataAndLength{prefix.address().bytes().data(), cover.length}) {
            EXPECT_EQ(this->match(query), this->match(query, hint)) << query << " from " << this->nameOf(hint);
         }
      }
   }
}

// The search ends at the hint's own slot.
TYPED_TEST(IntrusiveSearch, fromAHintThatDoesNotCoverTheQueryYieldsTheHintsParent) {
   this->addAll();
   EXPECT_EQ("10.64.0.0/16 10.64.0.0/16", this->match("192.0.0.0/8", this->node("10.64.128.0/24")));
   EXPECT_EQ("10.0.0.0/8 10.0.0.0/8", this->match("10.64.0.0/15", this->node("10.64.0.0/16")));
   EXPECT_EQ("none 10.0.0.0/7", this->match("192.0.0.0/8", this->node("10.0.0.0/8")));
   this->trie.removeAll();
   this->add("10.0.0.0/8");
   EXPECT_EQ("none none", this->match("192.0.0.0/8", this->trie.root())) << "above the root is nothing";
}

TYPED_TEST(IntrusiveSearch, theDeepestNodeIsAHintForLater) {
   this->addAll();
   const auto query = TypeParam::prefix("10.64.5.0/24");
   const auto first = this->trie._longestMatch(this->viewOf(query), nullptr);
   EXPECT_EQ("10.64.0.0/16", this->nameOf(first.deepestNode));
   EXPECT_EQ("10.64.0.0/16 10.64.0.0/16", this->match("10.64.77.0/24", first.deepestNode));
}

TYPED_TEST(IntrusiveSearch, subtreeRootIsTheLowestNodeThatCoversBoth) {
   this->addAll();
   auto* hint = this->node("10.64.0.0/24");
   EXPECT_EQ("none", this->subtreeRoot(nullptr, "10.0.0.0/8")) << "no hint";
   EXPECT_EQ("10.64.0.0/24", this->subtreeRoot(hint, "10.64.0.0/24")) << "equal";
   EXPECT_EQ("10.64.0.0/24", this->subtreeRoot(hint, "10.64.0.9/32")) << "the hint covers the prefix";
   EXPECT_EQ("10.64.0.0/16", this->subtreeRoot(hint, "10.64.0.0/23")) << "the prefix covers the hint";
   EXPECT_EQ("10.64.0.0/16", this->subtreeRoot(hint, "10.64.128.0/24"));
   EXPECT_EQ("10.0.0.0/8", this->subtreeRoot(hint, "10.128.0.0/16"));
   EXPECT_EQ("10.0.0.0/7", this->subtreeRoot(hint, "11.0.0.0/8")) << "internal nodes count";
   EXPECT_EQ("0.0.0.0/0", this->subtreeRoot(hint, "128.0.0.0/1"));
   EXPECT_EQ("0.0.0.0/0", this->subtreeRoot(hint, "0.0.0.0/0"));
}

TYPED_TEST(IntrusiveSearch, subtreeRootIsNoneIfNothingCoversBoth) {
   this->add("10.0.0.0/8");
   this->add("10.64.0.0/16");
   EXPECT_EQ("none", this->subtreeRoot(this->node("10.64.0.0/16"), "11.0.0.0/8"));
   EXPECT_EQ("none", this->subtreeRoot(this->node("10.0.0.0/8"), "10.0.0.0/7"));
}

TYPED_TEST(IntrusiveSearch, theNullPrefixCoversEverything) {
   this->add("10.0.0.0/8");
   const auto null = TypeParam::make(TypeParam::Prefix::nullPrefix());
   this->trie.insert(*null);
   EXPECT_EQ("0.0.0.0/0", this->subtreeRoot(&null->trieNode(), "10.0.0.0/8")) << "as a hint";
   EXPECT_EQ("0.0.0.0/0", this->subtreeRoot(this->node("10.0.0.0/8"), "192.0.0.0/8")) << "as an ancestor";
   EXPECT_EQ(null.get(), this->node("10.0.0.0/8")->parent());
   EXPECT_EQ("0.0.0.0/0 0.0.0.0/0", this->match("192.0.0.0/8"));
   EXPECT_EQ("0.0.0.0/0! 0.0.0.0/0", this->match("0.0.0.0/0"));
   null->trieNode().remove();
}

TYPED_TEST(IntrusiveSearch, parentSkipsInternalNodes) {
   this->addAll();
   EXPECT_EQ("10.64.0.0/16", this->parent("10.64.128.0/24"));
   EXPECT_EQ("10.0.0.0/8", this->parent("10.64.0.0/16"));
   EXPECT_EQ("none", this->parent("10.0.0.0/8")) << "its ancestors are all internal";
   EXPECT_EQ("none", this->parent("192.0.0.0/8"));
   this->add("10.66.0.0/16");
   EXPECT_EQ("10.0.0.0/8", this->parent("10.66.0.0/16")) << "through an internal node of length 14";
}

TYPED_TEST(IntrusiveSearch, firstAndNextListTheRoutesInPreOrder) {
   this->addAll();
   EXPECT_EQ("10.0.0.0/8 10.64.0.0/16 10.64.0.0/24 10.64.128.0/24 10.128.0.0/16 11.0.0.0/8 192.0.0.0/8 ",
             this->walked());
   this->add("0.0.0.0/0");
   EXPECT_EQ("0.0.0.0/0 10.0.0.0/8 10.64.0.0/16 10.64.0.0/24 10.64.128.0/24 10.128.0.0/16 11.0.0.0/8 192.0.0.0/8 ",
             this->walked());
}

TYPED_TEST(IntrusiveSearch, nextNodeGivesInternalNodesToo) {
   this->addAll();
   std::string list;
   for (const auto* node = this->trie.root(); node != nullptr; node = node->nextNode(false, 0)) {
      list += this->nameOf(node) + ' ';
   }
   EXPECT_EQ(
      "0.0.0.0/0 10.0.0.0/7 10.0.0.0/8 10.64.0.0/16 10.64.0.0/24 10.64.128.0/24 10.128.0.0/16 11.0.0.0/8 "
      "192.0.0.0/8 ",
      list);
}

TYPED_TEST(IntrusiveSearch, nextNodeSkipsASubtree) {
   this->addAll();
   EXPECT_EQ("10.128.0.0/16", this->nameOf(this->node("10.64.0.0/16")->nextNode(true, 0)));
   EXPECT_EQ("11.0.0.0/8", this->nameOf(this->node("10.0.0.0/8")->nextNode(true, 0)));
   EXPECT_EQ("192.0.0.0/8", this->nameOf(this->trie.root()->left->nextNode(true, 0)));
   EXPECT_EQ("none", this->nameOf(this->trie.root()->nextNode(true, 0)));
   EXPECT_EQ("10.64.128.0/24", this->nameOf(this->node("10.64.0.0/24")->nextNode(true, 0)));
}

// A walk stays below the shortest length: it ends where an ancestor is shorter.
TYPED_TEST(IntrusiveSearch, nextNodeStopsAtTheEdgeOfASubtree) {
   this->addAll();
   auto* last = this->node("10.128.0.0/16");
   EXPECT_EQ("11.0.0.0/8", this->nameOf(last->nextNode(true, 0)));
   EXPECT_EQ("11.0.0.0/8", this->nameOf(last->nextNode(true, 7)));
   EXPECT_EQ("none", this->nameOf(last->nextNode(true, 8)));
   EXPECT_EQ("none", this->nameOf(last->nextNode(false, 8)));
   EXPECT_EQ("none", this->nameOf(last->nextNode(true, 9)));
   EXPECT_EQ("10.128.0.0/16", this->nameOf(this->node("10.64.128.0/24")->nextNode(true, 8)));
   EXPECT_EQ("none", this->nameOf(this->node("10.64.128.0/24")->nextNode(true, 16)));
   EXPECT_EQ("none", this->nameOf(this->node("10.64.0.0/24")->nextNode(true, 17))) << "on the left side, too";
   EXPECT_EQ("10.64.0.0/24", this->nameOf(this->node("10.64.0.0/16")->nextNode(false, 200)))
      << "the way down is not guarded";
}

TYPED_TEST(IntrusiveSearch, theGuardAlsoStopsAtTheNullPrefix) {
   this->add("10.0.0.0/8");
   this->add("192.0.0.0/8");
   const auto null = TypeParam::make(TypeParam::Prefix::nullPrefix());
   this->trie.insert(*null);
   EXPECT_EQ("none", this->nameOf(this->node("10.0.0.0/8")->nextNode(true, 1)));
   EXPECT_EQ("192.0.0.0/8", this->nameOf(this->node("10.0.0.0/8")->nextNode(true, 0)));
   null->trieNode().remove();
}

TYPED_TEST(IntrusiveSearch, stepsFromASlot) {
   this->addAll();
   using Base = typename TestFixture::NodeType;
   auto* node = this->node("10.64.0.0/24");
   EXPECT_EQ("10.64.128.0/24",
             this->nameOf(Base::template nextNodeOutsideSubtree<Base*>(node->slot(), node->parentType(), 0)));
   const Base* next = Base::template nextNodeOutsideSubtree<const Base*>(node->slot(), node->parentType(), 0);
   EXPECT_EQ("10.64.128.0/24", this->nameOf(next));
   // An empty slot will do.
   auto* leaf = this->node("10.64.0.0/24");
   EXPECT_EQ("10.64.128.0/24",
             this->nameOf(Base::template nextNodeOutsideSubtree<Base*>(&leaf->right, ParentPtrType::nodeRight, 0)));
}

TYPED_TEST(IntrusiveSearch, aDeepPathNeedsNoStack) {
   for (U32 length = 0; length <= 32; ++length) {
      this->add("255.255.255.255/32");
      this->add("0.0.0.0/" + std::to_string(length));
   }
   auto* last = this->node("0.0.0.0/32");
   EXPECT_EQ("0.0.0.0/31", this->nameOf(last->parent()));
   EXPECT_EQ("255.255.255.255/32", this->nameOf(last->next()));
   EXPECT_EQ("0.0.0.0/0", this->subtreeRoot(last, "128.0.0.0/1"));
   EXPECT_EQ("0.0.0.0/32! 0.0.0.0/32", this->match("0.0.0.0/32", this->trie.root()));
   EXPECT_EQ("0.0.0.0/17! 0.0.0.0/17", this->match("0.0.0.0/17"));
}

template <class Kind>
class IntrusiveSearchDeathTest : public IntrusiveFixture<Kind> {};
TYPED_TEST_SUITE(IntrusiveSearchDeathTest, IntrusiveKinds);

TYPED_TEST(IntrusiveSearchDeathTest, fromAnUnlinkedHint) {
   this->add("10.0.0.0/8");
   const auto route = this->make("10.0.0.0/8");
   const auto other = TypeParam::prefix("11.0.0.0/8");
   EXPECT_DEATH(this->trie._longestMatch(route->trieGetPrefix(), &route->trieNode()), error);
   EXPECT_DEATH(this->trie.getSubtreeRootFromHint(&route->trieNode(), this->viewOf(other)), error);
   // Where no climb is needed there is nothing to be missed.
   EXPECT_EQ(&route->trieNode(), this->trie.getSubtreeRootFromHint(&route->trieNode(), route->trieGetPrefix()));
}

TYPED_TEST(IntrusiveSearchDeathTest, climbingThroughAnUnlinkedInternalNode) {
   this->add("10.0.0.0/8");
   this->add("11.0.0.0/8");
   auto* root = this->trie.root();
   const std::uint64_t word = root->parentWord;
   root->parentWord = internalFlag;
   EXPECT_DEATH(this->node("10.0.0.0/8")->parent(), error);
   EXPECT_DEATH(this->node("11.0.0.0/8")->next(), error);
   const auto prefix = TypeParam::prefix("12.0.0.0/8");
   EXPECT_DEATH(this->trie.getSubtreeRootFromHint(this->node("10.0.0.0/8"), this->viewOf(prefix)), error);
   const auto query = TypeParam::prefix("10.0.0.0/7");
   EXPECT_DEATH(this->trie._longestMatch(this->viewOf(query), nullptr), error);
   root->parentWord = word;
}

}  // namespace IntrusiveTrieSearchTest
