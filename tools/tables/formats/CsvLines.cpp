#include "tools/tables/formats/CsvLines.h"

#include <fmt/format.h>

#include <algorithm>
#include <iterator>

#include "tools/tables/AddressNumber.h"
#include "tools/tables/TableErrors.h"
#include "tools/tables/Words.h"

namespace Rtrie {
namespace {

// In lower case, and with '_' for a blank or a dash.
constexpr std::string_view prefixNames[] = {"prefix", "network",  "cidr",  "subnet",      "route",    "ip_prefix",
                                            "net",    "ip_range", "block", "destination", "netblock", "ip_network"};
constexpr std::string_view addressNames[] = {"address", "ip",     "ip_address", "network_address",
                                             "network", "prefix", "subnet",     "destination"};
constexpr std::string_view maskNames[] = {"mask",      "netmask",       "subnet_mask", "length",     "len",
                                          "prefixlen", "prefix_length", "masklen",     "prefix_len", "genmask"};
constexpr std::string_view firstNames[] = {"start", "first",       "ip_from", "start_ip",      "first_ip",
                                           "from",  "range_start", "begin",   "start_address", "first_address"};
constexpr std::string_view lastNames[] = {"end", "last",      "ip_to",       "end_ip",      "last_ip",
                                          "to",  "range_end", "end_address", "last_address"};

template <std::size_t n>
std::optional<std::size_t> columnOf(const std::vector<std::string>& names, const std::string_view (&known)[n]) {
   const auto found = std::find_if(names.begin(), names.end(), [&](const std::string& name) {
      return std::find(std::begin(known), std::end(known), name) != std::end(known);
   });
   return found == names.end() ? std::nullopt : std::optional(static_cast<std::size_t>(found - names.begin()));
}

std::string normal(std::string_view name) {
   std::string text(trimmed(name));
   for (char& c : text) {
      c = c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c == ' ' || c == '-' ? '_' : c;
   }
   return text;
}

bool isLengthText(std::string_view text) {
   return !text.empty() && text.size() <= 3 && text.find_first_not_of("0123456789") == std::string_view::npos;
}

}  // namespace

std::vector<std::string> csvFieldsOf(std::string_view row, char separator) {
   std::vector<std::string> fields;
   bool isMore = true;
   while (isMore) {
      std::string field;
      const auto start = row.find_first_not_of(' ');
      if (start != std::string_view::npos && row[start] == '"') {
         row.remove_prefix(start + 1);
         for (;;) {
            const auto quote = row.find('"');
            if (quote == std::string_view::npos) {
               throw BadText("a quoted field without an end");
            }
            field += row.substr(0, quote);
            row.remove_prefix(quote + 1);
            if (!row.starts_with('"')) {
               break;
            }
            field += '"';
            row.remove_prefix(1);
         }
         isMore = row.find(separator) != std::string_view::npos;
         takeField(row, separator);
      } else {
         isMore = row.find(separator) != std::string_view::npos;
         field = trimmed(takeField(row, separator));
      }
      fields.push_back(std::move(field));
   }
   return fields;
}

std::optional<CsvLines::Columns> csvColumnsOf(std::string_view header) {
   for (const char separator : {',', ';', '\t'}) {
      std::vector<std::string> names;
      try {
         names = csvFieldsOf(header, separator);
      } catch (const BadText&) {
         return std::nullopt;
      }
      std::transform(names.begin(), names.end(), names.begin(), normal);
      if (names.size() == 1 && header.find_first_of(",;\t") != std::string_view::npos) {
         continue;
      }
      CsvLines::Columns columns;
      columns.separator = separator;
      columns.count = names.size();
      const auto first = columnOf(names, firstNames);
      const auto last = columnOf(names, lastNames);
      const auto address = columnOf(names, addressNames);
      const auto mask = columnOf(names, maskNames);
      if (first && last) {
         columns.prefix = *first;
         columns.last = last;
      } else if (address && mask) {
         columns.prefix = *address;
         columns.mask = mask;
      } else if (const auto prefix = columnOf(names, prefixNames)) {
         columns.prefix = *prefix;
      } else if (address && names.size() > 1) {
         columns.prefix = *address;
      } else {
         continue;
      }
      return columns;
   }
   return std::nullopt;
}

bool CsvLines::opensWith(std::string_view firstLine) { return csvColumnsOf(firstLine).has_value(); }

void CsvLines::line(std::string_view text, RouteSet& routes) {
   if (!columns_) {
      columns_ = csvColumnsOf(text);
      if (!columns_) {
         throw BadText(fmt::format("no header that names a column of prefixes: \"{}\"", text));
      }
      return;
   }
   const auto fields = csvFieldsOf(text, columns_->separator);
   if (fields.size() != columns_->count) {
      throw BadText(fmt::format("{} field{} where the header has {}: \"{}\"", fields.size(),
                                fields.size() == 1 ? "" : "s", columns_->count, text));
   }
   std::string payload;
   bool isFirst = true;
   for (std::size_t i = 0; i < fields.size(); ++i) {
      if (i != columns_->prefix && i != columns_->mask && i != columns_->last) {
         payload += (isFirst ? "" : ",") + fields[i];
         isFirst = false;
      }
   }
   const std::string& own = fields[columns_->prefix];
   if (columns_->last) {
      const auto first = prefixOfText(own);
      const auto last = prefixOfText(fields[*columns_->last]);
      const auto addRange = [&](auto from, auto to) {
         if (from > to) {
            throw BadText(fmt::format("first address of the range exceeds its last: \"{}\"", text));
         }
         routes.addRange(from, to, payload);
      };
      if (first.af() != last.af() || !isAddressText(own) || !isAddressText(fields[*columns_->last])) {
         throw BadText(fmt::format("a range goes from one address to another of its family: \"{}\"", text));
      }
      if (first.af() == Corenet::AddressFamily::ipv6) {
         addRange(numberOf(first.v6Prefix().address()), numberOf(last.v6Prefix().address()));
      } else {
         addRange(numberOf(first.v4Prefix().address()), numberOf(last.v4Prefix().address()));
      }
      return;
   }
   if (columns_->mask && own.find('/') == std::string::npos) {
      const std::string_view mask = fields[*columns_->mask];
      const auto bare = mask.substr(mask.starts_with('/') ? 1 : 0);
      const auto length = isLengthText(bare) ? std::nullopt : netmaskLength(bare);
      if (!isLengthText(bare) && !length) {
         throw BadText(fmt::format("\"{}\" is no netmask and no length: \"{}\"", mask, text));
      }
      routes.add(prefixIn(length ? fmt::format("{}/{}", own, *length) : fmt::format("{}/{}", own, bare)), payload);
      return;
   }
   routes.add(prefixIn(own), payload);
}

}  // namespace Rtrie
