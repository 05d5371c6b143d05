// Steps through the routes in order.
#include "routetrie/table/TreeCodes.h"

namespace routetrie::Impl {

namespace {

unsigned codeBefore(const Node& n, unsigned code) noexcept {
   for (unsigned half = 2; half-- != 0;) {
      if (code <= half << 7) {
         continue;
      }
      const unsigned in = code >> 7 > half ? codesInHalf : code & 127;
      const U64 routes = below(n.routes[half], (in + 1) >> 1);
      const U64 children = below(childrenOf(n, half), fullBefore[in >> 1]);
      unsigned found = noCode;
      if (routes != 0) {
         found = static_cast<unsigned>(63 - std::countl_zero(routes)) << 1;
      }
      if (children != 0) {
         const unsigned child = unsigned{fullPlace[static_cast<unsigned>(63 - std::countl_zero(children))]} << 1 | 1;
         found = found == noCode || child > found ? child : found;
      }
      if (found != noCode) {
         return half << 7 | found;
      }
   }
   return noCode;
}

}  // namespace

// A cursor under way: it stands at a node, with the bits that lead there. Its steps go forward or back.
template <unsigned width>
class Tree<width>::Walk {
  public:
   Walk(const Tree& tree, Cursor& cursor) noexcept : tree_(tree), cursor_(cursor) {}

   void startAtRoot() noexcept { stand(0, tree_.root_, Bits()); }
   // Where the cursor is, in the generation of the tree.
   void resume() noexcept {
      level_ = cursor_.level;
      bits_ = cursor_.bits;
   }
   const Node& node() const noexcept { return tree_.node(cursor_.path[level_]); }
   unsigned depth() const noexcept { return level_ * stride; }

   // A compressed node holds its bits itself.
   void enterChild(unsigned chunk) noexcept {
      const Node& n = node();
      const U32 rank = childRank(n.children, chunk);
      const U32 at = n.numbers()[rank];
      const unsigned count = n.childCount();
      if (rank == 0 && count > 1) {
         fetch(n.numbers()[1]);
      } else if (rank + 1 < count) {
         fetchUnder(tree_.node(n.numbers()[rank + 1]));
      }
      if (rank + 2 < count) {
         fetch(n.numbers()[rank + 2]);
      }
      if (!tree_.node(at).isCompressed()) {
         bits_ = cutWithChunk(bits_, depth(), chunk);
      }
      cursor_.path[++level_] = at;
   }
   void followSkip() noexcept {
      const Node& n = node();
      const unsigned level = n.length() / stride;
      for (unsigned i = level_ + 1; i < level; ++i) {
         cursor_.path[i] = 0;
      }
      stand(level, n.target(), keyOf<width>(n));
   }

   // To the first route from a code on; back: to the last before one.
   template <bool forward>
   bool go(unsigned code) noexcept {
      for (;;) {
         const unsigned found = forward ? codeFrom(node(), code) : codeBefore(node(), code);
         if (found == noCode) {
            if (!leave<forward>(code)) {
               return nothing<forward>();
            }
         } else if ((found & 1) == 0) {
            return setRoute(found);
         } else {
            enterChild(chunkOfCode(found));
            if (node().isCompressed()) {
               if (node().isLeaf()) {
                  return setLeaf();
               }
               followSkip();
            }
            code = forward ? 0 : codes;
         }
      }
   }
   // The same from past the node on. Requires: it is compressed.
   template <bool forward>
   bool goPast() noexcept {
      unsigned code = 0;
      bits_ = keyOf<width>(node());
      return leave<forward>(code) ? go<forward>(code) : nothing<forward>();
   }
   bool setLeaf() noexcept {
      const Node& n = node();
      cursor_.half = 0;
      cursor_.place = leafPlace;
      return set(keyOf<width>(n), n.length(), n.leafValue());
   }

  private:
   static constexpr U8 leafPlace = 63;

   void stand(unsigned level, U32 at, Bits bits) noexcept {
      level_ = level;
      cursor_.path[level] = at;
      bits_ = bits;
   }
   // To the next node above that is not compressed, and to the code from which to go on there. False: there is none above.
   template <bool forward>
   bool leave(unsigned& code) noexcept {
      do {
         if (level_ == 0) {
            return false;
         }
         --level_;
      } while (cursor_.path[level_] == 0 || node().isCompressed());
      code = childCode(chunkAt(bits_, depth())) + (forward ? 1 : 0);
      return true;
   }
   // Ahead of all routes is the default route.
   template <bool forward>
   bool nothing() noexcept {
      return !forward && tree_.setDefault(cursor_);
   }
   // A walk comes to this node soon.
   void fetch(U32 at) const noexcept { __builtin_prefetch(&tree_.node(at)); }
   // And from this one, which was fetched, to what it leads to.
   void fetchUnder(const Node& n) const noexcept {
      if (!n.isCompressed()) {
         if (n.children != 0) {
            fetch(n.numbers()[0]);
         }
      } else if (!n.isLeaf()) {
         fetch(n.target());
      }
   }
   bool setRoute(unsigned code) noexcept {
      const Node& n = node();
      const unsigned half = code >> 7;
      const unsigned place = code >> 1 & 63;
      const Place where = places[place];
      cursor_.half = static_cast<U8>(half);
      cursor_.place = static_cast<U8>(place);
      return set(cutWithChunk(bits_, depth(), half << 5 | where.low), depth() + where.length,
                 tree_.valueOf(n, half, place));
   }
   bool set(Bits bits, unsigned length, const void* value) noexcept {
      cursor_.bits = bits;
      cursor_.length = length;
      cursor_.value = value;
      cursor_.generation = tree_.generation_;
      cursor_.level = static_cast<U8>(level_);
      return true;
   }

   const Tree& tree_;
   Cursor& cursor_;
   Bits bits_;  // past the node's depth they may be anything
   unsigned level_ = 0;
};

template <unsigned width>
bool Tree<width>::setDefault(Cursor& cursor) const noexcept {
   if (hasDefault_) {
      cursor = at(Bits(), 0, &default_);
   }
   return hasDefault_;
}

// The first route at or after a place; back: the last before it.
template <unsigned width>
template <bool forward>
bool Tree<width>::seekWay(Cursor& cursor, Bits bits, unsigned length) const noexcept {
   if (length == 0) {
      if (!forward) {
         return false;
      }
      if (setDefault(cursor)) {
         return true;
      }
   }
   Walk walk(*this, cursor);
   walk.startAtRoot();
   for (;;) {
      const Node& n = walk.node();
      if (n.isCompressed()) {
         const Bits key = keyOf<width>(n);
         const unsigned keyLength = n.length();
         if (n.isLeaf()) {
            const bool isBefore = key < bits || (key == bits && keyLength < length);
            return isBefore != forward ? walk.setLeaf() : walk.template goPast<forward>();
         }
         if (length > keyLength && key.sharesFirst(bits, keyLength)) {
            walk.followSkip();
            continue;
         }
         // All that it leads to lies on one side.
         if ((key < bits) == forward) {
            return walk.template goPast<forward>();
         }
         walk.followSkip();
         return walk.template go<forward>(forward ? 0 : codes);
      }
      const unsigned depth = walk.depth();
      const unsigned chunk = chunkAt(bits, depth);
      if (length <= depth + stride) {
         return walk.template go<forward>(
            length == depth ? 0 : chunk >> 5 << 7 | placeOf(length - depth, cutLow(chunk & 31, length - depth)) << 1);
      }
      if ((n.children >> chunk & 1) == 0) {
         return walk.template go<forward>(childCode(chunk));
      }
      walk.enterChild(chunk);
   }
}

template <unsigned width>
template <bool forward>
bool Tree<width>::stepWay(Cursor& cursor) const noexcept {
   if (cursor.generation != generation_ || cursor.level == Cursor::noLevel) {
      return seekWay<forward>(cursor, cursor.bits, cursor.length + (forward ? 1 : 0));
   }
   Walk walk(*this, cursor);
   walk.resume();
   return walk.node().isCompressed() ? walk.template goPast<forward>()
                                     : walk.template go<forward>(unsigned{cursor.half} << 7 |
                                                                 unsigned{cursor.place} << 1 | (forward ? 1 : 0));
}

template <unsigned width>
bool Tree<width>::seek(Cursor& cursor, Bits bits, unsigned length) const noexcept {
   return seekWay<true>(cursor, bits, length);
}
template <unsigned width>
bool Tree<width>::seekBefore(Cursor& cursor, Bits bits, unsigned length) const noexcept {
   return seekWay<false>(cursor, bits, length);
}
template <unsigned width>
bool Tree<width>::nextFromNode(Cursor& cursor) const noexcept {
   return stepWay<true>(cursor);
}
template <unsigned width>
bool Tree<width>::previous(Cursor& cursor) const noexcept {
   return stepWay<false>(cursor);
}

template bool Tree<32>::setDefault(Cursor&) const noexcept;
template bool Tree<128>::setDefault(Cursor&) const noexcept;
template bool Tree<32>::seek(Cursor&, Bits, unsigned) const noexcept;
template bool Tree<128>::seek(Cursor&, Bits, unsigned) const noexcept;
template bool Tree<32>::seekBefore(Cursor&, Bits, unsigned) const noexcept;
template bool Tree<128>::seekBefore(Cursor&, Bits, unsigned) const noexcept;
template bool Tree<32>::nextFromNode(Cursor&) const noexcept;
template bool Tree<128>::nextFromNode(Cursor&) const noexcept;
template bool Tree<32>::previous(Cursor&) const noexcept;
template bool Tree<128>::previous(Cursor&) const noexcept;

}  // namespace routetrie::Impl
