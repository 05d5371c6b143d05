// family_table: routes of one family, a T for each; table4<T> and table6<T>, and route_set4 and route_set6 where T is void.
//
//    routetrie::table4<int> t;
//    t.insert({"10.0.0.0/8"_prefix, 1});                       pair<iterator, bool>
//    t.match("10.1.2.3"_address)->value                        1
//
// What it is asked is told in routetrie/family_questions.h, with what answers refer to and how long that holds. A change with the null
// prefix raises std::invalid_argument.
//
// Strong guarantee: an operation that raises has changed nothing. Those that change several routes, one after the other, have done so with
// the ones before: insert() of a range, erase_covered(), erase_if(), merge() and sweep(). update() and modify() may leave a value
// halfway that cannot be copied. Each tells so where it is declared. A table that was moved from is empty.
//
// Snapshots (routetrie/snapshot.h) stay as the table was. While one is there, changes copy what they are about to write and it has
// seen, so an erase may raise std::bad_alloc as well. A value that cannot be copied and that a snapshot holds is replaced and erased as
// any other, but can not be changed or moved: update() and modify() of it and merge() from its table raise std::logic_error.
//
// Threads: any number may ask at once, as long as nobody changes the table.
// Tested by tests/table/TableTest.cpp, tests/property/TableRandomTest.cpp.
#pragma once

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <initializer_list>
#include <memory>
#include <ranges>
#include <span>
#include <string>
#include <type_traits>
#include <utility>

#include "routetrie/explanation.h"
#include "routetrie/family_questions.h"
#include "routetrie/prefix.h"
#include "routetrie/refresh.h"
#include "routetrie/route.h"
#include "routetrie/snapshot.h"
#include "routetrie/table/Tree.h"
#include "routetrie/table/Values.h"
#include "routetrie/walk_page.h"

namespace routetrie {

template <class T>
class table;

namespace Impl {
struct Publishing;
struct TableFault;
}  // namespace Impl

template <unsigned width, class T>
class basic_table : public basic_questions<width, T> {
   using Questions = basic_questions<width, T>;
   using typename Questions::Bits;
   using typename Questions::Cursor;
   using typename Questions::Tree;
   using typename Questions::Values;
   using Refresh = Impl::Refresh<width>;
   using Touch = Impl::Touch<width>;
   using Questions::forEachPlace;
   using Questions::iteratorAt;
   using Questions::tree_;
   using Questions::values_;

  public:
   static constexpr bool has_values = !std::is_void_v<T>;
   using Questions::begin;
   using Questions::covered;
   using Questions::find;
   using Questions::size;
   using typename Questions::address_type;
   using typename Questions::iterator;
   using typename Questions::mapped_type;
   using typename Questions::prefix_type;
   using typename Questions::size_type;
   using typename Questions::token_type;
   using typename Questions::value_type;
   // What is put in: a prefix and a value; of a set, a prefix.
   using insertable =
      typename std::conditional_t<has_values, std::type_identity<std::pair<prefix_type, Impl::ObjectOr<T>>>,
                                  std::type_identity<prefix_type>>::type;

   //--- construction ---

   basic_table() noexcept = default;
   // Of several routes with one prefix the first is kept, as insert() keeps it.
   template <std::ranges::input_range R>
   requires(!std::same_as<std::remove_cvref_t<R>, basic_table>) explicit basic_table(R&& routes) : basic_table() {
      insert(std::forward<R>(routes));
   }
   basic_table(std::initializer_list<insertable> routes) : basic_table() { insert(routes); }
   basic_table(const basic_table& other) requires(!has_values || std::is_copy_constructible_v<T>)
      : Questions(other.tree_.clone(), Values()) {
      values_.copyFrom(other.values_, other.tree_.isVersioned(), [&](auto&& visit) { other.forEachPlace(visit); });
   }
   basic_table(basic_table&&) noexcept = default;
   basic_table& operator=(const basic_table& other) requires(!has_values || std::is_copy_constructible_v<T>) {
      basic_table copy(other);
      swap(copy);
      return *this;
   }
   basic_table& operator=(basic_table&& other) noexcept {
      if (this != &other) {
         clear();
         unmark();
         swap(other);
      }
      return *this;
   }
   ~basic_table() = default;
   void swap(basic_table& other) noexcept {
      tree_.swap(other.tree_);
      values_.swap(other.values_);
      refresh_.swap(other.refresh_);
   }
   friend void swap(basic_table& a, basic_table& b) noexcept { a.swap(b); }

   //--- writing ---

   // Adds the route if its prefix has none: where it is, and whether it was added.
   std::pair<iterator, bool> insert(const insertable& route) requires(!has_values ||
                                                                      std::is_copy_constructible_v<T>) {
      if constexpr (has_values) {
         return try_emplace(route.first, route.second);
      } else {
         return emplace(route, [](void*) {});
      }
   }
   std::pair<iterator, bool> insert(insertable&& route) {
      if constexpr (has_values) {
         return try_emplace(route.first, std::move(route.second));
      } else {
         return emplace(route, [](void*) {});
      }
   }
   // Adds those whose prefixes have no route: pairs, or routes of a table. How many. Sorted input is faster: a whole Internet table takes a
   // third of the time for IPv4, and half for IPv6. One that raises leaves in the table what came before it.
   template <std::ranges::input_range R>
   requires(!std::convertible_to<R, insertable>) size_type insert(R&& routes) {
      const size_type before = size();
      for (auto&& route : routes) {
         if constexpr (!has_values) {
            insert(prefix_type(route));
         } else {
            // Of a pair that is the caller's, decltype(what) is no reference: to forward it would rob the caller.
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

   // Makes the value in place if the prefix has no route; otherwise leaves the arguments alone.
   template <class... Args>
   requires(has_values&& std::is_constructible_v<Impl::ObjectOr<T>, Args...>) std::pair<iterator, bool> try_emplace(
      const prefix_type& p, Args&&... args) {
      return emplace(p, [&](void* place) { values_.make(place, std::forward<Args>(args)...); });
   }
   template <class U>
   requires(has_values&& std::is_constructible_v<T, U>&& std::is_assignable_v<Impl::ObjectOr<T>&, U>)
      std::pair<iterator, bool> insert_or_assign(const prefix_type& p, U&& value) {
      Touch touch = touchOf(p);
      const auto at = place(
         p, [&](void* bytes) { values_.make(bytes, std::forward<U>(value)); }, true);
      if (!at.created) {
         assignAt(at.value, std::forward<U>(value));
      }
      touch.keep();
      return {iteratorAt(p, at.value), at.created};
   }
   // Finds the value, or makes one as T(), and lets `change` have it as T&; true if it was made. What `change` raises leaves
   // everything as it was, but for a value that was there, cannot be copied, and that `change` left halfway. `change` must not
   // change the table. The value need neither move nor copy.
   template <class Change>
   requires(has_values&& std::invocable<Change, Impl::ObjectOr<T>&>&& std::is_default_constructible_v<T>) bool update(
      const prefix_type& p, Change&& change) {
      Touch touch = touchOf(p);
      const auto at = place(
         p, [&](void* bytes) { values_.makeBy(bytes, std::forward<Change>(change)); }, true);
      if (!at.created) {
         changeAt(at.value, std::forward<Change>(change));
      }
      touch.keep();
      return at.created;
   }

   // The same of a value that is there, and what it raises does the same; false if none is. So it is for values that T() does not make
   // as well.
   template <class Change>
   requires(has_values&& std::invocable<Change, Impl::ObjectOr<T>&>) bool modify(const prefix_type& p,
                                                                                 Change&& change) {
      if (!is_prefix(p)) {
         Impl::throwNoPrefix();
      }
      if (tree_.find(p.bits(), p.len()) == nullptr) {
         return false;
      }
      Touch touch = touchOf(p);
      const auto at = place(
         p, [](void*) {}, true);
      changeAt(at.value, std::forward<Change>(change));
      touch.keep();
      return true;
   }

   // How many routes went: 0 or 1.
   size_type erase(const prefix_type& p) {
      if (!is_prefix(p)) {
         Impl::throwNoPrefix();
      }
      return eraseAt(p.bits(), p.len());
   }
   // The place behind it. Requires: it stands on a route of this table.
   iterator erase(const iterator& at) {
      iterator next = at;
      ++next;
      eraseAt(Questions::cursorOf(at).bits, Questions::cursorOf(at).length);
      return next;
   }
   // All routes under it, itself included. How many. Beside a snapshot an allocation may fail, which leaves the table without those
   // already erased.
   size_type erase_covered(const prefix_type& p) {
      if (!is_prefix(p)) {
         Impl::throwNoPrefix();
      }
      return eraseFrom(covered(p).begin(), [](const value_type&) { return true; });
   }
   // Those that pass. How many. What `test` raises, or an allocation that fails, leaves the table without those already found.
   template <std::predicate<const value_type&> Test>
   friend size_type erase_if(basic_table& t, Test test) {
      return t.eraseFrom(t.begin(), test);
   }
   // The same, what is raised included, in slices: of the next `budget` routes from a token on, those that pass.
   template <std::predicate<const value_type&> Test>
   friend erased_slice<prefix_type> erase_if(basic_table& t, Test test, size_type budget,
                                             const token_type& from = {}) {
      return Impl::eraseSlice(t, test, budget, from);
   }
   // Takes over the routes of `source` whose prefixes have none here; the others stay in `source`. What raises leaves in `source` that
   // route and those behind it, and none is lost.
   void merge(basic_table& source);
   void merge(basic_table&& source) { merge(source); }
   // Takes over all routes of `source`; where both have one, `rule(prefix, mine, theirs)` says what becomes of it: it has mine as T&,
   // theirs as an rvalue, and may leave both alone. What it raises leaves in `source` that route and those behind it.
   template <class Rule>
   requires(has_values&& std::invocable<Rule&, const prefix_type&, Impl::ObjectOr<T>&,
                                        Impl::ObjectOr<T>&&>) void merge(basic_table& source, Rule&& rule) {
      if (&source == this) {
         return;
      }
      for (auto at = source.begin(); at != std::default_sentinel;) {
         const prefix_type p = Impl::prefixOf(*at);
         ++at;
         source.tree_.prepareErase(p.bits(), p.len());
         Touch touch = touchOf(p);
         source.giveAway(p, [&](T&& theirs) {
            const auto mine = place(
               p, [&](void* bytes) { values_.make(bytes, std::move(theirs)); }, true);
            if (!mine.created) {
               changeAt(mine.value, [&](T& value) { std::invoke(rule, p, value, std::move(theirs)); });
            }
         });
         touch.keep();
         source.eraseAt(p.bits(), p.len());
      }
   }
   template <class Rule>
   requires(has_values&& std::invocable<Rule&, const prefix_type&, Impl::ObjectOr<T>&,
                                        Impl::ObjectOr<T>&&>) void merge(basic_table&& source, Rule&& rule) {
      merge(source, rule);
   }

   // The routes as they are now, for as long as anybody likes. Its cost does not grow with the table. std::bad_alloc.
   basic_snapshot<width, T> snapshot() {
      const auto& store = tree_.store();
      if constexpr (Values::haveSlots) {
         if (!store->keepsSlots()) {
            store->keep(values_.keeper());
         }
      }
      auto hold = std::make_shared<const Impl::Hold>(store);
      if constexpr (Values::haveSlots) {
         values_.begin(store->epoch());
      }
      return basic_snapshot<width, T>(tree_.frozen(), values_.frozen(), std::move(hold));
   }
   // Frees what snapshots held that are not there any more; the next changes do so as well, a little with each.
   void reclaim() noexcept {
      if (const auto& store = tree_.storeIfAny(); store != nullptr) {
         store->tendAll();
      }
   }
   void clear() noexcept {
      tree_.clear();
      values_.forget();
      if (refresh_ != nullptr) {
         refresh_->forgetAll();
      }
   }

   //--- refresh and sweep (routetrie/refresh.h) ---

   // From now on it is noted which routes are touched: inserted, assigned or updated, or found by insert() to be there. A mark that
   // is still open is set anew. It goes with the routes when the table is moved or swapped, and stays behind when it is copied.
   void mark() { refresh_ = std::make_unique<Refresh>(); }
   bool is_marked() const noexcept { return refresh_ != nullptr; }
   // Nothing is swept, or no more.
   void unmark() noexcept { refresh_.reset(); }
   // Looks at the next `budget` routes and erases those that were not touched since mark(); the last slice ends the mark. Raises
   // std::logic_error if the table is not marked, std::invalid_argument for a budget of 0. Beside a snapshot an allocation may fail:
   // what is erased stays so, and the next slice goes on with the route that was not.
   sweep_slice sweep(size_type budget) {
      sweep_slice slice;
      slice.done = lookAtNext(budget, [&](Bits bits, unsigned length, bool isTouched) {
         if (!isTouched) {
            slice.erased += eraseAt(bits, length);
         }
         refresh_->pass(bits, length);
      });
      if (slice.done) {
         unmark();
      }
      return slice;
   }
   // What sweep() would erase with that budget, in order. Raises as it does.
   std::vector<prefix_type> untouched(size_type budget) const {
      std::vector<prefix_type> list;
      lookAtNext(budget, [&](Bits bits, unsigned length, bool isTouched) {
         if (!isTouched) {
            list.push_back(Questions::prefixAt(bits, length));
         }
      });
      return list;
   }

   //--- for developers ---

   // Recounts from the nodes: "" if all is sound, else the first broken rule.
   std::string audit() const {
      std::string fault = tree_.audit();
      if (!fault.empty() || refresh_ == nullptr) {
         return fault;
      }
      const Tree& touched = refresh_->touched();
      Cursor cursor;
      for (bool there = touched.first(cursor); there; there = touched.next(cursor)) {
         if (tree_.find(cursor.bits, cursor.length) == nullptr || refresh_->isPassed(cursor.bits, cursor.length)) {
            return "what is noted as touched is not there, or was swept";
         }
      }
      return touched.audit();
   }
   // Routes, nodes and bytes by level, and how deep routes lie, by a pass over all nodes (routetrie/statistics.h).
   table_statistics statistics() const {
      table_statistics statistics = tree_.statistics();
      statistics.memory = memory();
      return statistics;
   }
   // Bytes, by what they are for; the sum is what the allocator handed out. Room for values that lie outside the nodes stays with the
   // table, free, when routes go; clear() gives it back.
   table_memory memory() const noexcept {
      table_memory held = tree_.memory();
      held.values += values_.bytes() - values_.freeBytes();
      held.free += values_.freeBytes();
      if (const auto& store = tree_.storeIfAny(); store != nullptr) {
         held.values -= store->deadBytes(Impl::Store::ofSlots);
      }
      if (refresh_ != nullptr) {
         held += refresh_->memory();
      }
      return held;
   }

  private:
   template <unsigned, class>
   friend class basic_table;
   template <class>
   friend class table;
   friend struct Impl::Publishing;
   friend struct Impl::TableFault;  // breaks what audit() looks at, for its tests

   // Finds the bytes of the value or makes them, in one search. Requires: is_prefix(p).
   template <class Make>
   auto place(const prefix_type& p, Make&& make, bool writes = false) {
      using Function = std::remove_reference_t<Make>;
      return tree_.insert(
         p.bits(), p.len(), [](void* context, void* bytes) { (*static_cast<Function*>(context))(bytes); },
         const_cast<std::remove_const_t<Function>*>(std::addressof(make)), writes);
   }
   // Of a value that is there, at a place that may be written.
   template <class U>
   void assignAt(void* at, U&& value) {
      if constexpr (Values::haveSlots) {
         if (tree_.isVersioned()) [[unlikely]] {
            retire(values_.exchange(at, std::forward<U>(value)));
            return;
         }
      }
      values_.assign(at, std::forward<U>(value));
   }
   template <class Change>
   void changeAt(void* at, Change&& change) {
      if constexpr (Values::haveSlots) {
         if (tree_.isVersioned()) [[unlikely]] {
            retire(values_.exchangeBy(at, std::forward<Change>(change)));
            return;
         }
      }
      values_.change(at, std::forward<Change>(change));
   }
   // Calls take() with the value of a route that is about to go, to be moved from; with a copy, if versions hold it.
   template <class Take>
   void giveAway(const prefix_type& p, Take&& take) {
      const T& value = values_.at(tree_.find(p.bits(), p.len()));
      if (!Values::haveSlots || !tree_.isVersioned()) {
         take(std::move(const_cast<T&>(value)));
      } else if constexpr (std::is_copy_constructible_v<T>) {
         T copy(value);
         take(std::move(copy));
      } else {
         Impl::throwHeldValue();
      }
   }
   void retire(std::uint32_t slot) noexcept { tree_.storeIfAny()->retire(Impl::Store::ofSlots, slot, 1); }
   template <class Make>
   std::pair<iterator, bool> emplace(const prefix_type& p, Make&& make) {
      Touch touch = touchOf(p);
      const auto at = place(p, std::forward<Make>(make));
      touch.keep();
      return {iteratorAt(p, at.value), at.created};
   }
   Touch touchOf(const prefix_type& p) {
      if (!is_prefix(p)) {
         Impl::throwNoPrefix();
      }
      return Touch(refresh_.get(), p.bits(), p.len());
   }
   void forgetTouch(Bits bits, unsigned length) noexcept {
      if (refresh_ != nullptr) [[unlikely]] {
         refresh_->forget(bits, length);
      }
   }
   size_type eraseAt(Bits bits, unsigned length) {
      alignas(8) std::byte old[8];
      if (!tree_.erase(bits, length, Values::haveSlots ? old : nullptr)) {
         return 0;
      }
      forgetTouch(bits, length);
      dropValue(old);
      return 1;
   }
   void dropValue([[maybe_unused]] const void* old) noexcept {
      if constexpr (Values::haveSlots) {
         if (tree_.isVersioned()) [[unlikely]] {
            retire(Values::slotOf(old));
         } else {
            values_.destroy(old);
         }
      }
   }
   // Of the next so many routes that a sweep looks at, each with whether it was touched; `look` may erase it. True if there are no more.
   template <class Look>
   bool lookAtNext(size_type budget, Look&& look) const {
      if (refresh_ == nullptr) {
         Impl::throwNoMark();
      }
      if (budget == 0) {
         Impl::throwNoBudget();
      }
      const auto [bits, length] = refresh_->place();
      Cursor cursor;
      bool there = tree_.seek(cursor, bits, length);
      for (; there && budget != 0; --budget) {
         const Bits at = cursor.bits;
         const unsigned atLength = cursor.length;
         there = tree_.next(cursor);
         look(at, atLength, refresh_->isTouched(at, atLength));
      }
      return !there;
   }
   template <class Iterator, class Test>
   size_type eraseFrom(Iterator at, Test&& test) {
      size_type erased = 0;
      while (at != std::default_sentinel) {
         const value_type route = *at;
         const prefix_type p = Impl::prefixOf(route);
         const bool goes = test(route);
         ++at;
         if (goes) {
            erased += eraseAt(p.bits(), p.len());
         }
      }
      return erased;
   }
   std::unique_ptr<Refresh> refresh_;  // while it is marked
};

template <unsigned width, class T>
void basic_table<width, T>::merge(basic_table& source) {
   if (&source == this) {
      return;
   }
   for (auto at = source.begin(); at != std::default_sentinel;) {
      const prefix_type p = Impl::prefixOf(*at);
      ++at;
      if constexpr (has_values) {
         const auto result = emplace(p, [&](void* place) {
            source.tree_.prepareErase(p.bits(), p.len());
            values_.makeFrom(place, source.values_, source.tree_.find(p.bits(), p.len()), source.tree_.isVersioned());
         });
         if (result.second) {
            source.eraseAt(p.bits(), p.len());
         }
      } else if (emplace(p, [&](void*) { source.tree_.prepareErase(p.bits(), p.len()); }).second) {
         source.eraseAt(p.bits(), p.len());
      }
   }
}

template <class T>
using table4 = basic_table<32, T>;
template <class T>
using table6 = basic_table<128, T>;

}  // namespace routetrie
