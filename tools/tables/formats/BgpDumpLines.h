// BgpDumpLines: what `bgpdump -m` prints, fields with '|' between them:
//
//    TABLE_DUMP2|1700000000|B|192.0.2.1|65000|10.0.0.0/8|65000 65001|IGP|...     a route; the payload is the AS path
//    TABLE_DUMP2_AP|1700000000|B|192.0.2.1|65000|10.0.0.0/8|7|65000 65001|...    the peer's path 7 of several
//    BGP4MP|1700000000|A|192.0.2.1|65000|10.0.0.0/8|65000 65001|IGP|...          announced: instead of what the peer had
//    BGP4MP|1700000000|W|192.0.2.1|65000|10.0.0.0/8                              withdrawn by that peer alone
//    BGP4MP|1700000000|STATE|192.0.2.1|65000|6|1                                 out of Established: all that the peer had is gone
//
// Of what several peers say of a prefix the shortest AS path is taken, and of equal ones the first line. A set of ASs
// counts as one, a confederation's as none, as routers count.
// Tested by tests/tools/tables/BgpDumpLinesTest.cpp.
#pragma once

#include <string>

#include "tools/tables/TableFormat.h"

namespace Rtrie {

class BgpDumpLines final : public LineParser {
  public:
   explicit BgpDumpLines(const Selection& selection = {}) : selection_(selection) {}
   static bool looksLike(std::string_view line);
   void line(std::string_view text, RouteSet& routes) override;

  private:
   bool isWanted(std::string_view address, std::string_view as);

   const Selection selection_;
   std::string peer_;  // of the line before, "ADDRESS AS"
   bool isPeerWanted_ = false;
};

// The number of ASs that a path goes through, as it counts for its length.
U32 asPathLength(std::string_view path);

}  // namespace Rtrie
