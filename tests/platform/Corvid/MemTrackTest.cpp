#include "routetrie/platform/Corvid/MemTrack.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace MemTrackTest {

TEST(MemTrack, countsSeveralAtOnceAndShowsAmongTheTrackers) {
   Tesk::AllocTrackTypeInfo* tracker = nullptr;
   Corvid::MemTrack::Impl::alloc(&tracker, typeid(double), 48, 3);
   EXPECT_EQ(3u, tracker->liveObjects());
   EXPECT_EQ(144u, tracker->liveBytes());
   Corvid::MemTrack::Impl::dealloc(tracker, 2);
   EXPECT_EQ(1u, tracker->liveObjects());
   EXPECT_EQ(48u, tracker->liveBytes());
   const auto all = Tesk::AllocTrackTypeInfo::all();
   EXPECT_EQ(1, std::count(all.begin(), all.end(), tracker));
   Corvid::MemTrack::Impl::dealloc(tracker, 1);
   EXPECT_EQ(0u, tracker->liveBytes());
}

}  // namespace MemTrackTest
