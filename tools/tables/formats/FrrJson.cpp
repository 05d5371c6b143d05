#include "tools/tables/formats/FrrJson.h"

#include <fmt/format.h>

#include <charconv>

#include "tools/tables/TableErrors.h"
#include "tools/tables/Words.h"
#include "tools/tables/formats/FrrLines.h"

namespace Rtrie {
namespace {

U32 numberAt(const JsonValue& value, std::string_view name) {
   const auto text = value.textAt(name);
   U32 number = 0;
   const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
   if (!text.empty() && (error != std::errc{} || end != text.data() + text.size())) {
      throw BadText(fmt::format("\"{}\" is no number of 32 bits: {}", name, text));
   }
   return number;
}

}  // namespace

bool FrrJson::hasEntry(const JsonEntry& entry) {
   return !entry.path.empty() && entry.value.at("protocol") != nullptr &&
          (entry.value.at("nexthops") != nullptr || entry.value.at("vrfName") != nullptr);
}

void FrrJson::entry(const JsonEntry& entry, RouteSet& routes) {
   const JsonValue& value = entry.value;
   RouterRoute route;
   const auto own = value.textAt("prefix");
   // "2001:db8::/32 from 2001:db8:9::/48": for one source alone.
   std::string_view source = own.empty() && !entry.path.empty() ? std::string_view(entry.path.back()) : own;
   route.prefix = prefixIn(takeWord(source));
   const auto vrf = value.textAt("vrfName");
   route.table = frrTable(!vrf.empty()            ? vrf
                          : entry.path.size() > 1 ? std::string_view(entry.path[entry.path.size() - 2])
                                                  : std::string_view(),
                          value.textAt("table"));
   route.protocol = value.textAt("protocol");
   route.distance = numberAt(value, "distance");
   route.metric = numberAt(value, "metric");
   route.rank = *route.distance;
   route.isSelected = value.isTrueAt("selected");
   bool hasActiveHop = false;
   const JsonValue* hops = value.at("nexthops");
   for (std::size_t i = 0; hops != nullptr && i < hops->values.size(); ++i) {
      const JsonValue& each = hops->values[i];
      if (each.isTrueAt("recursive")) {
         continue;
      }
      const bool isActive = each.isTrueAt("active") && !each.isTrueAt("duplicate");
      hasActiveHop = hasActiveHop || isActive;
      if (each.isTrueAt("unreachable")) {
         route.type = each.isTrueAt("blackhole")          ? "blackhole"
                      : each.isTrueAt("admin-prohibited") ? "prohibit"
                                                          : "unreachable";
         continue;
      }
      std::string hop;
      const auto put = [&](std::string_view word, std::string_view text) {
         if (!text.empty()) {
            hop += fmt::format("{}{} {}", hop.empty() ? "" : " ", word, text);
         }
      };
      put("via", each.textAt("ip"));
      put("dev", each.textAt("interfaceName"));
      put("src", each.textAt("source"));
      if (hops->values.size() > 1) {
         put("weight", each.textAt("weight"));
      }
      if (!hop.empty()) {
         route.hops.push_back(hop + (isActive ? "" : " dead"));
      }
   }
   if (route.hops.size() == 1) {
      if (const auto at = route.hops[0].find(" weight "); at != std::string::npos) {
         route.hops[0].erase(at, route.hops[0].find(' ', at + 8) - at);
      }
   }
   route.isUsable = hasActiveHop && trimmed(source).empty() && value.at("srcPrefix") == nullptr;
   const auto table = route.table;
   if (!tables_.add(std::move(route), routes)) {
      leaveOut(table);
   }
}

void FrrJson::end(RouteSet& routes) {
   tables_.end(routes, [this](std::string_view table) { leaveOut(table); });
}

}  // namespace Rtrie
