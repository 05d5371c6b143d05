// journal: which prefixes of a table have changed since a moment that a reader remembers.
//
//    routetrie::tracked_table<table<int>, journal_tracker> t;
//    t.keep_changes(100'000);
//    auto seen = t.generation();                                 ... and later:
//    if (auto changes = t.changes_since(seen))
//       for (const auto& c : *changes) ...                       c.generation, c.prefix, c.kind; oldest first
//    else                                                        too old: the journal does not reach back so far; read the whole table
//
// Each change of a route has a generation of its own, one more than that before. An entry says that a prefix has changed; what its route
// is now, the table says. It holds as many entries as the user allows, 1024 unless told otherwise, 8 bytes (IPv4) or 18 or 19 each, and
// takes memory only as they come.
// Tested by tests/table/TrackedTableTest.cpp, tests/property/TableTrackedTest.cpp.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

#include "routetrie/table/Kinds.h"

namespace routetrie {

enum class change_kind : unsigned char {
   added,
   changed,  // has another value, or was assigned one
   erased,
};
// "added", "changed", "erased".
ROUTETRIE_EXPORT std::string_view describe(change_kind kind) noexcept;

template <any_prefix P>
struct table_change {
   std::uint64_t generation;
   P prefix;
   change_kind kind;
};

template <class Table, class Self>
class journal_tracker {
   using P = typename Table::prefix_type;
   using Route = typename Table::value_type;
   struct Entry {
      P prefix;
      change_kind kind;
   };

  public:
   class iterator {
     public:
      using value_type = table_change<P>;
      using difference_type = std::ptrdiff_t;
      using reference = value_type;
      using pointer = Impl::Arrow<value_type>;
      using iterator_category = std::input_iterator_tag;
      using iterator_concept = std::forward_iterator_tag;

      iterator() noexcept = default;
      value_type operator*() const noexcept {
         const Entry& entry = of_->at(generation_);
         return {generation_, entry.prefix, entry.kind};
      }
      pointer operator->() const noexcept { return {**this}; }
      iterator& operator++() noexcept {
         ++generation_;
         return *this;
      }
      iterator operator++(int) noexcept {
         iterator before = *this;
         ++*this;
         return before;
      }
      friend bool operator==(const iterator&, const iterator&) noexcept = default;
      friend bool operator==(const iterator& a, std::default_sentinel_t) noexcept { return a.generation_ == a.end_; }

     private:
      friend journal_tracker;
      iterator(const journal_tracker* of, std::uint64_t generation) noexcept
         : of_(of), generation_(generation), end_(of->generation_ + 1) {}
      const journal_tracker* of_ = nullptr;
      std::uint64_t generation_ = 0;
      std::uint64_t end_ = 0;
   };

   // Of the last change; 0 before the first.
   std::uint64_t generation() const noexcept { return generation_; }
   // Those behind that generation, oldest first; a view, which holds until the next change. Nothing if the journal does not reach
   // back so far, or if the table has never had that generation.
   std::optional<answer_range<iterator>> changes_since(std::uint64_t generation) const noexcept {
      if (generation > generation_ || generation_ - generation > entries_.size()) {
         return std::nullopt;
      }
      return answer_range<iterator>(iterator(this, generation + 1));
   }
   // Keeps so many from now on; of those that are there, the newest.
   void keep_changes(std::size_t most) {
      std::vector<Entry> kept;
      const std::size_t count = std::min(most, entries_.size());
      kept.reserve(count);
      for (std::uint64_t generation = generation_ - count; generation++ != generation_;) {
         kept.push_back(at(generation));
      }
      entries_.swap(kept);
      oldest_ = 0;
      most_ = most;
   }
   std::size_t kept_changes() const noexcept { return most_; }

  protected:
   journal_tracker() noexcept = default;
   // The other has lost its routes, and says so to whom had read it.
   journal_tracker(journal_tracker&& other) noexcept
      : generation_(other.generation_++),
        entries_(std::exchange(other.entries_, {})),
        oldest_(std::exchange(other.oldest_, 0)),
        most_(other.most_) {}
   // What it had is gone, too.
   journal_tracker& operator=(journal_tracker&& other) noexcept {
      if (this != &other) {
         generation_ = std::max(generation_, other.generation_) + 1;
         other.generation_ = generation_;
         entries_.clear();
         other.entries_.clear();
         oldest_ = other.oldest_ = 0;
      }
      return *this;
   }
   bool isIdle() const noexcept { return false; }
   bool concerns(const P&) const noexcept { return true; }
   void prepare(const Table&, const P&, const std::optional<Route>&, bool, bool) {
      ++expected_;
      if (const std::size_t needed = std::min(most_, entries_.size() + expected_); needed > entries_.capacity()) {
         entries_.reserve(std::min(most_, std::max(needed, 2 * entries_.capacity())));
      }
   }
   void commit(const P& p, bool existed, const std::optional<Route>& now) noexcept {
      if (existed || now) {
         add({p, !existed ? change_kind::added : now ? change_kind::changed : change_kind::erased});
      }
   }
   void done() noexcept { expected_ = 0; }
   void cancel() noexcept { expected_ = 0; }
   void tell(const Table&) noexcept {}

  private:
   const Entry& at(std::uint64_t generation) const noexcept {
      const std::size_t back = static_cast<std::size_t>(generation_ - generation) + 1;
      return entries_[(oldest_ + entries_.size() - back) % entries_.size()];
   }
   // There is room for it.
   void add(const Entry& entry) noexcept {
      ++generation_;
      if (entries_.size() < most_) {
         entries_.push_back(entry);
      } else if (most_ != 0) {
         entries_[oldest_] = entry;
         oldest_ = (oldest_ + 1) % entries_.size();
      }
   }

   std::uint64_t generation_ = 0;
   std::vector<Entry> entries_;  // a ring once it is full
   std::size_t oldest_ = 0;
   std::size_t most_ = 1024;
   std::size_t expected_ = 0;  // changes that are under way
};

}  // namespace routetrie
