#include "routetrie/trie/intrusive/Ipv6Trie.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <vector>

#include "routetrie/platform/Corvid/Inspect.h"
#include "routetrie/platform/Corvid/RangeException.h"

namespace Ipv6TrieTest {

using Corenet::Ip6Prefix;
using Corvid::Ptr;
using Sprig::Ipv6Trie;
using Sprig::Ipv6TrieRoute;
using Sprig::Ipv6TrieWithChangeNotifier;
namespace Inspect = Corvid::Inspect;

Ip6Prefix p(std::string_view text) { return Ip6Prefix::fromString(text); }
Ptr<Ipv6TrieRoute> make(std::string_view text) { return Sprig::ipv6TrieRouteFactory(p(text)); }

Ptr<Ipv6TrieRoute> add(const Ptr<Ipv6Trie>& trie, std::string_view text) {
   auto route = make(text);
   trie->routeIs(route);
   EXPECT_EQ("", trie->audit());
   return route;
}

void expectDetached(const Ptr<Ipv6TrieRoute>& route) {
   EXPECT_EQ(nullptr, route->trieNode().left);
   EXPECT_EQ(0u, route->trieNode().parentWord);
   EXPECT_EQ(nullptr, route->trieNode().right);
   EXPECT_EQ(1u, route->uses());
}

// Notes each call of handleRoute.
class RecordingTrie : public Ipv6Trie {
  public:
   void handleRoute(const Ip6Prefix& prefix, const Ipv6TrieRoute* routeIfAdd) override {
      calls.push_back((routeIfAdd != nullptr ? "+" : "-") + std::string(prefix.stringValue()));
      lastRoute = routeIfAdd;
   }
   std::vector<std::string> calls;
   const Ipv6TrieRoute* lastRoute = nullptr;
};

TEST(Ipv6Trie, keepsAndFindsRoutes) {
   const auto trie = Sprig::ipv6TrieFactory();
   EXPECT_EQ(nullptr, trie->publisher());
   EXPECT_EQ(nullptr, trie->route(p("2001:db8::/32")));
   EXPECT_EQ(nullptr, trie->longestMatch(p("2001:db8::/32")));
   const auto shorter = add(trie, "2001:db8::/32");
   const auto longer = add(trie, "2001:db8:7::/48");
   EXPECT_EQ(2u, shorter->uses());
   EXPECT_EQ(shorter, trie->route(p("2001:db8::/32")));
   EXPECT_EQ(nullptr, trie->route(p("2001:db8::/33")));
   EXPECT_EQ(longer, trie->longestMatch(p("2001:db8:7::1/128")));
   EXPECT_EQ(shorter, trie->longestMatch(p("2001:db8:8::1/128")));
   EXPECT_EQ(nullptr, trie->longestMatch(p("2001:db9::/32")));
   EXPECT_EQ(2u, shorter->uses()) << "a lookup takes no reference";
}

TEST(Ipv6Trie, routeDelHandsTheRouteOver) {
   const auto trie = Ipv6Trie::Ipv6TrieIs();
   auto route = add(trie, "2001:db8::/32");
   const auto deleted = trie->routeDel(p("2001:db8::/32"));
   EXPECT_EQ(route, deleted);
   EXPECT_EQ(2u, route->uses()) << "ours and the one that was handed over";
   route = nullptr;
   expectDetached(deleted);
   EXPECT_FALSE(trie->routeDel(p("2001:db8::/32")));
   EXPECT_TRUE(trie->trie().empty());
}

TEST(Ipv6Trie, aRouteThatOnlyTheTrieHoldsComesOutAlive) {
   const auto trie = Sprig::ipv6TrieFactory();
   trie->routeIs(make("2001:db8::/32"));
   const auto route = trie->routeDel(p("2001:db8::/32"));
   ASSERT_TRUE(route);
   EXPECT_EQ(p("2001:db8::/32"), route->prefix());
   expectDetached(route);
}

TEST(Ipv6Trie, routeDelOfAnInternalNodesPrefixFindsNothing) {
   const auto trie = Ptr<RecordingTrie>::adopt(new RecordingTrie);
   const auto low = add(trie, "2001:db8::/32");
   const auto high = add(trie, "2001:db9::/32");
   trie->calls.clear();
   EXPECT_FALSE(trie->routeDel(p("2001:db8::/31")));
   EXPECT_FALSE(trie->routeDel(p("2001:db8::/33"))) << "a route that covers is not exact";
   EXPECT_TRUE(trie->calls.empty());
   EXPECT_EQ(nullptr, trie->route(p("2001:db8::/31")));
}

TEST(Ipv6Trie, aSecondRouteOfAPrefixReplacesTheFirst) {
   const auto trie = Ptr<RecordingTrie>::adopt(new RecordingTrie);
   const auto first = add(trie, "2001:db8::/32");
   const auto below = add(trie, "2001:db8:8000::/33");
   const auto second = add(trie, "2001:db8::/32");
   expectDetached(first);
   EXPECT_EQ(second, trie->route(p("2001:db8::/32")));
   EXPECT_EQ(second.get(), below->trieNode().parent());
   EXPECT_EQ((std::vector<std::string>{"+2001:db8::/32", "+2001:db8:8000::/33", "+2001:db8::/32"}), trie->calls)
      << "the replaced route gets no call of its own";
}

TEST(Ipv6Trie, tellsItsHandlerOfEachChange) {
   const auto trie = Ptr<RecordingTrie>::adopt(new RecordingTrie);
   const auto route = add(trie, "2001:db8::/32");
   EXPECT_EQ(route.get(), trie->lastRoute);
   trie->routeIs(route);
   trie->routeDel(p("2001:db8::/32"));
   trie->routeDel(p("2001:db8::/32"));
   EXPECT_EQ((std::vector<std::string>{"+2001:db8::/32", "+2001:db8::/32", "-2001:db8::/32"}), trie->calls);
}

// The handler hears what the caller said, and not what the route's prefix is.
TEST(Ipv6Trie, routeDelTellsTheCallersPrefix) {
   const auto trie = Ptr<RecordingTrie>::adopt(new RecordingTrie);
   add(trie, "::/0");
   trie->calls.clear();
   EXPECT_TRUE(trie->routeDel(Ip6Prefix::nullPrefix()));
   EXPECT_EQ((std::vector<std::string>{"-" + std::string(Ip6Prefix::nullPrefix().stringValue())}), trie->calls);
}

TEST(Ipv6Trie, theNullPrefixCountsAsTheDefaultRoute) {
   const auto trie = Sprig::ipv6TrieFactory();
   const auto zero = add(trie, "::/0");
   EXPECT_EQ(zero, trie->route(Ip6Prefix::nullPrefix()));
   EXPECT_EQ(zero, trie->longestMatch(Ip6Prefix::nullPrefix()));
   const auto null = Sprig::ipv6TrieRouteFactory(Ip6Prefix::nullPrefix());
   trie->routeIs(null);
   expectDetached(zero);
   EXPECT_EQ(null, trie->route(p("::/0")));
   EXPECT_EQ(null, trie->longestMatch(p("2001:db8::/32")));
}

TEST(Ipv6Trie, whatLeavesWithoutTheTrieIsNotTold) {
   const auto trie = Ptr<RecordingTrie>::adopt(new RecordingTrie);
   const auto one = add(trie, "2001:db8::/32");
   const auto two = add(trie, "2001:db9::/32");
   trie->calls.clear();
   one->trieRemove();
   two->trieNode().remove();
   EXPECT_TRUE(trie->calls.empty());
   EXPECT_TRUE(trie->trie().empty());
}

TEST(Ipv6Trie, itsEndDetachesItsRoutesWithoutACall) {
   static U32 calls;
   class CountingTrie : public Ipv6Trie {
     public:
      void handleRoute(const Ip6Prefix&, const Ipv6TrieRoute*) override { ++calls; }
   };
   calls = 0;
   Ptr<Ipv6Trie> trie = Ptr<CountingTrie>::adopt(new CountingTrie);
   const auto tracker = [] { return Ipv6Trie::Engine::Internal::tracker_->liveObjects(); };
   std::vector<Ptr<Ipv6TrieRoute>> routes;
   for (const char* text : {"2001:db8::/32", "2001:db9::/32", "2001:db8:8000::/33", "2001:db8::/33", "::/0"}) {
      routes.push_back(add(trie, text));
   }
   trie->routeIs(make("fe80::/10"));  // the trie alone holds this one
   EXPECT_EQ(6u, calls);
   EXPECT_LT(0u, tracker());
   const auto live = Ipv6TrieRoute::memAllocationTracker_->liveObjects();
   trie = nullptr;
   EXPECT_EQ(6u, calls);
   EXPECT_EQ(live - 1, Ipv6TrieRoute::memAllocationTracker_->liveObjects());
   EXPECT_EQ(0u, tracker());
   for (const auto& route : routes) {
      expectDetached(route);
   }
}

// The change stands; the route that was taken out is let go.
TEST(Ipv6Trie, whatTheHandlerRaisesPassesThrough) {
   class RaisingTrie : public Ipv6Trie {
     public:
      void handleRoute(const Ip6Prefix&, const Ipv6TrieRoute*) override {
         if (raises) {
            throw std::runtime_error("no");
         }
      }
      bool raises = true;
   };
   const auto trie = Ptr<RaisingTrie>::adopt(new RaisingTrie);
   const auto route = make("2001:db8::/32");
   EXPECT_THROW(trie->routeIs(route), std::runtime_error);
   EXPECT_EQ(route, trie->route(p("2001:db8::/32")));
   EXPECT_EQ(2u, route->uses());
   EXPECT_THROW(trie->routeDel(p("2001:db8::/32")), std::runtime_error);
   EXPECT_EQ(nullptr, trie->route(p("2001:db8::/32")));
   expectDetached(route);
}

TEST(Ipv6Trie, aPathOf129RoutesNeedsNoStack) {
   const auto trie = Sprig::ipv6TrieFactory();
   std::vector<Ptr<Ipv6TrieRoute>> routes;
   for (U32 length = 0; length <= 128; ++length) {
      routes.push_back(add(trie, "::/" + std::to_string(length)));
   }
   EXPECT_EQ(routes.back(), trie->longestMatch(p("::/128")));
   U32 count = 0;
   for (const auto* route = trie->trie().first(); route != nullptr; route = route->trieNode().next()) {
      EXPECT_EQ(count++, route->prefix().len());
   }
   EXPECT_EQ(129u, count);
   EXPECT_EQ(routes[127].get(), routes[128]->trieNode().parent());
   EXPECT_EQ(routes[0]->trieNode().slot(), trie->trie().root()->slot());
   const auto hint = trie->trie()._longestMatch(routes[128]->trieGetPrefix(), &routes[64]->trieNode());
   EXPECT_EQ(routes[128].get(), hint.route);
   EXPECT_EQ(&routes[0]->trieNode(),
             trie->trie().getSubtreeRootFromHint(&routes[128]->trieNode(), make("8000::/1")->trieGetPrefix()));
   // From the bottom, from the top, and the rest by the trie's end.
   for (U32 length = 128; length > 100; --length) {
      EXPECT_EQ(routes[length], trie->routeDel(routes[length]->prefix()));
   }
   for (U32 length = 0; length < 30; ++length) {
      routes[length]->trieRemove();
   }
   EXPECT_EQ("", trie->audit());
}

#ifdef ROUTETRIE_FAULT_INJECTION
TEST(Ipv6Trie, withoutMemoryNothingChanges) {
   const auto trie = Ptr<RecordingTrie>::adopt(new RecordingTrie);
   const auto one = add(trie, "2001:db8::/32");
   const auto two = make("2001:db9::/32");
   trie->calls.clear();
   CoreSlab::failAt(1);
   EXPECT_THROW(trie->routeIs(two), std::bad_alloc);
   expectDetached(two);
   EXPECT_EQ("", trie->audit());
   const auto low = add(trie, "2001:db8::/33");
   const auto high = add(trie, "2001:db8:8000::/33");
   trie->calls.clear();
   CoreSlab::failAt(1);
   EXPECT_THROW(trie->routeDel(p("2001:db8::/32")), std::bad_alloc);
   EXPECT_EQ(one, trie->route(p("2001:db8::/32")));
   EXPECT_EQ(2u, one->uses());
   EXPECT_EQ("", trie->audit());
   EXPECT_TRUE(trie->calls.empty());
   EXPECT_EQ(one, trie->routeDel(p("2001:db8::/32")));
}

TEST(Ipv6Trie, withoutMemoryNothingIsMade) {
   const auto live = [](const Tesk::AllocTrackTypeInfo* tracker) {
      return tracker == nullptr ? 0 : tracker->liveObjects();
   };
   for (int warm = 0; warm < 2; ++warm) {
      const auto routes = live(Ipv6TrieRoute::memAllocationTracker_);
      const auto tries = live(Ipv6Trie::memAllocationTracker_);
      const auto notifiers = live(Ipv6TrieWithChangeNotifier::memAllocationTracker_);
      CoreSlab::failAt(1);
      EXPECT_THROW(make("::/0"), std::bad_alloc);
      CoreSlab::failAt(1);
      EXPECT_THROW(Sprig::ipv6TrieFactory(), std::bad_alloc);
      CoreSlab::failAt(1);
      EXPECT_THROW(Sprig::ipv6TrieWithChangeNotifierFactory(), std::bad_alloc);
      EXPECT_EQ(routes, live(Ipv6TrieRoute::memAllocationTracker_));
      EXPECT_EQ(tries, live(Ipv6Trie::memAllocationTracker_));
      EXPECT_EQ(notifiers, live(Ipv6TrieWithChangeNotifier::memAllocationTracker_));
   }
}
#endif

//--- Ipv6TrieWithChangeNotifier ---

class Notifier : public testing::Test {
  protected:
   Ptr<Ipv6TrieWithChangeNotifier> trie = Sprig::ipv6TrieWithChangeNotifierFactory();
   std::string told;
   Corvid::Subscription watch = trie->publisher()->subscribe([this](const Corvid::Change& change) {
      EXPECT_EQ(258, change.id);
      EXPECT_EQ(nullptr, change.key);
      EXPECT_EQ(nullptr, change.equal);
      told +=
         std::to_string(*static_cast<const U8*>(change.oldValue)) + '>' + std::to_string(trie->trieChanged()) + ' ';
   });
};

TEST_F(Notifier, countsAnAdditionAndARemoval) {
   EXPECT_EQ(0, trie->trieChanged());
   const auto route = add(trie, "2001:db8::/32");
   EXPECT_EQ(1, trie->trieChanged());
   EXPECT_EQ(route, trie->routeDel(p("2001:db8::/32")));
   EXPECT_EQ(2, trie->trieChanged());
   EXPECT_EQ("0>1 1>2 ", told);
}

TEST_F(Notifier, doesNotCountARemovalThatFoundNothing) {
   EXPECT_FALSE(trie->routeDel(p("2001:db8::/32")));
   EXPECT_EQ(0, trie->trieChanged());
   EXPECT_EQ("", told);
}

TEST_F(Notifier, countsARouteThatIsAddedAgain) {
   const auto route = add(trie, "2001:db8::/32");
   trie->routeIs(route);
   EXPECT_EQ(2, trie->trieChanged());
   EXPECT_EQ(2u, route->uses());
}

TEST_F(Notifier, wrapsAfter256Changes) {
   for (int i = 0; i < 128; ++i) {
      add(trie, "2001:db8::/32");
      trie->routeDel(p("2001:db8::/32"));
   }
   EXPECT_EQ(0, trie->trieChanged());
   EXPECT_NE(std::string::npos, told.find("254>255 255>0 "));
}

TEST_F(Notifier, whatLeavesWithoutTheTrieIsNotCounted) {
   const auto one = add(trie, "2001:db8::/32");
   one->trieRemove();
   EXPECT_EQ(1, trie->trieChanged());
}

TEST_F(Notifier, isSetWithoutAWordIfNothingChanges) {
   trie->trieChangedIs(0);
   EXPECT_EQ("", told);
   trie->trieChangedIs(9);
   trie->trieChangedIs(9);
   EXPECT_EQ("0>9 ", told);
}

TEST_F(Notifier, tellsNothingWhenItGoes) {
   const auto route = add(trie, "2001:db8::/32");
   const auto other = add(trie, "2001:db9::/32");
   told.clear();
   trie = nullptr;
   EXPECT_EQ("", told);
   EXPECT_FALSE(watch.isActive());
   expectDetached(route);
   expectDetached(other);
}

TEST_F(Notifier, isMadeByItsClassToo) {
   const auto other = Ipv6TrieWithChangeNotifier::Ipv6TrieWithChangeNotifierIs();
   EXPECT_EQ(0, other->trieChanged());
   EXPECT_NE(nullptr, other->publisher());
   EXPECT_NE(trie->publisher(), other->publisher());
   EXPECT_EQ("Sprig::Ipv6TrieWithChangeNotifier", Ipv6TrieWithChangeNotifier::memAllocationTracker_->typeName());
}

//--- by name ---

std::string surfaceOf(std::string_view typeName) {
   std::string text;
   for (const auto& field : Inspect::findType(typeName)->fields()) {
      text +=
         std::to_string(field.id()) + ' ' + std::string(field.name()) + ' ' + std::string(field.typeName()) + ':';
      for (const int kind : {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 28}) {
         if (field.takes(static_cast<Corvid::AccessKind>(kind))) {
            text += ' ' + std::to_string(kind);
         }
      }
      text += field.isPublished() ? " published\n" : "\n";
   }
   return text;
}

TEST(Ipv6Trie, hasItsSurface) {
   EXPECT_EQ(
      "130 route Sprig::Ipv6TrieRoute: 0 1 2 28\n"
      "131 longestMatch Sprig::Ipv6TrieRoute: 0 28\n"
      "132 handleRoute void: 10\n"
      "134 lookupRoute Sprig::Ipv6TrieRoute:\n"
      "135 dumpState void: 10\n",
      surfaceOf("Sprig::Ipv6Trie"));
   EXPECT_EQ("258 trieChanged U8: 0 published\n", surfaceOf("Sprig::Ipv6TrieWithChangeNotifier"));
   const auto route = Inspect::findType("Sprig::Ipv6Trie")->field("route");
   EXPECT_EQ("prefix", route->keyAttribute());
   EXPECT_EQ("Corenet::Ip6Prefix", route->keyTypeName());
   EXPECT_EQ(Tesk::Shape::keyedPointers, route->shape());
   EXPECT_EQ("Sprig::Ipv6Trie", Inspect::findType("Sprig::Ipv6TrieWithChangeNotifier")->base()->name());
}

TEST(Ipv6Trie, isReachedByName) {
   const auto trie = Sprig::ipv6TrieFactory();
   const auto route = make("2001:db8::/32");
   Inspect::set(*trie, "route", "2001:db8::/32", route);
   EXPECT_EQ(2u, route->uses());
   EXPECT_EQ(route, Inspect::get(*trie, "route", "2001:db8::/32").object);
   EXPECT_EQ(route, Inspect::lookup(*trie, "route", "2001:db8::/32").object);
   EXPECT_EQ(nullptr, Inspect::get(*trie, "route", "2001:db8::/33").object);
   EXPECT_EQ(route, Inspect::get(*trie, "longestMatch", "2001:db8::1/128").object);
   EXPECT_EQ(route, Inspect::lookup(*trie, "longestMatch", "2001:db8::1/128").object);
   EXPECT_EQ(nullptr, Inspect::get(*trie, "longestMatch", "2001:db9::1/128").object);
   EXPECT_EQ(2u, route->uses()) << "results gave their references back";
   EXPECT_THROW(Inspect::call(*trie, "lookupRoute", {"2001:db8::/32"}), Corvid::RangeException);
   EXPECT_EQ(route, Inspect::del(*trie, "route", "2001:db8::/32").object);
   EXPECT_EQ(nullptr, Inspect::del(*trie, "route", "2001:db8::/32").object);
   expectDetached(route);
}

TEST(Ipv6Trie, aKeyOfTheNullPrefixSearchesForTheZeroLengthPrefix) {
   const auto trie = Sprig::ipv6TrieFactory();
   const auto route = add(trie, "::/0");
   const std::string null(Ip6Prefix::nullPrefix().stringValue());
   EXPECT_EQ(route, Inspect::get(*trie, "route", null).object);
   EXPECT_EQ(route, Inspect::get(*trie, "longestMatch", null).object);
}

TEST_F(Notifier, aCallOfTheHandlerByNameIsCounted) {
   Inspect::call(*trie, "handleRoute", {"2001:db8::/32", "null"});
   EXPECT_EQ("1", Inspect::get(*trie, "trieChanged").text);
   const auto route = make("2001:db8::/32");
   Inspect::set(*trie, "route", "2001:db8::/32", route);
   Inspect::del(*trie, "route", "2001:db8::/32");
   EXPECT_EQ("3", Inspect::get(*trie, "trieChanged").text);
   Inspect::del(*trie, "route", "2001:db8::/32");
   EXPECT_EQ("3", Inspect::get(*trie, "trieChanged").text);
   EXPECT_THROW(Inspect::set(*trie, "trieChanged", "9"), Corvid::RangeException);
}

}  // namespace Ipv6TrieTest
