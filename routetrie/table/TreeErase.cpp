// How a route goes, and how what it leaves takes its one shape again. Nothing of this needs memory, but where there are versions, from
// which what is to be written is copied first: runs give units of their end back.
#include <cstring>
#include <optional>

#include "routetrie/table/Tree.h"

namespace routetrie::Impl {

// A node's block is to have fewer units.
template <unsigned width>
void Tree<width>::shrink(U32 at, unsigned from, unsigned to) noexcept {
   if (to != from) {
      store_->retire(Store::ofNodes, at + to, from - to);
   }
}

template <unsigned width>
void Tree<width>::dropRoute(U32 at, unsigned half, unsigned place) noexcept {
   Node& n = node(at);
   const unsigned routes = n.routeCount();
   const unsigned children = n.childCount();
   const unsigned from = unitsFor(children, routes);
   const unsigned to = unitsFor(children, routes - 1);
   if (from != to) {
      store_->nodes.prefetch(at);
   }
   const unsigned start = valuesFrom(children, step());
   const unsigned gap = start + valueRank(n, half, place) * step();
   std::memmove(n.bytes() + gap, n.bytes() + gap + step(), start + (routes - 1) * step() - gap);
   n.routes[half] &= ~(U64{1} << place);
   shrink(at, from, to);
}

// The child itself is the caller's.
template <unsigned width>
void Tree<width>::dropChild(U32 at, unsigned chunk) noexcept {
   Node& n = node(at);
   const unsigned routes = n.routeCount();
   const unsigned children = n.childCount();
   const unsigned rank = childRank(n.children, chunk);
   std::memmove(n.numbers() + rank, n.numbers() + rank + 1, std::size_t{children - 1 - rank} * 4);
   std::memmove(n.bytes() + valuesFrom(children - 1, step()), n.bytes() + valuesFrom(children, step()),
                std::size_t{routes} * step());
   n.children &= ~(U64{1} << chunk);
   shrink(at, unitsFor(children, routes), unitsFor(children - 1, routes));
}

// The leaf that stands for a node with one route and nothing else.
template <unsigned width>
Node Tree<width>::leafFrom(const Node& n, Bits bits, unsigned depth) const noexcept {
   const unsigned half = n.routes[1] != 0 ? 1 : 0;
   const auto place = static_cast<unsigned>(std::countr_zero(n.routes[half]));
   const Place where = places[place];
   Node leaf =
      compressedNode(cutWithChunk(bits, depth, half << 5 | where.low), depth + where.length, Node::leafBit, 0);
   std::memcpy(&leaf.routes[1], n.bytes() + Node::headerBytes, valueSize_);
   return leaf;
}

// Brings a node at `depth`, to which these bits lead, to its one shape, what is under it having its own. Whether it is compressed now.
// Nodes with one route or child and nothing else have one unit, as the compressed ones have.
template <unsigned width>
bool Tree<width>::shape(Node& n, Bits bits, unsigned depth) noexcept {
   const auto isAlone = [](const Node& x) { return x.children == 0 && x.routeCount() == 1; };
   const auto isThin = [](const Node& x) { return !x.hasRoutes() && x.childCount() == 1; };
   const bool isSkip = n.isCompressed();
   if (isSkip ? n.isLeaf() : !isThin(n)) {
      return isSkip;
   }
   // The one node that it leads to, and the bits and the depth to there.
   const U32 run = isSkip ? n.target() : n.numbers()[0];
   const unsigned at = isSkip ? n.length() : depth + stride;
   const Bits way =
      isSkip ? keyOf<width>(n) : cutWithChunk(bits, depth, static_cast<unsigned>(std::countr_zero(n.children)));
   const Node next = node(run);
   if (next.isCompressed()) {
      n = next;
   } else if (isThin(next)) {
      const Bits further = withChunk(way, at, static_cast<unsigned>(std::countr_zero(next.children)));
      const Node end = node(next.numbers()[0]);
      if (end.isCompressed()) {
         n = end;
         store_->retire(Store::ofNodes, next.numbers()[0], 1);
      } else if (isAlone(end)) {
         n = leafFrom(end, further, at + stride);
         store_->retire(Store::ofNodes, next.numbers()[0], 1);
      } else {
         n = compressedNode(further, at + stride, 0, next.numbers()[0]);
      }
   } else if (isSkip && isAlone(next)) {
      n = leafFrom(next, way, at);
   } else {
      return isSkip;
   }
   store_->retire(Store::ofNodes, run, 1);
   return true;
}

template <unsigned width>
bool Tree<width>::erase(Bits bits, unsigned length, void* oldValue) {
   if (tend()) [[unlikely]] {
      prepareErase(bits, length);
   }
   if (length == 0) {
      if (!hasDefault_) {
         return false;
      }
      if (oldValue != nullptr) {
         std::memcpy(oldValue, &default_, valueSize_);
      }
      hasDefault_ = false;
      --size_;
      ++generation_;
      resizeIndex();
      return true;
   }
   if (root_ == 0) {
      return false;
   }
   struct Step {
      U32 at;
      unsigned depth;
   };
   Step path[levels];
   unsigned steps = 0;
   // Down to the node that the change begins at; from the root, or from where the index says.
   const auto descend = [&](U32 at, unsigned depth, unsigned until) {
      for (;;) {
         if (depth >= until) {
            return at;
         }
         path[steps++] = {at, depth};
         const Node& n = node(at);
         if (n.isCompressed()) {
            if (n.isLeaf() || n.length() >= length || !keyOf<width>(n).sharesFirst(bits, n.length())) {
               return at;
            }
            at = n.target();
            depth = n.length();
            continue;
         }
         const unsigned chunk = chunkAt(bits, depth);
         if (length <= depth + stride || (n.children >> chunk & 1) == 0) {
            return at;
         }
         at = childNumber(n, chunk);
         depth += stride;
      }
   };
   unsigned startDepth = 0;
   const U32 start = startFor(bits, length, startDepth);
   descend(start, startDepth, width);
   Node& last = node(path[steps - 1].at);
   bool isGone = false;  // the node has nothing left, and its parent has to let it go
   if (last.isCompressed()) {
      if (!last.isLeaf() || last.length() != length || keyOf<width>(last) != bits) {
         return false;
      }
      if (oldValue != nullptr) {
         std::memcpy(oldValue, last.leafValue(), valueSize_);
      }
      isGone = true;
   } else {
      const unsigned depth = path[steps - 1].depth;
      const unsigned chunk = chunkAt(bits, depth);
      const unsigned half = chunk >> 5;
      if (length > depth + stride) {
         return false;
      }
      const unsigned place = placeOf(length - depth, chunk & 31);
      if ((last.routes[half] >> place & 1) == 0) {
         return false;
      }
      if (oldValue != nullptr) {
         std::memcpy(oldValue, valueOf(last, half, place), valueSize_);
      }
      dropRoute(path[steps - 1].at, half, place);
   }

   unsigned changedDepth = isGone ? path[steps - 1].depth : width;  // of the highest node that is another now
   std::optional<Bits> compressed;
   // Up, as long as what changed can make a difference above.
   for (unsigned i = steps; i-- != 0;) {
      if (i == 0 && path[0].at != root_) {
         if (!isGone && !isBare(node(path[0].at))) {
            break;
         }
         const Step here = path[0];
         steps = 0;
         descend(root_, 0, here.depth);
         i = steps;
         path[i] = here;
      }
      Node& n = node(path[i].at);
      const unsigned depth = path[i].depth;
      if (isGone) {
         // Its parent is not compressed: a skip leads to no leaf, and to nothing that one route leaves empty.
         const Step& parent = path[i - 1];
         store_->retire(Store::ofNodes, path[i].at, 1);
         dropChild(parent.at, chunkAt(bits, parent.depth));
         if (parent.depth == groupDepth) {
            touchChild(parent.at, bits);
         }
         isGone = false;
         continue;
      }
      if (depth == 0 || !isBare(n)) {
         break;
      }
      changedDepth = depth;
      if (!n.isCompressed() && !n.hasRoutes() && n.children == 0) {
         isGone = true;
         ++i;
         continue;
      }
      if (shape(n, bits, depth)) {
         compressed = keyOf<width>(n);
      }
   }
   --size_;
   ++generation_;
   if (changedDepth < indexDepth) {  // the children of one at the group's depth are told already
      touchGroup(bits);
      if (compressed) {
         touchGroup(*compressed);
      }
   }
   resizeIndex();
   return true;
}

template bool Tree<32>::erase(Bits, unsigned, void*);
template bool Tree<128>::erase(Bits, unsigned, void*);

}  // namespace routetrie::Impl
