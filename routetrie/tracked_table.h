// tracked_table: a table that tells of each of its changes: to a digest, a journal, watches, any of them together.
//
//    routetrie::watched_table<int> t;                                                     watches alone (routetrie/watch.h)
//    routetrie::tracked_table<routetrie::table<int>, digest_tracker, journal_tracker> u;  a digest and a journal
//
// It is asked as the table is that it holds, and changed by the same functions, each of which tells its trackers; table() is the table
// itself, to be read: digest(t.table()), aggregate(t.table()), difference(t.table(), other). It can be moved, and is not copied:
// copies are made of its table.
//
// Why a class of its own: a plain table has no word for who listens, and no branch that asks for one. What its users do not track
// costs them nothing; what is tracked is told at the few doors that changes have, and nobody can pass beside them.
//
//    a change      1. each tracker prepares: it may raise, and then nothing has changed
//                  2. the table changes
//                  3. each tracker commits, which cannot fail
//                  4. each tracker tells whom it has to tell; those may change the table
//
// A batch puts the last step off until its end: who is told then is told once. Operations on several routes (insert of a range,
// erase_covered, erase_if, merge, replace, clear) are batches.
// Tested by tests/table/TrackedTableTest.cpp, tests/property/TableTrackedTest.cpp.
#pragma once

#include <concepts>
#include <cstddef>
#include <initializer_list>
#include <optional>
#include <ranges>
#include <span>
#include <type_traits>
#include <utility>
#include <vector>

#include "routetrie/difference.h"
#include "routetrie/table/Kinds.h"

namespace routetrie {

// `Trackers` are class templates of the table and of the tracked_table that inherits from them; their public functions are its own:
//
//    bool isIdle() const noexcept               nothing is tracked: changes need not be told one by one
//    bool concerns(p) const noexcept            whether a change of the route of `p` has to be told
//    void prepare(table, p, old, stays)         before it: the route as it is, and whether there will be one
//    void commit(p, existed, now) noexcept      behind it: the route as it is now
//    void done() noexcept, cancel() noexcept    behind the commits of one operation; or after prepare(), if there will be none
//    void tell(table)                           at the end, or at the end of the batch
template <Impl::AnyTable Table, template <class, class> class... Trackers>
class tracked_table : public Trackers<Table, tracked_table<Table, Trackers...>>... {
   using T = typename Table::mapped_type;

  public:
   static constexpr bool has_values = Table::has_values;
   using table_type = Table;
   using prefix_type = typename Table::prefix_type;
   using address_type = typename Table::address_type;
   using mapped_type = T;
   using size_type = typename Table::size_type;
   using difference_type = typename Table::difference_type;
   using insertable = typename Table::insertable;
   using value_type = typename Table::value_type;
   using iterator = typename Table::iterator;
   using const_iterator = iterator;
   using reverse_iterator = typename Table::reverse_iterator;
   using token_type = basic_walk_token<prefix_type>;

   tracked_table() = default;
   tracked_table(tracked_table&&) noexcept = default;
   tracked_table& operator=(tracked_table&&) noexcept = default;

   const Table& table() const noexcept { return table_; }

   //--- reading: as the table ---

   size_type size() const noexcept { return table_.size(); }
   bool empty() const noexcept { return table_.empty(); }
   iterator begin() const noexcept { return table_.begin(); }
   iterator end() const noexcept { return table_.end(); }
   reverse_iterator rbegin() const noexcept { return table_.rbegin(); }
   reverse_iterator rend() const noexcept { return table_.rend(); }
   bool contains(const prefix_type& p) const noexcept { return table_.contains(p); }
   iterator find(const prefix_type& p) const noexcept { return table_.find(p); }
   iterator lower_bound(const prefix_type& p) const noexcept { return table_.lower_bound(p); }
   iterator upper_bound(const prefix_type& p) const noexcept { return table_.upper_bound(p); }
   template <class X>
   std::optional<value_type> match(const X& x) const noexcept {
      return table_.match(x);
   }
   template <class X, class Test>
   std::optional<value_type> match_if(const X& x, Test&& test) const {
      return table_.match_if(x, std::forward<Test>(test));
   }
   const T* lookup(const address_type& a) const noexcept requires has_values { return table_.lookup(a); }
   void lookup_bulk(std::span<const address_type> addresses, std::span<const T*> answers) const requires has_values {
      table_.lookup_bulk(addresses, answers);
   }
   std::optional<value_type> parent(const prefix_type& p) const noexcept { return table_.parent(p); }
   template <class X>
   std::optional<value_type> shortest_match(const X& x) const noexcept {
      return table_.shortest_match(x);
   }
   template <class X>
   auto covering(const X& x) const noexcept {
      return table_.covering(x);
   }
   template <class X>
   auto covering_nearest(const X& x) const noexcept {
      return table_.covering_nearest(x);
   }
   auto covered(const prefix_type& p) const noexcept { return table_.covered(p); }
   auto children(const prefix_type& p) const noexcept { return table_.children(p); }
   bool has_longer(const prefix_type& p) const noexcept { return table_.has_longer(p); }
   bool overlaps(const prefix_type& p) const noexcept { return table_.overlaps(p); }
   auto same_answer(const address_type& a) const noexcept { return table_.same_answer(a); }
   template <class X, class... Test>
   auto explain(const X& x, Test&&... test) const {
      return table_.explain(x, std::forward<Test>(test)...);
   }

   auto walk(size_type budget, const token_type& from = {}) const { return table_.walk(budget, from); }
   auto walk_covered(const prefix_type& p, size_type budget) const { return table_.walk_covered(p, budget); }

   //--- writing: as the table ---

   std::pair<iterator, bool> insert(const insertable& route) {
      if constexpr (has_values) {
         return try_emplace(route.first, route.second);
      } else {
         return insertNew(route, [&] { return table_.insert(route); });
      }
   }
   std::pair<iterator, bool> insert(insertable&& route) {
      if constexpr (has_values) {
         return try_emplace(route.first, std::move(route.second));
      } else {
         return insertNew(route, [&] { return table_.insert(route); });
      }
   }
   template <std::ranges::input_range R>
   requires(!std::convertible_to<R, insertable>) size_type insert(R&& routes) {
      const size_type before = size();
      batch([&](tracked_table&) {
         for (auto&& route : routes) {
            if constexpr (!has_values) {
               insert(prefix_type(route));
            } else {
               auto&& [where, what] = route;
               if constexpr (std::is_lvalue_reference_v<decltype(route)> && !Impl::givenAway<R>) {
                  try_emplace(where, what);
               } else {
                  try_emplace(where, std::forward<decltype(what)>(what));
               }
            }
         }
      });
      return size() - before;
   }
   size_type insert(std::initializer_list<insertable> routes) { return insert(std::span(routes)); }
   template <class... Args>
   requires(has_values&& std::is_constructible_v<Impl::ObjectOr<T>, Args...>) std::pair<iterator, bool> try_emplace(
      const prefix_type& p, Args&&... args) {
      return insertNew(p, [&] { return table_.try_emplace(p, std::forward<Args>(args)...); });
   }
   template <class U>
   requires(has_values&& std::is_constructible_v<Impl::ObjectOr<T>, U>&& std::is_assignable_v<Impl::ObjectOr<T>&, U>)
      std::pair<iterator, bool> insert_or_assign(const prefix_type& p, U&& value) {
      const auto apply = [&] { return table_.insert_or_assign(p, std::forward<U>(value)); };
      return isTold(p) ? changeOne(p, routeAt(p), true, apply) : apply();
   }
   template <class Change>
   requires(has_values&& std::invocable<Change, Impl::ObjectOr<T>&>&& std::is_default_constructible_v<T>) bool update(
      const prefix_type& p, Change&& change) {
      const auto apply = [&] { return table_.update(p, std::forward<Change>(change)); };
      return isTold(p) ? changeOne(p, routeAt(p), true, apply) : apply();
   }
   size_type erase(const prefix_type& p) {
      if (!isTold(p)) {
         return table_.erase(p);
      }
      const Route old = routeAt(p);
      return old ? changeOne(p, old, false, [&] { return table_.erase(p); }) : 0;
   }
   iterator erase(const iterator& at) {
      const prefix_type p = Impl::prefixIn(*at);
      iterator next = at;
      ++next;
      erase(p);
      return next;
   }
   size_type erase_covered(const prefix_type& p) {
      if (isIdle() || !is_prefix(p)) {
         return table_.erase_covered(p);
      }
      return changeMany(prefixesOf(table_.covered(p)), false, [&] { return table_.erase_covered(p); });
   }
   template <std::predicate<const value_type&> Test>
   friend size_type erase_if(tracked_table& t, Test test) {
      if (t.isIdle()) {
         return erase_if(t.table_, std::move(test));
      }
      std::vector<prefix_type> list;
      for (const auto& route : t.table_) {
         if (test(route)) {
            list.push_back(Impl::prefixIn(route));
         }
      }
      return t.eraseAll(list);
   }
   // The same in slices (routetrie/walk_page.h), of which each is told by itself.
   template <std::predicate<const value_type&> Test>
   friend erased_slice<prefix_type> erase_if(tracked_table& t, Test test, size_type budget,
                                             const token_type& from = {}) {
      erased_slice<prefix_type> slice;
      std::vector<prefix_type> list;
      auto page = t.table_.walk(budget, from);
      for (const auto& route : page) {
         if (test(route)) {
            list.push_back(Impl::prefixIn(route));
         }
      }
      slice.next = page.next();
      slice.erased = t.eraseAll(list);
      return slice;
   }
   void clear() {
      if (isIdle()) {
         table_.clear();
      } else {
         changeMany(prefixesOf(table_), false, [&] { table_.clear(); });
      }
   }
   // Takes over what has no route here, as a table does, from a table or a tracked one.
   void merge(Table& source) {
      if (isIdle()) {
         table_.merge(source);
         return;
      }
      std::vector<prefix_type> list;
      for (const auto& route : source) {
         if (!table_.contains(Impl::prefixIn(route))) {
            list.push_back(Impl::prefixIn(route));
         }
      }
      changeMany(list, true, [&] { table_.merge(source); });
   }
   void merge(Table&& source) { merge(source); }
   template <class Rule>
   requires has_values void merge(Table& source, Rule&& rule) {
      if (isIdle()) {
         table_.merge(source, rule);
      } else {
         changeMany(prefixesOf(source), true, [&] { table_.merge(source, rule); });
      }
   }
   template <class Rule>
   requires has_values void merge(Table&& source, Rule&& rule) { merge(source, rule); }
   // Has the routes of `next` from now on, as one change: what is the same in both is not told. What it had goes to `next`.
   template <class Equal = std::equal_to<>>
   void replace(Table& next, const Equal& equal = {}) {
      if (isIdle()) {
         table_.swap(next);
         return;
      }
      std::vector<prefix_type> list;
      for (const auto& d : difference(table_, next, equal)) {
         list.push_back(d.prefix);
      }
      changeMany(
         list, [&](const prefix_type& p) { return next.contains(p); }, [&] { table_.swap(next); });
   }
   template <class Equal = std::equal_to<>>
   void replace(Table&& next, const Equal& equal = {}) {
      replace(next, equal);
   }

   // Refresh and sweep, as the table (routetrie/refresh.h): who is to be told is told of what each slice erases.
   void mark() { table_.mark(); }
   bool is_marked() const noexcept { return table_.is_marked(); }
   void unmark() noexcept { table_.unmark(); }
   sweep_slice sweep(size_type budget) {
      if (isIdle()) {
         return table_.sweep(budget);
      }
      return changeMany(table_.untouched(budget), false, [&] { return table_.sweep(budget); });
   }
   auto untouched(size_type budget) const { return table_.untouched(budget); }

   // Calls `changes` with this table; who is to be told of what it changes is told when it is over, once, and not at all where
   // everything is as it was. What it raises is raised; what it had changed stays changed, and is told. Batches may be nested.
   template <std::invocable<tracked_table&> Changes>
   void batch(Changes&& changes) {
      ++depth_;
      try {
         std::forward<Changes>(changes)(*this);
      } catch (...) {
         --depth_;
         told();
         throw;
      }
      --depth_;
      told();
   }

   // The routes as they are now; within a batch, as it has left them so far.
   auto snapshot() { return table_.snapshot(); }
   void reclaim() noexcept { table_.reclaim(); }

   auto audit() const { return table_.audit(); }
   auto dump() const { return table_.dump(); }
   auto statistics() const { return table_.statistics(); }
   auto memory() const noexcept { return table_.memory(); }

  private:
   using Route = std::optional<value_type>;

   template <class Range>
   static std::vector<prefix_type> prefixesOf(const Range& routes) {
      std::vector<prefix_type> list;
      for (const auto& route : routes) {
         list.push_back(Impl::prefixIn(route));
      }
      return list;
   }
   Route routeAt(const prefix_type& p) const noexcept {
      const auto at = table_.find(p);
      return at == table_.end() ? std::nullopt : Route(*at);
   }

   bool isIdle() const noexcept { return (this->Trackers<Table, tracked_table>::isIdle() && ...); }
   bool isTold(const prefix_type& p) const noexcept {
      return !isIdle() && is_prefix(p) && (this->Trackers<Table, tracked_table>::concerns(p) || ...);
   }
   void prepare(const prefix_type& p, const Route& old, bool stays) {
      (this->Trackers<Table, tracked_table>::prepare(table_, p, old, stays), ...);
   }
   void commit(const prefix_type& p, bool existed, const Route& now) noexcept {
      (this->Trackers<Table, tracked_table>::commit(p, existed, now), ...);
   }
   void done() noexcept { (this->Trackers<Table, tracked_table>::done(), ...); }
   void cancel() noexcept { (this->Trackers<Table, tracked_table>::cancel(), ...); }
   void told() {
      if (depth_ == 0) {
         (this->Trackers<Table, tracked_table>::tell(table_), ...);
      }
   }

   // Of routes that are there.
   size_type eraseAll(const std::vector<prefix_type>& list) {
      return changeMany(list, false, [&] {
         for (const prefix_type& p : list) {
            table_.erase(p);
         }
         return list.size();
      });
   }
   template <class Apply>
   auto insertNew(const prefix_type& p, Apply&& apply) -> decltype(apply()) {
      if (!isTold(p)) {
         return apply();
      }
      // One that is there is touched, and nothing else.
      return table_.contains(p) ? apply() : changeOne(p, std::nullopt, true, apply);
   }
   // `apply` changes the route of `p`, which is `old`, and no other, or raises and changes nothing.
   template <class Apply>
   auto changeOne(const prefix_type& p, const Route& old, bool stays, Apply&& apply) -> decltype(apply()) {
      const bool existed = old.has_value();
      const auto run = [&] {
         try {
            prepare(p, old, stays);
            return apply();
         } catch (...) {
            cancel();
            throw;
         }
      };
      auto result = run();
      if (!stays) {
         commit(p, existed, std::nullopt);
      } else if constexpr (std::same_as<decltype(result), std::pair<iterator, bool>>) {
         commit(p, existed, *result.first);
      } else {
         commit(p, existed, routeAt(p));
      }
      done();
      told();
      return result;
   }
   // `apply` changes the routes of these prefixes and no others; if it raises, of some of them.
   template <class Stays, class Apply>
   auto changeMany(const std::vector<prefix_type>& list, const Stays& stays, Apply&& apply) -> decltype(apply()) {
      std::vector<bool> existed;
      try {
         existed.reserve(list.size());
         for (const prefix_type& p : list) {
            const Route old = routeAt(p);
            existed.push_back(old.has_value());
            if constexpr (std::same_as<Stays, bool>) {
               prepare(p, old, stays);
            } else {
               prepare(p, old, stays(p));
            }
         }
      } catch (...) {
         cancel();
         throw;
      }
      const auto end = [&] {
         for (std::size_t i = 0; i < list.size(); ++i) {
            commit(list[i], existed[i], routeAt(list[i]));
         }
         done();
      };
      const auto run = [&] {
         try {
            return apply();
         } catch (...) {
            end();
            told();
            throw;
         }
      };
      if constexpr (std::is_void_v<decltype(apply())>) {
         run();
         end();
         told();
      } else {
         auto result = run();
         end();
         told();
         return result;
      }
   }

   Table table_;
   unsigned depth_ = 0;  // of batches
};

}  // namespace routetrie
