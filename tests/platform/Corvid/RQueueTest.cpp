#include "routetrie/platform/Corvid/RQueue.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <deque>
#include <random>
#include <string>
#include <vector>

#include "routetrie/platform/Corenet/CompactIpPrefix.h"
#include "tests/property/LiveCounts.h"
#include "tests/property/Scale.h"

namespace RQueueTest {

struct QE_Numbers {};
struct QE_Prefixes {};
using Numbers = Corvid::RQueue<U32, false, QE_Numbers>;
// Values that own something.
using Prefixes = Corvid::RQueue<Corenet::CompactIpPrefix, true, QE_Prefixes>;

template <class Queue>
auto contents(const Queue& queue) {
   std::vector<std::remove_cvref_t<decltype(*queue.front())>> values;
   for (U32 position = queue.frontPosition(); queue.contains(position); ++position) {
      values.push_back(queue.at(position));
   }
   return values;
}

TEST(RQueue, beginsEmpty) {
   const Numbers queue;
   EXPECT_EQ(0u, queue.members());
   EXPECT_TRUE(queue.empty());
   EXPECT_EQ(nullptr, queue.front());
   EXPECT_EQ(nullptr, queue.back());
   EXPECT_FALSE(queue.contains(0));
}

TEST(RQueue, firstInFirstOut) {
   Numbers queue;
   for (U32 i = 1; i <= 3; ++i) {
      queue.enq(i);
   }
   EXPECT_EQ(3u, queue.members());
   EXPECT_EQ(1u, *queue.front());
   EXPECT_EQ(3u, *queue.back());
   EXPECT_EQ(1u, queue.deq());
   EXPECT_EQ(2u, *queue.front());
   EXPECT_EQ(2u, queue.deq());
   EXPECT_EQ(3u, queue.deq());
   EXPECT_TRUE(queue.empty());
}

TEST(RQueue, aValueOfTheQueueMayBeAppended) {
   Prefixes queue;
   queue.enq(Corenet::CompactIpPrefix::fromString("2001:db8::1/128"));
   for (int i = 0; i < 40; ++i) {
      queue.enq(*queue.front());  // the ring moves while its value is appended
   }
   for (const auto& prefix : contents(queue)) {
      EXPECT_EQ("2001:db8::1/128", prefix.stringValue());
   }
}

TEST(RQueue, aPositionOutlivesChanges) {
   Numbers queue;
   for (U32 i = 0; i < 5; ++i) {
      queue.enq(i);
   }
   const U32 third = queue.frontPosition() + 2;
   queue.deq();
   for (U32 i = 5; i < 50; ++i) {
      queue.enq(i);
   }
   EXPECT_EQ(2u, queue.at(third));
   queue.deq();
   queue.deq();
   EXPECT_FALSE(queue.contains(third));
   EXPECT_EQ(third + 1, queue.frontPosition());
   queue.memberDelAll();
   EXPECT_TRUE(queue.empty());
   EXPECT_EQ(50u, queue.frontPosition());
}

TEST(RQueue, givesItsMemoryBackWhenEmptyUnlessItKeepsIt) {
   const Property::LiveCounts before;
   {
      Numbers queue;
      Prefixes keeping;
      for (U32 i = 0; i < 20; ++i) {
         queue.enq(i);
         keeping.enq({});
      }
      while (!queue.empty()) {
         queue.deq();
         keeping.deq();
      }
      EXPECT_NE("", before.changes());
      const Property::LiveCounts emptied;
      queue.enq(1);
      EXPECT_NE("", emptied.changes());
      queue.memberDelAll();
      keeping.enq({});
      keeping.memberDelAll();
      EXPECT_EQ("", emptied.changes());
   }
   EXPECT_EQ("", before.changes());
}

// Against std::deque, with values that own records.
TEST(RQueue, behavesAsADeque) {
   std::mt19937_64 random(Property::seed());
   const Property::LiveCounts before;
   {
      Prefixes queue;
      std::deque<Corenet::CompactIpPrefix> oracle;
      for (int step = 0; step < 20000; ++step) {
         const std::uint64_t r = random();
         if (r % 1000 == 0) {
            queue.memberDelAll();
            oracle.clear();
         } else if (r % 5 < 3) {
            const auto prefix = Corenet::CompactIpPrefix::fromString(fmt::format("2001:db8::{:x}/128", r >> 48));
            queue.enq(prefix);
            oracle.push_back(prefix);
         } else if (!oracle.empty()) {
            ASSERT_EQ(oracle.front(), queue.deq());
            oracle.pop_front();
         }
         ASSERT_EQ(oracle.size(), queue.members());
         if (!oracle.empty()) {
            ASSERT_EQ(oracle.front(), *queue.front());
            ASSERT_EQ(oracle.back(), *queue.back());
         }
      }
      const auto values = contents(queue);
      EXPECT_TRUE(std::equal(oracle.begin(), oracle.end(), values.begin(), values.end()));
   }
   EXPECT_EQ("", before.changes());
}

#ifdef ROUTETRIE_FAULT_INJECTION
TEST(RQueue, outOfMemoryChangesNothing) {
   Numbers queue;
   for (U32 i = 0; i < 8; ++i) {
      queue.enq(i);
   }
   CoreSlab::failAt(1);
   EXPECT_THROW(queue.enq(8), std::bad_alloc);
   CoreSlab::failAt(0);
   EXPECT_EQ(8u, queue.members());
   EXPECT_EQ(7u, *queue.back());
}
#endif

}  // namespace RQueueTest
