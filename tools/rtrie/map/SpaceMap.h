// SpaceMap: a block of addresses as the cells of a HilbertCurve, each in one of a few classes, and what the classes stand for:
// what is drawn, before it has colours. A cell is `2 * order` bits further down than the block; where that is past the end of an
// address, an address has several cells.
//
// Tested by tests/tools/rtrie/map/SpaceMapTest.cpp.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "routetrie/platform/Corenet.h"
#include "routetrie/platform/Types.h"
#include "tools/rtrie/map/AnswerWalk.h"
#include "tools/rtrie/map/ChangeTimes.h"
#include "tools/rtrie/map/Palette.h"
#include "tools/tables/RouteSet.h"

namespace Rtrie {

struct MapClass {
   std::string label;  // printable
   Tint tint;
   U8 rank = 0;                // in a cell with several classes, one of the highest rank is shown
   long double addresses = 0;  // of the block, in all
};

struct SpaceMap {
   Corenet::IpGenPrefix block;
   unsigned order = 0;
   std::vector<U8> cells;          // the classes, by the number of the cell on the curve
   std::vector<MapClass> classes;  // the first is of addresses of which there is nothing to tell
   std::string subject;            // "length of the route that answers"

   unsigned blockBits() const { return widthOf(block.af()) - block.len(); }  // of an address, within the block
   double shareOf(const MapClass& of) const;                                 // of the block's addresses, 0 to 1

   static unsigned widthOf(Corenet::AddressFamily af) { return af == Corenet::AddressFamily::ipv6 ? 128 : 32; }
};

// Every routed address by the length of the route that answers it; lengths that have little are put together.
SpaceMap mapByLength(const RouteSet& routes, const Corenet::IpGenPrefix& block, unsigned order);

// By its payload, the seven with the most addresses, and all others. part: of the payload, only the word behind this one ("via",
// "dev"), or for "origin" the last AS of its path; empty: all of it.
SpaceMap mapByPayload(const RouteSet& routes, const Corenet::IpGenPrefix& block, unsigned order,
                      std::string_view part = "");

// By what became of its answer between two tables.
SpaceMap mapByDifference(const RouteSet& before, const RouteSet& after, const Corenet::IpGenPrefix& block,
                         unsigned order);

// By how long before the last change of all its prefix was changed last: the longest prefix over it that is in the table or was
// ever changed. Requires: a change.
SpaceMap mapByAge(const RouteSet& routes, const ChangeTimes& changes, const Corenet::IpGenPrefix& block,
                  unsigned order);

// What is to be shown unless told otherwise: all of IPv4; of IPv6, the longest prefix that covers all routes but the default one.
class ShownBlock {
  public:
   void add(const RouteSet& routes);
   void add(const ChangeTimes& changes);

   Corenet::IpGenPrefix of(Corenet::AddressFamily af) const;
   // IPv4's, unless there are only IPv6 routes.
   Corenet::IpGenPrefix block() const {
      return of(hasIpv4_ || !all_ ? Corenet::AddressFamily::ipv4 : Corenet::AddressFamily::ipv6);
   }

  private:
   void add(const Corenet::IpGenPrefix& prefix);

   bool hasIpv4_ = false;
   bool isDefaultAlone_ = false;  // of IPv6
   std::optional<AddressRange<Corenet::U128>> all_;
};

// "12.3 %", "< 0.01 %", "> 99.9 %"
std::string percentText(double share);

}  // namespace Rtrie
