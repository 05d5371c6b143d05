// RouteMessage: what a kernel's rtnetlink message says of a route (RTM_NEWROUTE, RTM_DELROUTE), as the line that
// `ip route show table all` prints for it, so that all that holds for those lines (IpRouteLines.h) holds for a live kernel:
//
//    blackhole 10.1.0.0/16 proto static metric 20
//    ::/0 metric 1024 pref medium nexthop via fe80::1 dev eth0 weight 1 nexthop via fe80::2 dev eth1 weight 1
//
// It differs in this: destinations are spelled out with their length (a "default" is of no family), the next hops come last
// and on the same line, and the countdown of a route that expires is left out, since the route does not change with it.
//
// Messages are in the byte order of the machine, but for addresses. Whatever their bytes, none outside of them is read.
// Tested by tests/tools/tables/RouteMessageTest.cpp, with messages as kernels have sent them; and beside `ip route` itself by
// tests/tools/kernel/KernelTest.cpp.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>

#include "routetrie/platform/Types.h"
#include "tools/tables/Placing.h"

struct nlmsghdr;

namespace Rtrie {

// Numbers that messages have, and their names on this machine; a number without a name is spelled as such.
struct KernelNames {
   std::map<U32, std::string> links;  // by interface index; one without a name is "if7"
   std::map<U32, std::string> protocols;
   std::map<U32, std::string> scopes;
   std::map<U32, std::string> routeTables;

   // All but the links: what iproute2 has built in, and what its files on this machine say.
   static KernelNames ofThisMachine();
};

struct KernelRoute {
   std::string line;
   U32 routeTable = 0;
   bool isWithdrawal = false;
   Placing placing = Placing::unsaid;
};

// Nothing if it is no unicast or special route of IPv4 or IPv6: a cached or a multicast one, or one of another family. Raises
// BadText where the message contradicts itself.
std::optional<KernelRoute> routeOf(const nlmsghdr& message, const KernelNames& names);

// A network device (RTM_NEWLINK, RTM_DELLINK).
struct KernelLink {
   U32 index = 0;
   std::string name;
   bool isGone = false;
   U32 flags = 0;                // of IFF_..., those that tell whether it is up and running
   U32 master = 0;               // index of the device that it is enslaved to
   std::optional<U32> vrfTable;  // of a VRF, the number of its routing table
};

// Nothing if it tells of no device. Raises BadText as above.
std::optional<KernelLink> linkOf(const nlmsghdr& message);

}  // namespace Rtrie
