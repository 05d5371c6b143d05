// Kinds: what the functions that take any table know of one: of one family or of both, with values or without.
// Tested by tests/table/DifferenceTest.cpp.
#pragma once

#include <concepts>
#include <functional>
#include <memory>
#include <type_traits>
#include <utility>

#include "routetrie/table.h"

namespace routetrie::Impl {

template <class Table>
concept AnyTable = requires(const Table& t) {
   typename Table::prefix_type;
   typename Table::mapped_type;
   { Table::has_values } -> std::convertible_to<bool>;
   t.begin();
};
template <class Table>
concept TableOfOneFamily = AnyTable<Table> && prefix_of_one_family<typename Table::prefix_type>;
template <class Table>
concept TableOfBoth = AnyTable<Table> && std::same_as<typename Table::prefix_type, prefix>;

template <class P>
struct TableOf {
   template <class T>
   using Type = basic_table<P::width, T>;
};
template <>
struct TableOf<prefix> {
   template <class T>
   using Type = table<T>;
};
// The table of these prefixes with a T for each.
template <any_prefix P, class T>
using TableOfPrefix = typename TableOf<P>::template Type<T>;

// The prefix of what a table answers with.
template <any_prefix P>
const P& prefixIn(const P& route) noexcept {
   return route;
}
template <any_prefix P, class T>
const P& prefixIn(const basic_route<P, T>& route) noexcept {
   return route.prefix;
}

// A function that an iterator carries, which has to be assigned and may have to be made from nothing; a lambda with captures can
// be neither, so that one is shared.
template <class F>
class Carried {
  public:
   Carried() noexcept = default;
   explicit Carried(const F& f) : f_(std::make_shared<const F>(f)) {}
   template <class... Args>
   decltype(auto) operator()(Args&&... args) const {
      return std::invoke(*f_, std::forward<Args>(args)...);
   }

  private:
   std::shared_ptr<const F> f_;
};
template <class F>
requires(std::semiregular<F>&& std::is_empty_v<F>) class Carried<F> {
  public:
   Carried() noexcept = default;
   explicit Carried(const F& f) : f_(f) {}
   template <class... Args>
   decltype(auto) operator()(Args&&... args) const {
      return std::invoke(f_, std::forward<Args>(args)...);
   }

  private:
   [[no_unique_address]] F f_{};
};

}  // namespace routetrie::Impl
