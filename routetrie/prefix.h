// prefix, prefix4, prefix6: prefixes of either family and of one, and where they come from.
//
//    auto p = "10.0.0.0/8"_prefix;                                 prefix4, read by the compiler
//    auto q = routetrie::parse<routetrie::prefix>(text);           a value or an error; q.value() raises it
//    auto r = routetrie::parse<routetrie::prefix>("10.1.2.3/8", routetrie::host_bits::cut);     10.0.0.0/8
//    auto s = routetrie::make_prefix(a, 24, routetrie::host_bits::cut);                  the /24 around a
//    auto t = routetrie::prefix_from_bytes<routetrie::prefix4>(bytes, 24);         from a message: a value or an error
//
// They are plain values of 5, 17 and 18 bytes. prefix4 and prefix6 become a prefix by themselves. p.address(), p.len() (bits)
// and p.af() take one apart. An address is no prefix that lacks its length: whoever means the /32 or /128 says
// host_prefix(a).
//
// A default-constructed prefix4 or prefix6 is the default route, 0.0.0.0/0 or ::/0; a default-constructed prefix is empty, it has no
// family. One of length 255 is the null prefix. is_prefix() tells that neither the empty nor the null one is a prefix. No function of this
// header makes one, but for host_prefix() of an address without a family, which is empty.
// Tested by tests/table/PrefixTest.cpp.
#pragma once

#include <algorithm>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>

#include "routetrie/address.h"
#include "routetrie/parse_result.h"
#include "routetrie/platform/Corenet/AddressText.h"
#include "routetrie/platform/Corenet/Ip6Prefix.h"
#include "routetrie/platform/Corenet/IpGenPrefix.h"
#include "routetrie/platform/Corenet/Prefix.h"

namespace routetrie {

using prefix4 = Corenet::Prefix;
using prefix6 = Corenet::Ip6Prefix;
using prefix = Corenet::IpGenPrefix;

template <class T>
concept prefix_of_one_family = std::same_as<T, prefix4> || std::same_as<T, prefix6>;
template <class T>
concept any_prefix = prefix_of_one_family<T> || std::same_as<T, prefix>;

// What becomes of address bits that are set past the length.
enum class host_bits { refuse, cut };

namespace Impl {

template <class Address>
struct PrefixOf;
template <>
struct PrefixOf<address4> {
   using Type = prefix4;
};
template <>
struct PrefixOf<address6> {
   using Type = prefix6;
};
template <>
struct PrefixOf<address> {
   using Type = prefix;
};

// The fault in words that name the limit, `width` bits.
ROUTETRIE_EXPORT std::string prefixFault(Corenet::Impl::TextFault fault, unsigned width, std::string_view text);
// Raises Corvid::RangeException.
[[noreturn]] ROUTETRIE_EXPORT void throwLength(unsigned length, unsigned width);

void this_text_is_no_prefix();
void this_prefix_has_no_length();
void this_prefix_is_longer_than_its_address();
void this_prefix_has_host_bits();

template <class P>
consteval P literalPrefix(std::string_view text) {
   using Corenet::Impl::TextFault;
   typename P::Bits bits;
   Corenet::U32 length = 0;
   switch (Corenet::Impl::readPrefix(text, bits, length)) {
      case TextFault::none: break;
      case TextFault::notAddress: this_text_is_no_prefix(); break;
      case TextFault::noLength:
      case TextFault::lengthNotNumber: this_prefix_has_no_length(); break;
      case TextFault::lengthTooGreat: this_prefix_is_longer_than_its_address(); break;
      case TextFault::hostBits: this_prefix_has_host_bits(); break;
   }
   return P::ofValid(typename P::AddressType(bits), length);
}

}  // namespace Impl

// Whether the value stands for a prefix: not empty, not null.
template <prefix_of_one_family P>
constexpr bool is_prefix(const P& p) noexcept {
   return p.len() <= P::width;
}
constexpr bool is_prefix(const prefix& p) noexcept {
   return p.af() == Corenet::AddressFamily::ipv4   ? p.len() <= prefix4::width
          : p.af() == Corenet::AddressFamily::ipv6 ? p.len() <= prefix6::width
                                                   : false;
}

// Reads "10.0.0.0/8" or "2001:db8::/32": of that family, or of either. Nothing around it, not a blank, is taken.
template <any_prefix T>
parse_result<T> parse(std::string_view text, host_bits bitsPastLength = host_bits::refuse) {
   if constexpr (std::same_as<T, prefix>) {
      const auto either = [&](const auto& read) {
         return read ? parse_result<T>(*read) : parse_result<T>::failure(read.error());
      };
      return Corenet::Impl::looksLikeIpv6(text) ? either(parse<prefix6>(text, bitsPastLength))
                                                : either(parse<prefix4>(text, bitsPastLength));
   } else {
      using Corenet::Impl::TextFault;
      typename T::Bits bits;
      Corenet::U32 length = 0;
      const TextFault fault = Corenet::Impl::readPrefix(text, bits, length);
      if (fault == TextFault::none || (fault == TextFault::hostBits && bitsPastLength == host_bits::cut)) {
         return T::cut(bits, length);
      }
      return parse_result<T>::failure(Impl::prefixFault(fault, T::width, text));
   }
}

// The prefix of the first `length` bits of the address. Raises Corvid::RangeException if the address has not so many bits or
// none, or if bits past them are set and are not to be cut.
template <address_of_one_family A>
typename Impl::PrefixOf<A>::Type make_prefix(const A& a, unsigned length,
                                             host_bits bitsPastLength = host_bits::refuse) {
   using P = typename Impl::PrefixOf<A>::Type;
   if (length > A::width) {
      Impl::throwLength(length, A::width);
   }
   return bitsPastLength == host_bits::cut ? P::cut(a.bits(), length) : P(a, length);
}
inline prefix make_prefix(const address& a, unsigned length, host_bits bitsPastLength = host_bits::refuse) {
   switch (a.af()) {
      case Corenet::AddressFamily::ipv4: return make_prefix(a.v4Addr(), length, bitsPastLength);
      case Corenet::AddressFamily::ipv6: return make_prefix(a.v6Addr(), length, bitsPastLength);
      default: Impl::throwLength(length, 0);
   }
}

// The prefix of the first `length` bits of an address in network order. Of one family, bytes that the length does not need may be left out,
// as routing protocols do; of either, there are 4 or 16. An error if the length is too great, or if bits past it are set and are not to
// be cut, as parse() has it.
template <any_prefix T>
parse_result<T> prefix_from_bytes(std::span<const std::byte> bytes, unsigned length,
                                  host_bits bitsPastLength = host_bits::refuse) {
   if constexpr (std::same_as<T, prefix>) {
      const auto either = [](const auto& read) {
         return read ? parse_result<T>(*read) : parse_result<T>::failure(read.error());
      };
      if (const auto a = address_from_bytes<address>(bytes); !a) {
         return parse_result<T>::failure(a.error());
      }
      return bytes.size() == prefix4::width / 8 ? either(prefix_from_bytes<prefix4>(bytes, length, bitsPastLength))
                                                : either(prefix_from_bytes<prefix6>(bytes, length, bitsPastLength));
   } else {
      using Corenet::Impl::TextFault;
      constexpr std::size_t most = T::width / 8;
      const std::size_t least = (std::min(length, T::width) + 7) / 8;
      if (bytes.size() > most || (length <= T::width && bytes.size() < least)) {
         return parse_result<T>::failure(Impl::wrongBytes(
            std::string(T::width == 32 ? "an IPv4" : "an IPv6") + " prefix of " + std::to_string(length) +
               " bits has " + (least != most ? std::to_string(least) + " to " : std::string()) + std::to_string(most),
            bytes.size()));
      }
      const auto bits = Impl::bitsOfBytes<typename T::Bits, T::width>(bytes);
      const TextFault fault = length > T::width ? TextFault::lengthTooGreat
                              : bitsPastLength == host_bits::refuse && !bits.isZeroPast(length) ? TextFault::hostBits
                                                                                                : TextFault::none;
      if (fault == TextFault::none) {
         return T::cut(bits, length);
      }
      const auto text = typename T::AddressType(bits).stringValue();
      return parse_result<T>::failure(
         Impl::prefixFault(fault, T::width, std::string(text.c_str()) + '/' + std::to_string(length)));
   }
}
template <any_prefix T>
parse_result<T> prefix_from_bytes(std::span<const std::uint8_t> bytes, unsigned length,
                                  host_bits bitsPastLength = host_bits::refuse) {
   return prefix_from_bytes<T>(std::as_bytes(bytes), length, bitsPastLength);
}

// The /32 or /128 that holds the address alone.
constexpr prefix4 host_prefix(const address4& a) noexcept { return prefix4::ofValid(a, address4::width); }
constexpr prefix6 host_prefix(const address6& a) noexcept { return prefix6::ofValid(a, address6::width); }
// Of an address without a family: the empty prefix.
inline prefix host_prefix(const address& a) noexcept {
   switch (a.af()) {
      case Corenet::AddressFamily::ipv4: return host_prefix(a.v4Addr());
      case Corenet::AddressFamily::ipv6: return host_prefix(a.v6Addr());
      default: return {};
   }
}

// Whether all addresses of `inner` lie in `outer`; a prefix covers itself, and what is no prefix covers nothing.
template <prefix_of_one_family P>
constexpr bool covers(const P& outer, const std::type_identity_t<P>& inner) noexcept {
   return is_prefix(outer) && is_prefix(inner) && outer.len() <= inner.len() &&
          outer.bits().sharesFirst(inner.bits(), outer.len());
}
template <prefix_of_one_family P>
constexpr bool covers(const P& outer, const typename P::AddressType& inner) noexcept {
   return covers(outer, host_prefix(inner));
}
inline bool covers(const prefix& outer, const prefix& inner) noexcept {
   return outer.af() == inner.af() &&
          (outer.af() == Corenet::AddressFamily::ipv4
              ? covers(outer.v4Prefix(), inner.v4Prefix())
              : outer.af() == Corenet::AddressFamily::ipv6 && covers(outer.v6Prefix(), inner.v6Prefix()));
}
inline bool covers(const prefix& outer, const address& inner) noexcept { return covers(outer, host_prefix(inner)); }

// The first and the last address of a prefix. Requires: is_prefix(p).
template <prefix_of_one_family P>
constexpr typename P::AddressType first_address(const P& p) noexcept {
   return p.address();
}
template <prefix_of_one_family P>
constexpr typename P::AddressType last_address(const P& p) noexcept {
   using Bits = typename P::Bits;
   return typename P::AddressType(Bits(static_cast<typename Bits::Word>(p.bits().word() | ~Bits::mask(p.len()))));
}

inline namespace literals {

// A prefix4 or a prefix6, as the text says. What is no prefix does not compile.
template <Impl::Literal text>
constexpr auto operator""_prefix() noexcept {
   using P = std::conditional_t<Corenet::Impl::looksLikeIpv6(text.view()), prefix6, prefix4>;
   // By its parts, since clang 14 dies of a constant of a class whose word has an alignment of its own.
   constexpr auto word = Impl::literalPrefix<P>(text.view()).bits().word();
   constexpr auto length = Impl::literalPrefix<P>(text.view()).len();
   return P::ofValid(typename P::AddressType(typename P::Bits(word)), length);
}

}  // namespace literals
}  // namespace routetrie
