// TableFacts: what a report tells of the routes of one family, counted.
//
// Tested by tests/tools/rtrie/report/TableFactsTest.cpp.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "routetrie/platform/Corenet.h"
#include "tools/tables/RouteSet.h"

namespace Rtrie {

struct TableFacts {
   // Routes and the addresses that they answer, as a share of the family's, 0 to 1.
   struct Count {
      std::uint64_t routes = 0;
      double addresses = 0;
   };
   struct PayloadCount : Count {
      std::string_view payload;
   };
   struct BlockFact {
      Corenet::IpGenPrefix prefix;
      std::string_view payload;
      std::uint64_t longer = 0;  // routes within it
   };

   Corenet::AddressFamily af = Corenet::AddressFamily::none;
   std::uint64_t routes = 0;
   double addresses = 0;  // that any route answers, the default route aside
   bool hasDefault = false;
   std::vector<Count> byLength;            // index 0 to 32 or 128
   std::vector<std::uint64_t> byDepth;     // routes by how many cover them, themselves included; index 0 is none's
   std::uint64_t payloads = 0;             // different ones, the empty one not counted
   std::vector<PayloadCount> topPayloads;  // with the most routes, of equal ones those with the most addresses
   std::vector<BlockFact> largest;  // the shortest prefixes but the default route, in order of length and address
};

// The views hold as those of the set do.
TableFacts factsOf(const RouteSet& routes, Corenet::AddressFamily af, std::size_t mostPayloads,
                   std::size_t mostBlocks);

}  // namespace Rtrie
