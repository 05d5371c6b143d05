// RangeCut: the fewest prefixes that make up a range of addresses, both ends included.
//
//    10.0.0.1 - 10.0.0.6   ->   10.0.0.1/32  10.0.0.2/31  10.0.0.4/31  10.0.0.6/32
//
// From the left, each prefix is the largest that starts at the first address not yet covered and does not pass
// the end. That is minimal: any prefix that starts there and is larger would reach outside of the range.
//
// Tested by tests/tools/tables/RangeCutTest.cpp, against trying all sets of prefixes on a small width.
#pragma once

#include <algorithm>

#include "routetrie/platform/Types.h"
#include "tools/tables/AddressNumber.h"

namespace Rtrie {

// Calls each(Number first, U8 lengthBits) in ascending order. Requires: first <= last.
template <class Number, class Each>
void cutRange(Number first, Number last, Each&& each) {
   constexpr unsigned width = widthBits<Number>;
   const auto lowOnes = [](unsigned count) {
      return count == width ? static_cast<Number>(~Number{0}) : static_cast<Number>((Number{1} << count) - 1);
   };
   for (;;) {
      unsigned hostBits = trailingZeros(first);
      while (static_cast<Number>(first | lowOnes(hostBits)) > last) {
         --hostBits;  // ends at 0 at the latest, where the block is `first` alone
      }
      const Number blockLast = static_cast<Number>(first | lowOnes(hostBits));
      each(first, static_cast<U8>(width - hostBits));
      if (blockLast == last) {
         return;
      }
      first = static_cast<Number>(blockLast + 1);
   }
}

}  // namespace Rtrie
