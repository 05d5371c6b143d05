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
// that the time follows the changes and not the routes; how that is exact stands at Tree::firstDifference(). A value is taken to equal
// itself then; who has others, such as a struct with a NaN, and wants each of them told, gives an `equal` of his own. Both have to live
// as long. What it stands on, and what lies before that, may change on the way, so that this makes `a` equal to `b`:
//
//    for (const auto& d : difference(a, b)) {
//       d.after ? (void)a.insert_or_assign(d.prefix, d.after->value) : (void)a.erase(d.prefix);
//    }
// Tested by tests/table/DifferenceTest.cpp, tests/property/TableAggregateTest.cpp.
#pragma once

#include <concepts>
#include <cstddef>
#include <functional>
#include <iterator>
#include <optional>
#include <type_traits>
#include <utility>
#include <variant>

#include "routetrie/family_questions.h"
#include "routetrie/questions.h"
#include "routetrie/table/Kinds.h"
#include "routetrie/table/TreeTwins.h"

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

// A place among the differences of two tables of one family. They are given with each call, and `byBytes`, whether equal bytes are equal
// values where the two have the same type and share the values.
template <unsigned width, class T, class U>
class DifferencePlace {
   using A = basic_questions<width, T>;
   using B = basic_questions<width, U>;

  public:
   using Prefix = PrefixOfWidth<width>;

   bool first(const A& a, const B& b, bool byBytes) noexcept {
      return Twins::treeOf(a).firstDifference(Twins::treeOf(b), at_, byBytes && shareValues(a, b));
   }
   bool next(const A& a, const B& b, bool byBytes) noexcept {
      return Twins::treeOf(a).nextDifference(Twins::treeOf(b), at_, byBytes && shareValues(a, b));
   }

   Prefix prefix() const noexcept { return Prefix::ofValid(typename Prefix::AddressType(at_.bits), at_.length); }
   bool isBefore() const noexcept { return at_.values[0] != nullptr; }
   bool isAfter() const noexcept { return at_.values[1] != nullptr; }
   // Requires: isBefore(), and it is still there.
   auto before(const A& a) const noexcept { return routeIn(0, a); }
   auto after(const B& b) const noexcept { return routeIn(1, b); }
   // Requires: isBefore() and isAfter(); nothing was changed since.
   template <class Equal>
   bool isEqual(const A& a, const B& b, const Equal& equal) const {
      if constexpr (A::has_values) {
         return static_cast<bool>(equal(Twins::valueAt(a, at_.values[0]), Twins::valueAt(b, at_.values[1])));
      } else {
         return true;
      }
   }

  private:
   static bool shareValues(const A& a, const B& b) noexcept {
      if constexpr (std::same_as<T, U>) {
         return Twins::shareValues(a, b);
      } else {
         return false;
      }
   }
   template <class V>
   auto routeIn(unsigned side, const basic_questions<width, V>& of) const noexcept {
      const bool isAsItWas = Twins::treeOf(of).generation() == at_.generations[side];
      return Twins::routeOf(of, at_.bits, at_.length, isAsItWas ? at_.values[side] : nullptr);
   }

   typename Tree<width>::Twins at_;
};

// The same of tables of both families.
template <class Four, class Six>
class EitherDifferencePlace {
  public:
   template <class A, class B>
   bool first(const A& a, const B& b, bool byBytes) noexcept {
      return at_.template emplace<Four>().first(a.v4(), b.v4(), byBytes) || firstOfSix(a, b, byBytes);
   }
   template <class A, class B>
   bool next(const A& a, const B& b, bool byBytes) noexcept {
      if (Six* six = std::get_if<Six>(&at_)) {
         return six->next(a.v6(), b.v6(), byBytes);
      }
      return std::get_if<Four>(&at_)->next(a.v4(), b.v4(), byBytes) || firstOfSix(a, b, byBytes);
   }

   routetrie::prefix prefix() const noexcept {
      return std::visit([](const auto& at) { return routetrie::prefix(at.prefix()); }, at_);
   }
   bool isBefore() const noexcept {
      return std::visit([](const auto& at) { return at.isBefore(); }, at_);
   }
   bool isAfter() const noexcept {
      return std::visit([](const auto& at) { return at.isAfter(); }, at_);
   }
   template <class A>
   auto before(const A& a) const noexcept {
      const Six* six = std::get_if<Six>(&at_);
      return six != nullptr ? ofEither(six->before(a.v6())) : ofEither(std::get_if<Four>(&at_)->before(a.v4()));
   }
   template <class B>
   auto after(const B& b) const noexcept {
      const Six* six = std::get_if<Six>(&at_);
      return six != nullptr ? ofEither(six->after(b.v6())) : ofEither(std::get_if<Four>(&at_)->after(b.v4()));
   }
   template <class A, class B, class Equal>
   bool isEqual(const A& a, const B& b, const Equal& equal) const {
      const Six* six = std::get_if<Six>(&at_);
      return six != nullptr ? six->isEqual(a.v6(), b.v6(), equal)
                            : std::get_if<Four>(&at_)->isEqual(a.v4(), b.v4(), equal);
   }

  private:
   template <class A, class B>
   bool firstOfSix(const A& a, const B& b, bool byBytes) noexcept {
      return at_.template emplace<Six>().first(a.v6(), b.v6(), byBytes);
   }

   std::variant<Four, Six> at_;
};

// What holds the routes of a table: itself, or of one that is tracked, the table.
template <unsigned width, class T>
const basic_questions<width, T>& routesIn(const basic_questions<width, T>& table) noexcept {
   return table;
}
template <class Four, class Six>
const both_questions<Four, Six>& routesIn(const both_questions<Four, Six>& table) noexcept {
   return table;
}
template <class Tracked>
requires requires(const Tracked& t) { routesIn(t.table()); }
const auto& routesIn(const Tracked& tracked) noexcept { return routesIn(tracked.table()); }

template <unsigned width, class T, class U>
DifferencePlace<width, T, U> differencePlace(const basic_questions<width, T>&, const basic_questions<width, U>&);
template <class A, class B>
requires requires(const A& a) { a.v4(); }
auto differencePlace(const A& a, const B& b)
   -> EitherDifferencePlace<decltype(differencePlace(a.v4(), b.v4())), decltype(differencePlace(a.v6(), b.v6()))>;

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
   difference_iterator(const A& a, const B& b, const Equal& equal) : a_(&a), b_(&b), equal_(equal) {
      settle(place_.first(routesInA(), routesInB(), byBytes));
   }

   value_type operator*() const noexcept {
      value_type d{place_.prefix(), std::nullopt, std::nullopt};
      if (place_.isBefore()) {
         d.before.emplace(place_.before(routesInA()));
      }
      if (place_.isAfter()) {
         d.after.emplace(place_.after(routesInB()));
      }
      return d;
   }
   pointer operator->() const noexcept { return {**this}; }
   difference_iterator& operator++() {
      settle(next());
      return *this;
   }
   difference_iterator operator++(int) {
      difference_iterator before = *this;
      ++*this;
      return before;
   }
   friend bool operator==(const difference_iterator& x, const difference_iterator& y) noexcept {
      return x.atEnd_ == y.atEnd_ && (x.atEnd_ || x.place_.prefix() == y.place_.prefix());
   }
   friend bool operator==(const difference_iterator& x, std::default_sentinel_t) noexcept { return x.atEnd_; }

  private:
   static constexpr bool byBytes = std::same_as<typename A::mapped_type, typename B::mapped_type> &&
                                   Impl::comparesBytes<typename A::mapped_type, Equal>;

   const auto& routesInA() const noexcept { return Impl::routesIn(*a_); }
   const auto& routesInB() const noexcept { return Impl::routesIn(*b_); }
   bool next() noexcept { return place_.next(routesInA(), routesInB(), byBytes); }
   // Past what has another place in memory, or other bytes, and is equal.
   void settle(bool isThere) {
      while (isThere && place_.isBefore() && place_.isAfter() && place_.isEqual(routesInA(), routesInB(), equal_)) {
         isThere = next();
      }
      atEnd_ = !isThere;
   }

   const A* a_ = nullptr;
   const B* b_ = nullptr;
   decltype(Impl::differencePlace(Impl::routesIn(std::declval<const A&>()),
                                  Impl::routesIn(std::declval<const B&>()))) place_;
   [[no_unique_address]] Impl::Carried<Equal> equal_;
   bool atEnd_ = true;
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
