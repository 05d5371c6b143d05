#include "routetrie/platform/Corenet/BasicPrefix.h"

#include <fmt/format.h>

#include "routetrie/platform/Corvid/RangeException.h"

namespace Corenet::Impl {

namespace {

const char* invalidPrefixText(AddressFamily family) {
   return family == AddressFamily::ipv4 ? "Corenet::Prefix::validAsPrefix != true not allowed"
                                        : "Corenet::Ip6Prefix::validAsPrefix != true not allowed";
}

}  // namespace

Corvid::String prefixText(const Corvid::String& address, U32 length) {
   return fmt::format("{}/{}", address.view(), length);
}

void throwInvalidPrefix(AddressFamily family) { Corvid::RangeException::throwException(invalidPrefixText(family)); }

void throwInvalidPrefix(AddressFamily family, std::string_view text) {
   throwBadText(invalidPrefixText(family), text);
}

}  // namespace Corenet::Impl
