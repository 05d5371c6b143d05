// RandomValues: random addresses and prefixes, drawn so that the awkward ones are frequent: runs of zero groups,
// IPv4-mapped addresses, both ends of the lengths, null prefixes.
// Used by the property tests of this folder; each prints its seed (tests/property/Scale.h).
#pragma once

#include <algorithm>
#include <cstdint>
#include <random>
#include <vector>

#include "routetrie/platform/Corenet/AddrWithMask.h"
#include "routetrie/platform/Corenet/CompactIpPrefix.h"
#include "routetrie/platform/Types.h"

namespace TestSupport {

class RandomValues {
  public:
   explicit RandomValues(std::uint64_t seed) : engine_(seed) {}

   std::uint64_t word() { return engine_(); }
   U32 below(U32 limit) { return static_cast<U32>(word() % limit); }

   template <unsigned width>
   Corenet::AddressBits<width> bits() {
      using Word = typename Corenet::AddressBits<width>::Word;
      Word result = 0;
      for (U32 i = 0; i < width / 16; ++i) {
         const U32 group = below(3) == 0 ? below(0x10000) : below(2) == 0 ? below(0x100) : 0;
         result = static_cast<Word>(result << 16 | group);
      }
      if (width == 128 && below(8) == 0) {  // IPv4-mapped
         result = Word{0xffff} << (width / 4) | static_cast<U32>(word());
      }
      return Corenet::AddressBits<width>(result);
   }

   template <class Address>
   Address address() {
      return Address(bits<Address::width>());
   }

   template <class P>
   P prefix() {
      const U32 length = below(P::width + 2);
      return length > P::width ? P::nullPrefix() : P::cut(bits<P::width>(), length);
   }

   Corenet::IpGenAddr genAddr() {
      switch (below(5)) {
         case 0: return {};
         case 1:
         case 2: return address<Corenet::IpAddr>();
         default: return address<Corenet::Ip6Addr>();
      }
   }
   Corenet::IpGenPrefix genPrefix() {
      switch (below(8)) {
         case 0: return {};
         case 1:
         case 2:
         case 3: return prefix<Corenet::Prefix>();
         default: return prefix<Corenet::Ip6Prefix>();
      }
   }

  private:
   std::mt19937_64 engine_;
};

// A random value of any of the types.
template <class T>
T randomValue(RandomValues& random) {
   using namespace Corenet;
   if constexpr (std::same_as<T, IpGenAddr>) {
      return random.genAddr();
   } else if constexpr (std::same_as<T, IpGenPrefix>) {
      return random.genPrefix();
   } else if constexpr (std::same_as<T, CompactIpPrefix>) {
      return CompactIpPrefix(random.genPrefix());
   } else if constexpr (std::same_as<T, Prefix> || std::same_as<T, Ip6Prefix>) {
      return random.prefix<T>();
   } else if constexpr (std::same_as<T, IpAddr> || std::same_as<T, Ip6Addr>) {
      return random.address<T>();
   } else if constexpr (std::same_as<T, IpGenAddrWithMask>) {
      const IpGenAddr address = random.genAddr();
      switch (address.af()) {
         case AddressFamily::ipv4: return {address, random.below(33)};
         case AddressFamily::ipv6: return {address, random.below(129)};
         default: return {};
      }
   } else {
      return T(random.address<typename T::Address>(), random.below(T::Address::width + 1));
   }
}

}  // namespace TestSupport
