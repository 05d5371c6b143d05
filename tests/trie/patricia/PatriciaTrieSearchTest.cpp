#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

#include "routetrie/trie/patricia/PatriciaTrie.h"
#include "routetrie/trie/patricia/PatriciaTrieWalkCb.h"
#include "tests/trie/patricia/PatriciaKinds.h"

namespace PatriciaTrieSearchTest {

using namespace testing_support;

//--- plain tries ---

template <class Kind>
class PatriciaTrieSearch : public PatriciaFixture<Kind> {};
TYPED_TEST_SUITE(PatriciaTrieSearch, PatriciaKinds);

TYPED_TEST(PatriciaTrieSearch, emptyTrieHasNoAnswer) {
   EXPECT_EQ(TypeParam::empty(), this->match("10.0.0.0/8"));
   EXPECT_EQ(TypeParam::empty(), this->parent("10.0.0.0/8"));
   EXPECT_EQ(TypeParam::empty(), this->match("0.0.0.0/0"));
   EXPECT_FALSE(this->longer("10.0.0.0/8"));
   EXPECT_FALSE(this->longer("0.0.0.0/0"));
}

TYPED_TEST(PatriciaTrieSearch, defaultRouteAloneAnswersEverything) {
   this->add("0.0.0.0/0");
   EXPECT_EQ(this->p("0.0.0.0/0"), this->match("10.0.0.0/8"));
   EXPECT_EQ(this->p("0.0.0.0/0"), this->parent("10.0.0.0/8"));
   EXPECT_EQ(this->p("0.0.0.0/0"), this->match("0.0.0.0/0"));
   EXPECT_FALSE(this->longer("0.0.0.0/0"));
}

TYPED_TEST(PatriciaTrieSearch, zeroLengthIsAnsweredByTheDefaultRouteAlone) {
   this->add("0.0.0.0/1");
   EXPECT_EQ(TypeParam::empty(), this->match("0.0.0.0/0")) << "never descends";
   EXPECT_FALSE(this->longer("0.0.0.0/0")) << "even of a trie full of routes";
   EXPECT_EQ(TypeParam::noParent(), this->parent("0.0.0.0/0"));
   this->add("0.0.0.0/0");
   EXPECT_EQ(this->p("0.0.0.0/0"), this->match("0.0.0.0/0"));
   EXPECT_EQ(TypeParam::noParent(), this->parent("0.0.0.0/0"));
   EXPECT_FALSE(this->longer("0.0.0.0/0"));
}

TYPED_TEST(PatriciaTrieSearch, nestedRoutesOnOneNode) {
   this->add("10.0.0.0/8");
   this->add("10.0.0.0/16");
   EXPECT_EQ(this->p("10.0.0.0/8"), this->match("10.0.0.0/12"));
   EXPECT_EQ(this->p("10.0.0.0/8"), this->parent("10.0.0.0/12")) << "of an absent prefix: the longest match";
   EXPECT_EQ(this->p("10.0.0.0/8"), this->parent("10.0.0.0/16"));
   EXPECT_EQ(TypeParam::empty(), this->parent("10.0.0.0/8"));
   this->add("0.0.0.0/0");
   EXPECT_EQ(this->p("0.0.0.0/0"), this->parent("10.0.0.0/8"));
}

TYPED_TEST(PatriciaTrieSearch, theLongestCoveringRouteWins) {
   for (const auto* route : {"10.0.0.0/8", "10.1.0.0/16", "10.1.2.0/24", "10.1.128.0/17", "11.0.0.0/8"}) {
      this->add(route);
   }
   const std::map<std::string, std::string> answers{
      {"10.1.2.3/32", "10.1.2.0/24"},     {"10.1.2.0/24", "10.1.2.0/24"}, {"10.1.3.0/24", "10.1.0.0/16"},
      {"10.1.2.0/23", "10.1.0.0/16"},     {"10.2.0.0/16", "10.0.0.0/8"},  {"10.1.129.0/24", "10.1.128.0/17"},
      {"11.255.255.255/32", "11.0.0.0/8"}};
   for (const auto& [query, answer] : answers) {
      EXPECT_EQ(this->p(answer), this->match(query)) << query;
   }
   for (const auto* uncovered : {"12.0.0.0/8", "10.0.0.0/7", "9.255.255.255/32", "128.0.0.0/1"}) {
      EXPECT_EQ(TypeParam::empty(), this->match(uncovered)) << uncovered;
   }
   EXPECT_EQ(this->p("10.1.0.0/16"), this->parent("10.1.2.0/24"));
   EXPECT_EQ(this->p("10.1.0.0/16"), this->parent("10.1.128.0/17"));
   EXPECT_EQ(this->p("10.0.0.0/8"), this->parent("10.1.0.0/16"));
}

TYPED_TEST(PatriciaTrieSearch, blackLengthsPastTheDivergenceDoNotCount) {
   this->add("10.0.0.0/8");
   this->add("10.1.2.0/24");  // one node with the /8
   EXPECT_EQ(this->p("10.0.0.0/8"), this->match("10.1.3.0/24"));
   EXPECT_EQ(this->p("10.0.0.0/8"), this->match("10.1.0.0/16"));
   EXPECT_EQ(TypeParam::empty(), this->match("10.0.0.0/7"));
}

TYPED_TEST(PatriciaTrieSearch, matchOrParentHandsTheFlagOn) {
   this->add("10.0.0.0/8");
   this->add("10.1.0.0/16");
   EXPECT_EQ(this->p("10.1.0.0/16"), TypeParam::matchOrParent(*this->trie, this->p("10.1.0.0/16"), false));
   EXPECT_EQ(this->p("10.0.0.0/8"), TypeParam::matchOrParent(*this->trie, this->p("10.1.0.0/16"), true));
}

TYPED_TEST(PatriciaTrieSearch, longerRoutes) {
   this->add("10.0.0.0/8");
   EXPECT_FALSE(this->longer("10.0.0.0/8"));
   EXPECT_TRUE(this->longer("10.0.0.0/7"));
   EXPECT_FALSE(this->longer("10.0.0.0/16"));
   EXPECT_FALSE(this->longer("12.0.0.0/6"));
   this->add("10.1.0.0/16");  // on the same leaf
   EXPECT_TRUE(this->longer("10.0.0.0/8"));
   EXPECT_FALSE(this->longer("10.1.0.0/16"));
   EXPECT_FALSE(this->longer("10.2.0.0/16"));
   this->add("10.128.0.0/16");
   EXPECT_TRUE(this->longer("10.0.0.0/8"));
   EXPECT_TRUE(this->longer("10.128.0.0/9"));
   EXPECT_FALSE(this->longer("10.64.0.0/10"));
}

TYPED_TEST(PatriciaTrieSearch, leafWhoseKeyRunsPastItsRoutes) {
   this->add("10.0.0.0/8");
   this->add("10.1.2.0/24");
   this->del("10.1.2.0/24");
   EXPECT_EQ(this->p("10.0.0.0/8"), this->match("10.1.2.0/24"));
   EXPECT_EQ(this->p("10.0.0.0/8"), this->match("10.9.0.0/16"));
   EXPECT_FALSE(this->longer("10.0.0.0/8"));
   EXPECT_FALSE(this->longer("10.1.0.0/16"));
}

TYPED_TEST(PatriciaTrieSearch, longestMatchIsTheQueryItselfAtEveryLength) {
   for (U32 length = 1; length <= 32; ++length) {
      const auto text = Corenet::Prefix::cut(Corenet::AddressBits<32>(0xaaaaaaaa), length).stringValue();
      this->add(text);
   }
   for (U32 length = 1; length <= 32; ++length) {
      const auto text = Corenet::Prefix::cut(Corenet::AddressBits<32>(0xaaaaaaaa), length).stringValue();
      ASSERT_EQ(this->p(text), this->match(text));
      const auto parentText = Corenet::Prefix::cut(Corenet::AddressBits<32>(0xaaaaaaaa), length - 1).stringValue();
      ASSERT_EQ(length == 1 ? TypeParam::empty() : this->p(parentText), this->parent(text));
      ASSERT_EQ(length < 32, this->longer(text));
   }
}

TEST(PatriciaTrieSearch, nullPrefixAsAQueryTouchesNothing) {
   auto ipv4 = Routing::patriciaTrieFactory(Corenet::ipv4, false);
   auto ipv6 = Routing::patriciaTrieFactory(Corenet::ipv6, true);
   const IpGenPrefix null4(Corenet::Prefix::nullPrefix());
   const auto null6 = CompactIpPrefix::getNull(Corenet::ipv6);
   EXPECT_EQ(IpGenPrefix(), ipv4->longestMatchCommon(null4, nullptr, nullptr));
   EXPECT_EQ(CompactIpPrefix(), ipv6->longestMatchCommonCompact(null6, nullptr, nullptr));
   ipv4->updateRoute(IpGenPrefix::fromString("0.0.0.0/32"), nullptr);
   ipv6->updateRouteCompact(CompactIpPrefix::fromString("::/128"), nullptr);
   EXPECT_EQ(IpGenPrefix::fromString("0.0.0.0/32"), ipv4->longestMatchCommon(null4, nullptr, nullptr));
   EXPECT_EQ(CompactIpPrefix::fromString("::/128"), ipv6->longestMatchCommonCompact(null6, nullptr, nullptr));
   EXPECT_FALSE(ipv4->longerRoutePresentCommon(null4));
   EXPECT_FALSE(ipv4->deleteRoute(null4, nullptr, nullptr));
   EXPECT_FALSE(ipv6->deleteRouteCompact(null6, nullptr, nullptr));
}

// The default answer is of the query's family, not of the trie's.
TEST(PatriciaTrieSearch, defaultTakesTheQuerysFamily) {
   auto trie = Routing::patriciaTrieFactory(Corenet::ipv4, false);
   trie->updateRoute(IpGenPrefix::fromString("0.0.0.0/0"), nullptr);
   EXPECT_EQ(IpGenPrefix::fromString("::/0"),
             trie->longestMatchCommon(IpGenPrefix::fromString("2001:db8::/32"), nullptr, nullptr));
}

TEST(PatriciaTrieSearch, emptyQuery) {
   auto trie = Routing::patriciaTrieFactory(Corenet::ipv4, true);
   EXPECT_EQ(IpGenPrefix(), trie->longestMatchCommon(IpGenPrefix(), nullptr, nullptr));
   EXPECT_EQ(CompactIpPrefix(), trie->longestMatchCommonCompact(CompactIpPrefix(), nullptr, nullptr));
}

TEST(PatriciaTrieSearchDeathTest, emptyQueryMeetsTheDefaultRouteOrAsksForAParent) {
   constexpr auto text = "false && \"Unexpected address family\"' failed";
   auto trie = Routing::patriciaTrieFactory(Corenet::ipv4, true);
   EXPECT_DEATH(trie->findParentCommon(IpGenPrefix(), nullptr, nullptr), text);
   EXPECT_DEATH(trie->findParentCommonCompact(CompactIpPrefix(), nullptr, nullptr), text);
   trie->updateRoute(IpGenPrefix::fromString("0.0.0.0/0"), nullptr);
   EXPECT_DEATH(trie->longestMatchCommon(IpGenPrefix(), nullptr, nullptr), text);
   EXPECT_DEATH(trie->longestMatchCommonCompact(CompactIpPrefix(), nullptr, nullptr), text);
}

//--- callbacks and payloads ---

template <class Kind>
class PatriciaTrieDataSearch : public PatriciaFixture<Kind> {
  protected:
   void SetUp() override {
      this->trie->nodeDataEnabledIs(true);
      recorder->refusesAll = true;  // must make no difference
      for (const auto* route : {"10.0.0.0/8", "10.0.0.0/16", "10.0.0.0/24", "10.0.128.0/17", "11.0.0.0/8"}) {
         data[route] = Routing::prefixDataFactory();
         this->add(route, data[route]);
      }
   }
   std::map<std::string, DataPtr> data;
   ContainerPtr container = Routing::prefixDataContainerFactory();
   Corvid::Ptr<Recorder<Kind>> recorder = Corvid::ptrIsImpl<Recorder<Kind>>();
};
TYPED_TEST_SUITE(PatriciaTrieDataSearch, PatriciaKinds);

TYPED_TEST(PatriciaTrieDataSearch, containerHoldsTheRouteFound) {
   TypeParam::match(*this->trie, this->p("10.0.0.1/32"), this->container);
   EXPECT_EQ(this->data["10.0.0.0/24"], this->container->prefixData());
   TypeParam::match(*this->trie, this->p("10.0.128.0/17"), this->container);
   EXPECT_EQ(this->data["10.0.128.0/17"], this->container->prefixData());
   TypeParam::match(*this->trie, this->p("10.9.0.0/16"), this->container);
   EXPECT_EQ(this->data["10.0.0.0/8"], this->container->prefixData());
}

TYPED_TEST(PatriciaTrieDataSearch, containerStaysAsItWasWithoutARoute) {
   this->container->prefixDataIs(this->data["11.0.0.0/8"]);
   EXPECT_EQ(TypeParam::empty(), TypeParam::match(*this->trie, this->p("12.0.0.0/8"), this->container));
   EXPECT_EQ(this->data["11.0.0.0/8"], this->container->prefixData());
   this->trie->updateRouteImpl(this->p("0.0.0.0/0"), Routing::prefixDataFactory());
   EXPECT_EQ(this->p("0.0.0.0/0"), TypeParam::match(*this->trie, this->p("12.0.0.0/8"), this->container));
   EXPECT_EQ(this->data["11.0.0.0/8"], this->container->prefixData()) << "nor if the default route is the answer";
}

TYPED_TEST(PatriciaTrieDataSearch, callbackSeesEveryCoveringRouteShortestFirst) {
   this->trie->updateRouteImpl(this->p("0.0.0.0/0"), Routing::prefixDataFactory());
   TypeParam::match(*this->trie, this->p("10.0.0.1/32"), nullptr, this->recorder.get());
   EXPECT_EQ(this->texts({"10.0.0.0/8", "10.0.0.0/16", "10.0.0.0/24"}), this->recorder->seen);
   const std::vector<const Routing::PrefixData*> expected{
      this->data["10.0.0.0/8"].get(), this->data["10.0.0.0/16"].get(), this->data["10.0.0.0/24"].get()};
   EXPECT_EQ(expected, this->recorder->payloads);
   EXPECT_EQ(1u, this->recorder->uses()) << "lent for the call";
}

TYPED_TEST(PatriciaTrieDataSearch, callbackSeesTheExactRouteAndNothingLonger) {
   TypeParam::match(*this->trie, this->p("10.0.0.0/16"), nullptr, this->recorder.get());
   EXPECT_EQ(this->texts({"10.0.0.0/8", "10.0.0.0/16"}), this->recorder->seen);
}

TYPED_TEST(PatriciaTrieDataSearch, callbackOfAnAbsentPrefix) {
   TypeParam::match(*this->trie, this->p("10.0.0.0/12"), nullptr, this->recorder.get());
   EXPECT_EQ(this->texts({"10.0.0.0/8"}), this->recorder->seen);
   this->recorder->seen.clear();
   TypeParam::match(*this->trie, this->p("12.0.0.0/8"), nullptr, this->recorder.get());
   TypeParam::match(*this->trie, this->p("0.0.0.0/0"), nullptr, this->recorder.get());
   EXPECT_EQ(std::vector<std::string>{}, this->recorder->seen);
}

// The parent of a route is its answer; container and callback describe the route itself.
TYPED_TEST(PatriciaTrieDataSearch, parentOfARouteComesWithTheRoutesOwnData) {
   EXPECT_EQ(this->p("10.0.0.0/8"),
             TypeParam::parent(*this->trie, this->p("10.0.0.0/16"), this->container, this->recorder.get()));
   EXPECT_EQ(this->data["10.0.0.0/16"], this->container->prefixData());
   EXPECT_EQ(this->texts({"10.0.0.0/8", "10.0.0.0/16"}), this->recorder->seen);
   EXPECT_EQ(this->p("10.0.0.0/16"), TypeParam::parent(*this->trie, this->p("10.0.128.0/17"), this->container));
   EXPECT_EQ(this->data["10.0.128.0/17"], this->container->prefixData());
}

TYPED_TEST(PatriciaTrieDataSearch, parentOfAnAbsentPrefixComesWithTheParentsData) {
   EXPECT_EQ(this->p("10.0.0.0/8"), TypeParam::parent(*this->trie, this->p("10.0.0.0/12"), this->container));
   EXPECT_EQ(this->data["10.0.0.0/8"], this->container->prefixData());
}

TYPED_TEST(PatriciaTrieDataSearch, containerStaysAsItWasInAnEmptyTree) {
   const auto bare = TypeParam::newTrie();
   bare->nodeDataEnabledIs(true);
   this->container->prefixDataIs(this->data["11.0.0.0/8"]);
   bare->updateRouteImpl(this->p("0.0.0.0/0"), Routing::prefixDataFactory());
   ASSERT_EQ(nullptr, bare->root());
   EXPECT_EQ(this->p("0.0.0.0/0"), TypeParam::match(*bare, this->p("10.0.0.0/8"), this->container));
   EXPECT_EQ(this->p("0.0.0.0/0"), TypeParam::parent(*bare, this->p("10.0.0.0/8"), this->container));
   EXPECT_EQ(this->p("0.0.0.0/0"), TypeParam::match(*bare, this->p("0.0.0.0/0"), this->container));
   EXPECT_EQ(this->data["11.0.0.0/8"], this->container->prefixData());
}

// The container is filled before the callbacks, and what they make of it stays.
TYPED_TEST(PatriciaTrieDataSearch, aCallbackHasTheLastWordOnTheContainer) {
   class Emptying : public TypeParam::Cb {
     public:
      explicit Emptying(const ContainerPtr& its) : container(its) {}
      bool handlePrefixData(const typename TypeParam::P&, const Routing::PrefixData* payload) override {
         found.push_back(container->prefixData().get());
         last = payload;
         container->prefixDataIs(nullptr);
         return true;
      }
      const ContainerPtr container;
      std::vector<const Routing::PrefixData*> found;
      const Routing::PrefixData* last = nullptr;
   };
   // A route, a host beneath one, a prefix that parts from a key, one that ends on it without a route; all by both searches.
   for (const auto* text : {"10.0.0.0/16", "10.0.128.0/17", "10.0.0.1/32", "10.9.0.0/16", "10.0.0.0/12"}) {
      for (const auto search : {&TypeParam::match, &TypeParam::parent}) {
         const auto emptying = Corvid::ptrIsImpl<Emptying>(this->container);
         search(*this->trie, this->p(text), this->container, emptying.get());
         EXPECT_EQ(nullptr, this->container->prefixData()) << text;
         ASSERT_FALSE(emptying->found.empty());
         EXPECT_NE(nullptr, emptying->last);
      }
   }
}

template <class Kind>
class PatriciaTrieSearchDeathTest : public PatriciaFixture<Kind> {};
TYPED_TEST_SUITE(PatriciaTrieSearchDeathTest, PatriciaKinds);

// Even on a trie that holds nothing.
TYPED_TEST(PatriciaTrieSearchDeathTest, dataAskedOfAPlainTrie) {
   constexpr auto text = "nodeDataEnabled\\(\\)' failed";
   const auto container = Routing::prefixDataContainerFactory();
   const auto recorder = Corvid::ptrIsImpl<Recorder<TypeParam>>();
   const auto query = this->p("10.0.0.0/8");
   EXPECT_DEATH(TypeParam::match(*this->trie, query, container), text);
   EXPECT_DEATH(TypeParam::match(*this->trie, query, nullptr, recorder.get()), text);
   EXPECT_DEATH(TypeParam::parent(*this->trie, query, container), text);
   EXPECT_DEATH(TypeParam::parent(*this->trie, query, nullptr, recorder.get()), text);
   EXPECT_DEATH(
      (this->trie->template longestMatchCommonImpl<typename TypeParam::P, std::nullptr_t>(query, container, nullptr)),
      text);
}

}  // namespace PatriciaTrieSearchTest
