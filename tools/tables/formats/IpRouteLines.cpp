#include "tools/tables/formats/IpRouteLines.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <cstdint>

#include "tools/tables/AddressNumber.h"
#include "tools/tables/PrefixText.h"
#include "tools/tables/TableErrors.h"
#include "tools/tables/Words.h"

namespace Rtrie {
namespace {

using Corenet::AddressFamily;

// What stands before a destination; -N has the kernel's numbers for it.
constexpr std::string_view typeWords[] = {
   "unicast", "local", "broadcast", "multicast", "anycast", "blackhole", "prohibit", "unreachable",
   "throw",   "nat",   "xresolve",  "1",         "2",       "3",         "4",        "5",
   "6",       "7",     "8",         "9",         "10",      "11"};
// What can follow the destination.
constexpr std::string_view attributeWords[] = {
   "via",  "dev",   "proto", "scope",   "src",    "metric",   "table", "nhid",    "weight", "tos",    "encap", "mtu",
   "pref", "error", "from",  "expires", "onlink", "linkdown", "dead",  "nexthop", "realm",  "realms", "\\"};
// Those of them, and of what comes later, whose value is the next word and no attribute.
constexpr std::string_view valueWords[] = {"dev",     "proto", "scope", "nhid",    "weight", "realm", "realms",
                                           "expires", "error", "uid",   "congctl", "iif",    "oif",   "protocol"};
constexpr std::string_view nothing[] = {"::", "0.0.0.0", "::/0", "0.0.0.0/0", "0/0", "all", "any", "default"};
constexpr std::string_view noTos[] = {"0", "0x0", "0x00", "default"};

bool isOneOf(std::string_view word, std::span<const std::string_view> words) {
   return std::find(words.begin(), words.end(), word) != words.end();
}

AddressFamily familyOfAddress(std::string_view address) {
   return address.find(':') != std::string_view::npos ? AddressFamily::ipv6 : AddressFamily::ipv4;
}

AddressFamily otherThan(AddressFamily family) {
   return family == AddressFamily::ipv4 ? AddressFamily::ipv6 : AddressFamily::ipv4;
}

Corenet::IpGenPrefix defaultOf(AddressFamily family) {
   return family == AddressFamily::ipv6 ? prefixOf(Corenet::U128{0}, 0) : prefixOf(U32{0}, 0);
}

// The parts of a line of -o: between them stands a backslash, and behind it the blanks that a line of its own starts with.
std::string_view takePart(std::string_view& text) {
   for (auto at = text.find('\\'); at != std::string_view::npos; at = text.find('\\', at + 1)) {
      if (at + 1 < text.size() && blanks.find(text[at + 1]) != std::string_view::npos) {
         const auto part = text.substr(0, at);
         text.remove_prefix(at + 1);
         return trimmed(part);
      }
   }
   const auto part = trimmed(text);
   text = {};
   return part;
}

struct Line {
   std::string_view type;  // empty if not given
   std::string_view destination;
   std::string_view attributes;
};

Line taken(std::string_view text) {
   Line line;
   line.destination = takeWord(text);
   if (isRouteType(line.destination)) {
      line.type = line.destination;
      line.destination = takeWord(text);
   }
   line.attributes = trimmed(text);
   return line;
}

U32 metricOf(std::string_view text) {
   U32 metric = 0;
   const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), metric);
   if (error != std::errc{} || end != text.data() + text.size()) {
      throw BadText(fmt::format("metric \"{}\" is no number of 32 bits", text));
   }
   return metric;
}

}  // namespace

bool isRouteType(std::string_view word) { return isOneOf(word, typeWords); }

RouteAttributes routeAttributesOf(std::string_view text) {
   RouteAttributes all;
   bool isTunnel =
      false;  // between `encap` and the device: words of the tunnel's own, some spelled as attributes are
   for (auto word = takeWord(text); !word.empty() && word != "nexthop"; word = takeWord(text)) {
      isTunnel = (isTunnel || word == "encap") && word != "via" && word != "dev";
      if (isTunnel) {
         continue;
      }
      if (word == "via") {
         // A gateway of the other family is announced by that family's name: `via inet6 fe80::1` on an IPv4 route.
         const auto value = takeWord(text);
         if (value == "inet6" || value == "inet") {
            all.familyIs(otherThan(value == "inet6" ? AddressFamily::ipv6 : AddressFamily::ipv4));
            takeWord(text);
         } else {
            all.familyIs(familyOfAddress(value));
         }
      } else if (word == "src") {
         all.familyIs(familyOfAddress(takeWord(text)));
      } else if (word == "from") {
         const auto value = takeWord(text);
         if (value.find_first_of(".:") != std::string_view::npos) {
            all.familyIs(familyOfAddress(value));
         }
         all.isBound = all.isBound || !isOneOf(value, nothing);
      } else if (word == "tos" || word == "dsfield") {
         all.isBound = !isOneOf(takeWord(text), noTos) || all.isBound;
      } else if (word == "metric") {
         all.metric = metricOf(takeWord(text));
      } else if (word == "table") {
         all.table = takeWord(text);
      } else if (word == "pref") {
         all.familyIs(AddressFamily::ipv6);
         const auto value = takeWord(text);
         all.preference = value == "high" ? 2 : value == "low" ? 0 : 1;
      } else if (word == "dead") {
         all.isDead = true;
      } else if (isOneOf(word, valueWords)) {
         takeWord(text);
      }
   }
   return all;
}

bool IpRouteLines::looksLike(std::string_view text) {
   const Line line = taken(text);
   if (line.destination == "nexthop" || line.destination == "nh_info") {
      return true;
   }
   auto attributes = line.attributes;
   const bool isDestination = line.destination == "default" || isPrefixText(line.destination);
   const auto next = takeWord(attributes);
   return isDestination && (!line.type.empty() || line.destination == "default" || isOneOf(next, attributeWords));
}

void IpRouteLines::line(std::string_view text, RouteSet& routes) {
   const std::string_view whole = text;
   const auto head = takePart(text);
   const Line line = taken(head);
   if (line.destination == "nexthop") {
      if (!open_ && !isPassedOver_) {
         throw BadText(fmt::format("next hop without a route before it: \"{}\"", whole));
      }
      nextHop(head);
   } else if (line.destination != "nh_info" && line.destination != "cache") {
      close(routes);
      isPassedOver_ = true;
      if (line.destination.empty()) {
         throw BadText(fmt::format("route without a destination: \"{}\"", whole));
      }
      Route route;
      if (line.destination != "default") {
         route.prefix = prefixIn(line.destination);
      }
      // A line that this program has written has the next hops on it, without a backslash.
      const auto hops = std::min(line.attributes.size(), (" " + std::string(line.attributes)).find(" nexthop "));
      const RouteAttributes attributes = routeAttributesOf(line.attributes.substr(0, hops));
      route.table = attributes.table;
      if (!selection_.takesRouteTable(route.table)) {
         leaveOut(route.table);
         return;
      }
      route.family = route.prefix ? route.prefix->af() : attributes.family;
      route.metric = attributes.metric;
      route.preference = attributes.preference;
      route.isBound = attributes.isBound;
      route.isDead = attributes.isDead;
      route.payload = line.type;
      if (const auto own = trimmed(line.attributes.substr(0, hops)); !own.empty()) {
         route.payload += (route.payload.empty() ? "" : " ") + std::string(own);
      }
      open_ = std::move(route);
      isPassedOver_ = false;
      nextHop(line.attributes.substr(hops));
   }
   while (!text.empty()) {
      nextHop(takePart(text));
   }
}

// One or more of "nexthop via 192.0.2.1 dev eth0 weight 1"; what starts otherwise is passed over.
void IpRouteLines::nextHop(std::string_view text) {
   constexpr std::string_view begin = "nexthop";
   while (open_ && text.starts_with(begin)) {
      const auto next = std::min(text.size(), text.find(" nexthop ", begin.size()));
      const auto hop = trimmed(text.substr(0, next));
      text = trimmed(text.substr(next));
      auto words = hop;
      takeWord(words);
      const RouteAttributes attributes = routeAttributesOf(words);
      if (!open_->family) {
         open_->family = attributes.family;
      }
      open_->payload += (open_->payload.empty() ? "" : " ") + std::string(hop);
      ++open_->nextHops;
      open_->deadNextHops += static_cast<std::uint64_t>(attributes.isDead);
   }
}

void IpRouteLines::end(RouteSet& routes) {
   close(routes);
   if (!family_) {
      familyIs(AddressFamily::ipv4, routes);
   }
}

// No more next hops come.
void IpRouteLines::close(RouteSet& routes) {
   if (!open_) {
      return;
   }
   if (open_->family) {
      familyIs(*open_->family, routes);
   }
   if (family_) {
      add(*open_, *family_, routes);
   } else {
      undecided_.push_back(std::move(*open_));
   }
   open_.reset();
}

void IpRouteLines::familyIs(AddressFamily family, RouteSet& routes) {
   family_ = family;
   for (const auto& route : undecided_) {
      add(route, family, routes);
   }
   undecided_.clear();
}

void IpRouteLines::add(const Route& route, AddressFamily family, RouteSet& routes) const {
   const std::string order[] = {"255", "254", "253"};
   const auto at = std::find(std::begin(order), std::end(order), selection_.routeTableNames.key(route.table));
   OfferText offer;
   offer.payload = route.payload;
   offer.source = route.table;
   offer.choice = Choice::metric;
   offer.rank = metricRank(route.metric.value_or(unsaidMetric(family)), route.preference,
                           static_cast<U8>(at - std::begin(order)));
   offer.answers = !route.isBound && !route.isDead && (route.nextHops == 0 || route.nextHops > route.deadNextHops);
   routes.add(route.prefix ? *route.prefix : defaultOf(family), offer);
}

}  // namespace Rtrie
