// CountryRanges: first address, last address and a country code, separated by commas; IPv4 addresses are decimal
// numbers or dotted. A range becomes the fewest prefixes that make it up:
//
//    16777472,16778239,CN                   1.0.1.0/24 and 1.0.2.0/23
//    1.0.1.0,1.0.3.255,CN
//    2001:2::,2001:2:0:ffff:ffff:ffff:ffff:ffff,JP
//
// Tested by tests/tools/tables/CountryRangesTest.cpp.
#pragma once

#include "tools/tables/TableFormat.h"

namespace Rtrie {

class CountryRanges final : public LineParser {
  public:
   static bool looksLike(std::string_view line);
   void line(std::string_view text, RouteSet& routes) override;
};

}  // namespace Rtrie
