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
#include <functional>
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
//    void prepare(table, p, old, stays, told)   before it: the route as it is, whether there will be one, and whether who is told of
//                                               changes hears of this one, as of all but some of replace()
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
   // Of both families: the routes of one.
   const auto& v4() const noexcept requires Impl::TableOfBoth<Table> { return table_.v4(); }
   const auto& v6() const noexcept requires Impl::TableOfBoth<Table> { return table_.v6(); }

   //--- reading: as the table ---

   size_type size() const noexcept { return table_.size(); }
   bool empty() const noexcept { return table_.empty(); }
   iterator begin() const noexcept { return table_.begin(); }
   iterator end() const noexcept { return table_.end(); }
   iterator cbegin() const noexcept { return begin(); }
   iterator cend() const noexcept { return end(); }
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
   // With a table, a snapshot of one, or another tracked one.
   template <class Other>
   requires requires(const Table& t, const Other& other) { t.overlaps(Impl::routesIn(other)); }
   bool overlaps(const Other& other) const noexcept { return table_.overlaps(Impl::routesIn(other)); }
   auto same_answer(const address_type& a) const noexcept { return table_.same_answer(a); }
   template <class X, class... Test>
   auto explain(const X& x, Test&&... test) const {
      return table_.explain(x, std::forward<Test>(test)...);
   }

   // The same routes and, where there are values, equal ones; who tracks them is no part of it.
   friend bool operator==(const tracked_table& a, const tracked_table& b) requires requires(const Table& t) {
      t == t;
   }
   { return a.table_ == b.table_; }
   friend bool operator==(const tracked_table& a, const Table& b) requires requires(const Table& t) { t == t; }
   { return a.table_ == b; }

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
   template <class Change>
   requires(has_values&& std::invocable<Change, Impl::ObjectOr<T>&>) bool modify(const prefix_type& p,
                                                                                 Change&& change) {
      const auto apply = [&] { return table_.modify(p, std::forward<Change>(change)); };
      if (!isTold(p)) {
         return apply();
      }
      const Route old = routeAt(p);
      return old ? changeOne(p, old, true, apply) : false;
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
   // Takes over what has no route here, as a table does, from a table or a tracked one, which tells of what goes from it.
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
   template <template <class, class> class... Others>
   void merge(tracked_table<Table, Others...>& source) {
      mergeTracked(source, [&](const prefix_type& p) { return !table_.contains(p); });
   }
   template <template <class, class> class... Others>
   void merge(tracked_table<Table, Others...>&& source) {
      merge(source);
   }
   template <template <class, class> class... Others, class Rule>
   requires has_values void merge(tracked_table<Table, Others...>& source, Rule&& rule) {
      mergeTracked(
         source, [](const prefix_type&) { return true; }, rule);
   }
   template <template <class, class> class... Others, class Rule>
   requires has_values void merge(tracked_table<Table, Others...>&& source, Rule&& rule) { merge(source, rule); }
   // Has the routes of `next` from now on, as one change: what is the same in both is not told. What it had goes to `next`.
   //
   // `equal` says which values are the same to who is told: a watch hears nothing of a value in place of one that `equal` finds alike.
   // It is there all the same, so digests and journals follow whatever differs by `equal` or by the values' own ==. A watch that is
   // told later has as `before` what it was told last; one of anything under a prefix has the value that took its place unsaid. Values
   // without an == have `equal` alone, which then has to tell apart what has different digests.
   template <class Equal = std::equal_to<>>
   void replace(Table& next, const Equal& equal = {}) {
      if (isIdle()) {
         table_.swap(next);
         return;
      }
      std::vector<prefix_type> list;
      std::vector<bool> isTold;
      if constexpr (has_values && std::equality_comparable<Impl::ObjectOr<T>> &&
                    !std::same_as<Equal, std::equal_to<>>) {
         const auto areAlike = [&](const T& a, const T& b) { return static_cast<bool>(std::invoke(equal, a, b)); };
         const auto areSame = [&](const T& a, const T& b) { return static_cast<bool>(a == b) && areAlike(a, b); };
         for (const auto& d : difference(table_, next, areSame)) {
            isTold.push_back(!d.before || !d.after || !areAlike(d.before->value, d.after->value));
            list.push_back(d.prefix);
         }
      } else {
         for (const auto& d : difference(table_, next, equal)) {
            list.push_back(d.prefix);
         }
      }
      changeMany(
         list, [&](const prefix_type& p) { return next.contains(p); }, [&] { table_.swap(next); }, isTold);
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
   // Of the table; what watches and a journal keep is not among it.
   auto memory() const noexcept { return table_.memory(); }

  private:
   template <Impl::AnyTable, template <class, class> class...>
   friend class tracked_table;
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
   void prepare(const prefix_type& p, const Route& old, bool stays, bool isTold = true) {
      (this->Trackers<Table, tracked_table>::prepare(table_, p, old, stays, isTold), ...);
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
   // Those routes of `source` of which `goes` says so go, and some come here. Who watches either is told when both have changed.
   template <class Source, class Goes, class... Rule>
   void mergeTracked(Source& source, const Goes& goes, Rule&&... rule) {
      if constexpr (std::same_as<Source, tracked_table>) {
         if (&source == this) {
            return;
         }
      }
      if (isIdle() && source.isIdle()) {
         table_.merge(source.table_, rule...);
         return;
      }
      std::vector<prefix_type> list;
      for (const auto& route : source.table_) {
         if (goes(Impl::prefixIn(route))) {
            list.push_back(Impl::prefixIn(route));
         }
      }
      batch([&](tracked_table&) {
         source.batch([&](Source&) {
            const std::vector<bool> hadTheirs = source.prepareMany(list, false);
            std::vector<bool> hadMine;
            try {
               hadMine = prepareMany(list, true);
            } catch (...) {
               source.cancel();
               throw;
            }
            source.applyMany(list, hadTheirs,
                             [&] { applyMany(list, hadMine, [&] { table_.merge(source.table_, rule...); }); });
         });
      });
   }
   // `apply` changes the routes of these prefixes and no others; if it raises, of some of them. `isTold`: of each; or empty, all are.
   template <class Stays, class Apply>
   auto changeMany(const std::vector<prefix_type>& list, const Stays& stays, Apply&& apply,
                   const std::vector<bool>& isTold = {}) -> decltype(apply()) {
      return applyMany(list, prepareMany(list, stays, isTold), apply);
   }
   // Which of them have a route.
   template <class Stays>
   std::vector<bool> prepareMany(const std::vector<prefix_type>& list, const Stays& stays,
                                 const std::vector<bool>& isTold = {}) {
      std::vector<bool> existed;
      try {
         existed.reserve(list.size());
         for (std::size_t i = 0; i < list.size(); ++i) {
            const prefix_type& p = list[i];
            const Route old = routeAt(p);
            existed.push_back(old.has_value());
            const bool isOne = isTold.empty() || isTold[i];
            if constexpr (std::same_as<Stays, bool>) {
               prepare(p, old, stays, isOne);
            } else {
               prepare(p, old, stays(p), isOne);
            }
         }
      } catch (...) {
         cancel();
         throw;
      }
      return existed;
   }
   template <class Apply>
   auto applyMany(const std::vector<prefix_type>& list, const std::vector<bool>& existed, Apply&& apply)
      -> decltype(apply()) {
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
