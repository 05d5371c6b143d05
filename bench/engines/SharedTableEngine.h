// SharedTableEngine: the library's shared table of one family with values of four bytes, which are the ids; its one thread asks by a
// reader. In three rows: each change by itself; a hundred changes in a batch; and each by itself beside others that never rest: two
// readers while the routes change, a writer while they are asked.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <optional>
#include <random>
#include <thread>
#include <utility>
#include <vector>

#include "bench/Engine.h"
#include "routetrie/shared_table.h"

namespace Bench {

enum class Beside { nobody, batches, others };

template <class F, Beside beside>
class SharedTableEngine {
   using Table = routetrie::basic_shared_table<routetrie::basic_table<F::width, U32>>;

  public:
   using Key = typename Table::prefix_type;
   using Query = typename Table::address_type;
   using Answer = std::optional<Route<F>>;
   static constexpr std::size_t mostRoutesForUpdates = ~std::size_t{0};

   explicit SharedTableEngine(const Workload<F>&) : reader_(table_.reader()) {}
   SharedTableEngine(const SharedTableEngine&) = delete;
   SharedTableEngine& operator=(const SharedTableEngine&) = delete;
   ~SharedTableEngine() { rest(); }

   static Key key(const Route<F>& route) { return route.prefix(); }
   static Query query(typename F::Bits address) { return Query(address); }

   // Of those that wait for their batch it is taken for granted that they succeed.
   bool insert(const Key& key, U32 id) {
      beginChanges();
      if constexpr (beside == Beside::batches) {
         put({key, id});
         return true;
      } else {
         if (some_.size() < 4096) {
            some_.push_back({key, id});
         }
         return table_.try_emplace(key, id);
      }
   }
   bool erase(const Key& key) {
      beginChanges();
      if constexpr (beside == Beside::batches) {
         put({key, 0});
         return true;
      } else {
         return table_.erase(key) == 1;
      }
   }

   Answer match(const Query& query) const {
      beginQuestions();
      const auto best = reader_.match(query);
      return best ? Answer(Route<F>{best->prefix.bits(), best->prefix.len()}) : std::nullopt;
   }
   U32 lookup(const Query& query) const {
      beginQuestions();
      const auto id = reader_.lookup(query);
      return id ? *id : 0;
   }
   bool exact(const Key& key) const {
      beginQuestions();
      return reader_.contains(key);
   }

   static std::uint64_t token(const Answer& answer) {
      return answer ? tokenOf<F::width>(answer->prefix()) + answer->length : 0;
   }
   static std::optional<Route<F>> route(const Answer& answer, const Workload<F>&) { return answer; }

   // Where a writer never rests while questions are asked, what waits is not what the changes left.
   void sleep() requires(beside != Beside::others) { locked_.reset(new Locked(reader_.lock())); }
   std::uint64_t pendingBytes() const { return table_.pending_bytes(); }
   void wake() {
      locked_.reset();
      table_.reclaim();
   }

   std::uint64_t bytes() const {
      beginQuestions();
      return table_.memory().total() + sizeof table_;
   }

  private:
   using Locked = decltype(std::declval<const typename Table::reader_handle&>().lock());
   struct Change {
      Key key;
      U32 id;  // 0: withdrawn
   };
   static constexpr std::size_t batchSize = 100;

   void put(const Change& change) {
      waiting_.push_back(change);
      if (waiting_.size() == batchSize) {
         flush();
      }
   }
   void flush() const {
      table_.batch([&](auto& w) {
         for (const auto& [key, id] : waiting_) {
            if (id != 0) {
               w.try_emplace(key, id);
            } else {
               w.erase(key);
            }
         }
      });
      waiting_.clear();
   }

   enum class Phase { none, changes, questions };
   void beginChanges() const {
      if (beside == Beside::others && phase_ != Phase::changes) [[unlikely]] {
         rest();
         phase_ = Phase::changes;
         for (unsigned i = 0; i < 2; ++i) {
            others_.emplace_back([this, i] { readOn(i); });
         }
      }
   }
   void beginQuestions() const {
      if (!waiting_.empty()) [[unlikely]] {
         flush();
      }
      if (beside == Beside::others && phase_ != Phase::questions) [[unlikely]] {
         rest();
         phase_ = Phase::questions;
         others_.emplace_back([this] { writeOn(); });
      }
   }
   void rest() const {
      isOver_ = true;
      for (auto& other : others_) {
         other.join();
      }
      others_.clear();
      isOver_ = false;
   }
   void readOn(unsigned seed) const {
      const auto reader = table_.reader();
      std::minstd_rand random(seed + 1);
      std::uint64_t sum = 0;
      while (!isOver_.load(std::memory_order_relaxed)) {
         auto word = static_cast<typename F::Bits::Word>(random());
         if constexpr (F::width == 128) {
            word <<= 96;
         }
         const auto id = reader.lookup(Query(typename F::Bits(word)));
         sum += id ? *id : 0;
      }
      benchmark::DoNotOptimize(sum);
   }
   // Gives routes the values that they have.
   void writeOn() const {
      for (std::size_t i = 0; !isOver_.load(std::memory_order_relaxed); i = i + 1 == some_.size() ? 0 : i + 1) {
         table_.insert_or_assign(some_[i].key, some_[i].id);
      }
   }

   mutable Table table_;
   typename Table::reader_handle reader_;
   std::unique_ptr<Locked> locked_;
   mutable std::vector<Change> waiting_;
   std::vector<Change> some_;
   mutable std::vector<std::thread> others_;
   mutable std::atomic<bool> isOver_{false};
   mutable Phase phase_ = Phase::none;
};

}  // namespace Bench
