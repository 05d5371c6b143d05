// Where two trees differ, without looking at what they share: see nextDifference() in Tree.h.
#include <cstring>

#include "routetrie/table/TreeCodes.h"

namespace routetrie::Impl {

// A search for the first place at or behind one where the routes of two trees are not known to be equal.
template <unsigned width>
class Tree<width>::Twins {
  public:
   Twins(const Tree& a, const Tree& b, Bits& bits, unsigned& length) noexcept
      : a_(a), b_(b), bits_(bits), length_(length) {}

   bool find() noexcept {
      bool isAhead = false;
      if (length_ == 0) {
         if (a_.hasDefault_ != b_.hasDefault_ || (a_.hasDefault_ && !isEqual(&a_.default_, &b_.default_))) {
            return true;
         }
         isAhead = true;
      }
      if (a_.root_ == 0 || b_.root_ == 0) {
         return a_.root_ != b_.root_;
      }
      return inNodes(a_.root_, b_.root_, 0, Bits(), isAhead);
   }

  private:
   bool isEqual(const void* a, const void* b) const noexcept {
      switch (a_.valueSize_) {
         case 0: return true;
         case 4: return std::memcmp(a, b, 4) == 0;
         case 8: return std::memcmp(a, b, 8) == 0;
         default: return std::memcmp(a, b, a_.valueSize_) == 0;
      }
   }
   const std::byte* valuesOf(const Node& n) const noexcept {
      return n.bytes() + valuesFrom(n.childCount(), a_.step());
   }
   // The place is the first under these bits; all under them lies ahead of the search.
   bool stopUnder(Bits bits, unsigned depth) noexcept {
      bits_ = bits.cut(depth);
      length_ = depth + 1;
      return true;
   }
   // Two nodes at `depth`, to which `way` leads, past which its bits may be anything. `isAhead`: no place under them lies before the one
   // that the search began at.
   bool inNodes(U32 inA, U32 inB, unsigned depth, Bits way, bool isAhead) noexcept {
      if (inA == inB) {
         return false;
      }
      const Node& a = a_.node(inA);
      const Node& b = b_.node(inB);
      if (a.isCompressed() || b.isCompressed()) {
         return inCompressed(a, b, depth, way, isAhead);
      }
      unsigned code = 0;
      unsigned first = 0;   // child
      unsigned onWay = 64;  // the child that the place lies under
      if (!isAhead && length_ > depth) {
         const unsigned chunk = chunkAt(bits_, depth);
         const unsigned half = chunk >> 5;
         if (length_ <= depth + stride) {
            const unsigned place = placeOf(length_ - depth, chunk & 31);
            code = half << 7 | place << 1;
            first = half << 5 | fullBefore[place];
         } else {
            code = childCode(chunk);
            first = onWay = chunk;
         }
      }
      // What may differ, from there on.
      Node rest{};
      if (a.routes[0] != b.routes[0] || a.routes[1] != b.routes[1] ||
          std::memcmp(valuesOf(a), valuesOf(b), std::size_t{a.routeCount()} * a_.step()) != 0) {
         rest.routes[0] = a.routes[0] | b.routes[0];
         rest.routes[1] = a.routes[1] | b.routes[1];
      }
      const U32* childOfA = nullptr;
      const U32* childOfB = nullptr;
      if (first < 64) {
         rest.children = (a.children | b.children) >> first << first;
         childOfA = a.numbers() + childRank(a.children, first);
         childOfB = b.numbers() + childRank(b.children, first);
      }
      for (;; ++code) {
         // Mostly one of many children differs.
         while (rest.children != 0) {
            const U64 child = rest.children & (0 - rest.children);
            if ((a.children & b.children & child) == 0 || *childOfA != *childOfB) {
               break;
            }
            rest.children ^= child;
            ++childOfA;
            ++childOfB;
         }
         code = codeFrom(rest, code);
         if (code == noCode) {
            return false;
         }
         const unsigned chunk = chunkOfCode(code);
         const unsigned half = code >> 7;
         const unsigned place = code >> 1 & 63;
         if ((code & 1) == 0) {
            if ((a.routes[half] & b.routes[half] & U64{1} << place) == 0 ||
                !isEqual(a_.valueOf(a, half, place), b_.valueOf(b, half, place))) {
               bits_ = cutWithChunk(way, depth, chunk);
               length_ = depth + places[place].length;
               return true;
            }
            continue;
         }
         const U64 child = U64{1} << chunk;
         const Bits further = cutWithChunk(way, depth, chunk);
         const bool isChildAhead = isAhead || chunk != onWay;
         if ((a.children & b.children & child) == 0) {
            return !isChildAhead || stopUnder(further, depth + stride);
         }
         if (inNodes(*childOfA++, *childOfB++, depth + stride, further, isChildAhead)) {
            return true;
         }
         rest.children ^= child;
      }
   }
   // One of them is compressed. Where that is not the same way, who asked looks for itself.
   bool inCompressed(const Node& a, const Node& b, unsigned depth, Bits way, bool isAhead) noexcept {
      const bool areSkips = a.isCompressed() && b.isCompressed() && !a.isLeaf() && !b.isLeaf();
      if (!areSkips || a.length() != b.length() || keyOf<width>(a) != keyOf<width>(b)) {
         return !isAhead || stopUnder(way, depth);
      }
      const Bits key = keyOf<width>(a);
      const unsigned length = a.length();
      if (!isAhead && (length_ <= length || !key.sharesFirst(bits_, length))) {
         if (key < bits_) {
            return false;  // all of it lies behind the search
         }
         isAhead = true;
      }
      return inNodes(a.target(), b.target(), length, key, isAhead);
   }

   const Tree& a_;
   const Tree& b_;
   Bits& bits_;
   unsigned& length_;
};

template <unsigned width>
bool Tree<width>::nextDifference(const Tree& other, Bits& bits, unsigned& length) const noexcept {
   return Twins(*this, other, bits, length).find();
}

template bool Tree<32>::nextDifference(const Tree&, Bits&, unsigned&) const noexcept;
template bool Tree<128>::nextDifference(const Tree&, Bits&, unsigned&) const noexcept;

}  // namespace routetrie::Impl
