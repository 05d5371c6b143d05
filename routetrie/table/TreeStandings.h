// What the index has to say, told by the nodes, and the pages that it is made of: for the sources that fill the index, that give it
// back and that check it.
#pragma once

#include "routetrie/table/Tree.h"

namespace routetrie::Impl {

// Calls visit(bits, number) for all that the index has to say of bits that share the first `shared` with `within`, from a node down to
// which `bits` lead. Requires: `shared` is at most groupDepth.
template <unsigned width>
template <class Visit>
void Tree<width>::standings(U32 at, unsigned depth, Bits bits, Bits within, unsigned shared, Visit&& visit) const {
   const Node& n = node(at);
   if (depth == indexDepth) {
      visit(bits, at);
      return;
   }
   if (n.isCompressed()) {
      const unsigned length = n.length();
      const Bits key = keyOf<width>(n);
      if (!key.sharesFirst(within, length < shared ? length : shared)) {
         return;
      }
      if (n.isLeaf() || length > indexDepth) {
         if (length >= indexDepth) {
            visit(key.cut(indexDepth), at);
         }
      } else {
         standings(n.target(), length, key, within, shared, visit);
      }
      return;
   }
   const U32* child = n.numbers();
   for (U64 rest = n.children; rest != 0; rest &= rest - 1, ++child) {
      const Bits way = withChunk(bits, depth, static_cast<unsigned>(std::countr_zero(rest)));
      if (way.sharesFirst(within, depth + stride < shared ? depth + stride : shared)) {
         standings(*child, depth + stride, way, within, shared, visit);
      }
   }
   if (depth == groupDepth && !publishes_) {
      for (U64 absent = ~n.children; absent != 0; absent &= absent - 1) {
         visit(withChunk(bits, depth, static_cast<unsigned>(std::countr_zero(absent))), aboveBit | at);
      }
   }
}

template <unsigned width>
template <class Visit>
void Tree<width>::eachPage(U32 block, unsigned level, Visit&& visit) const {
   if (level != 0) {
      for (unsigned i = 0; i < 1u << stride; ++i) {
         if (const U32 below = page(block)[i]; below != 0) {
            eachPage(below, level - 1, visit);
         }
      }
   }
   visit(block, pageUnits, level);
}

// The first page has a level of its own, one above the others, and its parts the level between.
template <unsigned width>
template <class Visit>
void Tree<width>::eachPageOfIndex(U32 top, Visit&& visit) const {
   if (hasParts_) {
      eachPage(top, pageLevels + 1, visit);
      return;
   }
   for (unsigned i = 0; i < 1u << topBits; ++i) {
      if (const U32 below = page(top)[i]; below != 0) {
         eachPage(below, pageLevels - 1, visit);
      }
   }
   visit(top, topUnits, pageLevels);
}

}  // namespace routetrie::Impl
