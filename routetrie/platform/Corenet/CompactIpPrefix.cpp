#include "routetrie/platform/Corenet/CompactIpPrefix.h"

namespace Corenet {

void CompactIpPrefixImpl::genPrefixIs(const IpGenPrefix& prefix) {
   switch (prefix.af()) {
      case AddressFamily::ipv4: return ipv4Is(prefix.v4Prefix());
      case AddressFamily::ipv6: return ipv6Is(prefix.v6Prefix());
      default: *this = CompactIpPrefixImpl();
   }
}

void CompactIpPrefixImpl::ipv6Is(const Ip6Prefix& prefix) {
   CompactIpPrefixImpl value;
   if (prefix.len() <= inline6MaxLength) {
      value.word_ =
         inline6Tag | U64{prefix.len()} << 2 | __builtin_bswap64(static_cast<U64>(prefix.bits().word() >> 64)) << 8;
   } else {
      value.word_ = std::bit_cast<U64>(PrefixDedup::acquire(prefix.bits(), prefix.len()));
   }
   swap(value);
}

IpGenPrefix CompactIpPrefixImpl::genPrefix() const {
   switch (af()) {
      case AddressFamily::ipv4: return ipv4();
      case AddressFamily::ipv6: return ipv6();
      default: return {};
   }
}

CompactIpPrefix CompactIpPrefix::getNull(AddressFamily family) {
   switch (family) {
      case AddressFamily::ipv4: return Prefix::nullPrefix();
      case AddressFamily::ipv6: return Ip6Prefix::nullPrefix();
      default: return {};
   }
}

CompactIpPrefix CompactIpPrefix::fromString(std::string_view text) {
   return CompactIpPrefix(IpGenPrefix::fromString(text));
}

Corvid::String CompactIpPrefix::stringValue() const { return genPrefix().stringValue(); }

}  // namespace Corenet
