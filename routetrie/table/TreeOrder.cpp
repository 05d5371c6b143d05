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

// Of the route of the first bits, 1 to 6, of a chunk.
unsigned routeCode(unsigned chunk, unsigned length) noexcept {
   return chunk >> 5 << 7 | placeOf(length, cutLow(chunk & 31, length)) << 1;
}

// The place of the lowest bit. Requires: there is one; to say so spares what would be done for none.
ROUTETRIE_INLINE unsigned lowestBit(U64 word) noexcept {
   if (word == 0) {
      __builtin_unreachable();
   }
   return static_cast<unsigned>(std::countr_zero(word));
}

// Of the routes of both halves those that come before the child of a chunk, or cover it. Before that of 31 are all of the first half,
// before that of 63 all.
struct Halves {
   U64 routes[2];
};
constexpr auto beforeChild = [] {
   std::array<Halves, 64> result{};
   for (unsigned chunk = 0; chunk < 64; ++chunk) {
      const U64 upTo = (U64{2} << fullPlace[chunk & 31]) - 1;
      result[chunk] = chunk < 32 ? Halves{{upTo, 0}} : Halves{{~U64{0}, upTo}};
   }
   return result;
}();
// Of what is left of a node's children the first; if nothing is, the last of all, before which all routes come.
ROUTETRIE_INLINE unsigned firstChildOf(U64 children) noexcept { return lowestBit(children | U64{1} << 63); }

}  // namespace

// A cursor under way: it stands at a node, with the bits that lead there. Its steps go forward or back.
//
// Of the levels on its way, a bit of `ahead` says where something follows in the node behind where the path goes on, or behind the route:
// so that a walk forward need not ask each node on its way up, nor guess how far up it goes.
//
//    bit level + 1    something follows at this level
//    bit 0            what follows at the levels above the lowest that has a bit is not known yet
template <unsigned width>
class Tree<width>::Walk {
  public:
   Walk(const Tree& tree, Cursor& cursor) noexcept : tree_(tree), cursor_(cursor) {}

   void startAtRoot() noexcept {
      cursor_.generation = tree_.generation_;
      ahead_ = 1;
      stand(0, tree_.root_, Bits());
   }
   // Where the cursor is, in the generation of the tree.
   void resume() noexcept {
      level_ = cursor_.level;
      bits_ = cursor_.bits;
      ahead_ = cursor_.ahead;
   }
   const Node& node() const noexcept { return tree_.node(cursor_.path[level_]); }
   unsigned depth() const noexcept { return level_ * stride; }

   // To the child whose number has so many before it. A compressed node holds its bits itself.
   ROUTETRIE_INLINE void enterChild(unsigned chunk, unsigned rank) noexcept {
      const U32 at = node().numbers()[rank];
      tree_.fetchRest(at);
      if (!tree_.node(at).isCompressed()) [[likely]] {
         bits_ = withChunk(bits_, depth(), chunk);
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

   // From a search: to the first route from a code of the node on; back: to the last before one.
   template <bool forward>
   bool go(unsigned code) noexcept {
      if constexpr (!forward) {
         return goBack(code);
      } else {
         const Node& n = node();
         const U64 from = ~U64{0} << (((code & 127) + 1) >> 1);
         const unsigned half = code >> 7;
         const Rest rest{half == 0 ? n.routes[0] & from : 0, half == 0 ? n.routes[1] : n.routes[1] & from,
                         n.children & ~U64{0} << (half << 5 | fullBefore[code >> 1 & 63])};
         return (rest.first | rest.second | rest.children) != 0 ? goOn(rest) : leave();
      }
   }
   // The same from past the node on. Requires: it is compressed.
   template <bool forward>
   bool goPast() noexcept {
      bits_ = keyOf<width>(node());
      if constexpr (forward) {
         return leave();
      } else {
         unsigned code = 0;
         return leaveBack(code) ? goBack(code) : tree_.setDefault(cursor_);
      }
   }
   // To the next route, from behind a row. Requires: a bit of `ahead`.
   ROUTETRIE_INLINE bool goUp() noexcept {
      if (ahead_ == 1 && !lookAhead()) [[unlikely]] {
         return false;
      }
      const auto bit = static_cast<unsigned>(std::countl_zero(ahead_) ^ 31);
      ahead_ ^= U32{1} << bit;
      const unsigned level = bit - 1;
      // A route is followed by the child of the same six bits; what a child leads to, by the next child.
      const U64 children = level == level_ ? ~U64{0} : ~U64{1};
      level_ = level;
      const unsigned chunk = chunkAt(bits_, depth());
      cut();
      const Node& n = node();
      const Halves& before = beforeChild[chunk];
      return goOn({n.routes[0] & ~before.routes[0], n.routes[1] & ~before.routes[1], n.children & children << chunk});
   }
   // To the route before. Requires: `code` is that of the route where it stands, if the node is not compressed.
   bool stepBack(unsigned code) noexcept {
      ahead_ = 1;
      if (node().isCompressed()) {
         return goPast<false>();
      }
      cut();
      return goBack(code);
   }
   bool setLeaf() noexcept {
      const Node& n = node();
      cursor_.rows[0] = cursor_.rows[1] = 0;
      return set(keyOf<width>(n), n.length(), n.leafValue());
   }

  private:
   // What is left of the node where the walk stands: of the routes of each half, and of the children.
   struct Rest {
      U64 first;
      U64 second;
      U64 children;
   };

   // To the first route of the rest, or under it. Requires: there is something.
   ROUTETRIE_INLINE bool goOn(Rest rest) noexcept {
      for (;;) {
         const unsigned chunk = firstChildOf(rest.children);
         const Halves& before = beforeChild[chunk];
         const U64 first = rest.first & before.routes[0];
         const U64 second = rest.second & before.routes[1];
         if ((first | second) != 0) {
            return setRows(rest, first, second);
         }
         const U64 others = rest.children & (rest.children - 1);
         ahead_ |= U32{(rest.first | rest.second | others) != 0} << (level_ + 1);
         const Node& n = node();
         const auto rank = static_cast<unsigned>(std::popcount(n.children ^ rest.children));
         const unsigned last = n.childCount() - 1;
         fetch(n.numbers()[rank + 1 < last ? rank + 1 : last]);
         fetch(n.numbers()[rank + 2 < last ? rank + 2 : last]);
         enterChild(chunk, rank);
         if (node().isCompressed()) [[unlikely]] {
            if (node().isLeaf()) {
               return setLeaf();
            }
            followSkip();
         }
         rest = {node().routes[0], node().routes[1], node().children};
      }
   }
   // `first` and `second` are the routes of the rest that come before a child.
   ROUTETRIE_INLINE bool setRows(const Rest& rest, U64 first, U64 second) noexcept {
      const Node& n = node();
      const unsigned half = first == 0 ? 1 : 0;
      const U64 row = half == 0 ? first : second;
      cursor_.rows[0] = first & (first - 1);
      cursor_.rows[1] = half == 0 ? second : row & (row - 1);
      ahead_ |= U32{rest.children != 0} << (level_ + 1);
      // As many values stand before this one as routes are not in the rest.
      const auto rank =
         static_cast<unsigned>(std::popcount(n.routes[0] ^ rest.first) + std::popcount(n.routes[1] ^ rest.second));
      return setRoute(half, lowestBit(row),
                      n.bytes() + valuesFrom(n.childCount(), tree_.step()) + rank * tree_.step());
   }
   // From a search, which knows nothing of the levels above.
   bool leave() noexcept {
      set(bits_, 0, nullptr);
      return tree_.nextFromRow(cursor_);
   }
   // Finds out what follows at the levels above this one. False: nothing.
   bool lookAhead() noexcept {
      ahead_ = 0;
      for (unsigned level = 0; level < level_; ++level) {
         const Node& n = tree_.node(cursor_.path[level]);
         if (cursor_.path[level] != 0 && !n.isCompressed()) {
            const unsigned chunk = chunkAt(bits_, level * stride);
            const Halves& before = beforeChild[chunk];
            const U64 follows = (n.routes[0] & ~before.routes[0]) | (n.routes[1] & ~before.routes[1]) |
                                (n.children & ~U64{1} << chunk);
            ahead_ |= U32{follows != 0} << (level + 1);
         }
      }
      return ahead_ != 0;
   }

   bool goBack(unsigned code) noexcept {
      for (;;) {
         const unsigned found = codeBefore(node(), code);
         if (found == noCode) {
            if (!leaveBack(code)) {
               return tree_.setDefault(cursor_);  // ahead of all routes
            }
         } else if ((found & 1) == 0) {
            return setLastRoute(found);
         } else {
            const Node& n = node();
            const unsigned chunk = chunkOfCode(found);
            const unsigned rank = childRank(n.children, chunk);
            fetch(n.numbers()[rank > 1 ? rank - 1 : 0]);
            fetch(n.numbers()[rank > 2 ? rank - 2 : 0]);
            enterChild(chunk, rank);
            if (node().isCompressed()) {
               if (node().isLeaf()) {
                  return setLeaf();
               }
               followSkip();
            }
            code = codes;
         }
      }
   }
   // To the next node above that is not compressed, and to the code from which to go back there. False: there is none above.
   bool leaveBack(unsigned& code) noexcept {
      do {
         if (level_ == 0) {
            return false;
         }
         --level_;
      } while (cursor_.path[level_] == 0 || node().isCompressed());
      code = childCode(chunkAt(bits_, depth()));
      cut();
      return true;
   }
   bool setLastRoute(unsigned code) noexcept {
      const Node& n = node();
      const unsigned half = code >> 7;
      const unsigned place = code >> 1 & 63;
      const U64 children = n.children & ~U64{0} << (half << 5 | fullBefore[place]);
      const Halves& before = beforeChild[firstChildOf(children)];
      const U64 row = n.routes[half] >> place >> 1 << place << 1 & before.routes[half];
      cursor_.rows[0] = half == 0 ? row : 0;
      cursor_.rows[1] = half == 0 ? n.routes[1] & before.routes[1] : row;
      ahead_ |= U32{children != 0} << (level_ + 1);
      return setRoute(half, place, tree_.valueOf(n, half, place));
   }

   void stand(unsigned level, U32 at, Bits bits) noexcept {
      level_ = level;
      cursor_.path[level] = at;
      bits_ = bits;
   }
   void cut() noexcept { bits_ = cutWithChunk(bits_, depth(), 0); }
   // A walk comes to this node soon, and to its values. A compiler may take a function that does no more for one
   // without effect, unless it is inlined.
   ROUTETRIE_INLINE void fetch(U32 at) const noexcept {
      const std::byte* const bytes = tree_.node(at).bytes();
      __builtin_prefetch(bytes);
      __builtin_prefetch(bytes + 64);
   }
   ROUTETRIE_INLINE bool setRoute(unsigned half, unsigned place, const void* value) noexcept {
      const Place where = places[place];
      const unsigned chunk = half << 5 | where.low;
      cursor_.chunk = static_cast<U8>(chunk);
      return set(withChunk(bits_, depth(), chunk), depth() + where.length, value);
   }
   ROUTETRIE_INLINE bool set(Bits bits, unsigned length, const void* value) noexcept {
      cursor_.bits = bits;
      cursor_.length = length;
      cursor_.value = value;
      cursor_.ahead = ahead_;
      cursor_.level = static_cast<U8>(level_);
      return true;
   }

   const Tree& tree_;
   Cursor& cursor_;
   Bits bits_;  // zeros past the node's depth; at the start of a step, those of a route
   U32 ahead_ = 0;
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
         return walk.template go<forward>(length == depth ? 0 : routeCode(chunk, length - depth));
      }
      if ((n.children >> chunk & 1) == 0) {
         return walk.template go<forward>(childCode(chunk));
      }
      walk.enterChild(chunk, childRank(n.children, chunk));
   }
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
bool Tree<width>::nextFromRow(Cursor& cursor) const noexcept {
   if (cursor.ahead == 0) [[unlikely]] {
      return cursor.level == Cursor::noLevel && seek(cursor, cursor.bits, cursor.length + 1);
   }
   Walk walk(*this, cursor);
   walk.resume();
   return walk.goUp();
}
template <unsigned width>
bool Tree<width>::previous(Cursor& cursor) const noexcept {
   if (cursor.generation != generation_ || cursor.level == Cursor::noLevel) {
      return seekBefore(cursor, cursor.bits, cursor.length);
   }
   Walk walk(*this, cursor);
   walk.resume();
   const unsigned depth = walk.depth();
   return walk.stepBack(walk.node().isCompressed() ? 0
                                                   : routeCode(chunkAt(cursor.bits, depth), cursor.length - depth));
}

template bool Tree<32>::setDefault(Cursor&) const noexcept;
template bool Tree<128>::setDefault(Cursor&) const noexcept;
template bool Tree<32>::seek(Cursor&, Bits, unsigned) const noexcept;
template bool Tree<128>::seek(Cursor&, Bits, unsigned) const noexcept;
template bool Tree<32>::seekBefore(Cursor&, Bits, unsigned) const noexcept;
template bool Tree<128>::seekBefore(Cursor&, Bits, unsigned) const noexcept;
template bool Tree<32>::nextFromRow(Cursor&) const noexcept;
template bool Tree<128>::nextFromRow(Cursor&) const noexcept;
template bool Tree<32>::previous(Cursor&) const noexcept;
template bool Tree<128>::previous(Cursor&) const noexcept;

}  // namespace routetrie::Impl
