#include "tools/tables/PrefixText.h"

#include <fmt/format.h>

#include <bit>
#include <string>

#include "routetrie/platform/Corvid/RangeException.h"
#include "tools/tables/AddressNumber.h"
#include "tools/tables/TableErrors.h"

namespace Rtrie {
namespace {

Corenet::IpGenPrefix parsed(std::string_view text) {
   if (text.find('/') != std::string_view::npos) {
      return Corenet::IpGenPrefix::fromString(text);
   }
   if (text.find(':') != std::string_view::npos) {
      return prefixOf(numberOf(Corenet::Ip6Addr::fromString(text)), 128);
   }
   return prefixOf(numberOf(Corenet::IpAddr::fromString(text)), 32);
}

}  // namespace

Corenet::IpGenPrefix prefixOfText(std::string_view text) {
   Corenet::IpGenPrefix prefix;
   try {
      prefix = parsed(text);
   } catch (const Corvid::RangeException& error) {
      const std::string_view what = error.what();
      // The validity rule's own words are for programmers.
      if (what.find("validAsPrefix") != std::string_view::npos) {
         throw BadText(fmt::format("address has bits set past the prefix length: \"{}\"", text));
      }
      throw BadText(error.what());
   }
   // The library reads 255 as the null prefix, which no table and no query means.
   const unsigned width = prefix.af() == Corenet::AddressFamily::ipv6 ? 128 : 32;
   if (prefix.len() > width) {
      throw BadText(fmt::format("prefix length {} exceeds {}: \"{}\"", prefix.len(), width, text));
   }
   return prefix;
}

Corenet::IpGenPrefix maskedPrefixOfText(std::string_view text, std::uint64_t& masked) {
   const auto slash = text.find('/');
   if (slash != std::string_view::npos) {
      try {
         return prefixOfText(text);
      } catch (const BadText&) {
         const auto address = prefixOfText(text.substr(0, slash));
         const bool isIpv6 = address.af() == Corenet::AddressFamily::ipv6;
         // Whether the length is one, the address of zeros tells.
         const auto length = prefixOfText(fmt::format("{}{}", isIpv6 ? "::" : "0.0.0.0", text.substr(slash))).len();
         ++masked;
         return isIpv6 ? prefixOf(address.bits<128>().cut(length).word(), length)
                       : prefixOf(address.bits<32>().cut(length).word(), length);
      }
   }
   return prefixOfText(text);
}

bool isPrefixText(std::string_view text) {
   // Most words that are no prefix are told by their characters, without the price of an exception.
   if (text.find_first_not_of("0123456789abcdefABCDEF:./") != std::string_view::npos ||
       text.find_first_of(".:") == std::string_view::npos) {
      return false;
   }
   try {
      prefixOfText(text);
      return true;
   } catch (const BadText&) {
      return false;
   }
}

bool isAddressText(std::string_view text) { return text.find('/') == std::string_view::npos && isPrefixText(text); }

std::optional<U8> netmaskLength(std::string_view text) {
   if (text.find_first_not_of("0123456789.") != std::string_view::npos || !isAddressText(text)) {
      return std::nullopt;
   }
   const U32 mask = numberOf(Corenet::IpAddr::fromString(text));
   const auto length = static_cast<U8>(std::countl_one(mask));
   return std::popcount(mask) == length ? std::optional(length) : std::nullopt;
}

Corenet::IpGenPrefix prefixOfMask(std::string_view address, U8 lengthBits) {
   return prefixOfText(fmt::format("{}/{}", address, lengthBits));
}

std::string_view familyName(Corenet::AddressFamily af) {
   return af == Corenet::AddressFamily::ipv6 ? "IPv6" : "IPv4";
}

}  // namespace Rtrie
