// BgpDumpLines: what `bgpdump -m` prints, fields with '|' between them:
//
//    TABLE_DUMP2|1700000000|B|192.0.2.1|65000|10.0.0.0/8|65000 65001|IGP|...     a route; the payload is the AS path
//    BGP4MP|1700000000|A|192.0.2.1|65000|10.0.0.0/8|65000 65001|IGP|...          announced
//    BGP4MP|1700000000|W|192.0.2.1|65000|10.0.0.0/8                              withdrawn
//    BGP4MP|1700000000|STATE|192.0.2.1|65000|3|2                                 no route: passed over
//
// A table here has one route a prefix, whoever announced it: the last line about a prefix counts.
// Tested by tests/tools/rtrie/BgpDumpLinesTest.cpp.
#pragma once

#include "tools/rtrie/TableFormat.h"

namespace Rtrie {

class BgpDumpLines final : public LineParser {
  public:
   static bool looksLike(std::string_view line);
   void line(std::string_view text, RouteSet& routes) override;
};

}  // namespace Rtrie
