// What holds of a set of routes whatever it was read from, once it is sealed: each route in it has a line that it came from.
#pragma once

#include <cstdlib>

#include "tools/tables/RouteSet.h"

// Seals the set, and ends the process where that does not hold. Requires: its candidates are kept.
inline void expectSound(Rtrie::RouteSet& routes) {
   routes.seal();
   for (const auto af : {Corenet::AddressFamily::ipv4, Corenet::AddressFamily::ipv6}) {
      routes.forEach(af, [&](const Corenet::IpGenPrefix& route) {
         if (routes.candidates(route).empty()) {
            std::abort();
         }
      });
   }
}
