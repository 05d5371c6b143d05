// The errors that reading addresses and prefixes can give, in words.
#include <fmt/format.h>

#include "routetrie/address.h"
#include "routetrie/platform/Corvid/RangeException.h"
#include "routetrie/prefix.h"

namespace routetrie::Impl {

std::string quoted(std::string_view fault, std::string_view text) { return Corvid::badText(fault, text); }

std::string prefixFault(Corenet::Impl::TextFault fault, unsigned width, std::string_view text) {
   using Corenet::Impl::TextFault;
   const std::string_view length = text.substr(std::min(text.find('/'), text.size() - 1) + 1);
   switch (fault) {
      case TextFault::notAddress: return quoted(width == 32 ? "not an IPv4 prefix" : "not an IPv6 prefix", text);
      case TextFault::noLength: return quoted("prefix has no length", text);
      case TextFault::lengthNotNumber: return quoted("prefix length is not a number", text);
      case TextFault::lengthTooGreat: return quoted(fmt::format("prefix length {} exceeds {}", length, width), text);
      case TextFault::hostBits: return quoted("prefix has bits set past its length", text);
      case TextFault::none: break;
   }
   return {};
}

void throwLength(unsigned length, unsigned width) {
   const std::string text = width == 0 ? std::string("an address without a family has no prefix")
                                       : fmt::format("prefix length {} exceeds {}", length, width);
   Corvid::RangeException::throwException(text.c_str());
}

}  // namespace routetrie::Impl
