// Versions: how a tree is kept as it is while it changes, by copying what others have seen before it is written.
#include <cstddef>
#include <cstring>
#include <new>

#include "routetrie/table/Tree.h"

namespace routetrie::Impl {

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
   hasParts_ = true;
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

// What a change reads and copies where each makes a version lies far apart, and most of it in no cache: the node that the index knows,
// the page that knows it, and the node above. So all of it is fetched at once, before the change begins.
template <unsigned width>
void Tree<width>::fetchWay(Bits bits, unsigned length) const noexcept {
   const auto fetch = [](const void* from, unsigned lines) {
      for (unsigned i = 0; i < lines; ++i) {
         __builtin_prefetch(static_cast<const std::byte*>(from) + 64 * i);
      }
   };
   if (!publishes_ || index_ == 0 || length <= groupDepth) {
      return;  // what else is copied is copied once; and the nodes above are few
   }
   const U32* const slot = slotOf(bits);
   if (slot != nullptr) {
      fetch(slot - slotAt(highBits(bits), groupDepth), pageBytes / 64);
   }
   U32 at = root_;
   for (unsigned depth = 0; depth != groupDepth; depth += stride) {
      const Node& n = node(at);
      const unsigned chunk = chunkAt(bits, depth);
      if (n.isCompressed() || (n.children >> chunk & 1) == 0) {
         break;
      }
      at = childNumber(n, chunk);
   }
   fetch(&node(at), 4);
   if (slot != nullptr) {
      fetch(&node(*slot & ~aboveBit), 2);
   }
}

// A copy of a node. Requires: what leads to it is written next; room for a note of it.
template <unsigned width>
U32 Tree<width>::ownNode(U32 at) {
   const unsigned units = unitsOf(node(at));
   const U32 copy = store_->nodes.allocate(units);
   std::memcpy(node(copy).bytes(), node(at).bytes(), units * sizeof(Node));
   store_->retireOthers(Store::ofNodes, at, units);
   ++generation_;
   return copy;
}

// The nodes on the way to a route or to where it would be: from the root, or from the one that the index knows if that is the tree's own.
template <unsigned width>
void Tree<width>::goTo(Way& way, Bits bits, unsigned length) const noexcept {
   U32 at = root_;
   unsigned depth = 0;
   if (store_->nodes.ownsSome()) {
      at = startFor(bits, length, depth);
      if (depth != 0 && !store_->nodes.owns(at)) {
         at = root_;
         depth = 0;
      }
   }
   for (way.count = 0;;) {
      const Node& n = node(at);
      typename Way::Step& step = way.steps[way.count++];
      step.at = at;
      step.depth = static_cast<U16>(depth);
      if (n.isCompressed()) {
         if (n.isLeaf() || n.length() >= length || !keyOf<width>(n).sharesFirst(bits, n.length())) {
            return;
         }
         step.next = offsetof(Node, routes) + sizeof n.routes[0];
         depth = n.length();
         at = n.target();
      } else {
         const unsigned chunk = chunkAt(bits, depth);
         if (length <= depth + stride || (n.children >> chunk & 1) == 0) {
            return;
         }
         const U32 rank = childRank(n.children, chunk);
         step.next = static_cast<U16>(Node::headerBytes + 4 * rank);
         depth += stride;
         at = n.numbers()[rank];
      }
   }
}

// The value of the route that the way leads to; null: it is not there.
template <unsigned width>
void* Tree<width>::routeAt(const Way& way, Bits bits, unsigned length) const noexcept {
   const typename Way::Step& last = way.last();
   Node& n = node(last.at);
   if (n.isCompressed()) {
      return n.isLeaf() && n.length() == length && keyOf<width>(n) == bits ? &n.routes[1] : nullptr;
   }
   if (length > last.depth + stride) {
      return nullptr;
   }
   const unsigned chunk = chunkAt(bits, last.depth);
   const unsigned place = placeOf(length - last.depth, chunk & 31);
   return (n.routes[chunk >> 5] >> place & 1) != 0 ? valueOf(n, chunk >> 5, place) : nullptr;
}

// Makes all nodes on the way the tree's own, with what the index says of them; the last one only if all are to be, as what is put
// into it may move it anyhow. It is returned. That changes nothing that anybody can see; so what raises std::bad_alloc on the way may
// leave some of it done.
template <unsigned width>
typename Tree<width>::Start Tree<width>::own(Way& way, Bits bits, bool all) {
   store_->makeRoom();
   const unsigned end = all ? way.count : way.count - 1;
   // Where a node is the tree's own, all that leads to it is.
   unsigned i = end;
   while (i != 0 && !store_->nodes.owns(way.steps[i - 1].at)) {
      --i;
   }
   const auto linkOf = [&](unsigned k) -> void* {
      return k != 0                    ? node(way.steps[k - 1].at).bytes() + way.steps[k - 1].next
             : way.steps[0].depth == 0 ? static_cast<void*>(&root_)
                                       : nullptr;
   };
   for (; i != end; ++i) {
      typename Way::Step& step = way.steps[i];
      step.at = ownNode(step.at);
      std::memcpy(linkOf(i), &step.at, sizeof step.at);
      touchMoved(step.at, bits, step.depth);
   }
   store_->makeRoom();
   return {way.last().at, way.last().depth, linkOf(way.count - 1)};
}

template <unsigned width>
void Tree<width>::prepareErase(Bits bits, unsigned length) {
   if (!isVersioned()) {
      return;
   }
   if (length == 0 || root_ == 0) {
      store_->makeRoom();
      return;
   }
   fetchWay(bits, length);
   Way way;
   goTo(way, bits, length);
   if (routeAt(way, bits, length) != nullptr) {
      own(way, bits, true);
   }
}

template const std::shared_ptr<Store>& Tree<32>::store();
template const std::shared_ptr<Store>& Tree<128>::store();
template void Tree<32>::startPublishing();
template void Tree<128>::startPublishing();
template bool Tree<32>::tend() noexcept;
template bool Tree<128>::tend() noexcept;
template void Tree<32>::fetchWay(Bits, unsigned) const noexcept;
template void Tree<128>::fetchWay(Bits, unsigned) const noexcept;
template void Tree<32>::goTo(Way&, Bits, unsigned) const noexcept;
template void Tree<128>::goTo(Way&, Bits, unsigned) const noexcept;
template void* Tree<32>::routeAt(const Way&, Bits, unsigned) const noexcept;
template void* Tree<128>::routeAt(const Way&, Bits, unsigned) const noexcept;
template Tree<32>::Start Tree<32>::own(Way&, Bits, bool);
template Tree<128>::Start Tree<128>::own(Way&, Bits, bool);
template void Tree<32>::prepareErase(Bits, unsigned);
template void Tree<128>::prepareErase(Bits, unsigned);

}  // namespace routetrie::Impl
