// A tree as a whole: moved, swapped, copied, emptied.
#include "routetrie/table/Tree.h"

#include <algorithm>
#include <cstring>

namespace routetrie::Impl {

template <unsigned width>
Tree<width>::Tree(Tree&& other) noexcept : Tree(other.valueSize_) {
   swap(other);
}

template <unsigned width>
Tree<width>& Tree<width>::operator=(Tree&& other) noexcept {
   if (this != &other) {
      clear();
      swap(other);
   }
   return *this;
}

template <unsigned width>
void Tree<width>::swap(Tree& other) noexcept {
   std::swap(base_, other.base_);
   std::swap(store_, other.store_);
   std::swap(size_, other.size_);
   std::swap(default_, other.default_);
   std::swap(root_, other.root_);
   std::swap(index_, other.index_);
   std::swap(pages_, other.pages_);
   std::swap(valueSize_, other.valueSize_);
   std::swap(step_, other.step_);
   std::swap(hasDefault_, other.hasDefault_);
   std::swap(publishes_, other.publishes_);
   // Neither has had it before.
   generation_ = other.generation_ = std::max(generation_, other.generation_) + 1;
}

template <unsigned width>
Tree<width> Tree<width>::clone() const {
   Tree copy(valueSize_);
   if (root_ != 0) {
      copy.needRoot();
      copy.node(copy.root_) = copyOf(node(root_), copy);
   }
   copy.default_ = default_;
   copy.hasDefault_ = hasDefault_;
   copy.size_ = size_;
   copy.generation_ = 1;
   if (index_ != 0) {
      copy.buildIndex();
   }
   return copy;
}

// A node for the other tree, with copies of all that is under it. What raises leaves runs there that nobody holds; they go with it.
template <unsigned width>
Node Tree<width>::copyOf(const Node& n, Tree& to) const {
   Node copy = n;
   if (n.isCompressed()) {
      if (!n.isLeaf()) {
         const U32 run = to.store_->nodes.allocate(1);
         to.node(run) = copyOf(node(n.target()), to);
         copy.routes[1] = run;
      }
      return copy;
   }
   if (const unsigned count = n.routeCount(); count != 0 && step() != 0) {
      const U32 start = 2 * to.store_->values.allocate(valueUnits(count));
      std::memcpy(to.valueAt(start), valueAt(valuesStart(n)), std::size_t{count} * step());
      copy.valueRun = start + (n.valueRun - valuesStart(n));
   }
   if (const unsigned count = n.childCount(); count != 0) {
      copy.childRun = to.store_->nodes.allocate(runRoom(count));
      for (unsigned i = 0; i < count; ++i) {
         to.node(copy.childRun + i) = copyOf(node(n.childRun + i), to);
      }
   }
   return copy;
}

template <unsigned width>
void Tree<width>::forget() noexcept {
   store_.reset();
   root_ = 0;
   index_ = 0;
   pages_ = 0;
   size_ = 0;
   hasDefault_ = false;
   publishes_ = false;
}

template <unsigned width>
void Tree<width>::clear() noexcept {
   forget();
   ++generation_;
}

template class Tree<32>;
template class Tree<128>;

}  // namespace routetrie::Impl
