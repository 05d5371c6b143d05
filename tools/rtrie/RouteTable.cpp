#include "tools/rtrie/RouteTable.h"

namespace Rtrie {

void RouteTable::coveringByParents(const Prefix& query, const Visit& visit) const {
   std::vector<Prefix> longestFirst;
   for (Prefix route = longestMatch(query); route.af() != Corenet::AddressFamily::none; route = parent(route)) {
      longestFirst.push_back(route);
   }
   for (auto route = longestFirst.rbegin(); route != longestFirst.rend(); ++route) {
      visit(*route);
   }
}

}  // namespace Rtrie
