// CompactIpPrefix: a prefix of either family in one word of 8 bytes. The low two bits of the first byte are a tag:
//
//    tag  family  first byte    then
//    3    none    3             zeros: the null compact value
//    2    IPv4    length << 2   byte 1 a marker, 1 for the IPv4 null prefix, whatever the other bytes are; from byte 2
//                               the address bytes that hold the length's bits
//    1    IPv6    length << 2   from byte 1 the address bytes; at most 56 bits
//    0    IPv6    -             the word is a pointer to a record of PrefixDedup
//
// Bytes past the stored ones are zero, an IPv6 prefix of up to 56 bits always has tag 1, and a longer one has one
// record in the process: so one prefix has one word, and two values are equal exactly if their words are. The null
// prefix of IPv4 has no length bits, so that len() of it is 0; that of IPv6 has a record, and its len() is 255.
//
// A value with tag 0 owns a reference to its record. Moving a word by hand is allowed only as a swap.
// Tested by tests/platform/Corenet/CompactIpPrefixTest.cpp.
#pragma once

#include <bit>
#include <string_view>
#include <utility>

#include "routetrie/platform/Corenet/AddressFamily.h"
#include "routetrie/platform/Corenet/IpGenPrefix.h"
#include "routetrie/platform/Corenet/PrefixDedup.h"
#include "routetrie/platform/Corenet/Text.h"

namespace Corenet {

class ROUTETRIE_EXPORT CompactIpPrefixImpl {
  public:
   CompactIpPrefixImpl() noexcept = default;  // the null compact value
   CompactIpPrefixImpl(const CompactIpPrefixImpl& other) noexcept : word_(other.word_) { retain(); }
   CompactIpPrefixImpl(CompactIpPrefixImpl&& other) noexcept : word_(std::exchange(other.word_, nullWord)) {}
   CompactIpPrefixImpl& operator=(const CompactIpPrefixImpl& other) noexcept {
      CompactIpPrefixImpl(other).swap(*this);
      return *this;
   }
   CompactIpPrefixImpl& operator=(CompactIpPrefixImpl&& other) noexcept {
      CompactIpPrefixImpl(std::move(other)).swap(*this);
      return *this;
   }
   ~CompactIpPrefixImpl() {
      if (isDeduped()) {
         PrefixDedup::release(record());
      }
   }
   void swap(CompactIpPrefixImpl& other) noexcept { std::swap(word_, other.word_); }

   // Become this prefix; the empty value gives the null compact value. Raise std::bad_alloc, and are then unchanged.
   void genPrefixIs(const IpGenPrefix& prefix);
   void ipv4Is(const Prefix& prefix) noexcept { *this = CompactIpPrefixImpl(word4(prefix)); }
   void ipv6Is(const Ip6Prefix& prefix);

   // By the tag alone.
   AddressFamily af() const noexcept {
      constexpr AddressFamily byTag[] = {AddressFamily::ipv6, AddressFamily::ipv6, AddressFamily::ipv4,
                                         AddressFamily::none};
      return byTag[tag()];
   }
   // In bits. 0 for the null compact value and for the null prefix of IPv4.
   U8 len() const noexcept { return isDeduped() ? ipv6DedupedLength() : inlineLen(); }
   IpGenPrefix genPrefix() const;
   // The value as a prefix of that family. A prefix of the other family gives the null prefix, and the null compact
   // value gives the zero-length prefix.
   Prefix ipv4() const noexcept {
      switch (tag()) {
         case nullWord: return {};
         case ipv4Tag:
            return hasMarker4() ? Prefix::nullPrefix() : Prefix::ofValid(IpAddr(inlineBits4()), inlineLen());
         default: return Prefix::nullPrefix();
      }
   }
   Ip6Prefix ipv6() const noexcept {
      switch (tag()) {
         case nullWord: return {};
         case inline6Tag: return Ip6Prefix::ofValid(Ip6Addr(inlineBits6()), inlineLen());
         case dedupedTag: return ipv6DedupedPrefix();
         default: return Ip6Prefix::nullPrefix();
      }
   }

   bool isNull() const noexcept { return word_ == nullWord; }
   // Requires: the value holds a record, which af() == ipv6 and len() above 56 tells.
   U8 ipv6DedupedLength() const noexcept { return record()->length; }
   Ip6Prefix ipv6DedupedPrefix() const noexcept {
      return Ip6Prefix::ofValid(Ip6Addr(record()->bits), record()->length);
   }

   // The address bits, with zeros past the length; all zero if the value is of another family.
   template <unsigned width>
   AddressBits<width> bits() const noexcept {
      if constexpr (width == 32) {
         return tag() == ipv4Tag ? inlineBits4() : AddressBits<32>();
      } else {
         switch (tag()) {
            case inline6Tag: return inlineBits6();
            case dedupedTag: return record()->bits;
            default: return {};
         }
      }
   }

   U32 hash(U32 seed) const noexcept { return static_cast<U32>(Impl::hashMix(seed, word_) >> 16); }

   friend bool operator==(const CompactIpPrefixImpl& a, const CompactIpPrefixImpl& b) noexcept {
      return a.word_ == b.word_;
   }

  protected:
   static constexpr U64 dedupedTag = 0;
   static constexpr U64 inline6Tag = 1;
   static constexpr U64 ipv4Tag = 2;
   static constexpr U64 nullWord = 3;
   static constexpr U64 marker4Mask = U64{0xff} << 8;
   static constexpr U64 marker4 = U64{1} << 8;
   static constexpr U64 ipv4NullPrefixWord = ipv4Tag | marker4;
   static constexpr U32 inline6MaxLength = 56;

   static_assert(std::endian::native == std::endian::little, "byte 0 of the word is its low byte");

   static U64 word4(const Prefix& prefix) noexcept {
      return prefix.isNullPrefix()
                ? ipv4NullPrefixWord
                : ipv4Tag | U64{prefix.len()} << 2 | U64{__builtin_bswap32(prefix.bits().word())} << 16;
   }
   // Takes over what the word refers to.
   explicit CompactIpPrefixImpl(U64 word) noexcept : word_(word) {}

   U64 tag() const noexcept { return word_ & 3; }
   bool isDeduped() const noexcept { return tag() == dedupedTag; }
   bool hasMarker4() const noexcept { return (word_ & marker4Mask) == marker4; }
   U8 inlineLen() const noexcept { return static_cast<U8>((word_ & 0xff) >> 2); }
   AddressBits<32> inlineBits4() const noexcept {
      return AddressBits<32>(__builtin_bswap32(static_cast<U32>(word_ >> 16)));
   }
   AddressBits<128> inlineBits6() const noexcept {
      return AddressBits<128>(U128{__builtin_bswap64(word_ >> 8)} << 64);
   }
   PrefixDedup::Record* record() const noexcept { return std::bit_cast<PrefixDedup::Record*>(word_); }
   void retain() const noexcept {
      if (isDeduped()) {
         PrefixDedup::retain(record());
      }
   }

   U64 word_ = nullWord;
};

class ROUTETRIE_EXPORT CompactIpPrefix : public CompactIpPrefixImpl {
  public:
   CompactIpPrefix() noexcept = default;  // the null compact value
   CompactIpPrefix(const Prefix& prefix) noexcept : CompactIpPrefixImpl(word4(prefix)) {}
   CompactIpPrefix(const Ip6Prefix& prefix) { ipv6Is(prefix); }
   explicit CompactIpPrefix(const IpGenPrefix& prefix) { genPrefixIs(prefix); }
   CompactIpPrefix(const CompactIpPrefixImpl& other) noexcept : CompactIpPrefixImpl(other) {}

   // The null prefix of that family; the null compact value for family none.
   static CompactIpPrefix getNull(AddressFamily family);

   // As IpGenPrefix::fromString; "none" is the null compact value.
   static CompactIpPrefix fromString(std::string_view text);
   Corvid::String stringValue() const;
};

static_assert(sizeof(CompactIpPrefix) == 8);

}  // namespace Corenet
