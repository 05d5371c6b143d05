// PrefixBits: what the slow models know of prefixes, one bit after the other and with nothing of the library but the
// bytes of an address. Bit 0 is the most significant; lengths are in bits.
// Tested by tests/property/SlowTableTest.cpp.
#pragma once

#include <algorithm>
#include <array>

#include "routetrie/platform/Corenet/IpGenPrefix.h"
#include "routetrie/platform/Types.h"

namespace Property {

using Corenet::IpGenPrefix;

inline constexpr U32 widthOf(Corenet::AddressFamily family) { return family == Corenet::ipv4 ? 32 : 128; }

inline std::array<U8, 16> bytesOf(const IpGenPrefix& p) {
   std::array<U8, 16> bytes = p.address().v6Addr().bytes();
   if (p.af() == Corenet::ipv4) {
      const auto four = p.address().v4Addr().bytes();
      std::copy(four.begin(), four.end(), bytes.begin());
   }
   return bytes;
}

inline bool bitOf(const std::array<U8, 16>& bytes, U32 n) { return ((bytes[n / 8] >> (7 - n % 8)) & 1) != 0; }
inline bool bitOf(const IpGenPrefix& p, U32 n) { return bitOf(bytesOf(p), n); }

// How many leading bits the two share, at most the length of either.
inline U32 commonLength(const IpGenPrefix& a, const IpGenPrefix& b) {
   const auto bytesA = bytesOf(a);
   const auto bytesB = bytesOf(b);
   const U32 limit = std::min(a.len(), b.len());
   U32 n = 0;
   while (n + 8 <= limit && bytesA[n / 8] == bytesB[n / 8]) {
      n += 8;
   }
   while (n < limit && bitOf(bytesA, n) == bitOf(bytesB, n)) {
      ++n;
   }
   return n;
}

// Relations of two prefixes.
using Relation = bool (*)(const IpGenPrefix&, const IpGenPrefix&);
inline bool covers(const IpGenPrefix& a, const IpGenPrefix& b) { return commonLength(a, b) == a.len(); }
inline bool isAbove(const IpGenPrefix& a, const IpGenPrefix& b) { return a.len() < b.len() && covers(a, b); }
inline bool isBefore(const IpGenPrefix& a, const IpGenPrefix& b) { return a < b; }

// The prefix of that family whose address is the first `length` bits of the bytes.
inline IpGenPrefix prefixOf(Corenet::AddressFamily family, std::array<U8, 16> bytes, U32 length) {
   for (U32 n = length; n < 128; ++n) {
      bytes[n / 8] = static_cast<U8>(bytes[n / 8] & ~(0x80U >> n % 8));
   }
   if (family == Corenet::ipv4) {
      return Corenet::Prefix(Corenet::IpAddr(std::array<U8, 4>{bytes[0], bytes[1], bytes[2], bytes[3]}), length);
   }
   return Corenet::Ip6Prefix(Corenet::Ip6Addr(bytes), length);
}

// The first `length` bits of p; if `length` runs past p, zeros follow.
inline IpGenPrefix cut(const IpGenPrefix& p, U32 length) { return prefixOf(p.af(), bytesOf(p), length); }

// The same prefix with its bit `n` turned round. Requires: n is below its length.
inline IpGenPrefix flipped(const IpGenPrefix& p, U32 n) {
   auto bytes = bytesOf(p);
   bytes[n / 8] = static_cast<U8>(bytes[n / 8] ^ (0x80U >> n % 8));
   return prefixOf(p.af(), bytes, p.len());
}

// The IPv4 prefix behind `place` fixed bits; at place 0 the default route stays what it is.
inline IpGenPrefix placed(Corenet::AddressFamily family, U32 place, const IpGenPrefix& p) {
   std::array<U8, 16> bytes{};
   for (U32 n = 0; n < place + p.len(); ++n) {
      const bool bit = n < place ? n % 3 == 0 : bitOf(p, n - place);
      bytes[n / 8] = static_cast<U8>(bytes[n / 8] | (bit ? 0x80U >> n % 8 : 0U));
   }
   return prefixOf(family, bytes, place + p.len());
}

}  // namespace Property
