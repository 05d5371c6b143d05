// Twins: a place among the differences of two trees, a and b, and the way that leads there.
//
// One descent goes down both trees at once. Of each pair of nodes on its way it keeps what differs and is still to be told, as bits in
// the order of the nodes: so what differs is found once, when the pair is entered, and told step by step.
//
//    way[0]     root, root     what differs behind the place, of the routes and the children of either
//    way[1]     child, child   a number of 0: no node stands there, and all that the other has differs
//    ...
//    way[top]   the pair that the place is in
//    ahead[n]   the first of the pairs that way[n] still leads to: what differs in it is fetched while what comes before is told
//
// A level with nothing else to tell gives its place to the one under it, so that a level's number says nothing of its depth.
//
// A compressed node stands in one tree for what may be nodes in the other. It is seen as the one child or the one route that would be there
// without compression; where nothing else stands in either tree, the way goes on where they part.
// Tested by tests/table/DifferenceTest.cpp, tests/property/TableAggregateTest.cpp.
#pragma once

#include "routetrie/table/Tree.h"

namespace routetrie::Impl {

// Copied as it is. What lies past `top`, and of `ahead` what no level says is there, is unspecified.
template <unsigned width>
struct Tree<width>::Twins {
   struct Level {
      U64 routes[2];  // what differs, as in a node
      U64 children;
      U32 nodes[2];    // of a and b; 0: none. A compressed one may stand higher up
      unsigned depth;  // in bits
      bool hasAhead;   // `ahead` has the first of these children

      bool hasRoutes() const noexcept { return (routes[0] | routes[1]) != 0; }
   };
   static constexpr unsigned mostAhead = levels < 8 ? levels : 8;  // more levels seldom have many children

   Bits bits;
   unsigned length = 0;
   const void* values[2] = {nullptr, nullptr};  // in a and b; null: no route
   U64 generations[2] = {0, 0};  // what is here, but for the prefix, is of use while the trees have these
   unsigned top = 0;
   Level way[levels];
   Level ahead[mostAhead];

   Twins() noexcept {}
   bool isOf(const Tree& a, const Tree& b) const noexcept {
      return generations[0] == a.generation() && generations[1] == b.generation();
   }
};

}  // namespace routetrie::Impl
