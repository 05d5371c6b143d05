// What is asked of one prefix: is it a route, which cover it, is there a longer one.
#include "routetrie/table/Tree.h"

namespace routetrie::Impl {

namespace {

// Of the prefixes on the way to six bits, those of at most `most` bits.
ROUTETRIE_INLINE U64 wayUpTo(unsigned chunk, unsigned most) noexcept {
   const unsigned low = chunk & 31;
   const U64 way = wayTo[low];
   if (most >= stride) {
      return way;
   }
   return most == 0 ? 0 : way & ((U64{2} << placeOf(most, cutLow(low, most))) - 1);
}

}  // namespace

// As matchHere(), for what it leaves: through compressed nodes and any number of levels. Where the deepest node has nothing, a search
// that looks at all of them does.
template <unsigned width>
typename Tree<width>::Match Tree<width>::matchFurther(Bits address) const noexcept {
   const U32 number = indexed(address);
   U32 at = number & ~aboveBit;
   unsigned depth = number == at ? indexDepth : groupDepth;
   for (;;) {
      const Node& n = node(at);
      if (n.isCompressed()) {
         const unsigned length = n.length();
         if (!keyOf<width>(n).sharesFirst(address, length)) {
            break;
         }
         if (n.isLeaf()) {
            return {length, n.leafValue()};
         }
         depth = length;
         at = n.target();
         continue;
      }
      const unsigned chunk = chunkAt(address, depth);
      if ((n.children >> chunk & 1) == 0) {
         const unsigned half = chunk >> 5;
         const U64 covering = n.routes[half] & wayTo[chunk & 31];
         if (covering == 0) {
            break;
         }
         const auto place = static_cast<unsigned>(63 - std::countl_zero(covering));
         return {depth + places[place].length, valueOf(n, half, place)};
      }
      at = childNumber(n, chunk);
      depth += stride;
   }
   return matchWithin(address, width);
}

// The table of a program that counts no bits itself comes here.
template <unsigned width>
const void* Tree<width>::lookupByLibrary(Bits address, unsigned valueSize) const noexcept {
   Match match;
   return matchHere(address, bytesInNode(valueSize), match) ? match.value : matchFurther(address).value;
}
template <unsigned width>
typename Tree<width>::Match Tree<width>::matchByLibrary(Bits address) const noexcept {
   Match match;
   return matchHere(address, step_, match) ? match : matchFurther(address);
}

template <unsigned width>
const void* Tree<width>::find(Bits bits, unsigned length) const noexcept {
   if (length == 0) {
      return defaultValue();
   }
   unsigned depth = 0;
   U32 at = startFor(bits, length, depth);
   for (;;) {
      const Node& n = node(at);
      if (n.isCompressed()) {
         const unsigned keyLength = n.length();
         if (n.isLeaf()) {
            return keyLength == length && keyOf<width>(n) == bits ? n.leafValue() : nullptr;
         }
         if (length <= keyLength || !keyOf<width>(n).sharesFirst(bits, keyLength)) {
            return nullptr;
         }
         depth = keyLength;
         at = n.target();
         continue;
      }
      const unsigned chunk = chunkAt(bits, depth);
      if (length <= depth + stride) {
         const unsigned half = chunk >> 5;
         const unsigned place = placeOf(length - depth, chunk & 31);
         return (n.routes[half] >> place & 1) != 0 ? valueOf(n, half, place) : nullptr;
      }
      if ((n.children >> chunk & 1) == 0) {
         return nullptr;
      }
      at = childNumber(n, chunk);
      depth += stride;
   }
}

template <unsigned width>
typename Tree<width>::Match Tree<width>::matchWithin(Bits bits, unsigned maxLength) const noexcept {
   const Node* best = nullptr;
   U64 bestBits = 0;
   unsigned bestDepth = 0;
   // The index spares the way down, and is mostly enough: what is found from there on is longer than all above.
   const U32 number = maxLength > indexDepth ? indexed(bits) : 0;
   U32 at = number & ~aboveBit;
   unsigned depth = number == at ? indexDepth : groupDepth;
   if (at == 0) {
      at = root_;
      depth = 0;
   }
   for (bool fromRoot = depth == 0;;) {
      const Node& n = node(at);
      if (n.isCompressed()) {
         const unsigned length = n.length();
         if (length <= maxLength && keyOf<width>(n).sharesFirst(bits, length)) {
            if (n.isLeaf()) {
               return {length, n.leafValue()};
            }
            if (length < maxLength) {
               depth = length;
               at = n.target();
               continue;
            }
         }
      } else {
         const unsigned chunk = chunkAt(bits, depth);
         const U64 here = n.routes[chunk >> 5] & wayUpTo(chunk, maxLength - depth);
         if (here != 0) {
            best = &n;
            bestBits = here;
            bestDepth = depth;
         }
         if (maxLength > depth + stride && (n.children >> chunk & 1) != 0) {
            at = childNumber(n, chunk);
            depth += stride;
            continue;
         }
      }
      if (best != nullptr) {
         const unsigned chunk = chunkAt(bits, bestDepth);
         const auto place = static_cast<unsigned>(63 - std::countl_zero(bestBits));
         return {bestDepth + places[place].length, valueOf(*best, chunk >> 5, place)};
      }
      if (fromRoot) {
         return {0, defaultValue()};
      }
      fromRoot = true;
      at = root_;
      depth = 0;
      maxLength = maxLength < indexDepth ? maxLength : indexDepth;
   }
}

template <unsigned width>
Lengths<width> Tree<width>::covering(Bits bits, unsigned maxLength) const noexcept {
   Lengths<width> lengths;
   if (hasDefault_) {
      lengths.insert(0);
   }
   U32 at = root_;
   for (unsigned depth = 0;;) {
      const Node& n = node(at);
      if (n.isCompressed()) {
         const unsigned length = n.length();
         if (length > maxLength || !keyOf<width>(n).sharesFirst(bits, length)) {
            return lengths;
         }
         if (n.isLeaf()) {
            lengths.insert(length);
            return lengths;
         }
         depth = length;
         at = n.target();
         if (depth >= maxLength) {
            return lengths;
         }
         continue;
      }
      if (depth >= maxLength) {
         return lengths;
      }
      const unsigned chunk = chunkAt(bits, depth);
      for (U64 rest = n.routes[chunk >> 5] & wayUpTo(chunk, maxLength - depth); rest != 0; rest &= rest - 1) {
         lengths.insert(depth + places[static_cast<unsigned>(std::countr_zero(rest))].length);
      }
      if ((n.children >> chunk & 1) == 0) {
         return lengths;
      }
      at = childNumber(n, chunk);
      depth += stride;
   }
}

template <unsigned width>
bool Tree<width>::hasLonger(Bits bits, unsigned length) const noexcept {
   unsigned depth = 0;
   U32 at = startFor(bits, length, depth);
   for (;;) {
      const Node& n = node(at);
      if (n.isCompressed()) {
         const unsigned keyLength = n.length();
         if (n.isLeaf()) {
            return keyLength > length && keyOf<width>(n).sharesFirst(bits, length);
         }
         if (keyLength >= length) {
            return keyOf<width>(n).sharesFirst(bits, length);
         }
         if (!keyOf<width>(n).sharesFirst(bits, keyLength)) {
            return false;
         }
         depth = keyLength;
         at = n.target();
         continue;
      }
      if (length == depth) {  // all that a node holds is longer
         return n.hasRoutes() || n.children != 0;
      }
      const unsigned chunk = chunkAt(bits, depth);
      if (length <= depth + stride) {
         // What lies under a prefix follows it in preorder.
         const unsigned past = length - depth;
         const unsigned place = placeOf(past, chunk & 31);
         const unsigned under = (1u << (stride + 1 - past)) - 2;
         const U64 longer = (U64{1} << under) - 1;
         const U64 children = past == stride ? 1 : (U64{1} << (1u << (stride - past))) - 1;
         return (n.routes[chunk >> 5] >> place >> 1 & longer) != 0 || (n.children >> chunk & children) != 0;
      }
      if ((n.children >> chunk & 1) == 0) {
         return false;
      }
      at = childNumber(n, chunk);
      depth += stride;
   }
}

template <unsigned width>
std::vector<lookup_read> Tree<width>::readsOf(Bits bits, unsigned length) const {
   std::vector<lookup_read> reads;
   unsigned depth = 0;
   U32 at = root_;
   if (at == 0) {
      return reads;
   }
   if (index_ != 0 && length > indexDepth) {
      if (hasParts_) {
         reads.push_back({stride, 4, "index"});
      }
      for (unsigned paged = topBits; paged <= indexDepth; paged += stride) {
         reads.push_back({paged, 4, "index"});
      }
      if (const U32 number = indexed(bits); number != 0) {
         at = number & ~aboveBit;
         depth = number == at ? indexDepth : groupDepth;
      }
   }
   for (;;) {
      const Node& n = node(at);
      if (n.isCompressed()) {
         reads.push_back({depth, sizeof(Node), n.isLeaf() ? "leaf" : "skip"});
         if (n.isLeaf() || n.length() >= length || !keyOf<width>(n).sharesFirst(bits, n.length())) {
            return reads;
         }
         depth = n.length();
         at = n.target();
         continue;
      }
      reads.push_back({depth, sizeof(Node), "node"});
      const unsigned chunk = chunkAt(bits, depth);
      if (length <= depth + stride || (n.children >> chunk & 1) == 0) {
         if (const Match best = match(bits, length); best.value != nullptr && best.length > depth && step() != 0) {
            reads.push_back({best.length, valueSize_, "value"});
         }
         return reads;
      }
      at = childNumber(n, chunk);
      depth += stride;
   }
}

template <unsigned width>
table_memory Tree<width>::memory() const noexcept {
   table_memory memory;
   if (store_ == nullptr) {
      return memory;
   }
   const Store& store = *store_;
   memory.nodes = store.ownBytes() + store.usedBytes(Store::ofNodes) - store.deadBytes(Store::ofNodes);
   memory.index = store.usedBytes(Store::ofPages) - store.deadBytes(Store::ofPages);
   memory.free = store.freeBytes();
   memory.old = store.deadBytes();
   memory.for_readers = store.waitingBytes();
   return memory;
}

template const void* Tree<32>::lookupByLibrary(Bits, unsigned) const noexcept;
template const void* Tree<128>::lookupByLibrary(Bits, unsigned) const noexcept;
template Tree<32>::Match Tree<32>::matchFurther(Bits) const noexcept;
template Tree<128>::Match Tree<128>::matchFurther(Bits) const noexcept;
template Tree<32>::Match Tree<32>::matchByLibrary(Bits) const noexcept;
template Tree<128>::Match Tree<128>::matchByLibrary(Bits) const noexcept;
template const void* Tree<32>::find(Bits, unsigned) const noexcept;
template const void* Tree<128>::find(Bits, unsigned) const noexcept;
template Tree<32>::Match Tree<32>::matchWithin(Bits, unsigned) const noexcept;
template Tree<128>::Match Tree<128>::matchWithin(Bits, unsigned) const noexcept;
template Lengths<32> Tree<32>::covering(Bits, unsigned) const noexcept;
template Lengths<128> Tree<128>::covering(Bits, unsigned) const noexcept;
template bool Tree<32>::hasLonger(Bits, unsigned) const noexcept;
template bool Tree<128>::hasLonger(Bits, unsigned) const noexcept;
template std::vector<lookup_read> Tree<32>::readsOf(Bits, unsigned) const;
template std::vector<lookup_read> Tree<128>::readsOf(Bits, unsigned) const;
template table_memory Tree<32>::memory() const noexcept;
template table_memory Tree<128>::memory() const noexcept;

}  // namespace routetrie::Impl
