#include "tools/tables/formats/BirdLines.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <iterator>

#include "tools/tables/TableErrors.h"
#include "tools/tables/Words.h"

namespace Rtrie {
namespace {

constexpr std::string_view types[] = {"unicast",  "blackhole", "unreachable", "prohibited",
                                      "prohibit", "multipath", "multicast"};

bool isType(std::string_view word) { return std::find(std::begin(types), std::end(types), word) != std::end(types); }

// Without the number of a reply: "1007-Table master4:", "0001 BIRD 2.0.12 ready."
std::string_view withoutReply(std::string_view line) {
   constexpr std::size_t digits = 4;
   const bool isReply = line.size() > digits && line.find_first_not_of("0123456789") == digits &&
                        (line[digits] == '-' || (line[digits] == ' ' && line.front() == '0'));
   return isReply ? trimmed(line.substr(digits + 1)) : line;
}

bool isTableTitle(std::string_view line) { return line.starts_with("Table ") && line.ends_with(':'); }

// What is said around the routes.
bool isSaid(std::string_view line) {
   return (line.starts_with("BIRD ") && line.ends_with("ready.")) || line == "0000" ||
          line.starts_with("Access restricted") || line.starts_with("Network not found") ||
          line.find(" routes for ") != std::string_view::npos;
}

// "via 192.0.2.2 on eth0 weight 1" or "dev eth0", spelled as `ip route` does; empty if it is neither.
std::string hopOf(std::string_view text) {
   std::string hop;
   const auto put = [&](std::string_view word, std::string_view value) {
      hop += fmt::format("{}{}{}{}", hop.empty() ? "" : " ", word, value.empty() ? "" : " ", value);
   };
   for (auto word = takeWord(text); !word.empty() && word.front() != '['; word = takeWord(text)) {
      if (word == "via" || word == "dev" || word == "weight") {
         put(word, takeWord(text));
      } else if (word == "on") {
         put("dev", takeWord(text));
      } else if (!hop.empty()) {
         put(word, "");
      } else {
         return {};
      }
   }
   return hop;
}

// What other tables than those of routes have first in a row; empty if it is none of them.
std::string_view otherKindOf(std::string_view text) {
   const auto first = takeWord(text);
   if (first == "flow4" || first == "flow6") {
      return "flows";
   }
   const auto second = takeWord(text);
   if (const auto slash = first.find('/'); slash != std::string_view::npos &&
                                           first.find('-', slash) != std::string_view::npos &&
                                           second.starts_with("AS")) {
      return "origins";
   }
   if (first.find(':') != std::string_view::npos && !isPrefixText(first) && isPrefixText(second) &&
       second.find('/') != std::string_view::npos) {
      return "a VPN";
   }
   return first.find_first_not_of("0123456789") == std::string_view::npos && isType(second) ? "labels"
                                                                                            : std::string_view();
}

bool startsHop(std::string_view text) {
   const auto word = takeWord(text);
   return word == "via" || word == "dev";
}

}  // namespace

bool BirdLines::opensWith(std::string_view firstLine) {
   firstLine = withoutReply(firstLine);
   return (firstLine.starts_with("BIRD ") && firstLine.ends_with("ready.")) || isTableTitle(firstLine);
}

bool BirdLines::looksLike(std::string_view line) {
   line = withoutReply(line);
   auto rest = line;
   const auto first = takeWord(rest);
   return isTableTitle(line) || otherKindOf(line) == "origins" || (isType(first) && trimmed(rest).starts_with('[')) ||
          (isPrefixText(first) && rest.find(" [") != std::string_view::npos &&
           rest.find('(') != std::string_view::npos);
}

void BirdLines::line(std::string_view text, RouteSet& routes) {
   text = withoutReply(text);
   if (isSaid(text)) {
      return;
   }
   if (isTableTitle(text)) {
      close(routes);
      constexpr std::size_t word = 6;
      table_ = text.substr(word, text.size() - word - 1);
      prefix_.reset();
      isOther_ = false;
      return;
   }
   if (const auto kind = otherKindOf(text); !kind.empty()) {
      close(routes);
      prefix_.reset();
      isOther_ = true;
      leaveOut(fmt::format("{}, of {}", table_, kind));
      return;
   }
   const std::string_view whole = text;
   const auto bracket = text.find('[');
   auto rest = text;
   auto first = takeWord(rest);
   const bool hasPrefix = !isType(first) && first != "via" && first != "dev";
   if (isOther_ && !(bracket != std::string_view::npos && hasPrefix)) {  // what else is said of it
      return;
   }
   isOther_ = false;
   if (first.ends_with(':') && !isPrefixText(first)) {
      if (open_ && (first == "BGP.as_path:" || first == "bgp_path:")) {
         path_ = trimmed(rest);
      }
      return;
   }
   if (bracket == std::string_view::npos) {
      if (!open_ || !startsHop(text)) {
         const std::string_view what =
            startsHop(text) ? "next hop without a route before it" : "no line of show route";
         throw BadText(fmt::format("{}: \"{}\"", what, whole));
      }
      open_->hops.push_back(hopOf(text));
      return;
   }
   close(routes);
   bool isBound = false;
   if (hasPrefix) {
      prefix_.reset();
      prefix_ = prefixIn(first);
      text = trimmed(rest);
      first = takeWord(rest);
      if (first == "from") {  // for one source alone
         isBound = takeWord(rest) != "::/0";
         text = trimmed(rest);
         first = takeWord(rest);
      }
   }
   if (!prefix_) {
      throw BadText(fmt::format("route without a prefix: \"{}\"", whole));
   }
   RouterRoute route;
   route.prefix = *prefix_;
   route.table = table_;
   route.isUsable = !isBound;
   if (startsHop(text)) {
      route.hops.push_back(hopOf(text));
   } else if (!isType(first)) {
      throw BadText(fmt::format("unknown kind of route \"{}\": \"{}\"", first, whole));
   } else if (first != "unicast" && first != "multipath") {
      route.type = first == "prohibited" ? "prohibit" : first;
   }
   // [protocol time ...] * (preference) [...]
   auto inside = whole.substr(bracket + 1);
   route.protocol = takeWord(inside, " ]");
   const auto close = whole.find(']', bracket);
   const auto after = close == std::string_view::npos ? std::string_view() : whole.substr(close);
   route.isSelected = after.find(" * ") != std::string_view::npos || after.ends_with(" *");
   if (const auto open = after.find('('); open != std::string_view::npos) {
      const auto digits = after.substr(open + 1);
      U32 preference = 0;
      std::from_chars(digits.data(), digits.data() + digits.size(), preference);
      route.distanceName = "preference";
      route.distance = preference;
      route.rank = 0xffffU - std::min(preference, 0xffffU);
   }
   open_ = std::move(route);
   path_.clear();
}

void BirdLines::close(RouteSet& routes) {
   if (!open_) {
      return;
   }
   RouterRoute route = std::move(*open_);
   open_.reset();
   if (!path_.empty()) {
      route.protocol += fmt::format(" path {}", path_);
   }
   const auto table = route.table;
   if (!tables_.add(std::move(route), routes)) {
      leaveOut(table);
   }
}

void BirdLines::end(RouteSet& routes) {
   close(routes);
   tables_.end(routes, [this](std::string_view table) { leaveOut(table); });
}

}  // namespace Rtrie
