// CsvLines: rows of fields with commas, semicolons or tabs between them (RFC 4180, without line ends in fields), under a header that
// names the columns:
//
//    prefix,country,asn                    also network, cidr, subnet, route, destination, ip_prefix
//    10.0.0.0/8,DE,65000                   payload: DE,65000
//    address;mask;name                     an address and a netmask or a length: also length, prefixlen
//    start,end,name                        a range: also first and last, ip_from and ip_to
//
// The payload is the other fields, in their order, with commas between them.
// Tested by tests/tools/tables/MoreFormatsTest.cpp.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "tools/tables/TableFormat.h"

namespace Rtrie {

class CsvLines final : public LineParser {
  public:
   // A line by itself tells nothing.
   static bool looksLike(std::string_view) { return false; }
   static bool opensWith(std::string_view firstLine);
   void line(std::string_view text, RouteSet& routes) override;

   // Which fields say where a route leads.
   struct Columns {
      char separator = ',';
      std::size_t count = 0;
      std::size_t prefix = 0;           // or the address, or the first of a range
      std::optional<std::size_t> mask;  // or length
      std::optional<std::size_t> last;
   };

  private:
   std::optional<Columns> columns_;
};

// Of a header; none if it is none.
std::optional<CsvLines::Columns> csvColumnsOf(std::string_view header);

// The fields of a row. Raises BadText where a quote has no end.
std::vector<std::string> csvFieldsOf(std::string_view row, char separator);

}  // namespace Rtrie
