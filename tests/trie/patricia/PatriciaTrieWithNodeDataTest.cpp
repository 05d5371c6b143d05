#include "routetrie/trie/patricia/PatriciaTrieWithNodeData.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <map>
#include <stdexcept>
#include <string>
#include <vector>

#include "routetrie/platform/Corvid/Inspect.h"
#include "routetrie/trie/patricia/PatriciaTrieIterator.h"
#include "routetrie/trie/patricia/PatriciaTrieWithCompactNodeData.h"
#include "tests/support/LossAllowed.h"
#include "tests/trie/Surface.h"
#include "tests/trie/patricia/PatriciaKinds.h"

namespace PatriciaTrieWithNodeDataTest {

using namespace testing_support;
using Routing::PatriciaTrieWithNodeData;
using ConstDataPtr = Corvid::Ptr<const Routing::PrefixData>;

// The operations in the form of a kind.
template <class Kind>
struct Calls {
   using P = typename Kind::P;
   using Trie = PatriciaTrieWithNodeData;

   static auto pick(auto gen, auto compact) {
      if constexpr (Kind::isCompactCall) {
         return compact;
      } else {
         return gen;
      }
   }
   static inline const auto routeIs = pick(&Trie::routeIs, &Trie::routeCompactIs);
   static inline const auto routeAdd = pick(&Trie::routeAdd, &Trie::routeAddCompact);
   static inline const auto routeDel = pick(&Trie::routeDel, &Trie::routeCompactDel);
   static inline const auto routeDelTest = pick(&Trie::routeDelTest, &Trie::routeDelCompact);
   static inline const auto routeDelOrUpdate = pick(&Trie::routeDelOrUpdate, &Trie::routeDelOrUpdateCompact);
   static inline const auto route = pick(&Trie::route, &Trie::routeCompact);
   static inline const auto longestMatch = pick(&Trie::longestMatch, &Trie::longestMatchCompact);
   static inline const auto ancestorWalk = pick(&Trie::ancestorWalk, &Trie::ancestorWalkCompact);
};

// Writes its hooks down.
class Logged : public Routing::PrefixData {
  public:
   explicit Logged(std::vector<std::string>& log) : log_(log) {}
   void onAddition() override { log_.push_back("onAddition"); }
   void onDeletion() override { log_.push_back("onDeletion"); }
   DataPtr insertData(const DataPtr& data) override {
      log_.push_back("insertData");
      return keeps ? DataPtr(this) : data;
   }
   DataPtr removeData(const DataPtr& data) override {
      log_.push_back(data ? "removeData" : "removeData null");
      return keeps ? DataPtr(this) : data;
   }
   bool keeps = false;  // the object stays, whatever is offered or removed

  private:
   std::vector<std::string>& log_;
};

template <class Kind>
class WithNodeData : public testing::Test {
  protected:
   using Call = Calls<Kind>;

   void TearDown() override { EXPECT_EQ("", trie->audit()); }

   static auto p(std::string_view text) { return Kind::p(text); }
   void set(std::string_view text, const DataPtr& data) { ((*trie).*Call::routeIs)(p(text), data); }
   DataPtr setNew(std::string_view text) {
      const auto data = Routing::prefixDataFactory();
      set(text, data);
      return data;
   }
   DataPtr del(std::string_view text) { return ((*trie).*Call::routeDel)(p(text)); }
   DataPtr delOrUpdate(std::string_view text, const DataPtr& data) {
      return ((*trie).*Call::routeDelOrUpdate)(p(text), data);
   }
   DataPtr route(std::string_view text) const { return ((*trie).*Call::route)(p(text)); }
   ConstDataPtr match(std::string_view text) const { return ((*trie).*Call::longestMatch)(p(text)); }
   std::vector<std::string> ancestors(std::string_view text) const {
      const auto recorder = Corvid::ptrIsImpl<Recorder<Kind>>();
      recorder->refusesAll = true;  // must make no difference
      ((*trie).*Call::ancestorWalk)(p(text), recorder.get());
      return recorder->seen;
   }
   static std::vector<std::string> texts(std::initializer_list<std::string_view> routes) {
      std::vector<std::string> result;
      for (const auto route : routes) {
         result.emplace_back(p(route).stringValue());
      }
      return result;
   }

   Corvid::Ptr<PatriciaTrieWithNodeData> trie =
      Routing::patriciaTrieWithNodeDataFactory(Kind::family, Kind::isCompactCall);
   std::vector<std::string> log;
};
TYPED_TEST_SUITE(WithNodeData, PatriciaKinds);

TYPED_TEST(WithNodeData, startsEmptyWithNodeDataOn) {
   EXPECT_TRUE(this->trie->nodeDataEnabled());
   EXPECT_EQ(TypeParam::family, this->trie->af());
   EXPECT_TRUE(this->trie->empty());
   EXPECT_FALSE(this->route("10.0.0.0/8"));
   EXPECT_FALSE(this->match("10.0.0.0/8"));
   EXPECT_FALSE(this->del("10.0.0.0/8"));
}

TYPED_TEST(WithNodeData, settingARouteAgainReplacesItsPayload) {
   const auto first = this->setNew("10.0.0.0/8");
   EXPECT_EQ(1u, this->trie->routes());
   EXPECT_EQ(first, this->route("10.0.0.0/8"));
   const auto second = this->setNew("10.0.0.0/8");
   EXPECT_EQ(1u, this->trie->routes());
   EXPECT_EQ(second, this->route("10.0.0.0/8"));
   EXPECT_EQ(1u, first->uses());
   EXPECT_EQ(2u, second->uses());
}

TYPED_TEST(WithNodeData, addingIsSettingUnderAnotherName) {
   const auto data = Routing::prefixDataFactory();
   ((*this->trie).*Calls<TypeParam>::routeAdd)(this->p("10.0.0.0/8"), data);
   EXPECT_EQ(data, this->route("10.0.0.0/8"));
   const auto other = Routing::prefixDataFactory();
   ((*this->trie).*Calls<TypeParam>::routeAdd)(this->p("10.0.0.0/8"), other);
   EXPECT_EQ(other, this->route("10.0.0.0/8"));
   ((*this->trie).*Calls<TypeParam>::routeAdd)(this->p("0.0.0.0/0"), data);
   EXPECT_EQ(data, this->route("0.0.0.0/0"));
}

TYPED_TEST(WithNodeData, deletingGivesThePayloadBack) {
   const auto data = this->setNew("10.0.0.0/8");
   EXPECT_FALSE(this->del("10.0.0.0/9")) << "covered is not installed";
   EXPECT_EQ(data, this->del("10.0.0.0/8"));
   EXPECT_EQ(1u, data->uses());
   EXPECT_TRUE(this->trie->empty());
   this->set("10.0.0.0/8", data);
   EXPECT_EQ(data, ((*this->trie).*Calls<TypeParam>::routeDelTest)(this->p("10.0.0.0/8")));
   EXPECT_TRUE(this->trie->empty());
}

TYPED_TEST(WithNodeData, exactAndCovering) {
   const auto eight = this->setNew("10.0.0.0/8");
   const auto sixteen = this->setNew("10.1.0.0/16");
   EXPECT_FALSE(this->route("10.2.0.0/16"));
   EXPECT_EQ(eight, this->match("10.2.0.0/16"));
   EXPECT_EQ(sixteen, this->match("10.1.2.3/32"));
   EXPECT_EQ(sixteen, this->match("10.1.0.0/16"));
   EXPECT_FALSE(this->match("11.0.0.0/8"));
   EXPECT_FALSE(this->match("0.0.0.0/0"));
   EXPECT_FALSE(this->route("0.0.0.0/0"));
   EXPECT_EQ(2u, eight->uses()) << "the lookups gave their references back";
}

TYPED_TEST(WithNodeData, lookupsAllocateNothing) {
   this->setNew("10.0.0.0/8");
   const auto objects = [] {
      std::uint64_t sum = 0;
      for (const auto* tracker : Tesk::AllocTrackTypeInfo::all()) {
         sum += tracker->totalAllocations();
      }
      return sum;
   };
   const auto query = this->p("10.0.0.0/8");
   const std::uint64_t before = objects();
   ((*this->trie).*Calls<TypeParam>::route)(query);
   ((*this->trie).*Calls<TypeParam>::longestMatch)(query);
   EXPECT_EQ(before, objects());
}

//--- the default route ---

TYPED_TEST(WithNodeData, defaultRouteTwice) {
   const auto first = Corvid::ptrIsImpl<Logged>(this->log);
   const auto second = Corvid::ptrIsImpl<Logged>(this->log);
   this->set("0.0.0.0/0", first);
   EXPECT_EQ((std::vector<std::string>{"onAddition"}), this->log);
   this->set("0.0.0.0/0", second);
   EXPECT_EQ((std::vector<std::string>{"onAddition", "onAddition", "insertData"}), this->log);
   EXPECT_EQ(1u, this->trie->routes());
   EXPECT_EQ(0, this->trie->nodes());
   EXPECT_EQ(second, this->trie->defaultRouteNodeData());
   EXPECT_EQ(1u, first->uses());
}

TYPED_TEST(WithNodeData, defaultRouteThatKeepsItsPayload) {
   const auto first = Corvid::ptrIsImpl<Logged>(this->log);
   first->keeps = true;
   this->set("0.0.0.0/0", first);
   this->setNew("0.0.0.0/0");
   EXPECT_EQ(first, this->route("0.0.0.0/0"));
   EXPECT_EQ(2u, first->uses());
}

TYPED_TEST(WithNodeData, deletingTheDefaultRoute) {
   EXPECT_FALSE(this->del("0.0.0.0/0")) << "absent";
   EXPECT_EQ(0u, this->trie->routes());
   const auto data = Corvid::ptrIsImpl<Logged>(this->log);
   this->set("0.0.0.0/0", data);
   this->log.clear();
   EXPECT_EQ(data, this->del("0.0.0.0/0"));
   EXPECT_EQ((std::vector<std::string>{"onDeletion", "removeData null"}), this->log);
   EXPECT_FALSE(this->trie->defaultRoutePresent());
   EXPECT_FALSE(this->trie->defaultRouteNodeData());
   EXPECT_EQ(0u, this->trie->routes());
   EXPECT_EQ(1u, data->uses());
}

// An update that keeps the default route lowers the count all the same, and it wraps when the route goes.
TYPED_TEST(WithNodeData, updateOfTheDefaultRouteLowersTheCount) {
   const auto first = this->setNew("0.0.0.0/0");
   const auto second = Routing::prefixDataFactory();
   EXPECT_EQ(first, this->delOrUpdate("0.0.0.0/0", second));
   EXPECT_TRUE(this->trie->defaultRoutePresent());
   EXPECT_EQ(second, this->trie->defaultRouteNodeData());
   EXPECT_EQ(0u, this->trie->routes());
   EXPECT_EQ(second, this->del("0.0.0.0/0"));
   EXPECT_FALSE(this->trie->defaultRoutePresent());
   EXPECT_EQ(4294967295u, this->trie->routes());
   EXPECT_FALSE(this->trie->empty());
}

TYPED_TEST(WithNodeData, updateOfARouteInANodeLowersTheCount) {
   const auto first = this->setNew("10.0.0.0/8");
   const auto second = Routing::prefixDataFactory();
   EXPECT_EQ(first, this->delOrUpdate("10.0.0.0/8", second));
   EXPECT_EQ(second, this->route("10.0.0.0/8"));
   EXPECT_EQ(0u, this->trie->routes());
   this->setNew("10.0.0.0/8");
   EXPECT_EQ(0u, this->trie->routes()) << "the route never went away";
   EXPECT_FALSE(this->delOrUpdate("10.0.0.0/9", second)) << "absent";
}

TYPED_TEST(WithNodeData, defaultRouteIsTheAnswerFromItsOwnField) {
   const auto fallback = this->setNew("0.0.0.0/0");
   const auto eight = this->setNew("10.0.0.0/8");
   EXPECT_EQ(fallback, this->match("11.0.0.0/8"));
   EXPECT_EQ(fallback, this->match("0.0.0.0/0"));
   EXPECT_EQ(eight, this->match("10.9.0.0/16"));
   EXPECT_FALSE(this->route("11.0.0.0/8"));
}

// What the base class adds has no payload, and nothing of this class takes it away.
TYPED_TEST(WithNodeData, defaultRouteOfTheBaseClassStays) {
   TypeParam::add(*this->trie, this->p("0.0.0.0/0"), Routing::prefixDataFactory());
   EXPECT_TRUE(this->trie->defaultRoutePresent());
   EXPECT_FALSE(this->trie->defaultRouteNodeData());
   EXPECT_FALSE(this->del("0.0.0.0/0"));
   EXPECT_TRUE(this->trie->defaultRoutePresent());
   EXPECT_EQ(1u, this->trie->routes());
   EXPECT_FALSE(this->match("10.0.0.0/8"));
   EXPECT_EQ(this->texts({"0.0.0.0/0"}), this->ancestors("10.0.0.0/8"));
}

TYPED_TEST(WithNodeData, aHookThatRaisesLeavesTheTrieWhole) {
   struct Raising : Routing::PrefixData {
      void onAddition() override { throw std::runtime_error("no"); }
   };
   const auto kept = this->setNew("10.0.0.0/8");
   const auto raising = Corvid::ptrIsImpl<Raising>();
   const TestSupport::LossAllowed lossAllowed;
   for (const auto* text : {"10.0.0.0/8", "10.0.0.0/16", "10.128.0.0/9", "11.0.0.0/8"}) {
      EXPECT_THROW(this->set(text, raising), std::runtime_error) << text;
      EXPECT_EQ(1u, this->trie->routes()) << text;
      EXPECT_EQ(1u, raising->uses()) << text;
      EXPECT_EQ("", this->trie->audit()) << text;
   }
   EXPECT_EQ(kept, this->route("10.0.0.0/8"));
}

TYPED_TEST(WithNodeData, tearingDownCallsNoHook) {
   const auto data = Corvid::ptrIsImpl<Logged>(this->log);
   this->set("0.0.0.0/0", data);
   this->set("10.0.0.0/8", data);
   this->set("10.0.0.0/16", data);
   this->log.clear();
   this->trie->handleDeletion();
   EXPECT_TRUE(this->log.empty());
   EXPECT_EQ(1u, data->uses());
}

//--- walks ---

TYPED_TEST(WithNodeData, ancestorsFromTheDefaultRouteToThePrefixItself) {
   EXPECT_TRUE(this->ancestors("10.1.2.0/24").empty());
   this->setNew("0.0.0.0/0");
   this->setNew("10.0.0.0/8");
   this->setNew("10.1.2.0/24");
   this->setNew("10.1.3.0/24");
   EXPECT_EQ(this->texts({"0.0.0.0/0", "10.0.0.0/8", "10.1.2.0/24"}), this->ancestors("10.1.2.0/24"));
   EXPECT_EQ(this->texts({"0.0.0.0/0", "10.0.0.0/8"}), this->ancestors("10.1.0.0/16"));
   EXPECT_EQ(this->texts({"0.0.0.0/0"}), this->ancestors("0.0.0.0/0"));
   this->del("0.0.0.0/0");
   EXPECT_EQ(this->texts({"10.0.0.0/8", "10.1.2.0/24"}), this->ancestors("10.1.2.128/25"));
   EXPECT_TRUE(this->ancestors("0.0.0.0/0").empty());
}

TYPED_TEST(WithNodeData, ancestorsComeWithTheirPayloads) {
   const auto fallback = this->setNew("0.0.0.0/0");
   const auto eight = this->setNew("10.0.0.0/8");
   const auto recorder = Corvid::ptrIsImpl<Recorder<TypeParam>>();
   ((*this->trie).*Calls<TypeParam>::ancestorWalk)(this->p("10.1.0.0/16"), recorder.get());
   EXPECT_EQ((std::vector<const Routing::PrefixData*>{fallback.get(), eight.get()}), recorder->payloads);
}

TYPED_TEST(WithNodeData, anAncestorWalkNeedsACallbackForTheDefaultRouteOnly) {
   this->setNew("10.0.0.0/8");
   ((*this->trie).*Calls<TypeParam>::ancestorWalk)(this->p("10.0.0.0/8"), nullptr);
}

//--- what forbids ---

template <class Kind>
class WithNodeDataDeathTest : public WithNodeData<Kind> {};
TYPED_TEST_SUITE(WithNodeDataDeathTest, PatriciaKinds);

TYPED_TEST(WithNodeDataDeathTest, anotherFamilyEvenOnAnEmptyTrie) {
   using Form = Calls<TypeParam>;
   constexpr auto text = "af\\(\\) == prefix.af\\(\\)' failed";
   auto& empty = *this->trie;
   const auto data = Routing::prefixDataFactory();
   for (const auto& wrong : {TypeParam::wrongFamily(), TypeParam::empty()}) {
      EXPECT_DEATH((empty.*Form::routeIs)(wrong, data), text);
      EXPECT_DEATH((empty.*Form::routeAdd)(wrong, data), text);
      EXPECT_DEATH((empty.*Form::routeDel)(wrong), text);
      EXPECT_DEATH((empty.*Form::routeDelTest)(wrong), text);
      EXPECT_DEATH((empty.*Form::routeDelOrUpdate)(wrong, data), text);
      EXPECT_DEATH((empty.*Form::route)(wrong), text);
      EXPECT_DEATH((empty.*Form::longestMatch)(wrong), text);
      EXPECT_DEATH((empty.*Form::ancestorWalk)(wrong, nullptr), text);
   }
}

TYPED_TEST(WithNodeDataDeathTest, noPayload) {
   EXPECT_DEATH(this->set("10.0.0.0/8", nullptr), "nodeDataEnabled\\(\\) == bool\\( data \\)' failed");
   EXPECT_DEATH(this->set("0.0.0.0/0", nullptr), "nodeDataEnabled\\(\\) == bool\\( data \\)' failed");
}

TYPED_TEST(WithNodeDataDeathTest, anIteratorForbidsChanges) {
   const auto data = this->setNew("10.0.0.0/8");
   this->trie->iteratorsInc(1);
   EXPECT_DEATH(this->set("10.0.0.0/8", data), "0 == iterators\\(\\)' failed");
   EXPECT_DEATH(this->del("11.0.0.0/8"), "0 == iterators\\(\\)' failed");
   EXPECT_DEATH(this->del("0.0.0.0/0"), "0 == iterators\\(\\)' failed");
   EXPECT_EQ(data, this->route("10.0.0.0/8")) << "reads go on";
   this->trie->iteratorsDec(1);
}

// The node type is tested before the family. routeDelTest is reported as the operation that it is another name of.
TEST(WithNodeDataDeathTest, formOfTheOtherNodeType) {
   constexpr auto notCompact = "paf\\(\\) != PatriciaTrieNodeType::nodeTypeIpv6Compact_' failed";
   constexpr auto notLegacy = "paf\\(\\) != PatriciaTrieNodeType::nodeTypeIpv6Legacy_' failed";
   const auto compact = Routing::patriciaTrieWithCompactNodeDataFactory(Corenet::ipv6);
   const auto legacy = Routing::patriciaTrieWithNodeDataFactory(Corenet::ipv6, false);
   const auto data = Routing::prefixDataFactory();
   const IpGenPrefix gen;
   const CompactIpPrefix word;
   EXPECT_DEATH(compact->routeIs(gen, data), notCompact);
   EXPECT_DEATH(compact->routeAdd(gen, data), notCompact);
   EXPECT_DEATH(compact->routeDel(gen), notCompact);
   EXPECT_DEATH(compact->routeDelTest(gen), "routeDel\\(const Corenet::IpGenPrefix.*" + std::string(notCompact));
   EXPECT_DEATH(compact->routeDelOrUpdate(gen, data), notCompact);
   EXPECT_DEATH(compact->route(gen), notCompact);
   EXPECT_DEATH(compact->longestMatch(gen), notCompact);
   EXPECT_DEATH(compact->ancestorWalk(gen, nullptr), notCompact);
   EXPECT_DEATH(legacy->routeCompactIs(word, data), notLegacy);
   EXPECT_DEATH(legacy->routeAddCompact(word, data), notLegacy);
   EXPECT_DEATH(legacy->routeCompactDel(word), notLegacy);
   EXPECT_DEATH(legacy->routeDelCompact(word),
                "routeCompactDel\\(const Corenet::CompactIpPrefix.*" + std::string(notLegacy));
   EXPECT_DEATH(legacy->routeDelOrUpdateCompact(word, data), notLegacy);
   EXPECT_DEATH(legacy->routeCompact(word), notLegacy);
   EXPECT_DEATH(legacy->longestMatchCompact(word), notLegacy);
   EXPECT_DEATH(legacy->ancestorWalkCompact(word, nullptr), notLegacy);
}

//--- by name, and the compact class ---

TEST(PatriciaTrieWithCompactNodeData, isATrieOfCompactPrefixes) {
   const auto trie = Routing::PatriciaTrieWithCompactNodeData::PatriciaTrieWithCompactNodeDataIs(Corenet::ipv6);
   EXPECT_TRUE(trie->useCompactIpPrefix());
   EXPECT_EQ(Routing::nodeTypeIpv6Compact(), trie->paf());
   EXPECT_TRUE(trie->nodeDataEnabled());
   const auto data = Routing::prefixDataFactory();
   const auto route = CompactIpPrefix::fromString("2001:db8::1/128");
   trie->routeCompactIs(route, data);
   EXPECT_EQ(data, trie->routeCompact(route));
   const auto type = Corvid::Inspect::typeOf(*trie).value();
   EXPECT_EQ("Routing::PatriciaTrieWithCompactNodeData", type.name());
   EXPECT_EQ("Routing::PatriciaTrieWithNodeData", type.base().value().name());
   EXPECT_TRUE(type.fields().empty());
}

TEST(PatriciaTrieWithNodeData, surface) {
   EXPECT_EQ(
      "258 route Routing::PrefixData: 0 1 2 28\n"
      "259 routeCompact Routing::PrefixData: 0 1 2 28\n"
      "260 routeAdd void: 10\n"
      "261 routeAddCompact void: 10\n"
      "262 routeDelTest Routing::PrefixData: 10\n"
      "263 routeDelCompact Routing::PrefixData: 10\n"
      "264 routeDelOrUpdate Routing::PrefixData: 10\n"
      "265 routeDelOrUpdateCompact Routing::PrefixData: 10\n"
      "266 longestMatch Routing::PrefixData: 10\n"
      "267 longestMatchCompact Routing::PrefixData: 10\n"
      "268 ancestorWalk void: 10\n"
      "269 ancestorWalkCompact void: 10\n",
      TestSupport::surfaceOf("Routing::PatriciaTrieWithNodeData"));
}

TEST(PatriciaTrieWithNodeData, unknownFieldsAndOtherKindsAreRefused) {
   const auto trie = Routing::patriciaTrieWithNodeDataFactory(Corenet::ipv4, false);
   const U8 unknown = TestSupport::statusOf(*trie, 270, 0);
   EXPECT_EQ(unknown, TestSupport::statusOf(*trie, 257, 0));
   const U8 badKind = TestSupport::statusOf(*trie, 258, 10);
   EXPECT_NE(unknown, badKind);
   EXPECT_EQ(badKind, TestSupport::statusOf(*trie, 260, 0));
   EXPECT_EQ(badKind, TestSupport::statusOf(*trie, 269, 28));
}

TEST(PatriciaTrieWithNodeData, byName) {
   namespace Inspect = Corvid::Inspect;
   const auto made = Inspect::make(Inspect::findType("Routing::PatriciaTrieWithNodeData").value(), {"ipv4", "false"});
   auto& trie = static_cast<PatriciaTrieWithNodeData&>(*made);
   const auto data = Routing::prefixDataFactory();
   trie.routeIs(IpGenPrefix::fromString("10.0.0.0/8"), data);
   EXPECT_EQ(data.get(), Inspect::get(trie, "route", "10.0.0.0/8").object.get());
   EXPECT_EQ(data.get(), Inspect::get(trie, "routeCompact", "10.0.0.0/8").object.get());
   EXPECT_EQ(data.get(), Inspect::call(trie, "longestMatch", {"10.1.0.0/16"}).object.get());
   EXPECT_EQ("ipv4", Inspect::get(trie, "af").text) << "the base's";
   EXPECT_EQ(data.get(), Inspect::call(trie, "routeDelTest", {"10.0.0.0/8"}).object.get());
   EXPECT_TRUE(trie.empty());
}

}  // namespace PatriciaTrieWithNodeDataTest
