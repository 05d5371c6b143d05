#include "routetrie/trie/front/TrieWrapper.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <sstream>
#include <string>
#include <vector>

#include "routetrie/platform/CoreSlab/Slab.h"
#include "routetrie/platform/Corvid/Inspect.h"
#include "routetrie/trie/front/TrieGen.h"
#include "tests/property/LiveCounts.h"
#include "tests/trie/Surface.h"

namespace TrieWrapperTest {

namespace Inspect = Corvid::Inspect;
using Corenet::AddressFamily;
using Corenet::CompactIpPrefix;
using Corenet::V4V6;
using Routing::TrieWrapper;
using testing::ElementsAre;
using TestSupport::statusOf;
using TestSupport::surfaceOf;

CompactIpPrefix p(std::string_view text) { return CompactIpPrefix::fromString(text); }

Corvid::Ptr<TrieWrapper> trieOf(std::initializer_list<std::string_view> routes) {
   const auto trie = Routing::trieWrapperFactory(p(*routes.begin()).af());
   for (const auto route : routes) {
      trie->routeIs(p(route), true);
   }
   return trie;
}

class Recorder : public Routing::PatriciaTrieCompactWalkCb {
  public:
   ~Recorder() override { nodeFlagSet(Corvid::nodeFlagAlive, false); }
   bool handlePrefixData(const CompactIpPrefix& prefix, const Routing::PrefixData* data) override {
      EXPECT_EQ(nullptr, data);
      seen.emplace_back(prefix.stringValue());
      return prefix != refused;
   }
   std::vector<std::string> seen;
   CompactIpPrefix refused;
};

std::string dumpOf(const std::function<void(const Corvid::Ptr<const Keel::DumpContext>&)>& dump) {
   std::ostringstream out;
   dump(Keel::dumpContextFactory(out));
   return out.str();
}

TEST(TrieWrapper, hasTheEngineOfItsFamily) {
   const auto trie4 = Routing::trieWrapperFactory(Corenet::ipv4());
   EXPECT_EQ(Corenet::ipv4(), trie4->af());
   EXPECT_EQ(V4V6::v4, trie4->v4v6());
   EXPECT_TRUE(trie4->v4Trie());
   EXPECT_FALSE(trie4->v6Trie());
   const auto trie6 = TrieWrapper::TrieWrapperIs(Corenet::ipv6());
   EXPECT_EQ(Corenet::ipv6(), trie6->af());
   EXPECT_EQ(V4V6::v6, trie6->v4v6());
   EXPECT_FALSE(trie6->v4Trie());
   ASSERT_TRUE(trie6->v6Trie());
   EXPECT_EQ(Corenet::ipv6(), trie6->v6Trie()->af());
   for (const auto& trie : {trie4, trie6}) {
      EXPECT_TRUE(trie->empty());
      EXPECT_EQ(0u, trie->routes());
      EXPECT_FALSE(trie->defaultRoutePresent());
      EXPECT_EQ(nullptr, trie->publisher());
      EXPECT_EQ("", trie->audit());
   }
}

TEST(TrieWrapperDeathTest, anUnknownFamily) {
   EXPECT_DEATH(Routing::trieWrapperFactory(AddressFamily::none), "v4V6.*Assertion `false' failed");
   EXPECT_DEATH(Routing::trieWrapperFactory(AddressFamily(7)), "v4V6.*Assertion `false' failed");
}

TEST(TrieWrapper, routesOfEitherFamily) {
   struct Case {
      const char *wide, *narrow, *zero, *other;
   };
   for (const auto& [wide, narrow, zero, other] :
        {Case{"10.0.0.0/8", "10.1.0.0/16", "0.0.0.0/0", "11.0.0.0/8"},
         Case{"2001:db8::/32", "2001:db8::1/128", "::/0", "2001:db9::/32"}}) {
      SCOPED_TRACE(wide);
      const auto trie = trieOf({wide, narrow});
      const auto none = CompactIpPrefix::getNull(trie->af());
      EXPECT_TRUE(trie->route(p(wide)));
      EXPECT_FALSE(trie->route(p(other)));
      EXPECT_EQ(2u, trie->routes());
      EXPECT_FALSE(trie->empty());
      EXPECT_EQ(p(narrow), trie->longestMatch(p(narrow)));
      EXPECT_EQ(none, trie->longestMatch(p(other)));
      EXPECT_EQ(p(wide), trie->findParent(p(narrow)));
      EXPECT_TRUE(trie->longerRoutePresent(p(wide)));
      EXPECT_FALSE(trie->longerRoutePresent(p(narrow)));
      trie->routeIs(p(zero), true);
      EXPECT_TRUE(trie->defaultRoutePresent());
      EXPECT_EQ(p(zero), trie->longestMatch(p(other)));
      EXPECT_TRUE(trie->routeDel(p(narrow)));
      EXPECT_EQ(p(wide), trie->longestMatch(p(narrow)));
      EXPECT_EQ("", trie->audit());
   }
}

TEST(TrieWrapper, aMissingParentIsTheEnginesAnswer) {
   EXPECT_EQ(CompactIpPrefix::getNull(Corenet::ipv4()), trieOf({"10.0.0.0/8"})->findParent(p("10.0.0.0/8")));
   EXPECT_EQ(CompactIpPrefix(), trieOf({"2001:db8::/32"})->findParent(p("2001:db8::/32")));
}

TEST(TrieWrapper, anIpv4WrapperTakesAPrefixOfIpv6ForTheNullPrefix) {
   const auto trie = Routing::trieWrapperFactory(Corenet::ipv4());
   trie->routeIs(p("2001:db8::/32"), true);
   EXPECT_EQ(1u, trie->routes());
   EXPECT_TRUE(trie->route(p("0.0.0.0/31")));
   trie->routeIs(p("0.0.0.1/32"), true);
   const auto recorder = Corvid::ptrIsImpl<Recorder>();
   trie->preOrderWalkCompact(p("2001:db8::/32"), recorder.get());
   EXPECT_THAT(recorder->seen, ElementsAre());
   EXPECT_TRUE(trie->longerRoutePresent(p("2001:db8::/32")));
}

TEST(TrieWrapper, enginesComeAndGo) {
   const auto trie = trieOf({"10.0.0.0/8"});
   const auto engine = trie->v4TrieIs();
   EXPECT_EQ(trie->v4Trie(), engine);
   EXPECT_EQ(2u, engine->uses());
   EXPECT_EQ(engine, trie->v4TrieDel());
   EXPECT_EQ(1u, engine->uses());
   EXPECT_EQ(nullptr, trie->v4TrieDel());
   EXPECT_EQ("the engine is not the family's", trie->audit());
   EXPECT_NE(engine, trie->v4TrieIs());
   EXPECT_EQ(0u, trie->routes());

   EXPECT_EQ(nullptr, trie->v6TrieDel());
   const auto trie6 = trieOf({"2001:db8::/32"});
   const auto engine6 = trie6->v6Trie();
   EXPECT_EQ(engine6, trie6->v6TrieIs(Corenet::ipv6()));
   const auto replaced = trie6->v6TrieIs(Corenet::ipv4());
   EXPECT_NE(engine6, replaced);
   EXPECT_EQ(Corenet::ipv4(), replaced->af()) << "whatever the name says";
   EXPECT_EQ(1u, engine6->uses());
   EXPECT_EQ(replaced, trie6->v6TrieDel());
   trie6->handleInitialized();
   EXPECT_EQ(Corenet::ipv6(), trie6->v6Trie()->af());
}

TEST(TrieWrapper, handleInitializedKeepsAnEngineThatIsThere) {
   const auto trie = trieOf({"10.0.0.0/8"});
   trie->handleInitialized();
   EXPECT_EQ(1u, trie->routes());
}

TEST(TrieWrapper, walksEitherEngine) {
   const auto recorder = Corvid::ptrIsImpl<Recorder>();
   const auto trie4 = trieOf({"10.0.0.0/8", "10.1.0.0/16", "0.0.0.0/0"});
   trie4->preOrderWalkCompact(p("0.0.0.0/0"), recorder.get());
   EXPECT_THAT(recorder->seen, ElementsAre("0.0.0.0/0", "10.0.0.0/8", "10.1.0.0/16"));
   EXPECT_EQ(1u, recorder->uses()) << "every reference was given back";
   recorder->seen.clear();
   recorder->refused = p("10.0.0.0/8");
   trie4->preOrderWalkCompact(p("10.0.0.0/8"), recorder.get());
   EXPECT_THAT(recorder->seen, ElementsAre("10.0.0.0/8"));
   recorder->seen.clear();
   const auto trie6 = trieOf({"2001:db8::/32", "2001:db8::1/128", "::/0"});
   trie6->preOrderWalkCompact(p("2001:db8::/32"), recorder.get());
   EXPECT_THAT(recorder->seen, ElementsAre("2001:db8::/32", "2001:db8::1/128"));
   EXPECT_EQ(1u, recorder->uses());
}

TEST(TrieWrapper, dumpsItsEngineUnchanged) {
   const auto trie4 = trieOf({"10.0.0.0/8", "0.0.0.0/0"});
   const auto trie6 = trieOf({"2001:db8::/32"});
   for (const U32 indent : {0u, 6u}) {
      EXPECT_EQ(dumpOf([&](const auto& context) { trie4->v4Trie()->dumpState(context, indent); }),
                dumpOf([&](const auto& context) { trie4->dumpState(context, indent); }));
      EXPECT_EQ(dumpOf([&](const auto& context) { trie6->v6Trie()->dumpState(context, indent); }),
                dumpOf([&](const auto& context) { trie6->dumpState(context, indent); }));
   }
   EXPECT_EQ("Trie\n  route[] #1\n    0.0.0.0/0\n    10.0.0.0/8\n",
             dumpOf([&](const auto& context) { trie4->dumpState(context, 0); }));
   EXPECT_EQ("PatriciaTrie\n  route[] #1\n    2001:db8::/32\n",
             dumpOf([&](const auto& context) { trie6->dumpState(context, 0); }));
}

// Puts a selector into the object that is neither of the two.
const TrieWrapper& damaged(TrieWrapper& trie) {
   const U16 position = Inspect::findType("Routing::TrieWrapper")->field("v4v6")->row().position;
   reinterpret_cast<unsigned char*>(&trie)[position] = 7;
   return trie;
}

TEST(TrieWrapperDeathTest, aBadSelector) {
   const auto trie = trieOf({"10.0.0.0/8"});
   const auto& bad = damaged(*trie);
   const auto prefix = p("10.0.0.0/8");
   const auto failed = [](const std::string& function) { return function + ".*: Assertion `false' failed"; };
   EXPECT_DEATH(bad.route(prefix), failed("bool Routing::TrieWrapper::route\\("));
   EXPECT_DEATH(trie->routeIs(prefix, true), failed("void Routing::TrieWrapper::routeIs\\("));
   EXPECT_DEATH(trie->routeDel(prefix), failed("bool Routing::TrieWrapper::routeDel\\("));
   EXPECT_DEATH(bad.routes(), failed("U32 Routing::TrieWrapper::routes\\("));
   EXPECT_DEATH(bad.defaultRoutePresent(), failed("bool Routing::TrieWrapper::defaultRoutePresent\\("));
   EXPECT_DEATH(bad.empty(), failed("bool Routing::TrieWrapper::empty\\("));
   EXPECT_DEATH(bad.longestMatch(prefix), failed("Corenet::CompactIpPrefix Routing::TrieWrapper::longestMatch\\("));
   EXPECT_DEATH(bad.longerRoutePresent(prefix), failed("bool Routing::TrieWrapper::longerRoutePresent\\("));
   EXPECT_DEATH(bad.findParent(prefix), failed("Corenet::CompactIpPrefix Routing::TrieWrapper::findParent\\("));
   EXPECT_DEATH(bad.preOrderWalkCompact(prefix, nullptr),
                failed("void Routing::TrieWrapper::preOrderWalkCompact\\("));
   EXPECT_EQ("", dumpOf([&](const auto& context) { bad.dumpState(context, 0); })) << "this one does nothing";
   EXPECT_EQ("the engine is not the family's", bad.audit());
}

#ifdef ROUTETRIE_FAULT_INJECTION
TEST(TrieWrapper, outOfMemoryInTheMakingLeavesNothing) {
   const Property::LiveCounts before;
   for (const auto family : {AddressFamily::ipv4, AddressFamily::ipv6}) {
      for (std::uint64_t n = 1; n <= 2; ++n) {
         CoreSlab::failAt(n);
         EXPECT_THROW(Routing::trieWrapperFactory(family), std::bad_alloc) << n;
         CoreSlab::failAt(0);
         EXPECT_EQ("", before.changes()) << n;
      }
   }
}
#endif

//--- by name ---

TEST(TrieWrapperByName, surface) {
   EXPECT_EQ(
      "130 af Corenet::AddressFamily: 0\n"
      "131 v4v6 Corenet::V4V6: 0\n"
      "132 v4Trie Routing::Trie:\n"
      "133 v6Trie Routing::TrieCompact:\n"
      "134 route bool: 0 1 2\n"
      "135 routes U32: 0\n"
      "136 defaultRoutePresent bool: 10\n"
      "137 empty bool: 10\n"
      "138 longestMatch Corenet::CompactIpPrefix: 10\n"
      "139 longerRoutePresent bool: 10\n"
      "140 findParent Corenet::CompactIpPrefix: 10\n"
      "141 preOrderWalkCompact void: 10\n"
      "142 handleInitialized void:\n"
      "143 dumpState void: 10\n",
      surfaceOf("Routing::TrieWrapper"));
   // The one attribute that is made with an argument.
   const auto fields = Inspect::findType("Routing::TrieWrapper").value().fields();
   for (const auto& field : fields) {
      if (field.name() == "v6Trie") {
         ASSERT_EQ(1u, field.parameters().size());
         EXPECT_EQ("af", field.parameters()[0].name);
         EXPECT_EQ("Corenet::AddressFamily", field.parameters()[0].typeName);
      } else if (field.name() == "v4Trie") {
         EXPECT_EQ(0u, field.parameters().size());
      }
   }
   const auto trie = trieOf({"10.0.0.0/8"});
   for (const U8 kind : TestSupport::accessKinds) {
      for (const auto id : std::initializer_list<Corvid::FieldId>{132, 133, 142}) {
         EXPECT_EQ(1, statusOf(*trie, id, kind)) << id;
      }
   }
   EXPECT_EQ(2, statusOf(*trie, 144, 0));
}

TEST(TrieWrapperByName, everyField) {
   const auto made = Inspect::make(Inspect::findType("Routing::TrieWrapper").value(), {"ipv4"});
   EXPECT_EQ("ipv4", Inspect::get(*made, "af").text);
   EXPECT_EQ("ipv4", Inspect::get(*made, "v4v6").text);
   Inspect::set(*made, "route", "10.0.0.0/8", "true");
   EXPECT_EQ("true", Inspect::get(*made, "route", "10.0.0.0/8").text);
   EXPECT_EQ("1", Inspect::get(*made, "routes").text);
   EXPECT_EQ("false", Inspect::call(*made, "defaultRoutePresent").text);
   EXPECT_EQ("false", Inspect::call(*made, "empty").text);
   EXPECT_EQ("10.0.0.0/8", Inspect::call(*made, "longestMatch", {"10.1.0.0/16"}).text);
   EXPECT_EQ("true", Inspect::call(*made, "longerRoutePresent", {"10.0.0.0/7"}).text);
   EXPECT_EQ("10.0.0.0/8", Inspect::call(*made, "findParent", {"10.1.0.0/16"}).text);
   const auto recorder = Corvid::ptrIsImpl<Recorder>();
   Inspect::call(*made, "preOrderWalkCompact", {"0.0.0.0/0", recorder});
   EXPECT_THAT(recorder->seen, ElementsAre("10.0.0.0/8"));
   EXPECT_EQ("Trie\n  route[] #1\n    10.0.0.0/8\n", dumpOf([&](const auto& context) {
                Inspect::call(*made, "dumpState", {context, "0"});
             }));
   EXPECT_EQ("true", Inspect::del(*made, "route", "10.0.0.0/8").text);
}

TEST(TrieWrapperMemory, isBackToItsStartWhenTheTrieIsGone) {
   const Property::LiveCounts before;
   for (const char* route : {"10.1.2.3/32", "2001:db8::1/128"}) {
      const auto trie = trieOf({route});
      EXPECT_THAT(before.changes(), testing::HasSubstr("objects of Routing::TrieWrapper: 0 before, 1 now"));
   }
   EXPECT_EQ("", before.changes());
}

//--- how it differs from the trie that publishes; what the columns share with tests above is there ---

class BesideTrieGen : public testing::Test {
  protected:
   Corvid::Ptr<TrieWrapper> wrapper4_ = Routing::trieWrapperFactory(Corenet::ipv4());
   Corvid::Ptr<TrieWrapper> wrapper6_ = Routing::trieWrapperFactory(Corenet::ipv6());
   Corvid::Ptr<Routing::TrieGen> gen4_ = Routing::trieGenFactory("4", Corenet::ipv4());
   Corvid::Ptr<Routing::TrieGen> gen6_ = Routing::trieGenFactory("6", Corenet::ipv6());
   const Corenet::IpGenPrefix prefix4_ = Corenet::IpGenPrefix::fromString("10.0.0.0/8");
   const CompactIpPrefix compact4_ = p("10.0.0.0/8");
};

TEST_F(BesideTrieGen, engineOfIpv6) {
   EXPECT_EQ("Routing6::Trie", Inspect::typeOf(*gen6_->trie6())->name());
   EXPECT_EQ("Routing::TrieCompact", Inspect::typeOf(*wrapper6_->v6Trie())->name());
   EXPECT_EQ("Routing::Trie", Inspect::typeOf(*gen4_->trie4())->name());
   EXPECT_EQ("Routing::Trie", Inspect::typeOf(*wrapper4_->v4Trie())->name());
}

TEST_F(BesideTrieGen, publication) {
   EXPECT_NE(nullptr, gen4_->publisher());
   EXPECT_EQ(nullptr, wrapper4_->publisher());
}

TEST_F(BesideTrieGen, aRouteThatIsPresent) {
   gen4_->routeIs(prefix4_, true);
   wrapper4_->routeIs(compact4_, true);
   int toldGen = 0;
   int toldWrapper = 0;
   const auto watchGen = gen4_->trie4()->publisher()->subscribe([&](const auto&) { ++toldGen; });
   const auto watchWrapper = wrapper4_->v4Trie()->publisher()->subscribe([&](const auto&) { ++toldWrapper; });
   gen4_->routeIs(prefix4_, true);
   wrapper4_->routeIs(compact4_, true);
   EXPECT_EQ(0, toldGen);
   EXPECT_EQ(1, toldWrapper);
}

// The flag goes on to the engine, which ignores it; so the two do the same.
TEST_F(BesideTrieGen, theFlagOfRouteIs) {
   gen4_->routeIs(prefix4_, false);
   wrapper4_->routeIs(compact4_, false);
   EXPECT_TRUE(gen4_->route(prefix4_));
   EXPECT_TRUE(wrapper4_->route(compact4_));
}

using BesideTrieGenDeathTest = BesideTrieGen;

TEST_F(BesideTrieGenDeathTest, aPrefixOfTheOtherFamily) {
   const auto foreign = Corenet::IpGenPrefix::fromString("2001:db8::/32");
   EXPECT_DEATH(gen4_->longestMatch(foreign), "p.af\\(\\) == af\\(\\)");
   EXPECT_EQ(CompactIpPrefix::getNull(Corenet::ipv4()), wrapper4_->longestMatch(p("2001:db8::/32")));
}

TEST_F(BesideTrieGen, theName) {
   EXPECT_EQ("4", gen4_->name());
   EXPECT_FALSE(Inspect::findType("Routing::TrieWrapper")->field("name"));
}

}  // namespace TrieWrapperTest
