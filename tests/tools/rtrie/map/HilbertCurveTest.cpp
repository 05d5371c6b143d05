// HilbertCurve: against its definition, drawn by recursion.
#include "tools/rtrie/map/HilbertCurve.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <set>
#include <utility>
#include <vector>

namespace Rtrie {
namespace HilbertCurveTest {

// The definition: four copies of the curve of the order before, the first mirrored at the diagonal, the last at the other one, the
// two between them as they are: down the left side, across, and up the right side.
std::vector<Cell> drawn(unsigned order) {
   if (order == 0) {
      return {Cell{0, 0}};
   }
   const auto smaller = drawn(order - 1);
   const U32 half = U32{1} << (order - 1);
   std::vector<Cell> cells;
   for (const Cell& cell : smaller) {
      cells.push_back({cell.y, cell.x});
   }
   for (const Cell& cell : smaller) {
      cells.push_back({cell.x, cell.y + half});
   }
   for (const Cell& cell : smaller) {
      cells.push_back({cell.x + half, cell.y + half});
   }
   for (const Cell& cell : smaller) {
      cells.push_back({2 * half - 1 - cell.y, half - 1 - cell.x});
   }
   return cells;
}

TEST(HilbertCurve, isAsDefined) {
   for (unsigned order = 0; order <= 7; ++order) {
      const HilbertCurve curve(order);
      const auto expected = drawn(order);
      ASSERT_EQ(expected.size(), curve.cells());
      U32 next = 0;
      curve.forEachCell([&](U32 index, const Cell& cell) {
         ASSERT_EQ(next++, index);
         ASSERT_EQ(expected[index], cell) << order << ' ' << index;
         ASSERT_EQ(cell, curve.cell(index));
      });
      EXPECT_EQ(curve.cells(), next);
   }
}

TEST(HilbertCurve, drawing) {
   constexpr U32 rows[4][4] = {{0, 1, 14, 15}, {3, 2, 13, 12}, {4, 7, 8, 11}, {5, 6, 9, 10}};
   for (U32 y = 0; y < 4; ++y) {
      for (U32 x = 0; x < 4; ++x) {
         EXPECT_EQ((Cell{x, y}), HilbertCurve(2).cell(rows[y][x]));
      }
   }
   static_assert(HilbertCurve(1).cell(2) == Cell{1, 1});
}

TEST(HilbertCurveProperty, neighboursAreAdjacentAndNoCellIsLeft) {
   for (unsigned order = 1; order <= 9; ++order) {
      const HilbertCurve curve(order);
      std::vector<bool> seen(curve.cells());
      Cell before;
      curve.forEachCell([&](U32 index, const Cell& cell) {
         ASSERT_LT(cell.x, curve.side());
         ASSERT_LT(cell.y, curve.side());
         ASSERT_FALSE(seen[cell.y * curve.side() + cell.x]);
         seen[cell.y * curve.side() + cell.x] = true;
         if (index > 0) {
            const int steps = std::abs(static_cast<int>(cell.x) - static_cast<int>(before.x)) +
                              std::abs(static_cast<int>(cell.y) - static_cast<int>(before.y));
            ASSERT_EQ(1, steps) << order << ' ' << index;
         }
         before = cell;
      });
   }
}

// Whatever the bits, a block is exactly the cells whose numbers begin with them.
TEST(HilbertCurveProperty, aBlockIsASquareOrHalfOfOne) {
   for (unsigned order = 0; order <= 4; ++order) {
      const HilbertCurve curve(order);
      for (unsigned bits = 0; bits <= 2 * order; ++bits) {
         const unsigned rest = 2 * order - bits;
         for (U32 value = 0; value < U32{1} << bits; ++value) {
            const Block block = curve.block(bits, value);
            if (bits % 2 == 0) {
               ASSERT_EQ(block.width, block.height);
            } else {
               ASSERT_TRUE(block.width == 2 * block.height || block.height == 2 * block.width);
            }
            ASSERT_EQ(U32{1} << rest, block.width * block.height);
            std::set<std::pair<U32, U32>> cells;
            for (U32 index = value << rest; index < (value + 1) << rest; ++index) {
               const Cell cell = curve.cell(index);
               ASSERT_GE(cell.x, block.x);
               ASSERT_LT(cell.x, block.x + block.width);
               ASSERT_GE(cell.y, block.y);
               ASSERT_LT(cell.y, block.y + block.height);
               cells.emplace(cell.x, cell.y);
            }
            ASSERT_EQ(block.width * block.height, cells.size());
         }
      }
   }
}

// A block stays where it is when the picture grows.
TEST(HilbertCurveProperty, aGreaterOrderShowsTheSamePicture) {
   for (unsigned order = 1; order <= 6; ++order) {
      const HilbertCurve small(order);
      const HilbertCurve great(order + 1);
      for (U32 index = 0; index < great.cells(); ++index) {
         const Cell cell = great.cell(index);
         ASSERT_EQ((Cell{cell.x / 2, cell.y / 2}), small.cell(index / 4));
      }
   }
   const HilbertCurve most(HilbertCurve::mostOrder);
   EXPECT_EQ((Cell{most.side() - 1, 0}), most.cell(most.cells() - 1));
}

}  // namespace HilbertCurveTest
}  // namespace Rtrie
