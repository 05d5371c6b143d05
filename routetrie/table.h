// table: routes of both families, a T for each, IPv4 before IPv6; a table4 and a table6 behind one face.
//
//    routetrie::table<std::string> t;
//    t.insert({"10.0.0.0/8"_prefix, "ten"});
//    t.insert({"2001:db8::/32"_prefix, "doc"});
//    t.match(routetrie::parse<routetrie::address>(text).value())->value
//
// It is asked and changed as they are (routetrie/family_table.h has the rules: what references and iterators hold, what is
// guaranteed), with addresses and prefixes of either family; those of one family convert. What has no family, an empty address
// or prefix, is as the null prefix is: a change with it raises std::invalid_argument, a question finds none.
//
// Each family is a tree whose nodes stand for six bits of the address. A node is one block of memory, known by a number of 32 bits:
//
//    +-----------------+-----------------+--------------+-------------------------+---------------------------+
//    | 63 bits: routes | 63 bits: routes | 64 bits:     | a number for each child | a value for each route    |
//    | whose next is 0 | whose next is 1 | children     | that is there           | that is there, if up to 8 |
//    |                 |                 |              |                         | bytes, or its slot        |
//    +-----------------+-----------------+--------------+-------------------------+---------------------------+
//
// A lookup goes by an index of the first 18 bits (IPv4) or 24 (IPv6) to the node where they lead, from there down by the children's
// bits, and the longest route is the top bit of one AND. Ways without a choice are compressed to a leaf, which is a route alone, or a
// skip. routetrie/table/Tree.h has the rest: the order of the bits, compressed nodes, the index, what versions share.
//
// Invariants, which audit() checks for each family:
//   1. A node but the root has a route or a child, and one that only leads on is compressed where that spares a node.
//   2. A leaf and a skip begin with the bits that lead to them, and have zeros behind their length.
//   3. A skip leads to a node with a choice: two children or a route.
//   4. A node's block has the size that its routes and children ask for; no two overlap, and one number leads to each.
//   5. The index leads where a descent from the root does, or says nothing.
//   6. size() is the number of routes, and a mark has noted none that is not there.
// Tested by tests/table/BothFamiliesTest.cpp, tests/property/TableRandomTest.cpp.
#pragma once

#include <concepts>
#include <cstddef>
#include <initializer_list>
#include <memory>
#include <ranges>
#include <span>
#include <type_traits>
#include <utility>

#include "routetrie/explanation.h"
#include "routetrie/family_table.h"
#include "routetrie/prefix.h"
#include "routetrie/questions.h"
#include "routetrie/route.h"
#include "routetrie/snapshot.h"

namespace routetrie {

template <class T>
class table : public both_questions<table4<T>, table6<T>> {
   using Table4 = table4<T>;
   using Table6 = table6<T>;
   using Questions = both_questions<Table4, Table6>;
   using Questions::v4_;
   using Questions::v6_;

  public:
   static constexpr bool has_values = !std::is_void_v<T>;
   using Questions::size;
   using typename Questions::iterator;
   using typename Questions::size_type;
   using typename Questions::value_type;
   using insertable =
      typename std::conditional_t<has_values, std::type_identity<std::pair<prefix, Impl::ObjectOr<T>>>,
                                  std::type_identity<prefix>>::type;

   //--- construction ---

   table() noexcept = default;
   template <std::ranges::input_range R>
   requires(!std::same_as<std::remove_cvref_t<R>, table>) explicit table(R&& routes) {
      insert(std::forward<R>(routes));
   }
   table(std::initializer_list<insertable> routes) { insert(routes); }
   // Of the routes of each family.
   table(Table4 v4, Table6 v6) noexcept : Questions(std::move(v4), std::move(v6)) {}
   void swap(table& other) noexcept {
      v4_.swap(other.v4_);
      v6_.swap(other.v6_);
   }
   friend void swap(table& a, table& b) noexcept { a.swap(b); }

   //--- writing ---

   std::pair<iterator, bool> insert(const insertable& route) requires(!has_values ||
                                                                      std::is_copy_constructible_v<T>) {
      if constexpr (has_values) {
         return try_emplace(route.first, route.second);
      } else {
         return change(route, [this](auto& t, const auto& of) { return this->placed(t.insert(of)); });
      }
   }
   std::pair<iterator, bool> insert(insertable&& route) {
      if constexpr (has_values) {
         return try_emplace(route.first, std::move(route.second));
      } else {
         return change(route, [this](auto& t, const auto& of) { return this->placed(t.insert(of)); });
      }
   }
   template <std::ranges::input_range R>
   requires(!std::convertible_to<R, insertable>) size_type insert(R&& routes) {
      const size_type before = size();
      for (auto&& route : routes) {
         if constexpr (!has_values) {
            insert(prefix(route));
         } else {
            // As in a table of one family: what is the caller's is not moved from.
            auto&& [where, what] = route;
            if constexpr (std::is_lvalue_reference_v<decltype(route)> && !Impl::givenAway<R>) {
               try_emplace(where, what);
            } else {
               try_emplace(where, std::forward<decltype(what)>(what));
            }
         }
      }
      return size() - before;
   }
   size_type insert(std::initializer_list<insertable> routes) { return insert(std::span(routes)); }
   template <class... Args>
   requires(has_values&& std::is_constructible_v<Impl::ObjectOr<T>, Args...>) std::pair<iterator, bool> try_emplace(
      const prefix& p, Args&&... args) {
      return change(p,
                    [&](auto& t, const auto& of) { return placed(t.try_emplace(of, std::forward<Args>(args)...)); });
   }
   template <class U>
   requires(has_values&& std::is_constructible_v<Impl::ObjectOr<T>, U>&& std::is_assignable_v<Impl::ObjectOr<T>&, U>)
      std::pair<iterator, bool> insert_or_assign(const prefix& p, U&& value) {
      return change(p,
                    [&](auto& t, const auto& of) { return placed(t.insert_or_assign(of, std::forward<U>(value))); });
   }
   template <class Change>
   requires(has_values&& std::invocable<Change, Impl::ObjectOr<T>&>&& std::is_default_constructible_v<T>) bool update(
      const prefix& p, Change&& how) {
      return change(p, [&](auto& t, const auto& of) { return t.update(of, std::forward<Change>(how)); });
   }
   template <class Change>
   requires(has_values&& std::invocable<Change, Impl::ObjectOr<T>&>) bool modify(const prefix& p, Change&& how) {
      return change(p, [&](auto& t, const auto& of) { return t.modify(of, std::forward<Change>(how)); });
   }
   size_type erase(const prefix& p) {
      return change(p, [](auto& t, const auto& of) { return t.erase(of); });
   }
   iterator erase(const iterator& at) {
      iterator next = at;
      ++next;
      erase(Impl::prefixOf(*at));
      return next;
   }
   size_type erase_covered(const prefix& p) {
      return change(p, [](auto& t, const auto& of) { return t.erase_covered(of); });
   }
   template <std::predicate<const value_type&> Test>
   friend size_type erase_if(table& t, Test test) {
      const auto of = [&](const auto& r) { return test(value_type(Impl::ofEither(r))); };
      const size_type erased = erase_if(t.v4_, of);
      return erased + erase_if(t.v6_, of);
   }
   template <std::predicate<const value_type&> Test>
   friend erased_slice<prefix> erase_if(table& t, Test test, size_type budget, const walk_token& from = {}) {
      return Impl::eraseSlice(t, test, budget, from);
   }
   void merge(table& source) {
      v4_.merge(source.v4_);
      v6_.merge(source.v6_);
   }
   void merge(table&& source) { merge(source); }
   template <class Rule>
   requires(has_values&& std::invocable<Rule&, const prefix&, Impl::ObjectOr<T>&, Impl::ObjectOr<T>&&>) void merge(
      table& source, Rule&& rule) {
      v4_.merge(source.v4_, rule);
      v6_.merge(source.v6_, rule);
   }
   template <class Rule>
   requires(has_values&& std::invocable<Rule&, const prefix&, Impl::ObjectOr<T>&, Impl::ObjectOr<T>&&>) void merge(
      table&& source, Rule&& rule) {
      merge(source, rule);
   }
   // The routes of both families as they are now.
   routetrie::snapshot<T> snapshot() { return {v4_.snapshot(), v6_.snapshot()}; }
   void reclaim() noexcept {
      v4_.reclaim();
      v6_.reclaim();
   }
   void clear() noexcept {
      v4_.clear();
      v6_.clear();
   }

   //--- refresh and sweep, of both families in one ---

   void mark() {
      auto six = std::make_unique<typename Table6::Refresh>();
      v4_.mark();
      v6_.refresh_ = std::move(six);
   }
   bool is_marked() const noexcept { return v4_.is_marked() || v6_.is_marked(); }
   void unmark() noexcept {
      v4_.unmark();
      v6_.unmark();
   }
   sweep_slice sweep(size_type budget) {
      if (!is_marked()) {
         Impl::throwNoMark();
      }
      // A family at a time: the slice that ends the one may be short.
      if (!v4_.is_marked()) {
         return v6_.sweep(budget);
      }
      sweep_slice slice = v4_.sweep(budget);
      slice.done = slice.done && !v6_.is_marked();
      return slice;
   }

   std::vector<prefix> untouched(size_type budget) const {
      if (!is_marked()) {
         Impl::throwNoMark();
      }
      std::vector<prefix> list;
      const auto take = [&](const auto& prefixes) { list.assign(prefixes.begin(), prefixes.end()); };
      v4_.is_marked() ? take(v4_.untouched(budget)) : take(v6_.untouched(budget));
      return list;
   }

   //--- for developers ---

   both_statistics statistics() const { return {v4_.statistics(), v6_.statistics()}; }
   table_memory memory() const noexcept { return v4_.memory() += v6_.memory(); }

  private:
   friend struct Impl::Publishing;

   template <class Change>
   auto change(const prefix& p, Change&& how) {
      switch (p.af()) {
         case Corenet::AddressFamily::ipv4: return how(v4_, p.v4Prefix());
         case Corenet::AddressFamily::ipv6: return how(v6_, p.v6Prefix());
         default: Impl::throwNoPrefix();
      }
   }
   template <class Iterator>
   std::pair<iterator, bool> placed(const std::pair<Iterator, bool>& result) const noexcept {
      return {this->iteratorAt(result.first), result.second};
   }
};

}  // namespace routetrie
