// How a route goes, and how what it leaves takes its one shape again. Nothing of this needs memory, but where there are versions, from
// which what is to be written is copied first: runs give units of their end back.
#include <cstring>
#include <optional>

#include "routetrie/table/Tree.h"

namespace routetrie::Impl {

template <unsigned width>
void Tree<width>::dropRoute(Node& n, unsigned half, unsigned place) noexcept {
   const unsigned count = n.routeCount();
   const unsigned before = static_cast<unsigned>(std::popcount(n.routes[1]));
   const unsigned rank = static_cast<unsigned>(std::popcount(below(n.routes[half], place)));
   const U32 start = valuesStart(n);
   if (step() != 0) {
      store_->values.prefetch(start / 2);
   }
   n.routes[half] &= ~(U64{1} << place);
   if (step() == 0) {
      return;
   }
   const unsigned gap = half != 0 ? before - 1 - rank : before + rank;
   std::byte* const values = valueAt(start);
   std::memmove(values + gap * step(), values + (gap + 1) * step(), (count - 1 - gap) * step());
   n.valueRun = count == 1 ? 0 : start + before - half;
   if (const unsigned room = valueUnits(count), rest = valueUnits(count - 1); rest != room) {
      store_->retire(Store::ofValues, start / 2 + rest, room - rest);
   }
}

template <unsigned width>
void Tree<width>::dropChild(Node& n, unsigned chunk) noexcept {
   const unsigned count = n.childCount();
   const unsigned rank = childRank(n.children, chunk);
   Node* const children = &node(n.childRun);
   std::memmove(children + rank, children + rank + 1, (count - 1 - rank) * sizeof(Node));
   n.children &= ~(U64{1} << chunk);
   if (const unsigned room = runRoom(count), rest = runRoom(count - 1); rest != room) {
      store_->retire(Store::ofNodes, n.childRun + rest, room - rest);
   }
   if (count == 1) {
      n.childRun = 0;
   }
}

// The leaf that stands for a node with one route and nothing else; its run of values is freed.
template <unsigned width>
Node Tree<width>::leafFrom(const Node& n, Bits bits, unsigned depth) noexcept {
   const unsigned half = n.routes[1] != 0 ? 1 : 0;
   const auto place = static_cast<unsigned>(std::countr_zero(n.routes[half]));
   const Place where = places[place];
   Node leaf = compressedNode(withChunk(bits.cut(depth), depth, half << 5 | where.low), depth + where.length,
                              Node::leafBit, 0);
   if (step() != 0) {
      std::memcpy(&leaf.routes[1], valueOf(n, half, place), valueSize_);
      store_->retire(Store::ofValues, valuesStart(n) / 2, 1);
   }
   return leaf;
}

// Brings a node at `depth`, to which these bits lead, to its one shape, what is under it having its own. Whether it is compressed now.
template <unsigned width>
bool Tree<width>::shape(Node& n, Bits bits, unsigned depth) noexcept {
   const auto isAlone = [](const Node& x) { return x.children == 0 && x.routeCount() == 1; };
   const auto isThin = [](const Node& x) { return !x.hasRoutes() && x.childCount() == 1; };
   const bool isSkip = n.isCompressed();
   if (isSkip ? n.isLeaf() : !isThin(n)) {
      return isSkip;
   }
   // The one node that it leads to, and the bits and the depth to there.
   const U32 run = isSkip ? n.target() : n.childRun;
   const unsigned at = isSkip ? n.length() : depth + stride;
   const Bits way = isSkip ? keyOf<width>(n)
                           : withChunk(bits.cut(depth), depth, static_cast<unsigned>(std::countr_zero(n.children)));
   const Node next = node(run);
   if (next.isCompressed()) {
      n = next;
   } else if (isThin(next)) {
      const Bits further = withChunk(way, at, static_cast<unsigned>(std::countr_zero(next.children)));
      const Node end = node(next.childRun);
      if (end.isCompressed()) {
         n = end;
         store_->retire(Store::ofNodes, next.childRun, 1);
      } else if (isAlone(end)) {
         n = leafFrom(end, further, at + stride);
         store_->retire(Store::ofNodes, next.childRun, 1);
      } else {
         n = compressedNode(further, at + stride, 0, next.childRun);
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
         at = n.childRun + childRank(n.children, chunk);
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
      dropRoute(last, half, place);
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
         Node& parent = node(path[i - 1].at);
         dropChild(parent, chunkAt(bits, path[i - 1].depth));
         touchRun(parent, bits, path[i - 1].depth);
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
