// NextHops: the next hops of a multipath route, from its payload as `ip route` spells it:
//
//    proto static nexthop via 192.0.2.1 dev eth0 weight 1 nexthop via 192.0.2.2 dev eth1 weight 3 linkdown
//
// Tested by tests/tools/rtrie/NextHopsTest.cpp.
#pragma once

#include <string_view>
#include <vector>

#include "routetrie/platform/Types.h"

namespace Rtrie {

// Views into the payload.
struct NextHop {
   std::string_view encap;    // what the packet is wrapped in; empty for most
   std::string_view gateway;  // empty: what the device leads to
   std::string_view device;
   U32 weight = 1;
   std::vector<std::string_view> flags;
};

// In their order. None if the payload is that of a route with one next hop, or speaks of something else.
std::vector<NextHop> nextHopsOf(std::string_view payload);

}  // namespace Rtrie
