// PrefixLines: a prefix or a bare address a line, and after it, past blanks or a comma, anything as payload:
//
//    10.0.0.0/8      private use     # a comment
//    2001:db8::1,documentation
//
// Tested by tests/tools/rtrie/PrefixLinesTest.cpp.
#pragma once

#include "tools/rtrie/TableFormat.h"

namespace Rtrie {

class PrefixLines final : public LineParser {
  public:
   static bool looksLike(std::string_view line);
   void line(std::string_view text, RouteSet& routes) override;
};

}  // namespace Rtrie
