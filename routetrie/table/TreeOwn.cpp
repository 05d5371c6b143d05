// Versions: how a tree is kept as it is while it changes, by copying what others have seen before it is written.
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

// Makes all nodes on the way to a route the tree's own, with what the index says of them; the last one only if all are to be, as
// what is put into it may move it anyhow. It is returned. That changes nothing that anybody can see; so what raises std::bad_alloc on
// the way may leave some of it done.
template <unsigned width>
typename Tree<width>::Start Tree<width>::own(Bits bits, unsigned length, bool all) {
   store_->makeRoom();
   Start start{root_, 0, &root_};
   // Where a node is the tree's own, all that leads to it is; where it is not, nothing under it is.
   bool mayBeOwn = store_->nodes.ownsSome();
   if (mayBeOwn) {
      unsigned depth = 0;
      if (const U32 at = startFor(bits, length, depth); depth != 0 && store_->nodes.owns(at)) {
         start = {at, depth, nullptr};
      }
   }
   for (;;) {
      const Node& seen = node(start.at);
      const unsigned chunk = chunkAt(bits, start.depth);
      const bool isLast = seen.isCompressed() ? seen.isLeaf() || seen.length() >= length ||
                                                   !keyOf<width>(seen).sharesFirst(bits, seen.length())
                                              : length <= start.depth + stride || (seen.children >> chunk & 1) == 0;
      mayBeOwn = mayBeOwn && (start.link == nullptr || store_->nodes.owns(start.at));
      if ((all || !isLast) && !mayBeOwn) {
         start.at = ownNode(start.at);
         std::memcpy(start.link, &start.at, sizeof start.at);
         touchMoved(start.at, bits, start.depth);
      }
      if (isLast) {
         break;
      }
      // What stands in the copy is read where it was copied from, as that is at hand.
      Node& n = node(start.at);
      if (seen.isCompressed()) {
         start = {seen.target(), seen.length(), &n.routes[1]};
      } else {
         const U32 rank = childRank(seen.children, chunk);
         start = {seen.numbers()[rank], start.depth + stride, n.numbers() + rank};
      }
   }
   store_->makeRoom();
   return start;
}

template <unsigned width>
void Tree<width>::prepareErase(Bits bits, unsigned length) {
   if (!isVersioned()) {
      return;
   }
   if (length == 0) {
      store_->makeRoom();
   } else {
      fetchWay(bits, length);
      if (find(bits, length) != nullptr) {
         own(bits, length, true);
      }
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
template Tree<32>::Start Tree<32>::own(Bits, unsigned, bool);
template Tree<128>::Start Tree<128>::own(Bits, unsigned, bool);
template void Tree<32>::prepareErase(Bits, unsigned);
template void Tree<128>::prepareErase(Bits, unsigned);

}  // namespace routetrie::Impl
