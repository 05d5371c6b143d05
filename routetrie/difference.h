// difference: what has to happen to one table to make it equal another.
//
//    for (const auto& d : routetrie::difference(before, after)) {
//       if (!d.after) ...            d.prefix has a route in `before` alone, d.before
//       else if (!d.before) ...      in `after` alone, d.after
//       else ...                     in both, with different values
//    }
//
// A view: it reads both tables as it is walked, in one pass and in their order, and finds one difference after another. Of tables that
// share memory, as a table and its snapshots do, and values that are compared by ==, it reads no more than what they do not share, so
// that the time follows the changes and not the routes; how that is exact stands at Tree::nextDifference(). A value is taken to equal
// itself then; who has others, such as a struct with a NaN, and wants each of them told, gives an `equal` of his own. Both have to live
// as long. What it stands on, and what lies before that, may change on the way, so that this makes `a` equal to `b`:
//
//    for (const auto& d : difference(a, b)) {
//       d.after ? (void)a.insert_or_assign(d.prefix, d.after->value) : (void)a.erase(d.prefix);
//    }
// Tested by tests/table/DifferenceTest.cpp, tests/property/TableAggregateTest.cpp.
#pragma once

#include <compare>
#include <concepts>
#include <cstddef>
#include <functional>
#include <iterator>
#include <optional>
#include <type_traits>
#include <utility>

#include "routetrie/family_questions.h"
#include "routetrie/table/Kinds.h"

namespace routetrie {

// One prefix, and its route before and after: in at least one of them it has one. The routes refer to the values in the tables.
template <any_prefix P, class Before, class After = Before>
struct basic_difference {
   P prefix;
   std::optional<Before> before;
   std::optional<After> after;
};

namespace Impl {

// Whether equal bytes of two values are taken to be equal values. Of numbers with a fraction NaN is none that equals itself.
template <class T, class Equal>
inline constexpr bool comparesBytes = std::is_void_v<T> ||
                                      (!std::is_floating_point_v<T> && (std::same_as<Equal, std::equal_to<>> ||
                                                                        std::same_as<Equal, std::equal_to<T>>));

template <unsigned width, class T>
bool nextTwins(const basic_questions<width, T>& a, const basic_questions<width, T>& b,
               PrefixOfWidth<width>& p) noexcept {
   return !Twins::mayAsk(a, b) || Twins::next(a, b, p);
}
template <class A, class B>
requires requires(const A& a, const B& b) { nextTwins(a.v4(), b.v4(), std::declval<prefix4&>()); }
bool nextTwins(const A& a, const B& b, prefix& p) noexcept {
   if (p.af() == Corenet::AddressFamily::ipv4) {
      prefix4 four = p.v4Prefix();
      if (nextTwins(a.v4(), b.v4(), four)) {
         p = prefix(four);
         return true;
      }
   }
   prefix6 six = p.af() == Corenet::AddressFamily::ipv4 ? prefix6(address6(), 0) : p.v6Prefix();
   if ((a.v6().empty() && b.v6().empty()) || !nextTwins(a.v6(), b.v6(), six)) {
      return false;
   }
   p = prefix(six);
   return true;
}
// nextTwins() sets a place to the first at or behind it where the routes of two tables may differ; false: there is none.
template <class A, class B, class Equal>
concept MayBeTwins = comparesBytes<typename A::mapped_type, Equal> &&
   requires(const A& a, const B& b, typename A::prefix_type& p) {
   nextTwins(a, b, p);
};

}  // namespace Impl

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
   difference_iterator(const A& a, const B& b, const Equal& equal)
      : inA_(&a), inB_(&b), a_(a.begin()), b_(b.begin()), equal_(equal) {
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
      for (;;) {
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
            pause_ = 0;
            wait_ = 0;
            return;
         }
         if (!skip()) {
            step();
         }
      }
   }
   // Over what the two are known to have both, which begins where they are. False: step by step. Where that does not lead to a difference
   // it is not tried again for a while, and then for a longer one.
   bool skip() {
      if constexpr (Impl::MayBeTwins<A, B, Equal>) {
         if (wait_ != 0) {
            --wait_;
            return false;
         }
         pause_ = pause_ < mostPause ? 2 * pause_ + 1 : mostPause;
         wait_ = pause_;
         const prefix_type from = Impl::prefixIn(*a_);
         prefix_type to = from;
         if (!Impl::nextTwins(*inA_, *inB_, to)) {
            a_ = inA_->end();
            b_ = inB_->end();
         } else if (to != from) {
            a_ = inA_->lower_bound(to);
            b_ = inB_->lower_bound(to);
         } else {
            return false;
         }
         return true;
      } else {
         return false;
      }
   }
   bool isEqual() const {
      if constexpr (A::has_values) {
         return static_cast<bool>(equal_((*a_).value, (*b_).value));
      } else {
         return true;
      }
   }

   static constexpr unsigned mostPause = 1023;

   const A* inA_ = nullptr;
   const B* inB_ = nullptr;
   typename A::iterator a_;
   typename B::iterator b_;
   [[no_unique_address]] Impl::Carried<Equal> equal_;
   prefix_type at_;
   unsigned pause_ = 0;  // steps from one skip to the next
   unsigned wait_ = 0;   // of them, those that are still to be made
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
