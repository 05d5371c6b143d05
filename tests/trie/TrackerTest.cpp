// Every class that users derive callbacks from has a tracker of its own, on which a derived class without one is counted.
#include <gtest/gtest.h>

#include <string>

#include "routetrie/trie/front/TrieGenWalkCallback.h"
#include "routetrie/trie/multibit/TrieWalkCallback.h"
#include "routetrie/trie/patricia/PatriciaTrieIterator.h"
#include "routetrie/trie/patricia/PatriciaTrieWalkCb.h"
#include "tests/property/LiveCounts.h"

namespace TrackerTest {

using Property::LiveCounts;

struct Walk : Routing::TrieWalkCallback {
   char more[40] = {};
};
struct GenWalk : Routing::TrieGenWalkCallback {
   char more[40] = {};
};
struct PatriciaWalk : Routing::PatriciaTrieWalkCb {
   bool handlePrefixData(const Corenet::IpGenPrefix&, const Routing::PrefixData*) override { return true; }
   char more[40] = {};
};
struct CompactWalk : Routing::PatriciaTrieCompactWalkCb {
   bool handlePrefixData(const Corenet::CompactIpPrefix&, const Routing::PrefixData*) override { return true; }
   char more[40] = {};
};
struct Skip : Routing::PatriciaTrieIteratorCb {
   bool isPrefixSkip(const Corenet::IpGenPrefix&) override { return false; }
   char more[40] = {};
};
struct CompactSkip : Routing::PatriciaTrieCompactIteratorCb {
   bool isPrefixSkip(const Corenet::CompactIpPrefix&) override { return false; }
   char more[40] = {};
};

template <class Callback>
class Tracker : public testing::Test {};
using Callbacks = testing::Types<Walk, GenWalk, PatriciaWalk, CompactWalk, Skip, CompactSkip>;
TYPED_TEST_SUITE(Tracker, Callbacks);

TYPED_TEST(Tracker, countsTheCallbacksOfADerivedClass) {
   { const auto once = Corvid::ptrIsImpl<TypeParam>(); }
   const LiveCounts before;
   {
      const Tesk::AllocTrackTypeInfo* const tracker = TypeParam::memAllocationTracker_;
      ASSERT_NE(nullptr, tracker);
      EXPECT_NE(Corvid::Node::memAllocationTracker_, tracker);
      const auto objects = tracker->liveObjects();
      const auto bytes = tracker->liveBytes();
      const Corvid::Ptr<Corvid::Node> callback = Corvid::ptrIsImpl<TypeParam>();
      EXPECT_EQ(objects + 1, tracker->liveObjects());
      EXPECT_EQ(bytes + sizeof(TypeParam), tracker->liveBytes());
   }
   EXPECT_EQ("", before.changes());
}

TEST(TrackerName, isTheClass) {
   static_cast<void>(Corvid::ptrIsImpl<Routing::TrieWalkCallback>());
   static_cast<void>(Corvid::ptrIsImpl<Routing::TrieGenWalkCallback>());
   static_cast<void>(Corvid::ptrIsImpl<CompactSkip>());
   EXPECT_EQ("Routing::TrieWalkCallback", Routing::TrieWalkCallback::memAllocationTracker_->typeName());
   EXPECT_EQ("Routing::TrieGenWalkCallback", Routing::TrieGenWalkCallback::memAllocationTracker_->typeName());
   EXPECT_EQ("Routing::PatriciaTrieCompactIteratorCb",
             Routing::PatriciaTrieCompactIteratorCb::memAllocationTracker_->typeName());
}

}  // namespace TrackerTest
