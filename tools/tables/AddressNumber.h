// AddressNumber: addresses as numbers in host order, 32 or 128 bits wide, so that ranges and sorting are arithmetic.
// The text and validity of addresses stay with Corenet.
//
// Tested by tests/tools/tables/RangeCutTest.cpp.
#pragma once

#include <bit>
#include <cstdint>

#include "routetrie/platform/Corenet.h"
#include "routetrie/platform/Types.h"

namespace Rtrie {

using Corenet::U128;

template <class Number>
inline constexpr unsigned widthBits = sizeof(Number) * 8;

inline U32 numberOf(const Corenet::IpAddr& address) { return address.bits().word(); }
inline Corenet::U128 numberOf(const Corenet::Ip6Addr& address) { return address.bits().word(); }

// Requires: no bit set at or past lengthBits; Corvid::RangeException otherwise.
inline Corenet::IpGenPrefix prefixOf(U32 number, U8 lengthBits) {
   return Corenet::Prefix(Corenet::IpAddr(Corenet::AddressBits<32>(number)), lengthBits);
}
inline Corenet::IpGenPrefix prefixOf(Corenet::U128 number, U8 lengthBits) {
   return Corenet::Ip6Prefix(Corenet::Ip6Addr(Corenet::AddressBits<128>(number)), lengthBits);
}

// Whether the first prefix is the beginning of the second, or the second itself.
inline bool covers(const Corenet::IpGenPrefix& prefix, const Corenet::IpGenPrefix& other) {
   if (prefix.af() != other.af() || prefix.len() > other.len()) {
      return false;
   }
   return prefix.af() == Corenet::AddressFamily::ipv6
             ? prefix.bits<128>().sharesFirst(other.bits<128>(), prefix.len())
             : prefix.bits<32>().sharesFirst(other.bits<32>(), prefix.len());
}

// Zero bits below the lowest set one; the whole width for 0.
inline unsigned trailingZeros(U32 number) { return static_cast<unsigned>(std::countr_zero(number)); }
inline unsigned trailingZeros(Corenet::U128 number) {
   const auto low = static_cast<std::uint64_t>(number);
   const auto high = static_cast<std::uint64_t>(number >> 64);
   return static_cast<unsigned>(low != 0 ? std::countr_zero(low) : 64 + std::countr_zero(high));
}

}  // namespace Rtrie
