#include "tools/tables/formats/RouterRoute.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

namespace Rtrie {
namespace {

void put(const RouterRoute& route, RouteSet& routes) {
   const auto payload = payloadOf(route);
   OfferText offer;
   offer.payload = payload;
   offer.source = route.table;
   offer.choice = Choice::metric;
   // Above the 40 bits of metricRank() what is not selected has a further one.
   offer.rank = metricRank(route.metric) | (std::uint64_t{std::min(route.rank, 0xffffU)} << 40) |
                (std::uint64_t{!route.isSelected} << 60);
   offer.answers = route.isUsable;
   routes.add(route.prefix, offer);
}

}  // namespace

std::string payloadOf(const RouterRoute& route) {
   std::string text = route.type;
   const auto word = [&](std::string_view name, std::string_view value) {
      text += fmt::format("{}{} {}", text.empty() ? "" : " ", name, value);
   };
   if (route.hops.size() == 1) {
      text += (text.empty() ? "" : " ") + route.hops.front();
   }
   if (!route.protocol.empty()) {
      word("proto", route.protocol);
   }
   if (route.distance) {
      word(route.distanceName, fmt::format("{}", *route.distance));
   }
   if (route.metric != 0) {
      word("metric", fmt::format("{}", route.metric));
   }
   if (route.hops.size() > 1) {
      for (const auto& hop : route.hops) {
         word("nexthop", hop);
      }
   }
   return text;
}

bool ListedTables::isDefault(std::string_view table) const {
   return std::find(defaults_.begin(), defaults_.end(), table) != defaults_.end();
}

bool ListedTables::add(RouterRoute route, RouteSet& routes) {
   if (selection_.allRouteTables || selection_.routeTable) {
      const auto& names = selection_.routeTableNames;
      const bool isWanted = selection_.allRouteTables || names.key(route.table) == *selection_.routeTable ||
                            (isDefault(route.table) && names.key("main") == *selection_.routeTable);
      if (isWanted) {
         put(route, routes);
      }
      return isWanted;
   }
   if (isDefault(route.table)) {
      hasDefault_ = true;
      put(route, routes);
      return true;
   }
   if (!hasDefault_ && (!other_ || *other_ == route.table)) {
      other_ = route.table;
      kept_.push_back(std::move(route));
      return true;
   }
   hasDefault_ = hasDefault_ || *other_ != route.table;  // of two others, none is meant
   return false;
}

void ListedTables::end(RouteSet& routes, const std::function<void(std::string_view table)>& leaveOut) {
   for (const RouterRoute& route : kept_) {
      if (hasDefault_) {
         leaveOut(route.table);
      } else {
         put(route, routes);
      }
   }
   kept_.clear();
}

}  // namespace Rtrie
