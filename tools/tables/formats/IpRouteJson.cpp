#include "tools/tables/formats/IpRouteJson.h"

#include <fmt/format.h>

#include <algorithm>
#include <iterator>

#include "tools/tables/TableErrors.h"

namespace Rtrie {
namespace {

// The names, in the order of the words of `ip route`, and those words.
struct Word {
   std::string_view name;
   std::string_view word;
};
constexpr Word jsonWords[] = {{"from", "from"},   {"tos", "tos"},     {"nhid", "nhid"},     {"gateway", "via"},
                              {"via", "via"},     {"dev", "dev"},     {"table", "table"},   {"protocol", "proto"},
                              {"scope", "scope"}, {"prefsrc", "src"}, {"metric", "metric"}, {"weight", "weight"},
                              {"pref", "pref"}};
// What stands elsewhere, or says what happened to the route.
constexpr std::string_view others[] = {"type", "dst", "flags", "nexthops", "deleted"};

void put(std::string& line, std::string_view word, std::string_view value) {
   line += fmt::format("{}{} {}", line.empty() ? "" : " ", word, value);
}

// Attributes of a route or of a next hop. What has no word is put by its name, if it is one value.
std::string attributesOf(const JsonValue& route) {
   std::string line;
   for (const Word& each : jsonWords) {
      const JsonValue* value = route.at(each.name);
      if (value == nullptr) {
         continue;
      }
      if (value->kind == JsonValue::Kind::object) {
         put(line, each.word, fmt::format("{} {}", value->textAt("family"), value->textAt("host")));
      } else {
         put(line, each.word, value->text);
      }
   }
   for (std::size_t i = 0; i < route.names.size(); ++i) {
      const bool isKnown = std::any_of(std::begin(jsonWords), std::end(jsonWords),
                                       [&](const Word& each) { return each.name == route.names[i]; }) ||
                           std::find(std::begin(others), std::end(others), route.names[i]) != std::end(others);
      if (!isKnown && !route.values[i].text.empty()) {
         put(line, route.names[i], route.values[i].text);
      }
   }
   if (const JsonValue* flags = route.at("flags")) {
      for (const JsonValue& flag : flags->values) {
         line += " " + flag.text;
      }
   }
   return line;
}

}  // namespace

std::string ipRouteLineOf(const JsonValue& route) {
   const auto destination = route.textAt("dst");
   if (destination.empty()) {
      throw BadText("a route without \"dst\"");
   }
   const auto type = route.textAt("type");
   auto line =
      fmt::format("{}{}{}", type == "unicast" ? "" : type, type.empty() || type == "unicast" ? "" : " ", destination);
   if (const auto attributes = attributesOf(route); !attributes.empty()) {
      line += " " + attributes;
   }
   if (const JsonValue* hops = route.at("nexthops")) {
      for (const JsonValue& hop : hops->values) {
         put(line, "nexthop", attributesOf(hop));
      }
   }
   return line;
}

bool IpRouteJson::hasEntry(const JsonEntry& entry) { return entry.path.empty() && entry.value.at("dst") != nullptr; }

void IpRouteJson::entry(const JsonEntry& entry, RouteSet& routes) {
   const auto line = ipRouteLineOf(entry.value);
   const auto table = entry.value.textAt("table");
   if (!selection_.takesRouteTable(table.empty() ? "main" : table)) {
      leaveOut(table.empty() ? "main" : table);
      return;
   }
   lines_.line(line, routes);
}

void IpRouteJson::end(RouteSet& routes) { lines_.end(routes); }

}  // namespace Rtrie
