// PrefixListLines: prefix lists and sets in the languages of routers, as bgpq4 prints them:
//
//    ip prefix-list NN permit 198.51.100.0/24 le 25          also with seq, ipv6, deny, and seq lines of their own below
//    prefix-set NN / 192.0.2.0/24, / end-set                 also with le and ge
//    prefix-list NN { / 192.0.2.0/24; / }                    route-filter 198.51.100.0/24 upto /25;
//    NN = [ / 10.0.0.0/8{8,26}, / ];                         prefix { / 10.0.0.0/8 / }
//    ip ip-prefix NN permit 10.0.0.0 8                       prefix 10.0.0.0/8 exact
//    xpl ip-prefix-list NN / 10.0.0.0 8 le 24, / end-list
//    /routing filter add action=accept chain="NN-V4" prefix=10.0.0.0/8
//    /routing filter rule add chain="NN-V4" rule="if (dst in 10.0.0.0/8 && dst-len in 8-24) {accept}"
//
// Some tell the lengths in lines of their own below the prefix (type range { start-length 25).
// The payload is the list's name, then deny if that is what it does, then the lengths that it takes beside the prefix's own: ge 24
// le 26.
// Tested by tests/tools/tables/FormatFixturesTest.cpp.
#pragma once

#include <optional>
#include <string>

#include "tools/tables/TableFormat.h"

namespace Rtrie {

class PrefixListLines final : public LineParser {
  public:
   static bool looksLike(std::string_view line);
   static bool opensWith(std::string_view firstLine);
   void line(std::string_view text, RouteSet& routes) override;
   void end(RouteSet& routes) override;

  private:
   struct Open {
      Corenet::IpGenPrefix prefix;
      std::string payload;
   };

   void close(RouteSet& routes);

   std::string name_;          // of the list that is open
   bool hasPairs_ = false;     // its lines begin with an address and a length
   std::optional<Open> open_;  // the last prefix, of which a line may follow
};

}  // namespace Rtrie
