// How a route comes in: into the node that is there, as one child more, or where a compressed way has to be opened.
#include <algorithm>

#include "routetrie/table/TreeChange.h"

namespace routetrie::Impl {

template <unsigned width>
void Tree<width>::needStore() {
   if (store_ == nullptr) {
      base_ = Region::base();
      store_ = std::make_shared<Store>(valueSize_);
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

// One route on its way in. What is written lies in memory of its own until the last step.
template <unsigned width>
class Tree<width>::Insertion {
  public:
   Insertion(Tree& tree, Bits bits, unsigned length, void (*make)(void*, void*), void* context) noexcept
      : tree_(tree), change_(*tree.store_), bits_(bits), length_(length), make_(make), context_(context) {}

   // Into a node: what is its own.
   void* addRoute(Node& n, unsigned depth) {
      const U32 start = change_.roomForValue(n, tree_.step());
      makeValue();
      void* const place = writeRoute(n, start, bits_, length_ - depth, depth, &value_);
      change_.keep();
      return place;
   }
   void* addChild(Node& n, unsigned depth) {
      void* place = nullptr;
      Node child = alone(bits_, length_, depth + stride, place);
      const U32 run = change_.roomForChild(n);
      makeValue();
      std::memcpy(place != nullptr ? place : &child.routes[1], &value_, tree_.valueSize_);
      Node& at = writeChild(n, run, chunkAt(bits_, depth), child);
      change_.keep();
      return place != nullptr ? place : &at.routes[1];
   }
   // A compressed node that leads elsewhere, or too far: a node takes its place where the two ways part, or a way to it.
   void* open(Node& n, unsigned depth) {
      const Bits key = keyOf<width>(n);
      const unsigned keyLength = n.length();
      const unsigned common = std::min({key.commonLength(bits_), keyLength - 1, length_ - 1});
      const unsigned parting = depth + (common - depth) / stride * stride;
      Node branch{};
      if (n.isLeaf()) {
         if (keyLength <= parting + stride) {
            const U32 start = change_.roomForValue(branch, tree_.step());
            writeRoute(branch, start, key, keyLength - parting, parting, n.leafValue());
         } else {
            void* oldPlace = nullptr;
            Node old = alone(key, keyLength, parting + stride, oldPlace);
            std::memcpy(oldPlace != nullptr ? oldPlace : &old.routes[1], n.leafValue(), tree_.valueSize_);
            writeChild(branch, change_.roomForChild(branch), chunkAt(key, parting), old);
         }
      } else {
         writeChild(branch, change_.roomForChild(branch), chunkAt(key, parting), restOf(n, parting + stride));
      }
      void* place = nullptr;
      Node* leaf = nullptr;
      if (length_ <= parting + stride) {
         const U32 start = change_.roomForValue(branch, tree_.step());
         place = writeRoute(branch, start, bits_, length_ - parting, parting, &value_);
      } else {
         const Node added = alone(bits_, length_, parting + stride, place);
         leaf = &writeChild(branch, change_.roomForChild(branch), chunkAt(bits_, parting), added);
      }
      const Node way = leadTo(branch, depth, parting);
      makeValue();
      if (place == nullptr) {
         place = &leaf->routes[1];
      }
      std::memcpy(place, &value_, tree_.valueSize_);
      n = way;
      change_.keep();
      return place;
   }

  private:
   void makeValue() { make_(context_, &value_); }

   // A node at `depth` for one route, its value not written: where it goes, or null if the node is a leaf.
   Node alone(Bits bits, unsigned length, unsigned depth, void*& place) {
      if (length > depth + 2 * stride) {
         return compressedNode(bits, length, Node::leafBit, 0);
      }
      Node n{};
      if (length > depth + stride) {
         const Node child = alone(bits, length, depth + stride, place);
         writeChild(n, change_.roomForChild(n), chunkAt(bits, depth), child);
      } else {
         const U32 start = change_.roomForValue(n, tree_.step());
         place = writeRoute(n, start, bits, length - depth, depth, &value_);
      }
      return n;
   }
   // What remains of a skip from `depth` on.
   Node restOf(const Node& skip, unsigned depth) noexcept {
      const unsigned rest = skip.length() - depth;
      if (rest >= 2 * stride) {
         return skip;
      }
      if (rest == 0) {
         const Node target = tree_.node(skip.target());
         change_.release(Change::ofNodes, skip.target(), 1);
         return target;
      }
      Node n{};
      n.children = U64{1} << chunkAt(keyOf<width>(skip), depth);
      n.childRun = skip.target();
      return n;
   }
   // A node at `depth` that leads to `n`, which is to stand at `to`.
   Node leadTo(const Node& n, unsigned depth, unsigned to) {
      if (depth == to) {
         return n;
      }
      const U32 run = change_.allocate(Change::ofNodes, 1);
      tree_.node(run) = n;
      if (to - depth >= 2 * stride) {
         return compressedNode(bits_, to, 0, run);
      }
      Node thin{};
      thin.children = U64{1} << chunkAt(bits_, depth);
      thin.childRun = run;
      return thin;
   }

   void* writeRoute(Node& n, U32 start, Bits bits, unsigned length, unsigned depth, const void* value) noexcept {
      const unsigned chunk = chunkAt(bits, depth);
      const unsigned half = chunk >> 5;
      const unsigned place = placeOf(length, chunk & 31);
      if (const unsigned step = tree_.step(); step != 0) {
         const unsigned before = static_cast<unsigned>(std::popcount(n.routes[1]));
         const unsigned count = n.routeCount();
         const unsigned rank = static_cast<unsigned>(std::popcount(below(n.routes[half], place)));
         const unsigned in = half != 0 ? before - rank : before + rank;
         std::byte* const to = tree_.valueAt(start);
         if (count != 0) {
            const std::byte* const from = tree_.valueAt(valuesStart(n));
            std::memmove(to + (in + 1) * step, from + in * step, (count - in) * step);
            if (to != from) {
               std::memcpy(to, from, in * step);
            }
         }
         std::memcpy(to + in * step, value, tree_.valueSize_);
         n.valueRun = start + before + half;
      }
      n.routes[half] |= U64{1} << place;
      return tree_.valueOf(n, half, place);
   }
   Node& writeChild(Node& n, U32 run, unsigned chunk, const Node& child) noexcept {
      const unsigned count = n.childCount();
      const unsigned rank = childRank(n.children, chunk);
      Node* const to = &tree_.node(run);
      if (count != 0) {
         const Node* const from = &tree_.node(n.childRun);
         std::memmove(to + rank + 1, from + rank, (count - rank) * sizeof(Node));
         if (to != from) {
            std::memcpy(to, from, rank * sizeof(Node));
         }
      }
      to[rank] = child;
      n.children |= U64{1} << chunk;
      n.childRun = run;
      return to[rank];
   }

   Tree& tree_;
   Change change_;
   Bits bits_;
   unsigned length_;
   void (*make_)(void*, void*);
   void* context_;
   U64 value_ = 0;
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
   if (isVersioned) [[unlikely]] {
      if (void* const place = const_cast<void*>(find(bits, length)); place != nullptr) {
         if (!writes) {
            return {place, false};
         }
         own(bits, length, true);
         return {const_cast<void*>(find(bits, length)), false};
      }
      own(bits, length, false);
   }
   unsigned depth = 0;
   U32 at = startFor(bits, length, depth);
   Insertion insertion(*this, bits, length, make, context);
   void* place = nullptr;
   while (place == nullptr) {
      Node& n = node(at);
      if (n.isCompressed()) {
         const unsigned keyLength = n.length();
         const Bits key = keyOf<width>(n);
         if (n.isLeaf() && keyLength == length && key == bits) {
            return {&n.routes[1], false};
         }
         if (!n.isLeaf() && length > keyLength && key.sharesFirst(bits, keyLength)) {
            depth = keyLength;
            at = n.target();
            continue;
         }
         place = insertion.open(n, depth);
         if (depth < indexDepth) {
            touchGroup(bits);
            touchGroup(key);
         }
         break;
      }
      const unsigned chunk = chunkAt(bits, depth);
      if (length <= depth + stride) {
         const unsigned half = chunk >> 5;
         const unsigned bit = placeOf(length - depth, chunk & 31);
         if ((n.routes[half] >> bit & 1) != 0) {
            return {valueOf(n, half, bit), false};
         }
         place = insertion.addRoute(n, depth);
      } else if ((n.children >> chunk & 1) == 0) {
         place = insertion.addChild(n, depth);
         touchRun(n, bits, depth);
         if (depth < groupDepth) {
            touchGroup(bits);
         }
      } else {
         at = n.childRun + childRank(n.children, chunk);
         depth += stride;
      }
   }
   ++size_;
   ++generation_;
   resizeIndex();
   return {place, true};
}

template Tree<32>::Inserted Tree<32>::insert(Bits, unsigned, void (*)(void*, void*), void*, bool);
template Tree<128>::Inserted Tree<128>::insert(Bits, unsigned, void (*)(void*, void*), void*, bool);
template void Tree<32>::needStore();
template void Tree<128>::needStore();
template void Tree<32>::needRoot();
template void Tree<128>::needRoot();
template U32 Tree<32>::startFor(Bits, unsigned, unsigned&) const noexcept;
template U32 Tree<128>::startFor(Bits, unsigned, unsigned&) const noexcept;

}  // namespace routetrie::Impl
