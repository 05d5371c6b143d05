// IpRouteJson: what `ip -j route show` prints, with or without -d, -p, -6 and `table all`:
//
//    [{"dst": "default", "gateway": "192.0.2.1", "dev": "eth0", "metric": 100, "flags": []},
//     {"dst": "10.5.0.0/16", "flags": [], "nexthops": [{"gateway": "192.0.2.1", "dev": "eth0", "weight": 1, "flags": []}]}]
//
// Each entry is spelled as the line that `ip route show` would print for it, so that all that holds for those lines
// (IpRouteLines.h) holds here, too.
// Tested by tests/tools/tables/FormatFixturesTest.cpp.
#pragma once

#include <cstdint>
#include <string>

#include "tools/tables/TableFormat.h"
#include "tools/tables/formats/IpRouteLines.h"

namespace Rtrie {

class IpRouteJson final : public EntryParser {
  public:
   explicit IpRouteJson(const Selection& selection = {}) : selection_(selection), lines_(selection) {}
   static bool hasEntry(const JsonEntry& entry);
   void entry(const JsonEntry& entry, RouteSet& routes) override;
   void end(RouteSet& routes) override;
   void hostBitsAre(HostBits hostBits) override { lines_.hostBitsAre(hostBits); }
   std::uint64_t masked() const override { return lines_.masked(); }

  private:
   const Selection selection_;
   IpRouteLines lines_;
};

// The line of text that says the same. Raises BadText where there is no destination.
std::string ipRouteLineOf(const JsonValue& route);

}  // namespace Rtrie
