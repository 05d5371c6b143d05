// Steps through the routes in order. In a node, routes and children stand in one order: a child follows the routes that cover it
// and the route of its own six bits. Their codes:
//
//    half << 7 | place << 1            a route
//    half << 7 | place << 1 | 1        the child of the six bits that end at `place`
#include "routetrie/table/Tree.h"

namespace routetrie::Impl {

namespace {

constexpr unsigned none = ~0u;
constexpr unsigned codes = 256;  // behind all of them
constexpr unsigned codesInHalf = 126;

// How many of the places before this one are of six bits.
constexpr auto fullBefore = [] {
   std::array<U8, 64> result{};
   for (unsigned place = 0; place < 63; ++place) {
      result[place + 1] = static_cast<U8>(result[place] + (places[place].length == stride ? 1 : 0));
   }
   return result;
}();

unsigned childCode(unsigned chunk) noexcept { return chunk >> 5 << 7 | placeOf(stride, chunk & 31) << 1 | 1; }
U64 childrenOf(const Node& n, unsigned half) noexcept {
   return half != 0 ? n.children >> 32 : n.children & 0xffffffff;
}
unsigned chunkOfCode(unsigned code) noexcept { return code >> 7 << 5 | places[code >> 1 & 63].low; }

// The first code from this one on that stands for something; the last one before it.
unsigned codeFrom(const Node& n, unsigned code) noexcept {
   unsigned in = code & 127;
   for (unsigned half = code >> 7; half < 2; ++half, in = 0) {
      const unsigned firstRoute = (in + 1) >> 1;
      const U64 routes = n.routes[half] >> firstRoute << firstRoute;
      const unsigned firstChild = fullBefore[in >> 1];
      const U64 children = childrenOf(n, half) >> firstChild << firstChild;
      unsigned found = none;
      if (routes != 0) {
         found = static_cast<unsigned>(std::countr_zero(routes)) << 1;
      }
      if (children != 0) {
         const unsigned child = placeOf(stride, static_cast<unsigned>(std::countr_zero(children))) << 1 | 1;
         found = child < found ? child : found;
      }
      if (found != none) {
         return half << 7 | found;
      }
   }
   return none;
}
unsigned codeBefore(const Node& n, unsigned code) noexcept {
   for (unsigned half = 2; half-- != 0;) {
      if (code <= half << 7) {
         continue;
      }
      const unsigned in = code >> 7 > half ? codesInHalf : code & 127;
      const U64 routes = below(n.routes[half], (in + 1) >> 1);
      const U64 children = below(childrenOf(n, half), fullBefore[in >> 1]);
      unsigned found = none;
      if (routes != 0) {
         found = static_cast<unsigned>(63 - std::countl_zero(routes)) << 1;
      }
      if (children != 0) {
         const unsigned child = placeOf(stride, static_cast<unsigned>(63 - std::countl_zero(children))) << 1 | 1;
         found = found == none || child > found ? child : found;
      }
      if (found != none) {
         return half << 7 | found;
      }
   }
   return none;
}

}  // namespace

// A cursor under way: it stands at a node, with the bits that lead there.
template <unsigned width>
class Tree<width>::Walk {
  public:
   Walk(const Tree& tree, Cursor& cursor) noexcept : tree_(tree), cursor_(cursor) {}

   void startAtRoot() noexcept { stand(0, tree_.root_, Bits()); }
   // Where the cursor is, in the generation of the tree.
   void resume() noexcept {
      level_ = cursor_.level;
      bits_ = cursor_.bits.cut(level_ * stride);
   }
   const Node& node() const noexcept { return tree_.node(cursor_.path[level_]); }
   unsigned depth() const noexcept { return level_ * stride; }

   void enterChild(unsigned chunk) noexcept {
      const Node& n = node();
      const Bits bits = withChunk(bits_, depth(), chunk);
      stand(level_ + 1, n.childRun + childRank(n.children, chunk), bits);
   }
   void followSkip() noexcept {
      const Node& n = node();
      const unsigned level = n.length() / stride;
      for (unsigned i = level_ + 1; i < level; ++i) {
         cursor_.path[i] = 0;
      }
      stand(level, n.target(), keyOf<width>(n));
   }
   // To the next node above that is not compressed: the six bits that led down from there; none if there is no such node.
   unsigned leave() noexcept {
      const Bits from = bits_;
      do {
         if (level_ == 0) {
            return none;
         }
         --level_;
      } while (cursor_.path[level_] == 0 || node().isCompressed());
      bits_ = from.cut(depth());
      return chunkAt(from, depth());
   }

   // To the first route from a code on, the last before one.
   bool forward(unsigned code) noexcept {
      for (;;) {
         const unsigned found = codeFrom(node(), code);
         if (found == none) {
            if (!behind(code)) {
               return false;
            }
         } else if ((found & 1) == 0) {
            return setRoute(found);
         } else {
            enterChild(chunkOfCode(found));
            if (into()) {
               return true;
            }
            code = 0;
         }
      }
   }
   bool backward(unsigned code) noexcept {
      for (;;) {
         const unsigned found = codeBefore(node(), code);
         if (found == none) {
            if (!before(code)) {
               return tree_.setDefault(cursor_);
            }
         } else if ((found & 1) == 0) {
            return setRoute(found);
         } else {
            enterChild(chunkOfCode(found));
            if (into()) {
               return true;
            }
            code = codes;
         }
      }
   }
   // Past the node, either way: the code above from which to go on. False: nothing is above.
   bool behind(unsigned& code) noexcept {
      const unsigned chunk = leave();
      code = childCode(chunk) + 1;
      return chunk != none;
   }
   bool before(unsigned& code) noexcept {
      const unsigned chunk = leave();
      code = chunk != none ? childCode(chunk) : 0;
      return chunk != none;
   }
   bool setLeaf() noexcept {
      const Node& n = node();
      return set(keyOf<width>(n), n.length(), n.leafValue());
   }

  private:
   void stand(unsigned level, U32 at, Bits bits) noexcept {
      level_ = level;
      cursor_.path[level] = at;
      bits_ = bits;
   }
   // From a node that was just entered: true if it is a leaf, on which the cursor now is; a skip is followed.
   bool into() noexcept {
      if (!node().isCompressed()) {
         return false;
      }
      if (node().isLeaf()) {
         return setLeaf();
      }
      followSkip();
      return false;
   }
   bool setRoute(unsigned code) noexcept {
      const Node& n = node();
      const unsigned half = code >> 7;
      const unsigned place = code >> 1 & 63;
      const Place where = places[place];
      return set(withChunk(bits_, depth(), half << 5 | where.low), depth() + where.length,
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
   Bits bits_;
   unsigned level_ = 0;
};

template <unsigned width>
bool Tree<width>::setDefault(Cursor& cursor) const noexcept {
   if (hasDefault_) {
      cursor = at(Bits(), 0, &default_);
   }
   return hasDefault_;
}

template <unsigned width>
bool Tree<width>::seek(Cursor& cursor, Bits bits, unsigned length) const noexcept {
   if (length == 0 && setDefault(cursor)) {
      return true;
   }
   Walk walk(*this, cursor);
   walk.startAtRoot();
   for (;;) {
      const Node& n = walk.node();
      if (n.isCompressed()) {
         const Bits key = keyOf<width>(n);
         const unsigned keyLength = n.length();
         unsigned code = 0;
         if (n.isLeaf()) {
            if (key > bits || (key == bits && keyLength >= length)) {
               return walk.setLeaf();
            }
         } else if (length > keyLength && key.sharesFirst(bits, keyLength)) {
            walk.followSkip();
            continue;
         } else if (key >= bits) {
            walk.followSkip();
            return walk.forward(0);
         }
         return walk.behind(code) && walk.forward(code);
      }
      const unsigned depth = walk.depth();
      const unsigned chunk = chunkAt(bits, depth);
      if (length <= depth + stride) {
         return walk.forward(
            length == depth ? 0 : chunk >> 5 << 7 | placeOf(length - depth, cutLow(chunk & 31, length - depth)) << 1);
      }
      if ((n.children >> chunk & 1) == 0) {
         return walk.forward(childCode(chunk) + 1);
      }
      walk.enterChild(chunk);
   }
}

template <unsigned width>
bool Tree<width>::seekBefore(Cursor& cursor, Bits bits, unsigned length) const noexcept {
   if (length == 0) {
      return false;
   }
   Walk walk(*this, cursor);
   walk.startAtRoot();
   for (;;) {
      const Node& n = walk.node();
      if (n.isCompressed()) {
         const Bits key = keyOf<width>(n);
         const unsigned keyLength = n.length();
         unsigned code = 0;
         if (n.isLeaf()) {
            if (key < bits || (key == bits && keyLength < length)) {
               return walk.setLeaf();
            }
         } else if (length > keyLength && key.sharesFirst(bits, keyLength)) {
            walk.followSkip();
            continue;
         } else if (key < bits) {
            walk.followSkip();
            return walk.backward(codes);
         }
         return walk.before(code) ? walk.backward(code) : setDefault(cursor);
      }
      const unsigned depth = walk.depth();
      const unsigned chunk = chunkAt(bits, depth);
      if (length <= depth + stride) {
         return walk.backward(
            length == depth ? 0 : chunk >> 5 << 7 | placeOf(length - depth, cutLow(chunk & 31, length - depth)) << 1);
      }
      if ((n.children >> chunk & 1) == 0) {
         return walk.backward(childCode(chunk));
      }
      walk.enterChild(chunk);
   }
}

template <unsigned width>
bool Tree<width>::next(Cursor& cursor) const noexcept {
   if (cursor.generation != generation_ || cursor.level == Cursor::noLevel) {
      return seek(cursor, cursor.bits, cursor.length + 1);
   }
   Walk walk(*this, cursor);
   walk.resume();
   const unsigned depth = walk.depth();
   if (walk.node().isCompressed()) {
      unsigned code = 0;
      return walk.behind(code) && walk.forward(code);
   }
   const unsigned chunk = chunkAt(cursor.bits, depth);
   return walk.forward((chunk >> 5 << 7 | placeOf(cursor.length - depth, chunk & 31) << 1) + 1);
}

template bool Tree<32>::setDefault(Cursor&) const noexcept;
template bool Tree<128>::setDefault(Cursor&) const noexcept;
template bool Tree<32>::seek(Cursor&, Bits, unsigned) const noexcept;
template bool Tree<128>::seek(Cursor&, Bits, unsigned) const noexcept;
template bool Tree<32>::seekBefore(Cursor&, Bits, unsigned) const noexcept;
template bool Tree<128>::seekBefore(Cursor&, Bits, unsigned) const noexcept;
template bool Tree<32>::next(Cursor&) const noexcept;
template bool Tree<128>::next(Cursor&) const noexcept;

}  // namespace routetrie::Impl
