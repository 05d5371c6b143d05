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
   std::swap(hasParts_, other.hasParts_);
   std::swap(topsToFill_, other.topsToFill_);
   // Neither has had it before.
   generation_ = other.generation_ = std::max(generation_, other.generation_) + 1;
}

template <unsigned width>
Tree<width> Tree<width>::clone() const {
   Tree copy(valueSize_);
   if (root_ != 0) {
      copy.needStore();
      copy.root_ = copyOf(root_, copy);
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

// A copy of a node for the other tree, and of all that is under it. What raises leaves blocks there that nobody holds; they go with it.
template <unsigned width>
U32 Tree<width>::copyOf(U32 at, Tree& to) const {
   const Node& n = node(at);
   const unsigned units = unitsOf(n);
   const U32 copied = to.store_->nodes.allocate(units);
   Node& copy = to.node(copied);
   std::memcpy(copy.bytes(), n.bytes(), units * sizeof(Node));
   if (n.isCompressed()) {
      if (!n.isLeaf()) {
         copy = compressedNode(keyOf<width>(n), n.length(), 0, copyOf(n.target(), to));
      }
      return copied;
   }
   for (unsigned i = 0; i < n.childCount(); ++i) {
      copy.numbers()[i] = copyOf(n.numbers()[i], to);
   }
   return copied;
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
   hasParts_ = false;
   topsToFill_ = 0;
}

template <unsigned width>
void Tree<width>::clear() noexcept {
   forget();
   ++generation_;
}

template class Tree<32>;
template class Tree<128>;

}  // namespace routetrie::Impl
