#include "routetrie/trie/patricia/PatriciaTrie.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/trie/patricia/PatriciaKinds.h"

namespace PatriciaTrieTest {

using namespace testing_support;
using testing::HasSubstr;

// Each round leaves a white leaf and the branch over it: a leaf's key outlives the route that lengthened it, a branch takes
// its last route over, and then that goes, too.
TEST(PatriciaTrie, whiteLeavesPileUp) {
   const auto trie = Routing::patriciaTrieFactory(Corenet::ipv4(), false);
   constexpr U32 rounds = 1000;
   for (U32 round = 0; round < rounds; ++round) {
      const auto route = [&](U32 beneath, U32 length) {
         return IpGenPrefix(Corenet::Prefix(Corenet::IpAddr(round << 12 | beneath), length));
      };
      trie->updateRoute(route(0, 20), nullptr);
      trie->updateRoute(route(0, 28), nullptr);
      trie->deleteRoute(route(0, 28), nullptr, nullptr);
      trie->updateRoute(route(0x800, 22), nullptr);
      trie->deleteRoute(route(0, 20), nullptr, nullptr);
      trie->deleteRoute(route(0x800, 22), nullptr, nullptr);
   }
   EXPECT_EQ(0U, trie->routes());
   EXPECT_EQ(2 * int{rounds} - 1, trie->nodes());
   EXPECT_EQ("", trie->audit());
   trie->handleDeletion();
   EXPECT_EQ(0, trie->nodes());
}

//--- insertion ---

template <class Kind>
class PatriciaTrieInsertion : public PatriciaFixture<Kind> {};
TYPED_TEST_SUITE(PatriciaTrieInsertion, PatriciaKinds);

TYPED_TEST(PatriciaTrieInsertion, newTrieIsEmpty) {
   EXPECT_EQ(1u, this->trie->uses());
   EXPECT_TRUE(this->trie->empty());
   EXPECT_EQ(nullptr, this->trie->root());
   EXPECT_EQ(0, this->trie->nodes());
   EXPECT_EQ(0u, this->trie->routes());
   EXPECT_EQ(0u, this->trie->iterators());
   EXPECT_FALSE(this->trie->nodeDataEnabled());
   EXPECT_FALSE(this->trie->initialized());
   EXPECT_FALSE(this->trie->defaultRoutePresent());
   EXPECT_FALSE(this->trie->defaultRouteNodeData());
}

TYPED_TEST(PatriciaTrieInsertion, defaultRouteIsInNoNode) {
   this->add("0.0.0.0/0");
   this->add("0.0.0.0/0");
   EXPECT_EQ(1u, this->trie->routes());
   EXPECT_EQ(0, this->trie->nodes());
   EXPECT_TRUE(this->trie->defaultRoutePresent());
   EXPECT_TRUE(this->trie->isDefaultRoutePresent());
   EXPECT_FALSE(this->trie->empty());
}

TYPED_TEST(PatriciaTrieInsertion, firstRouteIsOneLeaf) {
   this->add("10.0.0.0/8");
   EXPECT_EQ("10.0.0.0/8 {8}\n", this->drawing());
   EXPECT_EQ(1, this->trie->nodes());
   EXPECT_EQ(1u, this->trie->routes());
   EXPECT_TRUE(this->trie->root()->isLeaf());
}

TYPED_TEST(PatriciaTrieInsertion, nestedRoutesShareOneNodeInEitherOrder) {
   for (const auto* order : {"up", "down"}) {
      this->trie = TypeParam::newTrie();
      std::vector<std::string> routes{"10.0.0.0/8", "10.1.0.0/16", "10.1.2.0/24"};
      if (std::string_view(order) == "down") {
         std::reverse(routes.begin(), routes.end());
      }
      for (const auto& route : routes) {
         this->add(route);
         EXPECT_EQ(1, this->trie->nodes());
      }
      EXPECT_EQ("10.1.2.0/24 {8 16 24}\n", this->drawing()) << order;
      EXPECT_EQ(3u, this->trie->routes());
   }
}

TYPED_TEST(PatriciaTrieInsertion, partingKeysMakeAWhiteBranch) {
   this->add("10.0.0.0/8");
   this->add("11.0.0.0/8");
   EXPECT_EQ("10.0.0.0/7 {}\n  10.0.0.0/8 {8}\n  11.0.0.0/8 {8}\n", this->drawing());
   EXPECT_EQ(3, this->trie->nodes());
   EXPECT_EQ(2u, this->trie->routes());
}

TYPED_TEST(PatriciaTrieInsertion, branchAtTheFirstBitHasAnEmptyKey) {
   this->add("0.0.0.0/1");
   this->add("128.0.0.0/1");
   EXPECT_EQ("0.0.0.0/0 {}\n  0.0.0.0/1 {1}\n  128.0.0.0/1 {1}\n", this->drawing());
}

TYPED_TEST(PatriciaTrieInsertion, presentRouteChangesNothing) {
   this->add("10.0.0.0/8");
   this->add("11.0.0.0/8");
   const std::string before = this->drawing();
   this->add("10.0.0.0/8");
   EXPECT_EQ(before, this->drawing());
   EXPECT_EQ(3, this->trie->nodes());
   EXPECT_EQ(2u, this->trie->routes());
}

TYPED_TEST(PatriciaTrieInsertion, splitSharesBlackLengthsOut) {
   this->add("10.1.2.0/24");
   this->add("10.0.0.0/8");
   this->add("10.1.128.0/24");  // parts from the key at bit 16
   EXPECT_EQ("10.1.0.0/16 {8}\n  10.1.2.0/24 {24}\n  10.1.128.0/24 {24}\n", this->drawing());
}

TYPED_TEST(PatriciaTrieInsertion, splitAtTheRoutesOwnLengthLeavesAWhiteLeaf) {
   this->add("10.0.0.0/8");
   this->add("10.1.2.0/24");
   EXPECT_TRUE(this->del("10.1.2.0/24"));
   this->add("10.200.0.0/16");
   EXPECT_EQ("10.0.0.0/8 {8}\n  10.1.2.0/24 {}\n  10.200.0.0/16 {16}\n", this->drawing());
   EXPECT_EQ(3, this->trie->nodes());
   EXPECT_EQ(2u, this->trie->routes());
}

TYPED_TEST(PatriciaTrieInsertion, whiteLeafStaysAsTheRootOfAnEmptyTrie) {
   this->add("10.0.0.0/8");
   this->add("10.1.2.0/24");
   this->del("10.1.2.0/24");
   this->add("10.200.0.0/16");
   EXPECT_TRUE(this->del("10.0.0.0/8"));
   EXPECT_TRUE(this->del("10.200.0.0/16"));
   EXPECT_EQ("10.1.2.0/24 {}\n", this->drawing());
   EXPECT_EQ(1, this->trie->nodes());
   EXPECT_EQ(0u, this->trie->routes());
   EXPECT_TRUE(this->trie->empty());
   EXPECT_NE(nullptr, this->trie->root());
}

TYPED_TEST(PatriciaTrieInsertion, otherOrderOfDeletionFreesEveryNode) {
   this->add("10.0.0.0/8");
   this->add("10.1.2.0/24");
   this->del("10.1.2.0/24");
   this->add("10.200.0.0/16");
   EXPECT_TRUE(this->del("10.200.0.0/16"));
   EXPECT_TRUE(this->del("10.0.0.0/8"));
   EXPECT_EQ(0, this->trie->nodes());
   EXPECT_EQ(nullptr, this->trie->root());
}

TYPED_TEST(PatriciaTrieInsertion, routeLandsOnAWhiteLeafAgain) {
   this->add("10.0.0.0/8");
   this->add("10.1.2.0/24");
   this->del("10.1.2.0/24");
   this->add("10.200.0.0/16");
   this->add("10.1.2.0/24");
   EXPECT_EQ(3, this->trie->nodes());
   EXPECT_TRUE(this->del("10.1.2.0/24"));
   EXPECT_EQ("10.200.0.0/16 {8 16}\n", this->drawing());
}

TYPED_TEST(PatriciaTrieInsertion, wholeWhiteSubtreesStand) {
   this->add("10.0.0.0/8");
   this->add("10.64.1.0/24");
   this->del("10.64.1.0/24");
   this->add("10.128.1.0/24");
   this->add("10.128.0.0/16");
   this->del("10.128.1.0/24");
   this->add("10.128.128.0/24");
   this->del("10.128.0.0/16");
   this->del("10.128.128.0/24");
   EXPECT_EQ("10.0.0.0/8 {8}\n  10.64.1.0/24 {}\n  10.128.1.0/24 {}\n", this->drawing());
   EXPECT_EQ(1u, this->trie->routes());
   EXPECT_TRUE(this->longer("10.0.0.0/8")) << "a node with children counts, whatever its routes";
   EXPECT_TRUE(this->del("10.0.0.0/8"));
   EXPECT_EQ(3, this->trie->nodes());
   EXPECT_EQ(0u, this->trie->routes());
}

TYPED_TEST(PatriciaTrieInsertion, nodesAreAtMostTwoARoute) {
   constexpr U32 count = 1u << 12;
   for (U32 i = 0; i < count; ++i) {
      const Corenet::Prefix route(Corenet::IpAddr(i << 20), 12);
      this->add(route.stringValue());
   }
   EXPECT_EQ(count, this->trie->routes());
   EXPECT_EQ(2 * static_cast<int>(count) - 1, this->trie->nodes());
}

TEST(PatriciaTrieInsertion, ipv6SplitKeepsBlackLengths) {
   auto trie = Routing::patriciaTrieFactory(Corenet::ipv6, false);
   for (const auto* route : {"2001:db8::/32", "2001:db8:1::/48", "2001:db8:1:2::/64", "2001:db8:1:8000::/64"}) {
      trie->updateRoute(IpGenPrefix::fromString(route), nullptr);
   }
   EXPECT_EQ(3, trie->nodes());
   EXPECT_EQ("", trie->audit());
   const auto type = trie->paf();
   EXPECT_EQ(48u, trie->root()->len(type));
   EXPECT_EQ(32u, trie->root()->firstBlack(type));
   EXPECT_EQ(48u, trie->root()->nextBlack(32, type));
   EXPECT_EQ(64u, trie->root()->left_->firstBlack(type));
}

TEST(PatriciaTrieInsertion, ipv6BranchesOnWordBorders) {
   for (const bool compact : {false, true}) {
      for (U32 length = 1; length <= 128; ++length) {
         auto trie = Routing::patriciaTrieFactory(Corenet::ipv6, compact);
         const auto one = Corenet::AddressBits<128>(Corenet::U128{1} << (128 - length));
         for (const auto bits : {Corenet::AddressBits<128>(), one}) {
            const Corenet::Ip6Prefix prefix(Corenet::Ip6Addr(bits), length);
            if (compact) {
               trie->updateRouteCompact(prefix, nullptr);
            } else {
               trie->updateRoute(prefix, nullptr);
            }
         }
         ASSERT_EQ(3, trie->nodes()) << length;
         ASSERT_EQ(length - 1, trie->root()->len(trie->paf()));
         ASSERT_EQ("", trie->audit()) << length;
      }
   }
}

TEST(PatriciaTrieInsertion, bothEntriesMixOnIpv4) {
   auto trie = Routing::patriciaTrieFactory(Corenet::ipv4, true);
   trie->updateRoute(IpGenPrefix::fromString("10.0.0.0/8"), nullptr);
   trie->updateRouteCompact(CompactIpPrefix::fromString("10.1.0.0/16"), nullptr);
   EXPECT_EQ(1, trie->nodes());
   EXPECT_EQ(2u, trie->routes());
   EXPECT_TRUE(trie->deleteRouteCompact(CompactIpPrefix::fromString("10.0.0.0/8"), nullptr, nullptr));
   EXPECT_TRUE(trie->deleteRoute(IpGenPrefix::fromString("10.1.0.0/16"), nullptr, nullptr));
   EXPECT_TRUE(trie->empty());
}

// A prefix of length 0 is the default route whatever its family: no key is compared.
TEST(PatriciaTrieInsertion, zeroLengthOfTheOtherFamilyInstallsTheDefault) {
   auto trie = Routing::patriciaTrieFactory(Corenet::ipv4, false);
   trie->updateRoute(IpGenPrefix::fromString("::/0"), nullptr);
   EXPECT_TRUE(trie->defaultRoutePresent());
}

TEST(PatriciaTrieInsertion, nullCompactValueInstallsTheDefault) {
   auto trie = Routing::patriciaTrieFactory(Corenet::ipv6, true);
   trie->updateRouteCompact(CompactIpPrefix(), nullptr);
   EXPECT_TRUE(trie->defaultRoutePresent());
   EXPECT_EQ(1u, trie->routes());
}

//--- deletion ---

template <class Kind>
class PatriciaTrieDeletion : public PatriciaFixture<Kind> {};
TYPED_TEST_SUITE(PatriciaTrieDeletion, PatriciaKinds);

TYPED_TEST(PatriciaTrieDeletion, absentRoute) {
   EXPECT_FALSE(this->del("10.0.0.0/8")) << "empty tree";
   this->add("10.0.0.0/8");
   this->add("11.0.0.0/8");
   for (const auto* absent : {"10.0.0.0/7", "10.0.0.0/9", "12.0.0.0/8", "10.0.0.0/4", "10.0.0.0/6", "11.128.0.0/9"}) {
      EXPECT_FALSE(this->del(Corenet::IpAddrWithMask::fromString(absent).subnet().stringValue())) << absent;
   }
   EXPECT_EQ(2u, this->trie->routes());
   EXPECT_EQ(3, this->trie->nodes());
}

TYPED_TEST(PatriciaTrieDeletion, whiteLengthOnAnEdge) {
   this->add("10.1.2.0/24");
   EXPECT_FALSE(this->del("10.1.0.0/16"));
   EXPECT_EQ("10.1.2.0/24 {24}\n", this->drawing());
}

TYPED_TEST(PatriciaTrieDeletion, onlyRouteFreesTheRoot) {
   this->add("10.0.0.0/8");
   EXPECT_TRUE(this->del("10.0.0.0/8"));
   EXPECT_EQ(nullptr, this->trie->root());
   EXPECT_EQ(0, this->trie->nodes());
   EXPECT_EQ(0u, this->trie->routes());
   EXPECT_TRUE(this->trie->empty());
}

TYPED_TEST(PatriciaTrieDeletion, siblingTakesTheParentsPlace) {
   this->add("10.0.0.0/8");
   this->add("11.0.0.0/8");
   EXPECT_TRUE(this->del("11.0.0.0/8"));
   EXPECT_EQ("10.0.0.0/8 {8}\n", this->drawing());
   EXPECT_EQ(1, this->trie->nodes());
   this->add("11.0.0.0/8");
   EXPECT_TRUE(this->del("10.0.0.0/8"));
   EXPECT_EQ("11.0.0.0/8 {8}\n", this->drawing());
}

TYPED_TEST(PatriciaTrieDeletion, siblingInheritsTheParentsRoutes) {
   this->add("0.0.0.0/4");
   this->add("10.0.0.0/8");
   this->add("11.0.0.0/8");
   EXPECT_TRUE(this->del("11.0.0.0/8"));
   EXPECT_EQ("10.0.0.0/8 {4 8}\n", this->drawing());
   EXPECT_EQ(2u, this->trie->routes());
}

TYPED_TEST(PatriciaTrieDeletion, siblingSubtreeMovesUpInTheGrandparent) {
   this->add("10.0.0.0/8");
   this->add("11.0.0.0/8");
   this->add("11.128.0.0/9");
   this->add("64.0.0.0/8");
   EXPECT_TRUE(this->del("10.0.0.0/8"));
   EXPECT_EQ("0.0.0.0/1 {}\n  11.128.0.0/9 {8 9}\n  64.0.0.0/8 {8}\n", this->drawing());
   EXPECT_EQ(3, this->trie->nodes());
}

TYPED_TEST(PatriciaTrieDeletion, longestRouteOfALeafLeavesTheKey) {
   this->add("10.0.0.0/8");
   this->add("10.1.0.0/16");
   this->add("10.1.2.0/24");
   EXPECT_TRUE(this->del("10.1.2.0/24"));
   EXPECT_EQ("10.1.2.0/24 {8 16}\n", this->drawing());
   EXPECT_EQ(this->p("10.1.0.0/16"), this->match("10.1.2.0/24"));
   this->add("10.1.3.0/24");
   EXPECT_EQ("10.1.2.0/23 {8 16}\n  10.1.2.0/24 {}\n  10.1.3.0/24 {24}\n", this->drawing());
}

TYPED_TEST(PatriciaTrieDeletion, branchStaysWhite) {
   this->add("10.0.0.0/8");
   this->add("10.0.0.0/9");
   this->add("10.128.0.0/9");
   EXPECT_EQ("10.0.0.0/8 {8}\n  10.0.0.0/9 {9}\n  10.128.0.0/9 {9}\n", this->drawing());
   EXPECT_TRUE(this->del("10.0.0.0/8"));
   EXPECT_EQ("10.0.0.0/8 {}\n  10.0.0.0/9 {9}\n  10.128.0.0/9 {9}\n", this->drawing());
   EXPECT_FALSE(this->del("10.0.0.0/8"));
}

TYPED_TEST(PatriciaTrieDeletion, absentDefaultRouteGivesTrue) {
   EXPECT_TRUE(this->del("0.0.0.0/0"));
   this->add("10.0.0.0/8");
   EXPECT_TRUE(this->del("0.0.0.0/0"));
   EXPECT_EQ(1u, this->trie->routes());
   this->add("0.0.0.0/0");
   EXPECT_TRUE(this->del("0.0.0.0/0"));
   EXPECT_EQ(1u, this->trie->routes());
   EXPECT_FALSE(this->trie->defaultRoutePresent());
}

TYPED_TEST(PatriciaTrieDeletion, handleDeletionEmptiesAndTheTrieGoesOn) {
   this->trie->handleDeletion();
   EXPECT_TRUE(this->trie->empty());
   for (const auto* route : {"0.0.0.0/0", "10.0.0.0/8", "11.0.0.0/8", "10.1.0.0/16"}) {
      this->add(route);
   }
   this->trie->handleDeletion();
   EXPECT_TRUE(this->trie->empty());
   EXPECT_EQ(0, this->trie->nodes());
   EXPECT_EQ(nullptr, this->trie->root());
   EXPECT_FALSE(this->trie->defaultRoutePresent());
   this->add("10.0.0.0/8");
   EXPECT_EQ(1u, this->trie->routes());
}

TYPED_TEST(PatriciaTrieDeletion, treesOfFullDepthGoWithoutTrouble) {
   for (U32 length = 1; length <= 32; ++length) {  // a comb: every second branch is a leaf
      const Corenet::Prefix tooth(Corenet::IpAddr(U32{1} << (32 - length)), length);
      this->add(tooth.stringValue());
   }
   EXPECT_EQ(63, this->trie->nodes());
   EXPECT_EQ("", this->trie->audit());
   this->trie->handleDeletion();
   EXPECT_TRUE(this->trie->empty());
}

TEST(PatriciaTrieDeletion, wrongFamilyIntoAnEmptyTreeIsAbsent) {
   auto trie = Routing::patriciaTrieFactory(Corenet::ipv4, false);
   EXPECT_FALSE(trie->deleteRoute(IpGenPrefix::fromString("2001:db8::/32"), nullptr, nullptr));
   EXPECT_EQ(IpGenPrefix(), trie->longestMatchCommon(IpGenPrefix::fromString("2001:db8::/32"), nullptr, nullptr));
}

//--- the object ---

TEST(PatriciaTrie, familyNoneIsIpv4) {
   auto trie = Routing::patriciaTrieFactory(AddressFamily::none, false);
   EXPECT_EQ(AddressFamily::ipv4, trie->af());
   EXPECT_EQ(Routing::nodeTypeIpv4(), trie->paf());
   trie->updateRoute(IpGenPrefix::fromString("10.0.0.0/8"), nullptr);
   EXPECT_EQ(1u, trie->routes());
}

TEST(PatriciaTrie, nodeTypeFollowsFamilyAndFlag) {
   EXPECT_EQ(Routing::nodeTypeIpv4(), Routing::patriciaTrieFactory(Corenet::ipv4, true)->paf());
   EXPECT_EQ(Routing::nodeTypeIpv6Legacy(), Routing::patriciaTrieFactory(Corenet::ipv6, false)->paf());
   EXPECT_EQ(Routing::nodeTypeIpv6Compact(), Routing::PatriciaTrie::PatriciaTrieIs(Corenet::ipv6, true)->paf());
   EXPECT_TRUE(Routing::patriciaTrieFactory(Corenet::ipv4, true)->useCompactIpPrefix());
}

TEST(PatriciaTrie, handleInitializedNullsTheRootAndLeavesTheCounters) {
   auto trie = Routing::patriciaTrieFactory(Corenet::ipv6, true);
   trie->routesInc(3);
   trie->handleInitialized();
   EXPECT_EQ(nullptr, trie->root());
   EXPECT_EQ(3u, trie->routes());
   EXPECT_EQ(Routing::nodeTypeIpv6Compact(), trie->paf());
   trie->routesIs(0);
}

TEST(PatriciaTrie, countersHaveNoLimits) {
   auto trie = Routing::patriciaTrieFactory(Corenet::ipv4, false);
   trie->iteratorsInc(65535);
   trie->iteratorsInc(1);
   EXPECT_EQ(0u, trie->iterators());
   trie->updateRoute(IpGenPrefix::fromString("10.0.0.0/8"), nullptr);
   trie->iteratorsDec(1);
   EXPECT_EQ(65535u, trie->iterators());
   trie->iteratorsIs(0);
   trie->routesInc(~0u);
   EXPECT_EQ(0u, trie->routes());
   trie->routesInc(1);
   trie->nodesInc(-2);
   EXPECT_EQ(-1, trie->nodes());
   trie->nodesIs(1);
   trie->initializedIs(true);
   EXPECT_TRUE(trie->initialized());
}

TEST(PatriciaTrie, auditFindsPlantedFaults) {
   const auto broken = [](const auto& plant) {
      auto trie = Routing::patriciaTrieFactory(Corenet::ipv4, false);
      for (const auto* route : {"10.0.0.0/7", "10.0.0.0/8", "11.0.0.0/8"}) {
         trie->updateRoute(IpGenPrefix::fromString(route), nullptr);
      }
      EXPECT_EQ("", trie->audit());
      const auto type = trie->paf();
      const auto undo = plant(*trie, *trie->root(), type);
      const std::string found = trie->audit();
      undo();
      EXPECT_EQ("", trie->audit());
      return found;
   };
   using Node = PatriciaTrieNode;
   using Type = PatriciaTrieNodeType;
   EXPECT_THAT(broken([](PatriciaTrie&, Node& root, Type) {
                  return [&root, right = std::exchange(root.right_, nullptr)] { root.right_ = right; };
               }),
               HasSubstr("I1"));
   EXPECT_THAT(broken([](PatriciaTrie&, Node& root, Type) {
                  std::swap(root.left_, root.right_);
                  return [&root] { std::swap(root.left_, root.right_); };
               }),
               HasSubstr("I2"));
   EXPECT_THAT(broken([](PatriciaTrie&, Node& root, Type type) {
                  root.prefixIs(IpGenPrefix::fromString("12.0.0.0/7"), type);
                  return [&root, type] { root.prefixIs(IpGenPrefix::fromString("10.0.0.0/7"), type); };
               }),
               HasSubstr("I2"));
   EXPECT_THAT(broken([](PatriciaTrie&, Node& root, Type type) {
                  root.left_->blackIs(7, true, type);
                  return [&root, type] { root.left_->blackIs(7, false, type); };
               }),
               HasSubstr("I3"));
   EXPECT_THAT(broken([](PatriciaTrie&, Node& root, Type type) {
                  root.left_->blackIs(9, true, type);
                  return [&root, type] { root.left_->blackIs(9, false, type); };
               }),
               HasSubstr("I3"));
   EXPECT_THAT(broken([](PatriciaTrie&, Node& root, Type type) {
                  root.blackIs(6, true, type);
                  return [&root, type] { root.blackIs(6, false, type); };
               }),
               HasSubstr("I6"));
   EXPECT_THAT(broken([](PatriciaTrie& trie, Node&, Type) {
                  trie.nodesInc(1);
                  return [&trie] { trie.nodesInc(-1); };
               }),
               HasSubstr("I7"));
}

//--- broken rules ---

TEST(PatriciaTrieDeathTest, wrongEntryForTheNodeType) {
   auto compact = Routing::patriciaTrieFactory(Corenet::ipv6, true);
   auto legacy = Routing::patriciaTrieFactory(Corenet::ipv6, false);
   const auto gen = IpGenPrefix::fromString("2001:db8::/32");
   const CompactIpPrefix word(gen);
   constexpr auto notCompact = "paf\\(\\) != nodeTypeIpv6Compact\\(\\)' failed";
   constexpr auto notLegacy = "paf\\(\\) != nodeTypeIpv6Legacy\\(\\)' failed";
   EXPECT_DEATH(compact->updateRoute(gen, nullptr), notCompact);
   EXPECT_DEATH(compact->deleteRoute(gen, nullptr, nullptr), notCompact);
   EXPECT_DEATH(compact->longestMatchCommon(gen, nullptr, nullptr), notCompact);
   EXPECT_DEATH(compact->findParentCommon(gen, nullptr, nullptr), notCompact);
   EXPECT_DEATH(compact->longestMatchOrParent(gen, true, nullptr, nullptr), notCompact);
   EXPECT_DEATH(compact->longerRoutePresentCommon(gen), notCompact);
   EXPECT_DEATH(legacy->updateRouteCompact(word, nullptr), notLegacy);
   EXPECT_DEATH(legacy->deleteRouteCompact(word, nullptr, nullptr), notLegacy);
   EXPECT_DEATH(legacy->longestMatchCommonCompact(word, nullptr, nullptr), notLegacy);
   EXPECT_DEATH(legacy->findParentCommonCompact(word, nullptr, nullptr), notLegacy);
   EXPECT_DEATH(legacy->longestMatchOrParentCompact(word, true, nullptr, nullptr), notLegacy);
   EXPECT_DEATH(legacy->longerRoutePresentCommonCompact(word), notLegacy);
}

template <class Kind>
class PatriciaTrieKindDeathTest : public PatriciaFixture<Kind> {};
TYPED_TEST_SUITE(PatriciaTrieKindDeathTest, PatriciaKinds);

TYPED_TEST(PatriciaTrieKindDeathTest, changeUnderALiveIterator) {
   constexpr auto text = "0 == iterators\\(\\)' failed";
   this->trie->iteratorsInc(1);
   EXPECT_DEATH(this->add("10.0.0.0/8"), text);
   EXPECT_DEATH(this->add("0.0.0.0/0"), text) << "the rule comes before the default route";
   EXPECT_DEATH(this->del("10.0.0.0/8"), text) << "also of an absent route";
   EXPECT_DEATH(this->del("0.0.0.0/0"), text);
   EXPECT_DEATH(this->trie->handleDeletion(), text);
   this->trie->iteratorsDec(1);
   this->add("10.0.0.0/8");
}

TYPED_TEST(PatriciaTrieKindDeathTest, dataMustMatchTheTrie) {
   const auto data = Routing::prefixDataFactory();
   const auto container = Routing::prefixDataContainerFactory();
   EXPECT_DEATH(this->add("10.0.0.0/8", data), "nodeDataEnabled\\(\\) == bool\\( data \\)' failed");
   EXPECT_DEATH(this->add("0.0.0.0/0", data), "nodeDataEnabled\\(\\) == bool\\( data \\)' failed");
   EXPECT_DEATH(this->del("10.0.0.0/8", nullptr, container),
                "nodeDataEnabled\\(\\) == bool\\( dataContainer \\)' failed");
   EXPECT_DEATH(this->del("0.0.0.0/0", nullptr, container),
                "nodeDataEnabled\\(\\) == bool\\( dataContainer \\)' failed");
   this->trie->nodeDataEnabledIs(true);
   EXPECT_DEATH(this->add("10.0.0.0/8"), "nodeDataEnabled\\(\\) == bool\\( data \\)' failed");
   EXPECT_DEATH(this->del("10.0.0.0/8"), "nodeDataEnabled\\(\\) == bool\\( dataContainer \\)' failed");
}

// The iterator rule is looked at first, then the data rule.
TYPED_TEST(PatriciaTrieKindDeathTest, orderOfTheRules) {
   this->trie->iteratorsInc(1);
   EXPECT_DEATH(this->add("10.0.0.0/8", Routing::prefixDataFactory()), "0 == iterators\\(\\)' failed");
   this->trie->iteratorsDec(1);
}

TYPED_TEST(PatriciaTrieKindDeathTest, wrongFamilyMeetsANode) {
   constexpr auto text = "key1\\.af\\(\\) == key2\\.af\\(\\)' failed";
   const auto wrong = TypeParam::wrongFamily();
   this->add("10.0.0.0/8");
   EXPECT_DEATH(TypeParam::add(*this->trie, wrong), text);
   EXPECT_DEATH(TypeParam::del(*this->trie, wrong), text);
   EXPECT_DEATH(TypeParam::match(*this->trie, wrong), text);
   EXPECT_DEATH(TypeParam::parent(*this->trie, wrong), text);
   EXPECT_DEATH(TypeParam::longer(*this->trie, wrong), text);
}

TEST(PatriciaTrieDeathTest, unknownFamily) {
   EXPECT_DEATH(Routing::patriciaTrieFactory(static_cast<AddressFamily>(7), false), "false' failed");
   EXPECT_DEATH(PatriciaTrieImpl::patriciaTrieNodeType(AddressFamily::none, true), "false' failed");
}

TEST(PatriciaTrieDeathTest, nullPrefixNeverBecomesANode) {
   const IpGenPrefix null4(Corenet::Prefix::nullPrefix());
   auto ipv4 = Routing::patriciaTrieFactory(Corenet::ipv4, false);
   EXPECT_DEATH(ipv4->updateRoute(null4, nullptr), "len <= 32' failed");
   ipv4->updateRoute(IpGenPrefix::fromString("0.0.0.0/8"), nullptr);
   EXPECT_DEATH(ipv4->updateRoute(null4, nullptr), "len <= 32' failed") << "a leaf that could be lengthened";
   auto ipv6 = Routing::patriciaTrieFactory(Corenet::ipv6, true);
   ipv6->updateRouteCompact(CompactIpPrefix::fromString("::/8"), nullptr);
   EXPECT_DEATH(ipv6->updateRouteCompact(CompactIpPrefix::getNull(Corenet::ipv6), nullptr), "len <= 128' failed");
}

}  // namespace PatriciaTrieTest
