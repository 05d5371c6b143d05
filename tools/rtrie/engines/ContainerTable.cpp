#include "tools/rtrie/engines/ContainerTable.h"

#include <fmt/format.h>

#include <ostream>

#include "routetrie/platform/Keel/DumpList.h"

namespace Rtrie {
namespace {

template <class Found>
RouteTable::Prefix prefixOrNone(const Found& found) {
   return found ? found->prefix : RouteTable::Prefix();
}

}  // namespace

std::vector<RouteTable::BytesFor> ContainerTable::bytesByUse() const {
   const auto memory = all().memory();
   return {{"nodes", memory.nodes},
           {"values", memory.values},
           {"index", memory.index},
           {"free", memory.free},
           {"old", memory.old}};
}

RouteTable::Shape ContainerTable::shape() const {
   const auto found = af_ == Corenet::AddressFamily::ipv6 ? all().v6().statistics() : all().v4().statistics();
   Shape shape{found.nodes(), {}, Depth{found.average_depth(), found.worst_depth}};
   for (const routetrie::table_level& level : found.levels) {
      auto& told = shape.levels.emplace_back(
         Level{fmt::format("bit {}", level.depth), level.nodes + level.leaves + level.skips, level.routes, {}});
      for (const Kind& kind :
           {Kind{"nodes", level.nodes, level.node_bytes}, Kind{"leaves", level.leaves, level.leaf_bytes},
            Kind{"skips", level.skips, level.skip_bytes}}) {
         if (kind.count != 0) {
            told.kinds.push_back(kind);
         }
      }
   }
   return shape;
}

RouteTable::Prefix ContainerTable::longestMatch(const Prefix& query) const {
   return prefixOrNone(all().match(query));
}
RouteTable::Prefix ContainerTable::parent(const Prefix& query) const { return prefixOrNone(all().parent(query)); }

void ContainerTable::covering(const Prefix& query, const Visit& visit) const {
   for (const auto& route : all().covering(query)) {
      visit(route.prefix);
   }
}

void ContainerTable::subtree(const Prefix& query, const Visit& visit) const {
   for (const auto& route : all().covered(query)) {
      visit(route.prefix);
   }
}

void ContainerTable::children(const Prefix& query, const Visit& visit) const {
   for (const auto& route : all().children(query)) {
      visit(route.prefix);
   }
}

// The default route is before every other, so that it never comes next.
RouteTable::Prefix ContainerTable::next(const Prefix& query) const {
   const auto found = all().upper_bound(query);
   return found == all().end() ? Prefix() : found->prefix;
}

std::optional<std::string_view> ContainerTable::payload(const Prefix& route) const {
   const auto found = all().find(route);
   return found == all().end() ? std::nullopt : std::optional(table_.text(found->value));
}

void ContainerTable::dump(const Corvid::Ptr<const Keel::DumpContext>& context) const {
   const auto count = static_cast<U32>(all().size());
   Keel::dumpLine(context, 0, "%s\n", af_ == Corenet::AddressFamily::ipv6 ? "table6" : "table4");
   Keel::dumpLine(context, 2, "bytes #%zu\n", all().memory().total());
   for (const auto& [use, bytes] : bytesByUse()) {
      Keel::dumpLine(context, 4, "%.*s #%llu\n", static_cast<int>(use.size()), use.data(),
                     static_cast<unsigned long long>(bytes));
   }
   Keel::dumpLine(context, 2, "route[] #%u\n", count);
   Keel::dumpListBegin(context, 2, count);
   U32 shown = 0;
   for (const auto& route : all()) {
      if (!Keel::isListEntryShown(context, shown)) {
         break;
      }
      ++shown;
      const auto payload = table_.text(route.value);
      const auto line = fmt::format("{}{}{}", route.prefix.stringValue(), payload.empty() ? "" : " ", payload);
      Keel::dumpLine(context, 4, "%s\n", line.c_str());
   }
   Keel::dumpListEnd(context, 2, count);
}

void ContainerTable::dumpTree(std::ostream& out) const { out << all().dump(); }

std::string_view ContainerTable::treeLegend() const {
   return "# A line is a node, and what stands under it lies under it. PREFIX is the bits that lead there.\n"
          "#   PREFIX node: ROUTES     a choice of the next six bits, with the routes that end within them\n"
          "#   PREFIX leaf             a route by itself, far below the node that leads to it\n"
          "#   PREFIX skip             the way to a node far below, without a choice on it\n"
          "#   default route           is kept beside the nodes\n"
          "#   index to N bits         where a search for an address begins: a node for its first N bits\n";
}

}  // namespace Rtrie
