// Grouping: many values that have an order, as a few groups of neighbours, none of them much heavier than it has to be.
//
// Tested by tests/tools/rtrie/map/GroupingTest.cpp.
#pragma once

#include <algorithm>
#include <cstddef>
#include <vector>

#include "routetrie/platform/Types.h"

namespace Rtrie {

// A run of values, by their places.
struct Group {
   std::size_t first = 0;
   std::size_t last = 0;
   double weight = 0;
   bool operator==(const Group&) const = default;
};

// At most `most` groups that have all values whose weight is not 0, each from such a value to such a value. As long as there are
// too many, the two neighbours that are lightest together become one; of equal ones, the first two.
inline std::vector<Group> groupsOf(const std::vector<double>& weights, std::size_t most) {
   std::vector<Group> groups;
   for (std::size_t i = 0; i < weights.size(); ++i) {
      if (weights[i] > 0) {
         groups.push_back({i, i, weights[i]});
      }
   }
   while (groups.size() > std::max<std::size_t>(most, 1)) {
      std::size_t lightest = 0;
      const auto together = [&groups](std::size_t i) { return groups[i].weight + groups[i + 1].weight; };
      for (std::size_t i = 1; i + 1 < groups.size(); ++i) {
         if (together(i) < together(lightest)) {
            lightest = i;
         }
      }
      groups[lightest].last = groups[lightest + 1].last;
      groups[lightest].weight = together(lightest);
      groups.erase(groups.begin() + static_cast<std::ptrdiff_t>(lightest) + 1);
   }
   return groups;
}

}  // namespace Rtrie
