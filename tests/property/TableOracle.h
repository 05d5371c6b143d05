// TableOracle: a table beside a std::map of the same routes, and every question asked of both. For a table of both families there is
// BothOracle.h.
//
// The oracle knows prefixes by their word and length alone: a route covers another if it is the other one cut. Values are
// numbers that the table keeps as its own type; a set has 0 for each. Faults come back as text, so that a fuzz target can use
// them too.
// Tested by tests/property/TableSmallWorldTest.cpp, which plants a fault for each question.
#pragma once

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <map>
#include <optional>
#include <ranges>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "routetrie/family_table.h"
#include "tests/support/Backwards.h"

namespace Property {

//--- values, as numbers ---

template <class T>
struct NumberIn {
   static T valueOf(std::uint32_t number) { return static_cast<T>(number); }
   static std::uint32_t numberOf(const T& value) { return static_cast<std::uint32_t>(value); }
   static std::uint32_t cut(std::uint32_t number) { return numberOf(valueOf(number)); }
};
// Longer than what a string keeps in itself, so that it owns memory.
template <>
struct NumberIn<std::string> {
   static std::string valueOf(std::uint32_t number) { return fmt::format("a next hop called {}", number); }
   static std::uint32_t numberOf(const std::string& value) {
      return value.empty() ? 0 : static_cast<std::uint32_t>(std::stoul(value.substr(value.rfind(' '))));
   }
   static std::uint32_t cut(std::uint32_t number) { return number; }
};
template <>
struct NumberIn<void> {
   static std::uint32_t cut(std::uint32_t) { return 0; }
};

//--- the oracle ---

template <class P>
class TableOracle {
  public:
   using Bits = typename P::Bits;
   using Address = typename P::AddressType;
   static constexpr unsigned width = P::width;
   struct Route {
      P prefix;
      std::uint32_t number;
      friend bool operator==(const Route&, const Route&) = default;
   };
   using Routes = std::vector<Route>;

   bool add(const P& p, std::uint32_t number) {
      const bool isNew = routes_.try_emplace(keyOf(p), number).second;
      ofLength_[p.len()] += isNew ? 1 : 0;
      return isNew;
   }
   void set(const P& p, std::uint32_t number) {
      if (!add(p, number)) {
         routes_[keyOf(p)] = number;
      }
   }
   bool remove(const P& p) {
      const bool was = routes_.erase(keyOf(p)) != 0;
      ofLength_[p.len()] -= was ? 1 : 0;
      return was;
   }
   void clear() {
      routes_.clear();
      ofLength_ = {};
   }

   std::size_t size() const { return routes_.size(); }
   bool has(const P& p) const { return routes_.contains(keyOf(p)); }
   std::optional<Route> get(const P& p) const {
      const auto at = routes_.find(keyOf(p));
      return at == routes_.end() ? std::nullopt : std::optional(routeOf(*at));
   }
   Routes all() const {
      Routes list;
      for (const auto& entry : routes_) {
         list.push_back(routeOf(entry));
      }
      return list;
   }
   // Those that cover the first `length` bits, shortest first.
   Routes covering(Bits bits, unsigned length) const {
      Routes list;
      for (unsigned n = 0; n <= length; ++n) {
         if (ofLength_[n] == 0) {
            continue;
         }
         if (const auto at = routes_.find({bits.cut(n).word(), n}); at != routes_.end()) {
            list.push_back(routeOf(*at));
         }
      }
      return list;
   }
   Routes covering(const P& p) const { return covering(p.bits(), p.len()); }
   Routes covering(const Address& a) const { return covering(a.bits(), width); }
   Routes shorterCovering(const P& p) const { return p.len() == 0 ? Routes() : covering(p.bits(), p.len() - 1u); }
   static std::pair<Address, Address> endsOf(const P& p) {
      return {routetrie::first_address(p), routetrie::last_address(p)};
   }
   // Those under the prefix, itself included. A prefix's routes follow it in the order without a gap.
   Routes covered(const P& p) const {
      Routes list;
      for (auto at = routes_.lower_bound(keyOf(p)); at != routes_.end() && isUnder(*at, p); ++at) {
         list.push_back(routeOf(*at));
      }
      return list;
   }
   // How many of the same, up to `most`.
   std::size_t countCovered(const P& p, std::size_t most) const {
      std::size_t count = 0;
      for (auto at = routes_.lower_bound(keyOf(p)); count < most && at != routes_.end() && isUnder(*at, p); ++at) {
         ++count;
      }
      return count;
   }
   // Of `covered`, those longer than p whose parent is not.
   Routes children(const P& p, const Routes& covered) const {
      Routes list;
      for (const Route& route : covered) {
         if (route.prefix.len() > p.len()) {
            const Routes above = shorterCovering(route.prefix);
            if (above.empty() || above.back().prefix.len() <= p.len()) {
               list.push_back(route);
            }
         }
      }
      return list;
   }
   std::optional<Route> atOrAfter(const P& p) const { return first(routes_.lower_bound(keyOf(p))); }
   std::optional<Route> after(const P& p) const { return first(routes_.upper_bound(keyOf(p))); }
   std::optional<Route> before(const P& p) const {
      const auto at = routes_.lower_bound(keyOf(p));
      return at == routes_.begin() ? std::nullopt : std::optional(routeOf(*std::prev(at)));
   }

   // The answer can change only where a route begins, or behind its end: from one such border to the next, as far as it stays.
   // It looks at all routes.
   std::pair<Address, Address> sameAnswer(const Address& a) const {
      using Word = typename Bits::Word;
      const auto answer = [&](Word word) {
         const Routes list = covering(Bits(word), width);
         return list.empty() ? std::nullopt : std::optional(list.back().prefix);
      };
      std::vector<Word> starts{0};  // of pieces that have one answer
      for (const auto& [key, number] : routes_) {
         starts.push_back(key.first);
         const Word last = key.first | static_cast<Word>(~Bits::mask(key.second));
         if (last != static_cast<Word>(~Word{0})) {
            starts.push_back(static_cast<Word>(last + 1));
         }
      }
      std::sort(starts.begin(), starts.end());
      starts.erase(std::unique(starts.begin(), starts.end()), starts.end());
      const auto wanted = answer(a.bits().word());
      auto next = std::upper_bound(starts.begin(), starts.end(), a.bits().word());
      auto first = std::prev(next);
      while (first != starts.begin() && answer(*std::prev(first)) == wanted) {
         --first;
      }
      while (next != starts.end() && answer(*next) == wanted) {
         ++next;
      }
      const Word last = next == starts.end() ? static_cast<Word>(~Word{0}) : static_cast<Word>(*next - 1);
      return {Address(Bits(*first)), Address(Bits(last))};
   }

  private:
   using Key = std::pair<typename Bits::Word, unsigned>;
   using Map = std::map<Key, std::uint32_t>;

   static Key keyOf(const P& p) { return {p.bits().word(), p.len()}; }
   static Route routeOf(const typename Map::value_type& entry) {
      return {P::cut(Bits(entry.first.first), entry.first.second), entry.second};
   }
   static bool isUnder(const typename Map::value_type& entry, const P& p) {
      return entry.first.second >= p.len() && Bits(entry.first.first).cut(p.len()) == p.bits();
   }
   std::optional<Route> first(typename Map::const_iterator at) const {
      return at == routes_.end() ? std::nullopt : std::optional(routeOf(*at));
   }

   Map routes_;
   std::array<std::size_t, width + 1> ofLength_{};  // how many there are, to spare searches
};

//--- a table beside its oracle ---

template <class Table>
class TableSession {
  public:
   using P = typename Table::prefix_type;
   using A = typename Table::address_type;
   using T = typename Table::mapped_type;
   using Oracle = TableOracle<P>;
   using Route = typename Oracle::Route;
   using Routes = typename Oracle::Routes;

   Table table;
   Oracle oracle;
   // The question whose answer is spoilt, to see that it is looked at.
   std::string_view spoilt;

   //--- changes, of both ---

   void add(const P& p, std::uint32_t number) {
      const bool isNew = oracle.add(p, NumberIn<T>::cut(number));
      if constexpr (Table::has_values) {
         const auto [at, added] = table.insert({p, NumberIn<T>::valueOf(number)});
         changed("insert", added == isNew && at == table.find(p) && at->prefix == p, p);
      } else {
         const auto [at, added] = table.insert(p);
         changed("insert", added == isNew && *at == p, p);
      }
   }
   void assign(const P& p, std::uint32_t number) {
      if constexpr (Table::has_values) {
         const bool isNew = !oracle.has(p);
         oracle.set(p, NumberIn<T>::cut(number));
         const auto [at, added] = table.insert_or_assign(p, NumberIn<T>::valueOf(number));
         changed("insert_or_assign", added == isNew && routeOf(*at) == *oracle.get(p), p);
      } else {
         add(p, number);
      }
   }
   void update(const P& p, std::uint32_t number) {
      if constexpr (Table::has_values) {
         const auto was = oracle.get(p);
         const std::uint32_t sum = (was ? was->number : 0) + number;
         oracle.set(p, NumberIn<T>::cut(sum));
         const bool created =
            table.update(p, [&](T& value) { value = NumberIn<T>::valueOf(NumberIn<T>::numberOf(value) + number); });
         changed("update", created == !was, p);
      } else {
         add(p, number);
      }
   }
   void remove(const P& p) {
      const bool was = oracle.remove(p);
      changed("erase", table.erase(p) == (was ? 1u : 0u), p);
   }
   void removeAt(const P& p) {
      const auto next = oracle.after(p);
      if (const auto at = table.find(p); at != table.end()) {
         oracle.remove(p);
         changed("erase at an iterator", maybe(table.erase(at)) == next, p);
      }
   }
   void removeCovered(const P& p) {
      const Routes gone = oracle.covered(p);
      for (const Route& route : gone) {
         oracle.remove(route.prefix);
      }
      changed("erase_covered", table.erase_covered(p) == gone.size(), p);
   }
   // Those whose number leaves `rest` when divided by `divisor`.
   void removeEvery(std::uint32_t divisor, std::uint32_t rest) {
      std::size_t gone = 0;
      for (const Route& route : oracle.all()) {
         if (testNumber(route) % divisor == rest) {
            oracle.remove(route.prefix);
            ++gone;
         }
      }
      const auto erased =
         erase_if(table, [&](const auto& route) { return testNumber(routeOf(route)) % divisor == rest; });
      changed("erase_if", erased == gone, P());
   }
   // The same by a test that raises when it is asked about one route more than `most`.
   void removeUntil(std::size_t most, std::uint32_t divisor, std::uint32_t rest) {
      struct Stop {};
      std::size_t asked = 0;
      for (const Route& route : oracle.all()) {
         if (asked++ < most && testNumber(route) % divisor == rest) {
            oracle.remove(route.prefix);
         }
      }
      const bool stops = asked > most;
      asked = 0;
      bool stopped = false;
      try {
         erase_if(table, [&](const auto& route) {
            return asked++ == most ? throw Stop() : testNumber(routeOf(route)) % divisor == rest;
         });
      } catch (const Stop&) {
         stopped = true;
      }
      changed("erase_if that stops", stopped == stops, P());
   }
   void clear() {
      oracle.clear();
      table.clear();
   }

   // What a change answered wrongly, the first time; or nothing.
   const std::string& changeFault() const { return changeFault_; }

   //--- questions ---

   // Everything about the table as a whole: or nothing.
   std::string wholeFault() {
      fault_ = changeFault_;
      const Routes all = oracle.all();
      same("size", Routes(table.size(), Route{}), Routes(all.size(), Route{}));
      same("empty", flag(table.empty()), flag(all.empty()));
      same("walk", listOf(table), all);
      same("walk back", listOf(TestSupport::Between{table.rbegin(), table.rend()}), reversed(all));
      if (fault_.empty()) {
         fault_ = table.audit();
      }
      return fault_;
   }

   // The first question about this prefix, and about the addresses at its ends, that the table answers wrongly; or nothing.
   // Lists longer than `mostListed` are not compared.
   std::string faultAt(const P& p, std::size_t mostListed = ~std::size_t{0}) {
      fault_ = changeFault_;
      asked_ = p;
      const auto exact = oracle.get(p);
      same("contains", flag(table.contains(p)), flag(exact.has_value()));
      same("find", maybe(table.find(p)), exact);
      same("lower_bound", maybe(table.lower_bound(p)), oracle.atOrAfter(p));
      same("upper_bound", maybe(table.upper_bound(p)), oracle.after(p));
      if (const auto before = oracle.before(p)) {
         same("-- from lower_bound", maybe(std::ranges::prev(table.lower_bound(p))), before);
         same("++ to lower_bound", maybe(std::ranges::next(table.find(before->prefix))), oracle.atOrAfter(p));
      }
      const Routes above = oracle.covering(p);
      const bool hasLonger = oracle.countCovered(p, exact ? 2 : 1) > (exact ? 1u : 0u);
      same("parent", maybe(table.parent(p)), last(oracle.shorterCovering(p)));
      same("has_longer", flag(table.has_longer(p)), flag(hasLonger));
      same("overlaps", flag(table.overlaps(p)), flag(hasLonger || !above.empty()));
      askCovering(p, above);
      if (mostListed == ~std::size_t{0} || oracle.countCovered(p, mostListed + 1) <= mostListed) {
         const Routes under = oracle.covered(p);
         same("covered", listOf(table.covered(p)), under);
         same("covered back", listOf(TestSupport::backwards(table.covered(p))), reversed(under));
         const Routes children = oracle.children(p, under);
         same("children", listOf(table.children(p)), children);
         same("children back", listOf(TestSupport::backwards(table.children(p))), reversed(children));
      }
      const auto [first, last] = oracle.endsOf(p);
      askAddress(first, mostListed);
      askAddress(last, mostListed);
      return fault_;
   }

   static Route routeOf(const typename Table::value_type& route) {
      if constexpr (Table::has_values) {
         return {route.prefix, NumberIn<T>::numberOf(route.value)};
      } else {
         return {route, 0};
      }
   }
   std::optional<Route> maybe(const typename Table::iterator& at) const {
      return at == table.end() ? std::nullopt : std::optional(routeOf(*at));
   }

  private:
   // What a test of routes looks at: of a set, their lengths.
   static std::uint32_t testNumber(const Route& route) {
      return Table::has_values ? route.number : static_cast<std::uint32_t>(route.prefix.len());
   }

   template <class X>
   void askCovering(const X& x, const Routes& above) {
      if constexpr (std::is_same_v<X, P>) {
         asked_ = x;
      } else {
         asked_ = routetrie::host_prefix(x);
      }
      same("match", maybe(table.match(x)), last(above));
      same("shortest_match", maybe(table.shortest_match(x)),
           above.empty() ? std::nullopt : std::optional(above.front()));
      same("covering", listOf(table.covering(x)), above);
      same("covering_nearest", listOf(table.covering_nearest(x)), reversed(above));
      same("covering back", listOf(TestSupport::backwards(table.covering(x))), reversed(above));
      same("covering_nearest back", listOf(TestSupport::backwards(table.covering_nearest(x))), above);
      for (const std::uint32_t divisor : {2u, 5u}) {
         const auto passes = [&](const auto& route) { return testNumber(routeOf(route)) % divisor != 0; };
         std::optional<Route> best;
         for (const Route& route : above) {
            if (testNumber(route) % divisor != 0) {
               best = route;
            }
         }
         same("match_if", maybe(table.match_if(x, passes)), best);
         askExplain(table.explain(x, passes), above, best);
      }
      same("match_if that refuses all", maybe(table.match_if(x, [](const auto&) { return false; })), std::nullopt);
      askExplain(table.explain(x), above, last(above));
   }

   void askAddress(const A& a, std::size_t mostListed) {
      const Routes above = oracle.covering(a);
      askCovering(a, above);
      if constexpr (Table::has_values) {
         const T* const value = table.lookup(a);
         same("lookup", value == nullptr ? std::nullopt : std::optional(Route{P(), NumberIn<T>::numberOf(*value)}),
              above.empty() ? std::nullopt : std::optional(Route{P(), above.back().number}));
         const A addresses[] = {a, a};
         const T* values[] = {nullptr, nullptr};
         table.lookup_bulk(addresses, values);
         same("lookup_bulk", flag(values[0] == value && values[1] == value), flag(true));
      }
      if (oracle.size() <= mostListed) {
         const std::optional<routetrie::address_range<A>> range = table.same_answer(a);
         const auto expected = oracle.sameAnswer(a);
         same("same_answer",
              !range ? Routes()
                     : Routes{{routetrie::host_prefix(range->first), 0}, {routetrie::host_prefix(range->last), 0}},
              Routes{{routetrie::host_prefix(expected.first), 0}, {routetrie::host_prefix(expected.second), 0}});
      }
   }

   template <class Explanation>
   void askExplain(const Explanation& why, const Routes& above, const std::optional<Route>& best) {
      Routes found;
      Routes taken;
      bool isTaken = false;
      for (const auto& candidate : why.candidates) {
         found.push_back(routeOf(candidate.route));
         // Shortest first: refused ones are longer than the one taken.
         const auto expected = best && found.back() == *best ? routetrie::verdict::taken
                               : best && !isTaken            ? routetrie::verdict::shorter
                                                             : routetrie::verdict::refused;
         same("verdict", flag(candidate.why == expected), flag(true));
         isTaken = isTaken || candidate.why == routetrie::verdict::taken;
      }
      same("explain", found, above);
      same("explain: taken", why.taken() == nullptr ? std::nullopt : std::optional(routeOf(why.taken()->route)),
           best);
   }

   //--- comparing ---

   static Routes flag(bool is) { return Routes(is ? 1 : 0, Route{}); }
   static Routes list(const std::optional<Route>& route) { return route ? Routes{*route} : Routes(); }
   static std::optional<Route> last(const Routes& routes) {
      return routes.empty() ? std::nullopt : std::optional(routes.back());
   }
   static Routes reversed(Routes routes) {
      std::reverse(routes.begin(), routes.end());
      return routes;
   }
   static std::optional<Route> maybe(const std::optional<typename Table::value_type>& route) {
      return route ? std::optional(routeOf(*route)) : std::nullopt;
   }
   template <class Range>
   static Routes listOf(Range&& range) {
      Routes list;
      for (const auto& route : range) {
         list.push_back(routeOf(route));
      }
      return list;
   }

   void same(std::string_view question, const std::optional<Route>& found, const std::optional<Route>& expected) {
      if (found != expected || question == spoilt) {
         same(question, list(found), list(expected));
      }
   }
   void same(std::string_view question, Routes found, const Routes& expected) {
      if (question == spoilt) {
         found.push_back({});
      }
      if (fault_.empty() && found != expected) {
         fault_ = fmt::format("{} of {}: found {}, expected {}", question,
                              !asked_ ? "all" : fmt::format("{}", *asked_), textOf(found), textOf(expected));
      }
   }
   static std::string textOf(const Routes& routes) {
      std::string text = "(";
      for (const Route& route : routes) {
         text += fmt::format("{}{}={}", text.size() == 1 ? "" : " ", route.prefix, route.number);
      }
      return text + ')';
   }
   void changed(std::string_view change, bool isRight, const P& p) {
      if (changeFault_.empty() && !isRight) {
         changeFault_ = fmt::format("{} of {} answered wrongly", change, p);
      }
   }

   std::string fault_;
   std::string changeFault_;
   std::optional<P> asked_;
};

}  // namespace Property
