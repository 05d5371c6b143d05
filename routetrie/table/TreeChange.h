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
         store_.arena(made_[i].kind).release(made_[i].at, made_[i].units);
      }
   }
   void keep() noexcept {
      madeCount_ = 0;
      for (unsigned i = 0; i < goneCount_; ++i) {
         store_.retire(gone_[i].kind, gone_[i].at, gone_[i].units);
      }
   }

   using Kind = Store::Kind;
   static constexpr Kind ofNodes = Store::ofNodes, ofValues = Store::ofValues;
   U32 allocate(Kind kind, unsigned units) {
      const U32 at = store_.arena(kind).allocate(units);
      made_[madeCount_++] = {at, static_cast<U8>(units), kind};
      return at;
   }
   // What was taken for this change may go as well.
   void release(Kind kind, U32 at, unsigned units) noexcept {
      gone_[goneCount_++] = {at, static_cast<U8>(units), kind};
   }
   // A run of `from` units made one of `to`, to be written: where it is or, its content to be copied, elsewhere.
   U32 resize(Kind kind, U32 at, unsigned from, unsigned to) {
      if (from == to && (!store_.isVersioned() || store_.arena(kind).owns(at))) {
         return at;
      }
      const U32 moved = allocate(kind, to);
      if (from != 0) {
         release(kind, at, from);
      }
      return moved;
   }

   // Where the values of `n` are to begin once it has one more, where its children are to be.
   U32 roomForValue(const Node& n, unsigned step) {
      if (step == 0) {
         return 0;
      }
      const unsigned count = n.routeCount();
      if (count != 0) {
         store_.values.prefetch(valuesStart(n) / 2);
      }
      return 2 * resize(ofValues, count != 0 ? valuesStart(n) / 2 : 0, valueUnits(count), valueUnits(count + 1));
   }
   U32 roomForChild(const Node& n) {
      const unsigned count = n.childCount();
      return resize(ofNodes, n.childRun, runRoom(count), runRoom(count + 1));
   }

  private:
   struct Part {
      U32 at;
      U8 units;
      Kind kind;
   };
   Store& store_;
   unsigned madeCount_ = 0;
   unsigned goneCount_ = 0;
   Part made_[12];
   Part gone_[4];
};

}  // namespace routetrie::Impl
