// IpGenAddr: an address of either family, 17 bytes. An IPv4 address uses the first 4 bytes; the rest are zero.
// Tested by tests/platform/Corenet/IpGenAddrTest.cpp.
#pragma once

#include <array>
#include <compare>
#include <string_view>

#include "routetrie/platform/Corenet/AddressFamily.h"
#include "routetrie/platform/Corenet/IpAddr.h"
#include "routetrie/platform/Corenet/Text.h"

namespace Corenet {

class ROUTETRIE_EXPORT IpGenAddr {
  public:
   IpGenAddr() noexcept = default;  // family none, all zero
   IpGenAddr(const IpAddr& address) noexcept : family_(AddressFamily::ipv4) { address.bits().store(bytes_.data()); }
   IpGenAddr(const Ip6Addr& address) noexcept : bytes_(address.bytes()), family_(AddressFamily::ipv6) {}
   // The zero address of that family.
   explicit IpGenAddr(AddressFamily family) noexcept : family_(family) {}

   // Reads an address of either family, or "none". Raises Corvid::RangeException that quotes bad text.
   static IpGenAddr fromString(std::string_view text);
   Corvid::String stringValue() const;

   AddressFamily af() const noexcept { return family_; }
   // The address of that family; the zero address if this is of another.
   IpAddr v4Addr() const noexcept { return family_ == AddressFamily::ipv4 ? IpAddr(bits<32>()) : IpAddr(); }
   Ip6Addr v6Addr() const noexcept { return family_ == AddressFamily::ipv6 ? Ip6Addr(bytes_) : Ip6Addr(); }

   // The first `width` bits of the stored address, whatever the family.
   template <unsigned width>
   AddressBits<width> bits() const noexcept {
      return AddressBits<width>::load(bytes_.data());
   }
   U32 hash(U32 seed) const noexcept { return Impl::hashBits(seed, bits<128>(), static_cast<U32>(family_)); }

   friend bool operator==(const IpGenAddr&, const IpGenAddr&) noexcept = default;

  private:
   std::array<U8, 16> bytes_{};
   AddressFamily family_ = AddressFamily::none;
};

static_assert(sizeof(IpGenAddr) == 17);

}  // namespace Corenet
