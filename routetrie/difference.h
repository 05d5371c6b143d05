// difference: what has to happen to one table to make it equal another.
//
//    for (const auto& d : routetrie::difference(before, after)) {
//       if (!d.after) ...            d.prefix has a route in `before` alone, d.before
//       else if (!d.before) ...      in `after` alone, d.after
//       else ...                     in both, with different values
//    }
//
// A view: it reads both tables as it is walked, in one pass and in their order, and finds one difference after another. Both have to
// live as long. What it stands on, and what lies before that, may change on the way, so that this makes `a` equal to `b`:
//
//    for (const auto& d : difference(a, b)) {
//       d.after ? (void)a.insert_or_assign(d.prefix, d.after->value) : (void)a.erase(d.prefix);
//    }
// Tested by tests/table/DifferenceTest.cpp, tests/property/TableAggregateTest.cpp.
#pragma once

#include <compare>
#include <cstddef>
#include <functional>
#include <iterator>
#include <optional>
#include <type_traits>

#include "routetrie/table/Kinds.h"

namespace routetrie {

// One prefix, and its route before and after: in at least one of them it has one. The routes refer to the values in the tables.
template <any_prefix P, class Before, class After = Before>
struct basic_difference {
   P prefix;
   std::optional<Before> before;
   std::optional<After> after;
};

// A place among the differences of two tables.
template <class A, class B, class Equal>
class difference_iterator {
  public:
   using prefix_type = typename A::prefix_type;
   using value_type = basic_difference<prefix_type, typename A::value_type, typename B::value_type>;
   using difference_type = std::ptrdiff_t;
   using reference = value_type;
   using pointer = Impl::Arrow<value_type>;
   using iterator_category = std::input_iterator_tag;
   using iterator_concept = std::forward_iterator_tag;

   difference_iterator() noexcept = default;
   difference_iterator(const A& a, const B& b, const Equal& equal) : a_(a.begin()), b_(b.begin()), equal_(equal) {
      seek();
   }

   value_type operator*() const noexcept {
      value_type d{at_, std::nullopt, std::nullopt};
      if (side_ != Side::after) {
         d.before.emplace(*a_);
      }
      if (side_ != Side::before) {
         d.after.emplace(*b_);
      }
      return d;
   }
   pointer operator->() const noexcept { return {**this}; }
   difference_iterator& operator++() {
      step();
      seek();
      return *this;
   }
   difference_iterator operator++(int) {
      difference_iterator before = *this;
      ++*this;
      return before;
   }
   friend bool operator==(const difference_iterator& x, const difference_iterator& y) noexcept {
      return x.side_ == y.side_ && (x.side_ == Side::none || x.at_ == y.at_);
   }
   friend bool operator==(const difference_iterator& x, std::default_sentinel_t) noexcept {
      return x.side_ == Side::none;
   }

  private:
   enum class Side : unsigned char { none, before, after, both };  // where there is a route

   void step() {
      if (side_ != Side::after) {
         ++a_;
      }
      if (side_ != Side::before) {
         ++b_;
      }
   }
   // To the first difference at or behind the two places.
   void seek() {
      for (;; step()) {
         const bool inA = a_ != std::default_sentinel;
         const bool inB = b_ != std::default_sentinel;
         if (!inA && !inB) {
            side_ = Side::none;
            return;
         }
         const auto order = !inB   ? std::strong_ordering::less
                            : !inA ? std::strong_ordering::greater
                                   : Impl::prefixIn(*a_) <=> Impl::prefixIn(*b_);
         side_ = order < 0 ? Side::before : order > 0 ? Side::after : Side::both;
         if (side_ != Side::both || !isEqual()) {
            at_ = side_ == Side::after ? Impl::prefixIn(*b_) : Impl::prefixIn(*a_);
            return;
         }
      }
   }
   bool isEqual() const {
      if constexpr (A::has_values) {
         return static_cast<bool>(equal_((*a_).value, (*b_).value));
      } else {
         return true;
      }
   }

   typename A::iterator a_;
   typename B::iterator b_;
   [[no_unique_address]] Impl::Carried<Equal> equal_;
   prefix_type at_;
   Side side_ = Side::none;
};

// What is in one of two tables alone, or has other values in the other, in the order of the tables. Equal values are those that
// `equal` says are. The two may be of different values, if it compares them.
template <Impl::AnyTable A, Impl::AnyTable B, class Equal = std::equal_to<>>
requires(std::same_as<typename A::prefix_type, typename B::prefix_type>&& A::has_values ==
         B::has_values) answer_range<difference_iterator<A, B, Equal>> difference(const A& a, const B& b,
                                                                                  const Equal& equal = {}) {
   return {difference_iterator<A, B, Equal>(a, b, equal)};
}

}  // namespace routetrie
