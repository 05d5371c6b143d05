// BasicPrefix: what Prefix and Ip6Prefix share, an address and a length of 8 bits.
//
// A prefix is valid if its length is 255 (the null prefix), or at most the width of the address with every address
// bit past the length zero. No constructor masks for its caller: an invalid pair is refused.
// Tested by tests/platform/Corenet/PrefixTest.cpp.
#pragma once

#include <compare>
#include <string>
#include <string_view>

#include "routetrie/platform/Corenet/BasicAddr.h"
#include "routetrie/platform/Corenet/Text.h"

namespace Corenet {

inline constexpr U32 nullPrefixLength = 255;

namespace Impl {

ROUTETRIE_EXPORT Corvid::String prefixText(const Corvid::String& address, U32 length);

// Raises Corvid::RangeException with "Corenet::Prefix::validAsPrefix != true not allowed", or with Ip6Prefix in
// place of Prefix. The second form adds the text that the value was read from.
[[noreturn]] ROUTETRIE_EXPORT void throwInvalidPrefix(AddressFamily family);
[[noreturn]] ROUTETRIE_EXPORT void throwInvalidPrefix(AddressFamily family, std::string_view text);

}  // namespace Impl

template <class Self, class Address>
class BasicPrefix {
  public:
   static constexpr U32 width = Address::width;
   static constexpr AddressFamily family = Address::family;
   using Bits = typename Address::Bits;
   using AddressType = Address;

   constexpr BasicPrefix() noexcept = default;  // all zero: the default route
   // Raises Corvid::RangeException if the two make no valid prefix.
   constexpr BasicPrefix(const Address& address, U32 length) : address_(address), length_(static_cast<U8>(length)) {
      if (!validAsPrefix(address, length)) {
         Impl::throwInvalidPrefix(family);
      }
   }

   // The prefix of the first `length` bits. Requires: `length` is at most `width`.
   static constexpr Self cut(Bits bits, U32 length) {
      return length <= width ? ofValid(Address(bits.cut(length)), length) : Self(Address(bits), length);
   }
   // Requires: the two make a valid prefix, which is not looked at.
   static constexpr Self ofValid(const Address& address, U32 length) noexcept {
      Self prefix;
      prefix.address_ = address;
      prefix.length_ = static_cast<U8>(length);
      return prefix;
   }
   static constexpr Self nullPrefix() { return Self(Address(), nullPrefixLength); }

   // Reads "10.0.0.0/8"; the length 255 spells the null prefix. Raises Corvid::RangeException that quotes bad text.
   static Self fromString(std::string_view text) {
      const auto parts = Impl::splitPrefixText(text, width);
      Bits bits;
      if (!Impl::addressFromText(parts.address, bits)) {
         Impl::throwBadText(family == AddressFamily::ipv4 ? "not an IPv4 prefix" : "not an IPv6 prefix", text);
      }
      if (!validAsPrefix(Address(bits), parts.length)) {
         Impl::throwInvalidPrefix(family, text);
      }
      return Self(Address(bits), parts.length);
   }
   Corvid::String stringValue() const { return Impl::prefixText(address_.stringValue(), length_); }

   constexpr const Address& address() const noexcept { return address_; }
   constexpr U8 len() const noexcept { return length_; }  // bits
   constexpr Bits bits() const noexcept { return address_.bits(); }
   U32 hash(U32 seed) const noexcept { return Impl::hashBits(seed, bits(), length_); }

   static constexpr bool validAsPrefix(const Address& address, U32 length) noexcept {
      return length == nullPrefixLength || (length <= width && address.bits().isZeroPast(length));
   }
   constexpr bool validAsPrefix() const noexcept { return validAsPrefix(address_, length_); }
   constexpr bool isNullPrefix() const noexcept { return length_ == nullPrefixLength; }
   constexpr bool isDefaultRoutePrefix() const noexcept { return length_ == 0; }

   // Compares two values behind untyped pointers, both of this class.
   static bool isEq(const void* a, const void* b) noexcept {
      return *static_cast<const Self*>(a) == *static_cast<const Self*>(b);
   }

   friend constexpr bool operator==(const BasicPrefix&, const BasicPrefix&) noexcept = default;
   friend constexpr auto operator<=>(const BasicPrefix&, const BasicPrefix&) noexcept = default;

  private:
   Address address_;
   U8 length_ = 0;
};

}  // namespace Corenet
