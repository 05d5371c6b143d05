// LengthTable: an oracle for large tables, fixed once it is made: a hash set for each length, and all routes in order.
// Its answers are compared with those of SlowTable by the test that uses it.
// Tested by tests/property/InternetTableTest.cpp.
#pragma once

#include <algorithm>
#include <array>
#include <unordered_set>

#include "tests/property/SlowTable.h"

namespace Property {

class LengthTable {
  public:
   explicit LengthTable(PrefixList routes) : ordered_(std::move(routes)) {
      std::sort(ordered_.begin(), ordered_.end());
      for (const auto& p : ordered_) {
         byLength_[p.len()].insert(p);
      }
   }

   bool exact(const IpGenPrefix& p) const { return byLength_[p.len()].contains(p); }
   MaybePrefix longestMatch(const IpGenPrefix& p) const { return longestUpTo(p, p.len()); }
   MaybePrefix parent(const IpGenPrefix& p) const {
      return p.len() == 0 ? std::nullopt : longestUpTo(p, p.len() - 1U);
   }
   // The routes beneath a prefix follow it in the order without a gap.
   bool longer(const IpGenPrefix& p) const {
      const auto after = std::upper_bound(ordered_.begin(), ordered_.end(), p);
      return after != ordered_.end() && covers(p, *after);
   }

  private:
   MaybePrefix longestUpTo(const IpGenPrefix& p, U32 length) const {
      for (U32 n = length + 1; n-- > 0;) {
         if (!byLength_[n].empty() && byLength_[n].contains(cut(p, n))) {
            return cut(p, n);
         }
      }
      return std::nullopt;
   }

   PrefixList ordered_;
   std::array<std::unordered_set<IpGenPrefix>, 129> byLength_;
};

}  // namespace Property
