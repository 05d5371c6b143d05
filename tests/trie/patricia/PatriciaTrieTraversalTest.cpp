#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "routetrie/trie/patricia/PatriciaTrie.h"
#include "tests/trie/patricia/PatriciaKinds.h"

namespace PatriciaTrieTraversalTest {

using namespace testing_support;
using Texts = std::vector<std::string>;

//--- the next route ---

template <class Kind>
class PatriciaTrieNext : public PatriciaFixture<Kind> {
  protected:
   static CompactIpPrefix c(std::string_view text) { return CompactIpPrefix(prefixOf<Kind::family>(text)); }
   static CompactIpPrefix end() { return CompactIpPrefix::getNull(Kind::family); }
   CompactIpPrefix next(std::string_view text) { return this->trie->getNext(c(text)); }
   // Every route, by a loop from the null compact value.
   Texts loop() {
      Texts seen;
      for (auto p = this->trie->getNext(CompactIpPrefix()); p != end(); p = this->trie->getNext(p)) {
         seen.emplace_back(p.stringValue());
      }
      return seen;
   }
};
TYPED_TEST_SUITE(PatriciaTrieNext, PatriciaNextKinds);

TYPED_TEST(PatriciaTrieNext, emptyTrieEndsAtOnce) {
   EXPECT_EQ(this->end(), this->next("0.0.0.0/0"));
   EXPECT_EQ(this->end(), this->next("10.0.0.0/8"));
   EXPECT_EQ(this->end(), this->trie->getNext(CompactIpPrefix()));
   EXPECT_NE(CompactIpPrefix(), this->next("0.0.0.0/0")) << "the end is the null prefix of the trie's family";
   this->add("0.0.0.0/0");
   EXPECT_EQ(this->end(), this->next("0.0.0.0/0")) << "the default route is never given";
   EXPECT_EQ(this->end(), this->next("10.0.0.0/8"));
}

TYPED_TEST(PatriciaTrieNext, nullAndZeroLengthComeBeforeTheFirstRoute) {
   this->run({"10.0.0.0/8", "11.0.0.0/8"});
   EXPECT_EQ(this->c("10.0.0.0/8"), this->next("0.0.0.0/0"));
   EXPECT_EQ(this->c("10.0.0.0/8"), this->trie->getNext(CompactIpPrefix()));
   this->add("0.0.0.0/0");
   EXPECT_EQ(this->c("10.0.0.0/8"), this->next("0.0.0.0/0"));
   EXPECT_EQ(this->c("10.0.0.0/8"), this->trie->getNext(CompactIpPrefix()));
}

// What a step gives at the end is where the next round begins.
TYPED_TEST(PatriciaTrieNext, theNullPrefixOfTheFamilyComesBeforeTheFirstRouteToo) {
   this->run({"0.0.0.0/1", "10.0.0.0/8"});
   EXPECT_EQ(this->c("0.0.0.0/1"), this->trie->getNext(this->end()));
   EXPECT_EQ(this->c("0.0.0.0/1"), this->next("0.0.0.0/0"));
}

TYPED_TEST(PatriciaTrieNext, stepsThroughNestedAndNeighbouringRoutes) {
   this->run({"10.0.0.0/8", "10.0.0.0/16", "10.1.0.0/16"});
   EXPECT_EQ(this->c("10.0.0.0/16"), this->next("10.0.0.0/8"));
   EXPECT_EQ(this->c("10.1.0.0/16"), this->next("10.0.0.0/16"));
   EXPECT_EQ(this->end(), this->next("10.1.0.0/16"));
}

TYPED_TEST(PatriciaTrieNext, anAbsentPrefixHasANextRoute) {
   this->run({"10.0.0.0/8", "10.0.0.0/16", "10.1.0.0/16"});
   EXPECT_EQ(this->c("10.1.0.0/16"), this->next("10.0.5.0/24"));
   EXPECT_EQ(this->c("10.0.0.0/8"), this->next("9.255.255.255/32")) << "parts inside the root's key";
   EXPECT_EQ(this->c("10.0.0.0/8"), this->next("10.0.0.0/7"));
   EXPECT_EQ(this->c("10.0.0.0/16"), this->next("10.0.0.0/9"));
   EXPECT_EQ(this->c("10.1.0.0/16"), this->next("10.0.0.0/17"));
   EXPECT_EQ(this->end(), this->next("10.1.0.0/17"));
   EXPECT_EQ(this->end(), this->next("11.0.0.0/8"));
   EXPECT_EQ(this->end(), this->next("255.0.0.0/8"));
}

TYPED_TEST(PatriciaTrieNext, climbsToTheNearestNodeLeftByItsLeft) {
   this->run({"10.0.0.0/16", "10.0.128.0/24", "10.0.192.0/24", "10.128.0.0/16", "11.0.0.0/8"});
   EXPECT_EQ(this->c("10.128.0.0/16"), this->next("10.0.192.0/24")) << "two levels up";
   EXPECT_EQ(this->c("11.0.0.0/8"), this->next("10.128.0.0/16"));
   EXPECT_EQ(this->c("10.128.0.0/16"), this->next("10.0.255.0/24"));
   EXPECT_EQ(this->texts({"10.0.0.0/16", "10.0.128.0/24", "10.0.192.0/24", "10.128.0.0/16", "11.0.0.0/8"}),
             this->loop());
}

TYPED_TEST(PatriciaTrieNext, equalAddressesShorterFirst) {
   this->run({"10.0.0.0/24", "10.0.0.0/8", "10.0.0.0/32", "10.0.0.0/16", "10.0.0.0/12"});
   EXPECT_EQ(this->texts({"10.0.0.0/8", "10.0.0.0/12", "10.0.0.0/16", "10.0.0.0/24", "10.0.0.0/32"}), this->loop());
}

TYPED_TEST(PatriciaTrieNext, theTrieMayChangeBetweenSteps) {
   this->run({"10.0.0.0/8", "11.0.0.0/8", "12.0.0.0/8"});
   const auto first = this->next("0.0.0.0/0");
   this->run({"-10.0.0.0/8", "+10.128.0.0/9"});
   EXPECT_EQ(this->c("10.128.0.0/9"), this->trie->getNext(first));
}

// One search at the end of the climb: a white leaf there ends the order, whatever lies beyond it.
TYPED_TEST(PatriciaTrieNext, aLoneWhiteLeafEndsTheOrder) {
   this->run({"10.0.0.0/8", "10.128.1.0/24", "-10.128.1.0/24", "10.0.0.0/16", "11.0.0.0/8"});
   ASSERT_EQ(5, this->trie->nodes()) << this->drawing();
   ASSERT_EQ(3U, this->trie->routes());
   EXPECT_EQ(this->c("10.0.0.0/16"), this->next("10.0.0.0/8"));
   EXPECT_EQ(this->end(), this->next("10.0.0.0/16"));
   EXPECT_EQ(this->c("11.0.0.0/8"), this->next("10.128.1.0/24"));
   EXPECT_EQ(this->texts({"10.0.0.0/8", "10.0.0.0/16", "11.0.0.0/8"}), this->walk("0.0.0.0/0"));
}

// The same for a branch all of whose leaves are white.
TYPED_TEST(PatriciaTrieNext, aWhiteSubtreeEndsTheOrder) {
   this->run({"10.0.0.0/8", "10.128.1.0/24", "10.128.0.0/16", "-10.128.1.0/24", "10.128.128.0/24", "-10.128.0.0/16",
              "-10.128.128.0/24"});
   this->run({"10.0.0.0/16", "11.0.0.0/8"});
   EXPECT_EQ(this->end(), this->next("10.0.0.0/16")) << this->drawing();
   EXPECT_EQ(this->texts({"10.0.0.0/8", "10.0.0.0/16", "11.0.0.0/8"}), this->walk("0.0.0.0/0"));
}

TYPED_TEST(PatriciaTrieNext, lengthsPastAWordOfTheAddress) {
   if (TypeParam::family == AddressFamily::ipv4) {
      this->run({"10.0.0.0/31", "10.0.0.1/32", "10.0.0.0/32"});
      EXPECT_EQ(this->texts({"10.0.0.0/31", "10.0.0.0/32", "10.0.0.1/32"}), this->loop());
      return;
   }
   Texts expected;
   for (const auto* text : {"2001:db8::/56", "2001:db8::/57", "2001:db8::/64", "2001:db8::/128", "2001:db8::1/128",
                            "2001:db8:0:0:1::/80"}) {
      this->trie->updateRouteCompact(CompactIpPrefix::fromString(text), nullptr);
      expected.emplace_back(text);
   }
   EXPECT_EQ(expected, this->loop());
}

TYPED_TEST(PatriciaTrieNext, theSearchOfASubtreeLeavesItsResultAloneWithoutARoute) {
   this->run({"10.0.0.0/8"});
   auto next = this->c("1.0.0.0/8");
   EXPECT_FALSE(this->trie->getNextImpl(nullptr, CompactIpPrefix(), next));
   EXPECT_FALSE(this->trie->getNextImpl(this->trie->root(), this->c("10.0.0.0/8"), next));
   EXPECT_EQ(this->c("1.0.0.0/8"), next);
   EXPECT_TRUE(this->trie->getNextImpl(this->trie->root(), this->c("10.0.0.0/7"), next));
   EXPECT_EQ(this->c("10.0.0.0/8"), next);
}

//--- the black lengths of one node ---

template <class Kind>
class PatriciaTrieBlack : public PatriciaFixture<Kind> {
  protected:
   std::vector<U32> lengths(std::string_view text) {
      std::vector<U32> found;
      for (U32 i = Kind::firstBlack(*this->trie, this->p(text)); i != 0;
           i = Kind::nextBlack(*this->trie, this->p(text), i)) {
         found.push_back(i);
      }
      return found;
   }
};
TYPED_TEST_SUITE(PatriciaTrieBlack, PatriciaKinds);

TYPED_TEST(PatriciaTrieBlack, tellAboutTheNodeAndNotThePrefix) {
   this->run({"10.0.0.0/8", "10.1.0.0/16", "10.1.2.0/24"});
   EXPECT_EQ((std::vector<U32>{8, 16, 24}), this->lengths("10.1.2.0/24"));
   EXPECT_EQ((std::vector<U32>{8, 16, 24}), this->lengths("10.0.0.0/8"));
   EXPECT_EQ((std::vector<U32>{8, 16, 24}), this->lengths("10.1.2.3/32")) << "the deepest node that covers it";
}

TYPED_TEST(PatriciaTrieBlack, routesOfOtherNodesDoNotAppear) {
   this->run({"8.0.0.0/5", "10.0.0.0/8", "11.0.0.0/8"});
   EXPECT_EQ((std::vector<U32>{8}), this->lengths("10.0.0.0/8"));
   EXPECT_EQ((std::vector<U32>{5}), this->lengths("10.0.0.0/7"));
}

TYPED_TEST(PatriciaTrieBlack, zeroAtTheLastAndForZero) {
   this->run({"10.0.0.0/8", "10.1.0.0/16"});
   EXPECT_EQ(0U, TypeParam::nextBlack(*this->trie, this->p("10.0.0.0/8"), 16));
   EXPECT_EQ(0U, TypeParam::nextBlack(*this->trie, this->p("10.0.0.0/8"), 0)) << "a loop starts at the first";
   EXPECT_EQ(16U, TypeParam::nextBlack(*this->trie, this->p("10.0.0.0/8"), 9)) << "of a white length too";
   this->add("0.0.0.0/0");
   EXPECT_EQ(8U, TypeParam::firstBlack(*this->trie, this->p("0.0.0.0/0")));
}

// Past the last length there is nothing in an IPv6 node; in an IPv4 node lengths count modulo 32.
TYPED_TEST(PatriciaTrieBlack, pastTheLastLength) {
   this->run({"10.0.0.0/8", "10.1.0.0/16"});
   const auto next = [&](U32 i) { return TypeParam::nextBlack(*this->trie, this->p("10.0.0.0/8"), i); };
   const bool isIpv4 = TypeParam::family == AddressFamily::ipv4;
   for (const U32 turn : {128U, 256U, 0xffffff00U}) {
      EXPECT_EQ(0U, next(turn));
      EXPECT_EQ(isIpv4 ? 8U : 0U, next(turn + 1));
      EXPECT_EQ(isIpv4 ? 8U : 0U, next(turn + 7));
      EXPECT_EQ(isIpv4 ? 16U : 0U, next(turn + 8));
      EXPECT_EQ(isIpv4 ? 16U : 0U, next(turn + 15));
      EXPECT_EQ(0U, next(turn + 16));
      EXPECT_EQ(0U, next(turn + 31));
   }
   EXPECT_EQ(0U, next(32));
   EXPECT_EQ(isIpv4 ? 8U : 0U, next(33));
}

TYPED_TEST(PatriciaTrieBlack, aWhiteNodeHasNone) {
   this->run({"10.0.0.0/8", "12.0.0.0/8"});
   EXPECT_EQ(0U, TypeParam::firstBlack(*this->trie, this->p("8.0.0.0/5")));
}

template <class Kind>
class PatriciaTrieBlackDeathTest : public PatriciaTrieBlack<Kind> {};
TYPED_TEST_SUITE(PatriciaTrieBlackDeathTest, PatriciaKinds);

// Without a node there is no answer, not even 0.
TYPED_TEST(PatriciaTrieBlackDeathTest, withoutANode) {
   EXPECT_DEATH(TypeParam::firstBlack(*this->trie, this->p("10.0.0.0/8")), "") << "empty trie";
   EXPECT_DEATH(TypeParam::nextBlack(*this->trie, this->p("10.0.0.0/8"), 8), "");
   this->add("10.0.0.0/8");
   EXPECT_DEATH(TypeParam::firstBlack(*this->trie, this->p("0.0.0.0/0")), "") << "no default route";
   EXPECT_DEATH(TypeParam::firstBlack(*this->trie, this->p("11.0.0.0/8")), "") << "leaves the root's key";
}

TEST(PatriciaTrieTraversalDeathTest, wrongFormForTheTrie) {
   auto legacy = Routing::patriciaTrieFactory(Corenet::ipv6, false);
   auto compact = Routing::patriciaTrieFactory(Corenet::ipv6, true);
   constexpr auto notCompact = "paf\\(\\) != nodeTypeIpv6Compact\\(\\)' failed";
   constexpr auto notLegacy = "paf\\(\\) != nodeTypeIpv6Legacy\\(\\)' failed";
   EXPECT_DEATH(compact->getFirstBlack(IpGenPrefix()), notCompact);
   EXPECT_DEATH(compact->getNextBlack(IpGenPrefix(), 8), notCompact);
   EXPECT_DEATH(legacy->getNext(CompactIpPrefix()), notLegacy);
   EXPECT_DEATH(legacy->getFirstBlackCompact(CompactIpPrefix()), notLegacy);
   EXPECT_DEATH(legacy->getNextBlackCompact(CompactIpPrefix(), 8), notLegacy);
}

TEST(PatriciaTrieTraversalDeathTest, wrongFamilyMeetsANode) {
   auto trie = Routing::patriciaTrieFactory(Corenet::ipv4, false);
   const auto ipv6 = CompactIpPrefix::fromString("2001:db8::/32");
   EXPECT_EQ(CompactIpPrefix::getNull(Corenet::ipv4), trie->getNext(ipv6));  // there is no node to meet
   trie->updateRoute(IpGenPrefix::fromString("10.0.0.0/8"), nullptr);
   EXPECT_DEATH(trie->getNext(ipv6), "key1.af\\(\\) == key2.af\\(\\)' failed");
   EXPECT_DEATH(trie->getFirstBlackCompact(ipv6), "key1.af\\(\\) == key2.af\\(\\)' failed");
}

}  // namespace PatriciaTrieTraversalTest
