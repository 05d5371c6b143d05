#include "tools/tables/formats/FrrLines.h"

#include <fmt/format.h>

#include <charconv>

#include "tools/tables/TableErrors.h"
#include "tools/tables/Words.h"

namespace Rtrie {
namespace {

struct Protocol {
   char letter;
   std::string_view name;
};
constexpr Protocol protocols[] = {{'K', "kernel"}, {'C', "connected"}, {'L', "local"},       {'S', "static"},
                                  {'R', "rip"},    {'O', "ospf"},      {'I', "isis"},        {'B', "bgp"},
                                  {'E', "eigrp"},  {'N', "nhrp"},      {'T', "table"},       {'v', "vnc"},
                                  {'V', "vnc"},    {'A', "babel"},     {'F', "pbr"},         {'f', "openfabric"},
                                  {'D', "sharp"},  {'Z', "frr"},       {'t', "table-direct"}};

std::string_view protocolOf(char letter) {
   for (const Protocol& each : protocols) {
      if (each.letter == letter) {
         return each.name;
      }
   }
   return {};
}

constexpr std::string_view frrMarks = ">*qrbto";

bool isMarks(std::string_view word) { return word.find_first_not_of(frrMarks) == std::string_view::npos; }

// "S>*", "C", "B>r": a protocol and marks, the latter perhaps as words of their own. Taken off the text with what follows up
// to the prefix; empty if the text starts otherwise.
std::string takeFlags(std::string_view& text) {
   std::string_view rest = text;
   std::string flags;
   auto word = takeWord(rest);
   if (word.empty() || protocolOf(word.front()).empty() || !isMarks(word.substr(1))) {
      return {};
   }
   for (; !word.empty() && (flags.empty() || isMarks(word)); word = takeWord(rest)) {
      flags += word;
      text = rest;
   }
   return isPrefixText(word) || word.find('/') != std::string_view::npos ? flags : std::string();
}

bool isDigit(char c) { return c >= '0' && c <= '9'; }  // of how long a route is there, which comes last

bool isHop(std::string_view word) { return word == "via" || word == "is" || word == "unreachable"; }

// "O - OSPF, I - IS-IS, ...", of what stands above the routes.
bool isLegend(std::string_view text) {
   if (text.starts_with("Codes:")) {
      return true;
   }
   takeWord(text);
   return takeWord(text) == "-";
}

constexpr std::string_view defaultVrf = "default";

// "red" of "VRF red:" and of "IPv4 unicast VRF red:", "default table 100" of "VRF default table 100:"
std::string_view vrfOf(std::string_view text) {
   constexpr std::string_view word = "VRF ";
   const auto at = text.find(word);
   return at == std::string_view::npos || !text.ends_with(':')
             ? std::string_view()
             : text.substr(at + word.size(), text.size() - at - word.size() - 1);
}

std::optional<U32> numberIn(std::string_view text) {
   U32 number = 0;
   const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
   return error == std::errc{} && end == text.data() + text.size() ? std::optional(number) : std::nullopt;
}

constexpr std::string_view entryStart = "Routing entry for ";
constexpr std::string_view entryKnown = "Known via \"";
// What FRR says where it has no such route.
constexpr std::string_view noEntry = "% Network not in table";

// The line of a next hop within an entry, as it stands in a listing: "192.0.2.2, via eth0, weight 1" is
// "via 192.0.2.2, eth0, weight 1, 00:00:00"; empty if it is none.
std::string listedHop(std::string_view text) {
   auto rest = text;
   const auto first = takeWord(rest, " ,");
   std::string hop;
   if (first == "directly") {
      hop = fmt::format("is {}", text);
   } else if (first == "unreachable") {
      hop = text;
   } else if (isAddressText(first)) {
      constexpr std::string_view device = ", via ";
      hop = fmt::format("via {}", text);
      if (const auto at = hop.find(device); at != std::string::npos) {
         hop.erase(at + 2, device.size() - 2);
      }
   } else {
      return {};
   }
   return hop + ", 00:00:00";
}

// The word after `name` among what commas part: "static" of `Known via "static", ...`.
std::string_view partAfter(std::string_view name, std::string_view text) {
   while (!text.empty()) {
      auto part = trimmed(takeField(text, ','));
      if (takeWord(part) == name) {
         return trimmed(part);
      }
   }
   return {};
}

}  // namespace

std::string frrTable(std::string_view vrf, std::string_view number) {
   if (!vrf.empty() && vrf != defaultVrf) {
      return std::string(vrf);
   }
   const bool isMain = number.empty() || number == "254" || number == "0";  // 0: where kernels do not number them
   return std::string(isMain ? defaultVrf : number);
}

bool FrrLines::opensWith(std::string_view firstLine) {
   return firstLine.starts_with(entryStart) || firstLine.starts_with(noEntry) ||
          (firstLine.starts_with("Codes:") && firstLine.find(" - ") != std::string_view::npos);
}

bool FrrLines::looksLike(std::string_view line) {
   auto rest = line;
   return line.starts_with(entryStart) || line.starts_with(entryKnown) || isLegend(line) || !vrfOf(line).empty() ||
          !takeFlags(rest).empty();
}

void FrrLines::line(std::string_view text, RouteSet& routes) {
   if (isLegend(text) || text.starts_with(noEntry)) {
      return;
   }
   // A listing may follow.
   if (auto rest = text; isEntry_ && !takeFlags(rest).empty()) {
      isEntry_ = false;
   }
   if (text.starts_with(entryStart) || isEntry_) {
      entryLine(text, routes);
      return;
   }
   if (const auto vrf = vrfOf(text); !vrf.empty()) {
      close(routes);
      auto number = vrf;
      const auto name = takeWord(number);
      table_ = frrTable(name, takeWord(number) == "table" ? trimmed(number) : std::string_view());
      return;
   }
   const std::string_view whole = text;
   if (const auto flags = takeFlags(text); !flags.empty()) {
      close(routes);
      RouterRoute route;
      route.prefix = prefixIn(takeWord(text));
      route.table = table_;
      route.protocol = protocolOf(flags.front());
      route.isSelected = flags.find('>') != std::string::npos;
      route.distance = 0;
      text = trimmed(text);
      bool isBound = false;
      if (text.starts_with("from ")) {
         takeWord(text);
         takeWord(text);
         isBound = true;
         text = trimmed(text);
      }
      if (text.starts_with('[')) {
         auto inside = takeWord(text, " ]");
         inside.remove_prefix(1);
         route.distance = numberIn(takeField(inside, '/'));
         const auto metric = numberIn(inside);
         if (!route.distance || !metric || !text.starts_with(']')) {
            throw BadText(fmt::format("no [DISTANCE/METRIC]: \"{}\"", whole));
         }
         route.metric = *metric;
         text.remove_prefix(1);
      }
      text = trimmed(text);
      if (auto words = text; !isHop(takeWord(words))) {
         throw BadText(fmt::format("no next hop: \"{}\"", whole));
      }
      route.rank = *route.distance;
      route.isUsable = !isBound;
      open_ = std::move(route);
      hasActiveHop_ = false;
      hop(text);
      return;
   }
   std::string_view rest = text;
   for (auto word = takeWord(rest); isMarks(word) && !word.empty(); word = takeWord(rest)) {
      text = trimmed(rest);
   }
   rest = text;
   if (!isHop(takeWord(rest))) {
      throw BadText(fmt::format("no line of show ip route: \"{}\"", whole));
   }
   if (!open_) {
      throw BadText(fmt::format("next hop without a route before it: \"{}\"", whole));
   }
   hop(text);
}

// Of an entry. What else it tells of the route (how long it is there, its group of next hops, BGP's words) is passed over.
void FrrLines::entryLine(std::string_view text, RouteSet& routes) {
   const std::string_view whole = text;
   if (text.starts_with(entryStart)) {
      close(routes);
      isEntry_ = true;
      text.remove_prefix(entryStart.size());
      RouterRoute route;
      route.prefix = prefixIn(takeWord(text));
      route.table = table_;
      route.isUsable = takeWord(text) != "from";
      open_ = std::move(route);
      hasActiveHop_ = false;
      return;
   }
   if (!open_) {  // of an entry whose start could not be read
      return;
   }
   if (text.starts_with(entryKnown)) {
      text.remove_prefix(entryKnown.size());
      open_->protocol = takeWord(text, "\"[");
      open_->distance = numberIn(partAfter("distance", text));
      const auto metric = numberIn(partAfter("metric", text));
      if (!open_->distance || !metric) {
         open_.reset();
         throw BadText(fmt::format("no distance and metric: \"{}\"", whole));
      }
      open_->metric = *metric;
      open_->rank = *open_->distance;
      if (const auto vrf = partAfter("vrf", text); !vrf.empty()) {
         open_->table = vrf;
      }
      open_->isSelected = text.ends_with(", best");
      return;
   }
   std::string_view rest = text;
   for (auto word = takeWord(rest); isMarks(word) && !word.empty(); word = takeWord(rest)) {
      text = trimmed(rest);
   }
   if (const auto listed = listedHop(text); !listed.empty()) {
      hop(listed);
   } else if (!text.starts_with("Last update ") && text.find(": ") == std::string_view::npos &&
              !text.ends_with(':')) {
      throw BadText(fmt::format("no line of a routing entry: \"{}\"", whole));
   }
}

// "via 192.0.2.2 (recursive), eth0, weight 1, 00:00:05"
void FrrLines::hop(std::string_view text) {
   const auto first = trimmed(takeField(text, ','));
   std::string hop;
   const bool isUnreachable = first.starts_with("unreachable");
   if (isUnreachable) {
      open_->type = first.find("blackhole") != std::string_view::npos    ? "blackhole"
                    : first.find("prohibited") != std::string_view::npos ? "prohibit"
                                                                         : "unreachable";
   } else if (first.starts_with("via ")) {
      auto words = first;
      takeWord(words);
      hop = fmt::format("via {}", takeWord(words));
   }
   bool isActive =
      first.find("inactive") == std::string_view::npos && first.find("duplicate removed") == std::string_view::npos;
   const bool isRecursive = first.find("(recursive") != std::string_view::npos;
   bool hasDevice = false;
   while (!text.empty()) {
      auto part = trimmed(takeField(text, ','));
      auto words = part;
      const auto word = takeWord(words);
      if (word == "weight" || word == "src" || word == "label") {
         hop += fmt::format("{}{}", hop.empty() ? "" : " ", part);
      } else if (!hasDevice && !isUnreachable && !word.empty() && !(isDigit(word.front()) && text.empty())) {
         hasDevice = true;
         hop += fmt::format("{}dev {}", hop.empty() ? "" : " ", word);
         isActive = isActive && words.find("inactive") == std::string_view::npos;
      }
   }
   if (isRecursive) {
      return;
   }
   hasActiveHop_ = hasActiveHop_ || isActive;
   if (!isUnreachable && !hop.empty()) {
      open_->hops.push_back(hop + (isActive ? "" : " dead"));
   }
}

void FrrLines::close(RouteSet& routes) {
   if (!open_) {
      return;
   }
   RouterRoute route = std::move(*open_);
   open_.reset();
   route.isUsable = route.isUsable && hasActiveHop_;
   // `ip route` tells no weight of one next hop.
   if (route.hops.size() == 1) {
      if (const auto at = route.hops[0].find(" weight "); at != std::string::npos) {
         route.hops[0].erase(at, route.hops[0].find(' ', at + 8) - at);
      }
   }
   const auto table = route.table;
   if (!tables_.add(std::move(route), routes)) {
      leaveOut(table);
   }
}

void FrrLines::end(RouteSet& routes) {
   close(routes);
   tables_.end(routes, [this](std::string_view table) { leaveOut(table); });
}

}  // namespace Rtrie
