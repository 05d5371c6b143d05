// Refresh and sweep: what a table remembers between mark() and the end of the sweep: which routes were touched.
//
//    t.mark();                                       the peer is gone; its routes stay, and are not yet believed
//    t.insert_or_assign(p, value);  ...              it is back and tells its routes anew, the same or others
//    while (!t.sweep(1000).done) { ... }             what it did not tell again goes, a slice at a time
//
// A set has the routes that were touched and not yet passed by the sweep, so a table that is not marked has nothing of it, and one
// that is remembers only what was told since. What the sweep has passed it has judged: routes before it need no memory.
// Tested by tests/table/RefreshTest.cpp.
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <utility>

#include "routetrie/explanation.h"
#include "routetrie/platform/Export.h"
#include "routetrie/table/Tree.h"

namespace routetrie {

// What one slice of a sweep did.
struct sweep_slice {
   std::size_t erased = 0;
   bool done = false;  // all has been looked at, and the table is not marked any more
   friend bool operator==(const sweep_slice&, const sweep_slice&) noexcept = default;
};

namespace Impl {

// Raises std::logic_error.
[[noreturn]] ROUTETRIE_EXPORT void throwNoMark();

template <unsigned width>
class Refresh {
   using Bits = Corenet::AddressBits<width>;

  public:
   // The route is there and believed. Whether that had to be noted; std::bad_alloc has changed nothing.
   bool touch(Bits bits, unsigned length) {
      return !isPassed(bits, length) && touched_
                                           .insert(
                                              bits, length, [](void*, void*) {}, nullptr)
                                           .created;
   }
   // It is gone, or the note was premature.
   void forget(Bits bits, unsigned length) noexcept { touched_.erase(bits, length, nullptr); }
   void forgetAll() noexcept { touched_.clear(); }

   // The sweep comes to this route, in order: whether it was touched.
   bool pass(Bits bits, unsigned length) noexcept {
      bits_ = bits;
      passed_ = length + 1;
      return touched_.erase(bits, length, nullptr);
   }
   // Where the sweep goes on: the first route at this place or behind it.
   std::pair<Bits, unsigned> place() const noexcept { return {bits_, passed_}; }

   bool isTouched(Bits bits, unsigned length) const noexcept { return touched_.find(bits, length) != nullptr; }

   const Tree<width>& touched() const noexcept { return touched_; }
   bool isPassed(Bits bits, unsigned length) const noexcept {
      return bits < bits_ || (bits == bits_ && length < passed_);
   }
   table_memory memory() const noexcept {
      table_memory held = touched_.memory();
      held.nodes += sizeof *this;
      return held;
   }

  private:
   Tree<width> touched_{0};
   Bits bits_;
   unsigned passed_ = 0;  // lengths at these bits that were passed
};

// Notes that a route is touched by a change, and takes that back unless the change is kept. Does nothing for a table that is not
// marked.
template <unsigned width>
class Touch {
   using Bits = Corenet::AddressBits<width>;

  public:
   Touch(Refresh<width>* refresh, Bits bits, unsigned length) : refresh_(refresh), bits_(bits), length_(length) {
      if (refresh_ != nullptr && !refresh_->touch(bits_, length_)) [[unlikely]] {
         refresh_ = nullptr;
      }
   }
   Touch(const Touch&) = delete;
   Touch& operator=(const Touch&) = delete;
   ~Touch() {
      if (refresh_ != nullptr) [[unlikely]] {
         refresh_->forget(bits_, length_);
      }
   }
   void keep() noexcept { refresh_ = nullptr; }

  private:
   Refresh<width>* refresh_;
   Bits bits_;
   unsigned length_;
};

}  // namespace Impl
}  // namespace routetrie
