#include "routetrie/trie/WalkGuard.h"

#include <gtest/gtest.h>

#include <functional>
#include <utility>
#include <vector>

#include "routetrie/trie/front/TrieGen.h"
#include "routetrie/trie/front/TrieWrapper.h"
#include "routetrie/trie/multibit/Trie.h"
#include "routetrie/trie/patricia/PatriciaTrieWithNodeData.h"

namespace WalkGuardTest {

using Corenet::AddressFamily;
using Corenet::CompactIpPrefix;
using Corenet::IpGenPrefix;
using Change = std::function<void()>;

// A callback of each class that does as it is told.
template <class Base>
class Told : public Base {
  public:
   explicit Told(Change its) : change(std::move(its)) {}
   const Change change;
};
struct Doing4 : Told<Routing::TrieWalkCallback> {
   using Told::Told;
   int handlePrefix(const Corenet::Prefix&) override { return change(), 1; }
};
struct DoingGen : Told<Routing::TrieGenWalkCallback> {
   using Told::Told;
   int handlePrefix(const IpGenPrefix&) override { return change(), 1; }
};
struct Doing : Told<Routing::PatriciaTrieWalkCb> {
   using Told::Told;
   bool handlePrefixData(const IpGenPrefix&, const Routing::PrefixData*) override { return change(), true; }
};
struct DoingCompact : Told<Routing::PatriciaTrieCompactWalkCb> {
   using Told::Told;
   bool handlePrefixData(const CompactIpPrefix&, const Routing::PrefixData*) override { return change(), true; }
};

Corenet::Prefix p4(const char* text) { return Corenet::Prefix::fromString(text); }
IpGenPrefix p(const char* text) { return IpGenPrefix::fromString(text); }
CompactIpPrefix c(const char* text) { return CompactIpPrefix::fromString(text); }

// A trie of each kind, and each way in which it calls back.
struct Tries {
   Corvid::Ptr<Routing::Trie> multibit = Routing::trieFactory();
   Corvid::Ptr<Routing::PatriciaTrieWithNodeData> patricia =
      Routing::patriciaTrieWithNodeDataFactory(AddressFamily::ipv4, false);
   Corvid::Ptr<Routing::TrieGen> gen = Routing::trieGenFactory("guarded", AddressFamily::ipv6);
   Corvid::Ptr<Routing::TrieWrapper> wrapper = Routing::trieWrapperFactory(AddressFamily::ipv4);

   Tries() {
      multibit->routeIs(p4("10.0.0.0/8"), true);
      patricia->routeIs(p("0.0.0.0/0"), Routing::prefixDataFactory());
      patricia->routeIs(p("10.0.0.0/8"), Routing::prefixDataFactory());
      gen->routeIs(p("2001:db8::/32"), true);
      wrapper->routeIs(c("10.0.0.0/8"), true);
   }

   void walkMultibit(const Change& change) const {
      multibit->preOrderWalk(p4("10.0.0.0/8"), Corvid::ptrIsImpl<Doing4>(change));
   }
   void walkGen(const Change& change) const { gen->preOrderWalk(p("::/0"), Corvid::ptrIsImpl<DoingGen>(change)); }
   void walkWrapper(const Change& change) const {
      wrapper->preOrderWalkCompact(c("0.0.0.0/0"), Corvid::ptrIsImpl<DoingCompact>(change).get());
   }

   using Way = std::function<void(const Change&)>;
   std::vector<Way> patriciaWays() const {
      const auto way = [this](auto call) -> Way {
         return [this, call](const Change& change) { call(*patricia, Corvid::ptrIsImpl<Doing>(change).get()); };
      };
      return {
         way([](auto& trie, Doing* cb) { trie.preOrderWalk(p("10.0.0.0/8"), cb); }),
         way([](auto& trie, Doing* cb) { trie.preOrderWalk(p("0.0.0.0/0"), cb); }),
         way([](auto& trie, Doing* cb) { trie.findImmediateChildren(p("0.0.0.0/0"), cb); }),
         way([](auto& trie, Doing* cb) { trie.longestMatchCommon(p("10.1.0.0/16"), nullptr, cb); }),
         way([](auto& trie, Doing* cb) { trie.findParentCommon(p("10.0.0.0/8"), nullptr, cb); }),
         way([](auto& trie, Doing* cb) { trie.ancestorWalk(p("11.0.0.0/8"), cb); }),
         [this](const Change& change) {
            patricia->preOrderWalkCompact(c("10.0.0.0/8"), Corvid::ptrIsImpl<DoingCompact>(change).get());
         },
      };
   }
};

// What every build allows: questions to the trie, changes of another, a walk within a walk, changes when the walk is over.
TEST(WalkGuard, questionsAndOtherTriesAreFree) {
   const Tries tries;
   const Tries others;
   int calls = 0;
   const Change harmless = [&] {
      ++calls;
      EXPECT_EQ(p4("10.0.0.0/8"), tries.multibit->longestMatch(p4("10.1.0.0/16")));
      EXPECT_EQ(p("10.0.0.0/8"), tries.patricia->longestMatchCommon(p("10.1.0.0/16"), nullptr, nullptr));
      others.multibit->routeIs(p4("11.0.0.0/8"), true);
      others.multibit->routeDel(p4("11.0.0.0/8"));
      others.patricia->routeIs(p("11.0.0.0/8"), Routing::prefixDataFactory());
      others.patricia->routeDel(p("11.0.0.0/8"));
      tries.patricia->preOrderWalk(p("10.0.0.0/8"), Corvid::ptrIsImpl<Doing>([] {}).get());
   };
   tries.walkMultibit(harmless);
   tries.walkGen(harmless);
   tries.walkWrapper(harmless);
   EXPECT_EQ(3, calls);
   for (const auto& way : tries.patriciaWays()) {
      const int before = calls;
      way(harmless);
      EXPECT_LT(before, calls);
   }
   EXPECT_THROW(tries.walkMultibit([] { throw 1; }), int);
   EXPECT_TRUE(tries.multibit->routeDel(p4("10.0.0.0/8")));
   EXPECT_NE(nullptr, tries.patricia->routeDel(p("10.0.0.0/8")));
   EXPECT_EQ("", tries.multibit->audit());
   EXPECT_EQ("", tries.patricia->audit());
}

#ifdef ROUTETRIE_FAULT_INJECTION

constexpr auto text = "a callback must not change the trie that it is called for' failed";

TEST(WalkGuardDeathTest, changesOfAMultibitTrie) {
   const Tries tries;
   const std::vector<Change> changes{
      [&] { tries.multibit->routeIs(p4("11.0.0.0/8"), true); },
      [&] { tries.multibit->routeDel(p4("11.0.0.0/8")); },
      [&] { tries.multibit->handleInitialized(); },
      [&] { tries.multibit->handleDeletion(); },
   };
   for (const auto& change : changes) {
      EXPECT_DEATH(tries.walkMultibit(change), text);
   }
   EXPECT_DEATH(tries.walkMultibit([&] { tries.walkGen(changes[0]); }), text) << "a walk in between hides nothing";
}

TEST(WalkGuardDeathTest, changesOfAPatriciaTrie) {
   const Tries tries;
   const std::vector<Change> changes{
      [&] { tries.patricia->routeIs(p("11.0.0.0/8"), Routing::prefixDataFactory()); },
      [&] { tries.patricia->routeDel(p("10.0.0.0/8")); },
      [&] { tries.patricia->handleInitialized(); },
      [&] { tries.patricia->handleDeletion(); },
   };
   for (const auto& way : tries.patriciaWays()) {
      for (const auto& change : changes) {
         EXPECT_DEATH(way(change), text);
      }
   }
}

TEST(WalkGuardDeathTest, changesThroughFrontEnds) {
   Tries tries;
   EXPECT_DEATH(tries.walkGen([&] { tries.gen->routeIs(p("2001:db9::/32"), true); }), text);
   EXPECT_DEATH(tries.walkGen([&] { tries.gen->routeDel(p("2001:db8::/32")); }), text);
   EXPECT_DEATH(tries.walkGen([&] { tries.gen->handleInitialize(); }), text) << "the old engine goes";
   EXPECT_DEATH(tries.walkWrapper([&] { tries.wrapper->routeIs(c("11.0.0.0/8"), true); }), text);
   EXPECT_DEATH(tries.walkMultibit([&] { tries.multibit = nullptr; }), text) << "the last reference";
}

#endif

}  // namespace WalkGuardTest
