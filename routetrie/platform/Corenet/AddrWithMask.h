// AddrWithMask: an address with a mask length whose host bits may be set, and the subnet that the mask cuts from it.
//
// The mask length is held wider than 8 bits. A length at or past the width of the address keeps the whole address
// and is stored in the subnet cut to 8 bits; the validity rule of the prefix then refuses all but the width and 255.
// Tested by tests/platform/Corenet/AddrWithMaskTest.cpp.
#pragma once

#include <array>
#include <string_view>

#include "routetrie/platform/Corenet/CompactIpPrefix.h"
#include "routetrie/platform/Corenet/Ip6Prefix.h"
#include "routetrie/platform/Corenet/IpGenAddr.h"
#include "routetrie/platform/Corenet/IpGenPrefix.h"
#include "routetrie/platform/Corenet/Prefix.h"
#include "routetrie/platform/Corenet/Text.h"

namespace Corenet {

template <class Self, class PrefixType>
class BasicAddrWithMask {
  public:
   using Address = typename PrefixType::AddressType;

   BasicAddrWithMask() noexcept = default;
   BasicAddrWithMask(const Address& address, U32 maskLength) noexcept : address_(address), maskLength_(maskLength) {}

   // Reads "10.1.2.3/8", host bits and all; the mask is at most the width of the address, or 255. Raises
   // Corvid::RangeException that quotes bad text.
   static Self fromString(std::string_view text) {
      const auto parts = Impl::splitPrefixText(text, PrefixType::width);
      typename Address::Bits bits;
      if (!Impl::addressFromText(parts.address, bits)) {
         Impl::throwBadText(PrefixType::family == AddressFamily::ipv4 ? "not an IPv4 address with a mask"
                                                                      : "not an IPv6 address with a mask",
                            text);
      }
      return Self(Address(bits), parts.length);
   }
   Corvid::String stringValue() const { return Impl::prefixText(address_.stringValue(), maskLength_); }

   const Address& address() const noexcept { return address_; }
   U32 maskLen() const noexcept { return maskLength_; }  // bits
   PrefixType subnet() const { return PrefixType(Address(address_.bits().cut(maskLength_)), maskLength_ & 0xff); }
   U32 hash(U32 seed) const noexcept { return Impl::hashBits(seed, address_.bits(), maskLength_); }

   friend bool operator==(const BasicAddrWithMask&, const BasicAddrWithMask&) noexcept = default;

  private:
   Address address_;
   U32 maskLength_ = 0;
};

class IpAddrWithMask : public BasicAddrWithMask<IpAddrWithMask, Prefix> {
  public:
   using BasicAddrWithMask::BasicAddrWithMask;
};

class Ip6AddrWithMask : public BasicAddrWithMask<Ip6AddrWithMask, Ip6Prefix> {
  public:
   using BasicAddrWithMask::BasicAddrWithMask;
};

// In memory: 16 address bytes, of which IPv4 uses the first 4; the mask length, 32 bits; the family.
class ROUTETRIE_EXPORT IpGenAddrWithMask {
  public:
   IpGenAddrWithMask() noexcept = default;  // family none
   IpGenAddrWithMask(const IpGenAddr& address, unsigned int len) noexcept : maskLength_(len), family_(address.af()) {
      address.bits<128>().store(bytes_.data());
   }
   // The address of the prefix, with a mask of its own.
   IpGenAddrWithMask(const CompactIpPrefix& prefix, unsigned int len)
      : IpGenAddrWithMask(prefix.genPrefix().address(), len) {}

   // Reads either family, or "none". Raises Corvid::RangeException that quotes bad text.
   static IpGenAddrWithMask fromString(std::string_view text);
   Corvid::String stringValue() const;

   AddressFamily af() const noexcept { return family_; }
   IpGenAddr address() const noexcept {
      return af() == ipv4   ? IpGenAddr(IpAddr(AddressBits<32>::load(bytes_.data())))
             : af() == ipv6 ? IpGenAddr(Ip6Addr(bytes_))
                            : IpGenAddr(family_);
   }
   U32 maskLen() const noexcept { return maskLength_; }  // bits

   // The value as one of that family; the zero address with mask length 0 if it is of another.
   IpAddrWithMask v4AddrWithMask() const noexcept {
      return af() == ipv4 ? IpAddrWithMask(address().v4Addr(), maskLength_) : IpAddrWithMask();
   }
   Ip6AddrWithMask v6AddrWithMask() const noexcept {
      return af() == ipv6 ? Ip6AddrWithMask(address().v6Addr(), maskLength_) : Ip6AddrWithMask();
   }
   Prefix v4Subnet() const { return v4AddrWithMask().subnet(); }
   // The subnet as a prefix of either family; the empty value for any family but the two.
   IpGenPrefix subnet() const;
   // The same as a compact value; asserts for a family past the three known ones.
   CompactIpPrefix compactSubnet() const;
   U32 hash(U32 seed) const noexcept { return address().hash(seed ^ maskLength_); }

   friend bool operator==(const IpGenAddrWithMask&, const IpGenAddrWithMask&) noexcept = default;

  private:
   std::array<U8, 16> bytes_{};
   U32 maskLength_ = 0;
   AddressFamily family_ = AddressFamily::none;
};

static_assert(sizeof(IpGenAddrWithMask) == 24);

}  // namespace Corenet
