#include "routetrie/trie/multibit/TrieNode.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cstdint>
#include <vector>

#include "tests/trie/multibit/TrieSupport.h"

namespace TrieNodeTest {

using namespace testing_support;
using namespace TrieImpl;
using testing::ElementsAre;

std::uint64_t liveOf(const Tesk::AllocTrackTypeInfo* tracker) {
   return tracker == nullptr ? 0 : tracker->liveObjects();
}

class TrieNodeTest : public TrieFixture {
  public:
   // A new node of a level, destroyed with the test.
   TrieNode* make(U32 level, U32 key = 0) { return made.emplace_back(newNode(level, key)); }

   ~TrieNodeTest() override {
      for (TrieNode* node : made) {
         deleteNode(node);
      }
   }

   std::vector<TrieNode*> made;
};

std::vector<U32> directKeys(const TrieNode& node) {
   EXPECT_FALSE(node.isIndirect());
   return {node.childKey_, node.childKey_ + node.children()};
}

//--- layout ---

TEST_F(TrieNodeTest, newNodesAreBare) {
   for (U32 level = 0; level <= leafLevel; ++level) {
      const TrieNode* node = make(level, 9);
      EXPECT_EQ(level, node->level());
      EXPECT_EQ(9u, node->key());
      EXPECT_EQ(0u, node->routes());
      EXPECT_EQ(0u, node->children());
      EXPECT_TRUE(node->isBare());
      EXPECT_FALSE(node->isIndirect());
      EXPECT_EQ(level == 5, node->isLeaf());
      for (U32 entry = 0; entry < levelEntries[level]; ++entry) {
         EXPECT_EQ(0, node->routeByte(entry));
      }
   }
}

TEST_F(TrieNodeTest, headerFieldsStandApart) {
   TrieNode* node = make(5, 255);
   node->routesInc(510);
   node->childrenInc(256);
   EXPECT_EQ(255u, node->key());
   EXPECT_EQ(510u, node->routes());
   EXPECT_EQ(5u, node->level());
   EXPECT_EQ(256u, node->children());
   node->routesInc(-510);
   EXPECT_EQ(0u, node->routes());
   EXPECT_FALSE(node->isBare());
   node->childrenInc(-256);
   EXPECT_TRUE(node->isBare());
   node->routesInc(1);
   EXPECT_FALSE(node->isBare());
   node->routesInc(-1);
}

TEST_F(TrieNodeTest, theFormIsTheNumberOfChildrenAlone) {
   for (U32 level = 0; level <= leafLevel; ++level) {
      for (U32 routes : {0u, 256u, 510u}) {
         TrieNode* node = make(level, 255);
         node->routesInc(static_cast<int>(routes));
         for (U32 children = 0; children <= 256; ++children) {
            EXPECT_EQ(children >= 4, node->isIndirect()) << children;
            node->childrenInc(1);
         }
         node->childrenInc(-257);
      }
   }
}

TEST_F(TrieNodeTest, routeBytesStandWhereTheClassHasThem) {
   TrieNode* leaf = make(5);
   leaf->routeByte(3) = 7;
   EXPECT_EQ(7, reinterpret_cast<TrieNodeLeaf*>(leaf)->routeBits_[3]);
   TrieNode* internal = make(3);
   internal->routeByte(15) = 5;
   EXPECT_EQ(5, static_cast<TrieNodeInternal*>(internal)->routeBits_[15]);
   for (U32 level : {0u, 1u}) {
      TrieNode* root = make(level);
      root->routeByte(255) = 128;
      EXPECT_EQ(128, static_cast<TrieNodeRoot*>(root)->routeBits_[255]);
   }
}

TEST_F(TrieNodeTest, aLeafHasNoChildren) {
   const TrieNode* leaf = make(5);
   for (U32 key = 0; key < 600; ++key) {
      EXPECT_EQ(nullptr, leaf->child(key));
   }
}

//--- children ---

TEST_F(TrieNodeTest, threeChildrenStandInTheNodeAndFourInAnArray) {
   for (U32 level = 0; level < leafLevel; ++level) {
      TrieNode* node = make(level);
      std::vector<TrieNode*> children;
      for (U32 key : {9u, 2u, 14u}) {
         children.push_back(node->getChild(key, trie.get()));
      }
      EXPECT_THAT(directKeys(*node), ElementsAre(9, 2, 14));
      EXPECT_THAT(std::vector(node->u_.direct_, node->u_.direct_ + 3), testing::ElementsAreArray(children));
      EXPECT_EQ(nullptr, node->child(0));
      EXPECT_EQ(nullptr, node->child(9 + 256));

      children.push_back(node->getChild(0, trie.get()));
      EXPECT_TRUE(node->isIndirect());
      EXPECT_EQ(4u, node->children());
      for (const TrieNode* child : children) {
         EXPECT_EQ(child, node->child(child->key()));
         EXPECT_EQ(level + 1, child->level());
      }
      EXPECT_EQ(nullptr, node->child(1));
   }
}

TEST_F(TrieNodeTest, getChildGivesTheChildThatIsThere) {
   TrieNode* node = make(2);
   for (U32 key = 0; key < 16; ++key) {
      TrieNode* child = node->getChild(key, trie.get());
      EXPECT_EQ(static_cast<int>(key) + 1, trie->nodes());
      EXPECT_EQ(child, node->getChild(key, trie.get()));
      EXPECT_EQ(static_cast<int>(key) + 1, trie->nodes());
   }
}

TEST_F(TrieNodeTest, removingOneOfFourBringsTheOthersBackInOrder) {
   for (U32 level = 0; level < leafLevel; ++level) {
      for (const U32 gone : {12u, 3u, 7u, 15u}) {
         TrieNode* node = make(level);
         for (U32 key : {12u, 3u, 7u, 15u}) {
            node->getChild(key, trie.get());
         }
         std::vector<U32> left{3, 7, 12, 15};
         std::erase(left, gone);
         std::vector<TrieNode*> children;
         for (U32 key : left) {
            children.push_back(node->child(key));
         }
         node->deleteChild(node->child(gone));
         EXPECT_EQ(left, directKeys(*node));
         EXPECT_THAT(std::vector(node->u_.direct_, node->u_.direct_ + 3), testing::ElementsAreArray(children));
         EXPECT_EQ(nullptr, node->child(gone));
      }
   }
}

TEST_F(TrieNodeTest, theLastSlotFillsTheHole) {
   const auto keysAfter = [&](std::vector<U32> keys, U32 gone) {
      TrieNode* node = make(3);
      for (U32 key : keys) {
         node->getChild(key, trie.get());
      }
      node->deleteChild(node->child(gone));
      for (U32 key : directKeys(*node)) {
         EXPECT_EQ(key, node->child(key)->key());
      }
      return directKeys(*node);
   };
   EXPECT_THAT(keysAfter({5, 1, 9}, 5), ElementsAre(9, 1));
   EXPECT_THAT(keysAfter({5, 1, 9}, 1), ElementsAre(5, 9));
   EXPECT_THAT(keysAfter({5, 1, 9}, 9), ElementsAre(5, 1));
   EXPECT_THAT(keysAfter({5, 1}, 5), ElementsAre(1));
   EXPECT_THAT(keysAfter({5, 1}, 1), ElementsAre(5));
   EXPECT_THAT(keysAfter({5}, 5), ElementsAre());
}

TEST_F(TrieNodeTest, all256ChildrenFit) {
   for (U32 level : {0u, 1u}) {
      TrieNode* node = make(level, 200);
      for (U32 key = 0; key < 256; ++key) {
         node->getChild(key, trie.get());
      }
      EXPECT_EQ(256u, node->children());
      EXPECT_EQ(level, node->level());
      EXPECT_EQ(200u, node->key());
      for (U32 key = 0; key < 256; ++key) {
         EXPECT_EQ(key, node->child(key)->key());
      }
      node->audit();
   }
}

TEST_F(TrieNodeTest, eachClassIsCountedByItsTracker) {
   const std::uint64_t roots = liveOf(TrieNodeRoot::memAllocationTracker_);
   const std::uint64_t internals = liveOf(TrieNodeInternal::memAllocationTracker_);
   const std::uint64_t leaves = liveOf(TrieNodeLeaf::memAllocationTracker_);
   trie->routeIs(p("10.1.1.1/32"), true);
   EXPECT_EQ(roots + 1, liveOf(TrieNodeRoot::memAllocationTracker_));
   EXPECT_EQ(internals + 3, liveOf(TrieNodeInternal::memAllocationTracker_));
   EXPECT_EQ(leaves + 1, liveOf(TrieNodeLeaf::memAllocationTracker_));
   trie->routeDel(p("10.1.1.1/32"));
   EXPECT_EQ(roots, liveOf(TrieNodeRoot::memAllocationTracker_));
   EXPECT_EQ(internals, liveOf(TrieNodeInternal::memAllocationTracker_));
   EXPECT_EQ(leaves, liveOf(TrieNodeLeaf::memAllocationTracker_));

   EXPECT_EQ("TrieImpl::TrieNodeRoot", TrieNodeRoot::memAllocationTracker_->typeName());
   EXPECT_EQ(288u, TrieNodeRoot::memAllocationTracker_->objectSize());
   EXPECT_EQ(16u, TrieNodeRoot::memAllocationTracker_->alignment());
   EXPECT_EQ(48u, TrieNodeInternal::memAllocationTracker_->objectSize());
   EXPECT_EQ(0u, TrieNodeInternal::memAllocationTracker_->alignment());
   EXPECT_EQ(20u, TrieNodeLeaf::memAllocationTracker_->objectSize());
   EXPECT_EQ(nullptr, TrieNode::memAllocationTracker_);
}

TEST_F(TrieNodeTest, aSubtreeGoesWhole) {
   const std::uint64_t roots = liveOf(TrieNodeRoot::memAllocationTracker_);
   const std::uint64_t internals = liveOf(TrieNodeInternal::memAllocationTracker_);
   const std::uint64_t leaves = liveOf(TrieNodeLeaf::memAllocationTracker_);
   TrieNode* node = newNode(0, 0);
   for (U32 i = 0; i < 7; ++i) {
      TrieNode* below = node;
      while (below->level() < leafLevel) {
         below = below->getChild((i * 5 + below->level() * i) % 16, trie.get());
      }
   }
   EXPECT_LT(leaves + 3, liveOf(TrieNodeLeaf::memAllocationTracker_));
   deleteNode(node);
   EXPECT_EQ(roots, liveOf(TrieNodeRoot::memAllocationTracker_));
   EXPECT_EQ(internals, liveOf(TrieNodeInternal::memAllocationTracker_));
   EXPECT_EQ(leaves, liveOf(TrieNodeLeaf::memAllocationTracker_));
   deleteNode(nullptr);
}

//--- route bytes ---

TEST_F(TrieNodeTest, aRouteStandsInEachEntryThatItCovers) {
   add("10.0.0.0/7");
   for (U32 entry = 0; entry < 256; ++entry) {
      EXPECT_EQ(entry == 10 || entry == 11 ? 2 : 0, trie->root()->routeByte(entry)) << entry;
   }
   add("16.0.0.0/4");
   for (U32 entry = 12; entry < 256; ++entry) {
      EXPECT_EQ(entry >= 16 && entry < 32 ? 16 : 0, trie->root()->routeByte(entry)) << entry;
   }
   add("192.168.1.0/24");
   const TrieNode* node = nodeFor("192.168.1.0/24");
   EXPECT_EQ(3u, node->level());
   for (U32 entry = 0; entry < 16; ++entry) {
      EXPECT_EQ(entry == 1 ? 1 : 0, node->routeByte(entry)) << entry;
   }
}

TEST_F(TrieNodeTest, nestedRoutesShareAByte) {
   add({"10.0.0.0/8", "10.0.0.0/7"});
   EXPECT_EQ(3, trie->root()->routeByte(10));
   EXPECT_EQ(2, trie->root()->routeByte(11));
   EXPECT_EQ(2u, trie->root()->routes());
}

TEST_F(TrieNodeTest, drawing) {
   add({"10.0.0.0/7", "10.0.0.0/8", "11.128.0.0/9"});
   EXPECT_EQ(
      "level 0 key 0\n"
      "10-10: 00000011\n"
      "11-11: 00000010\n"
      "  level 1 key 11\n"
      "  128-255: 10000000\n",
      drawing());
}

TEST_F(TrieNodeTest, aNodeOfEightBitsHolds510Routes) {
   for (const U32 base : {0u, 10u << 24}) {
      const U32 above = base == 0 ? 0 : 8;
      for (U32 length = 1; length <= 8; ++length) {
         for (U32 i = 0; i < 1u << length; ++i) {
            trie->routeIs(Routing::pfx(base | i << (32 - above - length), above + length), true);
         }
      }
      const TrieNode* node = base == 0 ? trie->root() : trie->root()->child(10);
      EXPECT_EQ(510u, node->routes());
      EXPECT_EQ(above == 0 ? 0u : 1u, node->level());
      EXPECT_EQ(base == 0 ? 0u : 1u, node->children() + node->level());
      for (U32 entry = 0; entry < 256; ++entry) {
         EXPECT_EQ(255, node->routeByte(entry));
      }
   }
   EXPECT_EQ(1020u, trie->routes());
   EXPECT_EQ("", trie->audit());
}

//--- parent ---

TEST_F(TrieNodeTest, parentIsFoundFromTheRoot) {
   add("10.1.1.1/32");
   const auto prefix = p("10.1.1.1/32");
   TrieNode* node = nodeFor("10.1.1.1/32");
   for (U32 level = leafLevel; level > 0; --level) {
      EXPECT_EQ(level, node->level());
      TrieNode* parent = node->parent(prefix, trie->root());
      EXPECT_EQ(node, parent->child(node->key()));
      node = parent;
   }
   EXPECT_EQ(trie->root(), node);
   EXPECT_EQ(nullptr, node->parent(prefix, trie->root()));
}

//--- what must not be ---

using TrieNodeDeathTest = TrieNodeTest;

TEST_F(TrieNodeDeathTest, aLeafGetsNoChild) { EXPECT_DEATH(make(5)->getChild(0, trie.get()), "level_ < 5' failed"); }

TEST_F(TrieNodeDeathTest, noMoreThan256Children) {
   TrieNode* node = make(1);
   for (U32 key = 0; key < 256; ++key) {
      node->getChild(key, trie.get());
   }
   node->childrenInc(1);
   TrieNode* lost = std::exchange(node->u_.indirect_[7], nullptr);
   EXPECT_DEATH(node->getChild(7, trie.get()), "children_ <= 256' failed");
   node->u_.indirect_[7] = lost;
   node->childrenInc(-1);
}

TEST_F(TrieNodeDeathTest, aRouteBitIsOneOfAByte) {
   EXPECT_DEATH(trie->root()->doSetRouteBits(0, 0, trie.get()), "len && len <= 128' failed");
   EXPECT_DEATH(trie->root()->doSetRouteBits(0, 129, trie.get()), "len && len <= 128' failed");
   trie->root()->doSetRouteBits(0, 128, trie.get());
   EXPECT_EQ("", trie->audit());
}

TEST_F(TrieNodeDeathTest, parentNeedsTheWayDown) {
   TrieNode* orphan = make(3);
   EXPECT_DEATH(
      orphan->parent(p("10.1.0.0/16"), trie->root()),
      "TrieImpl::TrieNode ?\\* ?TrieImpl::TrieNode::parent\\(const Corenet::Prefix ?&, TrieImpl::TrieNode ?\\*\\): "
      "Assertion `node' failed");
}

TEST_F(TrieNodeDeathTest, auditFindsPointersThatCantBe) {
   const std::string text =
      "void TrieImpl::TrieNode::audit\\(\\): Assertion `u_.indirect_\\[ i \\] == 0 \\|\\| \\( \\( uintptr_t "
      "\\)u_.indirect_\\[ i \\] \\) > 0x4096' failed";
   for (U32 level : {0u, 1u}) {
      TrieNode* node = make(level);
      for (U32 key = 0; key < 4; ++key) {
         node->getChild(key, trie.get());
      }
      node->audit();
      const auto slotIs = [&](std::uintptr_t value) { node->u_.indirect_[255] = reinterpret_cast<TrieNode*>(value); };
      slotIs(1);
      EXPECT_DEATH(node->audit(), text);
      slotIs(0x4096);  // not 4096
      EXPECT_DEATH(node->audit(), text);
      slotIs(0x4097);
      node->audit();
      slotIs(0);
   }
}

TEST_F(TrieNodeTest, auditLooksAtTheLargeArraysAlone) {
   TrieNode* internal = make(2);
   for (U32 key = 0; key < 4; ++key) {
      internal->getChild(key, trie.get());
   }
   internal->u_.indirect_[15] = reinterpret_cast<TrieNode*>(std::uintptr_t{1});
   internal->audit();
   internal->u_.indirect_[15] = nullptr;

   TrieNode* direct = make(1);
   direct->getChild(4, trie.get());
   direct->audit();
}

}  // namespace TrieNodeTest
