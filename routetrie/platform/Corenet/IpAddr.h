// IpAddr, Ip6Addr: an IPv4 and an IPv6 address, 4 and 16 bytes in network order.
// Tested by tests/platform/Corenet/IpAddrTest.cpp.
#pragma once

#include "routetrie/platform/Corenet/BasicAddr.h"

namespace Corenet {

// Raises Corvid::RangeException: an IPv6 address has the words 0 to 3.
[[noreturn]] ROUTETRIE_EXPORT void throwIp6AddrU32();

class IpAddr : public BasicAddr<IpAddr, 32, AddressFamily::ipv4> {
  public:
   using BasicAddr::BasicAddr;
   constexpr explicit IpAddr(U32 hostOrder) noexcept : BasicAddr(Bits(hostOrder)) {}

   constexpr U32 hostOrder() const noexcept { return bits().word(); }
};

class Ip6Addr : public BasicAddr<Ip6Addr, 128, AddressFamily::ipv6> {
  public:
   using BasicAddr::BasicAddr;

   // Word `i` of the address in host order, `i` from 0 to 3; any other raises through throwIp6AddrU32().
   U32 u32(unsigned int i) const {
      if (i > 3) {
         throwIp6AddrU32();
      }
      return AddressBits<32>::load(bytes().data() + i * sizeof(U32)).word();
   }
};

static_assert(sizeof(IpAddr) == 4 && sizeof(Ip6Addr) == 16);

inline constexpr Ip6Addr ip6AddrZero{};

}  // namespace Corenet
