// RouteUpdate: a change of a route, as whoever reads changes hands it to the table that they are made to.
#pragma once

#include <cstdint>
#include <string>

#include "routetrie/platform/Corenet.h"
#include "tools/tables/Offers.h"
#include "tools/tables/Placing.h"

namespace Rtrie {

struct RouteUpdate {
   Corenet::IpGenPrefix prefix;
   std::string payload;
   bool isWithdrawal = false;
   // What it is about: of the prefix, whatever there is (lastLine); the kernel's one route with its metric (metric); what this
   // source offers (asPath).
   Choice choice = Choice::lastLine;
   std::string source;  // the key of a kernel's routing table, or a peer; as a Candidate has it
   std::uint64_t rank = 0;
   bool answers = true;  // false: all its next hops are dead
   Placing placing = Placing::unsaid;
};

}  // namespace Rtrie
