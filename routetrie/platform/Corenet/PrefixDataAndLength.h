// PrefixDataAndLength: a view of address bytes in network order and a length in bits; the bytes belong to someone
// else and must outlive the view. Bits past the length are not looked at.
// Tested by tests/platform/Corenet/PrefixDataAndLengthTest.cpp.
#pragma once

#include <cstring>

#include "routetrie/platform/Corenet/Integers.h"
#include "routetrie/platform/Corvid/String.h"
#include "routetrie/platform/Export.h"

namespace Corenet {

struct ROUTETRIE_EXPORT PrefixDataAndLength {
   const U8* data = nullptr;  // (length + 7) / 8 bytes
   U32 length = 0;            // bits

   // The view as IPv6 text, "2001:db8::/32". Requires: `length` is at most 128.
   Corvid::String formatIpv6() const;
   // The same as IPv4 text, "10.0.0.0/8". Requires: `length` is at most 32.
   Corvid::String formatIpv4() const;

   // Equal lengths, and equal bits over that length.
   friend bool operator==(const PrefixDataAndLength& a, const PrefixDataAndLength& b) noexcept {
      if (a.length != b.length) {
         return false;
      }
      const U32 wholeBytes = a.length / 8;
      const U32 restBits = a.length % 8;
      if (wholeBytes != 0 && std::memcmp(a.data, b.data, wholeBytes) != 0) {
         return false;
      }
      return restBits == 0 || ((a.data[wholeBytes] ^ b.data[wholeBytes]) >> (8 - restBits)) == 0;
   }
};

// As formatIpv6.
inline Corvid::String stringValue(const PrefixDataAndLength& view) { return view.formatIpv6(); }

}  // namespace Corenet
