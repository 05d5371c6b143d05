// watch: being called when the answer of a table changes.
//
//    routetrie::watched_table<int> t;
//    auto w = t.watch("192.0.2.1"_address, watch_kind::best_match, [](const auto& e) {
//       e.before ... e.after          routes, or nothing: as it was when the watch was last told, and as it is now
//       e.cause, e.changed            what happened, and to which prefix
//    });                              // ends with w
//
//    kind              told when                                                   before and after
//    best_match        the longest route that covers the address or prefix         that route
//                      becomes another one, or has another value
//    exact_route       the route of the prefix comes, goes, or has another value   that route
//    anything_under    the same of any route under the prefix, itself included     the route that changed
//
// watch_if() watches the longest route that passes a test, as match_if() finds it: "is up", say. Whoever knows that something about a
// route has changed that the table does not hold, calls recheck(prefix).
//
// A watch is not told of what is there when it begins, and is not told if nothing has changed: an equal value in place of another (of
// types with ==) is no change, nor is one that replace() is told to take for alike. What is told to one watch is a chain: `before` is
// what `after` was the last time (of anything_under, for each route). In a batch it is told once, at the end, of a route that is no
// longer what it was.
//
// A function may do anything but destroy or move the table: change it, watch more, end watches, its own too. Changes that it makes are
// told when it has returned, to each watch with the answer as it is by then. `before` and `after` are copies, which hold as long as
// the call. Watches are called in the order in which they were found to be concerned; of one change, best matches first, then
// exact routes, then anything under. What a function raises is raised by the change that it was told of, when all others have been
// told; that change is made all the same. If memory runs out while watches are told, the rest of them is told behind the next change.
//
// A change costs a look whether a watch lies under or over its prefix, and what those cost that do; how many watches there are does not
// matter. A table without watches pays for one branch.
// Tested by tests/table/WatchTest.cpp, tests/property/TableTrackedTest.cpp.
#pragma once

#include <algorithm>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <exception>
#include <functional>
#include <initializer_list>
#include <map>
#include <memory>
#include <optional>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

#include "routetrie/platform/Corvid/Assert.h"
#include "routetrie/table/Kinds.h"
#include "routetrie/table/PrefixFilter.h"
#include "routetrie/tracked_table.h"

namespace routetrie {

enum class watch_kind : unsigned char { best_match, exact_route, anything_under };

enum class watch_cause : unsigned char {
   added,    // the route of `changed`
   changed,  // its value
   erased,
   rechecked,  // by recheck(changed)
   several,    // of these, since the last time; `changed` is the first
};
// "added", "changed", "erased", "rechecked", "several changes".
ROUTETRIE_EXPORT std::string_view describe(watch_cause cause) noexcept;

template <class Table>
struct watch_event {
   using prefix_type = typename Table::prefix_type;
   using route_type = typename Table::value_type;

   prefix_type watched;  // an address as its /32 or /128
   std::optional<route_type> before;
   std::optional<route_type> after;
   watch_cause cause;
   prefix_type changed;
};

namespace Impl {

// What ends a watch, whatever its table.
class WatchesBase {
  public:
   virtual void end(std::uint32_t number) noexcept = 0;

  protected:
   ~WatchesBase() = default;
};

inline prefix4 lastHost(const prefix4& p) noexcept { return host_prefix(last_address(p)); }
inline prefix6 lastHost(const prefix6& p) noexcept { return host_prefix(last_address(p)); }
inline prefix lastHost(const prefix& p) noexcept {
   return p.af() == Corenet::AddressFamily::ipv4 ? prefix(lastHost(p.v4Prefix())) : prefix(lastHost(p.v6Prefix()));
}

// A route as it was at a time, with a copy of its value.
template <class P, class T>
struct KeptRoute {
   explicit KeptRoute(const basic_route<P, T>& route) : prefix(route.prefix), value(route.value) {}
   basic_route<P, T> route() const noexcept { return {prefix, value}; }
   bool isEqual(const KeptRoute& other) const {
      if constexpr (std::equality_comparable<T>) {
         return prefix == other.prefix && value == other.value;
      } else {
         return this == &other;
      }
   }
   P prefix;
   T value;
};
template <class P>
struct KeptRoute<P, void> {
   explicit KeptRoute(const P& p) : prefix(p) {}
   const P& route() const noexcept { return prefix; }
   bool isEqual(const KeptRoute& other) const noexcept { return prefix == other.prefix; }
   P prefix;
};

// The watches of one table.
//
// Each knows the route that it was last told: a copy that all watches with this route share, so that they hold a pointer each. So no
// change can tell a wrong `before`, and a change only has to find which watches to look at again. Those are put in a line, once
// each, and at the end of the change or batch are asked in turn what their answer is now.
template <class Table>
class Watches final : public WatchesBase {
  public:
   using P = typename Table::prefix_type;
   using Route = typename Table::value_type;
   using Event = watch_event<Table>;
   using Function = std::function<void(const Event&)>;
   using Test = std::function<bool(const Route&)>;
   using Number = std::uint32_t;

   bool isEmpty() const noexcept { return live_ == 0 && line_.empty(); }
   bool isTelling() const noexcept { return isTelling_; }
   // Whether a change of this prefix's route may matter to one of them. While some are still to be told, all of them may.
   bool concerns(const P& p) const noexcept {
      return !line_.empty() || (atOrUnder_.mayHaveLastStep(p) && isAtOrUnder(p)) ||
             (!under_.empty() && over_.mayHaveAnyStep(p) && under_.match(p));
   }

   Number add(const Table& t, const P& at, watch_kind kind, Function&& tell, Test&& usable) {
      if (free_ == none) {
         watches_.emplace_back();
         free_ = static_cast<Number>(watches_.size() - 1);
      }
      if (atOrUnder_.isFull()) {
         refill(atOrUnder_, {&best_, &tested_, &exact_});
      }
      if (over_.isFull()) {
         refill(over_, {&under_});
      }
      Kept state = kind == watch_kind::anything_under ? nullptr : answer(t, at, kind, usable);
      const Number number = free_;
      Index& index = indexOf(kind, static_cast<bool>(usable));
      const Number head = headAt(index, at);
      if (head == none) {
         try {
            index.insert({at, number});
         } catch (...) {
            release(state);
            throw;
         }
      }
      fill(index, at);
      Watch& w = watches_[number];
      free_ = w.next;
      w.at = at;
      w.kind = kind;
      w.tell = std::move(tell);
      w.usable = std::move(usable);
      w.state = std::move(state);
      w.isLive = true;
      w.next = none;
      w.previous = number;
      if (head != none) {
         w.previous = std::exchange(watches_[head].previous, number);
         watches_[w.previous].next = number;
      }
      ++live_;
      return number;
   }
   void end(Number number) noexcept override {
      Watch& w = watches_[number];
      Index& index = indexOf(w.kind, static_cast<bool>(w.usable));
      const Number head = headAt(index, w.at);
      if (number == head) {
         w.next != none ? (void)index.insert_or_assign(w.at, w.next) : (void)index.erase(w.at);
      } else {
         watches_[w.previous].next = w.next;
      }
      if (w.next != none || number != head) {
         watches_[w.next != none ? w.next : head].previous = w.previous;
      }
      w.isLive = false;
      --live_;
      // It may be the one that is being called, or stand in the line.
      w.next = ended_;
      ended_ = number;
      if (line_.empty()) {
         bury();
      }
   }

   //--- as a tracker

   void prepare(const P& p, const std::optional<Route>& old, bool stays) {
      if (!isOpen_) {
         isOpen_ = true;
         lineBefore_ = line_.size();
      }
      const watch_cause cause = !old ? watch_cause::added : stays ? watch_cause::changed : watch_cause::erased;
      try {
         queue(p, cause, old);
      } catch (...) {
         kept_.erase(p);
         throw;
      }
      kept_.erase(p);  // who comes to know the route from now on knows another one
   }
   // The same of a change that nobody is told of: who comes to know the route from now on knows the new one.
   void prepareUntold(const P& p) noexcept { kept_.erase(p); }
   void done() noexcept { isOpen_ = false; }
   void cancel() noexcept {
      if (isOpen_) {
         while (line_.size() > lineBefore_) {
            leave(line_.back());
            line_.pop_back();
         }
         isOpen_ = false;
      }
   }
   // Puts those with a test under the prefix into the line.
   void recheck(const P& p) {
      for (const auto& [at, first] : tested_.covered(p)) {
         for (Number number = first; number != none; number = watches_[number].next) {
            mark(number, watch_cause::rechecked, p);
         }
      }
   }
   void tell(const Table& t) {
      if (isTelling_ || line_.empty()) {
         return;
      }
      std::exception_ptr raised;
      isTelling_ = true;
      try {
         while (head_ < line_.size()) {
            tellNext(t, raised);
         }
      } catch (...) {
         isTelling_ = false;
         throw;
      }
      isTelling_ = false;
      line_.clear();
      head_ = 0;
      bury();
      if (raised != nullptr) {
         std::rethrow_exception(raised);
      }
   }

  private:
   static constexpr Number none = ~Number{0};
   using Kept = std::shared_ptr<const KeptRoute<P, typename Table::mapped_type>>;
   using Index = TableOfPrefix<P, Number>;  // to the first of the watches of a prefix

   struct Watch {
      P at;
      watch_kind kind = watch_kind::best_match;
      bool isLive = false;
      Number next = none;                   // of the same prefix; of one that is no watch any more, the next such one
      Number previous = none;               // of the same prefix; of the first, the last
      std::size_t place = ~std::size_t{0};  // in the line
      Kept state;                           // what it was told last; not used of anything_under
      Function tell;
      Test usable;
      bool isInLine() const noexcept { return place != ~std::size_t{0}; }
   };
   struct Waiting {
      Number watch;
      watch_cause cause;
      P changed;
      Kept before;  // of anything_under alone
   };

   bool isAtOrUnder(const P& p) const noexcept {
      const auto isUnder = [&](const Index& index) {
         return !index.empty() && (index.contains(p) || index.has_longer(p));
      };
      return isUnder(best_) || isUnder(tested_) || exact_.contains(p);
   }
   void fill(const Index& index, const P& at) noexcept {
      if (&index == &exact_) {
         atOrUnder_.addLastStep(at);
      } else if (&index == &under_) {
         over_.addLastStep(at);
      } else {
         atOrUnder_.addAllSteps(at);
      }
   }
   // Anew, with what has a watch now, in room for twice as much.
   void refill(PrefixFilter& filter, std::initializer_list<const Index*> of) {
      std::size_t entries = 0;
      for (const Index* index : of) {
         entries += index->size() * (index == &exact_ || index == &under_ ? 1 : 5);  // they share most short steps
      }
      filter.refill(std::max<std::size_t>(32, entries), [&] {
         for (const Index* index : of) {
            for (const auto& entry : *index) {
               fill(*index, entry.prefix);
            }
         }
      });
   }
   static Number headAt(const Index& index, const P& p) noexcept {
      const auto at = index.find(p);
      return at == index.end() ? none : (*at).value;
   }
   Index& indexOf(watch_kind kind, bool isTested) noexcept {
      switch (kind) {
         case watch_kind::exact_route: return exact_;
         case watch_kind::anything_under: return under_;
         case watch_kind::best_match: break;
      }
      return isTested ? tested_ : best_;
   }

   // The route as the table has it, in the copy that all have.
   Kept keep(const Route& route) {
      const P& p = prefixIn(route);
      if (const auto at = kept_.find(p); at != kept_.end()) {
         return (*at).value;
      }
      auto made = std::make_shared<const KeptRoute<P, typename Table::mapped_type>>(route);
      kept_.try_emplace(p, made);
      return made;
   }
   // Lets go of it; the copy goes with its last user.
   void release(Kept& kept) noexcept {
      if (kept != nullptr) {
         const auto at = kept_.find(kept->prefix);
         if (at != kept_.end() && (*at).value == kept && kept.use_count() == 2) {
            kept_.erase(kept->prefix);
         }
         kept.reset();
      }
   }
   static bool isSame(const Kept& a, const Kept& b) {
      return a == b || (a != nullptr && b != nullptr && a->isEqual(*b));
   }
   Kept answer(const Table& t, const P& at, watch_kind kind, const Test& usable) {
      std::optional<Route> route;
      if (kind != watch_kind::best_match) {
         if (const auto place = t.find(at); place != t.end()) {
            route.emplace(*place);
         }
      } else {
         route = usable ? t.match_if(at, usable) : t.match(at);
      }
      return route ? keep(*route) : nullptr;
   }

   // Puts into the line who has to look at this change of a route.
   void queue(const P& p, watch_cause cause, const std::optional<Route>& old) {
      for (Index* index : {&best_, &tested_}) {
         for (auto at = index->lower_bound(p); at != index->end() && covers(p, (*at).prefix);) {
            const Watch* settled = nullptr;
            for (Number number = (*at).value; number != none; number = watches_[number].next) {
               const Watch& w = watches_[number];
               if (w.state == nullptr || w.state->prefix.len() <= p.len()) {
                  mark(number, cause, p);
               } else if (!w.isInLine()) {
                  settled = &w;
               }
            }
            // What answers this one covers those behind it, up to its end, so nothing shorter answers these.
            if (index == &best_ && settled != nullptr) {
               at = index->upper_bound(lastHost(settled->state->prefix));
            } else {
               ++at;
            }
         }
      }
      for (Number number = headAt(exact_, p); number != none; number = watches_[number].next) {
         mark(number, cause, p);
      }
      Kept before;
      for (const auto& above : under_.covering(p)) {
         if (old && before == nullptr) {
            before = keep(*old);
         }
         for (Number number = above.value; number != none; number = watches_[number].next) {
            markUnder(number, cause, p, before);
         }
      }
   }
   void mark(Number number, watch_cause cause, const P& p) {
      Watch& w = watches_[number];
      if (w.isInLine()) {
         line_[w.place].cause = watch_cause::several;
      } else {
         line_.push_back({number, cause, p, nullptr});
         w.place = line_.size() - 1;
      }
   }
   void markUnder(Number number, watch_cause cause, const P& p, const Kept& before) {
      const auto [at, isNew] = places_.try_emplace({number, p}, line_.size());
      if (!isNew) {
         line_[at->second].cause = watch_cause::several;
         return;
      }
      try {
         line_.push_back({number, cause, p, before});
      } catch (...) {
         places_.erase(at);
         throw;
      }
   }
   void leave(const Waiting& waiting) noexcept {
      Watch& w = watches_[waiting.watch];
      if (w.kind == watch_kind::anything_under) {
         places_.erase({waiting.watch, waiting.changed});
      } else {
         w.place = ~std::size_t{0};
      }
   }

   // The next one in the line. It stays there if memory runs out.
   void tellNext(const Table& t, std::exception_ptr& raised) {
      Watch& w = watches_[line_[head_].watch];
      const bool isAnyUnder = w.kind == watch_kind::anything_under;
      Kept after;
      if (w.isLive) {
         after = answer(t, isAnyUnder ? line_[head_].changed : w.at, w.kind, w.usable);
      }
      Waiting waiting = std::move(line_[head_]);
      ++head_;
      leave(waiting);
      Kept before = isAnyUnder ? std::move(waiting.before) : w.state;
      if (w.isLive && !isSame(before, after)) {
         if (!isAnyUnder) {
            w.state = after;
         }
         Event event{w.at, std::nullopt, std::nullopt, waiting.cause, waiting.changed};
         if (before != nullptr) {
            event.before.emplace(before->route());
         }
         if (after != nullptr) {
            event.after.emplace(after->route());
         }
         try {
            w.tell(event);
         } catch (...) {
            raised = raised != nullptr ? raised : std::current_exception();
         }
      } else if (w.isLive && !isAnyUnder) {
         w.state = after;  // equal, and from now on the same
      }
      release(before);
      release(after);
   }

   void bury() noexcept {
      while (ended_ != none) {
         const Number number = ended_;
         Watch& w = watches_[number];
         ended_ = w.next;
         release(w.state);
         // What the functions own may end other watches as it goes.
         Function tell = std::move(w.tell);
         Test usable = std::move(w.usable);
         w = Watch();
         w.next = free_;
         free_ = number;
      }
   }

   std::deque<Watch> watches_;
   Number free_ = none;
   Number ended_ = none;
   std::size_t live_ = 0;
   Index best_, tested_, exact_, under_;
   PrefixFilter atOrUnder_;  // where the first three have something
   PrefixFilter over_;       // where the last has
   TableOfPrefix<P, Kept> kept_;
   std::vector<Waiting> line_;
   std::map<std::pair<Number, P>, std::size_t> places_;  // in the line, of anything_under: a watch and a route
   std::size_t head_ = 0;
   std::size_t lineBefore_ = 0;
   bool isOpen_ = false;  // an operation is between prepare() and its end
   bool isTelling_ = false;
};

}  // namespace Impl

// A watch ends with it, at the latest with the table.
class [[nodiscard]] watch_handle {
  public:
   watch_handle() noexcept = default;
   watch_handle(watch_handle&& other) noexcept
      : of_(std::move(other.of_)), number_(std::exchange(other.number_, 0)) {}
   watch_handle& operator=(watch_handle&& other) noexcept {
      watch_handle taken(std::move(other));
      std::swap(of_, taken.of_);
      std::swap(number_, taken.number_);
      return *this;
   }
   ~watch_handle() { end(); }

   // It is not told any more, not even of what has happened already.
   void end() noexcept {
      if (const auto watches = std::exchange(of_, {}).lock()) {
         watches->end(number_);
      }
   }
   // Whether there is a watch that may still be told.
   explicit operator bool() const noexcept { return !of_.expired(); }

  private:
   template <class, class>
   friend class watch_tracker;
   watch_handle(std::weak_ptr<Impl::WatchesBase> of, std::uint32_t number) noexcept
      : of_(std::move(of)), number_(number) {}

   std::weak_ptr<Impl::WatchesBase> of_;
   std::uint32_t number_ = 0;
};

// Lets a tracked_table be watched.
template <class Table, class Self>
class watch_tracker {
   using P = typename Table::prefix_type;
   using A = typename Table::address_type;
   using Route = typename Table::value_type;
   using Watches = Impl::Watches<Table>;

  public:
   using event = watch_event<Table>;

   // Raises std::invalid_argument of what is no prefix.
   template <std::invocable<const event&> Function>
   watch_handle watch(const P& p, watch_kind kind, Function&& tell) {
      return add(p, kind, std::forward<Function>(tell), nullptr);
   }
   template <std::invocable<const event&> Function>
   watch_handle watch(const A& a, watch_kind kind, Function&& tell) {
      return add(host_prefix(a), kind, std::forward<Function>(tell), nullptr);
   }
   // The longest of the routes that pass `test`, which must not change the table.
   template <std::predicate<const Route&> Test, std::invocable<const event&> Function>
   watch_handle watch_if(const P& p, Test&& test, Function&& tell) {
      return add(p, watch_kind::best_match, std::forward<Function>(tell), std::forward<Test>(test));
   }
   template <std::predicate<const Route&> Test, std::invocable<const event&> Function>
   watch_handle watch_if(const A& a, Test&& test, Function&& tell) {
      return watch_if(host_prefix(a), std::forward<Test>(test), std::forward<Function>(tell));
   }
   // The tests may now say something else of the routes of the prefix, or of those under it.
   void recheck(const P& p) {
      if (!isIdle() && is_prefix(p)) {
         static_cast<Self&>(*this).batch([&](Self&) { watches_->recheck(p); });
      }
   }

  protected:
   watch_tracker() noexcept = default;
   watch_tracker(watch_tracker&& other) noexcept = default;
   watch_tracker& operator=(watch_tracker&& other) noexcept = default;
   ~watch_tracker() { ROUTETRIE_ASSERT(!isTelling(), "a table is not destroyed by a function that it calls"); }

   bool isIdle() const noexcept { return watches_ == nullptr || watches_->isEmpty(); }
   bool concerns(const P& p) const noexcept { return !isIdle() && watches_->concerns(p); }
   void prepare(const Table&, const P& p, const std::optional<Route>& old, bool stays, bool isTold) {
      if (!isIdle()) {
         isTold ? watches_->prepare(p, old, stays) : watches_->prepareUntold(p);
      }
   }
   void commit(const P&, bool, const std::optional<Route>&) noexcept {}
   void done() noexcept {
      if (watches_ != nullptr) {
         watches_->done();
      }
   }
   void cancel() noexcept {
      if (watches_ != nullptr) {
         watches_->cancel();
      }
   }
   void tell(const Table& t) {
      if (watches_ != nullptr) {
         watches_->tell(t);
      }
   }

  private:
   bool isTelling() const noexcept { return watches_ != nullptr && watches_->isTelling(); }
   watch_handle add(const P& p, watch_kind kind, typename Watches::Function tell, typename Watches::Test test) {
      if (!is_prefix(p)) {
         Impl::throwNoPrefix();
      }
      if (watches_ == nullptr) {
         watches_ = std::make_shared<Watches>();
      }
      return {watches_, watches_->add(static_cast<Self&>(*this).table(), p, kind, std::move(tell), std::move(test))};
   }

   std::shared_ptr<Watches> watches_;  // comes with the first watch
};

template <class T>
using watched_table = tracked_table<table<T>, watch_tracker>;
template <class T>
using watched_table4 = tracked_table<table4<T>, watch_tracker>;
template <class T>
using watched_table6 = tracked_table<table6<T>, watch_tracker>;

}  // namespace routetrie
