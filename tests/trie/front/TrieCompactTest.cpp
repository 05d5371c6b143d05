#include "routetrie/trie/front/TrieCompact.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>
#include <string>

#include "routetrie/platform/Corvid/Inspect.h"
#include "routetrie/trie/front/Trie6.h"
#include "tests/platform/TraceCapture.h"
#include "tests/property/LiveCounts.h"
#include "tests/trie/Surface.h"

namespace TrieCompactTest {

using Corenet::CompactIpPrefix;
using Corenet::Ip6Prefix;
namespace Inspect = Corvid::Inspect;
using Routing::TrieCompact;
using testing::ElementsAre;
using testing::IsEmpty;
using TestSupport::statusOf;
using TestSupport::surfaceOf;
using TestSupport::TraceCapture;

CompactIpPrefix p(std::string_view text) { return CompactIpPrefix::fromString(text); }

const CompactIpPrefix null4 = CompactIpPrefix::getNull(Corenet::ipv4());
const CompactIpPrefix null6 = CompactIpPrefix::getNull(Corenet::ipv6());

Corvid::Ptr<TrieCompact> trieOf(Corenet::AddressFamily af, std::initializer_list<std::string_view> routes) {
   const auto trie = Routing::trieCompactFactory(af);
   for (const auto route : routes) {
      trie->routeIs(p(route), true);
   }
   return trie;
}

TEST(TrieCompact, eitherFamily) {
   const auto trie4 = trieOf(Corenet::ipv4(), {"10.0.0.0/8", "10.1.0.0/16"});
   EXPECT_EQ(Routing::nodeTypeIpv4(), trie4->paf());
   EXPECT_TRUE(trie4->useCompactIpPrefix());
   EXPECT_EQ(p("10.1.0.0/16"), trie4->longestMatch(p("10.1.2.3/32")));
   EXPECT_EQ(p("10.0.0.0/8"), trie4->findParent(p("10.1.0.0/16")));
   EXPECT_TRUE(trie4->route(p("10.0.0.0/8")));
   EXPECT_FALSE(trie4->route(p("10.0.0.0/9")));
   EXPECT_TRUE(trie4->longerRoutePresent(p("10.0.0.0/8")));

   const auto trie6 = trieOf(Corenet::ipv6(), {"2001:db8::/32", "2001:db8::1/128"});
   EXPECT_EQ(Routing::nodeTypeIpv6Compact(), trie6->paf());
   EXPECT_EQ(p("2001:db8::1/128"), trie6->longestMatch(p("2001:db8::1/128"))) << "a shared record";
   EXPECT_TRUE(trie6->route(p("2001:db8::1/128")));
   EXPECT_EQ(p("2001:db8::/32"), trie6->findParent(p("2001:db8::1/128")));
   EXPECT_TRUE(trie6->routeDel(p("2001:db8::1/128")));
   EXPECT_FALSE(trie6->routeDel(p("2001:db8::1/128")));
   EXPECT_EQ(p("2001:db8::/32"), trie6->longestMatch(p("2001:db8::1/128")));
   EXPECT_EQ("", trie4->audit() + trie6->audit());
}

TEST(TrieCompact, theFlagOfRouteIsMeansNothing) {
   const auto trie = trieOf(Corenet::ipv4(), {});
   trie->routeIs(p("10.0.0.0/8"), false);
   EXPECT_TRUE(trie->route(p("10.0.0.0/8")));
}

TEST(TrieCompact, publishesThroughNothing) { EXPECT_EQ(nullptr, trieOf(Corenet::ipv4(), {})->publisher()); }

TEST(TrieCompact, anEmptyTrieAnswersWithTheNullPrefixOfTheQuerysFamily) {
   const auto trie4 = trieOf(Corenet::ipv4(), {});
   EXPECT_EQ(null4, trie4->longestMatch(p("10.0.0.0/8")));
   EXPECT_FALSE(trie4->route(p("10.0.0.0/8")));
   EXPECT_FALSE(trie4->route(p("0.0.0.0/0")));
   EXPECT_TRUE(trie4->route(null4));
   const auto trie6 = trieOf(Corenet::ipv6(), {});
   EXPECT_EQ(null6, trie6->longestMatch(p("2001:db8::/32"))) << "in the word";
   EXPECT_EQ(null6, trie6->longestMatch(p("2001:db8::1/128"))) << "a shared record";
   EXPECT_FALSE(trie6->route(p("2001:db8::/32")));
}

TEST(TrieCompact, aMissingParentIsTheEnginesAnswer) {
   const auto trie = trieOf(Corenet::ipv4(), {});
   EXPECT_EQ(CompactIpPrefix(), trie->findParent(p("10.0.0.0/8")));
   EXPECT_EQ(null4, trie->longestMatch(p("10.0.0.0/8")));
   EXPECT_EQ(null4, trie->findParent(p("0.0.0.0/0"))) << "of length 0";
   const auto trie6 = trieOf(Corenet::ipv6(), {"2001:db8::/32"});
   EXPECT_EQ(CompactIpPrefix(), trie6->findParent(p("2001:db8::/32")));
}

TEST(TrieCompact, theNullCompactValueInstallsTheDefaultRoute) {
   const auto trie = trieOf(Corenet::ipv4(), {});
   trie->routeIs(CompactIpPrefix(), true);
   EXPECT_TRUE(trie->isDefaultRoutePresent());
   EXPECT_EQ(p("0.0.0.0/0"), trie->longestMatch(p("10.0.0.0/8")));
}

TEST(TrieCompactDeathTest, theNullCompactValueHasNoFamilyToAnswerWith) {
   const auto trie = trieOf(Corenet::ipv4(), {});
   EXPECT_DEATH(trie->longestMatch(CompactIpPrefix()),
                "Corenet::CompactIpPrefix Routing::TrieCompact::longestMatch\\(const Corenet::CompactIpPrefix ?&\\) "
                "const: Assertion `false && \"Unhandled af in longestMatch\"' failed");
   trie->routeIs(p("0.0.0.0/0"), true);
   EXPECT_DEATH(trie->longestMatch(CompactIpPrefix()), "false && \"Unexpected address family\"");
}

TEST(TrieCompact, changedRouteRestsAfterEveryUpdate) {
   const auto trie = trieOf(Corenet::ipv6(), {});
   EXPECT_EQ(CompactIpPrefix(), trie->changedRoute());
   const Property::LiveCounts before;
   trie->routeIs(p("2001:db8::1/128"), true);
   EXPECT_EQ(CompactIpPrefix(), trie->changedRoute());
   trie->routeDel(p("2001:db8::1/128"));
   EXPECT_EQ(CompactIpPrefix(), trie->changedRoute());
   trie->notifyChangedRoute(p("2001:db8::2/128"));
   EXPECT_EQ(CompactIpPrefix(), trie->changedRoute());
   EXPECT_EQ("", before.changes()) << "no shared record is kept";
}

TEST(TrieCompact, traces) {
   const auto trie = trieOf(Corenet::ipv4(), {"10.0.0.0/8"});
   std::ostringstream self;
   self << static_cast<const void*>(trie.get());
   TraceCapture capture("TrieCompact", {0, 1, 2, 3, 4, 5, 6, 7, 8});
   trie->routeIs(p("10.1.0.0/16"), true);
   trie->route(p("10.1.0.0/16"));
   trie->findParent(p("10.1.0.0/16"));
   trie->routeDel(p("10.1.0.0/16"));
   EXPECT_THAT(capture.lines(), IsEmpty());
   trie->longerRoutePresent(p("10.0.0.0/7"));
   EXPECT_THAT(capture.lines(),
               ElementsAre("8 longerRoutePresent: " + self.str() + "::longerRoutePresent( 10.0.0.0/7 )"));
}

TEST(TrieCompactDeathTest, aFamilyThatIsNoneOfTheTwo) {
   EXPECT_DEATH(Routing::trieCompactFactory(Corenet::AddressFamily(7)), "Assertion `false' failed");
   EXPECT_EQ(Corenet::ipv4(), Routing::trieCompactFactory(Corenet::AddressFamily::none)->af());
}

TEST(TrieCompact, isBackToItsStartWhenTheTrieIsGone) {
   const Property::LiveCounts before;
   {
      const auto trie = trieOf(Corenet::ipv6(), {"2001:db8::/32", "2001:db8::1/128", "::/0"});
      EXPECT_THAT(before.changes(), testing::HasSubstr("objects of Routing::TrieCompact: 0 before, 1 now"));
   }
   EXPECT_EQ("", before.changes());
}

//--- by name ---

TEST(TrieCompact, hasItsSurface) {
   EXPECT_EQ(
      "258 longestMatch Corenet::CompactIpPrefix: 10\n"
      "259 route bool: 0 1 2\n"
      "260 longerRoutePresent bool: 10\n"
      "261 findParent Corenet::CompactIpPrefix: 10\n"
      "262 changedRoute Corenet::CompactIpPrefix: 0\n"
      "263 notifyChangedRoute void: 10\n"
      "264 doNotifyChangedRoute void:\n",
      surfaceOf("Routing::TrieCompact"));
   const auto trie = trieOf(Corenet::ipv4(), {});
   for (const U8 kind : TestSupport::accessKinds) {
      EXPECT_EQ(1, statusOf(*trie, 264, kind)) << "declared without an access";
   }
   EXPECT_EQ(1, statusOf(*trie, 262, 1));
   EXPECT_EQ(2, statusOf(*trie, 265, 0));
}

TEST(TrieCompact, isReachedByName) {
   const auto made = Inspect::make(Inspect::findType("Routing::TrieCompact").value(), {"ipv6"});
   Inspect::set(*made, "route", "2001:db8::1/128", "true");
   EXPECT_EQ("true", Inspect::get(*made, "route", "2001:db8::1/128").text);
   EXPECT_EQ("2001:db8::1/128", Inspect::call(*made, "longestMatch", {"2001:db8::1/128"}).text);
   EXPECT_EQ("none", Inspect::call(*made, "findParent", {"2001:db8::1/128"}).text);
   EXPECT_EQ("true", Inspect::call(*made, "longerRoutePresent", {"2001::/16"}).text);
   EXPECT_EQ("none", Inspect::get(*made, "changedRoute").text);
   EXPECT_EQ("ipv6", Inspect::get(*made, "af").text) << "the base's";
   EXPECT_EQ("true", Inspect::del(*made, "route", "2001:db8::1/128").text);
}

//--- how it differs from the IPv6 trie; its changedRoute and its traces are above ---

TEST(TrieCompactBesideTrie6, prefixesAndEngine) {
   const auto trie6 = Routing6::trieFactory();
   const auto compact = trieOf(Corenet::ipv6(), {});
   EXPECT_FALSE(trie6->useCompactIpPrefix());
   EXPECT_TRUE(compact->useCompactIpPrefix());
   EXPECT_NE(nullptr, trie6->publisher());
   EXPECT_EQ(nullptr, compact->publisher());
   EXPECT_EQ(Ip6Prefix::nullPrefix(), trie6->findParent(Ip6Prefix::fromString("::1/128")));
   EXPECT_EQ(CompactIpPrefix(), compact->findParent(p("::1/128")));
}

}  // namespace TrieCompactTest
