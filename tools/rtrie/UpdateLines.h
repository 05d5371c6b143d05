// UpdateLines: changes of routes as lines of text.
//
//    + PREFIX PAYLOAD          add; the payload may be left out
//    - PREFIX                  take away, whatever its payload
//    TIME a PREFIX PAYLOAD     the same two, as recorded update streams have them
//    TIME w PREFIX
//    Deleted 10.0.0.0/8 via 192.0.2.7 dev eth0 metric 50       what `ip monitor route` prints, with times (-t, -ts) and
//    [ROUTE]default proto static metric 20                     labels; a route may go on with further next hops
//            nexthop via 192.0.2.7 dev eth0 weight 1
//
// `ip monitor` tells of more than routes of the main table. Its lines about links, addresses, neighbours, rules and other
// objects, of other routing tables and of routes for packets of some source or type of service alone are passed over and counted.
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
#include "tools/rtrie/formats/IpRouteLines.h"

namespace Rtrie {

// Of several routes to one prefix, a kernel takes the one with the lowest metric; 0 if the words after the destination tell
// none. Raises BadText for what is no number of 32 bits.
U32 metricOf(std::string_view attributes);
// The gateways and devices among them, as one text; empty if there are none.
std::string nextHopsOf(std::string_view attributes);

struct RouteUpdate {
   Corenet::IpGenPrefix prefix;
   std::string payload;
   bool isWithdrawal = false;
   bool isKernels = false;  // of the one route with its metric; else of the prefix, whatever there is
};

class UpdateLines {
  public:
   using Apply = std::function<void(const RouteUpdate& update)>;
   explicit UpdateLines(Apply apply) : apply_(std::move(apply)) {}

   // Takes a line as it was read. An update is applied with the next line, since it may go on. Raises BadText for a line
   // that says nothing of all this.
   void line(std::string_view line);
   // Applies what is held back. Should further next hops come all the same, the route is applied again with them.
   void flush();

   std::uint64_t otherTables() const { return otherTables_; }
   std::uint64_t forSomePackets() const { return forSomePackets_; }
   std::uint64_t otherObjects() const { return otherObjects_; }

  private:
   enum class Last : U8 { none, held, applied, passedOver };

   bool isContinuation(std::string_view line, std::string_view words);
   bool takeSigned(std::string_view words);
   void passOver(std::uint64_t& count);
   void hold(std::string_view route, bool isWithdrawal);

   const Apply apply_;
   IpRouteLines parser_;  // knows of which family a "default" is
   Last last_ = Last::none;
   std::string route_;  // the last route's line, with its next hops
   bool isWithdrawal_ = false;
   std::uint64_t otherTables_ = 0;
   std::uint64_t forSomePackets_ = 0;
   std::uint64_t otherObjects_ = 0;
};

}  // namespace Rtrie
