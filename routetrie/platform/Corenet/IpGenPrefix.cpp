#include "routetrie/platform/Corenet/IpGenPrefix.h"

namespace Corenet {

IpGenPrefix IpGenPrefix::fromString(std::string_view text) {
   if (text == "none") {
      return {};
   }
   if (Impl::looksLikeIpv6(text)) {
      return Ip6Prefix::fromString(text);
   }
   return Prefix::fromString(text);
}

Corvid::String IpGenPrefix::stringValue() const {
   switch (family_) {
      case AddressFamily::ipv4: return v4Prefix().stringValue();
      case AddressFamily::ipv6: return v6Prefix().stringValue();
      default: return Corenet::stringValue(family_);
   }
}

void sequenceToValue(Tesk::CharRange& range, IpGenPrefix* value) {
   constexpr std::string_view separators = ":./";
   Tesk::CharRange rest = range;
   *value = IpGenPrefix::fromString(rest.takeWhile([&](char c) {
      return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') ||
             separators.find(c) != std::string_view::npos;
   }));
   range = rest;
}

void IpGenPrefix::handleInitialized(const Corvid::String& text) { *this = fromString(text); }

}  // namespace Corenet
