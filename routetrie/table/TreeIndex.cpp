// The index: what it has to say is told by the nodes alone, so it may be made, dropped and left away in parts at any time.
#include <algorithm>
#include <cstring>
#include <new>
#include <utility>

#include "routetrie/table/TreeStandings.h"

namespace routetrie::Impl {

template <unsigned width>
U32* Tree<width>::slotOf(Bits bits) const noexcept {
   if constexpr (width == 32) {
      const U32 block = topAt(index_, bits.word() >> 23);
      return block != 0 ? page(block) + (bits.word() >> 14 & 511) : nullptr;
   } else {
      const auto high = static_cast<U64>(bits.word() >> 64);
      const U32 middle = topAt(index_, static_cast<U32>(high >> 52));
      const U32 block = middle != 0 ? page(middle)[high >> 43 & 511] : 0;
      return block != 0 ? page(block) + (high >> 34 & 511) : nullptr;
   }
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
   const auto open = [&](U32& block) {
      const U32 opened = store_->pages().allocate(pageUnits);
      std::memset(page(opened), 0, pageBytes);
      block = opened;
      ++pages_;
   };
   try {
      if constexpr (width == 32) {
         open(ownTopAt(bits.word() >> 23));
      } else {
         const auto high = static_cast<U64>(bits.word() >> 64);
         U32& middle = ownTopAt(static_cast<U32>(high >> 52));
         if (middle == 0) {
            open(middle);
         } else {
            ownPage(middle, pageUnits);
         }
         open(page(middle)[high >> 43 & 511]);
      }
   } catch (const std::bad_alloc&) {
      return nullptr;
   }
   return slotOf(bits);
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

template <unsigned width>
void Tree<width>::buildIndex() noexcept {
   dropLostIndex();
   if (root_ == 0 || store_->lostIndex() != 0) {
      return;
   }
   try {
      store_->needPages();
      index_ = store_->pages().allocate(topRoom());
   } catch (const std::bad_alloc&) {
      return;
   }
   std::memset(page(index_), 0, std::size_t{topRoom()} << Region::unitShift);
   pages_ = 0;
   standings(root_, 0, Bits(), Bits(), 0, [&](Bits bits, U32 at) {
      if ((at & aboveBit) == 0 && slotOf(bits) == nullptr && openPage(bits) != nullptr) {
         fillPage(bits);
      }
   });
}

// Writes what the index has to say of the bits that one page is for. Requires: the page is there, and empty.
template <unsigned width>
void Tree<width>::fillPage(Bits bits) noexcept {
   standings(root_, 0, Bits(), bits, pageDepth, [&](Bits way, U32 number) { *slotOf(way) = number; });
}

// Makes a page the tree's own, so that it may be written: whether it was. Requires: where it stands may be written.
template <unsigned width>
bool Tree<width>::ownPage(U32& block, unsigned units) {
   if (!store_->isVersioned() || store_->pages().owns(block)) {
      return true;
   }
   store_->makeRoom();
   const U32 copy = store_->pages().allocate(units);
   std::memcpy(page(copy), page(block), std::size_t{units} << Region::unitShift);
   store_->retire(Store::ofPages, block, units);
   block = copy;
   return false;
}

template <unsigned width>
U32& Tree<width>::ownTopAt(U32 bits) {
   ownPage(index_, topRoom());
   if (!hasParts()) {
      return page(index_)[bits];
   }
   U32& part = page(index_)[bits >> partBits];
   if (part == 0) {
      const U32 made = store_->pages().allocate(partUnits);
      std::memset(page(made), 0, std::size_t{partUnits} << Region::unitShift);
      part = made;
   } else {
      ownPage(part, partUnits);
   }
   return page(part)[bits & ((1u << partBits) - 1)];
}

template <unsigned width>
U32* Tree<width>::ownSlotOf(Bits bits) noexcept {
   if (!isVersioned()) {
      return slotOf(bits);
   }
   if (slotOf(bits) == nullptr) {
      return nullptr;
   }
   try {
      if constexpr (width == 32) {
         ownPage(ownTopAt(bits.word() >> 23), pageUnits);
      } else {
         const auto high = static_cast<U64>(bits.word() >> 64);
         U32& middle = ownTopAt(static_cast<U32>(high >> 52));
         ownPage(middle, pageUnits);
         ownPage(page(middle)[high >> 43 & 511], pageUnits);
      }
      return slotOf(bits);
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
   const U32 top = std::exchange(index_, 0);
   const U32 pages = std::exchange(pages_, 0);
   try {
      store_->makeRoom(pages + 1 + (hasParts() ? 1u << (topBits - partBits) : 0) + Store::mostRetired);
   } catch (const std::bad_alloc&) {
      store_->loseIndex(top);
      pages_ = pages;
      return;
   }
   for (unsigned i = 0; i < 1u << topBits; ++i) {
      const U32 first = topAt(top, i);
      if (first == 0) {
         continue;
      }
      if constexpr (width == 128) {
         for (unsigned j = 0; j < 1u << pageBits; ++j) {
            if (const U32 block = page(first)[j]; block != 0) {
               store_->retire(Store::ofPages, block, pageUnits);
            }
         }
      }
      store_->retire(Store::ofPages, first, pageUnits);
   }
   for (unsigned i = 0; hasParts() && i < 1u << (topBits - partBits); ++i) {
      if (const U32 part = page(top)[i]; part != 0) {
         store_->retire(Store::ofPages, part, partUnits);
      }
   }
   store_->retire(Store::ofPages, top, topRoom());
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
void Tree<width>::touchMoved(U32 at, Bits bits, unsigned depth) noexcept {
   if (index_ == 0 || depth > indexDepth) {
      return;
   }
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
   } else if (depth == groupDepth && !publishes_) {
      if (U32* const slots = ownSlotOf(bits.cut(groupDepth)); slots != nullptr) {
         writeGroup(slots, at);
      }
   }
}

// The index comes when it begins to pay and goes a good deal later than that, so that a route that comes and goes moves nothing.
template <unsigned width>
void Tree<width>::resizeIndex() noexcept {
   if (index_ == 0) {
      // Tried anew now and then, should there have been no memory.
      if (size_ >= indexFrom && size_ % 1024 == 0) {
         buildIndex();
      }
   } else if (size_ <= indexUntil) {
      dropIndex();
   }
}

template U32* Tree<32>::slotOf(Bits) const noexcept;
template U32* Tree<128>::slotOf(Bits) const noexcept;
template U32& Tree<32>::ownTopAt(U32);
template U32& Tree<128>::ownTopAt(U32);
template U32* Tree<32>::ownSlotOf(Bits) noexcept;
template U32* Tree<128>::ownSlotOf(Bits) noexcept;
template bool Tree<32>::ownPage(U32&, unsigned);
template bool Tree<128>::ownPage(U32&, unsigned);
template U32 Tree<32>::standing(Bits, unsigned) const noexcept;
template U32 Tree<128>::standing(Bits, unsigned) const noexcept;
template U32* Tree<32>::openPage(Bits) noexcept;
template U32* Tree<128>::openPage(Bits) noexcept;
template void Tree<32>::dropLostIndex() noexcept;
template void Tree<128>::dropLostIndex() noexcept;
template void Tree<32>::buildIndex() noexcept;
template void Tree<128>::buildIndex() noexcept;
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
template void Tree<32>::touchMoved(U32, Bits, unsigned) noexcept;
template void Tree<128>::touchMoved(U32, Bits, unsigned) noexcept;
template void Tree<32>::resizeIndex() noexcept;
template void Tree<128>::resizeIndex() noexcept;

}  // namespace routetrie::Impl
