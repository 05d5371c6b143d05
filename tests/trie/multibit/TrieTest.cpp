#include "routetrie/trie/multibit/Trie.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "routetrie/platform/Corvid/RangeException.h"
#include "tests/trie/multibit/TrieSupport.h"

namespace TrieTest {

using namespace testing_support;
using testing::ElementsAre;
using testing::StartsWith;
using TrieImpl::TrieNode;

//--- the object ---

using TrieObject = TrieFixture;

TEST_F(TrieObject, newTrieIsEmpty) {
   EXPECT_EQ(1u, trie->uses());
   EXPECT_TRUE(trie->nodeFlag(Corvid::nodeFlagAlive));
   EXPECT_TRUE(trie->empty());
   EXPECT_EQ(0, trie->nodes());
   EXPECT_EQ(0u, trie->routes());
   EXPECT_FALSE(trie->defaultRoutePresent());
   EXPECT_FALSE(trie->isDefaultRoutePresent());
   EXPECT_FALSE(trie->initialized());
   EXPECT_EQ(nullPrefix, trie->changedRoute());
   ASSERT_NE(nullptr, trie->root());
   EXPECT_TRUE(trie->root()->isBare());
   EXPECT_EQ("", trie->audit());
}

TEST_F(TrieObject, isCountedByItsTracker) {
   const std::uint64_t before = Routing::Trie::memAllocationTracker_->liveObjects();
   const auto other = Routing::Trie::TrieIs();
   EXPECT_EQ(before + 1, Routing::Trie::memAllocationTracker_->liveObjects());
   EXPECT_EQ("Routing::Trie", Routing::Trie::memAllocationTracker_->typeName());
}

TEST_F(TrieObject, attributesAreSetWithoutChecks) {
   trie->nodesInc(3);
   trie->nodesInc(-1);
   EXPECT_EQ(2, trie->nodes());
   trie->nodesIs(-5);
   EXPECT_EQ(-5, trie->nodes());
   trie->routesIs(0xffffffff);
   EXPECT_FALSE(trie->empty());
   trie->routesInc(2);
   EXPECT_EQ(1u, trie->routes());
   trie->initializedIs(true);
   EXPECT_TRUE(trie->initialized());
   EXPECT_EQ("I7 nodes: found 0, counted -5", trie->audit());
}

TEST_F(TrieObject, handleInitializedLeavesTheOldTreeAndTheCounts) {
   add({"10.1.1.1/32", "10.0.0.0/8"});
   TrieNode* const old = trie->root();
   trie->handleInitialized();
   EXPECT_NE(old, trie->root());
   EXPECT_TRUE(trie->root()->isBare());
   EXPECT_EQ(2u, trie->routes());
   EXPECT_EQ(5, trie->nodes());
   EXPECT_EQ("0.0.0.0/255", match("10.0.0.0/8"));
   TrieImpl::deleteNode(old);
}

TEST_F(TrieObject, handleDeletionLeavesTheRootDangling) {
   add("10.1.1.1/32");
   const std::uint64_t roots = TrieImpl::TrieNodeRoot::memAllocationTracker_->liveObjects();
   TrieNode* const old = trie->root();
   trie->handleDeletion();
   EXPECT_EQ(old, trie->root());
   EXPECT_EQ(roots - 2, TrieImpl::TrieNodeRoot::memAllocationTracker_->liveObjects());
   EXPECT_EQ(1u, trie->routes());
   trie->handleInitialized();
}

//--- adding ---

using TrieInsertion = TrieFixture;

TEST_F(TrieInsertion, theDefaultRouteIsInNoNodeAndNotCounted) {
   add({"0.0.0.0/0", "0.0.0.0/0"});
   EXPECT_TRUE(trie->isDefaultRoutePresent());
   EXPECT_EQ(0u, trie->routes());
   EXPECT_EQ(0, trie->nodes());
   EXPECT_FALSE(trie->empty());
   EXPECT_TRUE(trie->root()->isBare());
}

TEST_F(TrieInsertion, theFlagIsIgnored) {
   trie->routeIs(p("10.0.0.0/8"), false);
   EXPECT_TRUE(trie->route(p("10.0.0.0/8")));
   EXPECT_EQ(1u, trie->routes());
}

TEST_F(TrieInsertion, aRoutePresentIsNotCountedAgain) {
   add({"10.0.0.0/7", "10.0.0.0/7"});
   EXPECT_EQ(1u, trie->routes());
   EXPECT_EQ(1u, trie->root()->routes());
   EXPECT_TRUE(del("10.0.0.0/7"));
   EXPECT_FALSE(trie->route(p("10.0.0.0/7")));
   EXPECT_EQ(0u, trie->routes());
   EXPECT_TRUE(trie->root()->isBare());
}

TEST_F(TrieInsertion, eachLengthMakesTheNodesOfItsWay) {
   for (U32 length = 1; length <= 32; ++length) {
      const auto fresh = Routing::trieFactory();
      fresh->routeIs(Routing::pfx(0xffffffff, length), true);
      EXPECT_EQ(length <= 8    ? 0
                : length <= 16 ? 1
                : length <= 20 ? 2
                : length <= 24 ? 3
                : length <= 28 ? 4
                               : 5,
                fresh->nodes())
         << length;
      EXPECT_EQ("", fresh->audit());
      EXPECT_EQ(Routing::pfx(0xffffffff, length), fresh->longestMatch(p("255.255.255.255/32")));
      EXPECT_TRUE(fresh->routeDel(Routing::pfx(0xffffffff, length)));
      EXPECT_EQ(0, fresh->nodes());
      EXPECT_TRUE(fresh->empty());
      EXPECT_EQ("", fresh->audit());
   }
}

//--- deleting ---

using TrieDeletion = TrieFixture;

TEST_F(TrieDeletion, aHostRouteComesAndGoesWithFiveNodes) {
   add("10.1.1.1/32");
   EXPECT_EQ(5, trie->nodes());
   EXPECT_TRUE(del("10.1.1.1/32"));
   EXPECT_EQ(0, trie->nodes());
   EXPECT_EQ(0u, trie->routes());
   EXPECT_TRUE(trie->root()->isBare());
}

TEST_F(TrieDeletion, nodesWithARouteStay) {
   add({"10.1.1.1/32", "10.1.0.0/16"});
   EXPECT_EQ(5, trie->nodes());
   EXPECT_TRUE(del("10.1.1.1/32"));
   EXPECT_EQ(1, trie->nodes());
   EXPECT_TRUE(trie->route(p("10.1.0.0/16")));
}

TEST_F(TrieDeletion, nodesWithAnotherChildStay) {
   add({"10.1.1.1/32", "10.1.2.1/32"});
   EXPECT_EQ(7, trie->nodes());
   EXPECT_TRUE(del("10.1.1.1/32"));
   EXPECT_EQ(5, trie->nodes());
}

TEST_F(TrieDeletion, trueTellsThatTheNodeIsThere) {
   EXPECT_TRUE(del("10.0.0.0/8"));  // the root always is
   EXPECT_FALSE(del("10.1.1.0/24"));
   add("10.0.0.0/7");
   EXPECT_TRUE(del("10.0.0.0/8"));
   EXPECT_TRUE(trie->route(p("10.0.0.0/7")));
   EXPECT_EQ(1u, trie->routes());
   add("10.1.0.0/16");
   EXPECT_TRUE(del("10.200.0.0/16"));
   EXPECT_FALSE(del("10.1.1.0/24"));
   EXPECT_FALSE(del("11.1.0.0/16"));
   EXPECT_EQ(2u, trie->routes());
   EXPECT_EQ(1, trie->nodes());
}

TEST_F(TrieDeletion, theDefaultRouteIsAlwaysReached) {
   EXPECT_TRUE(del("0.0.0.0/0"));
   add("0.0.0.0/0");
   EXPECT_TRUE(del("0.0.0.0/0"));
   EXPECT_TRUE(trie->empty());
}

TEST_F(TrieDeletion, aShorterRouteOfTheSameEntriesStays) {
   add({"10.0.0.0/7", "10.0.0.0/8", "11.0.0.0/8"});
   EXPECT_TRUE(del("10.0.0.0/7"));
   EXPECT_EQ("10.0.0.0/8", match("10.9.9.9/32"));
   EXPECT_EQ("11.0.0.0/8", match("11.9.9.9/32"));
   EXPECT_EQ(2u, trie->routes());
}

// Memory that ran out while a route was added leaves such a node.
TEST_F(TrieDeletion, aBareNodeIsReclaimedByADeleteOfAnAbsentRoute) {
   add("10.1.0.0/16");
   trie->root()->child(10)->getChild(1, trie.get());
   EXPECT_EQ("I3 node 10.1.0.0/20: neither a route nor a child", trie->audit());
   EXPECT_TRUE(trie->routeDel(p("10.1.0.0/20")));
   EXPECT_EQ("", trie->audit());
   EXPECT_EQ(1, trie->nodes());
   EXPECT_EQ(1u, trie->routes());
}

// Every order of coming and going, of routes nested across the borders between levels.
TEST_F(TrieDeletion, anyOrderAcrossEachBorder) {
   const std::vector<std::vector<U32>> borders{{7, 8, 9},    {15, 16, 17}, {19, 20, 21},
                                               {23, 24, 25}, {27, 28, 29}, {30, 31, 32}};
   for (const auto& lengths : borders) {
      std::vector<U32> coming = lengths;
      do {
         std::vector<U32> going = lengths;
         do {
            std::vector<U32> there;
            const auto check = [&] {
               ASSERT_EQ("", trie->audit());
               ASSERT_EQ(there.size(), trie->routes());
               for (U32 length = 1; length <= 32; ++length) {
                  const auto query = Routing::pfx(0xababcdef, length);
                  U32 longest = 255;
                  U32 above = 255;
                  bool longer = false;
                  for (U32 other : lengths) {
                     if (std::find(there.begin(), there.end(), other) != there.end()) {
                        longest = other <= length ? other : longest;
                        above = other < length ? other : above;
                        longer = longer || other > length;
                     }
                  }
                  ASSERT_EQ(longest == 255 ? nullPrefix : Routing::pfx(0xababcdef, longest),
                            trie->longestMatch(query));
                  ASSERT_EQ(above == 255 ? nullPrefix : Routing::pfx(0xababcdef, above), trie->findParent(query));
                  ASSERT_EQ(longer, trie->longerRoutePresent(query)) << length;
               }
            };
            for (U32 length : coming) {
               trie->routeIs(Routing::pfx(0xababcdef, length), true);
               there.push_back(length);
               check();
            }
            for (U32 length : going) {
               trie->routeDel(Routing::pfx(0xababcdef, length));
               std::erase(there, length);
               check();
            }
            ASSERT_EQ(0, trie->nodes());
         } while (std::next_permutation(going.begin(), going.end()));
      } while (std::next_permutation(coming.begin(), coming.end()));
   }
}

//--- the null prefix ---

TEST_F(TrieInsertion, theNullPrefixIsTakenForLength31) {
   trie->routeIs(nullPrefix, true);
   EXPECT_EQ(1u, trie->routes());
   EXPECT_EQ(5, trie->nodes());
   EXPECT_EQ("", trie->audit());
   EXPECT_EQ("0.0.0.0/31", match("0.0.0.0/31"));
   EXPECT_EQ("0.0.0.0/31", match("0.0.0.1/32"));
   EXPECT_TRUE(trie->routeDel(nullPrefix));
   EXPECT_EQ(0, trie->nodes());
   EXPECT_EQ("", trie->audit());
   EXPECT_FALSE(trie->routeDel(nullPrefix));
}

//--- announcements ---

class TrieAnnouncement : public TrieFixture {
  public:
   std::vector<std::string> told;
   Corvid::Subscription watch = trie->publisher()->subscribe([this](const Corvid::Change& change) {
      EXPECT_EQ(133, change.id);
      EXPECT_EQ(nullptr, change.key);
      EXPECT_EQ(nullptr, change.equal);
      const auto& old = *static_cast<const Corenet::Prefix*>(change.oldValue);
      told.push_back(fmt::format("{} was {}", trie->changedRoute().stringValue().view(), old.stringValue().view()));
   });

   std::vector<std::string> toldNow() { return std::exchange(told, {}); }
};

TEST_F(TrieAnnouncement, everyChangeIsToldOnceAlsoIfItChangesNothing) {
   const auto once = ElementsAre("10.0.0.0/8 was 0.0.0.0/255");
   add("10.0.0.0/8");
   EXPECT_THAT(toldNow(), once);
   add("10.0.0.0/8");
   EXPECT_THAT(toldNow(), once);
   del("10.0.0.0/8");
   EXPECT_THAT(toldNow(), once);
   del("10.0.0.0/8");
   EXPECT_THAT(toldNow(), once);
   EXPECT_FALSE(del("10.1.1.0/24"));
   EXPECT_THAT(toldNow(), ElementsAre("10.1.1.0/24 was 0.0.0.0/255"));
   add("0.0.0.0/0");
   EXPECT_THAT(toldNow(), ElementsAre("0.0.0.0/0 was 0.0.0.0/255"));
   del("0.0.0.0/0");
   EXPECT_THAT(toldNow(), ElementsAre("0.0.0.0/0 was 0.0.0.0/255"));
   EXPECT_EQ(nullPrefix, trie->changedRoute());
}

TEST_F(TrieAnnouncement, theRouteIsThereWhenItIsTold) {
   bool present = false;
   const auto other =
      trie->publisher()->subscribe([&](const Corvid::Change&) { present = trie->route(trie->changedRoute()); });
   add("10.1.0.0/16");
   EXPECT_TRUE(present);
   del("10.1.0.0/16");
   EXPECT_FALSE(present);
}

TEST_F(TrieAnnouncement, theNullPrefixIsNotTold) {
   trie->routeIs(nullPrefix, true);
   trie->notifyChangedRoute(nullPrefix);
   trie->changedRouteIs(nullPrefix);
   EXPECT_THAT(toldNow(), ElementsAre());
}

TEST_F(TrieAnnouncement, notifyPutsTheNullPrefixBack) {
   trie->notifyChangedRoute(p("10.0.0.0/8"));
   EXPECT_THAT(toldNow(), ElementsAre("10.0.0.0/8 was 0.0.0.0/255"));
   EXPECT_EQ(nullPrefix, trie->changedRoute());
   EXPECT_TRUE(trie->empty());
}

TEST_F(TrieAnnouncement, theSetterKeepsWhatItIsGiven) {
   trie->changedRouteIs(p("10.0.0.0/8"));
   EXPECT_THAT(toldNow(), ElementsAre("10.0.0.0/8 was 0.0.0.0/255"));
   trie->changedRouteIs(p("10.0.0.0/8"));
   EXPECT_THAT(toldNow(), ElementsAre());
   EXPECT_EQ(p("10.0.0.0/8"), trie->changedRoute());
   add("10.0.0.0/8");  // the attribute has that value already
   EXPECT_THAT(toldNow(), ElementsAre());
   EXPECT_EQ(nullPrefix, trie->changedRoute());
   trie->changedRouteIs(p("11.0.0.0/8"));
   add("10.0.0.0/8");
   EXPECT_THAT(toldNow(), ElementsAre("11.0.0.0/8 was 0.0.0.0/255", "10.0.0.0/8 was 11.0.0.0/8"));
}

TEST_F(TrieAnnouncement, whatAWatcherRaisesPassesOut) {
   const auto other =
      trie->publisher()->subscribe([](const Corvid::Change&) { throw std::runtime_error("watcher"); });
   EXPECT_THROW(trie->routeIs(p("10.0.0.0/8"), true), std::runtime_error);
   EXPECT_TRUE(trie->route(p("10.0.0.0/8")));
   EXPECT_EQ(nullPrefix, trie->changedRoute());
   EXPECT_THROW(trie->routeDel(p("10.0.0.0/8")), std::runtime_error);
   EXPECT_TRUE(trie->empty());
   EXPECT_THROW(trie->notifyChangedRoute(p("10.0.0.0/8")), std::runtime_error);
   EXPECT_EQ(nullPrefix, trie->changedRoute());
   EXPECT_EQ(1u, trie->uses());
}

TEST_F(TrieAnnouncement, aWatcherMayDropTheLastReference) {
   const std::uint64_t live = Routing::Trie::memAllocationTracker_->liveObjects();
   const auto other = trie->publisher()->subscribe([&](const Corvid::Change&) { trie = nullptr; });
   trie->routeIs(p("10.1.1.1/32"), true);
   EXPECT_EQ(nullptr, trie);
   EXPECT_EQ(live - 1, Routing::Trie::memAllocationTracker_->liveObjects());
}

TEST_F(TrieAnnouncement, aWatcherMayChangeTheTrie) {
   bool done = false;
   const auto other = trie->publisher()->subscribe([&](const Corvid::Change&) {
      if (!std::exchange(done, true)) {
         trie->routeIs(p("11.0.0.0/8"), true);
      }
   });
   add("10.0.0.0/8");
   EXPECT_THAT(toldNow(), ElementsAre("10.0.0.0/8 was 0.0.0.0/255", "11.0.0.0/8 was 10.0.0.0/8"));
   EXPECT_EQ(nullPrefix, trie->changedRoute());
   EXPECT_EQ(2u, trie->routes());
}

#ifdef ROUTETRIE_FAULT_INJECTION
// The nodes of levels 2 to 5 are from the slab.
TEST_F(TrieAnnouncement, memoryThatRunsOutIsAnnouncedAndLeavesTheNodesMade) {
   for (std::uint64_t n = 1; n <= 4; ++n) {
      CoreSlab::failAt(n);
      EXPECT_THROW(trie->routeIs(p("10.1.1.1/32"), true), std::bad_alloc);
      CoreSlab::failAt(0);
      EXPECT_THAT(toldNow(), ElementsAre("10.1.1.1/32 was 0.0.0.0/255"));
      EXPECT_EQ(static_cast<int>(n), trie->nodes());
      EXPECT_EQ(0u, trie->routes());
      EXPECT_FALSE(trie->route(p("10.1.1.1/32")));
      EXPECT_EQ("", trie->audit()) << "they are no fault";
      EXPECT_FALSE(trie->routeDel(p("10.1.1.1/32")));
      EXPECT_EQ(1U, toldNow().size());
      EXPECT_EQ(static_cast<int>(n), trie->nodes());
      // Whatever fills the place later takes them with it when it goes.
      trie->routeIs(p("10.1.1.1/32"), true);
      EXPECT_EQ("", trie->audit());
      EXPECT_TRUE(trie->routeDel(p("10.1.1.1/32")));
      EXPECT_EQ(0, trie->nodes());
      EXPECT_EQ("", trie->audit());
      toldNow();
      trie = Routing::trieFactory();
      watch = trie->publisher()->subscribe([this](const Corvid::Change& change) {
         const auto& old = *static_cast<const Corenet::Prefix*>(change.oldValue);
         told.push_back(
            fmt::format("{} was {}", trie->changedRoute().stringValue().view(), old.stringValue().view()));
      });
   }
}

// Only an addition that ran out of memory may leave them.
TEST_F(TrieAnnouncement, bareNodesOfAnyOtherOriginAreAFault) {
   trie->root()->getChild(10, trie.get());
   EXPECT_EQ("I3 node 10.0.0.0/16: neither a route nor a child", trie->audit());
   CoreSlab::failAt(1);
   EXPECT_THROW(trie->routeIs(p("11.1.1.1/32"), true), std::bad_alloc);
   CoreSlab::failAt(0);
   EXPECT_EQ("", trie->audit()) << "from then on nobody can tell them apart";
}

TEST(TrieMemory, aTrieThatCantBeMadeLeavesNothing) {
   const auto first = Routing::trieFactory();
   const std::uint64_t live = Routing::Trie::memAllocationTracker_->liveObjects();
   CoreSlab::failAt(1);
   EXPECT_THROW(Routing::trieFactory(), std::bad_alloc);
   CoreSlab::failAt(0);
   EXPECT_EQ(live, Routing::Trie::memAllocationTracker_->liveObjects());
}
#endif

//--- the audit finds what is broken ---

class TrieAudit : public TrieFixture {
  public:
   void SetUp() override { add({"10.0.0.0/8", "10.1.0.0/16", "10.1.64.0/18", "10.1.1.1/32", "11.1.0.0/16"}); }
};

TEST_F(TrieAudit, counts) {
   trie->nodesInc(1);
   EXPECT_EQ("I7 nodes: found 6, counted 7", trie->audit());
   trie->nodesInc(-1);
   trie->routesInc(1);
   EXPECT_EQ("I6 routes: found 5, counted 6", trie->audit());
   trie->routesInc(~U32{0});
   TrieNode* const root = trie->root();
   trie->rootIs(nullptr);
   EXPECT_EQ("I7 the root is null", trie->audit());
   trie->rootIs(root);
   root->routesInc(1);
   EXPECT_EQ("I5 node 0.0.0.0/8: found 1 routes, counted 2", trie->audit());
   root->routesInc(-1);
   EXPECT_EQ("", trie->audit());
}

TEST_F(TrieAudit, places) {
   TrieNode* node = nodeFor("10.1.0.0/20");
   const U32 header = node->level() << 17 | node->key() | node->routes() << 8 | node->children() << 23;
   node->placeIs(2, 7);
   node->routesInc(1);
   node->childrenInc(1);
   EXPECT_EQ("I1 node 10.1.0.0/20: key 7, expected 1", trie->audit());
   node->placeIs(3, 1);
   EXPECT_EQ("I2 node 10.1.0.0/20: level 3, expected 2", trie->audit());
   node->placeIs(2, 1);
   node->routesInc(1);
   node->childrenInc(1);
   EXPECT_EQ(header, node->level() << 17 | node->key() | node->routes() << 8 | node->children() << 23);
   EXPECT_EQ("", trie->audit());
}

TEST_F(TrieAudit, children) {
   TrieNode* const root = trie->root();
   std::swap(root->childKey_[0], root->childKey_[1]);
   EXPECT_THAT(trie->audit(), StartsWith("I1 node 11.0.0.0/16: key 10, expected 11"));
   std::swap(root->childKey_[0], root->childKey_[1]);
   const U8 key = std::exchange(root->childKey_[1], root->childKey_[0]);
   EXPECT_EQ("I5 node 0.0.0.0/8: the child key 10 is out of range or there twice", trie->audit());
   root->childKey_[1] = key;
   add({"12.1.0.0/16", "13.1.0.0/16"});
   TrieNode* const lost = std::exchange(root->u_.indirect_[13], nullptr);
   EXPECT_EQ("I5 node 0.0.0.0/8: found 3 children, counted 4", trie->audit());
   root->u_.indirect_[13] = lost;
   nodeFor("10.1.1.1/32")->childrenInc(1);
   EXPECT_EQ("I5 node 10.1.1.0/32: a leaf with 1 children", trie->audit());
   nodeFor("10.1.1.1/32")->childrenInc(-1);
   EXPECT_EQ("", trie->audit());
}

TEST_F(TrieAudit, routeBits) {
   TrieNode* const node = nodeFor("10.1.64.0/18");
   node->routeByte(6) = 0;  // the /18 stands at 4 to 7
   EXPECT_EQ("I4 node 10.1.0.0/20: the route of length 18 at entry 4 is in 3 of 4 entries", trie->audit());
   node->routeByte(6) = 4;
   node->routeByte(9) = 16;
   EXPECT_EQ("I4 node 10.1.0.0/20: entry 9 has bits of no length", trie->audit());
   node->routeByte(9) = 0;
   EXPECT_EQ("", trie->audit());
}

}  // namespace TrieTest
