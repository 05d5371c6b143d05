// Family: what the benchmarks need to know of an address family at compile time, and a route of it.
#pragma once

#include <fmt/format.h>

#include <compare>
#include <string>
#include <string_view>

#include "routetrie/platform/Corenet.h"
#include "routetrie/platform/Types.h"

namespace Bench {

struct V4 {
   using Prefix = Corenet::Prefix;
   using Bits = Prefix::Bits;
   static constexpr U32 width = Prefix::width;  // bits
   static constexpr Corenet::AddressFamily af = Prefix::family;
   static constexpr std::string_view name = "v4";
};

struct V6 {
   using Prefix = Corenet::Ip6Prefix;
   using Bits = Prefix::Bits;
   static constexpr U32 width = Prefix::width;
   static constexpr Corenet::AddressFamily af = Prefix::family;
   static constexpr std::string_view name = "v6";
};

template <class F>
struct Route {
   typename F::Bits bits;  // zeros past the length
   U32 length = 0;         // bits

   bool covers(const Route& other) const noexcept { return length <= other.length && bits == other.bits.cut(length); }
   typename F::Prefix prefix() const { return F::Prefix::cut(bits, length); }

   // A route stands before those that it covers.
   friend auto operator<=>(const Route&, const Route&) noexcept = default;
   friend bool operator==(const Route&, const Route&) noexcept = default;
};

template <class F>
std::string textOf(const Route<F>& route) {
   return fmt::format("{}", route.prefix());
}

// The route of one address.
template <class F>
Route<F> hostRoute(typename F::Bits address) noexcept {
   return {address, F::width};
}

}  // namespace Bench
