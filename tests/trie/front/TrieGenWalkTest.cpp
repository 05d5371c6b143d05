// Walks over a dual-family trie: the adapters, and the recorder.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <vector>

#include "routetrie/platform/CoreSlab/Slab.h"
#include "routetrie/platform/Corvid/Inspect.h"
#include "routetrie/platform/Corvid/RangeException.h"
#include "routetrie/trie/front/TrieGen.h"
#include "routetrie/trie/front/TrieGenTestWalkCallback.h"
#include "tests/platform/TraceCapture.h"
#include "tests/property/LiveCounts.h"
#include "tests/trie/Surface.h"

namespace TrieGenWalkTest {

namespace Inspect = Corvid::Inspect;
using Corenet::IpGenPrefix;
using testing::ElementsAre;
using testing::IsEmpty;
using TestSupport::surfaceOf;

IpGenPrefix p(std::string_view text) { return IpGenPrefix::fromString(text); }

// Keeps what it is called with, in order, and refuses one prefix.
class Recorder : public Routing::TrieGenWalkCallback {
  public:
   ~Recorder() override { nodeFlagSet(Corvid::nodeFlagAlive, false); }
   int handlePrefix(const IpGenPrefix& prefix) override {
      seen.emplace_back(prefix.stringValue());
      if (raises) {
         throw std::runtime_error("enough");
      }
      return prefix == refused ? 0 : -7;
   }
   std::vector<std::string> seen;
   IpGenPrefix refused;
   bool raises = false;
};

Corvid::Ptr<Routing::TrieGen> trieOf(std::initializer_list<std::string_view> routes) {
   const auto trie = Routing::trieGenFactory("walked", p(*routes.begin()).af());
   for (const auto route : routes) {
      trie->routeIs(p(route), true);
   }
   return trie;
}

class TrieGenWalk : public testing::Test {
  protected:
   std::vector<std::string> walk(Routing::TrieGen& trie, std::string_view from) {
      recorder_->seen.clear();
      trie.preOrderWalk(p(from), recorder_);
      return recorder_->seen;
   }
   Corvid::Ptr<Recorder> recorder_ = Corvid::ptrIsImpl<Recorder>();
   Corvid::Ptr<Routing::TrieGen> trie4_ = trieOf({"10.0.0.0/8", "10.1.0.0/16", "0.0.0.0/0", "9.0.0.0/8"});
   Corvid::Ptr<Routing::TrieGen> trie6_ = trieOf({"2001:db8::/32", "2001:db8:1::/48", "::/0", "2001:db7::/32"});
};

TEST_F(TrieGenWalk, byAddressAndLength) {
   EXPECT_THAT(walk(*trie4_, "0.0.0.0/0"), ElementsAre("0.0.0.0/0", "9.0.0.0/8", "10.0.0.0/8", "10.1.0.0/16"));
   EXPECT_THAT(walk(*trie4_, "10.0.0.0/8"), ElementsAre("10.0.0.0/8", "10.1.0.0/16"));
   EXPECT_THAT(walk(*trie6_, "::/0"), ElementsAre("::/0", "2001:db7::/32", "2001:db8::/32", "2001:db8:1::/48"));
   EXPECT_THAT(walk(*trie6_, "2001:db8::/32"), ElementsAre("2001:db8::/32", "2001:db8:1::/48"));
}

TEST_F(TrieGenWalk, aPrefixWithoutFamilyWalksNothing) {
   trie4_->preOrderWalk(IpGenPrefix(), recorder_);
   EXPECT_THAT(recorder_->seen, IsEmpty());
}

TEST_F(TrieGenWalk, aRefusalReachesTheWalkOfIpv4Alone) {
   recorder_->refused = p("10.0.0.0/8");
   EXPECT_THAT(walk(*trie4_, "0.0.0.0/0"), ElementsAre("0.0.0.0/0", "9.0.0.0/8", "10.0.0.0/8"));
   recorder_->refused = p("2001:db8::/32");
   EXPECT_THAT(walk(*trie6_, "::/0"), ElementsAre("::/0", "2001:db7::/32", "2001:db8::/32", "2001:db8:1::/48"));
}

TEST_F(TrieGenWalk, aRefusedDefaultRouteEndsTheWalkOfIpv4Alone) {
   recorder_->refused = p("0.0.0.0/0");
   EXPECT_THAT(walk(*trie4_, "0.0.0.0/0"), ElementsAre("0.0.0.0/0"));
   recorder_->refused = p("::/0");
   EXPECT_THAT(walk(*trie6_, "::/0"), testing::SizeIs(4));
}

TEST_F(TrieGenWalk, theCallbackIsHeldForTheWalkAlone) {
   for (auto* trie : {trie4_.get(), trie6_.get()}) {
      walk(*trie, trie == trie4_.get() ? "0.0.0.0/0" : "::/0");
      EXPECT_EQ(1u, recorder_->uses());
      EXPECT_EQ(nullptr, trie->cb4()->currentWalkCallback());
      EXPECT_EQ(nullptr, trie->cb6()->currentWalkCallback());
      EXPECT_EQ(1u, trie->cb4()->uses());
      EXPECT_EQ(1u, trie->cb6()->uses());
   }
}

TEST_F(TrieGenWalk, anExceptionLeavesTheCallbackSetUntilTheNextWalk) {
   recorder_->raises = true;
   EXPECT_THROW(walk(*trie4_, "0.0.0.0/0"), std::runtime_error);
   EXPECT_EQ(recorder_, trie4_->cb4()->currentWalkCallback());
   EXPECT_THROW(walk(*trie6_, "::/0"), std::runtime_error);
   EXPECT_EQ(recorder_, trie6_->cb6()->currentWalkCallback());
   recorder_->raises = false;
   walk(*trie4_, "0.0.0.0/0");
   walk(*trie6_, "::/0");
   EXPECT_EQ(1u, recorder_->uses());
}

TEST_F(TrieGenWalk, theBaseTakesEveryRoute) {
   const auto base = Corvid::ptrIsImpl<Routing::TrieGenWalkCallback>();
   EXPECT_EQ(1, base->handlePrefix(p("10.0.0.0/8")));
}

TEST(TrieWalkCallback4, handsTheResultOn) {
   const auto adapter = Corvid::ptrIsImpl<Routing::TrieWalkCallback4>();
   const auto recorder = Corvid::ptrIsImpl<Recorder>();
   recorder->refused = p("10.0.0.0/8");
   adapter->currentWalkCallbackIs(recorder);
   EXPECT_EQ(0, adapter->handlePrefix(Corenet::Prefix::fromString("10.0.0.0/8")));
   EXPECT_EQ(-7, adapter->handlePrefix(Corenet::Prefix::fromString("11.0.0.0/8")));
   EXPECT_THAT(recorder->seen, ElementsAre("10.0.0.0/8", "11.0.0.0/8"));
}

TEST(TrieWalkCallback6, dropsTheResult) {
   const auto adapter = Corvid::ptrIsImpl<Routing::TrieWalkCallback6>();
   const auto recorder = Corvid::ptrIsImpl<Recorder>();
   recorder->refused = p("::1/128");
   adapter->currentWalkCallbackIs(recorder);
   EXPECT_TRUE(adapter->handlePrefixData(p("::1/128"), nullptr));
   EXPECT_THAT(recorder->seen, ElementsAre("::1/128"));
}

TEST(TrieGenWalkCallbacks, surfaces) {
   EXPECT_EQ("130 handlePrefix S32: 10\n", surfaceOf("Routing::TrieGenWalkCallback"));
   EXPECT_EQ("258 currentWalkCallback Routing::TrieGenWalkCallback: 0 1\n", surfaceOf("Routing::TrieWalkCallback4"));
   EXPECT_EQ("258 currentWalkCallback Routing::TrieGenWalkCallback: 0 1\n", surfaceOf("Routing::TrieWalkCallback6"));
   const auto adapter = Corvid::ptrIsImpl<Routing::TrieWalkCallback6>();
   const auto recorder = Routing::trieGenTestWalkCallbackFactory();
   Inspect::set(*adapter, "currentWalkCallback", recorder);
   EXPECT_EQ(recorder, Inspect::get(*adapter, "currentWalkCallback").object);
   EXPECT_EQ("1", Inspect::call(*recorder, "handlePrefix", {"::1/128"}).text);
   EXPECT_TRUE(recorder->walkedPrefix(p("::1/128")));
}

//--- the recorder ---

class TestWalkCallback : public testing::Test {
  protected:
   Corvid::Ptr<Routing::TrieGenTestWalkCallback> recorder_ = Routing::trieGenTestWalkCallbackFactory();
};

TEST_F(TestWalkCallback, isASet) {
   EXPECT_EQ(1, recorder_->handlePrefix(p("10.0.0.0/8")));
   EXPECT_EQ(1, recorder_->handlePrefix(p("10.0.0.0/8")));
   EXPECT_EQ(1, recorder_->handlePrefix(p("::1/128")));
   EXPECT_EQ(2u, recorder_->walkedPrefixes().memberCount());
   EXPECT_TRUE(recorder_->walkedPrefix(p("10.0.0.0/8")));
   EXPECT_FALSE(recorder_->walkedPrefix(p("10.0.0.0/9")));
   recorder_->walkedPrefixDel(p("10.0.0.0/8"));
   recorder_->walkedPrefixDel(p("10.0.0.0/8"));
   EXPECT_FALSE(recorder_->walkedPrefix(p("10.0.0.0/8")));
   recorder_->walkedPrefixDelAll();
   EXPECT_EQ(0u, recorder_->walkedPrefixes().memberCount());
}

TEST_F(TestWalkCallback, recordsAWalk) {
   const auto trie = trieOf({"10.0.0.0/8", "0.0.0.0/0", "10.1.0.0/16"});
   trie->preOrderWalk(p("0.0.0.0/0"), recorder_);
   trie->preOrderWalk(p("0.0.0.0/0"), recorder_);
   EXPECT_EQ(3u, recorder_->walkedPrefixes().memberCount());
}

TEST_F(TestWalkCallback, tracesItsNameTwice) {
   TestSupport::TraceCapture capture("TrieGen", {8});
   recorder_->handlePrefix(p("10.0.0.0/8"));
   EXPECT_THAT(capture.lines(), ElementsAre("8 handlePrefix: handlePrefix(10.0.0.0/8)"));
}

#ifdef ROUTETRIE_FAULT_INJECTION
TEST_F(TestWalkCallback, outOfMemory) {
   CoreSlab::failAt(1);
   EXPECT_THROW(recorder_->walkedPrefixIs(p("10.0.0.0/8")), std::bad_alloc);
   CoreSlab::failAt(0);
   EXPECT_EQ(0u, recorder_->walkedPrefixes().memberCount());
   EXPECT_DEATH(
      {
         CoreSlab::failAt(1);
         recorder_->handlePrefix(p("10.0.0.0/8"));
      },
      "terminate");
}
#endif
static_assert(noexcept(std::declval<Routing::TrieGenTestWalkCallback&>().handlePrefix({})));

TEST_F(TestWalkCallback, byName) {
   EXPECT_EQ("258 walkedPrefix bool: 0 1 2 3 4 5\n", surfaceOf("Routing::TrieGenTestWalkCallback"));
   Inspect::set(*recorder_, "walkedPrefix", "10.0.0.0/8", "true");
   Inspect::set(*recorder_, "walkedPrefix", "11.0.0.0/8", "true");
   EXPECT_EQ("true", Inspect::get(*recorder_, "walkedPrefix", "10.0.0.0/8").text);
   EXPECT_TRUE(Inspect::exists(*recorder_, "walkedPrefix", "10.0.0.0/8"));
   EXPECT_FALSE(Inspect::exists(*recorder_, "walkedPrefix", "10.0.0.0/9"));
   EXPECT_EQ(2u, Inspect::count(*recorder_, "walkedPrefix"));
   EXPECT_EQ(2u, Inspect::number(*recorder_, "walkedPrefix"));
   EXPECT_THROW(Inspect::set(*recorder_, "walkedPrefix", "10.0.0.0/8", "false"), Corvid::RangeException);
   EXPECT_EQ(2u, Inspect::count(*recorder_, "walkedPrefix"));

   std::vector<std::string> seen;
   const auto each = [&](const Inspect::Value& key, const Inspect::Value& member) {
      seen.push_back(key.text + " " + member.text);
      return true;
   };
   Inspect::iterate(*recorder_, "walkedPrefix", each);
   EXPECT_THAT(seen, ElementsAre("10.0.0.0/8 true", "11.0.0.0/8 true"));
   seen.clear();
   Inspect::iterate(*recorder_, "walkedPrefix", "11.0.0.0/8", each);
   EXPECT_THAT(seen, ElementsAre("11.0.0.0/8 true"));
   Inspect::del(*recorder_, "walkedPrefix", "10.0.0.0/8");
   EXPECT_EQ(1u, Inspect::count(*recorder_, "walkedPrefix"));
   EXPECT_EQ(3u, Inspect::number(*recorder_, "walkedPrefix"));
}

TEST(TestWalkCallbackMemory, isBackToItsStart) {
   const Property::LiveCounts before;
   {
      const auto recorder = Routing::TrieGenTestWalkCallback::TrieGenTestWalkCallbackIs();
      for (U32 i = 0; i < 100; ++i) {
         recorder->handlePrefix(Corenet::Prefix::cut(Corenet::AddressBits<32>(i << 24), 8));
      }
      EXPECT_NE("", before.changes());
   }
   EXPECT_EQ("", before.changes());
}

}  // namespace TrieGenWalkTest
