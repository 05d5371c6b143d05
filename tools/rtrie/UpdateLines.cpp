#include "tools/rtrie/UpdateLines.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cstdint>

#include "tools/rtrie/Errors.h"
#include "tools/tables/PrefixText.h"
#include "tools/tables/RouteSet.h"
#include "tools/tables/Words.h"
#include "tools/tables/formats/IpRouteJson.h"

namespace Rtrie {
namespace {

using namespace std::string_view_literals;

template <std::size_t n>
bool isOneOf(std::string_view word, const std::array<std::string_view, n>& words) {
   return std::find(words.begin(), words.end(), word) != words.end();
}

// The word after `name`; none if it is not there.
std::optional<std::string_view> valueOf(std::string_view name, std::string_view attributes) {
   for (auto word = takeWord(attributes); !word.empty(); word = takeWord(attributes)) {
      if (word == name) {
         return takeWord(attributes);
      }
   }
   return std::nullopt;
}

// What stands before the words of a line of `ip monitor`: [TIME], [nsid 0], [ROUTE]. The label is left of these; empty if
// there is none.
std::string_view takeLabel(std::string_view& line) {
   std::string_view label;
   while (line.starts_with('[')) {
      const auto close = line.find(']');
      if (close == std::string_view::npos) {
         return label;
      }
      const auto inside = line.substr(1, close - 1);
      if (inside.find_first_not_of("ABCDEFGHIJKLMNOPQRSTUVWXYZ") == std::string_view::npos) {
         label = inside;
      }
      line = trimmed(line.substr(close + 1));
   }
   return label;
}

// "100 as to 200 via inet 192.0.2.7 dev eth0", of the label 100.
bool isMpls(std::string_view first, std::string_view rest) {
   constexpr std::array next = {"as"sv, "via"sv, "dev"sv, "proto"sv, "nhid"sv, "nexthop"sv, "table"sv};
   return !first.empty() && first.find_first_not_of("0123456789/") == std::string_view::npos &&
          isOneOf(takeWord(rest), next);
}

// Lines of `ip monitor` about anything but routes, by their first word.
bool startsAnotherObject(std::string_view first) {
   constexpr std::array words = {"id"sv,     "prefix"sv, "inet"sv, "inet6"sv, "ipv4"sv,    "ipv6"sv, "mpls"sv,
                                 "bridge"sv, "dev"sv,    "nsid"sv, "group"sv, "Unknown"sv, "fdb"sv};
   const auto colon = first.find(':');
   const bool isNumbered =  // a link or address by its index, a rule by its priority
      colon != std::string_view::npos && colon > 0 && first.find_first_not_of("0123456789") == colon &&
      colon + 1 == first.size();
   return isNumbered || first.starts_with('(') || isOneOf(first, words);
}

// A neighbour has the state of its entry last, and most have a link address.
bool isNeighbour(std::string_view words) {
   constexpr std::array states = {"PERMANENT"sv,  "NOARP"sv, "REACHABLE"sv, "STALE"sv, "NONE"sv,
                                  "INCOMPLETE"sv, "DELAY"sv, "PROBE"sv,     "FAILED"sv};
   if (valueOf("lladdr", words)) {
      return true;
   }
   const auto lastBlank = words.find_last_of(blanks);
   return lastBlank != std::string_view::npos && isOneOf(words.substr(lastBlank + 1), states);
}

}  // namespace

void UpdateLines::line(std::string_view line) {
   std::string_view words = trimmed(line);
   if (words.empty() || words.starts_with('#') || words.starts_with("Timestamp: ")) {
      return;
   }
   const std::string_view label = takeLabel(words);
   if (label.empty() && isContinuation(line, words)) {
      return;
   }
   flush();
   if (!label.empty() && label != "ROUTE") {
      passOver(otherObjects_);
      return;
   }
   if (label.empty() && takeSigned(words)) {
      return;
   }
   constexpr std::string_view deleted = "Deleted ";
   const bool isWithdrawal = words.starts_with(deleted);
   if (isWithdrawal) {
      words = trimmed(words.substr(deleted.size()));
   }
   std::string_view rest = words;
   std::string_view first = takeWord(rest);
   if (label.empty() && (startsAnotherObject(first) || isNeighbour(words) || isMpls(first, rest))) {
      passOver(otherObjects_);
      return;
   }
   if (isRouteType(first)) {
      first = takeWord(rest);
   } else if (first != "default" && first.find_first_of(".:") == std::string_view::npos) {
      throw BadText(
         fmt::format("not an update, known are \"+ PREFIX\", \"- PREFIX\", \"TIME a PREFIX\", "
                     "\"TIME w PREFIX\" and what ip monitor prints: \"{}\"",
                     trimmed(line)));
   }
   // Here, where the line is known.
   const auto prefix = first == "default" ? std::nullopt : std::optional(prefixOfText(first));
   if (isWanted(routeAttributesOf(rest))) {
      prefix_ = prefix;
      route_ = words;
      isWithdrawal_ = isWithdrawal;
      last_ = Last::held;
   }
}

// Otherwise it is passed over.
bool UpdateLines::isWanted(const RouteAttributes& attributes) {
   if (!selection_.takesRouteTable(attributes.table)) {
      otherTables_.add(attributes.table);
      last_ = Last::passedOver;
      return false;
   }
   if (attributes.isBound) {
      passOver(forSomePackets_);
      return false;
   }
   return true;
}

void UpdateLines::route(std::string_view line, bool isWithdrawal, Placing placing) {
   flush();
   last_ = Last::none;
   std::string_view rest = line;
   auto first = takeWord(rest);
   if (isRouteType(first)) {
      first = takeWord(rest);
   }
   const auto prefix = first == "default" ? std::nullopt : std::optional(prefixOfText(first));
   if (isWanted(routeAttributesOf(rest))) {
      applyLine(line, prefix, isWithdrawal, placing);
   }
}

void UpdateLines::entry(const JsonEntry& entry) {
   if (entry.value.at("dst") == nullptr) {
      flush();
      passOver(otherObjects_);
      return;
   }
   route(ipRouteLineOf(entry.value), entry.value.isTrueAt("deleted"), Placing::unsaid);
}

// Lines that go on with what came before: next hops, and the indented ones of a link or an address.
bool UpdateLines::isContinuation(std::string_view line, std::string_view words) {
   if (last_ == Last::none) {
      return false;
   }
   std::string_view rest = words;
   const auto first = takeWord(rest);
   const bool isNextHopInfo =
      first == "nh_info";  // of -d: what an `nhid` stands for; with -o, next hops follow on the line
   if (isNextHopInfo) {
      words.remove_prefix(std::min(words.size(), words.find('\\')));
   }
   if (first == "nexthop" || isNextHopInfo) {
      if (last_ == Last::passedOver || (last_ == Last::applied && isWithdrawal_)) {
         return true;
      }
      route_ += ' ';
      route_ += words;
      last_ = Last::held;
      return true;
   }
   const bool isIndented = blanks.find(line.front()) != std::string_view::npos;
   const bool isUpdate = first == "+" || first == "-" || first == "Deleted" || first == "default" ||
                         isRouteType(first) || isPrefixText(first);
   return isIndented && !isUpdate && (last_ == Last::passedOver || first == "cache");
}

// "+ PREFIX ..", "- PREFIX", "TIME a PREFIX ..", "TIME w PREFIX ..": false if it is none of these.
bool UpdateLines::takeSigned(std::string_view words) {
   words = withoutComment(words);
   std::string_view kind = takeWord(words);
   const bool hasTime = !kind.empty() && kind.find_first_not_of("0123456789.") == std::string_view::npos;
   if (hasTime) {
      kind = takeWord(words);
   }
   const bool isWithdrawal = kind == (hasTime ? "w" : "-");
   if (!isWithdrawal && kind != (hasTime ? "a" : "+")) {
      return false;
   }
   last_ = Last::none;
   const auto prefix = prefixOfText(takeWord(words));
   RouteUpdate update;
   update.prefix = prefix;
   update.payload = trimmed(words);
   update.isWithdrawal = isWithdrawal;
   apply_(update);
   return true;
}

void UpdateLines::passOver(std::uint64_t& count) {
   ++count;
   last_ = Last::passedOver;
}

void UpdateLines::flush() {
   if (last_ != Last::held) {
      return;
   }
   last_ = Last::applied;
   applyLine(route_, prefix_, isWithdrawal_, Placing::unsaid);
}

// Without a prefix, it is a default route, and the parser knows of which family.
void UpdateLines::applyLine(std::string_view line, std::optional<Corenet::IpGenPrefix> prefix, bool isWithdrawal,
                            Placing placing) {
   RouteSet routes;
   routes.candidatesAreKept();
   parser_.line(line, routes);
   parser_.end(routes);
   routes.seal();
   const auto applyAt = [&](const Corenet::IpGenPrefix& at) {
      for (const Candidate& route : routes.candidates(at)) {
         apply_({.prefix = at,
                 .payload = std::string(route.payload),
                 .isWithdrawal = isWithdrawal,
                 .choice = Choice::metric,
                 .source = selection_.routeTableNames.key(route.source),
                 .rank = route.rank,
                 .answers = route.answers,
                 .placing = placing});
      }
   };
   if (prefix) {
      applyAt(*prefix);
   } else {
      applyAt(Corenet::Prefix());
      applyAt(Corenet::Ip6Prefix());
   }
}

}  // namespace Rtrie
