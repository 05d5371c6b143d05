// The order of what stands in a node: routes and children in one; a child follows the routes that cover it and the route of its own
// six bits. Their codes:
//
//    half << 7 | place << 1            a route
//    half << 7 | place << 1 | 1        the child of the six bits that end at `place`
#pragma once

#include "routetrie/table/Tree.h"

namespace routetrie::Impl {

inline constexpr unsigned noCode = ~0u;
inline constexpr unsigned codes = 256;  // behind all of them
inline constexpr unsigned codesInHalf = 126;

inline unsigned chunkOfCode(unsigned code) noexcept { return code >> 7 << 5 | places[code >> 1 & 63].low; }

// Of the five bits of a child, the place of the same six bits.
inline constexpr auto fullPlace = [] {
   std::array<U8, 32> result{};
   for (unsigned place = 0; place < 63; ++place) {
      if (places[place].length == stride) {
         result[places[place].low] = static_cast<U8>(place);
      }
   }
   return result;
}();

inline unsigned childCode(unsigned chunk) noexcept {
   return chunk >> 5 << 7 | unsigned{fullPlace[chunk & 31]} << 1 | 1;
}

// The first code from this one on that stands for something; the last one before it.
ROUTETRIE_INLINE unsigned codeFrom(const U64 (&routesThere)[2], U64 childrenThere, unsigned code) noexcept {
   unsigned in = code & 127;
   for (unsigned half = code >> 7; half < 2; ++half, in = 0) {
      const unsigned firstRoute = (in + 1) >> 1;
      const U64 routes = routesThere[half] >> firstRoute << firstRoute;
      const unsigned firstChild = fullBefore[in >> 1];
      const U64 children = (half != 0 ? childrenThere >> 32 : childrenThere & 0xffffffff) >> firstChild << firstChild;
      unsigned found = noCode;
      if (routes != 0) {
         found = static_cast<unsigned>(std::countr_zero(routes)) << 1;
      }
      if (children != 0) {
         const unsigned child = unsigned{fullPlace[static_cast<unsigned>(std::countr_zero(children))]} << 1 | 1;
         found = child < found ? child : found;
      }
      if (found != noCode) {
         return half << 7 | found;
      }
   }
   return noCode;
}
ROUTETRIE_INLINE unsigned codeFrom(const Node& n, unsigned code) noexcept {
   return codeFrom(n.routes, n.children, code);
}

}  // namespace routetrie::Impl
