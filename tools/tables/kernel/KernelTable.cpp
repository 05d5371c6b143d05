#include "tools/tables/kernel/KernelTable.h"

#include <fmt/format.h>
#include <linux/rtnetlink.h>
#include <sys/socket.h>

#include <charconv>

#include "tools/tables/Messages.h"
#include "tools/tables/TableErrors.h"
#include "tools/tables/formats/IpRouteLines.h"
#include "tools/tables/kernel/KernelName.h"
#include "tools/tables/kernel/KernelSocket.h"
#include "tools/tables/kernel/RouteMessage.h"

namespace Rtrie {
namespace {

constexpr std::uint64_t routesPerUpdate = 1024;

std::optional<U32> numberOfTable(std::string_view key) {
   U32 number = 0;
   const auto [end, error] = std::from_chars(key.data(), key.data() + key.size(), number);
   return error == std::errc{} && end == key.data() + key.size() ? std::optional(number) : std::nullopt;
}

}  // namespace

struct KernelTable::Asked {
   explicit Asked(const std::string& name) : socket(name), names(KernelNames::ofThisMachine()) {}

   // Of the device of that name; none if there is no such device.
   std::optional<KernelLink> readLinks(std::string_view wanted) {
      std::optional<KernelLink> found;
      names.links.clear();
      socket.links([&](const nlmsghdr& message) {
         if (auto link = linkOf(message)) {
            names.links.insert_or_assign(link->index, link->name);
            if (link->name == wanted) {
               found = std::move(link);
            }
         }
      });
      return found;
   }

   KernelSocket socket;
   KernelNames names;
};

KernelTable::KernelTable(std::string_view path, const Selection& selection)
   : name_(path), selection_(selection), asked_(std::make_unique<Asked>(name_)) {
   const auto text = kernelTableText(path);
   if (!text.empty() && (selection.allRouteTables || selection.routeTable)) {
      const bool isSame =
         selection.allRouteTables ? text == "all" : selection.routeTableNames.key(text) == *selection.routeTable;
      if (!isSame) {
         throw UsageError(fmt::format("{}: --route-table asks for another one: {}", name_,
                                      selection.allRouteTables ? "all" : *selection.routeTable));
      }
   }
   selection_.allRouteTables = text == "all" || (text.empty() && selection.allRouteTables);
   if (selection_.allRouteTables) {
      return;
   }
   const std::string wanted(!text.empty()          ? text
                            : selection.routeTable ? std::string_view(*selection.routeTable)
                                                   : "main");
   const auto link = asked_->readLinks(wanted);
   routeTable_ = numberOfTable(selection.routeTableNames.key(wanted));
   if (link && link->vrfTable && routeTable_.value_or(*link->vrfTable) != *link->vrfTable) {
      throw UsageError(fmt::format("{}: is the routing table {} and a VRF with the routing table {}: ask by number",
                                   name_, *routeTable_, *link->vrfTable));
   }
   if (!routeTable_ && link) {
      routeTable_ = link->vrfTable;
   }
   if (!routeTable_) {
      throw UsageError(link ? fmt::format("{}: \"{}\" is a device, and no VRF", name_, wanted)
                            : fmt::format("{}: no routing table and no VRF has the name \"{}\"", name_, wanted));
   }
   selection_.routeTable = fmt::format("{}", *routeTable_);
}

KernelTable::KernelTable(KernelTable&&) noexcept = default;
KernelTable::~KernelTable() = default;

KernelNames& KernelTable::names() { return asked_->names; }

KernelRead KernelTable::read(RouteSet& routes, const std::function<void(std::uint64_t routes)>& progress) {
   KernelRead done;
   asked_->readLinks("");
   IpRouteLines parser(selection_);
   const auto each = [&](const nlmsghdr& message) {
      try {
         const auto route = routeOf(message, asked_->names);
         if (!route || !takes(route->routeTable)) {
            return;
         }
         parser.line(route->line, routes);
         if (++done.routes % routesPerUpdate == 0 && progress) {
            progress(done.routes);
         }
      } catch (const BadText& fault) {
         ++done.faults;
         say(fmt::format("{}: a route that the kernel tells: {}", name_, fault.what()));
      }
   };
   for (const U8 family : {U8{AF_INET}, U8{AF_INET6}}) {
      done.isConsistent = asked_->socket.routes(family, routeTable_, each) && done.isConsistent;
   }
   parser.end(routes);
   return done;
}

}  // namespace Rtrie
