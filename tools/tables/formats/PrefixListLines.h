// PrefixListLines: prefix lists and sets in the languages of routers, as bgpq4 prints them:
//
//    ip prefix-list NN permit 198.51.100.0/24 le 25          also with seq, ipv6, deny, and seq lines of their own below
//    prefix-set NN / 192.0.2.0/24, / end-set                 also with le and ge
//    prefix-list NN { / 192.0.2.0/24; / }                    route-filter 198.51.100.0/24 upto /25;
//    NN = [ / 10.0.0.0/8{8,26}, / ];                         prefix { / 10.0.0.0/8 / }
//    ip ip-prefix NN permit 10.0.0.0 8                       prefix 10.0.0.0/8 exact
//    /routing filter add action=accept chain="NN-V4" prefix=10.0.0.0/8
//
// The payload is the list's name, then deny if that is what it does, then the lengths that it takes beside the prefix's own: ge 24
// le 26.
// Tested by tests/tools/tables/FormatFixturesTest.cpp.
#pragma once

#include <string>

#include "tools/tables/TableFormat.h"

namespace Rtrie {

class PrefixListLines final : public LineParser {
  public:
   static bool looksLike(std::string_view line);
   static bool opensWith(std::string_view firstLine);
   void line(std::string_view text, RouteSet& routes) override;

  private:
   std::string name_;  // of the list that is open
};

}  // namespace Rtrie
