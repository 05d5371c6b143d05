// CellTally: a block of addresses as the cells of a HilbertCurve, each with the class that it is drawn in. What lies in one cell
// is weighed by its addresses: of the classes of the highest rank that are there, it takes the one with most of them.
//
// A cell may hold many addresses, or an address many cells.
// Tested by tests/tools/rtrie/map/CellTallyTest.cpp, against a tally address by address.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

#include "routetrie/platform/Types.h"
#include "tools/rtrie/map/AnswerWalk.h"

namespace Rtrie {

template <class Number>
class CellTally {
  public:
   static constexpr std::size_t mostClasses = 64;

   // blockBits: of an address, within the block. ranks: one for each class; class 0 is of what is not told. Requires: at most
   // mostClasses ranks, order <= HilbertCurve::mostOrder.
   CellTally(unsigned order, const AddressRange<Number>& block, unsigned blockBits, std::vector<U8> ranks)
      : first_(block.first),
        shift_(static_cast<int>(blockBits) - 2 * static_cast<int>(order)),
        ranks_(std::move(ranks)),
        cells_(std::size_t{1} << (2 * order)),
        addresses_(ranks_.size()) {}

   // Requires: behind all that was added, and within the block.
   void add(const AddressRange<Number>& range, U8 classId) {
      const auto from = static_cast<Number>(range.first - first_);
      const auto to = static_cast<Number>(range.last - first_);
      addresses_[classId] += static_cast<long double>(to - from) + 1;
      if (shift_ <= 0) {
         const auto begin = static_cast<std::size_t>(from) << -shift_;
         const auto end = (static_cast<std::size_t>(to) + 1) << -shift_;
         std::fill(cells_.begin() + static_cast<std::ptrdiff_t>(begin),
                   cells_.begin() + static_cast<std::ptrdiff_t>(end), classId);
         return;
      }
      const auto firstCell = static_cast<std::size_t>(from >> shift_);
      const auto lastCell = static_cast<std::size_t>(to >> shift_);
      if (firstCell == lastCell) {
         weigh(firstCell, classId, static_cast<double>(to - from) + 1);
         return;
      }
      weigh(firstCell, classId, static_cast<double>(endOf(firstCell) - from) + 1);
      std::fill(cells_.begin() + static_cast<std::ptrdiff_t>(firstCell) + 1,
                cells_.begin() + static_cast<std::ptrdiff_t>(lastCell), classId);
      weigh(lastCell, classId, static_cast<double>(to - beginOf(lastCell)) + 1);
   }

   // The classes of the cells, by their numbers, and how many addresses each class has. Ends the tally.
   std::vector<U8> takeCells() {
      decide();
      return std::move(cells_);
   }
   const std::vector<long double>& addresses() const { return addresses_; }

  private:
   Number beginOf(std::size_t cell) const { return static_cast<Number>(static_cast<Number>(cell) << shift_); }
   Number endOf(std::size_t cell) const {
      return static_cast<Number>(beginOf(cell) | static_cast<Number>((Number{1} << shift_) - 1));
   }

   void weigh(std::size_t cell, U8 classId, double weight) {
      if (cell != open_) {
         decide();
         open_ = cell;
      }
      weights_[classId] += weight;
   }
   void decide() {
      if (open_ == none) {
         return;
      }
      std::size_t best = ranks_.size();
      for (std::size_t i = 0; i < ranks_.size(); ++i) {
         if (weights_[i] > 0 &&
             (best == ranks_.size() || std::pair(ranks_[i], weights_[i]) > std::pair(ranks_[best], weights_[best]))) {
            best = i;
         }
      }
      cells_[open_] = static_cast<U8>(best);
      weights_.fill(0);
      open_ = none;
   }

   static constexpr std::size_t none = ~std::size_t{0};

   Number first_;
   int shift_;  // bits of an address below a cell; below 0, bits of a cell below an address
   std::vector<U8> ranks_;
   std::vector<U8> cells_;
   std::vector<long double> addresses_;
   std::size_t open_ = none;  // the cell that is being weighed
   std::array<double, mostClasses> weights_{};
};

}  // namespace Rtrie
