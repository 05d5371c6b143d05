// What the sources that change a tree share: the memory that one change takes, given back if it is not kept.
#pragma once

#include <cstring>

#include "routetrie/table/Tree.h"

namespace routetrie::Impl {

// All memory is taken through it before the first byte of the tree is written. What was taken goes back unless keep() is called;
// what the change frees stays until then.
template <unsigned width>
class Tree<width>::Change {
  public:
   explicit Change(Store& store) noexcept : store_(store) {}
   Change(const Change&) = delete;
   Change& operator=(const Change&) = delete;
   ~Change() {
      for (unsigned i = 0; i < madeCount_; ++i) {
         store_.nodes.release(made_[i].at, made_[i].units);
      }
   }
   void keep() noexcept {
      madeCount_ = 0;
      if (goneUnits_ != 0) {
         store_.retire(Store::ofNodes, gone_, goneUnits_);
      }
   }

   U32 allocate(unsigned units) {
      const U32 at = store_.nodes.allocate(units);
      made_[madeCount_++] = {at, units};
      return at;
   }
   // One block goes at most.
   void release(U32 at, unsigned units) noexcept {
      gone_ = at;
      goneUnits_ = units;
   }
   // A block of `from` units made one of `to`, to be written: where it is or, its content to be copied, elsewhere.
   U32 resize(U32 at, unsigned from, unsigned to) {
      if (from == to && (!store_.isVersioned() || store_.nodes.owns(at))) {
         return at;
      }
      store_.nodes.prefetch(at);
      const U32 moved = allocate(to);
      release(at, from);
      return moved;
   }

  private:
   struct Part {
      U32 at;
      unsigned units;
   };
   Store& store_;
   unsigned madeCount_ = 0;
   unsigned goneUnits_ = 0;
   U32 gone_ = 0;
   Part made_[8];
};

}  // namespace routetrie::Impl
