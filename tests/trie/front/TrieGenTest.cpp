#include "routetrie/trie/front/TrieGen.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

#include "routetrie/platform/BriskTrace.h"
#include "routetrie/platform/CoreSlab/Slab.h"
#include "routetrie/platform/Corvid/Inspect.h"
#include "routetrie/trie/patricia/PatriciaTrieIterator.h"
#include "tests/platform/TraceCapture.h"
#include "tests/property/LiveCounts.h"
#include "tests/trie/Publications.h"
#include "tests/trie/Surface.h"

namespace TrieGenTest {

namespace Inspect = Corvid::Inspect;
using Corenet::AddressFamily;
using Corenet::IpGenPrefix;
using Routing::TrieGen;
using testing::ElementsAre;
using testing::IsEmpty;
using TestSupport::changeText;
using TestSupport::Publications;
using TestSupport::statusOf;
using TestSupport::surfaceOf;
using TestSupport::TraceCapture;

using Changes = std::vector<std::string>;

IpGenPrefix p(std::string_view text) { return IpGenPrefix::fromString(text); }

// The routes of a test in the two families, so that each test is run on both.
struct Routes {
   AddressFamily family;
   const char* zero;  // the default route
   const char* wide;  // covers narrow
   const char* narrow;
   const char* other;    // beside both
   const char* foreign;  // of the other family
   const char* none;     // the null prefix
   int engineId;         // of the engine's changedRoute
};

class TrieGenOf : public testing::TestWithParam<Routes> {
  protected:
   const Routes& routes() const { return GetParam(); }
   void add(const char* route) { trie_->routeIs(p(route), true); }

   // A change of the object, or of its engine with "engine" before it.
   std::string text(const Corvid::Change& change) const {
      switch (change.id) {
         case 140: return changeText(change, trie_->changedRoute());
         case 143: return changeText(change, trie_->routeUpdated());
         case 148: return changeText(change, trie_->initialize());
         case 151: return changeText(change, trie_->defaultRoutePresent());
         default: return std::to_string(change.id);
      }
   }
   // What the trie and its engine publish, in one list.
   void watchEngine() {
      Corvid::Publisher* const engine =
         routes().family == Corenet::ipv4() ? trie_->trie4()->publisher() : trie_->trie6()->publisher();
      engineWatch_ = engine->subscribe(
         [this](const Corvid::Change& change) { all_.push_back("engine " + std::to_string(change.id)); });
      trieWatch_ =
         trie_->publisher()->subscribe([this](const Corvid::Change& change) { all_.push_back(text(change)); });
   }
   std::vector<std::string> take() { return std::exchange(all_, {}); }
   std::string pulse(const char* route) const { return std::string("140: none -> ") + route; }
   std::string engine() const { return "engine " + std::to_string(routes().engineId); }

   Corvid::Ptr<TrieGen> trie_ = Routing::trieGenFactory("test", GetParam().family);
   std::vector<std::string> all_;
   Corvid::Subscription engineWatch_;
   Corvid::Subscription trieWatch_;
};

INSTANTIATE_TEST_SUITE_P(Families, TrieGenOf,
                         testing::Values(Routes{AddressFamily::ipv4, "0.0.0.0/0", "10.0.0.0/8", "10.1.0.0/16",
                                                "11.0.0.0/8", "2001:db8::/32", "0.0.0.0/255", 133},
                                         Routes{AddressFamily::ipv6, "::/0", "2001:db8::/32", "2001:db8:1::/48",
                                                "2001:db9::/32", "10.0.0.0/8", "::/255", 262}),
                         [](const auto& routes) {
                            return std::string(routes.param.family == Corenet::ipv4() ? "Ipv4" : "Ipv6");
                         });

TEST_P(TrieGenOf, beginsEmptyWithItsEngineAndBothAdapters) {
   EXPECT_EQ("test", trie_->name());
   EXPECT_EQ(routes().family, trie_->af());
   EXPECT_EQ(routes().family == Corenet::ipv4(), bool(trie_->trie4()));
   EXPECT_EQ(routes().family == Corenet::ipv6(), bool(trie_->trie6()));
   EXPECT_TRUE(trie_->cb4() && trie_->cb6());
   EXPECT_EQ(IpGenPrefix(), trie_->changedRoute());
   EXPECT_FALSE(trie_->routeUpdated() || trie_->initialize() || trie_->defaultRoutePresent());
   EXPECT_EQ(0, trie_->nodes());
   EXPECT_EQ(0u, trie_->routes());
   EXPECT_EQ(1u, trie_->uses());
   EXPECT_EQ("", trie_->audit());
}

TEST_P(TrieGenOf, anEmptyTrieAnswersWithTheEmptyValue) {
   EXPECT_EQ(IpGenPrefix(), trie_->longestMatch(p(routes().narrow)));
   EXPECT_FALSE(trie_->route(p(routes().narrow)));
   EXPECT_FALSE(trie_->longerRoutePresent(p(routes().zero)));
   EXPECT_FALSE(trie_->isDefaultRoutePresent());
}

TEST_P(TrieGenOf, aMissingParentIsTheNullPrefixOfTheFamily) {
   EXPECT_EQ(p(routes().none), trie_->findParent(p(routes().narrow)));
   EXPECT_EQ(routes().family, trie_->findParent(p(routes().narrow)).af());
}

TEST_P(TrieGenOf, routes) {
   add(routes().wide);
   add(routes().narrow);
   EXPECT_TRUE(trie_->route(p(routes().wide)));
   EXPECT_EQ(p(routes().narrow), trie_->longestMatch(p(routes().narrow)));
   EXPECT_EQ(p(routes().wide), trie_->findParent(p(routes().narrow)));
   EXPECT_TRUE(trie_->longerRoutePresent(p(routes().wide)));
   EXPECT_EQ(2u, trie_->routes());
   EXPECT_TRUE(trie_->routeDel(p(routes().narrow)));
   EXPECT_FALSE(trie_->route(p(routes().narrow)));
   EXPECT_EQ(p(routes().wide), trie_->longestMatch(p(routes().narrow)));
   EXPECT_EQ("", trie_->audit());
}

TEST_P(TrieGenOf, theFlagOfRouteIsMeansNothing) {
   trie_->routeIs(p(routes().wide), false);
   EXPECT_TRUE(trie_->route(p(routes().wide)));
}

//--- what each update publishes, in order ---

TEST_P(TrieGenOf, aNewRoute) {
   watchEngine();
   add(routes().wide);
   EXPECT_EQ((Changes{engine(), pulse(routes().wide)}), take());
   EXPECT_EQ(IpGenPrefix(), trie_->changedRoute());
}

TEST_P(TrieGenOf, aRouteAddedTwice) {
   add(routes().wide);
   const U32 count = trie_->routes();
   watchEngine();
   add(routes().wide);
   EXPECT_EQ((Changes{"143: false -> true", pulse(routes().wide)}), take()) << "the engine is left alone";
   EXPECT_TRUE(trie_->routeUpdated());
   EXPECT_EQ(count, trie_->routes());
   add(routes().wide);
   EXPECT_EQ((Changes{pulse(routes().wide)}), take());
   add(routes().narrow);
   EXPECT_EQ((Changes{"143: true -> false", engine(), pulse(routes().narrow)}), take());
}

// Where nobody follows, an addition asks the engine once and not twice.
TEST_P(TrieGenOf, anAdditionEndsTheSameWhetherOrNotItIsFollowed) {
   const auto followed = Routing::trieGenFactory("followed", routes().family);
   const auto watch = followed->publisher()->subscribe([](const Corvid::Change&) {});
   const auto state = [](const TrieGen& trie) {
      return testing::Message() << trie.routeUpdated() << trie.defaultRoutePresent() << trie.isDefaultRoutePresent()
                                << " changed " << trie.changedRoute() << " routes " << trie.routes() << " nodes "
                                << trie.nodes();
   };
   // The null prefix is taken for a route of IPv4 alone.
   const char* const odd = routes().family == Corenet::ipv4() ? routes().none : routes().other;
   // What callers may have set does not outlive an addition, and is not looked at by one of a present route.
   for (TrieGen* const trie : {trie_.get(), followed.get()}) {
      trie->changedRouteIs(p(routes().other));
      trie->defaultRoutePresentIs(true);
   }
   for (const char* route : {routes().wide, routes().wide, routes().narrow, odd, odd, routes().zero, routes().zero,
                             routes().other, routes().wide, routes().narrow}) {
      add(route);
      followed->routeIs(p(route), true);
      EXPECT_EQ(state(*followed).GetString(), state(*trie_).GetString()) << route;
      EXPECT_EQ("", trie_->audit());
   }
}

TEST_P(TrieGenOf, aPresentRouteLeavesTheEngineAloneWhetherOrNotItIsFollowed) {
   const auto note = [&](const char* route) {
      if (routes().family == Corenet::ipv4()) {
         trie_->trie4()->changedRouteIs(p(route).v4Prefix());
      } else {
         trie_->trie6()->changedRouteIs(p(route).v6Prefix());
      }
   };
   const auto noted = [&]() -> IpGenPrefix {
      return routes().family == Corenet::ipv4() ? IpGenPrefix(trie_->trie4()->changedRoute())
                                                : IpGenPrefix(trie_->trie6()->changedRoute());
   };
   for (const bool followed : {false, true}) {
      const auto watch =
         followed ? trie_->publisher()->subscribe([](const Corvid::Change&) {}) : Corvid::Subscription();
      for (const char* route : {routes().wide, routes().narrow}) {
         trie_->routeDel(p(route));
         note(routes().other);
         add(route);
         EXPECT_EQ(p(routes().none), noted()) << "a new route is the engine's to announce";
         EXPECT_FALSE(trie_->routeUpdated());
         note(routes().other);
         add(route);
         EXPECT_EQ(p(routes().other), noted()) << route << (followed ? " followed" : " alone");
         EXPECT_TRUE(trie_->routeUpdated());
      }
   }
}

TEST(TrieGen, aPresentRouteMayBeAddedToAnEngineThatTakesNone) {
   const auto trie = Routing::trieGenFactory("test", AddressFamily::ipv6);
   trie->routeIs(p("2001:db8::/32"), true);
   trie->trie6()->nodeDataEnabledIs(true);
   trie->routeIs(p("2001:db8::/32"), true);
   EXPECT_TRUE(trie->routeUpdated());
   trie->trie6()->nodeDataEnabledIs(false);
}

TEST(TrieGen, aPresentRouteMayBeAddedWhileAnIteratorLives) {
   const auto trie = Routing::trieGenFactory("test", AddressFamily::ipv6);
   trie->routeIs(p("2001:db8::/32"), true);
   const auto routes = Routing::routesOf(trie->trie6().get());
   const auto first = routes.begin();
   trie->routeIs(p("2001:db8::/32"), true);
   EXPECT_TRUE(trie->routeUpdated());
   EXPECT_EQ(1u, trie->routes());
}

TEST_P(TrieGenOf, aDeletedRoute) {
   add(routes().wide);
   add(routes().wide);
   watchEngine();
   EXPECT_TRUE(trie_->routeDel(p(routes().wide)));
   EXPECT_EQ((Changes{"143: true -> false", engine(), pulse(routes().wide)}), take());
   EXPECT_FALSE(trie_->routeUpdated());
}

TEST_P(TrieGenOf, anAbsentRouteDeleted) {
   add(routes().wide);
   add(routes().wide);
   watchEngine();
   trie_->routeDel(p(routes().other));
   EXPECT_EQ((Changes{"143: true -> false", engine(), pulse(routes().other)}), take());
   trie_->routeDel(p(routes().other));
   EXPECT_EQ((Changes{engine(), pulse(routes().other)}), take());
   EXPECT_EQ(1u, trie_->routes());
}

TEST_P(TrieGenOf, theDefaultRoute) {
   watchEngine();
   add(routes().zero);
   EXPECT_EQ((Changes{engine(), "151: false -> true", pulse(routes().zero)}), take());
   EXPECT_TRUE(trie_->defaultRoutePresent() && trie_->isDefaultRoutePresent());
   add(routes().zero);
   EXPECT_EQ((Changes{"143: false -> true", pulse(routes().zero)}), take());
   add(routes().wide);
   EXPECT_EQ((Changes{"143: true -> false", engine(), pulse(routes().wide)}), take());
   EXPECT_TRUE(trie_->routeDel(p(routes().zero)));
   EXPECT_EQ((Changes{engine(), "151: true -> false", pulse(routes().zero)}), take());
   EXPECT_TRUE(trie_->routeDel(p(routes().zero))) << "said of a default route that is absent, too";
   EXPECT_EQ((Changes{engine(), pulse(routes().zero)}), take());
}

TEST_P(TrieGenOf, setters) {
   watchEngine();
   trie_->initializeIs(false);
   trie_->routeUpdatedIs(false);
   trie_->defaultRoutePresentIs(false);
   trie_->changedRouteIs(IpGenPrefix());
   EXPECT_THAT(take(), IsEmpty());
   trie_->initializeIs(true);
   trie_->routeUpdatedIs(true);
   trie_->defaultRoutePresentIs(true);
   trie_->changedRouteIs(p(routes().wide));
   EXPECT_EQ((Changes{"148: false -> true", "143: false -> true", "151: false -> true", pulse(routes().wide)}),
             take());
   EXPECT_EQ(p(routes().wide), trie_->changedRoute()) << "the setter leaves it";
   EXPECT_EQ("changedRoute is not at rest", trie_->audit());
   EXPECT_EQ(0u, trie_->routes()) << "attributes only";
}

TEST_P(TrieGenOf, notifyingAlone) {
   watchEngine();
   trie_->notifyChangedRoute(p(routes().wide));
   EXPECT_EQ((Changes{pulse(routes().wide)}), take());
   trie_->notifyChangedRoute(p(routes().foreign));
   EXPECT_EQ((Changes{pulse(routes().foreign)}), take()) << "of any family";
   trie_->notifyChangedRoute(IpGenPrefix());
   EXPECT_THAT(take(), IsEmpty());
   EXPECT_EQ(IpGenPrefix(), trie_->changedRoute());
}

TEST_P(TrieGenOf, adaptersComeAndGo) {
   watchEngine();
   const auto cb4 = trie_->cb4Is();
   EXPECT_EQ(trie_->cb4(), cb4);
   EXPECT_THAT(take(), IsEmpty()) << "it was there";
   EXPECT_EQ(2u, cb4->uses());
   EXPECT_EQ(cb4, trie_->cb4Del());
   EXPECT_EQ((Changes{"146"}), take());
   EXPECT_EQ(nullptr, trie_->cb4Del());
   EXPECT_THAT(take(), IsEmpty());
   EXPECT_EQ(1u, cb4->uses());
   EXPECT_NE(cb4, trie_->cb4Is());
   EXPECT_EQ((Changes{"146"}), take());

   const auto cb6 = trie_->cb6Del();
   EXPECT_EQ((Changes{"147"}), take());
   EXPECT_EQ(1u, cb6->uses());
   EXPECT_NE(nullptr, trie_->cb6Is());
   EXPECT_EQ((Changes{"147"}), take());
}

TEST_P(TrieGenOf, itsEndPublishesThatTheAdaptersGo) {
   watchEngine();
   trie_ = nullptr;
   EXPECT_EQ((Changes{"146", "147"}), take());
   EXPECT_FALSE(trieWatch_.isActive());
}

TEST_P(TrieGenOf, aSecondInitializeEmptiesTheEngineAndKeepsTheAdapters) {
   add(routes().wide);
   const auto cb4 = trie_->cb4();
   const auto cb6 = trie_->cb6();
   watchEngine();
   trie_->handleInitialize();
   EXPECT_EQ((Changes{routes().family == Corenet::ipv4() ? "144" : "145"}), take());
   EXPECT_EQ(0u, trie_->routes());
   EXPECT_FALSE(trie_->route(p(routes().wide)));
   EXPECT_TRUE(cb4 == trie_->cb4() && cb6 == trie_->cb6());
   EXPECT_FALSE(engineWatch_.isActive()) << "the old engine is gone";
}

TEST_P(TrieGenOf, anEngineSetterDropsTheOldEngineAfterItsPublication) {
   const auto engine4 = trie_->trie4();
   const auto engine6 = trie_->trie6();
   const Corvid::Node* const engine = engine4 ? static_cast<const Corvid::Node*>(engine4.get()) : engine6.get();
   U32 usesWhenTold = 0;
   const auto watch = trie_->publisher()->subscribe([&](const Corvid::Change&) { usesWhenTold = engine->uses(); });
   if (engine4) {
      trie_->trie4Is(nullptr);
   } else {
      trie_->trie6Is(nullptr);
   }
   EXPECT_EQ(2u, usesWhenTold);
   EXPECT_EQ(1u, engine->uses());
   EXPECT_EQ("the engine is not the family's", trie_->audit());
}

TEST_P(TrieGenOf, aWatcherMayDropTheLastReference) {
   TrieGen* const bare = trie_.get();
   const auto watch = trie_->publisher()->subscribe([&](const Corvid::Change&) { trie_ = nullptr; });
   bare->routeIs(p(routes().wide), true);
   EXPECT_EQ(nullptr, trie_);
}

TEST_P(TrieGenOf, whatAWatcherRaisesPassesAndLeavesTheTrieAtRest) {
   {
      const auto watch = trie_->publisher()->subscribe([](const Corvid::Change&) { throw std::runtime_error("no"); });
      EXPECT_THROW(add(routes().wide), std::runtime_error);
   }
   EXPECT_TRUE(trie_->route(p(routes().wide)));
   EXPECT_EQ("", trie_->audit());
}

#ifdef ROUTETRIE_FAULT_INJECTION
TEST_P(TrieGenOf, outOfMemoryInTheMakingLeavesNothing) {
   const Property::LiveCounts before;
   for (std::uint64_t n = 1; n <= 4; ++n) {
      CoreSlab::failAt(n);
      EXPECT_THROW(Routing::trieGenFactory("test", routes().family), std::bad_alloc) << n;
      CoreSlab::failAt(0);
      EXPECT_EQ("", before.changes()) << n;
   }
}
#endif

//--- prefixes of another family ---

TEST_P(TrieGenOf, aForeignPrefixIsNoRoute) { EXPECT_FALSE(trie_->route(p(routes().foreign))); }

using TrieGenOfDeathTest = TrieGenOf;
INSTANTIATE_TEST_SUITE_P(Families, TrieGenOfDeathTest,
                         testing::Values(Routes{AddressFamily::ipv4, "", "", "", "", "2001:db8::/32", "", 133},
                                         Routes{AddressFamily::ipv6, "", "", "", "", "10.0.0.0/8", "", 262}));

TEST_P(TrieGenOfDeathTest, aForeignPrefixIsRefused) {
   const auto foreign = p(routes().foreign);
   EXPECT_DEATH(trie_->routeIs(foreign, true), "TrieGen.*routeIs.*Assertion `p.af\\(\\) == af\\(\\)' failed");
   EXPECT_DEATH(trie_->routeDel(foreign), "TrieGen.*routeDel.*Assertion `p.af\\(\\) == af\\(\\)' failed");
   EXPECT_DEATH(trie_->longestMatch(foreign), "TrieGen.*longestMatch.*Assertion `p.af\\(\\) == af\\(\\)' failed");
   EXPECT_DEATH(trie_->routeIs(IpGenPrefix(), true), "p.af\\(\\) == af\\(\\)");
   const TraceCapture traced("TrieGen", {8});
   EXPECT_DEATH(trie_->longestMatch(foreign), "TrieGen::longestMatch\\(.*Assertion `p.af\\(\\) == af\\(\\)' failed");
}

TEST_P(TrieGenOf, aPrefixWithoutFamilyHasTheParentOfIpv4) {
   TraceCapture capture("TrieGen", {0});
   EXPECT_EQ(p("0.0.0.0/255"), trie_->findParent(IpGenPrefix()));
   const auto lines = capture.lines();
   ASSERT_EQ(1u, lines.size());
   EXPECT_THAT(lines[0], testing::MatchesRegex("0 findParent: .*TrieGen::findParent\\(.* unknown AF"));
}

//--- tries of no family ---

class TrieGenWithoutEngine : public testing::TestWithParam<AddressFamily> {};
INSTANTIATE_TEST_SUITE_P(Families, TrieGenWithoutEngine, testing::Values(AddressFamily::none, AddressFamily(7)));

TEST_P(TrieGenWithoutEngine, hasBothAdaptersAndCountsNothing) {
   const auto trie = Routing::trieGenFactory("none", GetParam());
   EXPECT_TRUE(trie->cb4() && trie->cb6());
   EXPECT_FALSE(trie->trie4() || trie->trie6());
   EXPECT_EQ(0, trie->nodes());
   EXPECT_EQ(0u, trie->routes());
   EXPECT_FALSE(trie->isDefaultRoutePresent());
   testing::internal::CaptureStdout();
   trie->doDump();
   EXPECT_EQ("", testing::internal::GetCapturedStdout());
   EXPECT_EQ("", trie->audit());
}

TEST(TrieGenWithoutEngine, theEmptyValueIsARouteOfATrieWithoutFamily) {
   const auto trie = Routing::trieGenFactory("none", AddressFamily::none);
   EXPECT_TRUE(trie->route(IpGenPrefix())) << "no answer is the empty value, too";
   EXPECT_EQ(IpGenPrefix(), trie->longestMatch(IpGenPrefix()));
   Publications published(trie->publisher(), [](const auto& change) { return std::to_string(change.id); });
   trie->routeIs(IpGenPrefix(), true);
   EXPECT_TRUE(trie->routeUpdated());
   EXPECT_THAT(published.take(), ElementsAre("143")) << "and the changed route is at rest already";
   EXPECT_FALSE(trie->routeDel(IpGenPrefix()));
   EXPECT_THAT(published.take(), ElementsAre("143"));
}

//--- where the families differ ---

TEST(TrieGen, countsAreTheEngines) {
   const auto trie4 = Routing::trieGenFactory("4", Corenet::ipv4());
   const auto trie6 = Routing::trieGenFactory("6", Corenet::ipv6());
   trie4->routeIs(p("0.0.0.0/0"), true);
   trie6->routeIs(p("::/0"), true);
   EXPECT_EQ(0u, trie4->routes());
   EXPECT_EQ(1u, trie6->routes());
   trie4->routeIs(p("10.0.0.1/32"), true);
   trie6->routeIs(p("::1/128"), true);
   EXPECT_EQ(5, trie4->nodes());
   EXPECT_EQ(1, trie6->nodes());
}

TEST(TrieGen, anAbsentRouteDeletedIsTheEnginesToTell) {
   const auto trie4 = Routing::trieGenFactory("4", Corenet::ipv4());
   EXPECT_FALSE(trie4->routeDel(p("10.1.1.0/24"))) << "no node that could hold it";
   EXPECT_TRUE(trie4->routeDel(p("10.0.0.0/8"))) << "the node is there";
   EXPECT_FALSE(Routing::trieGenFactory("6", Corenet::ipv6())->routeDel(p("2001:db8::/32")));
}

//--- traces and times ---

TEST(TrieGenTrace, levelEight) {
   TraceCapture capture("TrieGen", {8});
   const auto trie = Routing::trieGenFactory("traced", Corenet::ipv6());
   auto lines = capture.lines();
   ASSERT_EQ(2u, lines.size());
   EXPECT_THAT(lines[0], testing::MatchesRegex(
                            "8 handleInitialize: void Routing::TrieGen::handleInitialize\\(\\)Address Family "
                            "is ipv6"));
   EXPECT_EQ("8 handleInitialize: Initializing V4 Trie", lines[1]) << "for IPv6, too";

   trie->longestMatch(p("::1/128"));
   lines = capture.lines();
   ASSERT_EQ(2u, lines.size());
   EXPECT_THAT(lines[0],
               testing::MatchesRegex("8 longestMatch: .*TrieGen::longestMatch\\(.*\\) const\\( ::1/128 \\)"));
   EXPECT_EQ("8 longestMatch: Longest Match returned ::/255", lines[1]);

   trie->route(p("::1/128"));
   lines = capture.lines();
   ASSERT_EQ(3u, lines.size()) << "presence is a longest match";
   EXPECT_THAT(lines[0], testing::MatchesRegex("8 route: bool Routing::TrieGen::route\\(.*\\) const\\( ::1/128 \\)"));

   trie->routeIs(p("::1/128"), true);
   lines = capture.lines();
   ASSERT_EQ(4u, lines.size());
   EXPECT_THAT(lines[0], testing::MatchesRegex("8 routeIs: void Routing::TrieGen::routeIs\\(.*\\)\\( ::1/128 \\)"));

   trie->routeDel(p("::1/128"));
   lines = capture.lines();
   ASSERT_EQ(1u, lines.size());
   EXPECT_THAT(lines[0], testing::MatchesRegex("8 routeDel: bool Routing::TrieGen::routeDel\\(.*\\)\\( ::1/128 \\)"));

   trie->longerRoutePresent(p("::/0"));
   trie->findParent(p("::1/128"));
   EXPECT_THAT(capture.lines(), IsEmpty());
}

TEST(TrieGenTrace, ipv4) {
   TraceCapture capture("TrieGen", {8});
   const auto trie = Routing::trieGenFactory("traced", Corenet::ipv4());
   EXPECT_EQ("8 handleInitialize: Initializing V4 Trie", capture.lines().at(1));
   trie->routeIs(p("10.0.0.0/8"), true);
   capture.lines();
   trie->longestMatch(p("10.0.0.1/32"));
   EXPECT_EQ("8 longestMatch: Longest Match returned 10.0.0.0/8", capture.lines().at(1));
}

// The process's trace file stays, so it is given to a process of its own.
TEST(TrieGenDeathTest, updatesAndMatchesAreTimed) {
   EXPECT_EXIT(
      {
         BriskTrace::defaultBriskTraceHandle.traceFileIs(BriskTrace::TraceFile::inMemory());
         const auto trie = Routing::trieGenFactory("timed", Corenet::ipv4());
         trie->routeIs(p("10.0.0.0/8"), true);
         trie->longestMatch(p("10.0.0.0/8"));
         trie->routeDel(p("10.0.0.0/8"));
         std::string calls;
         for (const auto& entry : BriskTrace::defaultBriskTraceHandle.mtTraceFile()->entries()) {
            calls += entry.source;
            calls += entry.text.find("::routeIs(") != std::string::npos ? " update; " : " match; ";
         }
         // The update looks for its route before it ends.
         _exit(calls == "TrieGen match; TrieGen update; TrieGen match; " ? 0 : 1);
      },
      testing::ExitedWithCode(0), "");
}

//--- by name ---

TEST(TrieGenByName, surface) {
   EXPECT_EQ(
      "130 name Corvid::String: 0\n"
      "131 af Corenet::AddressFamily: 0\n"
      "132 longestMatch Corenet::IpGenPrefix: 10\n"
      "133 longerRoutePresent bool: 10\n"
      "134 preOrderWalk void: 10\n"
      "135 findParent Corenet::IpGenPrefix: 10\n"
      "136 isDefaultRoutePresent bool: 10\n"
      "137 route bool: 0 1 2\n"
      "138 nodes S32: 10\n"
      "139 routes U32: 10\n"
      "140 changedRoute Corenet::IpGenPrefix: 0 published\n"
      "141 notifyChangedRoute void: 10\n"
      "142 doNotifyChangedRoute void:\n"
      "143 routeUpdated bool: 0 1 published\n"
      "144 trie4 Routing::Trie: 0 1 published\n"
      "145 trie6 Routing6::Trie: 0 1 published\n"
      "146 cb4 Routing::TrieWalkCallback4: 0 1 2 published\n"
      "147 cb6 Routing::TrieWalkCallback6: 0 1 2 published\n"
      "148 initialize bool: 0 1 published\n"
      "149 handleInitialize void: 10\n"
      "150 doDump void: 10\n"
      "151 defaultRoutePresent bool: 0 published\n",
      surfaceOf("Routing::TrieGen"));
   const auto trie = Routing::trieGenFactory("named", Corenet::ipv4());
   for (const U8 kind : TestSupport::accessKinds) {
      EXPECT_EQ(1, statusOf(*trie, 142, kind)) << "declared without an access";
   }
   EXPECT_EQ(1, statusOf(*trie, 137, 28)) << "no lookup";
   EXPECT_EQ(1, statusOf(*trie, 137, 5));
   EXPECT_EQ(1, statusOf(*trie, 130, 1));
   EXPECT_EQ(2, statusOf(*trie, 129, 0));
   EXPECT_EQ(2, statusOf(*trie, 152, 0));
}

TEST(TrieGenByName, everyField) {
   const auto made = Inspect::make(Inspect::findType("Routing::TrieGen").value(), {"named", "ipv4"});
   EXPECT_EQ("named", Inspect::get(*made, "name").text);
   EXPECT_EQ("ipv4", Inspect::get(*made, "af").text);
   Inspect::set(*made, "route", "10.0.0.0/8", "false");
   EXPECT_EQ("true", Inspect::get(*made, "route", "10.0.0.0/8").text);
   EXPECT_EQ("10.0.0.0/8", Inspect::call(*made, "longestMatch", {"10.1.0.0/16"}).text);
   EXPECT_EQ("10.0.0.0/8", Inspect::call(*made, "findParent", {"10.1.0.0/16"}).text);
   EXPECT_EQ("true", Inspect::call(*made, "longerRoutePresent", {"10.0.0.0/7"}).text);
   EXPECT_EQ("false", Inspect::call(*made, "isDefaultRoutePresent").text);
   EXPECT_EQ("0", Inspect::call(*made, "nodes").text);
   EXPECT_EQ("1", Inspect::call(*made, "routes").text);
   EXPECT_EQ("none", Inspect::get(*made, "changedRoute").text);
   Inspect::call(*made, "notifyChangedRoute", {"10.0.0.0/8"});
   Inspect::set(*made, "routeUpdated", "true");
   EXPECT_EQ("true", Inspect::get(*made, "routeUpdated").text);
   Inspect::set(*made, "initialize", "true");
   EXPECT_EQ("true", Inspect::get(*made, "initialize").text);
   EXPECT_EQ("false", Inspect::get(*made, "defaultRoutePresent").text);

   const auto walked = Inspect::make(Inspect::findType("Routing::TrieGenTestWalkCallback").value());
   Inspect::call(*made, "preOrderWalk", {"0.0.0.0/0", walked});
   EXPECT_EQ("true", Inspect::get(*walked, "walkedPrefix", "10.0.0.0/8").text);

   EXPECT_EQ("Routing::Trie", Inspect::get(*made, "trie4").text);
   EXPECT_EQ("null", Inspect::get(*made, "trie6").text);
   const auto engine = Routing::trieFactory();
   Inspect::set(*made, "trie4", engine);
   EXPECT_EQ(2u, engine->uses());
   EXPECT_EQ("0", Inspect::call(*made, "routes").text);
   const auto engine6 = Routing6::trieFactory();
   Inspect::set(*made, "trie6", engine6);
   EXPECT_EQ(engine6, Inspect::get(*made, "trie6").object);
   Inspect::set(*made, "trie6", "null");
   EXPECT_EQ(1u, engine6->uses());

   for (const char* adapter : {"cb4", "cb6"}) {
      const auto first = Inspect::get(*made, adapter).object;
      EXPECT_EQ(2u, first->uses());
      EXPECT_EQ(first, Inspect::set(*made, adapter).object);
      EXPECT_EQ(first, Inspect::del(*made, adapter).object);
      EXPECT_EQ(1u, first->uses());
      EXPECT_EQ("null", Inspect::get(*made, adapter).text);
      EXPECT_NE(first, Inspect::set(*made, adapter).object);
   }
   EXPECT_EQ("true", Inspect::del(*made, "route", "10.0.0.0/8").text);
   Inspect::call(*made, "handleInitialize");
   EXPECT_NE(engine, Inspect::get(*made, "trie4").object);
}

TEST(TrieGenByName, doDumpIsTheEngines) {
   const auto outputOf = [](auto dump) {
      testing::internal::CaptureStdout();
      dump();
      return testing::internal::GetCapturedStdout();
   };
   const auto trie4 = Routing::trieGenFactory("4", Corenet::ipv4());
   const auto trie6 = Routing::trieGenFactory("6", Corenet::ipv6());
   trie6->routeIs(p("2001:db8::/32"), true);
   const std::string dump4 = outputOf([&] { Inspect::call(*trie4, "doDump"); });
   const std::string dump6 = outputOf([&] { trie6->doDump(); });
   EXPECT_EQ(outputOf([&] { trie4->trie4()->doDump(); }), dump4);
   EXPECT_EQ(outputOf([&] { trie6->trie6()->doDump(); }), dump6);
   EXPECT_NE("", dump4);
   EXPECT_NE("", dump6);
}

TEST(TrieGenMemory, isBackToItsStartWhenTheTrieIsGone) {
   const Property::LiveCounts before;
   for (const auto family : {AddressFamily::ipv4, AddressFamily::ipv6, AddressFamily::none}) {
      const auto trie = Routing::trieGenFactory("a name too long to lie within the object", family);
      if (family != AddressFamily::none) {
         trie->routeIs(p(family == AddressFamily::ipv4 ? "10.1.2.3/32" : "2001:db8::1/128"), true);
      }
      EXPECT_THAT(before.changes(), testing::HasSubstr("objects of Routing::TrieGen: 0 before, 1 now"));
      EXPECT_THAT(before.changes(), testing::HasSubstr("objects of Routing::TrieWalkCallback4: 0 before, 1 now"));
   }
   EXPECT_EQ("", before.changes());
}

}  // namespace TrieGenTest
