// BothOracle: the oracle of a table of both families: one of each, IPv4 before IPv6, which know nothing of each other.
// Tested by tests/property/TableRandomTest.cpp.
#pragma once

#include <cstdint>
#include <iterator>
#include <optional>
#include <utility>
#include <vector>

#include "routetrie/table.h"
#include "tests/property/TableOracle.h"

namespace Property {

template <>
class TableOracle<routetrie::prefix> {
   using Four = TableOracle<routetrie::prefix4>;
   using Six = TableOracle<routetrie::prefix6>;

  public:
   using P = routetrie::prefix;
   using Address = routetrie::address;
   struct Route {
      P prefix;
      std::uint32_t number;
      friend bool operator==(const Route&, const Route&) = default;
   };
   using Routes = std::vector<Route>;

  private:
   static bool isFour(const P& p) { return p.af() == Corenet::ipv4; }
   template <class Oracles, class Ask>
   static auto of(Oracles& both, const P& p, const Ask& ask) {
      return isFour(p) ? ask(both.four_, p.v4Prefix()) : ask(both.six_, p.v6Prefix());
   }
   template <class RouteOfOne>
   static std::optional<Route> either(const std::optional<RouteOfOne>& route) {
      return route ? std::optional(Route{route->prefix, route->number}) : std::nullopt;
   }
   template <class RouteOfOne>
   static Routes either(const std::vector<RouteOfOne>& routes) {
      Routes list;
      for (const auto& route : routes) {
         list.push_back({route.prefix, route.number});
      }
      return list;
   }

  public:
   bool add(const P& p, std::uint32_t number) {
      return of(*this, p, [&](auto& o, const auto& q) { return o.add(q, number); });
   }
   void set(const P& p, std::uint32_t number) {
      of(*this, p, [&](auto& o, const auto& q) { o.set(q, number); });
   }
   bool remove(const P& p) {
      return of(*this, p, [&](auto& o, const auto& q) { return o.remove(q); });
   }
   void clear() {
      four_.clear();
      six_.clear();
   }

   std::size_t size() const { return four_.size() + six_.size(); }
   bool has(const P& p) const {
      return of(*this, p, [](const auto& o, const auto& q) { return o.has(q); });
   }
   std::optional<Route> get(const P& p) const {
      return of(*this, p, [](const auto& o, const auto& q) { return either(o.get(q)); });
   }
   Routes all() const {
      Routes list = either(four_.all());
      const Routes six = either(six_.all());
      list.insert(list.end(), six.begin(), six.end());
      return list;
   }
   Routes covering(const P& p) const {
      return of(*this, p, [](const auto& o, const auto& q) { return either(o.covering(q)); });
   }
   Routes covering(const Address& a) const { return covering(routetrie::host_prefix(a)); }
   Routes shorterCovering(const P& p) const {
      return of(*this, p, [](const auto& o, const auto& q) { return either(o.shorterCovering(q)); });
   }
   std::pair<Address, Address> endsOf(const P& p) const {
      return of(*this, p, [](const auto& o, const auto& q) { return std::pair<Address, Address>(o.endsOf(q)); });
   }
   Routes covered(const P& p) const {
      return of(*this, p, [](const auto& o, const auto& q) { return either(o.covered(q)); });
   }
   std::size_t countCovered(const P& p, std::size_t most) const {
      return of(*this, p, [&](const auto& o, const auto& q) { return o.countCovered(q, most); });
   }
   Routes children(const P& p, const Routes&) const {
      return of(*this, p, [](const auto& o, const auto& q) { return either(o.children(q, o.covered(q))); });
   }
   // Behind the last of IPv4 comes the first of IPv6, and before that one the other.
   std::optional<Route> atOrAfter(const P& p) const {
      return crossing(of(*this, p, [](const auto& o, const auto& q) { return either(o.atOrAfter(q)); }), p);
   }
   std::optional<Route> after(const P& p) const {
      return crossing(of(*this, p, [](const auto& o, const auto& q) { return either(o.after(q)); }), p);
   }
   std::optional<Route> before(const P& p) const {
      const auto found = of(*this, p, [](const auto& o, const auto& q) { return either(o.before(q)); });
      if (found || isFour(p) || four_.size() == 0) {
         return found;
      }
      return either(four_.all()).back();
   }
   std::pair<Address, Address> sameAnswer(const Address& a) const {
      return a.af() == Corenet::ipv4 ? std::pair<Address, Address>(four_.sameAnswer(a.v4Addr()))
                                     : std::pair<Address, Address>(six_.sameAnswer(a.v6Addr()));
   }

  private:
   std::optional<Route> crossing(const std::optional<Route>& found, const P& p) const {
      if (found || !isFour(p)) {
         return found;
      }
      return either(six_.atOrAfter(routetrie::prefix6()));
   }

   Four four_;
   Six six_;
};

}  // namespace Property
