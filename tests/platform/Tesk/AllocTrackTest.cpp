#include "routetrie/platform/Tesk/AllocTrack.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <barrier>
#include <thread>
#include <vector>

#include "routetrie/platform/Corvid/ThreadControl.h"

struct TrackedHere {
   int value;
};

namespace AllocTrackTest {

using Tesk::AllocTrackTypeInfo;

TEST(AllocTrack, countsObjectsAndBytes) {
   AllocTrackTypeInfo* tracker = nullptr;
   AllocTrackTypeInfo::_trackAllocationNoOverhead(&tracker, typeid(TrackedHere), 24);
   ASSERT_NE(nullptr, tracker);
   AllocTrackTypeInfo* const made = tracker;
   AllocTrackTypeInfo::_trackAllocationNoOverhead(&tracker, typeid(TrackedHere), 40);
   EXPECT_EQ(made, tracker);
   EXPECT_EQ("TrackedHere", tracker->typeName());
   EXPECT_EQ(24u, tracker->objectSize());
   EXPECT_EQ(0u, tracker->alignment());
   EXPECT_EQ(2u, tracker->liveObjects());
   EXPECT_EQ(64u, tracker->liveBytes());
   AllocTrackTypeInfo::trackDeallocation(tracker, 40);
   EXPECT_EQ(24u, tracker->liveBytes());
   AllocTrackTypeInfo::trackDeallocation(tracker);
   EXPECT_EQ(0u, tracker->liveObjects());
   EXPECT_EQ(0u, tracker->liveBytes());
   EXPECT_EQ(2u, tracker->totalAllocations());
}

TEST(AllocTrack, notesTheAlignment) {
   AllocTrackTypeInfo* tracker = nullptr;
   AllocTrackTypeInfo::_trackAllocation(&tracker, typeid(int), 48, 16);
   EXPECT_EQ(16u, tracker->alignment());
   EXPECT_EQ(48u, tracker->liveBytes());
}

TEST(AllocTrack, allListsEachTrackerOnceInOrder) {
   AllocTrackTypeInfo* first = nullptr;
   AllocTrackTypeInfo* second = nullptr;
   AllocTrackTypeInfo::_trackAllocationNoOverhead(&first, typeid(long), 8);
   AllocTrackTypeInfo::_trackAllocationNoOverhead(&second, typeid(short), 2);
   const auto all = AllocTrackTypeInfo::all();
   EXPECT_EQ(1, std::count(all.begin(), all.end(), first));
   EXPECT_LT(std::find(all.begin(), all.end(), first), std::find(all.begin(), all.end(), second));
   EXPECT_NE(all.end(), std::find(all.begin(), all.end(), second));
}

// Many threads at a tracker that is not there yet: one is made, and nothing is lost.
TEST(AllocTrack, firstUseByManyThreads) {
   Corvid::ThreadControl::multiThreadedIs(true);
   for (int round = 0; round < 50; ++round) {
      AllocTrackTypeInfo* tracker = nullptr;
      constexpr int threadCount = 4;
      std::barrier start(threadCount);
      std::vector<std::thread> threads;
      for (int t = 0; t < threadCount; ++t) {
         threads.emplace_back([&] {
            start.arrive_and_wait();
            for (int i = 0; i < 100; ++i) {
               AllocTrackTypeInfo::_trackAllocationNoOverhead(&tracker, typeid(TrackedHere), 8);
            }
            for (int i = 0; i < 99; ++i) {
               AllocTrackTypeInfo::trackDeallocation(tracker);
            }
         });
      }
      for (auto& thread : threads) {
         thread.join();
      }
      ASSERT_EQ(4u, tracker->liveObjects());
      ASSERT_EQ(32u, tracker->liveBytes());
      ASSERT_EQ(400u, tracker->totalAllocations());
   }
   Corvid::ThreadControl::multiThreadedIs(false);
}

}  // namespace AllocTrackTest
