// CellTally: against a tally address by address.
#include "tools/rtrie/map/CellTally.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <random>
#include <vector>

namespace Rtrie {
namespace CellTallyTest {

using Corenet::U128;

TEST(CellTally, takesTheClassWithMostAddresses) {
   CellTally<U32> tally(1, {0x0a000000, 0x0a0000ff}, 8, {0, 1, 1, 2});
   tally.add({0x0a000000, 0x0a00000f}, 1);
   tally.add({0x0a000010, 0x0a00003e}, 2);
   tally.add({0x0a00003f, 0x0a00003f}, 0);
   tally.add({0x0a000040, 0x0a0000bf}, 0);
   tally.add({0x0a0000c0, 0x0a0000c0}, 3);
   tally.add({0x0a0000c1, 0x0a0000ff}, 2);
   EXPECT_EQ((std::vector<U8>{2, 0, 0, 3}), tally.takeCells());
   EXPECT_EQ((std::vector<long double>{129, 16, 47 + 63, 1}), tally.addresses());
}

TEST(CellTally, givesAnAddressManyCells) {
   CellTally<U32> tally(2, {0xfffffffc, 0xffffffff}, 2, {0, 1});
   tally.add({0xfffffffc, 0xfffffffd}, 0);
   tally.add({0xfffffffe, 0xfffffffe}, 1);
   tally.add({0xffffffff, 0xffffffff}, 0);
   EXPECT_EQ((std::vector<U8>{0, 0, 0, 0, 0, 0, 0, 0, 1, 1, 1, 1, 0, 0, 0, 0}), tally.takeCells());
   CellTally<U32> one(1, {7, 7}, 0, {0, 1});
   one.add({7, 7}, 1);
   EXPECT_EQ((std::vector<U8>{1, 1, 1, 1}), one.takeCells());
}

TEST(CellTally, holdsAllOfBothFamilies) {
   CellTally<U128> tally(1, {0, ~U128{0}}, 128, {0, 1});
   tally.add({0, ~U128{0} >> 1}, 0);
   tally.add({U128{1} << 127, ~U128{0}}, 1);
   EXPECT_EQ((std::vector<U8>{0, 0, 1, 1}), tally.takeCells());
   EXPECT_EQ(0x1p127L, tally.addresses()[0]);
   EXPECT_EQ(0x1p127L, tally.addresses()[1]);
}

// Each address of each cell is counted; a cell has one class of the highest rank that no other of that rank outweighs.
template <class Number>
void compareWithCounts(Number base) {
   const unsigned seed = std::random_device{}();
   SCOPED_TRACE(seed);
   std::mt19937 random(seed);
   const std::vector<U8> ranks = {0, 1, 1, 2, 2};
   for (int round = 0; round < 300; ++round) {
      const auto bits = static_cast<unsigned>(random() % 9);
      const auto order = static_cast<unsigned>(random() % 6);
      const unsigned addresses = 1U << bits;
      std::vector<U8> classOf(addresses);
      CellTally<Number> tally(order, {base, static_cast<Number>(base + (addresses - 1))}, bits, ranks);
      for (unsigned at = 0; at < addresses;) {
         const unsigned end =
            std::min(addresses, at + 1 + static_cast<unsigned>(random() % (random() % 3 == 0 ? 200 : 8)));
         const auto classId = static_cast<U8>(random() % 3 == 0 ? random() % ranks.size() : random() % 2);
         std::fill(classOf.begin() + at, classOf.begin() + end, classId);
         tally.add({static_cast<Number>(base + at), static_cast<Number>(base + (end - 1))}, classId);
         at = end;
      }
      const auto cells = tally.takeCells();
      ASSERT_EQ(std::size_t{1} << (2 * order), cells.size());
      for (std::size_t cell = 0; cell < cells.size(); ++cell) {
         std::map<U8, std::size_t> counts;
         const std::size_t first = (cell << bits) / cells.size();
         const std::size_t end = std::max(first + 1, ((cell + 1) << bits) / cells.size());
         for (std::size_t at = first; at < end; ++at) {
            ++counts[classOf[at]];
         }
         ASSERT_TRUE(counts.contains(cells[cell]));
         for (const auto& [classId, count] : counts) {
            ASSERT_LE(std::pair(ranks[classId], count), std::pair(ranks[cells[cell]], counts[cells[cell]]));
         }
      }
      for (U8 classId = 0; classId < ranks.size(); ++classId) {
         ASSERT_EQ(std::count(classOf.begin(), classOf.end(), classId), tally.addresses()[classId]);
      }
   }
}

TEST(CellTallyProperty, isWhatCountingFinds) {
   compareWithCounts<U32>(0);
   compareWithCounts<U32>(0xffffff00);
   compareWithCounts<U128>(U128{0x20010db8} << 96);
}

}  // namespace CellTallyTest
}  // namespace Rtrie
