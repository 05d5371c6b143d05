// PrefixLines: a prefix or a bare address a line, and after it, past blanks or a comma, anything as payload:
//
//    10.0.0.0/8      private use     # a comment
//    2001:db8::1,documentation
//
// A bare address stands for itself unless what follows it says otherwise:
//
//    10.2.0.0 255.255.0.0 lan            an address and a netmask, also behind "mask" or "netmask", or /16
//    1.0.1.0 - 1.0.3.255 office          a range, which becomes the fewest prefixes that make it up
//    1.0.0.0<TAB>24<TAB>13335            address, length and AS, as lists of prefixes by AS have it
//
// An address that another one follows is refused: nobody can tell what the second is.
// Tested by tests/tools/tables/PrefixLinesTest.cpp.
#pragma once

#include "tools/tables/TableFormat.h"

namespace Rtrie {

class PrefixLines final : public LineParser {
  public:
   static bool looksLike(std::string_view line);
   void line(std::string_view text, RouteSet& routes) override;
};

}  // namespace Rtrie
