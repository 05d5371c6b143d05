#include <gtest/gtest.h>

#include <map>
#include <stdexcept>
#include <string>
#include <vector>

#include "routetrie/trie/patricia/PatriciaTrie.h"
#include "tests/trie/patricia/PatriciaKinds.h"

namespace PatriciaTrieWalkTest {

using namespace testing_support;
using Texts = std::vector<std::string>;

template <class Kind>
class PatriciaTrieWalk : public PatriciaFixture<Kind> {
  protected:
   Texts walkRefusing(std::string_view refused, std::string_view text = "0.0.0.0/0") const {
      const auto recorder = Corvid::ptrIsImpl<Recorder<Kind>>();
      recorder->refuse(refused);
      Kind::walk(*this->trie, this->p(text), recorder.get());
      return recorder->seen;
   }
   Texts walkRefusingAll() const {
      const auto recorder = Corvid::ptrIsImpl<Recorder<Kind>>();
      recorder->refusesAll = true;
      Kind::walk(*this->trie, this->p("0.0.0.0/0"), recorder.get());
      return recorder->seen;
   }
};
TYPED_TEST_SUITE(PatriciaTrieWalk, PatriciaKinds);

//--- the order ---

TYPED_TEST(PatriciaTrieWalk, emptyTrieReportsNothing) {
   EXPECT_EQ(Texts{}, this->walk("0.0.0.0/0"));
   EXPECT_EQ(Texts{}, this->walk("10.0.0.0/8"));
   EXPECT_EQ(Texts{}, this->children("0.0.0.0/0"));
   EXPECT_EQ(Texts{}, this->children("10.0.0.0/8"));
}

TYPED_TEST(PatriciaTrieWalk, defaultRouteAloneIsReportedOnce) {
   this->add("0.0.0.0/0");
   EXPECT_EQ(this->texts({"0.0.0.0/0"}), this->walk("0.0.0.0/0"));
   EXPECT_EQ(Texts{}, this->walk("0.0.0.0/1")) << "and for no other start";
}

TYPED_TEST(PatriciaTrieWalk, defaultRouteFirstThenByAddressAndLength) {
   this->run({"11.0.0.0/8", "10.1.0.0/16", "10.0.0.0/8", "10.0.0.0/16", "9.128.0.0/9", "0.0.0.0/0", "10.0.0.0/32"});
   EXPECT_EQ(this->texts({"0.0.0.0/0", "9.128.0.0/9", "10.0.0.0/8", "10.0.0.0/16", "10.0.0.0/32", "10.1.0.0/16",
                          "11.0.0.0/8"}),
             this->walk("0.0.0.0/0"));
}

//--- where it begins ---

TYPED_TEST(PatriciaTrieWalk, shorterRoutesOnTheFirstNodeAreSkipped) {
   this->run({"10.0.0.0/8", "10.0.0.0/16"});
   EXPECT_EQ(1, this->trie->nodes());
   EXPECT_EQ(this->texts({"10.0.0.0/16"}), this->walk("10.0.0.0/16"));
   EXPECT_EQ(this->texts({"10.0.0.0/8", "10.0.0.0/16"}), this->walk("10.0.0.0/8"));
   EXPECT_EQ(this->texts({"10.0.0.0/16"}), this->walk("10.0.0.0/9"));
}

TYPED_TEST(PatriciaTrieWalk, onlyTheSubtreeOfAPrefixThatAKeyStartsWith) {
   this->run({"0.0.0.0/0", "10.0.0.0/8", "10.0.0.0/16", "10.128.0.0/16", "11.0.0.0/8"});
   EXPECT_EQ(this->texts({"10.0.0.0/8", "10.0.0.0/16", "10.128.0.0/16"}), this->walk("10.0.0.0/8"));
   EXPECT_EQ(this->texts({"10.0.0.0/8", "10.0.0.0/16", "10.128.0.0/16", "11.0.0.0/8"}), this->walk("10.0.0.0/7"));
   EXPECT_EQ(this->texts({"10.0.0.0/16"}), this->walk("10.0.0.0/9"));
}

// Nothing tests that a route lies beneath the prefix: it picks the node to begin at, and the least length.
TYPED_TEST(PatriciaTrieWalk, aPrefixOffTheTreeReportsTheWholeSubtreeOfTheNearestCoveringKey) {
   this->run({"10.0.0.0/8", "10.0.0.0/16", "10.128.0.0/16"});
   EXPECT_EQ(this->texts({"10.0.0.0/16", "10.128.0.0/16"}), this->walk("10.64.0.0/16"));
   EXPECT_EQ(Texts{}, this->walk("10.64.0.0/17")) << "longer than any route";
   EXPECT_EQ(this->texts({"10.0.0.0/16", "10.128.0.0/16"}), this->walk("10.192.0.0/12"));
}

TYPED_TEST(PatriciaTrieWalk, aPrefixThatPartsInsideTheRootsKeyReportsNothing) {
   this->run({"10.0.0.0/8", "10.0.0.0/16", "10.128.0.0/16"});
   EXPECT_EQ(Texts{}, this->walk("11.0.0.0/8"));
   EXPECT_EQ(Texts{}, this->children("11.0.0.0/8"));
   EXPECT_EQ(Texts{}, this->walk("10.0.0.0/32"));
}

TYPED_TEST(PatriciaTrieWalk, routesPastTheEndOfALeaf) {
   this->run({"10.0.0.0/8", "10.0.0.0/24"});
   EXPECT_EQ(Texts{}, this->walk("10.0.0.0/25"));
   EXPECT_EQ(Texts{}, this->children("10.0.0.0/24"));
}

//--- what an answer of false does ---

TYPED_TEST(PatriciaTrieWalk, falsePrunesAndTheWalkGoesOnAtTheNextRight) {
   this->run({"10.0.0.0/8", "10.0.0.0/16", "10.128.0.0/16", "11.0.0.0/8", "12.0.0.0/8"});
   EXPECT_EQ(this->texts({"10.0.0.0/8", "11.0.0.0/8", "12.0.0.0/8"}), this->walkRefusing("10.0.0.0/8"));
}

TYPED_TEST(PatriciaTrieWalk, falseInTheMiddleOfANodeLeavesOutItsLongerRoutes) {
   this->run({"10.0.0.0/8", "10.0.0.0/16", "10.0.0.0/24", "11.0.0.0/8"});
   EXPECT_EQ(this->texts({"10.0.0.0/8", "10.0.0.0/16", "11.0.0.0/8"}), this->walkRefusing("10.0.0.0/16"));
}

TYPED_TEST(PatriciaTrieWalk, falseAtTheDefaultRouteIsIgnored) {
   this->run({"0.0.0.0/0", "10.0.0.0/8", "11.0.0.0/8"});
   EXPECT_EQ(this->walk("0.0.0.0/0"), this->walkRefusing("0.0.0.0/0"));
   EXPECT_EQ(3U, this->walk("0.0.0.0/0").size());
}

TYPED_TEST(PatriciaTrieWalk, falseAlwaysIsAskedOnceForEachPendingSubtree) {
   this->run({"10.0.0.0/8", "11.0.0.0/8", "12.0.0.0/8", "13.0.0.0/8"});
   EXPECT_EQ(4U, this->walkRefusingAll().size());
}

TYPED_TEST(PatriciaTrieWalk, anExceptionPassesThroughAndTheTrieStays) {
   class Thrower : public TypeParam::Cb {
     public:
      bool handlePrefixData(const typename TypeParam::P&, const Routing::PrefixData*) override {
         throw std::runtime_error("enough");
      }
   };
   this->run({"10.0.0.0/8", "11.0.0.0/8"});
   const auto thrower = Corvid::ptrIsImpl<Thrower>();
   EXPECT_THROW(TypeParam::walk(*this->trie, this->p("0.0.0.0/0"), thrower.get()), std::runtime_error);
   EXPECT_EQ(this->texts({"10.0.0.0/8", "11.0.0.0/8"}), this->walk("0.0.0.0/0"));
}

//--- immediate children ---

TYPED_TEST(PatriciaTrieWalk, childrenAreTheFirstLongerRouteOfEachBranch) {
   this->run({"10.0.0.0/8", "10.0.0.0/16", "10.0.0.0/24", "10.128.0.0/16", "10.128.1.0/24", "10.192.0.0/24"});
   EXPECT_EQ(this->texts({"10.0.0.0/16", "10.128.0.0/16", "10.192.0.0/24"}), this->children("10.0.0.0/8"));
   EXPECT_EQ(this->texts({"10.0.0.0/24"}), this->children("10.0.0.0/16"));
   EXPECT_EQ(this->texts({"10.0.0.0/8"}), this->children("10.0.0.0/7"));
   EXPECT_EQ(Texts{}, this->children("10.0.0.0/24"));
}

TYPED_TEST(PatriciaTrieWalk, childrenOnOneNode) {
   this->run({"10.0.0.0/8", "10.0.0.0/16", "10.0.0.0/24"});
   EXPECT_EQ(this->texts({"10.0.0.0/16"}), this->children("10.0.0.0/8"));
}

// A route equal in length to the prefix never counts, and what the callback answers means nothing.
TYPED_TEST(PatriciaTrieWalk, childrenOfAnAbsentPrefixAreThoseOfTheNearestCoveringKey) {
   this->run({"10.0.0.0/8", "10.0.0.0/16", "10.128.0.0/16"});
   EXPECT_EQ(this->texts({"10.0.0.0/16", "10.128.0.0/16"}), this->children("10.64.0.0/12"));
   EXPECT_EQ(Texts{}, this->children("10.64.0.0/16"));
   const auto recorder = Corvid::ptrIsImpl<Recorder<TypeParam>>();
   recorder->refusesAll = true;
   TypeParam::children(*this->trie, this->p("10.64.0.0/12"), recorder.get());
   EXPECT_EQ(2U, recorder->seen.size());
}

TYPED_TEST(PatriciaTrieWalk, childrenOfTheZeroLengthPrefixNeedTheDefaultRoute) {
   this->run({"10.0.0.0/16", "10.0.0.0/24"});
   EXPECT_EQ(Texts{}, this->children("0.0.0.0/0"));
   this->add("0.0.0.0/0");
   EXPECT_EQ(this->texts({"10.0.0.0/16"}), this->children("0.0.0.0/0")) << "the default route itself is none";
}

//--- payloads ---

TYPED_TEST(PatriciaTrieWalk, payloadsComeWithTheirRoutes) {
   this->trie->nodeDataEnabledIs(true);
   std::vector<const Routing::PrefixData*> expected;
   for (const auto* route : {"10.0.0.0/8", "10.0.0.0/16", "10.0.0.0/24", "10.0.128.0/17", "11.0.0.0/8"}) {
      const DataPtr data = Routing::prefixDataFactory();
      this->add(route, data);
      expected.push_back(data.get());
   }
   const auto recorder = Corvid::ptrIsImpl<Recorder<TypeParam>>();
   TypeParam::walk(*this->trie, this->p("0.0.0.0/0"), recorder.get());
   EXPECT_EQ(expected, recorder->payloads);
   EXPECT_EQ(1U, recorder->uses()) << "lent for the call";

   recorder->payloads.clear();
   TypeParam::children(*this->trie, this->p("10.0.0.0/8"), recorder.get());
   EXPECT_EQ(std::vector<const Routing::PrefixData*>{expected[1]}, recorder->payloads);

   const DataPtr ofDefault = Routing::prefixDataFactory();
   this->trie->updateRouteImpl(this->p("0.0.0.0/0"), Routing::prefixDataFactory());
   this->trie->defaultRouteNodeDataIs(ofDefault);
   recorder->payloads.clear();
   TypeParam::walk(*this->trie, this->p("0.0.0.0/0"), recorder.get());
   expected.insert(expected.begin(), ofDefault.get());
   EXPECT_EQ(expected, recorder->payloads);
}

TYPED_TEST(PatriciaTrieWalk, aPlainTrieHasNoPayloads) {
   this->run({"0.0.0.0/0", "10.0.0.0/8"});
   const auto recorder = Corvid::ptrIsImpl<Recorder<TypeParam>>();
   TypeParam::walk(*this->trie, this->p("0.0.0.0/0"), recorder.get());
   EXPECT_EQ((std::vector<const Routing::PrefixData*>{nullptr, nullptr}), recorder->payloads);
}

//--- null prefixes ---

TEST(PatriciaTrieWalk, theNullCompactValueCountsAsZeroLength) {
   auto trie = Routing::patriciaTrieFactory(Corenet::ipv6, true);
   trie->updateRouteCompact(CompactIpPrefix::fromString("::/0"), nullptr);
   trie->updateRouteCompact(CompactIpPrefix::fromString("2001:db8::/32"), nullptr);
   const auto recorder = Corvid::ptrIsImpl<Recorder<Ipv6Compact>>();
   trie->preOrderWalkCompact(CompactIpPrefix(), recorder.get());
   EXPECT_EQ((Texts{"::/0", "2001:db8::/32"}), recorder->seen);
   recorder->seen.clear();
   trie->findImmediateChildrenCompact(CompactIpPrefix(), recorder.get());
   EXPECT_EQ(Texts{"2001:db8::/32"}, recorder->seen);
}

TEST(PatriciaTrieWalk, noRouteIsAsLongAsTheNullPrefix) {
   auto ipv4 = Routing::patriciaTrieFactory(Corenet::ipv4, false);
   ipv4->updateRoute(IpGenPrefix::fromString("0.0.0.0/32"), nullptr);
   const auto recorder = Corvid::ptrIsImpl<Recorder<Ipv4>>();
   const IpGenPrefix nullPrefix(Corenet::Prefix::nullPrefix());
   ipv4->preOrderWalk(nullPrefix, recorder.get());
   ipv4->findImmediateChildren(nullPrefix, recorder.get());
   EXPECT_EQ(Texts{}, recorder->seen);
}

//--- broken rules ---

TEST(PatriciaTrieWalkDeathTest, wrongFormForTheTrie) {
   auto legacy = Routing::patriciaTrieFactory(Corenet::ipv6, false);
   auto compact = Routing::patriciaTrieFactory(Corenet::ipv6, true);
   constexpr auto notCompact = "paf\\(\\) != nodeTypeIpv6Compact\\(\\)' failed";
   constexpr auto notLegacy = "paf\\(\\) != nodeTypeIpv6Legacy\\(\\)' failed";
   EXPECT_DEATH(compact->preOrderWalk(IpGenPrefix(), nullptr), notCompact);
   EXPECT_DEATH(compact->findImmediateChildren(IpGenPrefix(), nullptr), notCompact);
   EXPECT_DEATH(legacy->preOrderWalkCompact(CompactIpPrefix(), nullptr), notLegacy);
   EXPECT_DEATH(legacy->findImmediateChildrenCompact(CompactIpPrefix(), nullptr), notLegacy);
}

template <class Kind>
class PatriciaTrieWalkFamilyDeathTest : public PatriciaFixture<Kind> {};
TYPED_TEST_SUITE(PatriciaTrieWalkFamilyDeathTest, PatriciaKinds);

TYPED_TEST(PatriciaTrieWalkFamilyDeathTest, wrongFamilyMeetsANode) {
   constexpr auto text = "key1.af\\(\\) == key2.af\\(\\)' failed";
   const auto recorder = Corvid::ptrIsImpl<Recorder<TypeParam>>();
   TypeParam::walk(*this->trie, TypeParam::wrongFamily(), recorder.get());  // there is no node to meet
   this->add("10.0.0.0/8");
   EXPECT_DEATH(TypeParam::walk(*this->trie, TypeParam::wrongFamily(), recorder.get()), text);
   EXPECT_DEATH(TypeParam::children(*this->trie, TypeParam::wrongFamily(), recorder.get()), text);
}

}  // namespace PatriciaTrieWalkTest
