// digest: one number of 128 bits that is equal for tables with the same prefixes and values, whatever the order in which they came
// to them, so that two processes compare a million routes by one word.
//
//    routetrie::digest(t) == routetrie::digest(other)             one pass each
//    routetrie::tracked_table<table<int>, digest_tracker> t;      kept up to date as the table changes:
//    t.digest()                                                   no pass (routetrie/tracked_table.h)
//
// It is the sum, modulo 2^128, of a keyed hash of each route. Two tables that differ by accident have the same one with a chance of
// 2^-128. Whoever picks the routes to make two tables look alike has to know the key: with the key that is there by itself, which all
// know, such sums can be found, with work; so who compares tables with somebody else's routes in them gives both sides a key
// of their own, and tells it and the digests to nobody. Order is no part of it; a table of both families has the sum of its two.
//
// A value is poured in by what it says, not by its bytes, so that the number is the same in another process, build or machine:
//
//    bool, integers, enumerations, floating-point numbers    as numbers, whatever their width; -0.0 is 0.0
//    texts                                                    their bytes
//    addresses, prefixes                                      as such
//    pairs, tuples, optionals, ordered containers             element by element
//    your own type                                            void digest_append(digest_stream& out, const your_type& v),
//                                                             beside it: digest_value(out, v.metric); ...
//
// std::hash would not do: it may differ from one build to the next. Equal values have to pour in the same; a value that points
// elsewhere has no digest unless you give it one.
// Tested by tests/table/DigestTest.cpp, tests/property/TableTrackedTest.cpp.
#pragma once

#include <fmt/core.h>

#include <bit>
#include <compare>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <optional>
#include <ranges>
#include <string>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <utility>

#include "routetrie/table/DigestStream.h"
#include "routetrie/table/Kinds.h"

namespace routetrie {

struct table_digest {
   std::uint64_t high = 0;
   std::uint64_t low = 0;

   // 32 hexadecimal digits.
   ROUTETRIE_EXPORT std::string text() const;
   friend bool operator==(const table_digest&, const table_digest&) noexcept = default;
   friend auto operator<=>(const table_digest&, const table_digest&) noexcept = default;
   table_digest& operator+=(const table_digest& other) noexcept {
      low += other.low;
      high += other.high + (low < other.low ? 1 : 0);
      return *this;
   }
   table_digest& operator-=(const table_digest& other) noexcept {
      high -= other.high + (low < other.low ? 1 : 0);
      low -= other.low;
      return *this;
   }
   friend std::ostream& operator<<(std::ostream& out, const table_digest& d) {
      return out << Corvid::String(d.text());
   }
};

namespace Impl {

template <class T>
concept AppendsItself = requires(digest_stream& out, const T& value) {
   digest_append(out, value);
};
template <class T>
concept Text = std::convertible_to<const T&, std::string_view> && !std::same_as<T, std::nullptr_t>;
template <class T>
concept TupleLike = requires {
   std::tuple_size<T>::value;
};
template <class T>
concept OrderedRange = std::ranges::forward_range<const T> && !requires {
   typename T::hasher;
};
template <class T>
inline constexpr bool isOptional = false;
template <class T>
inline constexpr bool isOptional<std::optional<T>> = true;

}  // namespace Impl

// Pours a value in, as the list above says.
template <class T>
void digest_value(digest_stream& out, const T& value) {
   if constexpr (Impl::AppendsItself<T>) {
      digest_append(out, value);
   } else if constexpr (std::is_enum_v<T>) {
      digest_value(out, static_cast<std::underlying_type_t<T>>(value));
   } else if constexpr (std::integral<T>) {
      out.number(static_cast<std::uint64_t>(value));
      if constexpr (sizeof(T) > 8) {
         out.number(static_cast<std::uint64_t>(value >> 64));
      }
   } else if constexpr (std::floating_point<T>) {
      // As whole numbers where they are that, as all values that are equal have to be.
      out.number(std::bit_cast<std::uint64_t>(static_cast<double>(value == 0 ? T{0} : value)));
   } else if constexpr (any_address<T>) {
      if constexpr (std::same_as<T, address>) {
         out.number(static_cast<std::uint64_t>(value.af()));
         switch (value.af()) {
            case Corenet::AddressFamily::ipv4: digest_value(out, value.v4Addr()); break;
            case Corenet::AddressFamily::ipv6: digest_value(out, value.v6Addr()); break;
            default: break;
         }
      } else if constexpr (T::width == 32) {
         out.number(value.bits().word());
      } else {
         out.number(static_cast<std::uint64_t>(value.bits().word() >> 64));
         out.number(static_cast<std::uint64_t>(value.bits().word()));
      }
   } else if constexpr (std::same_as<T, prefix>) {
      switch (value.af()) {
         case Corenet::AddressFamily::ipv4: digest_value(out, value.v4Prefix()); break;
         case Corenet::AddressFamily::ipv6: digest_value(out, value.v6Prefix()); break;
         default: out.number(0); break;
      }
   } else if constexpr (any_prefix<T>) {
      out.number(std::uint64_t{value.len()} << 8 | static_cast<std::uint64_t>(T::family));
      digest_value(out, value.address());
   } else if constexpr (Impl::Text<T>) {
      out.text(std::string_view(value));
   } else if constexpr (Impl::isOptional<T>) {
      out.number(value.has_value() ? 1 : 0);
      if (value) {
         digest_value(out, *value);
      }
   } else if constexpr (Impl::OrderedRange<T>) {
      out.number(static_cast<std::uint64_t>(std::ranges::distance(value)));
      for (const auto& element : value) {
         digest_value(out, element);
      }
   } else if constexpr (Impl::TupleLike<T>) {
      std::apply([&](const auto&... elements) { (digest_value(out, elements), ...); }, value);
   } else {
      static_assert(Impl::AppendsItself<T>,
                    "a value that is to have a digest needs digest_append(digest_stream&, const T&)");
   }
}

// What each route adds to the digest of its table.
template <any_prefix P>
table_digest route_digest(const digest_key& key, const P& p) {
   digest_stream out(key);
   digest_value(out, p);
   const auto [low, high] = out.result();
   return {high, low};
}
template <any_prefix P, class T>
table_digest route_digest(const digest_key& key, const basic_route<P, T>& route) {
   digest_stream out(key);
   digest_value(out, route.prefix);
   digest_value(out, route.value);
   const auto [low, high] = out.result();
   return {high, low};
}

template <Impl::AnyTable Table>
table_digest digest(const Table& t, const digest_key& key = {}) {
   table_digest sum;
   for (const auto& route : t) {
      sum += route_digest(key, route);
   }
   return sum;
}

// Keeps the digest of a tracked_table up to date, for a hash of the old route and one of the new at each change.
template <class Table, class Self>
class digest_tracker {
   using P = typename Table::prefix_type;
   using Route = typename Table::value_type;

  public:
   const table_digest& digest() const noexcept { return digest_; }
   const digest_key& key() const noexcept { return key_; }
   // From now on with this key: one pass.
   void key_is(const digest_key& key) {
      digest_ = routetrie::digest(static_cast<const Self&>(*this).table(), key);
      key_ = key;
   }

  protected:
   digest_tracker() noexcept = default;
   digest_tracker(digest_tracker&& other) noexcept : key_(other.key_), digest_(std::exchange(other.digest_, {})) {}
   digest_tracker& operator=(digest_tracker&& other) noexcept {
      key_ = other.key_;
      digest_ = this == &other ? digest_ : std::exchange(other.digest_, {});
      return *this;
   }
   bool isIdle() const noexcept { return false; }
   bool concerns(const P&) const noexcept { return true; }
   void prepare(const Table&, const P&, const std::optional<Route>& old, bool, bool) {
      if (old) {
         gone_ += route_digest(key_, *old);
      }
   }
   void commit(const P&, bool, const std::optional<Route>& now) noexcept {
      if (now) {
         digest_ += route_digest(key_, *now);
      }
   }
   void done() noexcept { digest_ -= std::exchange(gone_, {}); }
   void cancel() noexcept { gone_ = {}; }
   void tell(const Table&) noexcept {}

  private:
   digest_key key_;
   table_digest digest_;
   table_digest gone_;  // of the routes as they are before a change that is under way
};

}  // namespace routetrie

template <>
struct fmt::formatter<routetrie::table_digest> : fmt::formatter<std::string> {
   auto format(const routetrie::table_digest& d, fmt::format_context& context) const {
      return fmt::formatter<std::string>::format(d.text(), context);
   }
};
