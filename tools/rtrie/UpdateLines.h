// UpdateLines: changes of routes as lines of text.
//
//    + PREFIX PAYLOAD          add; the payload may be left out
//    - PREFIX                  take away, whatever its payload
//    TIME a PREFIX PAYLOAD     the same two, as recorded update streams have them
//    TIME w PREFIX
//    Deleted 10.0.0.0/8 via 192.0.2.7 dev eth0 metric 50       what `ip monitor route` prints, with times (-t, -ts) and
//    [ROUTE]default proto static metric 20                     labels; a route may go on with further next hops
//            nexthop via 192.0.2.7 dev eth0 weight 1
//    {"deleted": true, "dst": "10.0.0.0/8", ...}               the same of those that print JSON (-j), as entries
//
// `ip monitor` tells of more than routes of one table. Its lines about links, addresses, neighbours, rules and other
// objects, of other routing tables than the wanted one and of routes for packets of some source or type of service alone are
// passed over and counted.
//
// Tested by tests/tools/rtrie/UpdateLinesTest.cpp.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "routetrie/platform/Corenet.h"
#include "routetrie/platform/Types.h"
#include "tools/rtrie/RouteUpdate.h"
#include "tools/tables/JsonReader.h"
#include "tools/tables/Placing.h"
#include "tools/tables/Selection.h"
#include "tools/tables/formats/IpRouteLines.h"

namespace Rtrie {

class UpdateLines {
  public:
   using Apply = std::function<void(const RouteUpdate& update)>;
   // selection: the routing table whose routes are wanted.
   UpdateLines(const Selection& selection, Apply apply)
      : apply_(std::move(apply)), selection_(selection), parser_(selection) {}

   // Takes a line as it was read. An update is applied with the next line, since it may go on. Raises BadText for a line
   // that says nothing of all this.
   void line(std::string_view line);
   // Takes a route as a line of `ip route show`, all of it, with what else is known of it.
   void route(std::string_view line, bool isWithdrawal, Placing placing);
   // Takes a route as `ip -j monitor route` has it: {"deleted": true, "dst": ...}. Raises BadText if it is none.
   void entry(const JsonEntry& entry);
   // Applies what is held back. Should further next hops come all the same, the route is applied again with them.
   void flush();

   const LeftOut& otherTables() const { return otherTables_; }
   std::uint64_t forSomePackets() const { return forSomePackets_; }
   std::uint64_t otherObjects() const { return otherObjects_; }

  private:
   enum class Last : U8 { none, held, applied, passedOver };

   bool isContinuation(std::string_view line, std::string_view words);
   bool takeSigned(std::string_view words);
   bool isWanted(const RouteAttributes& attributes);
   void applyLine(std::string_view line, std::optional<Corenet::IpGenPrefix> prefix, bool isWithdrawal,
                  Placing placing);
   void passOver(std::uint64_t& count);

   const Apply apply_;
   const Selection selection_;
   IpRouteLines parser_;  // knows of which family a "default" is
   Last last_ = Last::none;
   std::optional<Corenet::IpGenPrefix> prefix_;  // of the last route; none: a default route
   std::string route_;                           // its line, with its next hops
   bool isWithdrawal_ = false;
   LeftOut otherTables_;
   std::uint64_t forSomePackets_ = 0;
   std::uint64_t otherObjects_ = 0;
};

}  // namespace Rtrie
