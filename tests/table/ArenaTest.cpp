#include "routetrie/table/Arena.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "routetrie/table/Region.h"

namespace routetrie::Impl {
namespace ArenaTest {

// Runs that come, shrink and go, each filled with a byte of its own: what lies in one run is not touched by what becomes
// of the others.
void comeAndGo(unsigned unitShift, unsigned seed) {
   SCOPED_TRACE("seed " + std::to_string(seed));
   struct Held {
      U32 at;
      unsigned units;
      int filling;
   };
   std::mt19937 random(seed);
   Arena arena(unitShift);
   std::vector<Held> held;
   const auto bytes = [&](const Held& run) { return Region::base() + (std::size_t{run.at} << unitShift); };
   const auto fill = [&](const Held& run) {
      std::memset(bytes(run), run.filling, std::size_t{run.units} << unitShift);
   };
   const auto check = [&](const Held& run) {
      const std::byte* const content = bytes(run);
      for (std::size_t i = 0; i < std::size_t{run.units} << unitShift; ++i) {
         ASSERT_EQ(static_cast<std::byte>(run.filling), content[i]);
      }
   };
   for (int step = 0; step < 4000; ++step) {
      const bool grows = step / 1000 % 2 == 0;
      if (held.empty() || random() % 8 < (grows ? 5u : 2u)) {
         const unsigned units = 1 + static_cast<unsigned>(random() % Arena::mostUnits);
         held.push_back({arena.allocate(units), units, static_cast<int>(random() % 256)});
         ASSERT_NE(0u, held.back().at);
         fill(held.back());
      } else {
         const std::size_t i = random() % held.size();
         Held& run = held[i];
         check(run);
         if (random() % 2 == 0 && run.units > 1) {
            const unsigned rest = 1 + static_cast<unsigned>(random() % (run.units - 1));
            arena.release(run.at + rest, run.units - rest);
            run.units = rest;
         } else {
            arena.release(run.at, run.units);
            run = held.back();
            held.pop_back();
         }
      }
      if (step % 16 == 0) {
         std::vector<Arena::Run> runs;
         for (const Held& run : held) {
            runs.push_back({run.at, run.units});
         }
         ASSERT_STREQ("", arena.audit(runs));
         if (!runs.empty()) {
            runs.pop_back();
            ASSERT_STREQ("a run is held by nobody", arena.audit(runs));
         }
      }
   }
   for (const Held& run : held) {
      check(run);
      arena.release(run.at, run.units);
   }
   EXPECT_EQ(0u, arena.heldBytes()) << "empty chunks go back";
   EXPECT_EQ(0u, arena.usedBytes());
}

TEST(Arena, runsComeGrowShrinkAndGo) {
   for (unsigned seed = 1; seed <= 3; ++seed) {
      comeAndGo(3, seed);
      comeAndGo(4, seed);
      comeAndGo(5, seed);
   }
}

TEST(Arena, theFirstChunkIsSmallAndLaterOnesGrow) {
   Arena arena(5);
   EXPECT_EQ(0u, arena.heldBytes());
   arena.allocate(1);
   EXPECT_EQ(256u, arena.heldBytes());
   for (int i = 0; i < 10000; ++i) {
      const std::size_t before = arena.heldBytes();
      arena.allocate(1);
      ASSERT_LE(arena.heldBytes(), before + (before / 4 > 256 ? before / 4 : 256));
   }
   arena.clear();
   EXPECT_EQ(0u, arena.heldBytes());
}

TEST(Arena, whatIsFreeIsUsedAgainAndAuditTellsWhatIsWrong) {
   Arena arena(5);
   const U32 first = arena.allocate(4);
   const U32 second = arena.allocate(2);
   ASSERT_EQ(first + 4, second);
   arena.release(first + 2, 2);
   EXPECT_EQ(first + 2, arena.allocate(2));
   arena.release(first, 4);
   EXPECT_EQ(first, arena.allocate(4)) << "what was given out in two parts comes back as one";
   arena.release(second, 2);
   EXPECT_STREQ("", arena.audit({{first, 4}}));
   EXPECT_STREQ("two runs overlap", arena.audit({{first, 3}, {first + 2, 2}}));
   EXPECT_STREQ("a run is free", arena.audit({{first + 4, 1}}));
   arena.clear();
}

// A run of more than one unit of 32 bytes straddles no line of memory that it need not; single ones fill what that leaves.
TEST(Arena, longerRunsBeginAtEvenUnits) {
   std::mt19937 random(4);
   Arena arena(5);
   std::vector<Arena::Run> runs;
   for (int step = 0; step < 3000; ++step) {
      if (runs.empty() || random() % 3 != 0) {
         const unsigned units = 1 + static_cast<unsigned>(random() % 12);
         runs.push_back({arena.allocate(units), units});
         ASSERT_TRUE(units == 1 || runs.back().at % 2 == 0) << units;
      } else {
         std::swap(runs[random() % runs.size()], runs.back());
         arena.release(runs.back().at, runs.back().units);
         runs.pop_back();
      }
   }
   ASSERT_STREQ("", arena.audit(runs));
   for (const Arena::Run& run : runs) {
      arena.release(run.at, run.units);
   }
   EXPECT_EQ(0u, arena.heldBytes());
   // The header has the first unit, so the second is alone.
   const U32 one = arena.allocate(1);
   EXPECT_EQ(1u, one % 8);
   const U32 two = arena.allocate(1);
   const U32 pair = arena.allocate(2);
   EXPECT_EQ(two + 2, pair) << "a single unit breaks a pair";
   EXPECT_EQ(two + 1, arena.allocate(1)) << "the rest of a broken pair goes first";
   arena.clear();
}

// Of trees that publish: what was given out since the last version may be written, and what came back is given out again.
TEST(Arena, turnsOverWhatVersionsLeave) {
   for (const unsigned unitShift : {3u, 5u, 8u}) {
      Epochs epochs;
      epochs.batch = 1;
      Arena::Following following(epochs);
      following.startPublishing();
      Arena arena(unitShift);
      arena.follow(following);
      const U32 run = arena.allocate(4);
      EXPECT_TRUE(arena.owns(run) && arena.owns(run + 3));
      EXPECT_FALSE(arena.owns(run + 4));
      ++epochs.batch;
      EXPECT_FALSE(arena.owns(run)) << "a version was published";
      EXPECT_STREQ("", arena.audit({{run, 4}}));
      const U32 other = arena.allocate(4);
      EXPECT_FALSE(arena.owns(run));
      arena.recycle(run, 4);
      arena.recycle(other, 4);
      EXPECT_STREQ("", arena.audit({}));
      EXPECT_EQ(0u, arena.usedBytes());
      EXPECT_GT(arena.heldBytes(), 0u);
      EXPECT_EQ(other, arena.allocate(4)) << "what came last goes first";
      EXPECT_EQ(run, arena.allocate(4));
      EXPECT_TRUE(arena.owns(run));
      arena.recycle(run, 4);
      arena.recycle(other, 4);
      ++epochs.batch;
      // More than the list of a batch has room for.
      std::vector<Arena::Run> runs;
      for (U32 n = 0; n < 200; ++n) {
         runs.push_back({arena.allocate(n % 7 + 1), n % 7 + 1});
      }
      for (U32 n = 0; n < 200; ++n) {
         EXPECT_TRUE(n >= 24 || arena.owns(runs[n].at)) << n;
         EXPECT_TRUE(unitShift < 5 || arena.owns(runs[n].at + runs[n].units - 1)) << n;
      }
      ++epochs.batch;
      for (const Arena::Run& each : runs) {
         EXPECT_FALSE(arena.owns(each.at));
      }
      EXPECT_STREQ("", arena.audit(runs));
      for (const Arena::Run& each : runs) {
         arena.recycle(each.at, each.units);
      }
      EXPECT_STREQ("", arena.audit({}));
      arena.settle();
      EXPECT_EQ(0u, arena.heldBytes()) << "empty chunks go back";
   }
}

// Of what comes back a cache's worth is kept, and an eighth of what there is; the chunks of the rest become empty and go.
TEST(Arena, keepsLittleOfWhatComesBack) {
   Epochs epochs;
   epochs.batch = 1;
   Arena::Following following(epochs);
   following.startPublishing();
   constexpr unsigned unitShift = 5;
   constexpr unsigned units = 16;
   constexpr std::size_t runBytes = std::size_t{units} << unitShift;
   Arena arena(unitShift);
   arena.follow(following);
   std::vector<U32> runs;
   for (std::size_t bytes = 0; bytes < 8u << 20; bytes += runBytes) {
      runs.push_back(arena.allocate(units));
   }
   ++epochs.batch;
   const std::size_t most = arena.heldBytes();
   for (const U32 run : runs) {
      arena.recycle(run, units);
   }
   EXPECT_STREQ("", arena.audit({}));
   EXPECT_EQ(0u, arena.usedBytes());
   EXPECT_GE(arena.heldBytes(), 256u << 10);
   EXPECT_LE(arena.heldBytes(), ((256u << 10) + most / 8) * 5 / 4)
      << "chunks have headers, and room for a part of a run";
   // As much as before is there again.
   std::vector<Arena::Run> again;
   for (std::size_t n = 0; n < runs.size(); ++n) {
      again.push_back({arena.allocate(units), units});
   }
   EXPECT_STREQ("", arena.audit(again));
   EXPECT_EQ(runs.size() * runBytes, arena.usedBytes());
   for (const Arena::Run& run : again) {
      arena.recycle(run.at, units);
   }
   arena.settle();
   EXPECT_EQ(0u, arena.heldBytes());
}

TEST(Region, blocksComeBack) {
   std::vector<U32> blocks;
   for (unsigned blockClass = 0; blockClass < Region::classes; ++blockClass) {
      for (int i = 0; i < 600; ++i) {
         const U32 block = Region::take(blockClass);
         const std::size_t byte = std::size_t{block} << Region::unitShift;
         ASSERT_EQ(0u, byte % Region::bytesOf(blockClass));
         ASSERT_EQ(blockClass, Region::classAt(byte));
         std::memset(Region::at(Region::base(), block), 0xff, Region::bytesOf(blockClass));
         blocks.push_back(block);
      }
   }
   const U32 highest = *std::max_element(blocks.begin(), blocks.end());
   for (const U32 block : blocks) {
      Region::give(block);
   }
   for (int i = 0; i < 2000; ++i) {  // more than one list of the 600 held
      const U32 block = Region::take(4);
      EXPECT_LE(block >> 8, highest >> 8) << "extents that came back are used first";
      blocks[static_cast<std::size_t>(i)] = block;
   }
   for (int i = 0; i < 2000; ++i) {
      Region::give(blocks[static_cast<std::size_t>(i)]);
   }
   for (std::size_t i = 0; i < Region::nothingBytes; ++i) {
      ASSERT_EQ(std::byte{0}, Region::base()[i]) << "nobody writes where 0 leads";
   }
}

}  // namespace ArenaTest
}  // namespace routetrie::Impl
