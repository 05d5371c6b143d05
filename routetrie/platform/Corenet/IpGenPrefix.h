// IpGenPrefix: a prefix of either family, 18 bytes: 16 address bytes, length, family. An IPv4 address uses the first
// 4 bytes; the rest are zero. All fields zero is the empty value, which stands for no prefix at all.
//
// The order is by family, then address, then length.
// Tested by tests/platform/Corenet/IpGenPrefixTest.cpp.
#pragma once

#include <compare>
#include <string_view>

#include "routetrie/platform/Corenet/AddressFamily.h"
#include "routetrie/platform/Corenet/Ip6Prefix.h"
#include "routetrie/platform/Corenet/IpGenAddr.h"
#include "routetrie/platform/Corenet/Prefix.h"
#include "routetrie/platform/Corenet/Text.h"
#include "routetrie/platform/Corvid/String.h"
#include "routetrie/platform/Tesk/CharRange.h"

namespace Corenet {

class IpGenPrefixBase {
  public:
   U32 hash(U32 seed) const noexcept {
      return Impl::hashBits(seed, address_.bits(), static_cast<U32>(family_) << 8 | length_);
   }
   // Compares two IpGenPrefix values behind untyped pointers.
   static bool isEq(const void* a, const void* b) noexcept {
      return *static_cast<const IpGenPrefixBase*>(a) == *static_cast<const IpGenPrefixBase*>(b);
   }

   friend constexpr bool operator==(const IpGenPrefixBase&, const IpGenPrefixBase&) noexcept = default;
   friend constexpr std::strong_ordering operator<=>(const IpGenPrefixBase& a, const IpGenPrefixBase& b) noexcept {
      if (a.family_ != b.family_) {
         return a.family_ <=> b.family_;
      }
      const auto byAddress = a.address_ <=> b.address_;
      return byAddress != 0 ? byAddress : a.length_ <=> b.length_;
   }

  protected:
   constexpr IpGenPrefixBase() noexcept = default;
   constexpr IpGenPrefixBase(const Ip6Addr& address, U8 length, AddressFamily family) noexcept
      : address_(address), length_(length), family_(family) {}

   Ip6Addr address_;  // the bytes of either family
   U8 length_ = 0;
   AddressFamily family_ = AddressFamily::none;
};

class ROUTETRIE_EXPORT IpGenPrefix : public IpGenPrefixBase {
  public:
   constexpr IpGenPrefix() noexcept = default;  // the empty value
   constexpr IpGenPrefix(const Prefix& prefix) noexcept
      : IpGenPrefixBase(Ip6Addr(AddressBits<128>(U128{prefix.bits().word()} << 96)), prefix.len(),
                        AddressFamily::ipv4) {}
   constexpr IpGenPrefix(const Ip6Prefix& prefix) noexcept
      : IpGenPrefixBase(prefix.address(), prefix.len(), AddressFamily::ipv6) {}

   // Reads a prefix of either family, or "none" for the empty value. Raises Corvid::RangeException that quotes bad
   // text.
   static IpGenPrefix fromString(std::string_view text);
   Corvid::String stringValue() const;
   // Becomes what the text says; for values that are made first and given their text later. Raises as fromString
   // does, and is then unchanged.
   void handleInitialized(const Corvid::String& text);

   // Beside the base's, so that a prefix of one family is compared as well.
   friend constexpr bool operator==(const IpGenPrefix& a, const IpGenPrefix& b) noexcept {
      return static_cast<const IpGenPrefixBase&>(a) == static_cast<const IpGenPrefixBase&>(b);
   }
   friend constexpr std::strong_ordering operator<=>(const IpGenPrefix& a, const IpGenPrefix& b) noexcept {
      return static_cast<const IpGenPrefixBase&>(a) <=> static_cast<const IpGenPrefixBase&>(b);
   }

   constexpr AddressFamily af() const noexcept { return family_; }
   constexpr U8 len() const noexcept { return length_; }  // bits
   IpGenAddr address() const noexcept {
      switch (family_) {
         case AddressFamily::ipv4: return IpAddr(bits<32>());
         case AddressFamily::ipv6: return address_;
         default: return IpGenAddr(family_);
      }
   }

   // The value as a prefix of that family. A prefix of another family gives the null prefix, and the empty value
   // gives the zero-length prefix.
   constexpr Prefix v4Prefix() const noexcept { return as<Prefix>(); }
   constexpr Ip6Prefix v6Prefix() const noexcept { return as<Ip6Prefix>(); }

   // The first `width` bits of the stored address, whatever the family.
   template <unsigned width>
   constexpr AddressBits<width> bits() const noexcept {
      return AddressBits<width>(
         static_cast<typename AddressBits<width>::Word>(address_.bits().word() >> (128 - width)));
   }

  private:
   template <class P>
   constexpr P as() const noexcept {
      if (family_ == P::family) {
         return P::ofValid(typename P::AddressType(bits<P::width>()), length_);
      }
      return family_ == AddressFamily::none ? P() : P::nullPrefix();
   }
};

static_assert(sizeof(IpGenPrefix) == 18);

// Takes the text of a prefix from the front of the range and stores the value. Raises as IpGenPrefix::fromString does, and
// then neither range nor value has changed.
ROUTETRIE_EXPORT void sequenceToValue(Tesk::CharRange& range, IpGenPrefix* value);

}  // namespace Corenet
