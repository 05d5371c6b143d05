// Reasons: why a table answers a query as it does: all that is known of prefixes that cover it, shortest first, what was taken
// and why each other was not.
//
//    routes     what the container explains (routetrie/explanation.h): the longest is taken, the shorter ones are not
//    offers     beside a route, those that lost to it, and those that hold for some packets alone; these may have no route beside
//
// Tested by tests/tools/rtrie/ReasonsTest.cpp.
#pragma once

#include <string_view>
#include <vector>

#include "routetrie/explanation.h"
#include "routetrie/platform/Corenet.h"
#include "tools/rtrie/PayloadTable.h"
#include "tools/tables/RouteSet.h"

namespace Rtrie {

struct Reasons {
   enum class Verdict { taken, shorter, lost, bound };
   // "taken", "shorter", "lost", "bound".
   static std::string_view nameOf(Verdict verdict);

   struct Candidate {
      Corenet::IpGenPrefix prefix;
      std::string_view payload;
      Verdict verdict = Verdict::taken;
      std::string_view why;  // in words, with "taken: " or "not taken: " before them
   };

   Corenet::IpGenPrefix query;
   std::vector<Candidate> candidates;          // by length, then best first
   std::vector<routetrie::lookup_read> reads;  // of memory, in their order

   const Candidate* taken() const;
   std::size_t readBytes() const;
};

// table: the routes of that set, which keeps its candidates.
Reasons reasonsFor(const Corenet::IpGenPrefix& query, const PayloadTable& table, const RouteSet& routes);

}  // namespace Rtrie
