#include <gmock/gmock.h>

#include <set>
#include <stdexcept>
#include <vector>

#include "routetrie/platform/Corvid/RangeException.h"
#include "routetrie/trie/multibit/TrieWalkCallbackTest.h"
#include "tests/trie/multibit/TrieSupport.h"

namespace TrieTraversalTest {

using namespace testing_support;
using testing::ElementsAre;

// Notes what is reported, and refuses what it was told to refuse.
class Noting : public Routing::TrieWalkCallback {
  public:
   std::vector<std::string> seen;
   std::set<std::string> refused;
   std::string raiseAt;

   int handlePrefix(const Corenet::Prefix& prefix) override {
      const std::string text = prefix.stringValue();
      if (text == raiseAt) {
         throw std::runtime_error("walk");
      }
      seen.push_back(text);
      return refused.count(text) != 0 ? 0 : 7;
   }
};

class NotingCompact : public Routing::PatriciaTrieCompactWalkCb {
  public:
   std::vector<std::string> seen;
   std::string refused;
   bool hadData = false;

   bool handlePrefixData(const Corenet::CompactIpPrefix& prefix, const Routing::PrefixData* data) override {
      seen.push_back(prefix.stringValue());
      hadData = hadData || data != nullptr;
      return seen.back() != refused;
   }
};

class TrieWalk : public TrieFixture {
  public:
   std::vector<std::string> walk(std::string_view from, std::set<std::string> refused = {}) const {
      const auto callback = Corvid::ptrIsImpl<Noting>();
      callback->refused = std::move(refused);
      trie->preOrderWalk(p(from), callback);
      EXPECT_EQ(1u, callback->uses());
      return callback->seen;
   }
   std::string next(std::string_view text) const { return trie->getNext(p(text)).stringValue(); }
};

//--- the walk ---

TEST_F(TrieWalk, goesByAddressAndThenByLength) {
   add({"11.0.0.0/8", "10.1.0.0/16", "10.0.0.0/8", "10.0.0.0/7"});
   EXPECT_THAT(walk("0.0.0.0/0"), ElementsAre("10.0.0.0/7", "10.0.0.0/8", "10.1.0.0/16", "11.0.0.0/8"));
}

TEST_F(TrieWalk, reportsTheSubtreeAlone) {
   add({"10.0.0.0/7", "10.0.0.0/8", "10.1.0.0/16", "11.0.0.0/8"});
   EXPECT_THAT(walk("10.0.0.0/8"), ElementsAre("10.0.0.0/8", "10.1.0.0/16"));
   EXPECT_THAT(walk("10.0.0.0/7"), ElementsAre("10.0.0.0/7", "10.0.0.0/8", "10.1.0.0/16", "11.0.0.0/8"));
   EXPECT_THAT(walk("11.0.0.0/8"), ElementsAre("11.0.0.0/8"));
   EXPECT_THAT(walk("8.0.0.0/6"), ElementsAre("10.0.0.0/7", "10.0.0.0/8", "10.1.0.0/16", "11.0.0.0/8"));
   EXPECT_THAT(walk("10.1.0.0/16"), ElementsAre("10.1.0.0/16"));
   EXPECT_THAT(walk("10.1.0.0/17"), ElementsAre());
   EXPECT_THAT(walk("12.0.0.0/8"), ElementsAre());
}

TEST_F(TrieWalk, reportsWhatLiesUnderAPrefixThatIsNoRoute) {
   add({"10.1.0.0/16", "10.1.128.0/17", "10.2.0.0/16", "10.1.1.1/32"});
   EXPECT_THAT(walk("10.0.0.0/8"), ElementsAre("10.1.0.0/16", "10.1.1.1/32", "10.1.128.0/17", "10.2.0.0/16"));
   EXPECT_THAT(walk("10.1.0.0/17"), ElementsAre("10.1.1.1/32"));
   EXPECT_THAT(walk("10.1.1.0/30"), ElementsAre("10.1.1.1/32"));
}

TEST_F(TrieWalk, theDefaultRouteComesFirst) {
   add("0.0.0.0/1");
   EXPECT_THAT(walk("0.0.0.0/0"), ElementsAre("0.0.0.0/1"));
   add("0.0.0.0/0");
   EXPECT_THAT(walk("0.0.0.0/0"), ElementsAre("0.0.0.0/0", "0.0.0.0/1"));
   EXPECT_THAT(walk("0.0.0.0/1"), ElementsAre("0.0.0.0/1"));
}

TEST_F(TrieWalk, anEmptyTrieHasNothingToReport) {
   EXPECT_THAT(walk("0.0.0.0/0"), ElementsAre());
   EXPECT_THAT(walk("10.1.1.1/32"), ElementsAre());
}

TEST_F(TrieWalk, aRefusedRouteIsSkippedWithItsWholeSpan) {
   add({"10.0.0.0/7", "10.0.0.0/8", "10.1.0.0/16", "11.0.0.0/8", "12.0.0.0/8"});
   EXPECT_THAT(walk("0.0.0.0/0", {"10.0.0.0/7"}), ElementsAre("10.0.0.0/7", "12.0.0.0/8"));
   EXPECT_THAT(walk("0.0.0.0/0", {"10.0.0.0/8"}),
               ElementsAre("10.0.0.0/7", "10.0.0.0/8", "11.0.0.0/8", "12.0.0.0/8"));
   EXPECT_THAT(walk("10.0.0.0/7", {"10.0.0.0/7"}), ElementsAre("10.0.0.0/7"));
}

TEST_F(TrieWalk, aRefusedDefaultRouteEndsTheWalk) {
   add({"0.0.0.0/0", "0.0.0.0/1", "10.0.0.0/8", "10.1.0.0/16", "200.0.0.0/8"});
   EXPECT_THAT(walk("0.0.0.0/0", {"0.0.0.0/0"}), ElementsAre("0.0.0.0/0"));
}

TEST_F(TrieWalk, aRefusalInAChildEndsNothingAbove) {
   add({"10.0.0.0/8", "10.1.0.0/16", "10.1.1.0/24", "10.2.0.0/16", "11.0.0.0/8"});
   EXPECT_THAT(walk("0.0.0.0/0", {"10.1.0.0/16"}),
               ElementsAre("10.0.0.0/8", "10.1.0.0/16", "10.2.0.0/16", "11.0.0.0/8"));
}

TEST_F(TrieWalk, aRefusalMaySkipPastTheEndOfTheSubtree) {
   add({"10.0.0.0/8", "10.0.0.0/7"});
   EXPECT_THAT(walk("10.0.0.0/8", {"10.0.0.0/8"}), ElementsAre("10.0.0.0/8"));
}

TEST_F(TrieWalk, seesChildrenOfEitherForm) {
   add({"10.1.0.0/16", "10.200.0.0/16", "10.100.0.0/16"});
   const auto three = walk("0.0.0.0/0");
   EXPECT_THAT(three, ElementsAre("10.1.0.0/16", "10.100.0.0/16", "10.200.0.0/16"));
   add({"9.1.0.0/16", "12.1.0.0/16", "11.1.0.0/16"});
   ASSERT_TRUE(trie->root()->isIndirect());
   EXPECT_THAT(walk("0.0.0.0/0"), ElementsAre("9.1.0.0/16", "10.1.0.0/16", "10.100.0.0/16", "10.200.0.0/16",
                                              "11.1.0.0/16", "12.1.0.0/16"));
}

TEST_F(TrieWalk, whatTheCallbackRaisesPassesOut) {
   add({"10.0.0.0/8", "10.1.0.0/16", "11.0.0.0/8"});
   const auto callback = Corvid::ptrIsImpl<Noting>();
   callback->raiseAt = "10.1.0.0/16";
   EXPECT_THROW(trie->preOrderWalk(p("0.0.0.0/0"), callback), std::runtime_error);
   EXPECT_EQ(1u, callback->uses());
   EXPECT_THAT(callback->seen, ElementsAre("10.0.0.0/8"));
}

TEST_F(TrieWalk, theCallersReferenceMayGoMeanwhile) {
   class Dropping : public Routing::TrieWalkCallback {
     public:
      explicit Dropping(Corvid::Ptr<Routing::TrieWalkCallback>& its) : reference(its) {}
      int handlePrefix(const Corenet::Prefix&) override {
         reference = nullptr;
         return ++calls;
      }
      Corvid::Ptr<Routing::TrieWalkCallback>& reference;
      int calls = 0;
   };
   add({"0.0.0.0/0", "10.0.0.0/8", "11.0.0.0/8"});
   Corvid::Ptr<Routing::TrieWalkCallback> callback;
   callback = Corvid::ptrIsImpl<Dropping>(callback);
   trie->preOrderWalk(Corenet::Prefix(), callback);
   EXPECT_EQ(nullptr, callback);
}

// Every route there is counts as shorter than the null prefix.
TEST_F(TrieWalk, theNullPrefixHasNothingToReport) {
   add({"0.0.0.0/0", "0.0.0.0/29", "0.0.0.0/30", "0.0.0.0/31", "0.0.0.0/32", "0.0.0.1/32", "0.0.0.2/32"});
   const auto callback = Corvid::ptrIsImpl<Noting>();
   trie->preOrderWalk(nullPrefix, callback);
   EXPECT_THAT(callback->seen, ElementsAre());
}

TEST_F(TrieWalk, isNoQuestionToAConstTrie) {
   using Trie = Routing::Trie;
   using Corenet::Prefix;
   const auto walks = []<class T>(T*) {
      return requires(T & it, const Corvid::Ptr<Routing::TrieWalkCallback>& callback) {
         it.preOrderWalk(Prefix(), callback);
      };
   };
   const auto walksCompact = []<class T>(T*) {
      return requires(T & it, const Corvid::Ptr<Routing::PatriciaTrieCompactWalkCb>& callback) {
         it.preOrderWalkCompact(Corenet::CompactIpPrefix(), callback);
      };
   };
   EXPECT_TRUE(walks(static_cast<Trie*>(nullptr)) && walksCompact(static_cast<Trie*>(nullptr)));
   EXPECT_FALSE(walks(static_cast<const Trie*>(nullptr)));
   EXPECT_FALSE(walksCompact(static_cast<const Trie*>(nullptr)));
}

// A route byte of a node with four lengths that has bits of more: what they spell is no prefix.
TEST_F(TrieWalk, aDamagedRouteByteIsNotHandedOut) {
   add({"10.1.16.0/20", "10.1.17.16/28"});
   const auto callback = Corvid::ptrIsImpl<Noting>();
   for (const auto* way : {"10.1.16.0/20", "10.1.17.16/28"}) {
      TrieImpl::TrieNode& node = *nodeFor(way);
      node.routeByte(0) = 0x80;
      try {
         trie->preOrderWalk(Corenet::Prefix(), callback);
         ADD_FAILURE() << way;
      } catch (const Corvid::RangeException& e) {
         EXPECT_STREQ("Corenet::Prefix::validAsPrefix != true not allowed", e.what());
      }
      EXPECT_EQ(1u, callback->uses());
      EXPECT_THROW(trie->getNext(node.level() == 2 ? Corenet::Prefix() : p("10.1.16.0/20")), Corvid::RangeException);
      node.routeByte(0) = 0;
   }
   EXPECT_EQ("", trie->audit());
}

TEST_F(TrieWalk, theBaseCallbackTakesEveryRoute) {
   EXPECT_EQ(1, Corvid::ptrIsImpl<Routing::TrieWalkCallback>()->handlePrefix(p("10.0.0.0/8")));
}

//--- the walk in compact form ---

using Corenet::CompactIpPrefix;

TEST_F(TrieWalk, compactFormsReachTheSameRoutes) {
   add({"0.0.0.0/0", "10.0.0.0/7", "10.0.0.0/8", "10.1.1.1/32", "11.0.0.0/8"});
   const auto walkCompact = [&](const CompactIpPrefix& from, const std::string& refused = "") {
      const auto callback = Corvid::ptrIsImpl<NotingCompact>();
      callback->refused = refused;
      trie->preOrderWalkCompact(from, callback);
      EXPECT_EQ(1u, callback->uses());
      EXPECT_FALSE(callback->hadData);
      return callback->seen;
   };
   EXPECT_THAT(walkCompact(CompactIpPrefix(p("10.0.0.0/8"))), ElementsAre("10.0.0.0/8", "10.1.1.1/32"));
   const auto all = ElementsAre("0.0.0.0/0", "10.0.0.0/7", "10.0.0.0/8", "10.1.1.1/32", "11.0.0.0/8");
   EXPECT_THAT(walkCompact(CompactIpPrefix(p("0.0.0.0/0"))), all);
   EXPECT_THAT(walkCompact(CompactIpPrefix()), all);  // the null compact value
   EXPECT_THAT(walkCompact(CompactIpPrefix::fromString("2001:db8::/32")), ElementsAre());
   EXPECT_THAT(walkCompact(CompactIpPrefix::fromString("2001:db8::1/128")), ElementsAre());
   EXPECT_THAT(walkCompact(CompactIpPrefix::getNull(Corenet::ipv4)), ElementsAre());
   add({"0.0.0.0/31", "0.0.0.0/32", "0.0.0.1/32"});  // where the null prefix would lie
   EXPECT_THAT(walkCompact(CompactIpPrefix::fromString("2001:db8::/32")), ElementsAre());
   EXPECT_THAT(walkCompact(CompactIpPrefix::fromString("2001:db8::1/128")), ElementsAre());
   EXPECT_THAT(walkCompact(CompactIpPrefix::getNull(Corenet::ipv4)), ElementsAre());
   trie->routeDel(p("0.0.0.0/31"));
   trie->routeDel(p("0.0.0.0/32"));
   trie->routeDel(p("0.0.0.1/32"));
   EXPECT_THAT(walkCompact(CompactIpPrefix(), "10.0.0.0/7"), ElementsAre("0.0.0.0/0", "10.0.0.0/7"));
}

TEST(TrieWalkCallbackWrapper, holdsItsCallback) {
   const auto callback = Corvid::ptrIsImpl<NotingCompact>();
   {
      const auto wrapper = Corvid::ptrIsImpl<Routing::TrieWalkCallbackWrapper>(callback);
      EXPECT_EQ(2u, callback->uses());
      EXPECT_EQ(callback, wrapper->pcb());
      EXPECT_EQ(callback, std::as_const(*wrapper).pcb());
      const auto counted = wrapper->teskpcbConst();
      EXPECT_EQ(callback, counted);
      EXPECT_EQ(3u, callback->uses());
      callback->refused = "10.0.0.0/8";
      EXPECT_EQ(0, wrapper->handlePrefix(p("10.0.0.0/8")));
      EXPECT_EQ(1, wrapper->handlePrefix(p("11.0.0.0/8")));
   }
   EXPECT_EQ(1u, callback->uses());
   EXPECT_THAT(callback->seen, ElementsAre("10.0.0.0/8", "11.0.0.0/8"));
}

//--- next ---

TEST_F(TrieWalk, nextStepsThroughTheSameOrder) {
   add({"10.0.0.0/7", "10.0.0.0/8", "10.1.0.0/16", "10.1.1.1/32", "10.1.1.2/32", "10.1.2.0/24", "11.0.0.0/8",
        "200.0.0.0/5", "0.0.0.0/1", "128.0.0.0/1"});
   std::vector<std::string> steps;
   for (auto prefix = trie->getNext(Corenet::Prefix()); prefix.len() != 0; prefix = trie->getNext(prefix)) {
      steps.push_back(prefix.stringValue());
   }
   EXPECT_EQ(walk("0.0.0.0/0"), steps);
   EXPECT_EQ(10u, steps.size());
}

TEST_F(TrieWalk, nextOfTheDefaultRouteIsTheFirstWhetherOrNotItIsThere) {
   EXPECT_EQ("0.0.0.0/0", next("0.0.0.0/0"));
   add("10.0.0.0/8");
   EXPECT_EQ("10.0.0.0/8", next("0.0.0.0/0"));
   add("0.0.0.0/0");
   EXPECT_EQ("10.0.0.0/8", next("0.0.0.0/0"));
   add("0.0.0.0/32");
   EXPECT_EQ("0.0.0.0/32", next("0.0.0.0/0"));
}

TEST_F(TrieWalk, afterTheLastAndAfterWhatIsNotThereComesTheEnd) {
   add({"0.0.0.0/0", "10.0.0.0/8", "11.0.0.0/8"});
   EXPECT_EQ("11.0.0.0/8", next("10.0.0.0/8"));
   EXPECT_EQ("0.0.0.0/0", next("11.0.0.0/8"));
   EXPECT_EQ("0.0.0.0/0", next("9.0.0.0/8"));
   EXPECT_EQ("0.0.0.0/0", next("10.0.0.0/7"));
   EXPECT_EQ("0.0.0.0/0", next("10.1.0.0/16"));
}

TEST_F(TrieWalk, nextDoesNotTurnBackToShorterRoutes) {
   add({"10.0.0.0/7", "10.0.0.0/8", "10.0.0.0/9", "10.0.0.0/16"});
   EXPECT_EQ("10.0.0.0/8", next("10.0.0.0/7"));
   EXPECT_EQ("10.0.0.0/9", next("10.0.0.0/8"));
   EXPECT_EQ("10.0.0.0/16", next("10.0.0.0/9"));
   EXPECT_EQ("0.0.0.0/0", next("10.0.0.0/16"));
}

// What begins at address 0 comes before the null prefix, and the rest after it; but only where a node stands at its place,
// and no default route answers for it.
TEST_F(TrieWalk, nextOfTheNullPrefix) {
   const auto next = [&] { return trie->getNext(nullPrefix).stringValue(); };
   EXPECT_EQ("0.0.0.0/0", next());
   add("0.0.0.16/28");
   EXPECT_EQ("0.0.0.0/0", next());
   add({"0.0.0.0/32", "0.0.0.0/31", "0.0.0.0/29"});
   EXPECT_EQ("0.0.0.16/28", next());
   add("0.0.0.2/31");
   EXPECT_EQ("0.0.0.2/31", next());
   add("0.0.0.1/32");
   EXPECT_EQ("0.0.0.1/32", next());
   add("0.0.0.0/0");
   EXPECT_EQ("0.0.0.0/0", next());
}

}  // namespace TrieTraversalTest
