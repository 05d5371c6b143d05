// Which routes two tables do not have alike, from all routes of both: what difference() is held against. Values are numbers, 0 where a
// table does not have the route.
#pragma once

#include <map>
#include <tuple>
#include <utility>
#include <vector>

namespace TestSupport {

// The prefix, the value before and the one after.
template <class P>
using Difference = std::tuple<P, unsigned, unsigned>;

template <class P, class Found>
Difference<P> differenceOf(const Found& d) {
   return {d.prefix, d.before ? d.before->value : 0, d.after ? d.after->value : 0};
}
template <class P, class Range>
std::vector<Difference<P>> differencesIn(const Range& range) {
   std::vector<Difference<P>> list;
   for (const auto& d : range) {
      list.push_back(differenceOf<P>(d));
   }
   return list;
}

template <class A, class B>
auto differencesByHand(const A& a, const B& b) {
   using P = typename A::prefix_type;
   std::map<P, std::pair<unsigned, unsigned>> all;
   for (const auto& [p, value] : a) {
      all[p].first = value;
   }
   for (const auto& [p, value] : b) {
      all[p].second = value;
   }
   std::vector<Difference<P>> list;
   for (const auto& [p, values] : all) {
      if (values.first != values.second) {
         list.emplace_back(p, values.first, values.second);
      }
   }
   return list;
}

}  // namespace TestSupport
