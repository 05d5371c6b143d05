#include "routetrie/platform/CoreSlab/Slab.h"

#include <gtest/gtest.h>
#include <sys/resource.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <new>
#include <thread>
#include <vector>

#include "routetrie/platform/Corvid/ThreadControl.h"

// The heaps of the address and thread sanitizers end the process where they have no memory.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define ROUTETRIE_TEST_C_HEAP_MAY_FAIL 0
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define ROUTETRIE_TEST_C_HEAP_MAY_FAIL 0
#endif
#endif
#ifndef ROUTETRIE_TEST_C_HEAP_MAY_FAIL
#define ROUTETRIE_TEST_C_HEAP_MAY_FAIL 1
#endif

namespace SlabTest {

using namespace CoreSlab;

// Sets the process multi-threaded for one test.
class MultiThreaded {
  public:
   MultiThreaded() { Corvid::ThreadControl::multiThreadedIs(true); }
   ~MultiThreaded() { Corvid::ThreadControl::multiThreadedIs(false); }
};

// The slab's live counts, which each test brings back.
class SlabTest : public testing::Test {
  protected:
   void SetUp() override { before_ = stats(); }
   void TearDown() override {
      EXPECT_EQ(before_.liveBlocks, stats().liveBlocks);
      EXPECT_EQ(before_.liveBytes, stats().liveBytes);
   }
   std::size_t liveBlocks() const { return stats().liveBlocks - before_.liveBlocks; }

  private:
   Stats before_;
};

void releaseInt(void* memory) { slabFree(memory, typeid(int)); }

TEST_F(SlabTest, blocksHoldWhatIsWritten) {
   std::vector<unsigned char*> blocks;
   for (std::size_t size = 1; size < 3000; size += 7) {
      auto* block = static_cast<unsigned char*>(slabAlloc(size));
      std::memset(block, static_cast<int>(size), size);
      blocks.push_back(block);
   }
   EXPECT_EQ(blocks.size(), liveBlocks());
   std::size_t size = 1;
   for (unsigned char* block : blocks) {
      EXPECT_EQ(static_cast<unsigned char>(size), block[0]);
      EXPECT_EQ(static_cast<unsigned char>(size), block[size - 1]);
      releaseInt(block);
      size += 7;
   }
}

TEST_F(SlabTest, nullIsLetBe) {
   releaseInt(nullptr);
   slabFreeOrStdFree(nullptr);
}

TEST_F(SlabTest, impossibleSizes) {
   for (const std::size_t huge : {~std::size_t{0}, ~std::size_t{0} - 15, ~std::size_t{0} / 2, std::size_t{1} << 50}) {
      EXPECT_THROW(static_cast<void>(slabAlloc(huge)), std::bad_alloc) << huge;
      EXPECT_EQ(nullptr, slabAllocOrStdMalloc(huge, 0)) << huge;
   }
}

TEST_F(SlabTest, patternFillsTheBlock) {
   auto* block = static_cast<unsigned char*>(slabAllocOrStdMalloc(100, 0x5a));
   EXPECT_TRUE(std::all_of(block, block + 100, [](unsigned char byte) { return byte == 0x5a; }));
   EXPECT_EQ(1u, liveBlocks());
   slabFreeOrStdFree(block);
   block = static_cast<unsigned char*>(slabAllocOrStdMalloc(100, 0));
   EXPECT_TRUE(std::all_of(block, block + 100, [](unsigned char byte) { return byte == 0; }));
   slabFreeOrStdFree(block);
   slabFreeOrStdFree(slabAllocOrStdMalloc(40000, -1));
}

// Threads with blocks of their own, and a thread that frees what others got, with the flag on and off.
void passBlocksAround() {
   constexpr std::size_t threadCount = 4;
   std::vector<std::vector<void*>> blocks(threadCount);
   std::vector<std::thread> threads;
   for (auto& own : blocks) {
      threads.emplace_back([&own] {
         for (int round = 0; round < 20; ++round) {
            for (int i = 0; i < 500; ++i) {
               own.push_back(slabAlloc(16 + static_cast<std::size_t>(i % 5) * 8));
            }
            for (int i = 0; i < 400; ++i) {
               releaseInt(own.back());
               own.pop_back();
            }
         }
      });
   }
   for (auto& thread : threads) {
      thread.join();
   }
   std::thread([&blocks] {
      for (auto& others : blocks) {
         std::for_each(others.begin(), others.end(), releaseInt);
      }
   }).join();
}

TEST_F(SlabTest, blocksPassBetweenThreads) {
   const MultiThreaded multiThreaded;
   passBlocksAround();
}

TEST_F(SlabTest, threadsThatNobodyAnnouncedAreSafeToo) { passBlocksAround(); }

// What lies in a thread's cache does not count as live, and is there for others once the thread has ended.
TEST_F(SlabTest, cachesGoBackWithTheirThread) {
   const MultiThreaded multiThreaded;
   std::thread([] {
      const auto before = stats();
      for (int i = 0; i < 10; ++i) {
         releaseInt(slabAlloc(48));
      }
      EXPECT_EQ(before.liveBlocks, stats().liveBlocks);
      EXPECT_EQ(before.liveBytes, stats().liveBytes);
   }).join();
   EXPECT_EQ(0u, liveBlocks());
}

TEST_F(SlabTest, pagesOfACacheGoBackWithItsThread) {
   const auto before = stats();
   const MultiThreaded multiThreaded;
   std::thread([] {
      for (std::size_t size = 100; size <= 16000; size += 100) {
         releaseInt(slabAlloc(size));
      }
   }).join();
   EXPECT_EQ(before.pages, stats().pages);
}

#if ROUTETRIE_TEST_C_HEAP_MAY_FAIL

// With no address space left for the slabs, the C heap's own stock serves; run in a process of its own.
void allocateWithoutAddressSpace() {
   std::vector<void*> stock(64);  // every other one of these blocks goes back to the C heap
   for (void*& block : stock) {
      block = std::malloc(20000);
   }
   for (std::size_t i = 0; i < stock.size(); i += 2) {
      std::free(stock[i]);
   }
   std::vector<unsigned char*> blocks;
   blocks.reserve(100);
   const rlimit none{0, 0};
   setrlimit(RLIMIT_AS, &none);
   // More bytes than the slabs' widest class: each of these needs address space, or is from the C heap.
   for (int i = 0; i < 100; ++i) {
      if (auto* block = static_cast<unsigned char*>(slabAllocOrStdMalloc(18000, i))) {
         blocks.push_back(block);
      }
   }
   const bool allWhole = std::all_of(blocks.begin(), blocks.end(), [](const unsigned char* block) {
      return std::all_of(block, block + 18000, [block](unsigned char byte) { return byte == block[0]; });
   });
   for (unsigned char* block : blocks) {
      slabFreeOrStdFree(block);
   }
   std::_Exit(allWhole && blocks.size() >= 10 ? 0 : 1);
}

TEST_F(SlabTest, theCHeapServesWhereTheSlabsHaveNoMemory) {
   EXPECT_EXIT(allocateWithoutAddressSpace(), testing::ExitedWithCode(0), "");
}

#endif

// A block freed after the thread gave its cache back goes straight to the heap.
TEST_F(SlabTest, freeWhileAThreadEnds) {
   const MultiThreaded multiThreaded;
   struct LateOwner {
      void* block = nullptr;
      ~LateOwner() { releaseInt(block); }
   };
   std::thread([] {
      static thread_local LateOwner owner;  // made before the cache, so destroyed after it
      owner.block = nullptr;
      owner.block = slabAlloc(64);
   }).join();
}

TEST_F(SlabTest, blocksFromBeforeTheFlagAreFreedAfterIt) {
   void* block = slabAlloc(32);
   {
      const MultiThreaded multiThreaded;
      releaseInt(block);
      block = slabAlloc(32);
   }
   releaseInt(block);
}

#ifdef ROUTETRIE_FAULT_INJECTION

TEST_F(SlabTest, theChosenAllocationFails) {
   failAt(3);
   void* first = slabAlloc(8);
   void* second = slabAllocOrStdMalloc(8, 0);
   EXPECT_THROW(static_cast<void>(slabAlloc(8)), std::bad_alloc);
   void* fourth = slabAlloc(8);
   releaseInt(first);
   slabFreeOrStdFree(second);
   releaseInt(fourth);
   failAt(1);
   EXPECT_EQ(nullptr, slabAllocOrStdMalloc(8, 0));
   failAt(1);
   failAt(0);
   releaseInt(slabAlloc(8));
}

TEST_F(SlabTest, allFailFromTheChosenAllocationOn) {
   CoreSlab::failFrom(2);
   void* first = slabAlloc(8);
   for (int i = 0; i < 3; ++i) {
      EXPECT_THROW(static_cast<void>(slabAlloc(8)), std::bad_alloc);
      EXPECT_EQ(nullptr, slabAllocOrStdMalloc(8, 0));
   }
   releaseInt(first);
   failAt(0);
   releaseInt(slabAlloc(8));
   failAt(1);
   EXPECT_EQ(nullptr, slabAllocOrStdMalloc(8, 0));
   releaseInt(slabAlloc(8));
}

#endif

}  // namespace SlabTest
