// NetstatLines: what `netstat -rn`, `netstat -rne` and `route -n` print, and the same with -6:
//
//    Destination     Gateway         Genmask         Flags   MSS Window  irtt Iface
//    0.0.0.0         192.0.2.2       0.0.0.0         UG        0 0          0 eth0
//    Destination                    Next Hop                   Flag Met Ref  Use If
//    2001:db8:7::/48                2001:db8::1                UG   1024 1      0 eth0
//
// The payload is spelled as `ip route` spells it: "via 192.0.2.2 dev eth0 flags UG". Of several rows for a prefix the lowest
// metric is taken where the listing has one, then the first row. Such a listing does not tell the kernel's routing tables
// apart, nor what holds for some sources alone: `ip route` does. Other systems' netstat, which prints no netmask, is
// refused.
// Tested by tests/tools/tables/NetstatLinesTest.cpp.
#pragma once

#include "tools/tables/TableFormat.h"

namespace Rtrie {

class NetstatLines final : public LineParser {
  public:
   static bool looksLike(std::string_view line);
   void line(std::string_view text, RouteSet& routes) override;

  private:
   bool hasMetric_ = false;  // the column after the flags of IPv4 rows
   bool isRefused_ = false;  // the header is of another system
};

}  // namespace Rtrie
