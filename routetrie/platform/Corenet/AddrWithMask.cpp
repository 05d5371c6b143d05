#include "routetrie/platform/Corenet/AddrWithMask.h"

namespace Corenet {

IpGenAddrWithMask IpGenAddrWithMask::fromString(std::string_view text) {
   if (text == "none") {
      return {};
   }
   if (Impl::looksLikeIpv6(text)) {
      const auto value = Ip6AddrWithMask::fromString(text);
      return {value.address(), value.maskLen()};
   }
   const auto value = IpAddrWithMask::fromString(text);
   return {value.address(), value.maskLen()};
}

Corvid::String IpGenAddrWithMask::stringValue() const {
   switch (af()) {
      case AddressFamily::ipv4: return v4AddrWithMask().stringValue();
      case AddressFamily::ipv6: return v6AddrWithMask().stringValue();
      default: return Corenet::stringValue(af());
   }
}

IpGenPrefix IpGenAddrWithMask::subnet() const {
   switch (af()) {
      case AddressFamily::ipv4: return v4Subnet();
      case AddressFamily::ipv6: return v6AddrWithMask().subnet();
      default: return {};
   }
}

CompactIpPrefix IpGenAddrWithMask::compactSubnet() const {
   switch (af()) {
      case AddressFamily::ipv4: return v4Subnet();
      case AddressFamily::ipv6: return v6AddrWithMask().subnet();
      case AddressFamily::none: return {};
   }
   ROUTETRIE_ASSERT(false, "false && \"Unhandled af in compactSubnet\"");
   return {};
}

}  // namespace Corenet
