// Versions: how a tree is kept as it is while it changes, by copying what others have seen before it is written.
#include <cstring>
#include <new>

#include "routetrie/table/Tree.h"

namespace routetrie::Impl {

template <unsigned width>
Tree<width> Tree<width>::frozen() const noexcept {
   Tree version(valueSize_);
   version.publishes_ = publishes_;
   version.base_ = base_;
   version.size_ = size_;
   version.generation_ = generation_;
   version.default_ = default_;
   version.root_ = root_;
   version.index_ = index_;
   version.pages_ = pages_;
   version.hasDefault_ = hasDefault_;
   return version;
}

template <unsigned width>
const std::shared_ptr<Store>& Tree<width>::store() {
   needStore();
   return store_;
}

template <unsigned width>
void Tree<width>::startPublishing() {
   needStore();
   // It has another form from now on.
   dropIndex();
   dropLostIndex();
   if (store_->lostIndex() != 0) {
      throw std::bad_alloc();
   }
   store_->startPublishing();
   publishes_ = true;
   if (size_ >= indexFrom) {
      buildIndex();
   }
}

template <unsigned width>
bool Tree<width>::tend() noexcept {
   if (store_ == nullptr) {
      return false;
   }
   store_->tend();
   return store_->isVersioned();
}

// A copy of a run of nodes. Requires: what leads to it is written next.
template <unsigned width>
U32 Tree<width>::ownRun(U32 run, unsigned count) {
   store_->makeRoom();
   const unsigned units = runRoom(count);
   const U32 copy = store_->nodes.allocate(units);
   std::memcpy(&node(copy), &node(run), count * sizeof(Node));
   store_->retire(Store::ofNodes, run, units);
   ++generation_;
   return copy;
}

template <unsigned width>
void Tree<width>::ownValues(Node& n) {
   const unsigned count = n.routeCount();
   if (count == 0 || step() == 0 || store_->values.owns(valuesStart(n) / 2)) {
      return;
   }
   store_->makeRoom();
   const U32 start = valuesStart(n);
   const U32 copy = 2 * store_->values.allocate(valueUnits(count));
   std::memcpy(valueAt(copy), valueAt(start), std::size_t{count} * step());
   n.valueRun += copy - start;
   store_->retire(Store::ofValues, start / 2, valueUnits(count));
   ++generation_;
}

// Makes all nodes on the way to a route the tree's own, with what the index says of them, and on demand the values beside its own. That
// changes nothing that anybody can see; so what raises std::bad_alloc on the way may leave some of it done.
template <unsigned width>
void Tree<width>::own(Bits bits, unsigned length, bool writesValue) {
   unsigned depth = 0;
   U32 at = startFor(bits, length, depth);
   // Where a node is the tree's own, all that leads to it is.
   if (depth == 0 || !store_->nodes.owns(at)) {
      depth = 0;
      at = root_;
      if (!store_->nodes.owns(root_)) {
         at = root_ = ownRun(root_, 1);
      }
   }
   for (;;) {
      Node& n = node(at);
      if (n.isCompressed()) {
         if (n.isLeaf() || n.length() >= length || !keyOf<width>(n).sharesFirst(bits, n.length())) {
            break;
         }
         depth = n.length();
         if (!store_->nodes.owns(n.target())) {
            n.routes[1] = ownRun(n.target(), 1);
            if (depth == indexDepth || depth == groupDepth) {
               touchGroup(bits);
            }
         }
         at = n.target();
         continue;
      }
      const unsigned chunk = chunkAt(bits, depth);
      if (length <= depth + stride) {
         if (writesValue) {
            ownValues(n);
         }
         break;
      }
      if ((n.children >> chunk & 1) == 0) {
         break;
      }
      if (!store_->nodes.owns(n.childRun)) {
         n.childRun = ownRun(n.childRun, n.childCount());
         touchRun(n, bits, depth);
      }
      at = n.childRun + childRank(n.children, chunk);
      depth += stride;
   }
   store_->makeRoom();
}

template <unsigned width>
void Tree<width>::prepareErase(Bits bits, unsigned length) {
   if (!isVersioned()) {
      return;
   }
   if (length == 0) {
      store_->makeRoom();
   } else if (find(bits, length) != nullptr) {
      own(bits, length, true);
   }
}

template Tree<32> Tree<32>::frozen() const noexcept;
template Tree<128> Tree<128>::frozen() const noexcept;
template const std::shared_ptr<Store>& Tree<32>::store();
template const std::shared_ptr<Store>& Tree<128>::store();
template void Tree<32>::startPublishing();
template void Tree<128>::startPublishing();
template bool Tree<32>::tend() noexcept;
template bool Tree<128>::tend() noexcept;
template void Tree<32>::own(Bits, unsigned, bool);
template void Tree<128>::own(Bits, unsigned, bool);
template void Tree<32>::prepareErase(Bits, unsigned);
template void Tree<128>::prepareErase(Bits, unsigned);

}  // namespace routetrie::Impl
