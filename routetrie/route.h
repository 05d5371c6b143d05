// route: what a table answers with: a prefix by value, and the value by const reference, which holds until the next change of
// the table. Of a set of prefixes, the prefix alone is the answer.
//
//    for (const auto& [prefix, value] : table) ...        auto best = table.match(a);  best->prefix, best->value
//
// Tested by tests/table/TableTest.cpp.
#pragma once

#include <fmt/core.h>

#include <concepts>
#include <functional>
#include <iosfwd>
#include <memory>
#include <string>
#include <type_traits>

#include "routetrie/prefix.h"

namespace routetrie {

template <any_prefix P, class T>
struct basic_route {
   P prefix;
   const T& value;

   basic_route(const P& where, const T& what) noexcept : prefix(where), value(what) {}
   basic_route(const basic_route&) noexcept = default;
   // Speaks of another route from now on; no value is assigned.
   basic_route& operator=(const basic_route& other) noexcept {
      return this == &other ? *this : *std::construct_at(this, other);
   }

   friend bool operator==(const basic_route& a, const basic_route& b) requires std::equality_comparable<T> {
      return a.prefix == b.prefix && a.value == b.value;
   }
   // "10.0.0.0/8 VALUE".
   friend std::ostream& operator<<(std::ostream& out, const basic_route& r) requires fmt::is_formattable<T>::value {
      return out << Corvid::String(fmt::format("{}", r));
   }
};

namespace Impl {

// The prefix of what a table answers with, a route or of a set the prefix itself.
template <any_prefix P, class T>
const P& prefixOf(const basic_route<P, T>& r) noexcept {
   return r.prefix;
}
template <any_prefix P>
const P& prefixOf(const P& p) noexcept {
   return p;
}

}  // namespace Impl

template <class T>
using route = basic_route<prefix, T>;
template <class T>
using route4 = basic_route<prefix4, T>;
template <class T>
using route6 = basic_route<prefix6, T>;

}  // namespace routetrie

template <routetrie::any_prefix P, class T>
requires fmt::is_formattable<T>::value struct fmt::formatter<routetrie::basic_route<P, T>> {
   constexpr auto parse(fmt::format_parse_context& context) { return context.begin(); }
   auto format(const routetrie::basic_route<P, T>& r, fmt::format_context& context) const {
      return fmt::format_to(context.out(), "{} {}", r.prefix, r.value);
   }
};

template <routetrie::any_prefix P, class T>
requires requires(const T& value) { std::hash<T>()(value); }
struct std::hash<routetrie::basic_route<P, T>> {
   std::size_t operator()(const routetrie::basic_route<P, T>& r) const {
      return std::hash<P>()(r.prefix) * 31 + std::hash<T>()(r.value);
   }
};
