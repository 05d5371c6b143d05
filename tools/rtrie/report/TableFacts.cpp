#include "tools/rtrie/report/TableFacts.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <tuple>

#include "tools/rtrie/map/AnswerWalk.h"
#include "tools/tables/AddressNumber.h"

namespace Rtrie {
namespace {

template <class Number>
void countDepthsAndBlocks(std::span<const PlacedRoute<Number>> routes, const std::vector<std::string_view>& texts,
                          std::size_t mostBlocks, TableFacts& facts) {
   std::vector<std::size_t> covering;  // by their places, the longest last
   std::vector<std::uint64_t> longer(routes.size());
   const auto close = [&](const Number& upTo, bool all) {
      while (!covering.empty() &&
             (all || rangeOf(routes[covering.back()].first, routes[covering.back()].lengthBits).last < upTo)) {
         const std::uint64_t own = longer[covering.back()] + 1;
         covering.pop_back();
         if (!covering.empty()) {
            longer[covering.back()] += own;
         }
      }
   };
   for (std::size_t i = 0; i < routes.size(); ++i) {
      close(routes[i].first, false);
      covering.push_back(i);
      if (covering.size() >= facts.byDepth.size()) {
         facts.byDepth.resize(covering.size() + 1);
      }
      ++facts.byDepth[covering.size()];
   }
   close(0, true);

   std::vector<std::size_t> shortest;
   for (std::size_t i = 0; i < routes.size(); ++i) {
      if (routes[i].lengthBits > 0) {
         shortest.push_back(i);
      }
   }
   const auto shown = std::min(mostBlocks, shortest.size());
   std::partial_sort(shortest.begin(), shortest.begin() + static_cast<std::ptrdiff_t>(shown), shortest.end(),
                     [&](std::size_t a, std::size_t b) {
                        return std::pair(routes[a].lengthBits, a) < std::pair(routes[b].lengthBits, b);
                     });
   for (std::size_t i = 0; i < shown; ++i) {
      const auto& route = routes[shortest[i]];
      facts.largest.push_back({prefixOf(route.first, route.lengthBits), texts[route.value], longer[shortest[i]]});
   }
}

template <class Number>
void countFacts(const RouteSet& routes, std::size_t mostPayloads, std::size_t mostBlocks, TableFacts& facts) {
   const auto all = rangeOf<Number>(0, 0);
   const auto block = prefixOf(Number{0}, 0);
   std::vector<std::string_view> texts{{}};
   const auto placed = routesOver<Number>(routes, block, [&](const Corenet::IpGenPrefix&, const Payload& payload) {
      if (payload.id >= texts.size()) {
         texts.resize(payload.id + 1);
      }
      texts[payload.id] = payload.text;
      return payload.id;
   });
   facts.routes = placed.size();
   facts.byLength.resize(widthBits<Number> + 1);
   facts.byDepth.resize(1);
   std::vector<TableFacts::PayloadCount> payloads(texts.size());
   for (const auto& route : placed) {
      ++facts.byLength[route.lengthBits].routes;
      ++payloads[route.value].routes;
   }
   facts.hasDefault = facts.byLength[0].routes != 0;
   AnswerWalk<Number> walk(placed, all);
   while (const auto span = walk.next()) {
      if (span->route != nullptr) {
         const double share = std::ldexp(static_cast<double>(span->range.last - span->range.first) + 1,
                                         -static_cast<int>(widthBits<Number>));
         facts.byLength[span->route->lengthBits].addresses += share;
         payloads[span->route->value].addresses += share;
         facts.addresses += span->route->lengthBits == 0 ? 0 : share;
      }
   }
   countDepthsAndBlocks<Number>(placed, texts, mostBlocks, facts);

   for (std::size_t id = 0; id < payloads.size(); ++id) {
      payloads[id].payload = texts[id];
      facts.payloads += id != 0 && payloads[id].routes != 0 ? 1U : 0U;
   }
   std::erase_if(payloads, [](const auto& each) { return each.routes == 0; });
   const auto shown = std::min(mostPayloads, payloads.size());
   std::partial_sort(payloads.begin(), payloads.begin() + static_cast<std::ptrdiff_t>(shown), payloads.end(),
                     [](const auto& a, const auto& b) {
                        return std::tuple(b.routes, b.addresses, a.payload) <
                               std::tuple(a.routes, a.addresses, b.payload);
                     });
   payloads.resize(shown);
   facts.topPayloads = std::move(payloads);
}

}  // namespace

TableFacts factsOf(const RouteSet& routes, Corenet::AddressFamily af, std::size_t mostPayloads,
                   std::size_t mostBlocks) {
   TableFacts facts;
   facts.af = af;
   if (af == Corenet::AddressFamily::ipv6) {
      countFacts<Corenet::U128>(routes, mostPayloads, mostBlocks, facts);
   } else {
      countFacts<U32>(routes, mostPayloads, mostBlocks, facts);
   }
   return facts;
}

}  // namespace Rtrie
