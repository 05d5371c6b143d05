// BasicAddr: what IpAddr and Ip6Addr share, an address as `width` / 8 bytes in network order.
// Tested by tests/platform/Corenet/IpAddrTest.cpp.
#pragma once

#include <array>
#include <bit>
#include <compare>
#include <string_view>

#include "routetrie/platform/Corenet/AddressBits.h"
#include "routetrie/platform/Corenet/AddressFamily.h"
#include "routetrie/platform/Corenet/Integers.h"
#include "routetrie/platform/Corenet/Text.h"
#include "routetrie/platform/Corvid/String.h"
#include "routetrie/platform/Export.h"

namespace Corenet {

namespace Impl {

ROUTETRIE_EXPORT Corvid::String addressText(AddressBits<32> bits);   // "10.0.0.1"
ROUTETRIE_EXPORT Corvid::String addressText(AddressBits<128> bits);  // RFC 5952: "2001:db8::1"

// Reads what addressText prints, and every other spelling of the address; false if the text is no address.
ROUTETRIE_EXPORT bool addressFromText(std::string_view text, AddressBits<32>& bits);
ROUTETRIE_EXPORT bool addressFromText(std::string_view text, AddressBits<128>& bits);

// Mixes `word` into `hash`; every address and prefix type hashes through this.
constexpr U64 hashMix(U64 hash, U64 word) noexcept {
   hash = (hash ^ word) * 0x9e3779b97f4a7c15;
   return hash ^ (hash >> 32);
}

constexpr U32 hashBits(U32 seed, AddressBits<32> bits, U32 more) noexcept {
   return static_cast<U32>(hashMix(seed, U64{bits.word()} << 32 | more) >> 16);
}
constexpr U32 hashBits(U32 seed, AddressBits<128> bits, U32 more) noexcept {
   const U64 high = hashMix(hashMix(seed, more), static_cast<U64>(bits.word() >> 64));
   return static_cast<U32>(hashMix(high, static_cast<U64>(bits.word())) >> 16);
}

}  // namespace Impl

template <class Self, unsigned widthBits, AddressFamily familyValue>
class BasicAddr {
  public:
   static constexpr U32 width = widthBits;
   static constexpr AddressFamily family = familyValue;
   using Bits = AddressBits<width>;
   using Bytes = std::array<U8, width / 8>;

   constexpr BasicAddr() noexcept = default;  // all zero
   constexpr explicit BasicAddr(const Bytes& networkOrder) noexcept : word_(std::bit_cast<Word>(networkOrder)) {}
   constexpr explicit BasicAddr(Bits bits) noexcept : word_(bits.networkOrder()) {}

   // Raises Corvid::RangeException that quotes the text if it is no address of this family.
   static Self fromString(std::string_view text) {
      Bits bits;
      if (!Impl::addressFromText(text, bits)) {
         Impl::throwBadText(family == AddressFamily::ipv4 ? "not an IPv4 address" : "not an IPv6 address", text);
      }
      return Self(bits);
   }
   Corvid::String stringValue() const { return Impl::addressText(bits()); }

   const Bytes& bytes() const noexcept { return reinterpret_cast<const Bytes&>(*this); }
   constexpr Bits bits() const noexcept { return Bits::fromNetworkOrder(word_); }
   U32 hash(U32 seed) const noexcept { return Impl::hashBits(seed, bits(), 0); }

   friend constexpr bool operator==(const BasicAddr& a, const BasicAddr& b) noexcept { return a.bits() == b.bits(); }
   friend constexpr auto operator<=>(const BasicAddr& a, const BasicAddr& b) noexcept {
      return a.bits() <=> b.bits();
   }

  private:
   // The bytes as one word, at any alignment: an address is then passed, compared and given back in a register.
   using Word [[gnu::aligned(1), gnu::may_alias]] = typename Bits::Word;
   Word word_ = 0;
};

}  // namespace Corenet
