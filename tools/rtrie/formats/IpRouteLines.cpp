#include "tools/rtrie/formats/IpRouteLines.h"

#include <fmt/format.h>

#include <algorithm>

#include "tools/rtrie/AddressNumber.h"
#include "tools/rtrie/Errors.h"
#include "tools/rtrie/PrefixText.h"
#include "tools/rtrie/Words.h"

namespace Rtrie {
namespace {

using Corenet::AddressFamily;

constexpr std::string_view typeWords[] = {"unicast",   "local",    "broadcast",   "multicast", "anycast",
                                          "blackhole", "prohibit", "unreachable", "throw",     "nat"};
// What can follow the destination.
constexpr std::string_view attributeWords[] = {"via",  "dev",     "proto",  "scope",    "src", "metric", "table",
                                               "nhid", "weight",  "tos",    "encap",    "mtu", "pref",   "error",
                                               "from", "expires", "onlink", "linkdown", "dead"};

bool isOneOf(std::string_view word, std::span<const std::string_view> words) {
   return std::find(words.begin(), words.end(), word) != words.end();
}

AddressFamily familyOfAddress(std::string_view address) {
   return address.find(':') != std::string_view::npos ? AddressFamily::ipv6 : AddressFamily::ipv4;
}

AddressFamily otherThan(AddressFamily family) {
   return family == AddressFamily::ipv4 ? AddressFamily::ipv6 : AddressFamily::ipv4;
}

std::optional<AddressFamily> familyOfAttributes(std::string_view attributes) {
   for (auto word = takeWord(attributes); !word.empty(); word = takeWord(attributes)) {
      if (word == "pref") {
         return AddressFamily::ipv6;
      }
      if (word != "via" && word != "src" && word != "from") {
         continue;
      }
      const auto value = takeWord(attributes);
      // A gateway of the other family is announced by that family's name: `via inet6 fe80::1` on an IPv4 route.
      if (value == "inet6" || value == "inet") {
         return otherThan(value == "inet6" ? AddressFamily::ipv6 : AddressFamily::ipv4);
      }
      return familyOfAddress(value);
   }
   return std::nullopt;
}

Corenet::IpGenPrefix defaultOf(AddressFamily family) {
   return family == AddressFamily::ipv6 ? prefixOf(Corenet::U128{0}, 0) : prefixOf(U32{0}, 0);
}

struct Line {
   std::string_view type;  // empty if not given
   std::string_view destination;
   std::string_view attributes;
};

Line taken(std::string_view text) {
   Line line;
   line.destination = takeWord(text);
   if (isOneOf(line.destination, typeWords)) {
      line.type = line.destination;
      line.destination = takeWord(text);
   }
   line.attributes = trimmed(text);
   return line;
}

}  // namespace

bool IpRouteLines::looksLike(std::string_view text) {
   const Line line = taken(text);
   if (line.destination == "nexthop") {
      return true;
   }
   auto attributes = line.attributes;
   const bool isDestination = line.destination == "default" || isPrefixText(line.destination);
   const auto next = takeWord(attributes);
   return isDestination && (!line.type.empty() || line.destination == "default" || isOneOf(next, attributeWords));
}

void IpRouteLines::line(std::string_view text, RouteSet& routes) {
   const Line line = taken(text);
   if (line.destination == "nexthop") {
      return;
   }
   if (line.destination.empty()) {
      throw BadText(fmt::format("route without a destination: \"{}\"", text));
   }
   std::string payload(line.type);
   if (!line.type.empty() && !line.attributes.empty()) {
      payload += ' ';
   }
   payload += line.attributes;

   if (line.destination != "default") {
      const auto prefix = prefixOfText(line.destination);
      familyIs(prefix.af(), routes);
      routes.add(prefix, payload);
      return;
   }
   if (const auto family = familyOfAttributes(line.attributes)) {
      familyIs(*family, routes);
   }
   if (family_) {
      routes.add(defaultOf(*family_), payload);
   } else {
      undecided_.push_back(payload);
   }
}

void IpRouteLines::end(RouteSet& routes) {
   if (!family_) {
      familyIs(AddressFamily::ipv4, routes);
   }
}

void IpRouteLines::familyIs(AddressFamily family, RouteSet& routes) {
   family_ = family;
   for (const auto& payload : undecided_) {
      routes.add(defaultOf(family), payload);
   }
   undecided_.clear();
}

}  // namespace Rtrie
