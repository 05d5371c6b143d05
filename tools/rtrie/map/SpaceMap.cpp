#include "tools/rtrie/map/SpaceMap.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <numeric>
#include <optional>
#include <string_view>
#include <unordered_map>
#include <utility>

#include "tools/rtrie/map/AnswerWalk.h"
#include "tools/rtrie/map/CellTally.h"
#include "tools/rtrie/map/Grouping.h"
#include "tools/rtrie/map/PrintableText.h"
#include "tools/tables/AddressNumber.h"
#include "tools/tables/Numbers.h"
#include "tools/tables/Words.h"

namespace Rtrie {
namespace {

using Corenet::IpGenPrefix;

constexpr std::size_t mostLengthGroups = 10;
constexpr std::size_t mostAgeGroups = 9;
constexpr std::size_t mapLabelCharacters = 60;

// Calls fn(U32{}) or fn(U128{}), as the family has addresses.
template <class Fn>
auto withNumber(Corenet::AddressFamily af, Fn&& fn) {
   return af == Corenet::AddressFamily::ipv6 ? fn(Corenet::U128{}) : fn(U32{});
}

template <class Number, class Each>
void forEachAnswer(std::span<const PlacedRoute<Number>> routes, const IpGenPrefix& block, Each&& each) {
   AnswerWalk<Number> walk(routes, rangeOf<Number>(block));
   while (const auto span = walk.next()) {
      each(*span);
   }
}

template <class Number>
double addressesIn(const AddressRange<Number>& range) {
   return static_cast<double>(range.last - range.first) + 1;
}

template <class Number>
CellTally<Number> tallyOf(const SpaceMap& map) {
   std::vector<U8> ranks;
   for (const MapClass& each : map.classes) {
      ranks.push_back(each.rank);
   }
   return {map.order, rangeOf<Number>(map.block), map.blockBits(), std::move(ranks)};
}

template <class Number>
void finishMap(SpaceMap& map, CellTally<Number>& tally) {
   map.cells = tally.takeCells();
   for (std::size_t i = 0; i < map.classes.size(); ++i) {
      map.classes[i].addresses = tally.addresses()[i];
   }
}

// Puts each span into the class classOf(span).
template <class Number, class ClassOf>
void paintMap(SpaceMap& map, std::span<const PlacedRoute<Number>> routes, ClassOf&& classOf) {
   auto tally = tallyOf<Number>(map);
   forEachAnswer<Number>(routes, map.block, [&](const auto& span) { tally.add(span.range, classOf(span)); });
   finishMap(map, tally);
}

constexpr Tint scaleTint(std::size_t index, std::size_t count) {
   return {Tint::Kind::scale, static_cast<U8>(index), static_cast<U8>(count)};
}
constexpr Tint choiceTint(std::size_t index) { return {Tint::Kind::choice, static_cast<U8>(index), choices}; }
constexpr Tint plainTint() { return {Tint::Kind::plain, 0, 1}; }

SpaceMap emptyMap(const IpGenPrefix& block, unsigned order, std::string_view subject, std::string_view nothing) {
   SpaceMap map;
   map.block = block;
   map.order = order;
   map.subject = subject;
   map.classes.push_back({std::string(nothing), {}, 0, 0});
   return map;
}

// --- age ---

// Seconds, and how people call them. The first age is below the first of them, the last one from the last on.
struct AgeBound {
   U32 seconds;
   std::string_view text;
};
constexpr AgeBound ageBounds[] = {
   {10, "10 s"},           {30, "30 s"},          {60, "1 min"},           {120, "2 min"},
   {300, "5 min"},         {600, "10 min"},       {1800, "30 min"},        {3600, "1 h"},
   {3 * 3600, "3 h"},      {6 * 3600, "6 h"},     {43200, "12 h"},         {86400, "1 day"},
   {3 * 86400, "3 days"},  {7 * 86400, "1 week"}, {30 * 86400, "30 days"}, {90 * 86400, "90 days"},
   {365 * 86400, "1 year"}};
constexpr std::size_t ages = std::size(ageBounds) + 1;

std::size_t ageOf(std::int64_t seconds) {
   const auto* const bound = std::upper_bound(
      std::begin(ageBounds), std::end(ageBounds), seconds,
      [](std::int64_t value, const AgeBound& each) { return value < static_cast<std::int64_t>(each.seconds); });
   return static_cast<std::size_t>(bound - std::begin(ageBounds));
}

std::string ageText(std::size_t first, std::size_t last) {
   if (last == ages - 1) {
      return first == 0 ? "any" : fmt::format("{} and more", ageBounds[first - 1].text);
   }
   return first == 0 ? fmt::format("less than {}", ageBounds[last].text)
                     : fmt::format("{} to {}", ageBounds[first - 1].text, ageBounds[last].text);
}

constexpr U32 notChanged = ages;

// The routes of the set and the prefixes that changed, each once, with its age.
template <class Number>
std::vector<PlacedRoute<Number>> agesOver(const RouteSet& routes, const ChangeTimes& changes,
                                          const IpGenPrefix& block) {
   auto placed = routesOver<Number>(routes, block, [&](const IpGenPrefix& route, const Payload&) {
      const auto seconds = changes.secondsOf(route);
      return seconds ? static_cast<U32>(ageOf(changes.lastSeconds() - *seconds)) : notChanged;
   });
   changes.forEach([&](const IpGenPrefix& prefix, std::int64_t seconds) {
      if (prefix.af() == block.af() && (covers(block, prefix) || covers(prefix, block))) {
         placed.push_back({prefix.bits<widthBits<Number>>().word(), prefix.len(),
                           static_cast<U32>(ageOf(changes.lastSeconds() - seconds))});
      }
   });
   const auto key = [](const PlacedRoute<Number>& route) { return std::pair(route.first, route.lengthBits); };
   std::sort(placed.begin(), placed.end(), [&](const auto& a, const auto& b) { return key(a) < key(b); });
   placed.erase(
      std::unique(placed.begin(), placed.end(), [&](const auto& a, const auto& b) { return key(a) == key(b); }),
      placed.end());
   return placed;
}

// Numbers for payloads that are equal where the texts are, in several sets.
class CommonIds {
  public:
   U32 of(std::string_view text) { return ids_.try_emplace(text, static_cast<U32>(ids_.size())).first->second; }

  private:
   std::unordered_map<std::string_view, U32> ids_;
};

// --- payload ---

// The classes of payloads by their ids: 1 to `choices` for those with the most addresses, of equal ones the first; the one after
// for all others that have any.
struct PayloadClasses {
   std::vector<U8> byId;
   std::vector<U32> shown;
   std::size_t others = 0;
};

PayloadClasses payloadClassesOf(const std::vector<double>& addresses) {
   PayloadClasses classes;
   std::vector<U32> ids;
   for (U32 id = 0; id < addresses.size(); ++id) {
      if (addresses[id] > 0) {
         ids.push_back(id);
      }
   }
   const auto shown = std::min(ids.size(), choices);
   std::partial_sort(ids.begin(), ids.begin() + static_cast<std::ptrdiff_t>(shown), ids.end(), [&](U32 a, U32 b) {
      return addresses[a] != addresses[b] ? addresses[a] > addresses[b] : a < b;
   });
   classes.others = ids.size() - shown;
   ids.resize(shown);
   classes.byId.assign(addresses.size(), static_cast<U8>(shown + 1));
   for (std::size_t i = 0; i < shown; ++i) {
      classes.byId[ids[i]] = static_cast<U8>(i + 1);
   }
   classes.shown = std::move(ids);
   return classes;
}

// The word of the payload behind that one; of an AS path, the last. Empty if there is none.
std::string_view partOfPayload(std::string_view payload, std::string_view part) {
   const bool isOrigin = part == "origin";
   for (auto word = takeWord(payload); !word.empty(); word = takeWord(payload)) {
      if (isOrigin && word == "path") {
         const auto path = trimmed(payload);
         return path.substr(path.find_last_of(blanks) + 1);
      }
      if (word == part) {
         return takeWord(payload);
      }
   }
   return {};
}

// --- difference ---

// The classes, in the order in which mapByDifference() lists them.
enum class Became : U8 { nothing, same, gained, lost, otherPrefix, otherPayload };

template <class Number>
Became whatBecameOf(const PlacedRoute<Number>* was, const PlacedRoute<Number>* is) {
   if (was == nullptr || is == nullptr) {
      return was != nullptr ? Became::lost : is != nullptr ? Became::gained : Became::nothing;
   }
   if (was->first != is->first || was->lengthBits != is->lengthBits) {
      return Became::otherPrefix;
   }
   return was->value != is->value ? Became::otherPayload : Became::same;
}

template <class Number>
void paintDifference(SpaceMap& map, const RouteSet& before, const RouteSet& after) {
   CommonIds ids;
   const auto idOf = [&](const IpGenPrefix&, const Payload& payload) { return ids.of(payload.text); };
   const auto oldRoutes = routesOver<Number>(before, map.block, idOf);
   const auto newRoutes = routesOver<Number>(after, map.block, idOf);
   const auto block = rangeOf<Number>(map.block);
   AnswerWalk<Number> oldWalk(oldRoutes, block);
   AnswerWalk<Number> newWalk(newRoutes, block);
   auto tally = tallyOf<Number>(map);
   auto was = oldWalk.next();
   auto is = newWalk.next();
   for (Number at = block.first; was && is;) {
      const Number last = std::min(was->range.last, is->range.last);
      tally.add({at, last}, static_cast<U8>(whatBecameOf(was->route, is->route)));
      at = static_cast<Number>(last + 1);
      if (was->range.last == last) {
         was = oldWalk.next();
      }
      if (is->range.last == last) {
         is = newWalk.next();
      }
   }
   finishMap(map, tally);
}

// Drops the classes that have nothing; the first one stays.
void dropEmptyClasses(SpaceMap& map) {
   std::vector<U8> newId(map.classes.size());
   std::vector<MapClass> kept;
   for (std::size_t i = 0; i < map.classes.size(); ++i) {
      if (i == 0 || map.classes[i].addresses > 0) {
         newId[i] = static_cast<U8>(kept.size());
         kept.push_back(std::move(map.classes[i]));
      }
   }
   for (U8& cell : map.cells) {
      cell = newId[cell];
   }
   map.classes = std::move(kept);
}

}  // namespace

double SpaceMap::shareOf(const MapClass& of) const {
   const auto share = static_cast<double>(std::ldexp(of.addresses, -static_cast<int>(blockBits())));
   // What another class has may be too little to count.
   const auto isOther = [&of](const MapClass& each) { return &each != &of && each.addresses > 0; };
   return share == 1 && std::any_of(classes.begin(), classes.end(), isOther) ? std::nextafter(1.0, 0.0) : share;
}

SpaceMap mapByLength(const RouteSet& routes, const IpGenPrefix& block, unsigned order) {
   auto map = emptyMap(block, order, "length of the route that answers", "no route");
   withNumber(block.af(), [&]<class Number>(Number) {
      const auto placed = routesOver<Number>(routes, block, [](const auto&, const Payload&) { return U32{0}; });
      std::vector<double> addresses(widthBits<Number> + 1);
      forEachAnswer<Number>(placed, block, [&](const auto& span) {
         if (span.route != nullptr) {
            addresses[span.route->lengthBits] += addressesIn(span.range);
         }
      });
      const auto groups = groupsOf(addresses, mostLengthGroups);
      std::vector<U8> classOfLength(addresses.size());
      for (std::size_t i = 0; i < groups.size(); ++i) {
         const auto& [first, last, weight] = groups[i];
         std::fill(classOfLength.begin() + static_cast<std::ptrdiff_t>(first),
                   classOfLength.begin() + static_cast<std::ptrdiff_t>(last) + 1,
                   static_cast<U8>(map.classes.size()));
         map.classes.push_back({first == last ? fmt::format("/{}", first) : fmt::format("/{} to /{}", first, last),
                                scaleTint(i, groups.size()), 1, 0});
      }
      paintMap<Number>(map, placed, [&](const auto& span) {
         return span.route == nullptr ? U8{0} : classOfLength[span.route->lengthBits];
      });
   });
   return map;
}

SpaceMap mapByPayload(const RouteSet& routes, const IpGenPrefix& block, unsigned order, std::string_view part) {
   auto map = emptyMap(block, order,
                       part.empty() ? "payload of the route that answers"
                                    : fmt::format("{} of the route that answers", printableText(part)),
                       "no route");
   withNumber(block.af(), [&]<class Number>(Number) {
      CommonIds ids;
      std::vector<std::string_view> texts;
      std::vector<U32> idOfPayload;  // by its own id, plus 1; 0: not met yet
      const auto placed = routesOver<Number>(routes, block, [&](const IpGenPrefix&, const Payload& payload) {
         if (payload.id >= idOfPayload.size()) {
            idOfPayload.resize(payload.id + 1);
         }
         U32& known = idOfPayload[payload.id];
         if (known == 0) {
            const auto text = part.empty() ? payload.text : partOfPayload(payload.text, part);
            known = ids.of(text) + 1;
            if (known > texts.size()) {
               texts.push_back(text);
            }
         }
         return known - 1;
      });
      std::vector<double> addresses(texts.size());
      forEachAnswer<Number>(placed, block, [&](const auto& span) {
         if (span.route != nullptr) {
            addresses[span.route->value] += addressesIn(span.range);
         }
      });
      const auto classes = payloadClassesOf(addresses);
      for (std::size_t i = 0; i < classes.shown.size(); ++i) {
         const auto text = texts[classes.shown[i]];
         map.classes.push_back({text.empty() ? fmt::format("no {}", part.empty() ? "payload" : printableText(part))
                                             : printableText(text, mapLabelCharacters),
                                choiceTint(i), 1, 0});
      }
      if (classes.others != 0) {
         map.classes.push_back(
            {fmt::format("{} other{}", grouped(classes.others), classes.others == 1 ? "" : "s"), plainTint(), 1, 0});
      }
      paintMap<Number>(map, placed, [&](const auto& span) {
         return span.route == nullptr ? U8{0} : classes.byId[span.route->value];
      });
   });
   return map;
}

SpaceMap mapByDifference(const RouteSet& before, const RouteSet& after, const IpGenPrefix& block, unsigned order) {
   auto map = emptyMap(block, order, "what became of the answer", "no route, then as now");
   map.classes.push_back({"same answer", plainTint(), 1, 0});
   map.classes.push_back({"a route now, none before", choiceTint(0), 2, 0});
   map.classes.push_back({"no route now, one before", choiceTint(1), 2, 0});
   map.classes.push_back({"a route of another prefix", choiceTint(4), 2, 0});
   map.classes.push_back({"another payload", choiceTint(6), 2, 0});
   withNumber(block.af(), [&]<class Number>(Number) { paintDifference<Number>(map, before, after); });
   dropEmptyClasses(map);
   return map;
}

SpaceMap mapByAge(const RouteSet& routes, const ChangeTimes& changes, const IpGenPrefix& block, unsigned order) {
   auto map = emptyMap(block, order, "time from its change to the last change of all",
                       routes.size() == 0 ? "no change" : "no route");
   map.classes.push_back({"not changed", plainTint(), 1, 0});
   withNumber(block.af(), [&]<class Number>(Number) {
      const auto placed = agesOver<Number>(routes, changes, block);
      std::vector<double> addresses(ages);
      forEachAnswer<Number>(placed, block, [&](const auto& span) {
         if (span.route != nullptr && span.route->value != notChanged) {
            addresses[span.route->value] += addressesIn(span.range);
         }
      });
      const auto groups = groupsOf(addresses, mostAgeGroups);
      std::vector<U8> classOfAge(ages + 1, 1);
      for (std::size_t i = 0; i < groups.size(); ++i) {
         const auto& [first, last, weight] = groups[i];
         std::fill(classOfAge.begin() + static_cast<std::ptrdiff_t>(first),
                   classOfAge.begin() + static_cast<std::ptrdiff_t>(last) + 1, static_cast<U8>(map.classes.size()));
         map.classes.push_back({ageText(first, last), scaleTint(groups.size() - 1 - i, groups.size()),
                                static_cast<U8>(2 + groups.size() - 1 - i), 0});
      }
      paintMap<Number>(map, placed, [&](const auto& span) {
         return span.route == nullptr ? U8{0} : classOfAge[span.route->value];
      });
   });
   dropEmptyClasses(map);
   return map;
}

void ShownBlock::add(const RouteSet& routes) {
   hasIpv4_ = hasIpv4_ || routes.size(Corenet::AddressFamily::ipv4) != 0;
   routes.forEach(Corenet::AddressFamily::ipv6, [this](const IpGenPrefix& route) { add(route); });
}

void ShownBlock::add(const ChangeTimes& changes) {
   changes.forEach([this](const IpGenPrefix& prefix, std::int64_t) { add(prefix); });
}

void ShownBlock::add(const IpGenPrefix& prefix) {
   if (prefix.af() == Corenet::AddressFamily::ipv4) {
      hasIpv4_ = true;
      return;
   }
   // A default route alone is shown in the whole space, which of() has from a range of it.
   const auto range = rangeOf<Corenet::U128>(prefix);
   if (!all_ || isDefaultAlone_) {
      all_ = range;
      isDefaultAlone_ = prefix.len() == 0;
   } else if (prefix.len() != 0) {
      all_ = {std::min(all_->first, range.first), std::max(all_->last, range.last)};
   }
}

IpGenPrefix ShownBlock::of(Corenet::AddressFamily af) const {
   if (af == Corenet::AddressFamily::ipv4) {
      return Corenet::Prefix();
   }
   if (!all_) {
      return Corenet::Ip6Prefix();
   }
   const auto differing = all_->first ^ all_->last;
   U8 length = 0;
   while (length < 128 && (differing >> (127 - length)) == 0) {
      ++length;
   }
   return prefixOf(static_cast<Corenet::U128>(all_->first & ~rangeOf<Corenet::U128>(0, length).last), length);
}

std::string percentText(double share) {
   const double percent = share * 100;
   if (share < 1 && percent >= 99.95) {
      return "> 99.9 %";
   }
   if (percent == 0 || percent >= 10) {
      return fmt::format("{:.1f} %", percent);
   }
   return percent < 0.01 ? "< 0.01 %" : fmt::format("{:.2f} %", percent);
}

}  // namespace Rtrie
