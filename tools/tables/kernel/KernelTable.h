// KernelTable: the routes that this machine's kernel has at the moment, as a table that is named where files are:
//
//    kernel:          the main routing table, or the one that --route-table names
//    kernel:NAME      a routing table by its number or its name, or that of a VRF by the name of its device
//    kernel:all       all of them
//
// A file of such a name goes by ./kernel:NAME. Of several routes for a prefix the kernel takes the lowest metric, and so is
// done here; the others are candidates (IpRouteLines.h). One thing that kernels do is not: where an IPv6 prefix has a route
// for one source alone, they pass its other routes over for every other source.
//
// A build without libmnl has the same functions, which say so (KernelAbsent.cpp, tested by tests/tools/tables/KernelAbsentTest.cpp).
// Tested by tests/tools/kernel/KernelTest.cpp.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "routetrie/platform/Types.h"
#include "tools/tables/RouteSet.h"
#include "tools/tables/Selection.h"
#include "tools/tables/kernel/KernelName.h"

namespace Rtrie {

struct KernelRead {
   std::uint64_t routes = 0;
   std::uint64_t faults = 0;  // messages that contradict themselves, which were told
   bool isConsistent = true;  // false: routes came and went meanwhile, and some may be missing or twice there
};

struct KernelNames;

class KernelTable {
  public:
   // Requires: isKernelTable(path). Raises UsageError where there is no routing table and no VRF of that name, or the
   // selection is of another one, or this build has no libmnl; DataError where the kernel's routes cannot be read.
   KernelTable(std::string_view path, const Selection& selection);
   KernelTable(KernelTable&&) noexcept;
   ~KernelTable();

   const std::string& name() const { return name_; }
   // With the routing table that is meant.
   const Selection& selection() const { return selection_; }
   bool takes(U32 routeTable) const { return !routeTable_ || *routeTable_ == routeTable; }

   // Adds all routes. progress is called with their number now and then. Raises DataError.
   KernelRead read(RouteSet& routes, const std::function<void(std::uint64_t routes)>& progress = nullptr);

   // The names that routes were read with; a device that comes or is renamed later is the caller's to put there.
   KernelNames& names();

  private:
   struct Asked;

   std::string name_;
   Selection selection_;
   std::optional<U32> routeTable_;  // none: all
   std::unique_ptr<Asked> asked_;
};

}  // namespace Rtrie
