// The end of each class that publishes: whatever its watchers do meanwhile, it is destroyed once, and keeps nobody waiting.
#include <gtest/gtest.h>

#include <functional>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "routetrie/trie/front/Trie6.h"
#include "routetrie/trie/front/TrieGen.h"
#include "routetrie/trie/front/TrieGenByVrf.h"
#include "routetrie/trie/intrusive/Ipv6Trie.h"
#include "routetrie/trie/multibit/Trie.h"
#include "tests/platform/Threads.h"
#include "tests/property/LiveCounts.h"

namespace ObjectEndTest {

using Corvid::Change;
using Corvid::Ptr;
using Property::LiveCounts;
using TestSupport::MultiThreaded;

// One of each class, with the operations of its that hold the object or announce.
struct Multibit {
   using Object = Routing::Trie;
   static void use(Object& trie) {
      const auto p = Corenet::Prefix::fromString("10.0.0.0/8");
      trie.routeIs(p, true);
      trie.notifyChangedRoute(p);
      trie.routeDel(p);
   }
};
struct Patricia {
   using Object = Routing6::Trie;
   static void use(Object& trie) {
      const auto p = Corenet::Ip6Prefix::fromString("2001:db8::/32");
      trie.routeIs(p, true);
      trie.notifyChangedRoute(p);
      trie.routeDel(p);
   }
};
template <bool isIpv4>
struct Gen {
   using Object = Routing::TrieGen;
   static Corenet::AddressFamily family() { return isIpv4 ? Corenet::ipv4() : Corenet::ipv6(); }
   static void use(Object& trie) {
      const auto p = Corenet::IpGenPrefix::fromString(isIpv4 ? "10.0.0.0/8" : "2001:db8::/32");
      trie.routeIs(p, true);
      trie.notifyChangedRoute(p);
      trie.routeDel(p);
   }
};
struct Notifier {
   using Object = Sprig::Ipv6TrieWithChangeNotifier;
   static void use(Object& trie) {
      const auto route = Sprig::ipv6TrieRouteFactory(Corenet::Ip6Prefix::fromString("2001:db8::/32"));
      trie.routeIs(route);
      trie.trieChangedIs(7);
      trie.routeDel(route->prefix());
   }
};

int ended = 0;

constexpr Corvid::FieldId lastWordId = 999;

// Publishes as it goes, and has no word of the flag that a destructor clears: a class of somebody in a hurry.
template <class Base>
class Announcing : public Base {
  public:
   using Base::Base;
   ~Announcing() override {
      ++ended;
      Base::publisher()->publishChangeRecursive(lastWordId, nullptr, nullptr, nullptr);
   }
};

// As it ends itself, and not by the base form.
template <class Base>
class EndingItself : public Announcing<Base> {
  public:
   using Announcing<Base>::Announcing;
   ~EndingItself() override { this->nodeFlagSet(Corvid::nodeFlagAlive, false); }
   void lastUserGone() override { delete this; }
};

template <template <class> class Wrapper, class Kind>
auto wrapped() {
   using Object = Wrapper<typename Kind::Object>;
   if constexpr (std::is_constructible_v<Object>) {
      return Corvid::ptrIsImpl<Object>();
   } else {
      return Corvid::ptrIsImpl<Object>("gen", Kind::family());
   }
}

template <class Kind>
class ObjectEnd : public testing::Test {
  public:
   using Object = typename Kind::Object;

  protected:
   // Makes an object, lets `meddle` have it while it tells of its end, and checks that it ended once.
   template <template <class> class Wrapper>
   void endsOnce(const std::function<void(Object&)>& meddle) {
      { Kind::use(*wrapped<Wrapper, Kind>()); }  // the trackers are there
      const LiveCounts before;
      ended = 0;
      int told = 0;
      {
         auto object = wrapped<Wrapper, Kind>();
         Object* const address = object.get();
         Kind::use(*object);
         auto watch = object->publisher()->subscribe([&](const Change& change) {
            if (change.id == lastWordId) {
               ++told;
               ASSERT_LT(told, 3) << "told of its end again and again";
               meddle(*address);
            }
         });
         object = nullptr;
         EXPECT_FALSE(watch.isActive());
      }
      EXPECT_EQ(1, told);
      EXPECT_EQ(1, ended);
      EXPECT_EQ("", before.changes());
   }

   void endsOnceHoweverItEnds(const std::function<void(Object&)>& meddle) {
      for (const bool threads : {false, true}) {
         const MultiThreaded multiThreaded(threads);
         endsOnce<Announcing>(meddle);
         endsOnce<EndingItself>(meddle);
      }
   }
};

using Kinds = testing::Types<Multibit, Patricia, Gen<true>, Gen<false>, Notifier>;
TYPED_TEST_SUITE(ObjectEnd, Kinds);

TYPED_TEST(ObjectEnd, aWatcherMayTakeAndDropReferences) {
   using Held = typename TestFixture::Object;
   this->endsOnceHoweverItEnds([](Held& object) {
      EXPECT_EQ(0u, object.uses());
      for (int i = 0; i < 3; ++i) {
         const Ptr<Held> held(&object);
         const Ptr<const Corvid::Node> twice(held);
         EXPECT_EQ(2u, object.uses());
      }
      EXPECT_EQ(0u, object.uses());
   });
}

TYPED_TEST(ObjectEnd, aWatcherMayCallWhatHoldsTheObject) {
   using Held = typename TestFixture::Object;
   this->endsOnceHoweverItEnds([](Held& object) { TypeParam::use(object); });
}

TYPED_TEST(ObjectEnd, aWatcherMayLetAnotherThreadHoldTheObjectMeanwhile) {
   using Held = typename TestFixture::Object;
   const MultiThreaded multiThreaded;
   this->template endsOnce<Announcing>([](Held& object) {
      std::vector<std::jthread> threads;
      for (int i = 0; i < 4; ++i) {
         threads.emplace_back([&object] {
            for (int round = 0; round < 1000; ++round) {
               const Ptr<Held> held(&object);
            }
         });
      }
   });
}

TYPED_TEST(ObjectEnd, aWatcherMaySubscribeAndUnsubscribe) {
   using Held = typename TestFixture::Object;
   this->endsOnceHoweverItEnds([](Held& object) {
      auto watch = object.publisher()->subscribe([](const Change&) { FAIL() << "told of what came before it"; });
      watch.reset();
   });
}

// A local object is not counted to its end: its first reference is nobody's to give up.
TYPED_TEST(ObjectEnd, ofALocalObjectIsTheSame) {
   using Held = typename TestFixture::Object;
   if constexpr (std::is_default_constructible_v<Held>) {
      ended = 0;
      {
         Announcing<Held> object;
         auto watch = object.publisher()->subscribe([&](const Change&) { const Ptr<Held> held(&object); });
         static_cast<void>(watch);
      }
      EXPECT_EQ(1, ended);
   }
}

template <class Kind>
class ObjectEndDeathTest : public ObjectEnd<Kind> {};
TYPED_TEST_SUITE(ObjectEndDeathTest, Kinds);

// Nothing can bring it back: what would be left is a pointer to freed memory.
TYPED_TEST(ObjectEndDeathTest, aReferenceThatIsKeptEndsTheProcess) {
   using Held = typename TestFixture::Object;
   for (const bool threads : {false, true}) {
      const MultiThreaded multiThreaded(threads);
      Ptr<Held> kept;
      const auto keep = [&] {
         auto object = wrapped<Announcing, TypeParam>();
         Held* const address = object.get();
         const auto watch = object->publisher()->subscribe([&](const Change&) { kept = Ptr<Held>(address); });
         object = nullptr;
      };
      EXPECT_DEATH(keep(), "no reference outlives its object' failed");
   }
}

// --- what TrieGen publishes as it goes ---

struct Meddler {
   const char* name;
   void (*meddle)(Routing::TrieGen& trie);
};

class TrieGenEnd : public testing::TestWithParam<Meddler> {};

TEST_P(TrieGenEnd, isOne) {
   for (const auto family : {Corenet::ipv4(), Corenet::ipv6(), Corenet::AddressFamily::none}) {
      for (const bool threads : {false, true}) {
         const MultiThreaded multiThreaded(threads);
         { Routing::trieGenFactory("gen", family)->cb4Del(); }
         const LiveCounts before;
         {
            auto trie = Routing::trieGenFactory("gen", family);
            Routing::TrieGen* const address = trie.get();
            std::vector<Corvid::FieldId> told;
            bool isMeddling = false;
            const auto watch = address->publisher()->subscribe([&](const Change& change) {
               if (isMeddling) {
                  return;  // what the meddler does
               }
               told.push_back(change.id);
               EXPECT_EQ(0u, address->uses());
               EXPECT_FALSE(address->nodeFlag(Corvid::nodeFlagAlive));
               isMeddling = true;
               GetParam().meddle(*address);
               isMeddling = false;
            });
            trie = nullptr;
            EXPECT_EQ((std::vector<Corvid::FieldId>{146, 147}), told);
         }
         EXPECT_EQ("", before.changes());
      }
   }
}

Corenet::IpGenPrefix routeOf(Corenet::AddressFamily family) {
   return family == Corenet::ipv4()   ? Corenet::IpGenPrefix::fromString("10.0.0.0/8")
          : family == Corenet::ipv6() ? Corenet::IpGenPrefix::fromString("2001:db8::/32")
                                      : Corenet::IpGenPrefix();
}

INSTANTIATE_TEST_SUITE_P(
   Meddlers, TrieGenEnd,
   testing::Values(Meddler{"takesAndDrops", [](Routing::TrieGen& trie) { const Ptr<Routing::TrieGen> held(&trie); }},
                   Meddler{"adds", [](Routing::TrieGen& trie) { trie.routeIs(routeOf(trie.af()), true); }},
                   Meddler{"deletes", [](Routing::TrieGen& trie) { trie.routeDel(routeOf(trie.af())); }},
                   Meddler{"notifies",
                           [](Routing::TrieGen& trie) { trie.notifyChangedRoute(routeOf(Corenet::ipv4())); }},
                   Meddler{"asks", [](Routing::TrieGen& trie) { trie.route(routeOf(trie.af())); }},
                   Meddler{"makesTheAdaptersAnew",
                           [](Routing::TrieGen& trie) {
                              trie.cb4Is();
                              trie.cb6Is();
                           }},
                   Meddler{"beginsAnew", [](Routing::TrieGen& trie) { trie.handleInitialize(); }}),
   [](const auto& meddler) { return std::string(meddler.param.name); });

TEST(TrieGenEndRaising, isDroppedAndTheTrieEnds) {
   { Routing::trieGenFactory("gen", Corenet::ipv4())->cb4Del(); }
   const LiveCounts before;
   {
      auto trie = Routing::trieGenFactory("gen", Corenet::ipv4());
      trie->routeIs(routeOf(Corenet::ipv4()), true);
      std::vector<std::string> told;
      const auto first = trie->publisher()->subscribe([&](const Change& change) {
         told.push_back("first " + std::to_string(change.id));
         if (change.id == 146) {
            throw std::runtime_error("no more");
         }
      });
      const auto second = trie->publisher()->subscribe(
         [&](const Change& change) { told.push_back("second " + std::to_string(change.id)); });
      trie = nullptr;
      EXPECT_EQ((std::vector<std::string>{"first 146", "first 147", "second 147"}), told);
      EXPECT_FALSE(first.isActive());
   }
   EXPECT_EQ("", before.changes());
}

TEST(TrieGenEndDeathTest, aReferenceThatIsKeptEndsTheProcess) {
   Ptr<Routing::TrieGen> kept;
   const auto keep = [&] {
      auto trie = Routing::trieGenFactory("gen", Corenet::ipv6());
      Routing::TrieGen* const address = trie.get();
      const auto watch =
         address->publisher()->subscribe([&](const Change&) { kept = Ptr<Routing::TrieGen>(address); });
      trie = nullptr;
   };
   EXPECT_DEATH(keep(), "no reference outlives its object' failed");
}

// What a trie holds may hear of its end, too: here the routes of an intrusive trie, whose class is the user's.
TEST(Ipv6TrieEnd, itsRoutesMayHoldItWhileTheyGo) {
   class Clinging : public Sprig::Ipv6TrieRoute {
     public:
      Clinging(const char* prefix, Sprig::Ipv6Trie* trie)
         : Ipv6TrieRoute(Corenet::Ip6Prefix::fromString(prefix)), trie_(trie) {}
      ~Clinging() override {
         const Ptr<Sprig::Ipv6Trie> held(trie_);
         ++ended;
      }

     private:
      Sprig::Ipv6Trie* trie_;
   };
   { Sprig::ipv6TrieFactory()->routeIs(Corvid::ptrIsImpl<Clinging>("2001:db8::/32", nullptr)); }
   const LiveCounts before;
   ended = 0;
   {
      const auto trie = Sprig::ipv6TrieFactory();
      for (const char* prefix : {"2001:db8::/32", "2001:db8:1::/48", "2001:db8:2::/48", "2001:db9::/32"}) {
         trie->routeIs(Corvid::ptrIsImpl<Clinging>(prefix, trie.get()));
      }
   }
   EXPECT_EQ(4, ended);
   EXPECT_EQ("", before.changes());
}

// Tries of VRFs end when their entries do, and tell then.
TEST(TrieGenByVrfEnd, itsTriesAreHeldByTheirWatchersMeanwhile) {
   {
      Routing::trieGenByVrfFactory()
         ->vrfTrieGenIs(Vrf::VrfIdMap::VrfId(7))
         ->ipv4TrieIs(Routing::trieGenFactory("seven", Corenet::ipv4()));
   }
   const LiveCounts before;
   int told = 0;
   {
      const auto tries = Routing::trieGenByVrfFactory();
      const auto entry = tries->vrfTrieGenIs(Vrf::VrfIdMap::VrfId(7));
      entry->ipv4TrieIs(Routing::trieGenFactory("seven", Corenet::ipv4()));
      Routing::TrieGen* const trie = entry->ipv4Trie().get();
      const auto watch = trie->publisher()->subscribe([&](const Change&) {
         const Ptr<Routing::TrieGen> held(trie);
         ++told;
      });
      tries->vrfTrieGenDel(Vrf::VrfIdMap::VrfId(7));
      EXPECT_EQ(0, told);
      entry->ipv4TrieIs(nullptr);
      EXPECT_EQ(2, told);
   }
   EXPECT_EQ("", before.changes());
}

}  // namespace ObjectEndTest
