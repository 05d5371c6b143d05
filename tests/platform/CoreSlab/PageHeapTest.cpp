#include "routetrie/platform/CoreSlab/PageHeap.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <random>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "routetrie/platform/CoreSlab/SizeClass.h"

namespace PageHeapTest {

using namespace CoreSlab;

std::uintptr_t addressOf(const void* block) { return reinterpret_cast<std::uintptr_t>(block); }

TEST(SizeClass, theSmallestThatHoldsTheBytes) {
   for (std::size_t bytes = 1; bytes <= classedLimitBytes; ++bytes) {
      const std::size_t sizeClass = sizeClassOf(bytes);
      ASSERT_LT(sizeClass, classCount);
      ASSERT_GE(sizeClassBytes(sizeClass), bytes);
      if (sizeClass > 0) {
         ASSERT_LT(sizeClassBytes(sizeClass - 1), bytes);
      }
   }
   EXPECT_EQ(0u, sizeClassOf(0));
   EXPECT_EQ(24u, sizeClassBytes(sizeClassOf(20)));
   EXPECT_EQ(40u, sizeClassBytes(sizeClassOf(36)));
   EXPECT_EQ(2048u, sizeClassBytes(sizeClassOf(2048)));
   EXPECT_EQ(1280u, sizeClassBytes(sizeClassOf(1025)));
}

TEST(PageHeap, blocksAreAlignedAndApart) {
   PageHeap heap;
   for (const std::size_t bytes : {1u, 8u, 20u, 24u, 32u, 48u, 288u, 1024u, 1025u, 2048u, 16384u, 16385u, 300000u}) {
      std::vector<char*> blocks;
      for (int i = 0; i < 40; ++i) {
         auto* block = static_cast<char*>(heap.allocate(bytes));
         ASSERT_NE(nullptr, block);
         const std::size_t alignment =
            sizeClassBytes(sizeClassOf(std::min<std::size_t>(bytes, 16384))) % 16 == 0 ? 16 : 8;
         ASSERT_EQ(0u, addressOf(block) % alignment) << bytes;
         std::memset(block, i, bytes);
         blocks.push_back(block);
      }
      for (int i = 0; i < 40; ++i) {
         const char* block = blocks[static_cast<std::size_t>(i)];
         ASSERT_TRUE(std::all_of(block, block + bytes, [i](char byte) { return byte == static_cast<char>(i); }));
      }
      for (char* block : blocks) {
         heap.free(block);
      }
   }
   EXPECT_EQ(0u, heap.stats().liveBlocks);
   EXPECT_EQ(0u, heap.stats().liveBytes);
}

TEST(PageHeap, freshBlocksAscendAsNeighbours) {
   PageHeap heap;
   std::vector<void*> blocks;
   for (int i = 0; i < 100; ++i) {
      blocks.push_back(heap.allocate(32));
   }
   for (std::size_t i = 1; i < blocks.size(); ++i) {
      EXPECT_EQ(addressOf(blocks[i - 1]) + 32, addressOf(blocks[i]));
   }
   heap.free(blocks[50]);
   EXPECT_EQ(addressOf(blocks[99]) + 32, addressOf(heap.allocate(32))) << "fresh blocks go out first";
   void* last = blocks[99];
   while (last != blocks[50]) {
      last = heap.allocate(32);
      ASSERT_EQ(1u, heap.stats().pages) << "a freed block is used before another page";
   }
}

TEST(PageHeap, emptyPagesAndArenasGoBack) {
   PageHeap heap;
   std::vector<void*> blocks;
   // Several classes side by side in each arena: one page kept by each would keep all arenas.
   for (int i = 0; i < 2000; ++i) {
      for (std::size_t bytes = 200; bytes <= 1000; bytes += 200) {
         blocks.push_back(heap.allocate(bytes));
      }
   }
   EXPECT_GE(heap.stats().mappedBytes, 3 * PageHeap::arenaBytes);
   for (void* block : blocks) {
      heap.free(block);
   }
   EXPECT_EQ(0u, heap.stats().pages);
   EXPECT_EQ(PageHeap::arenaBytes, heap.stats().mappedBytes) << "one is kept in case";
   void* block = heap.allocate(8);
   EXPECT_EQ(PageHeap::arenaBytes, heap.stats().mappedBytes) << "and that one is used next";
   heap.free(block);
}

TEST(PageHeap, aMillionSmallBlocksCostLittleMoreThanTheirBytes) {
   PageHeap heap;
   std::vector<void*> blocks(1000000);
   for (void*& block : blocks) {
      block = heap.allocate(32);
   }
   const auto full = heap.stats();
   EXPECT_EQ(blocks.size(), full.liveBlocks);
   EXPECT_EQ(32 * blocks.size(), full.liveBytes);
   EXPECT_LE(full.pages * PageHeap::pageBytes, 33000000u);
   EXPECT_LE(full.mappedBytes, 33000000u + PageHeap::arenaBytes);
   std::shuffle(blocks.begin(), blocks.end(), std::mt19937(1));
   for (void* block : blocks) {
      heap.free(block);
   }
   const auto empty = heap.stats();
   EXPECT_EQ(0u, empty.liveBlocks);
   EXPECT_EQ(0u, empty.pages);
   EXPECT_EQ(std::size_t{PageHeap::arenaBytes}, empty.mappedBytes) << "empty arenas are unmapped, but for one";
}

TEST(PageHeap, largeBlocksHaveMappingsOfTheirOwn) {
   PageHeap heap;
   void* block = heap.allocate(1000000);
   EXPECT_EQ(classCount, PageHeap::sizeClassOfBlock(block));
   EXPECT_GE(heap.stats().mappedBytes, 1000000u);
   EXPECT_EQ(1u, heap.stats().liveBlocks);
   heap.free(block);
   EXPECT_EQ(0u, heap.stats().mappedBytes);
   EXPECT_EQ(nullptr, heap.allocate(~std::size_t{0}));
   EXPECT_EQ(nullptr, heap.allocate(~std::size_t{0} / 2));
}

TEST(PageHeap, listsComeAscendingAndGoBack) {
   PageHeap heap;
   std::size_t count = 3000;  // more than a page of them
   FreeBlock* list = heap.allocateList(sizeClassOf(40), count);
   EXPECT_EQ(3000u, count);
   std::set<const void*> seen;
   for (const FreeBlock* block = list; block != nullptr; block = block->next) {
      seen.insert(block);
   }
   EXPECT_EQ(3000u, seen.size());
   EXPECT_EQ(list, *seen.begin());
   EXPECT_EQ(3000u, heap.stats().liveBlocks);
   heap.freeList(sizeClassOf(40), list);
   EXPECT_EQ(0u, heap.stats().liveBlocks);
   EXPECT_EQ(0u, heap.stats().pages);
}

// Random sequences against a list of what is out: no block overlaps another, and each keeps its bytes.
TEST(PageHeap, randomSequencesKeepBlocksWhole) {
   const auto seed = std::random_device{}();
   SCOPED_TRACE("seed " + std::to_string(seed));
   std::mt19937 random(seed);
   PageHeap heap;
   struct Block {
      unsigned char* memory;
      std::size_t bytes;
      unsigned char pattern;
   };
   std::vector<Block> blocks;
   const auto check = [](const Block& block) {
      return std::all_of(block.memory, block.memory + block.bytes,
                         [&](unsigned char byte) { return byte == block.pattern; });
   };
   for (int step = 0; step < 40000; ++step) {
      const bool growing = step / 10000 % 2 == 0;
      if (blocks.empty() || random() % 10 < (growing ? 7u : 3u)) {
         const std::size_t limit = random() % 100 == 0 ? 40000 : 300;
         const std::size_t bytes = 1 + random() % limit;
         auto* memory = static_cast<unsigned char*>(heap.allocate(bytes));
         ASSERT_NE(nullptr, memory);
         blocks.push_back({memory, bytes, static_cast<unsigned char>(random())});
         std::memset(memory, blocks.back().pattern, bytes);
      } else {
         std::swap(blocks[random() % blocks.size()], blocks.back());
         ASSERT_TRUE(check(blocks.back())) << "step " << step;
         heap.free(blocks.back().memory);
         blocks.pop_back();
      }
      ASSERT_EQ(blocks.size(), heap.stats().liveBlocks);
   }
   for (const Block& block : blocks) {
      ASSERT_TRUE(check(block));
      heap.free(block.memory);
   }
   EXPECT_EQ(0u, heap.stats().liveBytes);
}

TEST(PageHeap, threadsShareIt) {
   PageHeap heap;
   std::vector<std::thread> threads;
   for (unsigned t = 0; t < 4; ++t) {
      threads.emplace_back([&heap, t] {
         std::mt19937 random(t);
         std::vector<unsigned char*> blocks;
         for (int step = 0; step < 20000; ++step) {
            if (blocks.size() < 50 || random() % 2 == 0) {
               blocks.push_back(static_cast<unsigned char*>(heap.allocate(32)));
               *blocks.back() = static_cast<unsigned char>(t);
            } else {
               std::swap(blocks[random() % blocks.size()], blocks.back());
               EXPECT_EQ(t, *blocks.back());
               heap.free(blocks.back());
               blocks.pop_back();
            }
         }
         for (unsigned char* block : blocks) {
            heap.free(block);
         }
      });
   }
   for (std::thread& thread : threads) {
      thread.join();
   }
   EXPECT_EQ(0u, heap.stats().liveBlocks);
}

}  // namespace PageHeapTest
