#include "tools/rtrie/WatchedTable.h"

#include <algorithm>
#include <cstdint>
#include <tuple>
#include <utility>

#include "tools/rtrie/Errors.h"
#include "tools/rtrie/TableSet.h"
#include "tools/tables/Words.h"
#include "tools/tables/formats/IpRouteLines.h"

namespace Rtrie {
namespace {

// Of a list, the last line has taken the place of those before it. What holds for some packets alone is no update's, either.
bool mayAnswer(const Candidate& route) {
   return route.choice == Choice::lastLine ? route.chosen
                                           : route.answers || !routeAttributesOf(route.payload).isBound;
}

// The gateways and devices, which tell a route from another of its metric.
std::vector<std::string_view> hopsOf(std::string_view payload) {
   std::vector<std::string_view> hops;
   for (auto word = takeWord(payload); !word.empty(); word = takeWord(payload)) {
      if (word == "via" || word == "dev") {
         const auto value = takeWord(payload);
         hops.push_back(value == "inet" || value == "inet6" ? takeWord(payload) : value);
      }
   }
   return hops;
}

// What stands between one "nexthop" and the next, or the payload itself where it has none.
std::vector<std::vector<std::string_view>> hopByHop(std::string_view payload) {
   constexpr std::string_view begin = "nexthop ";
   std::vector<std::vector<std::string_view>> hops;
   auto at = payload.find(begin);
   if (at == std::string_view::npos) {
      hops.push_back(hopsOf(payload));
      return hops;
   }
   while (at != std::string_view::npos) {
      const auto next = payload.find(begin, at + 1);
      hops.push_back(hopsOf(payload.substr(at, next - at)));
      at = next;
   }
   return hops;
}

// Takes the next hop by that gateway and device off a payload that has several. The last one stands by itself, in front and
// without a weight.
void takeHop(std::string& payload, const std::vector<std::string_view>& hop) {
   constexpr std::string_view begin = " nexthop ";
   constexpr std::string_view weight = " weight ";
   for (auto at = payload.find(begin); at != std::string::npos;) {
      const auto next = payload.find(begin, at + 1);
      if (hopsOf(std::string_view(payload).substr(at, next - at)) == hop) {
         payload.erase(at, next - at);
         break;
      }
      at = next;
   }
   const auto last = payload.find(begin);
   if (last != std::string::npos && payload.find(begin, last + 1) == std::string::npos) {
      std::string own = payload.substr(last + begin.size());
      if (const auto at = own.find(weight); at != std::string::npos) {
         own.erase(at, own.find(' ', at + weight.size()) - at);
      }
      payload = own + " " + payload.substr(0, last);
   }
}

// Next hops are told beginning with any of them.
std::string withHopsInOrder(std::string_view payload) {
   constexpr std::string_view begin = " nexthop ";
   std::vector<std::string_view> hops;
   auto at = payload.find(begin);
   std::string text(payload.substr(0, at));
   while (at != std::string_view::npos) {
      const auto next = payload.find(begin, at + 1);
      hops.push_back(payload.substr(at, next - at));
      at = next;
   }
   std::sort(hops.begin(), hops.end());
   for (const auto hop : hops) {
      text += hop;
   }
   return text;
}

bool hasGateway(std::string_view payload) { return (" " + std::string(payload)).find(" via ") != std::string::npos; }

ChangeKind kindOf(const std::optional<std::string>& before, const std::optional<std::string>& after) {
   if (!before) {
      return after ? ChangeKind::add : ChangeKind::absent;
   }
   return !after ? ChangeKind::remove : *before == *after ? ChangeKind::same : ChangeKind::replace;
}

bool isOfSource(std::string_view name, std::string_view source) {
   return name.starts_with(source) && (name.size() == source.size() || name[source.size()] == ' ');
}

}  // namespace

WatchedTable::WatchedTable(std::unique_ptr<RouteSet> loaded, const Selection& selection)
   : loaded_(std::move(loaded)), routeTableNames_(selection.routeTableNames) {
   for (const auto af : families) {
      loaded_->forEach(af, [&](const Corenet::IpGenPrefix& route) { trie(af).routeIs(route, true); });
   }
}

void WatchedTable::watch(Output& output) {
   for (auto& each : tries_) {
      each.watch(output);
   }
}

//--- changes ---

Effect WatchedTable::apply(const RouteUpdate& update) {
   auto& routes = routesAt(update.prefix);
   const auto before = answering(routes);
   const auto hasSeveral = [&] {
      return update.choice == Choice::metric && update.prefix.af() == Corenet::ipv6() &&
             std::count_if(routes.begin(), routes.end(), [&](const Route& each) { return isAbout(update, each); }) >
                1;
   };
   isInDoubt_ = hasSeveral();
   if (update.isWithdrawal) {
      withdraw(routes, update);
   } else {
      add(routes, update);
   }
   isInDoubt_ = isInDoubt_ || hasSeveral();
   const auto after = answering(routes);
   forgetIfEmpty(update.prefix);
   return changed(update.prefix, before, after, update.isWithdrawal);
}

void WatchedTable::lose(std::string_view source, const Tell& tell) {
   const auto isItsOwn = [&](Choice choice, std::string_view name) {
      return choice == Choice::asPath && isOfSource(name, source);
   };
   std::vector<Corenet::IpGenPrefix> prefixes;
   for (const auto af : families) {
      loaded_->forEach(af, [&](const Corenet::IpGenPrefix& prefix) {
         if (!touched_.contains(prefix)) {
            const auto candidates = loaded_->candidates(prefix);
            if (std::any_of(candidates.begin(), candidates.end(),
                            [&](const Candidate& each) { return isItsOwn(each.choice, each.source); })) {
               prefixes.push_back(prefix);
            }
         }
      });
   }
   for (const auto& [prefix, routes] : touched_) {
      if (std::any_of(routes.begin(), routes.end(),
                      [&](const Route& each) { return isItsOwn(each.choice, each.source); })) {
         prefixes.push_back(prefix);
      }
   }
   std::sort(prefixes.begin(), prefixes.end());
   for (const auto& prefix : prefixes) {
      auto& routes = routesAt(prefix);
      const auto before = answering(routes);
      std::erase_if(routes, [&](const Route& each) { return isItsOwn(each.choice, each.source); });
      const auto after = answering(routes);
      forgetIfEmpty(prefix);
      tell(changed(prefix, before, after, true));
   }
}

void WatchedTable::become(std::unique_ptr<RouteSet> routes, const Tell& tell) {
   std::map<Corenet::IpGenPrefix, std::pair<std::optional<std::string>, std::optional<std::string>>> changes;
   const auto answerOf = [&](const Corenet::IpGenPrefix& prefix) {
      const auto payload = routes->payload(prefix);
      return payload ? std::optional<std::string>(*payload) : std::nullopt;
   };
   const auto note = [&](const Corenet::IpGenPrefix& prefix, const std::optional<std::string>& before) {
      auto after = answerOf(prefix);
      if (before != after && (!before || !after || withHopsInOrder(*before) != withHopsInOrder(*after))) {
         changes[prefix] = {before, std::move(after)};
      }
   };
   for (const auto af : families) {
      routes->forEachWithPayload(af, [&](const Corenet::IpGenPrefix& prefix, const Payload& after) {
         if (!touched_.contains(prefix) && loaded_->payload(prefix) != after.text) {
            note(prefix,
                 loaded_->payload(prefix) ? std::optional<std::string>(*loaded_->payload(prefix)) : std::nullopt);
         }
      });
      loaded_->forEachWithPayload(af, [&](const Corenet::IpGenPrefix& prefix, const Payload& before) {
         if (!touched_.contains(prefix) && !routes->payload(prefix)) {
            note(prefix, std::string(before.text));
         }
      });
   }
   for (const auto& [prefix, all] : touched_) {
      note(prefix, answering(all));
   }
   loaded_ = std::move(routes);
   touched_.clear();
   for (const auto& [prefix, change] : changes) {
      tell(changed(prefix, change.first, change.second, !change.second));
   }
}

// Has the trie say so, too.
Effect WatchedTable::changed(const Corenet::IpGenPrefix& prefix, const std::optional<std::string>& before,
                             const std::optional<std::string>& after, bool isWithdrawal) {
   auto& engine = trie(prefix.af());
   if (before && !after) {
      engine.routeDel(prefix);
   } else if (after && !isWithdrawal) {
      // An addition of what is there already is published, too.
      engine.routeIs(prefix, true);
   }
   return {kindOf(before, after), prefix, before, after};
}

WatchedTable::Routes& WatchedTable::routesAt(const Corenet::IpGenPrefix& prefix) {
   const auto [place, isNew] = touched_.try_emplace(prefix);
   if (isNew) {
      for (const Candidate& route : loaded_->candidates(prefix)) {
         if (mayAnswer(route)) {
            place->second.push_back(
               {std::string(route.payload),
                route.choice == Choice::metric ? routeTableNames_.key(route.source) : std::string(route.source),
                route.choice, route.rank, route.answers});
         }
      }
   }
   return place->second;
}

void WatchedTable::forgetIfEmpty(const Corenet::IpGenPrefix& prefix) {
   if (const auto found = touched_.find(prefix);
       found != touched_.end() && found->second.empty() && loaded_->candidates(prefix).empty()) {
      touched_.erase(found);
   }
}

// The payload of the best route, of equal ones the first; none if there is none that answers.
std::optional<std::string> WatchedTable::answering(const Routes& routes) {
   const auto best = std::min_element(routes.begin(), routes.end(), [](const Route& a, const Route& b) {
      return std::tuple(!a.answers, a.choice, a.rank) < std::tuple(!b.answers, b.choice, b.rank);
   });
   return best == routes.end() || !best->answers ? std::nullopt : std::optional(best->payload);
}

// Whether the update may be about that route. To a kernel, a line of a list stands for a route of a metric that is not told.
bool WatchedTable::isAbout(const RouteUpdate& update, const Route& route) {
   switch (update.choice) {
      case Choice::lastLine: return true;
      case Choice::metric: {
         const U32 metric = metricOfRank(update.rank);
         return route.choice == Choice::lastLine ? metric == unsaidMetric(update.prefix.af())
                                                 : route.choice == Choice::metric && route.source == update.source &&
                                                      metricOfRank(route.rank) == metric;
      }
      case Choice::asPath: return route.choice == Choice::asPath && route.source == update.source;
   }
   return false;
}

void WatchedTable::add(Routes& routes, const RouteUpdate& update) {
   Route route{update.payload, update.source, update.choice, update.rank, update.answers};
   if (update.choice == Choice::lastLine) {
      routes.assign(1, route);
   } else if (update.choice == Choice::asPath) {
      // What a peer says anew is the latest that is said, as in a table.
      std::erase_if(routes, [&](const Route& each) { return isAbout(update, each); });
      routes.push_back(std::move(route));
   } else {
      place(routes, update, std::move(route));
   }
}

// As a kernel does, among the routes of its metric.
void WatchedTable::place(Routes& routes, const RouteUpdate& update, Route route) {
   const auto isOfMetric = [&](const Route& each) { return isAbout(update, each); };
   const bool isIpv6 = update.prefix.af() == Corenet::ipv6();
   if (isIpv6 && update.placing != Placing::unsaid && update.placing != Placing::replaces) {
      // Next hops that are added to a route are told with all that it has.
      const auto hops = hopByHop(route.payload);
      std::erase_if(routes, [&](const Route& each) {
         const auto its = hopByHop(each.payload);
         return isOfMetric(each) && std::all_of(its.begin(), its.end(), [&](const auto& hop) {
                   return std::find(hops.begin(), hops.end(), hop) != hops.end();
                });
      });
      routes.push_back(std::move(route));
      return;
   }
   const auto first = std::find_if(routes.begin(), routes.end(), isOfMetric);
   if (first == routes.end()) {
      routes.push_back(std::move(route));
      return;
   }
   switch (update.placing) {
      case Placing::first: routes.insert(first, std::move(route)); return;
      case Placing::last:
         routes.insert(std::find_if(routes.rbegin(), routes.rend(), isOfMetric).base(), std::move(route));
         return;
      case Placing::replaces:
      case Placing::alone: {
         // Of IPv6, a route with a gateway takes the place of one that has one.
         const auto alike = std::find_if(first, routes.end(), [&](const Route& each) {
            return isOfMetric(each) && (!isIpv6 || hasGateway(each.payload) == hasGateway(route.payload));
         });
         *(alike != routes.end() ? alike : first) = std::move(route);
         return;
      }
      case Placing::unsaid: {
         // A kernel has no two routes alike, and puts the new one in the place of the first with its metric.
         const auto there = std::find_if(first, routes.end(), [&](const Route& each) {
            return isOfMetric(each) && each.payload == route.payload;
         });
         *(there != routes.end() ? there : first) = std::move(route);
         return;
      }
   }
}

// Of several routes of a metric, the one by other next hops is not that one. Of an IPv6 route, a kernel can withdraw one next
// hop and leave the others.
void WatchedTable::withdraw(Routes& routes, const RouteUpdate& update) {
   if (update.choice != Choice::metric) {
      std::erase_if(routes, [&](const Route& each) { return isAbout(update, each); });
      return;
   }
   if (const auto same =
          std::find_if(routes.begin(), routes.end(),
                       [&](const Route& each) { return isAbout(update, each) && each.payload == update.payload; });
       same != routes.end()) {
      routes.erase(same);
      return;
   }
   const auto hops = hopsOf(update.payload);
   std::erase_if(routes, [&](Route& each) {
      if (!isAbout(update, each)) {
         return false;
      }
      const auto its = hopsOf(each.payload);
      if (update.prefix.af() == Corenet::ipv6() && !hops.empty() && its.size() > hops.size()) {
         takeHop(each.payload, hops);
         return false;
      }
      return hops.empty() || its.empty() || hops == its;
   });
}

//--- answers ---

std::optional<Best> WatchedTable::best(const Corenet::IpGenPrefix& query) {
   const auto prefix = trie(query.af()).longestMatch(query);
   if (!routetrie::is_prefix(prefix)) {
      return std::nullopt;
   }
   const auto touched = touched_.find(prefix);
   return Best{prefix, touched != touched_.end() ? answering(touched->second).value_or("")
                                                 : std::string(loaded_->payload(prefix).value_or(""))};
}

WatchedMatches::WatchedMatches(const std::vector<std::string>& texts, WatchedTable& table) : table_(table) {
   for (const std::string& text : texts) {
      try {
         const auto query = prefixOfText(text);
         watched_.insert_or_assign(query, table.best(query));
      } catch (const BadText& fault) {
         throw UsageError(fault.what());
      }
   }
}

}  // namespace Rtrie
