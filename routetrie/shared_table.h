// shared_table: a table that one thread changes while any number of others read, which never wait.
//
//    routetrie::shared_table<int> t;                            of both families; shared_table4, shared_table6 of one
//    t.insert_or_assign("10.0.0.0/8"_prefix, 1);                a writer; several of them take turns
//    t.batch([](auto& w) { w.erase(p);  w.insert({q, 2}); });   seen as one change
//
//    auto reader = t.reader();                                  once a thread
//    if (auto hop = reader.lookup(address)) forward(*hop);      sees one whole version, and keeps it while `hop` is there
//    auto routes = reader.lock();                               one version for as many questions as one likes:
//    for (const auto& [prefix, value] : routes->covered(p)) ... all that a table is asked (routetrie/questions.h)
//
// Versions. Each change, and each batch, makes a version: what it writes is copied first, and the new version is published by storing
// one pointer. So a reader sees all of a change or nothing of it, waits for nobody, and writes nothing but that it is reading, in a line
// of memory of its own thread. That mark costs as much as a lookup where the kernel has no membarrier(2): who has many questions asks them
// under one lock.
//
// A change alone copies the way from the root down to its route, some 2 KB, and takes 4 to 13 times what it takes in a table, and
// more where readers leave no processor free for the thread that finds out that they have gone. A batch copies each part of the
// way once: of changes scattered over a whole Internet table, 100 in a batch take 7 to 12 times what they take in a table each, 10,000
// take 4 to 8 times, on a machine on which single ones take 11 to 18. So put together what comes together.
//
// What becomes of old versions. What a version has and the next has not waits until all who may be reading it have left, which liburcu finds
// out (routetrie/shared/Readers.h), and is then freed by the changes that come after it, a little with each, or by reclaim(). Nobody waits
// for that. A reader that sleeps under a lock holds back all that has been replaced since, so memory grows with each change until it
// leaves: pending_bytes() tells how far. Who wants a version for long takes a snapshot instead: that keeps what it has, and holds back
// nothing else.
//
// Watches, journals and digests that are kept up are of tracked tables (routetrie/tracked_table.h), which one thread has for itself: who
// wants both gives the changes to one of each.
//
// Rules. A reader belongs to the thread that made it, as its answers and locks do; a use on another thread is an assertion. The table
// outlives its readers. What an answer refers to holds as long as the answer, or the lock that it was asked under.
//
// fork(). The parent goes on as before. Of a child that is to go on too, shared_fork() makes it; one of fork(2) itself may ask by a reader
// that its thread had, and leave or become another program, but not change a table or make a reader. In the child the thread that
// forked is alone: it has its readers, changes tables that no other thread was just changing, and starts threads with readers of their own.
// What the parent's other threads were reading is forgotten, but not their handles: of a table that they had readers of the child is not
// the end, so it leaves by _exit().
//
// What raises. A change of one route that raises has changed nothing, nor have clear(), replace(), mark() and snapshot(). One of several
// routes that raises publishes what it had done by then, as one version: insert() of a range, erase_covered(), both erase_if(), both
// merge(), and sweep(), which leaves what they leave in a table; and so does a batch, whatever raises in it. clear() takes memory for the
// table that comes in place of the other, so it may raise std::bad_alloc, as it may not of a plain table.
//
// Needs the library routetrie-shared (CMake's routetrie::shared, pkg-config's routetrie-shared), and that one liburcu.
// Tested by tests/table/SharedTableTest.cpp, tests/property/SharedTableThreadsTest.cpp.
#pragma once

#include <atomic>
#include <concepts>
#include <cstddef>
#include <initializer_list>
#include <iterator>
#include <memory>
#include <mutex>
#include <optional>
#include <ranges>
#include <span>
#include <type_traits>
#include <utility>

#include "routetrie/platform/Corvid/Assert.h"
#include "routetrie/shared/Readers.h"
#include "routetrie/snapshot.h"
#include "routetrie/table.h"
#include "routetrie/table/Publishing.h"

namespace routetrie {

// `Table` is a table<T>, table4<T> or table6<T>.
template <class Table>
class basic_shared_table {
   using T = typename Table::mapped_type;

  public:
   static constexpr bool has_values = Table::has_values;
   using table_type = Table;
   // What is asked: all the questions of a table.
   using questions_type = decltype(Impl::Publishing::versionFor(std::declval<const Table&>()));
   using snapshot_type = decltype(std::declval<Table&>().snapshot());
   using prefix_type = typename Table::prefix_type;
   using address_type = typename Table::address_type;
   using mapped_type = T;
   using size_type = typename Table::size_type;
   using insertable = typename Table::insertable;
   using value_type = typename Table::value_type;
   using token_type = basic_walk_token<prefix_type>;
   using slice_type = erased_slice<prefix_type>;

   class writer;
   class locked;
   template <class Answer>
   class answer;
   class reader_handle;

   // No routes, or those of a table.
   basic_shared_table() : basic_shared_table(Table()) {}
   explicit basic_shared_table(Table routes) : table_(std::move(routes)) {
      needSpare();
      Impl::Publishing::start(table_);
      Record* const record = takeSpare();
      Impl::Publishing::become(record->routes, table_);
      current_.store(record, std::memory_order_release);
      publishStores();
   }
   basic_shared_table(const basic_shared_table&) = delete;
   basic_shared_table& operator=(const basic_shared_table&) = delete;
   ~basic_shared_table() {
      ROUTETRIE_ASSERT(readers_.load(std::memory_order_acquire) == 0, "a shared table outlives its readers");
      delete current_.load(std::memory_order_relaxed);
   }

   //--- reading ---

   // For the thread that asks for it.
   reader_handle reader() const { return reader_handle(*this); }
   // The routes as they are now, for as long as anybody likes, on any thread. Waits for a writer.
   snapshot_type snapshot() {
      const std::lock_guard guard(writing_);
      return table_.snapshot();
   }

   //--- writing: a version with each; several writers take turns ---

   // Calls changes(w) with a `writer`, which changes as a table does and has table() to be read, and publishes all that it has changed
   // as one version. Returns what `changes` does. That must not call this table, nor keep the writer.
   template <std::invocable<writer&> Changes>
   decltype(auto) batch(Changes&& changes) {
      const std::lock_guard guard(writing_);
      prepare();
      // Also of what raises: it may have moved what it did not change.
      struct AtEnd {
         basic_shared_table& table;
         ~AtEnd() { table.publish(); }
      } const atEnd{*this};
      writer w(*this);
      return std::forward<Changes>(changes)(w);
   }

   // Whether it was added.
   bool insert(const insertable& route) {
      return batch([&](writer& w) { return w.insert(route); });
   }
   bool insert(insertable&& route) {
      return batch([&](writer& w) { return w.insert(std::move(route)); });
   }
   // How many were added; in one version.
   template <std::ranges::input_range R>
   requires(!std::convertible_to<R, insertable>) size_type insert(R&& routes) {
      return batch([&](writer& w) { return w.insert(std::forward<R>(routes)); });
   }
   size_type insert(std::initializer_list<insertable> routes) { return insert(std::span(routes)); }
   template <class... Args>
   requires has_values bool try_emplace(const prefix_type& p, Args&&... args) {
      return batch([&](writer& w) { return w.try_emplace(p, std::forward<Args>(args)...); });
   }
   template <class U>
   requires has_values bool insert_or_assign(const prefix_type& p, U&& value) {
      return batch([&](writer& w) { return w.insert_or_assign(p, std::forward<U>(value)); });
   }
   // Changes a copy of the value, so T has to have one; true if the route was made.
   template <class Change>
   requires has_values bool update(const prefix_type& p, Change&& change) {
      return batch([&](writer& w) { return w.update(p, std::forward<Change>(change)); });
   }
   // The same of a value that is there; false if none is.
   template <class Change>
   requires has_values bool modify(const prefix_type& p, Change&& change) {
      return batch([&](writer& w) { return w.modify(p, std::forward<Change>(change)); });
   }
   // How many went.
   size_type erase(const prefix_type& p) {
      return batch([&](writer& w) { return w.erase(p); });
   }
   size_type erase_covered(const prefix_type& p) {
      return batch([&](writer& w) { return w.erase_covered(p); });
   }
   template <std::predicate<const value_type&> Test>
   size_type erase_if(Test test) {
      return batch([&](writer& w) { return w.erase_if(std::move(test)); });
   }
   // The same in slices, each a version: of the next `budget` routes from a token on, those that pass.
   template <std::predicate<const value_type&> Test>
   slice_type erase_if(Test test, size_type budget, const token_type& from = {}) {
      return batch([&](writer& w) { return w.erase_if(std::move(test), budget, from); });
   }
   // As a table's, with a rule for prefixes that both have or without.
   template <class Source, class... Rule>
   requires std::same_as<std::remove_cvref_t<Source>, Table>
   void merge(Source&& source, Rule&&... rule) {
      batch([&](writer& w) { w.merge(std::forward<Source>(source), rule...); });
   }
   // A mark stays, as in a table.
   void clear() {
      batch([](writer& w) { w.clear(); });
   }
   // Has these routes from now on, and none of those that it had. A mark goes with the routes: that of those it had is gone, and it is
   // marked if `routes` is.
   void replace(Table routes) {
      batch([&](writer& w) { w.replace(std::move(routes)); });
   }

   // Refresh and sweep, as a table's; each slice is a version.
   void mark() {
      const std::lock_guard guard(writing_);
      table_.mark();
   }
   bool is_marked() const noexcept {
      const std::lock_guard guard(writing_);
      return table_.is_marked();
   }
   void unmark() noexcept {
      const std::lock_guard guard(writing_);
      table_.unmark();
   }
   sweep_slice sweep(size_type budget) {
      return batch([&](writer& w) { return w.sweep(budget); });
   }

   //--- memory ---

   // Bytes that have been replaced and are not freed, as readers may have been, or may still be, reading them.
   std::size_t pending_bytes() const noexcept {
      const std::lock_guard guard(writing_);
      return pending();
   }
   // What the newest version and all that is kept for readers and snapshots take. `old` has the latter, and `for_readers` what of that
   // is pending_bytes().
   table_memory memory() const noexcept {
      const std::lock_guard guard(writing_);
      table_memory held = table_.memory();
      held.nodes += sizeof(Record);
      held.free += spareRecords_ * sizeof(Record);
      held.old += oldRecords_ * sizeof(Record);
      replacedTables([&](const Table& t) { held.old += t.memory().total(); });
      held.for_readers = pending();
      return held;
   }
   // As a table's, of the newest version; `old` in their memory is what of nodes, values and indexes waits for readers or is kept for
   // snapshots, and whole tables that wait for readers.
   auto statistics() const {
      const std::lock_guard guard(writing_);
      auto told = table_.statistics();
      replacedTables([&](const Table& t) { Impl::Publishing::addWaiting(told, t); });
      return told;
   }
   // Frees what readers and snapshots have let go, and goes on to find out about the rest. For a writer that has nothing else to do: while
   // there are changes, they do so.
   void reclaim() {
      const std::lock_guard guard(writing_);
      tend(true);
   }
   // The newest version; "" if all is sound.
   auto audit() const {
      const std::lock_guard guard(writing_);
      return table_.audit();
   }

  private:
   struct Record {
      questions_type routes;
      std::optional<Table> replaced;  // a whole table that went with this version
      Record* next = nullptr;
      ~Record() = default;
   };
   // Records by their age, the oldest first.
   struct Records {
      Record* first = nullptr;
      Record* last = nullptr;
      Records() noexcept = default;
      Records(const Records&) = delete;
      Records& operator=(const Records&) = delete;
      ~Records() {
         while (first != nullptr) {
            delete take();
         }
      }
      void add(Record* record) noexcept {
         record->next = nullptr;
         (first == nullptr ? first : last->next) = record;
         last = record;
      }
      Record* take() noexcept { return std::exchange(first, first->next); }
      void swap(Records& other) noexcept {
         std::swap(first, other.first);
         std::swap(last, other.last);
      }
   };
   static constexpr unsigned mostRecordsFreed = 8;        // with one change
   static constexpr std::size_t mostSpares = 4096;        // as many come back at once if no reader sleeps
   static constexpr std::size_t enoughWaits = 384 << 10;  // bytes

   const questions_type* newest() const noexcept { return &current_.load(std::memory_order_acquire)->routes; }
   template <class Visit>
   void stores(Visit&& visit) const {
      Impl::Publishing::stores(table_, visit);
   }
   void publishStores() noexcept {
      stores([](Impl::Store& store) { store.publish(); });
   }
   // All that a publication needs is there before the change.
   void prepare() {
      tend(false);
      needSpare();
   }
   void needSpare() {
      if (spares_.first == nullptr) {
         spares_.add(new Record);
         ++spareRecords_;
      }
   }
   Record* takeSpare() noexcept {
      --spareRecords_;
      return spares_.take();
   }
   void publish() noexcept {
      Record* const record = takeSpare();
      Impl::Publishing::become(record->routes, table_);
      Record* const before = current_.exchange(record, std::memory_order_acq_rel);
      before->replaced = std::exchange(replaced_, std::nullopt);
      open_.add(before);
      ++oldRecords_;
      publishStores();
      close(false);
   }
   // What has been replaced by now waits for those who are reading now, unless something waits already. To wake the thread that waits costs
   // as much as a few changes, so that is put off while little waits: what a processor's own cache has room for.
   void close(bool all) noexcept {
      if (!grace_.isUnderWay() && closed_.first == nullptr && hasOpen() && (all || isEnough())) {
         closed_.swap(open_);
         stores([](Impl::Store& store) { store.close(); });
         grace_.begin();
      }
   }
   // Besides what changes replace, snapshots let go of what readers may still have, with no change.
   bool hasOpen() const noexcept {
      bool has = open_.first != nullptr;
      stores([&](const Impl::Store& store) { has = has || store.hasOpen(); });
      return has;
   }
   bool isEnough() const noexcept {
      std::size_t bytes = oldRecords_ * sizeof(Record);
      stores([&](const Impl::Store& store) { bytes += store.waitingBytes(); });
      return bytes >= enoughWaits || (open_.first != nullptr && open_.last->replaced);
   }
   bool isFreeing() const noexcept {
      bool is = ready_.first != nullptr;
      stores([&](const Impl::Store& store) { is = is || store.isFreeing(); });
      return is;
   }
   void tend(bool all) noexcept {
      for (unsigned freed = 0; ready_.first != nullptr && (all || freed < mostRecordsFreed); ++freed) {
         Record* const record = ready_.take();
         --oldRecords_;
         record->replaced.reset();
         spares_.add(record);
         ++spareRecords_;
         if (spareRecords_ > mostSpares) {
            delete takeSpare();
         }
      }
      if (all) {
         while (spareRecords_ > 1) {
            delete takeSpare();
         }
         stores([](Impl::Store& store) { store.tendAll(); });
      }
      if (!isFreeing() && grace_.isOver()) {
         ready_.swap(closed_);
         stores([](Impl::Store& store) { store.readersHaveGone(); });
         close(all);
         if (all) {
            tend(true);
         }
      } else if (all) {
         close(true);
      }
   }
   std::size_t pending() const noexcept {
      std::size_t bytes = oldRecords_ * sizeof(Record);
      stores([&](const Impl::Store& store) { bytes += store.waitingBytes(); });
      replacedTables([&](const Table& t) { bytes += t.memory().total(); });
      return bytes;
   }
   // Calls visit(table) for each whole table that waits for readers.
   template <class Visit>
   void replacedTables(Visit&& visit) const {
      for (const Records* records : {&open_, &closed_, &ready_}) {
         for (const Record* record = records->first; record != nullptr; record = record->next) {
            if (record->replaced) {
               visit(*record->replaced);
            }
         }
      }
   }
   // Another table takes the place of the one that is changed; with the mark of that one, or with its own.
   void become(Table&& next, bool keepsMark) {
      Impl::Publishing::start(next);
      if (keepsMark) {
         Impl::Publishing::moveMark(table_, next);
      }
      // What was never published goes at once.
      if (!replaced_) {
         replaced_.emplace(std::move(table_));
      }
      table_ = std::move(next);
   }

   mutable std::mutex writing_;
   Table table_;
   std::optional<Table> replaced_;  // by the change under way
   std::atomic<Record*> current_{nullptr};
   mutable std::atomic<std::size_t> readers_{0};
   Records open_;    // replaced since
   Records closed_;  // their readers are waited for
   Records ready_;   // nobody reads them
   Records spares_;  // to be used again
   std::size_t oldRecords_ = 0;
   std::size_t spareRecords_ = 0;
   Impl::Grace grace_;
};

// What a batch changes the table by.
template <class Table>
class basic_shared_table<Table>::writer {
  public:
   writer(const writer&) = delete;
   writer& operator=(const writer&) = delete;

   // With all that the batch has done so far.
   const Table& table() const noexcept { return of_.table_; }

   bool insert(const insertable& route) { return of_.table_.insert(route).second; }
   bool insert(insertable&& route) { return of_.table_.insert(std::move(route)).second; }
   template <std::ranges::input_range R>
   requires(!std::convertible_to<R, insertable>) size_type insert(R&& routes) {
      return of_.table_.insert(std::forward<R>(routes));
   }
   size_type insert(std::initializer_list<insertable> routes) { return of_.table_.insert(routes); }
   template <class... Args>
   requires has_values bool try_emplace(const prefix_type& p, Args&&... args) {
      return of_.table_.try_emplace(p, std::forward<Args>(args)...).second;
   }
   template <class U>
   requires has_values bool insert_or_assign(const prefix_type& p, U&& value) {
      return of_.table_.insert_or_assign(p, std::forward<U>(value)).second;
   }
   template <class Change>
   requires has_values bool update(const prefix_type& p, Change&& change) {
      return of_.table_.update(p, std::forward<Change>(change));
   }
   template <class Change>
   requires has_values bool modify(const prefix_type& p, Change&& change) {
      return of_.table_.modify(p, std::forward<Change>(change));
   }
   size_type erase(const prefix_type& p) { return of_.table_.erase(p); }
   size_type erase_covered(const prefix_type& p) { return of_.table_.erase_covered(p); }
   template <std::predicate<const value_type&> Test>
   size_type erase_if(Test test) {
      return Impl::Publishing::eraseIf(of_.table_, std::move(test));
   }
   template <std::predicate<const value_type&> Test>
   slice_type erase_if(Test test, size_type budget, const token_type& from = {}) {
      return Impl::Publishing::eraseIf(of_.table_, std::move(test), budget, from);
   }
   template <class Source, class... Rule>
   requires std::same_as<std::remove_cvref_t<Source>, Table>
   void merge(Source&& source, Rule&&... rule) { of_.table_.merge(std::forward<Source>(source), rule...); }
   void clear() { of_.become(Table(), true); }
   void replace(Table routes) { of_.become(std::move(routes), false); }
   void mark() { of_.table_.mark(); }
   bool is_marked() const noexcept { return of_.table_.is_marked(); }
   void unmark() noexcept { of_.table_.unmark(); }
   sweep_slice sweep(size_type budget) { return of_.table_.sweep(budget); }

  private:
   friend basic_shared_table;
   explicit writer(basic_shared_table& of) noexcept : of_(of) {}

   basic_shared_table& of_;
};

// One version, to be read as long as this is there. It stays where it is made.
template <class Table>
class basic_shared_table<Table>::locked {
  public:
   locked(const locked&) = delete;
   locked& operator=(const locked&) = delete;
   ~locked() { Impl::Readers::leave(); }

   const questions_type& operator*() const noexcept { return *routes_; }
   const questions_type* operator->() const noexcept { return routes_; }
   auto begin() const noexcept { return routes_->begin(); }
   auto end() const noexcept { return routes_->end(); }

  private:
   friend basic_shared_table;
   explicit locked(const basic_shared_table& of) noexcept : routes_((Impl::Readers::enter(), of.newest())) {}

   const questions_type* routes_;
};

// The answer to one question, with the version that it refers to. A value, if there is any: `if (a) ... *a, a->...`; or a range.
template <class Table>
template <class Answer>
class basic_shared_table<Table>::answer {
   static constexpr bool isRange = std::ranges::range<const Answer>;

  public:
   answer(const answer&) = delete;
   answer& operator=(const answer&) = delete;

   explicit operator bool() const noexcept { return static_cast<bool>(answer_); }
   // Requires: there is one.
   const auto& operator*() const noexcept requires(!isRange) { return *answer_; }
   const auto* operator->() const noexcept requires(!isRange) { return std::addressof(*answer_); }

   auto begin() const noexcept requires isRange { return answer_.begin(); }
   auto end() const noexcept requires isRange { return answer_.end(); }
   bool empty() const noexcept requires isRange { return answer_.empty(); }
   auto front() const noexcept requires isRange { return answer_.front(); }

  private:
   friend basic_shared_table;
   template <class Ask>
   answer(const basic_shared_table& of, const Ask& ask) : lock_(of), answer_(ask(*lock_)) {}

   locked lock_;
   Answer answer_;
};

// What a thread reads the table by. Each question sees the newest version.
template <class Table>
class basic_shared_table<Table>::reader_handle {
  public:
   reader_handle(reader_handle&& other) noexcept : of_(std::exchange(other.of_, nullptr)), thread_(other.thread_) {}
   reader_handle& operator=(reader_handle&& other) noexcept {
      std::swap(of_, other.of_);
      std::swap(thread_, other.thread_);
      return *this;
   }
   ~reader_handle() {
      if (of_ != nullptr) {
         of_->readers_.fetch_sub(1, std::memory_order_release);
      }
   }

   locked lock() const noexcept { return locked(table()); }

   size_type size() const noexcept { return lock()->size(); }
   bool empty() const noexcept { return lock()->empty(); }
   bool contains(const prefix_type& p) const noexcept { return lock()->contains(p); }
   bool has_longer(const prefix_type& p) const noexcept { return lock()->has_longer(p); }
   bool overlaps(const prefix_type& p) const noexcept { return lock()->overlaps(p); }
   // With a table, a snapshot, or what another reader has locked.
   template <class Other>
   requires requires(const questions_type& routes, const Other& other) { routes.overlaps(other); }
   bool overlaps(const Other& other) const noexcept { return lock()->overlaps(other); }
   auto same_answer(const address_type& a) const noexcept { return lock()->same_answer(a); }

   auto lookup(const address_type& a) const noexcept requires has_values {
      return ask([&](const auto& routes) { return routes.lookup(a); });
   }
   template <class X>
   auto match(const X& x) const noexcept {
      return ask([&](const auto& routes) { return routes.match(x); });
   }
   template <class X, class Test>
   auto match_if(const X& x, Test&& test) const {
      return ask([&](const auto& routes) { return routes.match_if(x, test); });
   }
   auto parent(const prefix_type& p) const noexcept {
      return ask([&](const auto& routes) { return routes.parent(p); });
   }
   template <class X>
   auto shortest_match(const X& x) const noexcept {
      return ask([&](const auto& routes) { return routes.shortest_match(x); });
   }
   // The route of the prefix itself.
   auto find(const prefix_type& p) const noexcept {
      return ask([&](const auto& routes) {
         const auto at = routes.find(p);
         return at == routes.end() ? std::optional<value_type>() : std::optional<value_type>(*at);
      });
   }
   template <class X>
   auto covering(const X& x) const noexcept {
      return ask([&](const auto& routes) { return routes.covering(x); });
   }
   template <class X>
   auto covering_nearest(const X& x) const noexcept {
      return ask([&](const auto& routes) { return routes.covering_nearest(x); });
   }
   auto covered(const prefix_type& p) const noexcept {
      return ask([&](const auto& routes) { return routes.covered(p); });
   }
   auto children(const prefix_type& p) const noexcept {
      return ask([&](const auto& routes) { return routes.children(p); });
   }

  private:
   friend basic_shared_table;
   explicit reader_handle(const basic_shared_table& of) noexcept : of_(&of), thread_(mark()) {
      Impl::Readers::join();
      of.readers_.fetch_add(1, std::memory_order_relaxed);
   }
   // An address that no other thread has while this one is there.
   static const void* mark() noexcept {
      static thread_local const char here = 0;
      return &here;
   }
   const basic_shared_table& table() const noexcept {
      ROUTETRIE_ASSERT(thread_ == mark(), "a reader is used on the thread that made it");
      return *of_;
   }
   template <class Ask>
   auto ask(const Ask& question) const -> answer<decltype(question(std::declval<const questions_type&>()))> {
      return {table(), question};
   }

   const basic_shared_table* of_;
   const void* thread_;
};

template <class T>
using shared_table = basic_shared_table<table<T>>;
template <class T>
using shared_table4 = basic_shared_table<table4<T>>;
template <class T>
using shared_table6 = basic_shared_table<table6<T>>;

}  // namespace routetrie
