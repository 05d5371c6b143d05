#include "routetrie/platform/Keel/PtrInterfaceArray.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <bit>
#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "routetrie/platform/CoreSlab/Slab.h"
#include "routetrie/platform/Corvid/Create.h"
#include "routetrie/platform/Corvid/Node.h"
#include "tests/property/LiveCounts.h"
#include "tests/property/Scale.h"

namespace PtrInterfaceArrayTest {

using Corvid::Node;
using Corvid::nodeFlagAlive;
using Corvid::Ptr;
using Corvid::ptrIsImpl;
using Property::LiveCounts;
using testing::HasSubstr;

struct Payload : Node {
   ~Payload() override { nodeFlagSet(nodeFlagAlive, false); }
};
struct LargerPayload : Payload {
   ~LargerPayload() override { nodeFlagSet(nodeFlagAlive, false); }
   int more = 0;
};

using Array = Keel::PtrInterfaceArray<Payload>;
static_assert(std::is_same_v<Array, Keel::PtrInterfaceArray<Payload, void, false, void, false>>);

constexpr std::uint64_t emptyWord = ~std::uint64_t{1};

std::uint64_t liveBlocks() {
   return Array::memAllocationTracker_ == nullptr ? 0 : Array::memAllocationTracker_->liveObjects();
}
std::uint64_t liveBytes() {
   return Array::memAllocationTracker_ == nullptr ? 0 : Array::memAllocationTracker_->liveBytes();
}

// Every test leaves as many objects, blocks and bytes as it found.
class PtrInterfaceArrayTest : public testing::Test {
  protected:
   void TearDown() override {
      EXPECT_EQ("", before_.changes());
      EXPECT_EQ(blocks_, CoreSlab::stats().liveBlocks);
   }

  private:
   LiveCounts before_;
   std::size_t blocks_ = CoreSlab::stats().liveBlocks;
};
using PtrInterfaceArrayDeathTest = PtrInterfaceArrayTest;

// --- the three forms of the word ---

TEST_F(PtrInterfaceArrayTest, isOneWord) { static_assert(sizeof(Array) == 8 && alignof(Array) == 8); }

TEST_F(PtrInterfaceArrayTest, emptyIsAllOnesButBitZero) {
   const Array array;
   EXPECT_EQ(emptyWord, array.word());
   EXPECT_EQ(static_cast<std::uint64_t>(-2), array.word());
   EXPECT_EQ(0u, array.size());
   EXPECT_EQ(emptyWord, Array(0).word());
}

TEST_F(PtrInterfaceArrayTest, oneElementIsTheWord) {
   const auto payload = ptrIsImpl<Payload>();
   Array array(1);
   EXPECT_EQ(0u, array.word()) << "one null element";
   EXPECT_EQ(1u, array.size());
   EXPECT_EQ(nullptr, array.elementMaybeCompressed(0));
   array.elementIs(0, payload.get());
   EXPECT_EQ(std::bit_cast<std::uint64_t>(payload.get()), array.word());
   EXPECT_EQ(1u, array.size());
   EXPECT_EQ(payload.get(), array.elementMaybeCompressed(0));
}

TEST_F(PtrInterfaceArrayTest, moreElementsAreABlockWithItsSizeInFront) {
   for (const U32 size : {2u, 3u, 31u, 32u, 33u, 128u, 129u, 1000u}) {
      const auto payload = ptrIsImpl<Payload>();
      Array array(size);
      ASSERT_EQ(size, array.size());
      ASSERT_EQ(1u, array.word() & 1);
      const auto* block = std::bit_cast<const std::uint64_t*>(array.word() & ~std::uint64_t{1});
      EXPECT_EQ(size, block[0] & 0xffffffff);
      for (U32 i = 0; i < size; ++i) {
         ASSERT_EQ(nullptr, array.elementMaybeCompressed(i)) << i;
         ASSERT_EQ(0u, block[1 + i]);
      }
      array.elementIs(size - 1, payload.get());
      EXPECT_EQ(std::bit_cast<std::uint64_t>(payload.get()), block[size]);
      EXPECT_EQ(payload.get(), array.elementMaybeCompressed(size - 1));
      EXPECT_EQ(size, array.size());
   }
}

TEST_F(PtrInterfaceArrayTest, onlyBlocksTakeMemoryAndExactlyOneWordMoreThanElements) {
   const auto slab = CoreSlab::stats().liveBlocks;
   const Array none;
   Array one(1);
   EXPECT_EQ(slab, CoreSlab::stats().liveBlocks);
   const std::uint64_t blocks = liveBlocks();
   const std::uint64_t bytes = liveBytes();
   {
      const Array two(2);
      EXPECT_EQ(slab + 1, CoreSlab::stats().liveBlocks);
      EXPECT_EQ(blocks + 1, liveBlocks());
      EXPECT_EQ(bytes + 24, liveBytes());
      const Array three(3);
      EXPECT_EQ(blocks + 2, liveBlocks());
      EXPECT_EQ(bytes + 24 + 32, liveBytes());
   }
   EXPECT_EQ(blocks, liveBlocks());
   EXPECT_EQ(bytes, liveBytes());
   for (U32 size = 2; size <= 130; ++size) {
      const Array array(size);
      ASSERT_EQ(bytes + (size + 1) * 8, liveBytes()) << size;
   }
}

// --- elements ---

TEST_F(PtrInterfaceArrayTest, aRawPointerGivesTheArrayItsOwnReference) {
   for (const U32 size : {1u, 2u, 5u}) {
      const auto payload = ptrIsImpl<Payload>();
      {
         Array array(size);
         array.elementIs(0, payload.get());
         EXPECT_EQ(2u, payload->uses());
         array.elementIs(size - 1, payload.get());
         EXPECT_EQ(size == 1 ? 2u : 3u, payload->uses());
      }
      EXPECT_EQ(1u, payload->uses());
   }
}

TEST_F(PtrInterfaceArrayTest, aCountedPointerHandsItsReferenceOver) {
   for (const U32 size : {1u, 2u, 5u}) {
      Array array(size);
      auto payload = ptrIsImpl<Payload>();
      auto* raw = payload.get();
      array.elementIs(size - 1, std::move(payload));
      EXPECT_TRUE(payload == nullptr);
      EXPECT_EQ(raw, array.elementMaybeCompressed(size - 1));
      EXPECT_EQ(1u, raw->uses());
   }
}

TEST_F(PtrInterfaceArrayTest, readingTakesNoReference) {
   const auto payload = ptrIsImpl<Payload>();
   Array array(2);
   array.elementIs(1, payload.get());
   EXPECT_EQ(payload.get(), array.elementMaybeCompressed(1));
   EXPECT_EQ(2u, payload->uses());
}

TEST_F(PtrInterfaceArrayTest, writingGivesTheOldElementUp) {
   for (const U32 size : {1u, 3u}) {
      const auto old = ptrIsImpl<Payload>();
      const auto value = ptrIsImpl<Payload>();
      Array array(size);
      array.elementIs(0, old.get());
      array.elementIs(0, value.get());
      EXPECT_EQ(1u, old->uses());
      EXPECT_EQ(2u, value->uses());
      array.elementIs(0, Ptr<Payload>(old));
      EXPECT_EQ(2u, old->uses());
      EXPECT_EQ(1u, value->uses());
      array.elementIs(0, nullptr);
      EXPECT_EQ(nullptr, array.elementMaybeCompressed(0));
      EXPECT_EQ(1u, old->uses());
      EXPECT_EQ(size, array.size());
   }
}

TEST_F(PtrInterfaceArrayTest, writingWhatIsThereDoesNothing) {
   for (const U32 size : {1u, 3u}) {
      auto payload = ptrIsImpl<Payload>();
      Array array(size);
      array.elementIs(0, payload.get());
      array.elementIs(0, payload.get());
      EXPECT_EQ(2u, payload->uses());
      auto* raw = payload.get();
      Ptr<Payload> another(payload);
      array.elementIs(0, std::move(another));
      another = nullptr;
      EXPECT_EQ(2u, payload->uses());
      payload = nullptr;
      EXPECT_EQ(1u, raw->uses()) << "the array's reference is the only one";
      array.elementIs(0, raw);
      EXPECT_EQ(1u, raw->uses());
      if (size > 1) {
         array.elementIs(1, nullptr);
         EXPECT_EQ(nullptr, array.elementMaybeCompressed(1));
      }
   }
}

TEST_F(PtrInterfaceArrayTest, takesObjectsOfDerivedClasses) {
   Array array(2);
   auto larger = ptrIsImpl<LargerPayload>();
   auto* raw = larger.get();
   array.elementIs(0, raw);
   array.elementIs<LargerPayload>(1, std::move(larger));
   EXPECT_EQ(raw, array.elementMaybeCompressed(0));
   EXPECT_EQ(raw, array.elementMaybeCompressed(1));
   EXPECT_EQ(2u, raw->uses());
}

TEST_F(PtrInterfaceArrayTest, nullElementsAreElements) {
   Array array(4);
   array.elementIs(2, ptrIsImpl<Payload>());
   EXPECT_EQ(4u, array.size());
   EXPECT_EQ(nullptr, array.elementMaybeCompressed(0));
   EXPECT_EQ(nullptr, array.elementMaybeCompressed(3));
   EXPECT_NE(nullptr, array.elementMaybeCompressed(2));
   array.clear();
   EXPECT_EQ(0u, array.size());
}

// --- clear, move, destruction ---

TEST_F(PtrInterfaceArrayTest, clearGivesUpEveryElementAndTheBlock) {
   for (const U32 size : {0u, 1u, 2u, 40u}) {
      const auto slab = CoreSlab::stats().liveBlocks;
      Array array(size);
      std::vector<Ptr<Payload>> payloads;
      for (U32 i = 0; i < size; ++i) {
         array.elementIs(i, payloads.emplace_back(ptrIsImpl<Payload>()).get());
      }
      array.clear();
      EXPECT_EQ(emptyWord, array.word());
      EXPECT_EQ(0u, array.size());
      for (const auto& payload : payloads) {
         EXPECT_EQ(1u, payload->uses());
      }
      payloads.clear();
      EXPECT_EQ(slab, CoreSlab::stats().liveBlocks);
      array.clear();
      EXPECT_EQ(emptyWord, array.word()) << "a second time is no harm";
   }
}

TEST_F(PtrInterfaceArrayTest, destructionGivesUpTheOnlyReferences) {
   for (const U32 size : {1u, 2u, 40u}) {
      Array array(size);
      for (U32 i = 0; i < size; ++i) {
         array.elementIs(i, ptrIsImpl<Payload>());
      }
   }  // TearDown compares the counts
}

TEST_F(PtrInterfaceArrayTest, movesKeepTheWord) {
   for (const U32 size : {0u, 1u, 2u}) {
      Array from(size);
      const std::uint64_t word = from.word();
      Array to(std::move(from));
      EXPECT_EQ(word, to.word());
      EXPECT_EQ(emptyWord, from.word());
      Array last(3);
      last.elementIs(0, ptrIsImpl<Payload>());
      last = std::move(to);
      EXPECT_EQ(word, last.word());
      EXPECT_EQ(emptyWord, to.word());
      last = std::move(*&last);
      EXPECT_EQ(word, last.word());
   }
   static_assert(!std::is_copy_constructible_v<Array> && !std::is_copy_assignable_v<Array>);
}

// Arrays of random size, written, cleared and moved at random, against a vector of counted pointers.
TEST_F(PtrInterfaceArrayTest, randomHandling) {
   std::mt19937_64 random(Property::seed());
   const auto below = [&](std::uint64_t limit) { return static_cast<U32>(random() % limit); };
   std::vector<Ptr<Payload>> model;
   Array array;
   for (int step = 0; step < Property::sized(5'000, 20'000, 500'000); ++step) {
      switch (below(10)) {
         case 0:
            model.clear();
            array.clear();
            break;
         case 1: {
            Array resized(below(6));
            std::vector<Ptr<Payload>> resizedModel(resized.size());
            for (U32 i = 0; i < std::min(array.size(), resized.size()); ++i) {
               resized.elementIs(i, array.elementMaybeCompressed(i));
               resizedModel[i] = model[i];
            }
            array = std::move(resized);
            model = resizedModel;
            break;
         }
         default:
            if (!model.empty()) {
               const U32 i = below(model.size());
               model[i] = below(4) == 0 ? nullptr : below(2) == 0 ? model[below(model.size())] : ptrIsImpl<Payload>();
               if (below(2) == 0) {
                  array.elementIs(i, model[i].get());
               } else {
                  array.elementIs(i, Ptr<Payload>(model[i]));
               }
            }
      }
      ASSERT_EQ(model.size(), array.size());
      for (U32 i = 0; i < array.size(); ++i) {
         ASSERT_EQ(model[i].get(), array.elementMaybeCompressed(i)) << step;
      }
   }
   array.clear();
   for (const auto& element : model) {
      if (element) {
         EXPECT_EQ(static_cast<U32>(std::count(model.begin(), model.end(), element)), element->uses());
      }
   }
}

// --- the index ---

TEST_F(PtrInterfaceArrayDeathTest, indexIsBelowTheSize) {
   constexpr char rule[] = "Assertion `index < size()' failed";
   Array none;
   Array one(1);
   Array two(2);
   EXPECT_DEATH((void)none.elementMaybeCompressed(0), HasSubstr(rule));
   EXPECT_DEATH((void)one.elementMaybeCompressed(1), HasSubstr(rule));
   EXPECT_DEATH((void)two.elementMaybeCompressed(2), HasSubstr(rule));
   EXPECT_DEATH((void)two.elementMaybeCompressed(0xffffffff), HasSubstr(rule));
   EXPECT_DEATH(none.elementIs(0, nullptr), HasSubstr(rule));
   EXPECT_DEATH(one.elementIs(1, nullptr), HasSubstr(rule));
   EXPECT_DEATH(two.elementIs(2, Ptr<Payload>()), HasSubstr(rule));
   one.clear();
   EXPECT_DEATH((void)one.elementMaybeCompressed(0), HasSubstr(rule));
}

// --- the heap checker ---

struct Told {
   std::string what;
   const void* block;
   std::uint64_t liveBlocks;  // as the tracker has it at that moment
   std::uint64_t size;        // as the block has it

   bool operator==(const Told&) const = default;
};
std::vector<Told> told;

class HeapCheckerTest : public PtrInterfaceArrayTest {
  protected:
   void SetUp() override {
      told.clear();
      Keel::heapCheckerIs(
         {[](const void* block) { note("ignore", block); }, [](const void* block) { note("unIgnore", block); }});
   }
   void TearDown() override {
      Keel::heapCheckerIs({});
      PtrInterfaceArrayTest::TearDown();
   }
   static void note(const char* what, const void* block) {
      told.push_back({what, block, liveBlocks(), *static_cast<const std::uint64_t*>(block)});
   }
};

TEST_F(HeapCheckerTest, hearsOfBlocksAlone) {
   {
      Array none;
      Array one(1);
      one.elementIs(0, ptrIsImpl<Payload>());
   }
   EXPECT_TRUE(told.empty());
}

// A new block is made known before it is counted; at the end it is undone the other way round, and freed last.
TEST_F(HeapCheckerTest, hearsOfEachBlockAtBothEnds) {
   const std::uint64_t blocks = liveBlocks();
   const void* block = nullptr;
   {
      const Array array(3);
      block = std::bit_cast<const void*>(array.word() & ~std::uint64_t{1});
      EXPECT_EQ((std::vector<Told>{{"ignore", block, blocks, 3}}), told);
   }
   EXPECT_EQ((std::vector<Told>{{"ignore", block, blocks, 3}, {"unIgnore", block, blocks, 3}}), told);
}

TEST_F(HeapCheckerTest, hooksAreTakenAwayAgain) {
   Keel::heapCheckerIs({});
   { const Array array(3); }
   Keel::heapCheckerIs({nullptr, [](const void* block) { note("unIgnore", block); }});
   { const Array array(3); }
   EXPECT_EQ(1u, told.size());
}

#ifdef ROUTETRIE_FAULT_INJECTION
TEST_F(HeapCheckerTest, withoutMemoryAnArrayRaisesAndNobodyHearsOfIt) {
   for (const U32 size : {2u, 3u, 128u}) {
      CoreSlab::failAt(1);
      EXPECT_THROW(Array{size}, std::bad_alloc);
   }
   CoreSlab::failAt(1);
   EXPECT_NO_THROW(Array{0});
   EXPECT_NO_THROW(Array{1}) << "neither needs memory";
   CoreSlab::failAt(0);
   EXPECT_TRUE(told.empty());
}
#endif

}  // namespace PtrInterfaceArrayTest
