// Lengths: which prefix lengths a table holds, so that a scan over lengths leaves out those that no route has.
#pragma once

#include <algorithm>
#include <array>
#include <functional>
#include <vector>

#include "routetrie/platform/Types.h"

namespace Bench {

template <U32 width>
class Lengths {
  public:
   // In bits, longest first.
   const std::vector<U32>& present() const { return present_; }

   void routeAdded(U32 length) {
      if (count_[length]++ == 0) {
         present_.insert(placeOf(length), length);
      }
   }
   void routeDeleted(U32 length) {
      if (--count_[length] == 0) {
         present_.erase(placeOf(length));
      }
   }

  private:
   std::vector<U32>::iterator placeOf(U32 length) {
      return std::lower_bound(present_.begin(), present_.end(), length, std::greater<>());
   }

   std::array<U32, width + 1> count_{};
   std::vector<U32> present_;
};

}  // namespace Bench
