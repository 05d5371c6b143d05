// Where two trees differ: one descent through both.
#include "routetrie/table/TreeTwins.h"

#include <cstring>

#include "routetrie/table/DifferingWords.h"
#include "routetrie/table/TreeCodes.h"

namespace routetrie::Impl {

namespace {

// What two nodes have by bits, in the order of these: `size` bytes at each multiple of `step`.
struct TwinRun {
   const std::byte* a;
   const std::byte* b;
   unsigned step;
   unsigned size;

   // Of these bits, which both have, those that differ; on to what follows.
   ROUTETRIE_INLINE U64 differing(U64 common) noexcept {
      U64 result = 0;
      switch (size) {
         case 1: result = differingWords<U8>(common, a, b, step); break;
         case 2: result = differingWords<U16>(common, a, b, step); break;
         case 4: result = differingWords(common, a, b); break;
         default: result = differingWords<U64>(common, a, b, step); break;
      }
      const std::size_t bytes = static_cast<std::size_t>(std::popcount(common)) * step;
      a += bytes;
      b += bytes;
      return result;
   }
   // Of all that either has, those that one has alone or that differ. Between two that one has alone, what both have is in one piece.
   ROUTETRIE_INLINE U64 differing(U64 inA, U64 inB) noexcept {
      return inA == inB ? differing(inA) : differingInPieces(inA, inB);
   }
   U64 differingInPieces(U64 inA, U64 inB) noexcept {
      U64 result = inA ^ inB;
      U64 common = inA & inB;
      for (U64 alone = result; alone != 0; alone &= alone - 1) {
         const U64 first = alone & (0 - alone);
         const U64 piece = common & (first - 1);
         common ^= piece;
         result |= differing(piece);
         ((inA & first) != 0 ? a : b) += step;
      }
      return result | differing(common);
   }
};

}  // namespace

// A place under way.
template <unsigned width>
class Tree<width>::TwinWalk {
   using Level = typename Twins::Level;

  public:
   TwinWalk(const Tree& a, const Tree& b, Twins& at, bool byBytes) noexcept
      : trees_{&a, &b}, at_(at), byBytes_(byBytes) {}

   bool first() noexcept {
      start();
      at_.length = 0;
      at_.bits = Bits();
      const Tree& a = *trees_[0];
      const Tree& b = *trees_[1];
      if (a.hasDefault_ != b.hasDefault_ ||
          (a.hasDefault_ && (!byBytes_ || std::memcmp(&a.default_, &b.default_, a.valueSize_) != 0))) {
         at_.values[0] = a.defaultValue();
         at_.values[1] = b.defaultValue();
         return true;
      }
      return go();
   }
   bool next() noexcept { return at_.isOf(*trees_[0], *trees_[1]) ? go() : behind(at_.bits, at_.length); }

  private:
   // What stands in a node at a depth. `only` has the number of a child that a compressed node stands for, as long as this is asked.
   class View {
     public:
      ROUTETRIE_INLINE View(const Tree& tree, U32 at, unsigned depth, U32& only) noexcept {
         const Node& n = tree.node(at);
         if (at != 0 && !n.isCompressed()) [[likely]] {
            routes[0] = n.routes[0];
            routes[1] = n.routes[1];
            children = n.children;
            numbers = n.numbers();
            values = n.bytes() + valuesFrom(n.childCount(), tree.step());
         } else {
            routes[0] = routes[1] = children = 0;
            numbers = &only;
            values = nullptr;
            if (at != 0) {
               expand(n, at, depth, only);
            }
         }
      }
      View(const View&) = delete;
      View& operator=(const View&) = delete;

      // 0: none.
      U32 child(unsigned chunk) const noexcept {
         return (children >> chunk & 1) != 0 ? numbers[childRank(children, chunk)] : 0;
      }

      U64 routes[2];
      U64 children;
      const U32* numbers;
      const std::byte* values;

     private:
      ROUTETRIE_INLINE void expand(const Node& n, U32 at, unsigned depth, U32& only) noexcept {
         const unsigned chunk = chunkAt(keyOf<width>(n), depth);
         const unsigned length = n.length();
         if (n.isLeaf() && length <= depth + stride) {
            routes[chunk >> 5] = U64{1} << placeOf(length - depth, chunk & 31);
            values = static_cast<const std::byte*>(n.leafValue());
         } else {
            children = U64{1} << chunk;
            only = !n.isLeaf() && length == depth + stride ? n.target() : at;
         }
      }
   };

   const Node& node(unsigned side, U32 at) const noexcept { return trees_[side]->node(at); }

   void start() noexcept {
      at_.generations[0] = trees_[0]->generation_;
      at_.generations[1] = trees_[1]->generation_;
      at_.top = 0;
      enter(at_.way[0], trees_[0]->root_, trees_[1]->root_, 0);
   }

   //--- pairs ---

   // Where neither has more than the way on, to where they part, or where a node stands.
   void goDown(U32 (&nodes)[2], unsigned& depth) const noexcept {
      unsigned reach = width;
      Bits keys[2];
      for (unsigned side = 0; side < 2; ++side) {
         if (nodes[side] != 0) {
            const Node& n = node(side, nodes[side]);
            keys[side] = keyOf<width>(n);
            const unsigned most = n.length() - (n.isLeaf() ? 1 : 0);
            reach = most < reach ? most : reach;
         }
      }
      if (nodes[0] != 0 && nodes[1] != 0) {
         const unsigned common = keys[0].commonLength(keys[1]);
         reach = common < reach ? common : reach;
      }
      depth = reach / stride * stride;
      for (unsigned side = 0; side < 2; ++side) {
         if (nodes[side] != 0) {
            const Node& n = node(side, nodes[side]);
            nodes[side] = !n.isLeaf() && n.length() == depth ? n.target() : nodes[side];
         }
      }
   }
   bool isNoPlainNode(unsigned side, U32 at) const noexcept { return at == 0 || node(side, at).isCompressed(); }
   // Finds what differs in two nodes at this depth.
   void enter(Level& level, U32 inA, U32 inB, unsigned depth) noexcept {
      level.nodes[0] = inA;
      level.nodes[1] = inB;
      if (isNoPlainNode(0, inA) && isNoPlainNode(1, inB) && (inA | inB) != 0) [[unlikely]] {
         goDown(level.nodes, depth);
      }
      level.depth = depth;
      level.hasAhead = false;
      U32 only[2];
      const View a(*trees_[0], level.nodes[0], depth, only[0]);
      const View b(*trees_[1], level.nodes[1], depth, only[1]);
      if (!byBytes_) {
         level.routes[0] = a.routes[0] | b.routes[0];
         level.routes[1] = a.routes[1] | b.routes[1];
         level.children = a.children | b.children;
      } else if (level.nodes[0] == level.nodes[1]) {
         level.routes[0] = level.routes[1] = level.children = 0;
         return;
      } else {
         const auto bytesOf = [](const View& v) {
            return static_cast<const std::byte*>(static_cast<const void*>(v.numbers));
         };
         TwinRun numbers{bytesOf(a), bytesOf(b), sizeof(U32), sizeof(U32)};
         level.children = numbers.differing(a.children, b.children);
         compareRoutes(level, a, b);
      }
      U64 rest = level.children;
      for (unsigned i = 0; i < fetched && rest != 0; ++i, rest &= rest - 1) {
         const auto chunk = static_cast<unsigned>(std::countr_zero(rest));
         fetch(0, a.child(chunk));
         fetch(1, b.child(chunk));
      }
   }
   void compareRoutes(Level& level, const View& a, const View& b) const noexcept {
      const unsigned step = trees_[0]->step();
      if (step == 0) {
         level.routes[0] = a.routes[0] ^ b.routes[0];
         level.routes[1] = a.routes[1] ^ b.routes[1];
         return;
      }
      TwinRun values{a.values, b.values, step, trees_[0]->valueSize_};
      level.routes[0] = values.differing(a.routes[0], b.routes[0]);
      level.routes[1] = values.differing(a.routes[1], b.routes[1]);
   }
   static constexpr unsigned fetched = 4;  // pairs of nodes, so many before they are looked at
   void fetch(unsigned side, U32 at) const noexcept {
      for (unsigned line = 0; line < 5; ++line) {  // few nodes have more
         __builtin_prefetch(node(side, at).bytes() + 64 * line);
      }
   }

   //--- steps ---

   // To the first of what is still to be told.
   bool go() noexcept {
      for (;;) {
         Level& level = at_.way[at_.top];
         if (level.hasRoutes()) {
            const unsigned code = codeFrom(level.routes, level.children, 0);
            if ((code & 1) == 0) {
               tell(level, code >> 7, code >> 1 & 63);
               return true;
            }
            enterFirstChild(level);
         } else if (level.children != 0) {
            enterFirstChild(level);
         } else if (at_.top != 0) {
            --at_.top;
         } else {
            return false;
         }
      }
   }
   void tell(Level& level, unsigned half, unsigned place) noexcept {
      const U64 bit = U64{1} << place;
      level.routes[half] ^= bit;
      const unsigned depth = level.depth;
      at_.bits = cutWithChunk(at_.bits, depth, half << 5 | places[place].low);
      at_.length = depth + places[place].length;
      for (unsigned side = 0; side < 2; ++side) {
         at_.values[side] =
            level.nodes[side] != 0 ? valueIn(*trees_[side], level.nodes[side], depth, half, bit) : nullptr;
      }
   }
   static ROUTETRIE_INLINE const void* valueIn(const Tree& tree, U32 at, unsigned depth, unsigned half,
                                               U64 bit) noexcept {
      U32 only;
      const View view(tree, at, depth, only);
      if ((view.routes[half] & bit) == 0) {
         return nullptr;
      }
      const unsigned rank = static_cast<unsigned>(std::popcount(view.routes[half] & (bit - 1))) +
                            (static_cast<unsigned>(std::popcount(view.routes[0])) & (0 - half));
      return view.values + std::size_t{rank} * tree.step();
   }
   // What it leads to takes the place of a level with nothing else.
   void enterFirstChild(Level& level) noexcept {
      const unsigned depth = level.depth;
      U32 only[2];
      const View a(*trees_[0], level.nodes[0], depth, only[0]);
      const View b(*trees_[1], level.nodes[1], depth, only[1]);
      const auto chunk = static_cast<unsigned>(std::countr_zero(level.children));
      const U64 further = level.children & (level.children - 1);
      const U32 inA = a.child(chunk);
      const U32 inB = b.child(chunk);
      level.children = further;
      const bool isLast = further == 0 && !level.hasRoutes();
      Level& under = isLast ? level : at_.way[at_.top + 1];
      if (level.hasAhead) {
         under = at_.ahead[at_.top];
      } else {
         enter(under, inA, inB, depth + stride);
      }
      at_.bits = under.depth == depth + stride ? cutWithChunk(at_.bits, depth, chunk) : keyOfEither(inA, inB);
      if (isLast) {
         return;
      }
      level.hasAhead = further != 0 && at_.top < Twins::mostAhead;
      if (level.hasAhead) {
         const auto next = static_cast<unsigned>(std::countr_zero(further));
         enter(at_.ahead[at_.top], a.child(next), b.child(next), depth + stride);
         U64 rest = further;
         for (unsigned i = 1; i < fetched; ++i) {
            rest &= rest - 1;
         }
         if (rest != 0) {
            const auto later = static_cast<unsigned>(std::countr_zero(rest));
            fetch(0, a.child(later));
            fetch(1, b.child(later));
         }
      }
      ++at_.top;
   }
   // Where the way went past a depth, whatever stood there is compressed.
   Bits keyOfEither(U32 inA, U32 inB) const noexcept { return keyOf<width>(inA != 0 ? node(0, inA) : node(1, inB)); }
   // To the first behind a place, by a search for it.
   bool behind(Bits bits, unsigned length) noexcept {
      start();
      for (;;) {
         Level& level = at_.way[at_.top];
         const unsigned depth = level.depth;
         if (length <= depth) {
            return go();
         }
         const unsigned chunk = chunkAt(bits, depth);
         if (length <= depth + stride) {
            drop(level, (chunk >> 5 << 7 | placeOf(length - depth, cutLow(chunk & 31, length - depth)) << 1) + 1);
            return go();
         }
         const bool isThere = (level.children >> chunk & 1) != 0;
         drop(level, childCode(chunk) + 1);
         if (!isThere) {
            return go();
         }
         U32 only[2];
         const U32 inA = View(*trees_[0], level.nodes[0], depth, only[0]).child(chunk);
         const U32 inB = View(*trees_[1], level.nodes[1], depth, only[1]).child(chunk);
         Level& under = at_.way[at_.top + 1];
         enter(under, inA, inB, depth + stride);
         if (under.depth != depth + stride) {
            const Bits key = keyOfEither(inA, inB);
            if (!key.sharesFirst(bits, under.depth)) {
               if (key < bits) {
                  return go();
               }
               at_.bits = key;
               ++at_.top;
               return go();
            }
         }
         ++at_.top;
      }
   }
   // What stands before a code.
   static void drop(Level& level, unsigned code) noexcept {
      const unsigned half = code >> 7;
      const unsigned route = ((code & 127) + 1) >> 1;
      const unsigned child = half << 5 | fullBefore[(code & 127) >> 1];
      if (half != 0) {
         level.routes[0] = 0;
      }
      level.routes[half] = level.routes[half] >> route << route;
      level.children = child < 64 ? level.children >> child << child : 0;
   }

   const Tree* const trees_[2];
   Twins& at_;
   const bool byBytes_;
};

template <unsigned width>
bool Tree<width>::firstDifference(const Tree& other, Twins& at, bool byBytes) const noexcept {
   return TwinWalk(*this, other, at, byBytes).first();
}
template <unsigned width>
bool Tree<width>::nextDifference(const Tree& other, Twins& at, bool byBytes) const noexcept {
   return TwinWalk(*this, other, at, byBytes).next();
}

template bool Tree<32>::firstDifference(const Tree&, Twins&, bool) const noexcept;
template bool Tree<128>::firstDifference(const Tree&, Twins&, bool) const noexcept;
template bool Tree<32>::nextDifference(const Tree&, Twins&, bool) const noexcept;
template bool Tree<128>::nextDifference(const Tree&, Twins&, bool) const noexcept;

}  // namespace routetrie::Impl
