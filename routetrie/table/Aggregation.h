// Aggregation: the fewest routes that give every address of one family the value that a list of routes gives it. It knows values
// by number, from 1 on; 0 stands for no value.
//
// After Draves, King, Venkatachary and Zill, "Constructing optimal IP routing tables" (1999), on a tree whose paths without a choice
// are one edge:
//
//    up     Each node gets the values that it may have so that fewest routes are needed below: those that both halves may have,
//           or where there are none of these, those that either may. A half without routes has the value of the route above it.
//    down   A node whose value from above is one of them needs no route; the others get a route with one of them. If the halves
//           have nothing in common, each may get its own as well, which takes as many: then the route goes where one was.
//
// No value is a value as any other but for one thing: no route can say it. So a node with an address that has none has that alone,
// and nothing above it gets a route.
//
// Along an edge, past each bit lies a half with the value of the route above, y. One bit up from the node at its end, what the
// node may have joins y; from the second bit on, y is all that is left. So the length of an edge does not matter.
// Tested by tests/property/TableAggregateTest.cpp.
#pragma once

#include <cstddef>
#include <vector>

#include "routetrie/platform/Corenet/AddressBits.h"
#include "routetrie/platform/Export.h"

namespace routetrie::Impl {

template <unsigned width>
class ROUTETRIE_EXPORT Aggregation {
  public:
   using Bits = Corenet::AddressBits<width>;
   using U8 = Corenet::U8;
   using U32 = Corenet::U32;
   static constexpr U32 none = 0;

   struct Route {
      Bits bits;
      U32 value;
      U8 length;
   };

   // In the order of addresses, then lengths. Requires: the value is not `none`.
   void add(Bits bits, unsigned length, U32 value) { routes_.push_back({bits, value, static_cast<U8>(length)}); }
   void reserve(std::size_t routes) { routes_.reserve(routes); }
   // Those that are enough, in the same order; once.
   std::vector<Route> result();

  private:
   // Of one value, the value itself; of more, a piece of `pool_` in ascending order.
   struct Set {
      U32 first;
      U32 size;
   };
   struct Node {
      Bits bits;
      U32 filler;   // the value of the longest route that covers it all
      U32 half[2];  // nodes; 0: none
      Set may;      // the values that it may have
      U8 length;
      bool isRoute;
      bool isSplit;  // its halves have no value in common
   };

   U32 build(std::size_t first, std::size_t last, U32 filler);
   Set halfMay(const Node& n, unsigned half);
   static Set just(U32 value) { return {value, 1}; }
   const U32* begin(const Set& s) const { return s.size == 1 ? &s.first : pool_.data() + s.first; }
   bool contains(const Set& s, U32 value) const;
   Set meet(const Set& a, const Set& b);
   Set keep(std::size_t from);
   void emit(Bits bits, unsigned length, U32 value) { result_.push_back({bits, value, static_cast<U8>(length)}); }
   void emitEdge(U32 node, unsigned from, U32 filler, U32 above);
   void emitNode(const Node& n, U32 above);

   std::vector<Route> routes_;
   std::vector<Node> nodes_;
   std::vector<U32> pool_;
   std::vector<Route> result_;
};

}  // namespace routetrie::Impl
