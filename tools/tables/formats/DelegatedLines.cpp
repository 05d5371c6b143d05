#include "tools/tables/formats/DelegatedLines.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdint>

#include "tools/tables/AddressNumber.h"
#include "tools/tables/TableErrors.h"
#include "tools/tables/Words.h"

namespace Rtrie {
namespace {

// registry|country|kind|start|value|date|status|...
constexpr std::size_t fieldCount = 7;
std::array<std::string_view, fieldCount> fieldsOf(std::string_view line) {
   std::array<std::string_view, fieldCount> fields;
   for (auto& field : fields) {
      field = trimmed(takeField(line, '|'));
   }
   return fields;
}

bool isVersion(std::string_view line) {
   return !line.empty() && line.front() >= '1' && line.front() <= '9' &&
          std::count(line.begin(), line.end(), '|') == 6;
}

bool isKind(std::string_view text) { return text == "ipv4" || text == "ipv6" || text == "asn"; }

}  // namespace

bool DelegatedLines::opensWith(std::string_view firstLine) { return isVersion(firstLine); }

bool DelegatedLines::looksLike(std::string_view line) { return isKind(fieldsOf(line)[2]) || isVersion(line); }

void DelegatedLines::line(std::string_view text, RouteSet& routes) {
   const auto [registry, country, kind, start, value, date, status] = fieldsOf(text);
   if (isVersion(text) || date == "summary" || kind == "asn") {
      return;
   }
   if (!isKind(kind)) {
      throw BadText(fmt::format("neither ipv4, ipv6 nor asn: \"{}\"", text));
   }
   const auto payload = fmt::format("{}{}{}", country, country.empty() || status.empty() ? "" : " ", status);
   if (kind == "ipv6") {
      routes.add(prefixIn(fmt::format("{}/{}", start, value)), payload);
      return;
   }
   const auto prefix = prefixOfText(start);
   std::uint64_t count = 0;
   const auto [end, error] = std::from_chars(value.data(), value.data() + value.size(), count);
   if (error != std::errc{} || end != value.data() + value.size() || prefix.af() != Corenet::AddressFamily::ipv4 ||
       !isAddressText(start)) {
      throw BadText(fmt::format("no IPv4 address and number of addresses: \"{}\"", text));
   }
   const U32 first = numberOf(prefix.v4Prefix().address());
   constexpr std::uint64_t all = std::uint64_t{1} << 32;
   if (count == 0 || count > all - first) {
      throw BadText(fmt::format("{} addresses from {} on: \"{}\"", count, start, text));
   }
   routes.addRange(first, static_cast<U32>(first + (count - 1)), payload);
}

}  // namespace Rtrie
