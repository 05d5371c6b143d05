// The index: what it has to say is told by the nodes alone, so it may be made, dropped and left away in parts at any time.
#include <algorithm>
#include <cstring>
#include <new>
#include <utility>

#include "routetrie/table/TreeStandings.h"

namespace routetrie::Impl {

template <unsigned width>
U32* Tree<width>::slotOf(Bits bits) const noexcept {
   const U64 high = highBits(bits);
   U32 block = topAt(index_, high);
   for (unsigned depth = topBits; block != 0 && depth != groupDepth; depth += stride) {
      block = page(block)[slotAt(high, depth)];
   }
   return block != 0 ? page(block) + slotAt(high, groupDepth) : nullptr;
}

// The node at a depth for these bits, or the compressed one on the way that spans it; 0: none.
template <unsigned width>
U32 Tree<width>::standing(Bits bits, unsigned atDepth) const noexcept {
   U32 at = root_;
   for (unsigned depth = 0; depth != atDepth;) {
      const Node& n = node(at);
      if (n.isCompressed()) {
         const unsigned length = n.length();
         if (n.isLeaf() || length > atDepth) {
            return length >= atDepth && keyOf<width>(n).sharesFirst(bits, atDepth) ? at : 0;
         }
         if (!keyOf<width>(n).sharesFirst(bits, length)) {
            return 0;
         }
         depth = length;
         at = n.target();
         continue;
      }
      const unsigned chunk = chunkAt(bits, depth);
      if ((n.children >> chunk & 1) == 0) {
         return 0;
      }
      at = childNumber(n, chunk);
      depth += stride;
   }
   return at;
}

// A page for these bits, empty; null if it would not pay, or without memory. Requires: the index is there, the page is not.
template <unsigned width>
U32* Tree<width>::openPage(Bits bits) noexcept {
   if (index_ == 0 || (pages_ + 2) * pageBytes + topBytes > size_ * indexBytesARoute) {
      return nullptr;
   }
   const U64 high = highBits(bits);
   try {
      U32* block = &ownTopAt(high);
      for (unsigned depth = topBits;; depth += stride) {
         if (*block == 0) {
            *block = emptyPage(pageUnits);
            ++pages_;
         } else {
            ownPage(*block, pageUnits);
         }
         if (depth == groupDepth) {
            return slotOf(bits);
         }
         block = page(*block) + slotAt(high, depth);
      }
   } catch (const std::bad_alloc&) {
      return nullptr;
   }
}

template <unsigned width>
U32 Tree<width>::emptyPage(unsigned units) {
   const U32 block = store_->pages().allocate(units);
   std::memset(page(block), 0, std::size_t{units} << Region::unitShift);
   return block;
}

// Tries to give back an index whose pages could not be retired.
template <unsigned width>
void Tree<width>::dropLostIndex() noexcept {
   if (store_ != nullptr && store_->lostIndex() != 0) {
      index_ = store_->lostIndex();
      store_->loseIndex(0);
      dropIndex();
   }
}

// An index of which nothing is filled. Whether there was memory for it.
template <unsigned width>
bool Tree<width>::beginIndex() noexcept {
   dropLostIndex();
   if (root_ == 0 || store_->lostIndex() != 0) {
      return false;
   }
   try {
      store_->needPages();
      index_ = emptyPage(topRoom());
   } catch (const std::bad_alloc&) {
      return false;
   }
   pages_ = 0;
   topsToFill_ = 1u << topBits;
   return true;
}

// All of it at once, for a tree that is made or given away as a whole.
template <unsigned width>
void Tree<width>::buildIndex() noexcept {
   if (beginIndex()) {
      topsToFill_ = 0;
      fillIndex(Bits(), 0);
   }
}

// What there is to say of bits that share the first `shared` with these.
template <unsigned width>
void Tree<width>::fillIndex(Bits within, unsigned shared) noexcept {
   standings(root_, 0, Bits(), within, shared, [&](Bits bits, U32 at) {
      if ((at & aboveBit) == 0 && slotOf(bits) == nullptr && openPage(bits) != nullptr) {
         fillPage(bits);
      }
   });
}

// A little of it, so that no single change takes a millisecond.
template <unsigned width>
void Tree<width>::fillSome() noexcept {
   const U32 enough = pages_ + pagesAtOnce;
   for (unsigned n = 0; n < topsAtOnce && topsToFill_ != 0 && pages_ < enough; ++n) {
      --topsToFill_;
      using Word = typename Bits::Word;
      fillIndex(Bits(static_cast<Word>(Word{topsToFill_} << (width - topBits))), topBits);
   }
}

// Writes what the index has to say of the bits that one page is for. Requires: the page is there, and empty.
template <unsigned width>
void Tree<width>::fillPage(Bits bits) noexcept {
   standings(root_, 0, Bits(), bits, groupDepth, [&](Bits way, U32 number) { *slotOf(way) = number; });
}

// Makes a page the tree's own, so that it may be written. Requires: where its number stands may be written.
template <unsigned width>
void Tree<width>::ownPage(U32& block, unsigned units) {
   if (!store_->isVersioned() || store_->pages().owns(block)) {
      return;
   }
   store_->makeRoom();
   const U32 copy = store_->pages().allocate(units);
   std::memcpy(page(copy), page(block), std::size_t{units} << Region::unitShift);
   store_->retireOthers(Store::ofPages, block, units);
   block = copy;
}

// Brings the first page to parts, all of them the tree's own.
template <unsigned width>
void Tree<width>::cutTop() {
   Arena& pages = store_->pages();
   store_->makeRoom();
   U32 parts[1 + (1u << stride)]{};
   unsigned count = 0;
   try {
      for (U32& part : parts) {
         part = pages.allocate(pageUnits);
         ++count;
      }
   } catch (...) {
      while (count != 0) {
         pages.release(parts[--count], pageUnits);
      }
      throw;
   }
   std::memcpy(page(parts[0]), parts + 1, pageBytes);
   for (unsigned i = 0; i < 1u << stride; ++i) {
      std::memcpy(page(parts[1 + i]), page(index_) + (std::size_t{i} << stride), pageBytes);
   }
   store_->retireOthers(Store::ofPages, index_, topUnits);
   index_ = parts[0];
   hasParts_ = true;
}

template <unsigned width>
U32& Tree<width>::ownTopAt(U64 high) {
   if (!hasParts_ && store_->isVersioned() && !store_->pages().owns(index_)) {
      cutTop();
   }
   ownPage(index_, topRoom());
   if (!hasParts_) {
      return page(index_)[high >> (64 - topBits)];
   }
   U32& part = page(index_)[slotAt(high, 0)];
   if (part == 0) {
      part = emptyPage(pageUnits);
   } else {
      ownPage(part, pageUnits);
   }
   return page(part)[slotAt(high, stride)];
}

template <unsigned width>
U32* Tree<width>::ownSlotOf(Bits bits) noexcept {
   U32* const slot = slotOf(bits);
   // Where a page is the tree's own, so is all that leads to it.
   if (slot == nullptr || !isVersioned() || store_->pages().owns(pageOf(slot))) {
      return slot;
   }
   const U64 high = highBits(bits);
   try {
      U32* block = &ownTopAt(high);
      ownPage(*block, pageUnits);
      for (unsigned depth = topBits; depth != groupDepth; depth += stride) {
         block = page(*block) + slotAt(high, depth);
         ownPage(*block, pageUnits);
      }
      return page(*block) + slotAt(high, groupDepth);
   } catch (const std::bad_alloc&) {
      dropIndex();
      return nullptr;
   }
}

template <unsigned width>
void Tree<width>::dropIndex() noexcept {
   if (index_ == 0) {
      return;
   }
   topsToFill_ = 0;
   const U32 top = std::exchange(index_, 0);
   const U32 pages = std::exchange(pages_, 0);
   try {
      store_->makeRoom(pages + 1 + (hasParts_ ? std::size_t{1} << stride : 0) + Store::mostRetired);
   } catch (const std::bad_alloc&) {
      store_->loseIndex(top);
      pages_ = pages;
      return;
   }
   eachPageOfIndex(top, [&](U32 block, unsigned units, unsigned) { store_->retire(Store::ofPages, block, units); });
}

// What the index has to say of all bits that share these up to the group's depth is told anew.
template <unsigned width>
void Tree<width>::touchGroup(Bits bits) noexcept {
   if (index_ == 0) {
      return;
   }
   U32* const slots = ownSlotOf(bits.cut(groupDepth));
   if (slots == nullptr) {
      if (standing(bits, indexDepth) != 0 && openPage(bits) != nullptr) {
         fillPage(bits);
      }
      return;
   }
   const U32 at = standing(bits, groupDepth);
   if (at != 0 && !node(at).isCompressed()) {
      writeGroup(slots, at);
      return;
   }
   std::fill_n(slots, std::size_t{1} << stride, U32{0});
   if (at != 0) {
      standings(at, groupDepth, bits.cut(groupDepth), Bits(), 0,
                [&](Bits way, U32 number) { *slotOf(way) = number; });
   }
}

// The 64 numbers of the index for a node at the group's depth.
template <unsigned width>
void Tree<width>::writeGroup(U32* slots, U32 at) noexcept {
   std::fill_n(slots, std::size_t{1} << stride, publishes_ ? 0 : aboveBit | at);
   const Node& n = node(at);
   const U32* child = n.numbers();
   for (U64 rest = n.children; rest != 0; rest &= rest - 1) {
      slots[std::countr_zero(rest)] = *child++;
   }
}

template <unsigned width>
void Tree<width>::touchChild(U32 parent, Bits bits) noexcept {
   if (index_ == 0) {
      return;
   }
   const Node& n = node(parent);
   const unsigned chunk = chunkAt(bits, groupDepth);
   const bool isThere = (n.children >> chunk & 1) != 0;
   if (U32* const slot = ownSlotOf(bits); slot != nullptr) {
      *slot = isThere ? childNumber(n, chunk) : publishes_ ? 0 : aboveBit | parent;
   } else if (isThere && openPage(bits) != nullptr) {
      fillPage(bits);
   }
}

template <unsigned width>
void Tree<width>::touchKnown(U32 at, Bits bits, unsigned depth) noexcept {
   const Node& n = node(at);
   if (depth == indexDepth) {
      if (U32* const slot = ownSlotOf(bits); slot != nullptr) {
         *slot = at;
      }
   } else if (n.isCompressed()) {
      if (n.isLeaf() ? n.length() >= indexDepth : n.length() > indexDepth) {
         if (U32* const slot = ownSlotOf(keyOf<width>(n)); slot != nullptr) {
            *slot = at;
         }
      }
   } else if (U32* const slots = ownSlotOf(bits.cut(groupDepth)); slots != nullptr) {
      writeGroup(slots, at);
   }
}

// The index comes when it begins to pay and goes a good deal later than that, so that a route that comes and goes moves nothing.
template <unsigned width>
void Tree<width>::resizeIndex() noexcept {
   if (index_ == 0) {
      // Tried anew now and then, should there have been no memory.
      if (size_ >= indexFrom && size_ % 1024 == 0) {
         beginIndex();
      }
   } else if (size_ <= indexUntil) {
      dropIndex();
   } else if (topsToFill_ != 0) {
      fillSome();
   }
}

template U32* Tree<32>::slotOf(Bits) const noexcept;
template U32* Tree<128>::slotOf(Bits) const noexcept;
template U32& Tree<32>::ownTopAt(U64);
template U32& Tree<128>::ownTopAt(U64);
template U32* Tree<32>::ownSlotOf(Bits) noexcept;
template U32* Tree<128>::ownSlotOf(Bits) noexcept;
template void Tree<32>::cutTop();
template void Tree<128>::cutTop();
template void Tree<32>::ownPage(U32&, unsigned);
template void Tree<128>::ownPage(U32&, unsigned);
template U32 Tree<32>::emptyPage(unsigned);
template U32 Tree<128>::emptyPage(unsigned);
template U32 Tree<32>::standing(Bits, unsigned) const noexcept;
template U32 Tree<128>::standing(Bits, unsigned) const noexcept;
template U32* Tree<32>::openPage(Bits) noexcept;
template U32* Tree<128>::openPage(Bits) noexcept;
template void Tree<32>::dropLostIndex() noexcept;
template void Tree<128>::dropLostIndex() noexcept;
template bool Tree<32>::beginIndex() noexcept;
template bool Tree<128>::beginIndex() noexcept;
template void Tree<32>::buildIndex() noexcept;
template void Tree<128>::buildIndex() noexcept;
template void Tree<32>::fillIndex(Bits, unsigned) noexcept;
template void Tree<128>::fillIndex(Bits, unsigned) noexcept;
template void Tree<32>::fillSome() noexcept;
template void Tree<128>::fillSome() noexcept;
template void Tree<32>::dropIndex() noexcept;
template void Tree<128>::dropIndex() noexcept;
template void Tree<32>::fillPage(Bits) noexcept;
template void Tree<128>::fillPage(Bits) noexcept;
template void Tree<32>::writeGroup(U32*, U32) noexcept;
template void Tree<128>::writeGroup(U32*, U32) noexcept;
template void Tree<32>::touchGroup(Bits) noexcept;
template void Tree<128>::touchGroup(Bits) noexcept;
template void Tree<32>::touchChild(U32, Bits) noexcept;
template void Tree<128>::touchChild(U32, Bits) noexcept;
template void Tree<32>::touchKnown(U32, Bits, unsigned) noexcept;
template void Tree<128>::touchKnown(U32, Bits, unsigned) noexcept;
template void Tree<32>::resizeIndex() noexcept;
template void Tree<128>::resizeIndex() noexcept;

}  // namespace routetrie::Impl
