// address, address4, address6: addresses of either family and of one, and where they come from.
//
//    auto a = "192.0.2.1"_address;                        address4, read by the compiler
//    auto b = routetrie::parse<routetrie::address>(text); a value or an error; b.value() raises it
//    auto c = routetrie::address4(0xc0000201);            from a host-order word
//    auto d = routetrie::to_address(in6);                 from in_addr, in6_addr; from sockaddr, if it has one
//    auto e = routetrie::address_from_bytes<routetrie::address>(bytes);    from a message: a value or an error
//
// They are plain values of 4, 16 and 17 bytes in network order. address4 and address6 become an address by themselves.
// Tested by tests/table/PrefixTest.cpp.
#pragma once

#include <netinet/in.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

#include "routetrie/parse_result.h"
#include "routetrie/platform/Corenet/AddressText.h"
#include "routetrie/platform/Corenet/IpAddr.h"
#include "routetrie/platform/Corenet/IpGenAddr.h"

namespace routetrie {

using address4 = Corenet::IpAddr;
using address6 = Corenet::Ip6Addr;
using address = Corenet::IpGenAddr;

template <class T>
concept address_of_one_family = std::same_as<T, address4> || std::same_as<T, address6>;
template <class T>
concept any_address = address_of_one_family<T> || std::same_as<T, address>;

namespace Impl {

// `fault`, a colon and the text in quotes, as every error of the library quotes.
ROUTETRIE_EXPORT std::string quoted(std::string_view fault, std::string_view text);

// The characters of a literal, as an argument of a template.
template <std::size_t size>
struct Literal {
   consteval Literal(const char (&text)[size]) { std::copy_n(text, size, chars); }
   constexpr std::string_view view() const noexcept { return {chars, size - 1}; }
   char chars[size]{};
};

// `has`, a number of bytes, and how many came.
inline std::string wrongBytes(std::string has, std::size_t came) {
   return std::move(has) + " bytes, and not " + std::to_string(came);
}
// The first bits, in network order, and zeros behind them. Requires: no more bytes than the width has.
template <class Bits, unsigned width>
Bits bitsOfBytes(std::span<const std::byte> bytes) noexcept {
   std::array<std::uint8_t, width / 8> all{};
   std::ranges::transform(bytes, all.begin(), [](std::byte b) { return std::to_integer<std::uint8_t>(b); });
   return Bits::load(all.data());
}

// Never defined and not constexpr: the name of the one that is called stands in the compiler's error.
void this_text_is_no_address();

template <class Address>
consteval Address literalAddress(std::string_view text) {
   typename Address::Bits bits;
   if (!Corenet::Impl::readAddress(text, bits)) {
      this_text_is_no_address();
   }
   return Address(bits);
}

}  // namespace Impl

// Reads an address of that family, or of either. Nothing around it, not a blank, is taken.
template <any_address T>
parse_result<T> parse(std::string_view text) {
   if constexpr (std::same_as<T, address>) {
      if (Corenet::Impl::looksLikeIpv6(text)) {
         if (const auto read = parse<address6>(text)) {
            return address(*read);
         }
      } else if (const auto read = parse<address4>(text)) {
         return address(*read);
      }
      return parse_result<T>::failure(Impl::quoted("not an address", text));
   } else {
      typename T::Bits bits;
      if (!Corenet::Impl::readAddress(text, bits)) {
         return parse_result<T>::failure(
            Impl::quoted(T::width == 32 ? "not an IPv4 address" : "not an IPv6 address", text));
      }
      return T(bits);
   }
}

// Of 4 or 16 bytes in network order, as the family has, or of an address as many as there are: no more and no less.
template <any_address T>
parse_result<T> address_from_bytes(std::span<const std::byte> bytes) {
   if constexpr (std::same_as<T, address>) {
      if (bytes.size() == address4::width / 8) {
         return address(*address_from_bytes<address4>(bytes));
      }
      if (bytes.size() == address6::width / 8) {
         return address(*address_from_bytes<address6>(bytes));
      }
      return parse_result<T>::failure(Impl::wrongBytes("an address has 4 or 16", bytes.size()));
   } else {
      if (bytes.size() != T::width / 8) {
         return parse_result<T>::failure(
            Impl::wrongBytes(T::width == 32 ? "an IPv4 address has 4" : "an IPv6 address has 16", bytes.size()));
      }
      return T(Impl::bitsOfBytes<typename T::Bits, T::width>(bytes));
   }
}
template <any_address T>
parse_result<T> address_from_bytes(std::span<const std::uint8_t> bytes) {
   return address_from_bytes<T>(std::as_bytes(bytes));
}

inline address4 to_address(in_addr from) noexcept { return address4(ntohl(from.s_addr)); }
inline address6 to_address(const in6_addr& from) noexcept {
   return address6(Corenet::AddressBits<128>::load(from.s6_addr));
}
// The address of an AF_INET or AF_INET6 socket address of `size` bytes; none of another family, or if it is cut.
inline std::optional<address> to_address(const sockaddr& from, socklen_t size) noexcept {
   const auto as = [&]<class Socket>(Socket to) {
      std::memcpy(&to, &from, sizeof to);
      return to;
   };
   if (size >= sizeof(sockaddr_in) && from.sa_family == AF_INET) {
      return address(to_address(as(sockaddr_in{}).sin_addr));
   }
   if (size >= sizeof(sockaddr_in6) && from.sa_family == AF_INET6) {
      return address(to_address(as(sockaddr_in6{}).sin6_addr));
   }
   return std::nullopt;
}
inline in_addr to_in_addr(address4 from) noexcept { return {htonl(from.hostOrder())}; }
inline in6_addr to_in6_addr(const address6& from) noexcept {
   in6_addr to;
   from.bits().store(to.s6_addr);
   return to;
}
// From two words of 64 bits in host order, the more significant first.
inline address6 to_address6(std::uint64_t high, std::uint64_t low) noexcept {
   return address6(Corenet::AddressBits<128>(Corenet::U128{high} << 64 | low));
}

inline namespace literals {

// An address4 or an address6, as the text says. What is no address does not compile.
template <Impl::Literal text>
constexpr auto operator""_address() noexcept {
   using A = std::conditional_t<Corenet::Impl::looksLikeIpv6(text.view()), address6, address4>;
   // By its word, since clang 14 dies of a constant of a class whose word has an alignment of its own.
   constexpr auto word = Impl::literalAddress<A>(text.view()).bits().word();
   return A(typename A::Bits(word));
}

}  // namespace literals
}  // namespace routetrie
