#include "routetrie/platform/Corenet/IpGenAddr.h"

namespace Corenet {

IpGenAddr IpGenAddr::fromString(std::string_view text) {
   if (text == "none") {
      return {};
   }
   if (Impl::looksLikeIpv6(text)) {
      return Ip6Addr::fromString(text);
   }
   return IpAddr::fromString(text);
}

Corvid::String IpGenAddr::stringValue() const {
   switch (family_) {
      case AddressFamily::ipv4: return v4Addr().stringValue();
      case AddressFamily::ipv6: return v6Addr().stringValue();
      default: return Corenet::stringValue(family_);
   }
}

}  // namespace Corenet
