// DelegatedLines: the files in which the regional registries tell what they have given to whom (delegated-*, and
// delegated-*-extended):
//
//    2|ripencc|1700000000|123456|19830705|20231114|+0100         the version, passed over, as are the summaries
//    ripencc|*|ipv4|*|81234|summary
//    ripencc|FR|ipv4|2.0.0.0|1048576|20100712|allocated|ID       a number of addresses, which may take several prefixes
//    ripencc|GB|ipv6|2001:600::|32|19990826|allocated|ID         a length
//    ripencc||ipv4|5.1.2.0|256||available|                       nobody's
//    ripencc|GB|asn|7|1|19930901|allocated|ID                    an AS, passed over
//
// The payload is the country and the status.
// Tested by tests/tools/tables/MoreFormatsTest.cpp.
#pragma once

#include "tools/tables/TableFormat.h"

namespace Rtrie {

class DelegatedLines final : public LineParser {
  public:
   static bool looksLike(std::string_view line);
   static bool opensWith(std::string_view firstLine);
   void line(std::string_view text, RouteSet& routes) override;
};

}  // namespace Rtrie
