// HilbertCurve: an address space as a square, such that neighbours in the one are neighbours in the other, and a prefix is
// a square or half of one. A curve of order k visits the 4^k cells of a square whose side is 2^k; cell 0 is in the corner at the
// top left, the last one at the top right. A quarter of the curve is a quarter of the square, whatever the order:
//
//     order 1      order 2
//     0 3          0  1 14 15
//     1 2          3  2 13 12
//                  4  7  8 11
//                  5  6  9 10
//
// x counts to the right and y down, from 0. Source: Hilbert, "Über die stetige Abbildung einer Linie auf ein Flächenstück",
// Mathematische Annalen 38 (1891).
// Tested by tests/tools/rtrie/map/HilbertCurveTest.cpp, against the definition by recursion.
#pragma once

#include <algorithm>
#include <cstdint>

#include "routetrie/platform/Types.h"

namespace Rtrie {

struct Cell {
   U32 x = 0;
   U32 y = 0;
   bool operator==(const Cell&) const = default;
};

// In cells.
struct Block {
   U32 x = 0;
   U32 y = 0;
   U32 width = 0;
   U32 height = 0;
   bool operator==(const Block&) const = default;
};

class HilbertCurve {
  public:
   // Numbers of cells fit into 32 bits.
   static constexpr unsigned mostOrder = 15;

   // Requires: order <= mostOrder.
   explicit constexpr HilbertCurve(unsigned order) : order_(order) {}

   constexpr unsigned order() const { return order_; }
   constexpr U32 side() const { return U32{1} << order_; }
   constexpr U32 cells() const { return U32{1} << (2 * order_); }

   // Requires: index < cells().
   constexpr Cell cell(U32 index) const {
      Cell at;
      Turn turn;
      for (unsigned level = order_; level-- > 0;) {
         const U32 quarter = index >> (2 * level) & 3;
         const Cell corner = turn.corner(quarter);
         at.x |= corner.x << level;
         at.y |= corner.y << level;
         turn = turn.in(quarter);
      }
      return at;
   }

   // The part of the square that the cells take whose numbers begin with `bits` bits of that value. A square where `bits` is
   // even, and half of one where it is odd. Requires: bits <= 2 * order(), value < 2^bits.
   constexpr Block block(unsigned bits, U32 value) const {
      if (bits % 2 == 0) {
         const Cell corner = HilbertCurve(bits / 2).cell(value);
         const U32 blockSide = side() >> (bits / 2);
         return {corner.x * blockSide, corner.y * blockSide, blockSide, blockSide};
      }
      const Block first = block(bits + 1, 2 * value);
      const Block second = block(bits + 1, 2 * value + 1);
      const bool isWide = first.y == second.y;
      return {std::min(first.x, second.x), std::min(first.y, second.y), isWide ? 2 * first.width : first.width,
              isWide ? first.height : 2 * first.height};
   }

   // Calls each(index, Cell) for all cells in order, which is faster than asking for one after the other.
   template <class Each>
   constexpr void forEachCell(Each&& each) const {
      U32 index = 0;
      visit(order_, Cell{}, Turn{}, index, each);
   }

  private:
   // How a quarter of the curve lies: the first one and the last are mirrored at their diagonals.
   struct Turn {
      bool swaps = false;  // x and y
      bool flips = false;  // both, end for end

      constexpr Cell corner(U32 quarter) const {
         const U32 right = quarter >> 1;
         const U32 down = (quarter >> 1) ^ (quarter & 1);
         const U32 flip = flips ? 1 : 0;
         return swaps ? Cell{down ^ flip, right ^ flip} : Cell{right ^ flip, down ^ flip};
      }
      constexpr Turn in(U32 quarter) const {
         return {swaps != (quarter == 0 || quarter == 3), flips != (quarter == 3)};
      }
   };

   template <class Each>
   static constexpr void visit(unsigned order, Cell at, Turn turn, U32& index, Each& each) {
      if (order == 0) {
         each(index++, at);
         return;
      }
      for (U32 quarter = 0; quarter < 4; ++quarter) {
         const Cell corner = turn.corner(quarter);
         visit(order - 1, {at.x + (corner.x << (order - 1)), at.y + (corner.y << (order - 1))}, turn.in(quarter),
               index, each);
      }
   }

   unsigned order_;
};

}  // namespace Rtrie
