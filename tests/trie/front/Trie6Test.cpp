#include "routetrie/trie/front/Trie6.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <new>
#include <sstream>
#include <stdexcept>
#include <string>

#include "routetrie/platform/CoreSlab/Slab.h"
#include "routetrie/platform/Corvid/Inspect.h"
#include "routetrie/trie/multibit/Trie.h"
#include "tests/platform/TraceCapture.h"
#include "tests/property/LiveCounts.h"
#include "tests/trie/Publications.h"
#include "tests/trie/Surface.h"

namespace Trie6Test {

using Corenet::Ip6Prefix;
namespace Inspect = Corvid::Inspect;
using testing::ElementsAre;
using testing::IsEmpty;
using TestSupport::changeText;
using TestSupport::Publications;
using TestSupport::statusOf;
using TestSupport::surfaceOf;
using TestSupport::TraceCapture;

Ip6Prefix p(std::string_view text) { return Ip6Prefix::fromString(text); }

class Trie6 : public testing::Test {
  protected:
   void add(std::string_view text) { trie_->routeIs(p(text), true); }

   Corvid::Ptr<Routing6::Trie> trie_ = Routing6::trieFactory();
   Publications published_{trie_->publisher(),
                           [this](const auto& change) { return changeText(change, trie_->changedRoute()); }};
};

TEST_F(Trie6, beginsEmptyAndAtRest) {
   EXPECT_EQ(1u, trie_->uses());
   EXPECT_EQ(Corenet::ipv6(), trie_->af());
   EXPECT_EQ(Routing::nodeTypeIpv6Legacy(), trie_->paf());
   EXPECT_FALSE(trie_->useCompactIpPrefix());
   EXPECT_FALSE(trie_->nodeDataEnabled());
   EXPECT_TRUE(trie_->empty());
   EXPECT_EQ(Ip6Prefix::nullPrefix(), trie_->changedRoute());
}

TEST_F(Trie6, anEmptyTrieAnswersWithTheNullPrefix) {
   for (const char* text : {"2001:db8::/32", "::/0", "::1/128"}) {
      EXPECT_EQ(Ip6Prefix::nullPrefix(), trie_->longestMatch(p(text))) << text;
      EXPECT_EQ(Ip6Prefix::nullPrefix(), trie_->findParent(p(text))) << text;
      EXPECT_FALSE(trie_->route(p(text))) << text;
      EXPECT_FALSE(trie_->longerRoutePresent(p(text))) << text;
   }
   EXPECT_TRUE(trie_->route(Ip6Prefix::nullPrefix())) << "no answer is the null prefix, too";
   add("::/0");
   EXPECT_FALSE(trie_->route(Ip6Prefix::nullPrefix()));
}

TEST_F(Trie6, routes) {
   add("2001:db8::/32");
   add("2001:db8:1::/48");
   EXPECT_TRUE(trie_->route(p("2001:db8::/32")));
   EXPECT_FALSE(trie_->route(p("2001:db8::/33")));
   EXPECT_EQ(p("2001:db8:1::/48"), trie_->longestMatch(p("2001:db8:1::1/128")));
   EXPECT_EQ(p("2001:db8::/32"), trie_->longestMatch(p("2001:db8:2::1/128")));
   EXPECT_EQ(p("2001:db8::/32"), trie_->findParent(p("2001:db8:1::/48")));
   EXPECT_EQ(Ip6Prefix::nullPrefix(), trie_->findParent(p("2001:db8::/32")));
   EXPECT_TRUE(trie_->longerRoutePresent(p("2001:db8::/32")));
   EXPECT_TRUE(trie_->routeDel(p("2001:db8:1::/48")));
   EXPECT_FALSE(trie_->routeDel(p("2001:db8:1::/48")));
   EXPECT_EQ(p("2001:db8::/32"), trie_->longestMatch(p("2001:db8:1::1/128")));
   EXPECT_EQ("", trie_->audit());
}

TEST_F(Trie6, theFlagOfRouteIsMeansNothing) {
   trie_->routeIs(p("2001:db8::/32"), false);
   EXPECT_TRUE(trie_->route(p("2001:db8::/32")));
}

TEST_F(Trie6, everyUpdateIsAnnouncedOnce) {
   add("2001:db8::/32");
   EXPECT_THAT(published_.take(), ElementsAre("262: ::/255 -> 2001:db8::/32"));
   add("2001:db8::/32");
   EXPECT_THAT(published_.take(), ElementsAre("262: ::/255 -> 2001:db8::/32")) << "present already";
   EXPECT_FALSE(trie_->routeDel(p("::1/128")));
   EXPECT_THAT(published_.take(), ElementsAre("262: ::/255 -> ::1/128")) << "absent";
   EXPECT_TRUE(trie_->routeDel(p("2001:db8::/32")));
   EXPECT_THAT(published_.take(), ElementsAre("262: ::/255 -> 2001:db8::/32"));
   EXPECT_TRUE(trie_->routeDel(p("::/0"))) << "the default route, though absent";
   EXPECT_THAT(published_.take(), ElementsAre("262: ::/255 -> ::/0"));
   EXPECT_EQ(Ip6Prefix::nullPrefix(), trie_->changedRoute());
}

TEST_F(Trie6, changedRouteStaysAndNotifyingRests) {
   trie_->changedRouteIs(p("::1/128"));
   EXPECT_EQ(p("::1/128"), trie_->changedRoute());
   trie_->changedRouteIs(p("::1/128"));
   EXPECT_THAT(published_.take(), ElementsAre("262: ::/255 -> ::1/128"));
   trie_->notifyChangedRoute(p("::1/128"));
   EXPECT_THAT(published_.take(), IsEmpty());
   EXPECT_EQ(Ip6Prefix::nullPrefix(), trie_->changedRoute());
   trie_->notifyChangedRoute(p("::2/128"));
   EXPECT_THAT(published_.take(), ElementsAre("262: ::/255 -> ::2/128"));
   trie_->notifyChangedRoute(Ip6Prefix::nullPrefix());
   EXPECT_THAT(published_.take(), IsEmpty());
   EXPECT_EQ(Ip6Prefix::nullPrefix(), trie_->changedRoute());
   EXPECT_EQ(0u, trie_->routes());
}

TEST_F(Trie6, theRouteIsThereWhenItIsAnnounced) {
   U32 routesWhenTold = 0;
   const Corvid::Subscription watch =
      trie_->publisher()->subscribe([&](const Corvid::Change&) { routesWhenTold = trie_->routes(); });
   add("::1/128");
   EXPECT_EQ(1u, routesWhenTold);
   trie_->routeDel(p("::1/128"));
   EXPECT_EQ(0u, routesWhenTold);
}

TEST_F(Trie6, whatAWatcherRaisesPassesAndLeavesTheTrieAtRest) {
   const Corvid::Subscription watch =
      trie_->publisher()->subscribe([](const Corvid::Change&) { throw std::runtime_error("no"); });
   EXPECT_THROW(add("::1/128"), std::runtime_error);
   EXPECT_TRUE(trie_->route(p("::1/128")));
   EXPECT_EQ(Ip6Prefix::nullPrefix(), trie_->changedRoute());
}

TEST_F(Trie6, aWatcherMayDropTheLastReference) {
   auto trie = Routing6::trieFactory();
   Routing6::Trie* const bare = trie.get();
   const Corvid::Subscription watch = trie->publisher()->subscribe([&](const Corvid::Change&) { trie = nullptr; });
   bare->routeIs(p("::1/128"), true);
   EXPECT_EQ(nullptr, trie);
   EXPECT_FALSE(watch.isActive());
}

#ifdef ROUTETRIE_FAULT_INJECTION
TEST_F(Trie6, anEngineOutOfMemoryAnnouncesNothing) {
   CoreSlab::failAt(1);
   EXPECT_THROW(add("::1/128"), std::bad_alloc);
   CoreSlab::failAt(0);
   EXPECT_THAT(published_.take(), IsEmpty());
   EXPECT_EQ(0u, trie_->routes());
}
#endif

TEST_F(Trie6, traces) {
   add("2001:db8::/32");
   std::ostringstream self;
   self << static_cast<const void*>(trie_.get());
   TraceCapture capture("Trie6", {8});
   trie_->routeIs(p("::1/128"), true);
   EXPECT_THAT(capture.lines(), ElementsAre("8 routeIs: " + self.str() + "::routeIs( ::1/128 )"));
   trie_->route(p("::1/128"));
   EXPECT_THAT(capture.lines(), ElementsAre("8 route: " + self.str() + "::route( ::1/128 )"));
   trie_->longerRoutePresent(p("::/0"));
   EXPECT_THAT(capture.lines(), ElementsAre("8 longerRoutePresent: " + self.str() + "::longerRoutePresent( ::/0 )"));
   trie_->routeDel(p("::1/128"));
   EXPECT_THAT(capture.lines(), ElementsAre("8 routeDel: " + self.str() + "::routeDel( ::1/128 )"));
   trie_->longestMatch(p("::1/128"));
   trie_->findParent(p("::1/128"));
   EXPECT_THAT(capture.lines(), IsEmpty());
}

TEST(Trie6Trace, dummyTraceTriesTheSink) {
   TraceCapture capture("Trie6", {1});
   PatriciaTrieImpl::doDummyTraceV6();
   EXPECT_THAT(capture.lines(), ElementsAre("1 doDummyTraceV6: doDummyTrace: clearing route bits for 0x0- 0x0"));
}

TEST(Trie6Memory, isBackToItsStartWhenTheTrieIsGone) {
   const Property::LiveCounts before;
   {
      const auto trie = Routing6::trieFactory();
      trie->routeIs(p("2001:db8::/32"), true);
      trie->routeIs(p("::1/128"), true);
      trie->routeIs(p("::/0"), true);
      EXPECT_THAT(before.changes(), testing::HasSubstr("objects of Routing6::Trie: 0 before, 1 now"));
   }
   EXPECT_EQ("", before.changes());
}

//--- by name ---

TEST_F(Trie6, hasItsSurface) {
   EXPECT_EQ(
      "258 longestMatch Corenet::Ip6Prefix: 10\n"
      "259 route bool: 0 1 2\n"
      "260 longerRoutePresent bool: 10\n"
      "261 findParent Corenet::Ip6Prefix: 10\n"
      "262 changedRoute Corenet::Ip6Prefix: 0 published\n"
      "263 notifyChangedRoute void: 10\n"
      "264 doNotifyChangedRoute void:\n",
      surfaceOf("Routing6::Trie"));
   for (const U8 kind : TestSupport::accessKinds) {
      EXPECT_EQ(1, statusOf(*trie_, 264, kind)) << "declared without an access";
   }
   EXPECT_EQ(1, statusOf(*trie_, 258, 0));
   EXPECT_EQ(1, statusOf(*trie_, 262, 1));
   EXPECT_EQ(2, statusOf(*trie_, 257, 0));
   EXPECT_EQ(2, statusOf(*trie_, 265, 0));
   EXPECT_EQ(2, statusOf(*trie_, 130, 0)) << "the base's fields are reached through the base";
}

TEST_F(Trie6, isReachedByName) {
   Inspect::set(*trie_, "route", "2001:db8::/32", "false");
   EXPECT_EQ("true", Inspect::get(*trie_, "route", "2001:db8::/32").text);
   EXPECT_EQ("2001:db8::/32", Inspect::call(*trie_, "longestMatch", {"2001:db8::1/128"}).text);
   EXPECT_EQ("::/255", Inspect::call(*trie_, "findParent", {"2001:db8::/32"}).text);
   EXPECT_EQ("true", Inspect::call(*trie_, "longerRoutePresent", {"2001::/16"}).text);
   EXPECT_EQ("1", Inspect::get(*trie_, "routes").text) << "the base's";
   published_.take();
   Inspect::call(*trie_, "notifyChangedRoute", {"::1/128"});
   EXPECT_THAT(published_.take(), ElementsAre("262: ::/255 -> ::1/128"));
   EXPECT_EQ("::/255", Inspect::get(*trie_, "changedRoute").text);
   EXPECT_EQ("true", Inspect::del(*trie_, "route", "2001:db8::/32").text);
   EXPECT_EQ("false", Inspect::del(*trie_, "route", "2001:db8::/32").text);
   EXPECT_EQ("Routing6::Trie", Inspect::typeOf(*Inspect::make(Inspect::findType("Routing6::Trie").value()))->name());
}

//--- how it differs from the multibit trie ---

TEST(Trie6BesideTrie, storageIsThePatriciaTrees) {
   const auto trie4 = Routing::trieFactory();
   const auto trie6 = Routing6::trieFactory();
   trie4->routeIs(Corenet::Prefix::fromString("10.0.0.1/32"), true);
   trie6->routeIs(p("::1/128"), true);
   EXPECT_EQ(5, trie4->nodes());
   EXPECT_EQ(1, trie6->nodes());
   static_assert(std::is_base_of_v<Routing::PatriciaTrie, Routing6::Trie>);
}

TEST(Trie6BesideTrie, theDefaultRouteIsCounted) {
   const auto trie4 = Routing::trieFactory();
   const auto trie6 = Routing6::trieFactory();
   trie4->routeIs(Corenet::Prefix::fromString("0.0.0.0/0"), true);
   trie6->routeIs(p("::/0"), true);
   EXPECT_EQ(0u, trie4->routes());
   EXPECT_EQ(1u, trie6->routes());
   EXPECT_TRUE(trie4->isDefaultRoutePresent() && trie6->isDefaultRoutePresent());
}

#ifdef ROUTETRIE_FAULT_INJECTION
TEST(Trie6BesideTrie, onlyTheMultibitTrieAnnouncesWhatFailed) {
   const auto trie4 = Routing::trieFactory();
   const auto trie6 = Routing6::trieFactory();
   int told4 = 0;
   int told6 = 0;
   const auto watch4 = trie4->publisher()->subscribe([&](const Corvid::Change&) { ++told4; });
   const auto watch6 = trie6->publisher()->subscribe([&](const Corvid::Change&) { ++told6; });
   CoreSlab::failAt(1);
   EXPECT_THROW(trie4->routeIs(Corenet::Prefix::fromString("10.0.0.1/32"), true), std::bad_alloc);
   CoreSlab::failAt(1);
   EXPECT_THROW(trie6->routeIs(p("::1/128"), true), std::bad_alloc);
   CoreSlab::failAt(0);
   EXPECT_EQ(1, told4);
   EXPECT_EQ(0, told6);
}
#endif

}  // namespace Trie6Test
