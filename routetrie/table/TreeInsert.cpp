// How a route comes in: into the node that is there, as one child more, or where a compressed way has to be opened.
#include <algorithm>

#include "routetrie/table/TreeChange.h"

namespace routetrie::Impl {

template <unsigned width>
void Tree<width>::needStore() {
   if (store_ == nullptr) {
      base_ = Region::base();
      store_ = std::make_shared<Store>();
   }
}

template <unsigned width>
void Tree<width>::needRoot() {
   needStore();
   if (root_ == 0) {
      const U32 root = store_->nodes.allocate(1);
      node(root) = Node{};
      root_ = root;
   }
}

// Where the search for a route to change may begin: at the node that the index knows, if the route lies at or under it.
template <unsigned width>
U32 Tree<width>::startFor(Bits bits, unsigned length, unsigned& depth) const noexcept {
   if (length > indexDepth) {
      const U32 number = indexed(bits);
      const U32 at = number & ~aboveBit;
      if (at != 0 && !node(at).isCompressed()) {
         depth = number == at ? indexDepth : groupDepth;
         return at;
      }
   }
   depth = 0;
   return root_;
}

// Where the number stands of the node at `depth` to which these bits lead. Requires: it is there, and not spanned by a compressed one.
template <unsigned width>
void* Tree<width>::linkTo(Bits bits, unsigned depth) noexcept {
   void* link = &root_;
   for (unsigned at = 0; at != depth;) {
      Node& n = node(linked(link));
      if (n.isCompressed()) {
         at = n.length();
         link = &n.routes[1];
      } else {
         link = &childNumber(n, chunkAt(bits, at));
         at += stride;
      }
   }
   return link;
}

// One route on its way in. What is written lies in memory of its own until the last step.
template <unsigned width>
class Tree<width>::Insertion {
  public:
   Insertion(Tree& tree, const Start& start, Bits bits, unsigned length, void (*make)(void*, void*),
             void* context) noexcept
      : tree_(tree),
        change_(*tree.store_),
        start_(start),
        bits_(bits),
        length_(length),
        make_(make),
        context_(context) {}

   // Into a node: what is its own. It may be elsewhere then.
   void* addRoute() {
      const Node& from = tree_.node(start_.at);
      const unsigned routes = from.routeCount();
      const unsigned children = from.childCount();
      const U32 at =
         change_.resize(start_.at, tree_.unitsFor(children, routes), tree_.unitsFor(children, routes + 1));
      makeValue();
      void* const place = writeRoute(tree_.node(at), from, bits_, length_ - start_.depth, start_.depth, &value_);
      settle(at);
      return place;
   }
   void* addChild() {
      const Node& from = tree_.node(start_.at);
      const unsigned routes = from.routeCount();
      const unsigned children = from.childCount();
      void* place = nullptr;
      const U32 child = alone(bits_, length_, start_.depth + stride, place);
      const U32 at =
         change_.resize(start_.at, tree_.unitsFor(children, routes), tree_.unitsFor(children + 1, routes));
      makeValue();
      std::memcpy(place, &value_, tree_.valueSize_);
      writeChild(tree_.node(at), from, chunkAt(bits_, start_.depth), child);
      settle(at);
      return place;
   }
   // A compressed node that leads elsewhere, or too far: a node takes its place where the two ways part, or a way to it.
   void* open() {
      const Node& n = tree_.node(start_.at);
      const unsigned depth = start_.depth;
      const Bits key = keyOf<width>(n);
      const unsigned keyLength = n.length();
      const unsigned common = std::min({key.commonLength(bits_), keyLength - 1, length_ - 1});
      const unsigned parting = depth + (common - depth) / stride * stride;
      Draft branch;
      if (!n.isLeaf()) {
         writeChild(branch, chunkAt(key, parting), restOf(n, parting + stride));
      } else if (keyLength <= parting + stride) {
         writeRoute(branch, key, keyLength - parting, parting, n.leafValue());
         change_.release(start_.at, 1);
      } else if (keyLength > parting + 3 * stride) {
         writeChild(branch, chunkAt(key, parting), start_.at);
      } else {
         void* place = nullptr;
         writeChild(branch, chunkAt(key, parting), alone(key, keyLength, parting + stride, place));
         std::memcpy(place, n.leafValue(), tree_.valueSize_);
         change_.release(start_.at, 1);
      }
      void* place = nullptr;
      if (length_ <= parting + stride) {
         writeRoute(branch, bits_, length_ - parting, parting, &value_);
      } else {
         writeChild(branch, chunkAt(bits_, parting), alone(bits_, length_, parting + stride, place));
      }
      const U32 at = finish(branch);
      const U32 way = leadTo(at, depth, parting);
      makeValue();
      if (place == nullptr) {
         const unsigned chunk = chunkAt(bits_, parting);
         place = tree_.valueOf(tree_.node(at), chunk >> 5, placeOf(length_ - parting, chunk & 31));
      }
      std::memcpy(place, &value_, tree_.valueSize_);
      settle(way);
      return place;
   }

   U32 at() const noexcept { return start_.at; }
   bool hasMoved() const noexcept { return hasMoved_; }

  private:
   // A node under way, with room for two children or routes.
   struct Draft {
      alignas(Node) std::byte bytes[Node::headerBytes + 2 * 4 + 2 * 8]{};
      Node& node() noexcept { return *static_cast<Node*>(static_cast<void*>(bytes)); }
   };

   void makeValue() { make_(context_, &value_); }

   // All that is needed is there: what leads to the node leads to this one.
   void settle(U32 at) noexcept {
      if (at != start_.at) {
         hasMoved_ = true;
         start_.at = at;
         std::memcpy(start_.link != nullptr ? start_.link : tree_.linkTo(bits_, start_.depth), &at, sizeof at);
      }
      change_.keep();
   }

   U32 finish(Draft& draft) {
      const unsigned units = tree_.unitsOf(draft.node());
      const U32 at = change_.allocate(units);
      std::memcpy(tree_.node(at).bytes(), draft.bytes, std::min(sizeof draft.bytes, units * sizeof(Node)));
      return at;
   }
   U32 finish(const Node& n) {
      const U32 at = change_.allocate(1);
      tree_.node(at) = n;
      return at;
   }

   // A node at `depth` for one route, its value to be written at `place`.
   U32 alone(Bits bits, unsigned length, unsigned depth, void*& place) {
      if (length > depth + 2 * stride) {
         const U32 at = finish(compressedNode(bits, length, Node::leafBit, 0));
         place = &tree_.node(at).routes[1];
         return at;
      }
      Draft draft;
      if (length > depth + stride) {
         writeChild(draft, chunkAt(bits, depth), alone(bits, length, depth + stride, place));
         return finish(draft);
      }
      writeRoute(draft, bits, length - depth, depth, &value_);
      const U32 at = finish(draft);
      place = tree_.node(at).bytes() + Node::headerBytes;
      return at;
   }
   // What remains of a skip from `depth` on.
   U32 restOf(const Node& skip, unsigned depth) {
      const unsigned rest = skip.length() - depth;
      if (rest >= 2 * stride) {
         return start_.at;
      }
      change_.release(start_.at, 1);
      if (rest == 0) {
         return skip.target();
      }
      Draft thin;
      writeChild(thin, chunkAt(keyOf<width>(skip), depth), skip.target());
      return finish(thin);
   }
   // A node at `depth` that leads to one at `to`.
   U32 leadTo(U32 at, unsigned depth, unsigned to) {
      if (depth == to) {
         return at;
      }
      if (to - depth >= 2 * stride) {
         return finish(compressedNode(bits_, to, 0, at));
      }
      Draft thin;
      writeChild(thin, chunkAt(bits_, depth), at);
      return finish(thin);
   }

   void writeRoute(Draft& draft, Bits bits, unsigned length, unsigned depth, const void* value) noexcept {
      writeRoute(draft.node(), draft.node(), bits, length, depth, value);
   }
   void writeChild(Draft& draft, unsigned chunk, U32 child) noexcept {
      writeChild(draft.node(), draft.node(), chunk, child);
   }
   // Into a node that is as the other, or is to be; there is room.
   void* writeRoute(Node& to, const Node& from, Bits bits, unsigned length, unsigned depth,
                    const void* value) noexcept {
      const unsigned chunk = chunkAt(bits, depth);
      const unsigned half = chunk >> 5;
      const unsigned place = placeOf(length, chunk & 31);
      const unsigned step = tree_.step();
      const unsigned start = valuesFrom(from.childCount(), step);
      const unsigned in = start + valueRank(from, half, place) * step;
      std::memmove(to.bytes() + in + step, from.bytes() + in, start + from.routeCount() * step - in);
      if (&to != &from) {
         std::memcpy(to.bytes(), from.bytes(), in);
      }
      to.routes[half] |= U64{1} << place;
      std::memcpy(to.bytes() + in, value, tree_.valueSize_);
      return to.bytes() + in;
   }
   void writeChild(Node& to, const Node& from, unsigned chunk, U32 child) noexcept {
      const unsigned step = tree_.step();
      const unsigned count = from.childCount();
      const unsigned rank = childRank(from.children, chunk);
      std::memmove(to.bytes() + valuesFrom(count + 1, step), from.bytes() + valuesFrom(count, step),
                   std::size_t{from.routeCount()} * step);
      std::memmove(to.numbers() + rank + 1, from.numbers() + rank, std::size_t{count - rank} * 4);
      if (&to != &from) {
         std::memcpy(to.bytes(), from.bytes(), Node::headerBytes + std::size_t{rank} * 4);
      }
      to.children |= U64{1} << chunk;
      to.numbers()[rank] = child;
   }

   Tree& tree_;
   Change change_;
   Start start_;
   Bits bits_;
   unsigned length_;
   void (*make_)(void*, void*);
   void* context_;
   U64 value_ = 0;
   bool hasMoved_ = false;
};

template <unsigned width>
typename Tree<width>::Inserted Tree<width>::insert(Bits bits, unsigned length, void (*make)(void*, void*),
                                                   void* context, bool writes) {
   const bool isVersioned = tend();
   if (length == 0) {
      if (isVersioned) {
         store_->makeRoom();  // for the slot of a value
      }
      if (hasDefault_) {
         return {&default_, false};
      }
      U64 value = 0;
      make(context, &value);
      default_ = value;
      hasDefault_ = true;
      ++size_;
      ++generation_;
      resizeIndex();
      return {&default_, true};
   }
   if (root_ == 0) {
      needRoot();
   }
   Start start{0, 0, nullptr};
   if (isVersioned) [[unlikely]] {
      fetchWay(bits, length);
      Way way;
      goTo(way, bits, length);
      if (void* const place = routeAt(way, bits, length); place != nullptr) {
         if (!writes) {
            return {place, false};
         }
         own(way, bits, true);
         return {routeAt(way, bits, length), false};
      }
      start = own(way, bits, false);
   } else {
      start.at = startFor(bits, length, start.depth);
      start.link = start.depth == 0 ? &root_ : nullptr;
   }
   for (;;) {
      Node& n = node(start.at);
      if (n.isCompressed()) {
         const unsigned keyLength = n.length();
         const Bits key = keyOf<width>(n);
         if (n.isLeaf() && keyLength == length && key == bits) {
            return {&n.routes[1], false};
         }
         if (!n.isLeaf() && length > keyLength && key.sharesFirst(bits, keyLength)) {
            start = {n.target(), keyLength, &n.routes[1]};
            continue;
         }
         Insertion insertion(*this, start, bits, length, make, context);
         void* const place = insertion.open();
         if (start.depth < indexDepth) {
            touchGroup(bits);
            touchGroup(key);
         } else if (start.depth == indexDepth) {
            touchMoved(insertion.at(), bits, start.depth);
         }
         return inserted(place);
      }
      const unsigned chunk = chunkAt(bits, start.depth);
      if (length <= start.depth + stride) {
         const unsigned half = chunk >> 5;
         const unsigned bit = placeOf(length - start.depth, chunk & 31);
         if ((n.routes[half] >> bit & 1) != 0) {
            return {valueOf(n, half, bit), false};
         }
         Insertion insertion(*this, start, bits, length, make, context);
         void* const place = insertion.addRoute();
         if (insertion.hasMoved()) {
            touchMoved(insertion.at(), bits, start.depth);
         }
         return inserted(place);
      }
      if ((n.children >> chunk & 1) == 0) {
         Insertion insertion(*this, start, bits, length, make, context);
         void* const place = insertion.addChild();
         if (insertion.hasMoved()) {
            touchMoved(insertion.at(), bits, start.depth);
         }
         if (start.depth == groupDepth) {
            touchChild(insertion.at(), bits);
         } else if (start.depth < groupDepth) {
            touchGroup(bits);
         }
         return inserted(place);
      }
      U32& child = childNumber(n, chunk);
      start = {child, start.depth + stride, &child};
   }
}

template <unsigned width>
typename Tree<width>::Inserted Tree<width>::inserted(void* place) noexcept {
   ++size_;
   ++generation_;
   resizeIndex();
   return {place, true};
}

template Tree<32>::Inserted Tree<32>::insert(Bits, unsigned, void (*)(void*, void*), void*, bool);
template Tree<128>::Inserted Tree<128>::insert(Bits, unsigned, void (*)(void*, void*), void*, bool);
template void* Tree<32>::linkTo(Bits, unsigned) noexcept;
template void* Tree<128>::linkTo(Bits, unsigned) noexcept;
template void Tree<32>::needStore();
template void Tree<128>::needStore();
template void Tree<32>::needRoot();
template void Tree<128>::needRoot();
template U32 Tree<32>::startFor(Bits, unsigned, unsigned&) const noexcept;
template U32 Tree<128>::startFor(Bits, unsigned, unsigned&) const noexcept;

}  // namespace routetrie::Impl
