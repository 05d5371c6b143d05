// Selection: which part of a table is wanted, where one file has several: the routes of one BGP peer, those of one of the
// kernel's routing tables.
//
// Tested by tests/tools/tables/SelectionTest.cpp.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "routetrie/platform/Corenet.h"
#include "routetrie/platform/Types.h"
#include "tools/tables/PrefixText.h"

namespace Rtrie {

// A BGP peer by its address, all peers of an AS by its number, or all peers there are.
class PeerName {
  public:
   // "192.0.2.1", "2001:db8::1", "65000", "AS65000" or "all". Raises UsageError for anything else.
   explicit PeerName(std::string_view text);
   bool isOf(std::string_view address, std::string_view as) const;

  private:
   std::optional<Corenet::IpGenPrefix> address_;
   std::string as_;
   bool isAll_ = false;
};

// What iproute2's files of that name say on this machine (rt_tables, rt_protos, ...), those under NAME.d too: a number and its
// name a line. The last of a number counts.
void forEachNumberedName(std::string_view file, const std::function<void(U32 number, std::string_view name)>& each);

// The names of the kernel's routing tables: main, local, default, and those that this machine's /etc/iproute2 gives.
class RouteTableNames {
  public:
   RouteTableNames();
   // Adds what a file like /etc/iproute2/rt_tables says: an id and a name a line. Other lines are passed over.
   void add(std::string_view text);
   // With the files of this machine, as far as they are there.
   static RouteTableNames ofThisMachine();

   // The same text for the same table: its id if the text is one or has one, else the text.
   std::string key(std::string_view text) const;

  private:
   std::map<std::string, U32, std::less<>> ids_;
};

struct Selection {
   std::optional<PeerName> peer;  // without one, the best of all peers' routes
   RouteTableNames routeTableNames;
   std::optional<std::string> routeTable;  // a key(); without one, main
   bool allRouteTables = false;
   HostBits hostBits = HostBits::refuse;

   bool takesRouteTable(std::string_view name) const;
};

// What was left out because it is not wanted: how much, and of whom, as far as that is a handful.
class LeftOut {
  public:
   void add(std::string_view name, std::uint64_t count = 1);
   std::uint64_t count() const { return count_; }
   // "100 (7), local (2), others (40)"
   std::string names() const;

  private:
   std::uint64_t count_ = 0;
   std::uint64_t unnamed_ = 0;
   std::map<std::string, std::uint64_t, std::less<>> byName_;
};

}  // namespace Rtrie
