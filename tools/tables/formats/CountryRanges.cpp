#include "tools/tables/formats/CountryRanges.h"

#include <fmt/format.h>

#include <charconv>
#include <limits>

#include "routetrie/platform/Corvid/RangeException.h"
#include "tools/tables/AddressNumber.h"
#include "tools/tables/PrefixText.h"
#include "tools/tables/TableErrors.h"
#include "tools/tables/Words.h"

namespace Rtrie {
namespace {

bool isDigits(std::string_view text) {
   return !text.empty() && text.find_first_not_of("0123456789") == std::string_view::npos;
}

bool isIpv6Shaped(std::string_view text) {
   return text.find(':') != std::string_view::npos &&
          text.find_first_not_of("0123456789abcdefABCDEF:.") == std::string_view::npos;
}

// Dotted addresses are the ends of a range only if something follows them, and if the second is not the netmask of the
// first: 10.0.0.0,255.0.0.0,lan
bool isDottedRange(std::string_view first, std::string_view last, std::string_view rest) {
   const auto isDotted = [](std::string_view text) {
      return text.find_first_not_of("0123456789.") == std::string_view::npos && isAddressText(text);
   };
   if (rest.empty() || !isDotted(first) || !isDotted(last)) {
      return false;
   }
   const auto mask = netmaskLength(last);
   return !mask || *mask == 32 || *mask == 0 || !isPrefixText(fmt::format("{}/{}", first, *mask));
}

U32 ipv4Number(std::string_view text, std::string_view line) {
   if (text.find('.') != std::string_view::npos) {
      try {
         return numberOf(Corenet::IpAddr::fromString(text));
      } catch (const Corvid::RangeException& error) {
         throw BadText(error.what());
      }
   }
   U32 number = 0;
   const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
   if (error == std::errc::result_out_of_range) {
      throw BadText(fmt::format("address {} exceeds {}: \"{}\"", text, std::numeric_limits<U32>::max(), line));
   }
   if (error != std::errc{} || end != text.data() + text.size()) {
      throw BadText(fmt::format("not a decimal IPv4 address: \"{}\" in \"{}\"", text, line));
   }
   return number;
}

Corenet::U128 ipv6Number(std::string_view text) {
   try {
      return numberOf(Corenet::Ip6Addr::fromString(text));
   } catch (const Corvid::RangeException& error) {
      throw BadText(error.what());
   }
}

template <class Number>
void addRange(Number first, Number last, std::string_view country, std::string_view line, RouteSet& routes) {
   if (first > last) {
      throw BadText(fmt::format("first address of the range exceeds its last: \"{}\"", line));
   }
   routes.addRange(first, last, country);
}

}  // namespace

bool CountryRanges::looksLike(std::string_view line) {
   const auto first = trimmed(takeField(line, ','));
   const auto last = trimmed(takeField(line, ','));
   return (isDigits(first) && isDigits(last)) || (isIpv6Shaped(first) && isIpv6Shaped(last)) ||
          isDottedRange(first, last, trimmed(line));
}

void CountryRanges::line(std::string_view text, RouteSet& routes) {
   const std::string_view whole = text;
   const auto first = trimmed(takeField(text, ','));
   const auto last = trimmed(takeField(text, ','));
   const auto country = trimmed(text);
   if (last.empty()) {
      throw BadText(fmt::format("range has no last address: \"{}\"", whole));
   }
   if (first.find(':') != std::string_view::npos) {
      addRange(ipv6Number(first), ipv6Number(last), country, whole, routes);
   } else {
      addRange(ipv4Number(first, whole), ipv4Number(last, whole), country, whole, routes);
   }
}

}  // namespace Rtrie
