// MeasuredEngine: the loops that are timed, each written once for every engine.
//
// check() compares the answers with the oracle's; tests/bench/MeasuredEngineTest.cpp has engines that answer wrongly.
//
// Updates are timed over the whole table with a clock of their own, which leaves building and destroying out. Lookups
// are timed in blocks. Each run of a lookup goes on in the list of queries where the run before it stopped.
#pragma once

#include <fmt/format.h>
#include <time.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <map>
#include <stdexcept>
#include <string>
#include <vector>

#include "bench/Engine.h"
#include "bench/Measured.h"

namespace Bench {

template <class F, Engine<F> E>
class MeasuredEngine final : public Measured {
  public:
   using Key = typename E::Key;
   using Query = typename E::Query;
   using Answer = typename E::Answer;

   explicit MeasuredEngine(const Workload<F>& work) : work_(work), engine_(work) {
      for (std::size_t i = 0; i < work.routes.size(); ++i) {
         if (!engine_.insert(E::key(work.routes[i]), static_cast<U32>(i + 1))) {
            throw std::runtime_error(fmt::format("route {} was refused", textOf(work.routes[i])));
         }
      }
      // Before keys and queries are made: they may share memory with the table.
      bytes_ = engine_.bytes();
      for (const auto& route : work.routes) {
         keys_.push_back(E::key(route));
      }
      for (const auto address : work.inside) {
         inside_.push_back(E::query(address));
      }
      for (const auto address : work.uniform) {
         uniform_.push_back(E::query(address));
      }
      for (const auto& prefix : work.uniformPrefixes) {
         uniformKeys_.push_back(E::key(prefix));
      }
      // In the order of their use: found by number, each would be another line of memory to wait for.
      for (const U32 at : work.deleteOrder) {
         deleteKeys_.push_back(keys_[at]);
      }
      for (const U32 at : work.asked) {
         askedKeys_.push_back(keys_[at]);
      }
   }

   bool offers(Op op) const override {
      switch (op) {
         case Op::insert:
         case Op::erase: return !isDearToMake<E> && work_.routes.size() <= E::mostRoutesForUpdates;
         case Op::eraseHandle: return ErasesByHandle<E> && work_.routes.size() <= E::mostRoutesForUpdates;
         case Op::lookup:
         case Op::lookupUniform:
         case Op::lookupChain: return AnswersLookup<E> || matchIsLookup<E>;
         case Op::lookupBulk: return AnswersLookupBulk<E> || (matchIsLookup<E> && AnswersBulk<E, F>);
         case Op::matchIf: return AnswersMatchIf<E>;
         case Op::next: return AnswersNext<E>;
         case Op::previous: return AnswersPrevious<E>;
         case Op::children: return AnswersChildren<E>;
         case Op::mixed:
            return (AnswersLookup<E> || matchIsLookup<E>)&&work_.routes.size() <= E::mostRoutesForUpdates &&
                   !losesRoom<E>;
         case Op::updates:
            return !work_.updates.empty() && work_.routes.size() <= E::mostRoutesForUpdates && !losesRoom<E>;
         case Op::churn: return work_.routes.size() <= E::mostRoutesForUpdates && !losesRoom<E>;
         case Op::exact:
         case Op::exactUniform: return AnswersExact<E>;
         case Op::parent: return AnswersParent<E>;
         case Op::longer:
         case Op::longerUniform: return AnswersLonger<E>;
         case Op::walk: return Walks<E>;
         case Op::walkIterator: return Iterates<E>;
         case Op::walkNext: return StepsThrough<E>;
         case Op::compile: return Compiles<E>;
         case Op::snapshot: return TakesSnapshots<E>;
         case Op::sweep: return Sweeps<E>;
         case Op::difference: return FindsDifferences<E>;
         case Op::aggregate: return Aggregates<E>;
         case Op::sleepingReader: return HasReaders<E>;
         case Op::matchBulk:
         case Op::matchBulkUniform: return AnswersBulk<E, F>;
         default: return true;
      }
   }

   void run(Op op, benchmark::State& state) override {
      switch (op) {
         case Op::insert: return insert(state);
         case Op::erase:
            return erase(state, [this](E& engine, std::size_t i) { return engine.erase(deleteKeys_[i]); });
         case Op::eraseHandle: return eraseHandle(state);
         case Op::match: return match(state, inside_);
         case Op::matchUniform: return match(state, uniform_);
         case Op::matchChain: return matchChain(state, inside_);
         case Op::matchChainUniform: return matchChain(state, uniform_);
         case Op::matchBulk: return matchBulk(state, inside_);
         case Op::matchBulkUniform: return matchBulk(state, uniform_);
         case Op::lookup: return lookup(state, inside_);
         case Op::lookupUniform: return lookup(state, uniform_);
         case Op::lookupChain: return lookupChain(state);
         case Op::lookupBulk: return lookupBulk(state);
         case Op::matchIf: return matchIf(state);
         case Op::exact: return exact(state);
         case Op::exactUniform: return exactUniform(state);
         case Op::parent: return parent(state);
         case Op::longer: return longer(state);
         case Op::longerUniform: return longerUniform(state);
         case Op::next: return next(state);
         case Op::previous: return previous(state);
         case Op::children: return children(state);
         case Op::walk: return walk(state);
         case Op::walkIterator: return walkIterator(state);
         case Op::walkNext: return walkNext(state);
         case Op::compile: return compile(state);
         case Op::snapshot: return snapshot(state);
         case Op::sweep: return sweep(state);
         case Op::difference: return difference(state);
         case Op::aggregate: return aggregate(state);
         case Op::sleepingReader: return sleepingReader(state);
         case Op::churn: return churn(state);
         case Op::mixed: return mixed(state);
         case Op::updates: return updates(state);
         case Op::memory: return memory(state);
      }
   }

   std::string check() override {
      for (const auto part :
           {&MeasuredEngine::checkMatch, &MeasuredEngine::checkLookup, &MeasuredEngine::checkBulk,
            &MeasuredEngine::checkPrefixes, &MeasuredEngine::checkRoutes, &MeasuredEngine::checkWalks}) {
         if (auto fault = (this->*part)(); !fault.empty()) {
            return fault;
         }
      }
      return {};
   }

  private:
   static constexpr std::size_t burstSize = 32;
   static_assert(blockSize % burstSize == 0);

   //--- updates ---

   void insert(benchmark::State& state) {
      for (auto _ : state) {
         E engine(work_);
         if (!timed(state, [&] { return insertAll(engine); })) {
            return state.SkipWithError("an insertion was refused");
         }
      }
      opsAre(state, keys_.size());
   }

   template <class EraseOne>
   void erase(benchmark::State& state, EraseOne&& eraseOne) {
      for (auto _ : state) {
         E engine(work_);
         bool ok = insertAll(engine);
         ok &= timed(state, [&] {
            bool all = true;
            for (std::size_t i = 0; i < deleteKeys_.size(); ++i) {
               all &= eraseOne(engine, i);
            }
            return all;
         });
         if (!ok) {
            return state.SkipWithError("an update was refused");
         }
         if (E::route(engine.match(inside_.front()), work_)) {
            return state.SkipWithError("routes are left after all were deleted");
         }
      }
      opsAre(state, keys_.size());
   }

   void eraseHandle(benchmark::State& state) {
      if constexpr (ErasesByHandle<E>) {
         erase(state, [this](E& engine, std::size_t i) { return engine.eraseHandle(work_.deleteOrder[i] + 1); });
      }
   }

   // Of the loaded table, one route after the other. False: it was refused.
   bool withdrawAndAnnounce() {
      const Key& key = deleteKeys_[churnAt_];
      const bool ok = engine_.erase(key);
      const bool isBack = engine_.insert(key, work_.deleteOrder[churnAt_] + 1);
      churnAt_ = churnAt_ + 1 == deleteKeys_.size() ? 0 : churnAt_ + 1;
      return ok && isBack;
   }

   void churn(benchmark::State& state) {
      constexpr std::size_t block = 64;
      bool ok = true;
      for (auto _ : state) {
         for (std::size_t i = 0; i < block; ++i) {
            ok &= withdrawAndAnnounce();
         }
      }
      if (!ok) {
         return state.SkipWithError("an update was refused");
      }
      opsAre(state, block);
   }

   void mixed(benchmark::State& state) {
      if constexpr (AnswersLookup<E> || matchIsLookup<E>) {
         constexpr std::size_t changes = 32;  // half of them withdraw
         constexpr std::size_t lookups = 9;   // to a change
         bool ok = true;
         for (auto _ : state) {
            std::uint64_t sum = 0;
            for (std::size_t i = 0; i < changes; ++i) {
               for (std::size_t j = 0; j < lookups; ++j) {
                  sum += lookedUp(inside_[at_ + i * lookups + j]);
               }
               const Key& key = deleteKeys_[churnAt_];
               if (i % 2 == 0) {
                  ok &= engine_.erase(key);
               } else {
                  ok &= engine_.insert(key, work_.deleteOrder[churnAt_] + 1);
                  churnAt_ = churnAt_ + 1 == deleteKeys_.size() ? 0 : churnAt_ + 1;
               }
            }
            benchmark::DoNotOptimize(sum);
            nextBlock(inside_.size());
         }
         static_assert(changes * lookups <= blockSize);
         if (!ok) {
            return state.SkipWithError("an update was refused");
         }
         opsAre(state, changes * (lookups + 1));
      }
   }

   // The last word on each route tells afterwards whether it was heard.
   void updates(benchmark::State& state) {
      std::vector<Key> keys;
      std::map<Route<F>, bool> isThere;
      for (const auto& update : work_.updates) {
         keys.push_back(E::key(update.route));
         isThere[update.route] = !update.isWithdrawal;
      }
      const auto id = static_cast<U32>(work_.routes.size());
      for (auto _ : state) {
         E engine(work_);
         bool ok = insertAll(engine);
         ok &= timed(state, [&] {
            std::uint64_t done = 0;
            for (std::size_t i = 0; i < keys.size(); ++i) {
               done += work_.updates[i].isWithdrawal ? engine.erase(keys[i]) : engine.insert(keys[i], id);
            }
            benchmark::DoNotOptimize(done);
            return true;
         });
         if constexpr (AnswersExact<E>) {
            for (const auto& [route, there] : isThere) {
               ok &= engine.exact(E::key(route)) == there;
            }
         }
         if (!ok) {
            return state.SkipWithError("an update was refused or lost");
         }
      }
      opsAre(state, keys.size());
   }

   bool insertAll(E& engine) const {
      bool all = true;
      for (std::size_t i = 0; i < keys_.size(); ++i) {
         all &= engine.insert(keys_[i], static_cast<U32>(i + 1));
      }
      return all;
   }

   template <class Work>
   static bool timed(benchmark::State& state, Work&& work) {
      const double start = threadSeconds();
      const bool ok = work();
      state.SetIterationTime(threadSeconds() - start);
      return ok;
   }

   // Seconds that this thread has run: other programs on the machine do not count.
   static double threadSeconds() {
      timespec now{};
      clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
      return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
   }

   //--- lookups ---

   void match(benchmark::State& state, const std::vector<Query>& queries) {
      inBlocks(state, queries, [&](const Query& query) { return E::token(engine_.match(query)); });
   }

   void matchChain(benchmark::State& state, const std::vector<Query>& queries) {
      chain(state, queries, [&](const Query& query) { return E::token(engine_.match(query)); });
   }
   template <class Ask>
   void chain(benchmark::State& state, const std::vector<Query>& queries, Ask&& ask) {
      // A zero that neither the compiler nor the processor can foresee.
      std::uint64_t zero = 0;
      benchmark::DoNotOptimize(zero);
      for (auto _ : state) {
         for (std::size_t i = 0; i < blockSize; ++i) {
            const std::uint64_t token = ask(queries[at_]);
            at_ += 1 + (token & zero);
            at_ = at_ >= queries.size() ? 0 : at_;
         }
      }
      benchmark::DoNotOptimize(at_);
      at_ = at_ / blockSize * blockSize;
      opsAre(state, blockSize);
   }

   void matchBulk(benchmark::State& state, const std::vector<Query>& queries) {
      if constexpr (AnswersBulk<E, F>) {
         std::array<typename E::BulkAnswer, burstSize> answers;
         for (auto _ : state) {
            for (std::size_t i = 0; i < blockSize; i += burstSize) {
               engine_.matchBulk(std::span(queries).subspan(at_ + i, burstSize), answers);
               benchmark::DoNotOptimize(answers);
            }
            nextBlock(queries.size());
         }
         opsAre(state, blockSize);
      }
   }

   U32 lookedUp(const Query& query) const requires(AnswersLookup<E> || matchIsLookup<E>) {
      if constexpr (AnswersLookup<E>) {
         return engine_.lookup(query);
      } else {
         return engine_.match(query);
      }
   }
   void lookup(benchmark::State& state, const std::vector<Query>& queries) {
      if constexpr (AnswersLookup<E> || matchIsLookup<E>) {
         inBlocks(state, queries, [&](const Query& query) { return std::uint64_t{lookedUp(query)}; });
      }
   }
   void lookupChain(benchmark::State& state) {
      if constexpr (AnswersLookup<E> || matchIsLookup<E>) {
         chain(state, inside_, [&](const Query& query) { return std::uint64_t{lookedUp(query)}; });
      }
   }
   void lookupBulk(benchmark::State& state) {
      if constexpr (AnswersLookupBulk<E>) {
         std::array<typename E::LookupAnswer, burstSize> answers;
         for (auto _ : state) {
            std::uint64_t sum = 0;
            for (std::size_t i = 0; i < blockSize; i += burstSize) {
               engine_.lookupBulk(std::span(inside_).subspan(at_ + i, burstSize), answers);
               for (const auto& answer : answers) {
                  sum += E::idOf(answer);
               }
            }
            benchmark::DoNotOptimize(sum);
            nextBlock(inside_.size());
         }
         opsAre(state, blockSize);
      } else {
         matchBulk(state, inside_);
      }
   }
   void matchIf(benchmark::State& state) {
      if constexpr (AnswersMatchIf<E>) {
         inBlocks(state, inside_, [&](const Query& query) { return E::token(engine_.matchIf(query)); });
      }
   }
   void previous(benchmark::State& state) {
      if constexpr (AnswersPrevious<E>) {
         inBlocks(state, askedKeys_, [&](const Key& key) { return E::token(engine_.previous(key)); });
      }
   }
   void children(benchmark::State& state) {
      if constexpr (AnswersChildren<E>) {
         inBlocks(state, askedKeys_, [&](const Key& key) { return engine_.children(key); });
      }
   }
   void exact(benchmark::State& state) {
      if constexpr (AnswersExact<E>) {
         inBlocks(state, askedKeys_, [&](const Key& key) { return std::uint64_t{engine_.exact(key)}; });
      }
   }
   void exactUniform(benchmark::State& state) {
      if constexpr (AnswersExact<E>) {
         inBlocks(state, uniformKeys_, [&](const Key& key) { return std::uint64_t{engine_.exact(key)}; });
      }
   }
   void parent(benchmark::State& state) {
      if constexpr (AnswersParent<E>) {
         inBlocks(state, askedKeys_, [&](const Key& key) { return E::token(engine_.parent(key)); });
      }
   }
   void longer(benchmark::State& state) {
      if constexpr (AnswersLonger<E>) {
         inBlocks(state, askedKeys_, [&](const Key& key) { return std::uint64_t{engine_.longer(key)}; });
      }
   }
   void longerUniform(benchmark::State& state) {
      if constexpr (AnswersLonger<E>) {
         inBlocks(state, uniformKeys_, [&](const Key& key) { return std::uint64_t{engine_.longer(key)}; });
      }
   }

   void next(benchmark::State& state) {
      if constexpr (AnswersNext<E>) {
         inBlocks(state, askedKeys_, [&](const Key& key) { return E::token(engine_.next(key)); });
      }
   }
   void compile(benchmark::State& state) {
      if constexpr (Compiles<E>) {
         eachTime(state, [&] { return engine_.compile(); });
      }
   }
   void walk(benchmark::State& state) {
      if constexpr (Walks<E>) {
         eachTime(state, [&] { return engine_.walk(); });
      }
   }
   void walkIterator(benchmark::State& state) {
      if constexpr (Iterates<E>) {
         eachTime(state, [&] { return engine_.walkIterator(); });
      }
   }
   void walkNext(benchmark::State& state) {
      if constexpr (StepsThrough<E>) {
         eachTime(state, [&] { return engine_.walkNext(); });
      }
   }
   template <class Go>
   void eachTime(benchmark::State& state, const Go& goThrough) {
      for (auto _ : state) {
         std::uint64_t routes = goThrough();
         benchmark::DoNotOptimize(routes);
      }
      opsAre(state, work_.routes.size());
   }

   template <class Item, class Ask>
   void inBlocks(benchmark::State& state, const std::vector<Item>& items, Ask&& ask) {
      for (auto _ : state) {
         std::uint64_t sum = 0;
         for (std::size_t i = 0; i < blockSize; ++i) {
            sum += ask(items[at_ + i]);
         }
         benchmark::DoNotOptimize(sum);
         nextBlock(items.size());
      }
      opsAre(state, blockSize);
   }
   void nextBlock(std::size_t size) {
      at_ += blockSize;
      at_ = at_ >= size ? 0 : at_;
   }

   void snapshot(benchmark::State& state) {
      if constexpr (TakesSnapshots<E>) {
         for (auto _ : state) {
            engine_.snapshot();
         }
         opsAre(state, 1);
      }
   }

   // A tenth is not told again; it is put back afterwards.
   void sweep(benchmark::State& state) {
      if constexpr (Sweeps<E>) {
         const auto goes = [](std::size_t at) { return at % 10 == 0; };
         std::vector<double> slices;
         bool ok = true;
         for (auto _ : state) {
            slices.clear();
            engine_.mark();
            for (std::size_t i = 0; i < keys_.size(); ++i) {
               ok &= goes(i) || !engine_.insert(keys_[i], static_cast<U32>(i + 1));
            }
            for (bool isDone = false; !isDone;) {
               const double start = threadSeconds();
               isDone = engine_.sweep(1000);
               slices.push_back(threadSeconds() - start);
            }
            for (std::size_t i = 0; i < keys_.size(); ++i) {
               ok &= !goes(i) || engine_.insert(keys_[i], static_cast<U32>(i + 1));
            }
         }
         if (!ok) {
            return state.SkipWithError("the sweep took a route that was told again, or left one that was not");
         }
         state.counters["figure"] = slowestToMedian(slices);
      }
   }

   // The walk before it leaves little of what the two share in a near cache. The routes are put back.
   void difference(benchmark::State& state) {
      if constexpr (FindsDifferences<E>) {
         const std::size_t changes = std::min<std::size_t>(1000, (keys_.size() + 1) / 2);
         double walks = 0;
         bool ok = true;
         for (auto _ : state) {
            engine_.keep();
            for (std::size_t i = 0; i < changes; ++i) {
               ok &= engine_.erase(deleteKeys_[i]);
            }
            const double start = threadSeconds();
            ok &= engine_.walk() == keys_.size() - changes;
            const double walked = threadSeconds();
            ok &= engine_.differences() == changes;
            walks = (walked - start) / (threadSeconds() - walked);
            engine_.letGo();
            for (std::size_t i = 0; i < changes; ++i) {
               ok &= engine_.insert(deleteKeys_[i], work_.deleteOrder[i] + 1);
            }
         }
         if (!ok) {
            return state.SkipWithError("not what was changed differs");
         }
         state.counters["figure"] = walks;
      }
   }

   void aggregate(benchmark::State& state) {
      if constexpr (Aggregates<E>) {
         eachTime(state, [&] { return engine_.aggregate(); });
      }
   }

   void sleepingReader(benchmark::State& state) {
      if constexpr (HasReaders<E>) {
         constexpr std::size_t pairs = 10000;
         double bytes = 0;
         bool ok = true;
         for (auto _ : state) {
            engine_.sleep();
            const std::uint64_t before = engine_.pendingBytes();
            for (std::size_t i = 0; i < pairs; ++i) {
               ok &= withdrawAndAnnounce();
            }
            bytes = static_cast<double>(engine_.pendingBytes()) - static_cast<double>(before);
            engine_.wake();
         }
         if (!ok) {
            return state.SkipWithError("an update was refused");
         }
         state.counters["figure"] = bytes / (2 * pairs);
      }
   }

   void memory(benchmark::State& state) {
      for (auto _ : state) {
      }
      state.counters["figure"] = static_cast<double>(bytes_) / static_cast<double>(work_.routes.size());
   }

   static void opsAre(benchmark::State& state, std::size_t perIteration) {
      state.counters["ops"] = static_cast<double>(perIteration);
   }

   //--- comparing with the oracle ---

   std::string checkMatch() {
      for (const auto& [query, match, evenMatch] : work_.addressChecks) {
         if constexpr (AnswersMatchIf<E>) {
            if (const auto got = E::route(engine_.matchIf(E::query(query)), work_); got != evenMatch) {
               return differs("match of an even length", hostRoute<F>(query), textOf(got), textOf(evenMatch));
            }
         }
         if (const auto got = E::route(engine_.match(E::query(query)), work_); got != match) {
            return differs("longest match", hostRoute<F>(query), textOf(got), textOf(match));
         }
      }
      return {};
   }

   // One at a time, and in bursts.
   std::string checkLookup() {
      const auto routeOf = [&](U32 id) {
         return id == 0 ? std::optional<Route<F>>() : std::optional(work_.routeOf(id));
      };
      for (const auto& [query, match, evenMatch] : work_.addressChecks) {
         if constexpr (AnswersLookup<E>) {
            if (const auto got = routeOf(engine_.lookup(E::query(query))); got != match) {
               return differs("lookup", hostRoute<F>(query), textOf(got), textOf(match));
            }
         }
         if constexpr (AnswersLookupBulk<E>) {
            const std::array queries{inside_.front(), E::query(query), inside_.back()};
            std::array<typename E::LookupAnswer, 3> answers;
            engine_.lookupBulk(queries, answers);
            if (const auto got = routeOf(E::idOf(answers[1])); got != match) {
               return differs("lookup in a burst", hostRoute<F>(query), textOf(got), textOf(match));
            }
         }
      }
      return {};
   }

   std::string checkBulk() {
      if constexpr (AnswersBulk<E, F>) {
         std::vector<Query> queries;
         for (const auto& check : work_.addressChecks) {
            queries.push_back(E::query(check.query));
         }
         std::array<typename E::BulkAnswer, burstSize> answers;
         for (std::size_t at = 0; at < queries.size(); at += burstSize) {
            const auto burst = std::span<const Query>(queries).subspan(at, std::min(burstSize, queries.size() - at));
            engine_.matchBulk(burst, std::span(answers).first(burst.size()));
            for (std::size_t i = 0; i < burst.size(); ++i) {
               const auto& [query, match, evenMatch] = work_.addressChecks[at + i];
               if (const auto got = E::bulkRoute(answers[i], work_); got != match) {
                  return differs("longest match in a burst", hostRoute<F>(query), textOf(got), textOf(match));
               }
            }
         }
      }
      return {};
   }

   std::string checkPrefixes() {
      for (const auto& [query, isRoute, longer] : work_.prefixChecks) {
         const Key key = E::key(query);
         if constexpr (AnswersExact<E>) {
            if (engine_.exact(key) != isRoute) {
               return differs("exact match", query, isRoute ? "no" : "yes", isRoute ? "yes" : "no");
            }
         }
         if constexpr (AnswersLonger<E>) {
            if (engine_.longer(key) != longer) {
               return differs("longer route", query, longer ? "no" : "yes", longer ? "yes" : "no");
            }
         }
      }
      return {};
   }

   std::string checkRoutes() {
      for (const auto& [query, parent, next, previous, children] : work_.routeChecks) {
         const Key key = E::key(query);
         if constexpr (AnswersPrevious<E>) {
            if (const auto got = E::route(engine_.previous(key), work_); got != previous) {
               return differs("route before", query, textOf(got), textOf(previous));
            }
         }
         if constexpr (AnswersChildren<E>) {
            if (const auto got = engine_.children(key); got != children) {
               return differs("number of children", query, std::to_string(got), std::to_string(children));
            }
         }
         if constexpr (AnswersParent<E>) {
            if (const auto got = E::route(engine_.parent(key), work_); got != parent) {
               return differs("parent", query, textOf(got), textOf(parent));
            }
         }
         if constexpr (AnswersNext<E>) {
            if (const auto got = E::route(engine_.next(key), work_); got != next) {
               return differs("next route", query, textOf(got), textOf(next));
            }
         }
      }
      return {};
   }

   std::string checkWalks() {
      std::string fault;
      const auto compareWith = [&](std::string_view what, std::uint64_t found, std::uint64_t expected) {
         if (found != expected) {
            fault = fmt::format("{}: {} routes instead of {}", what, found, expected);
         }
      };
      const auto compare = [&](std::string_view what, std::uint64_t walked) {
         compareWith(what, walked, work_.routes.size());
      };
      if constexpr (Compiles<E>) {
         compare("compile", engine_.compile());
      }
      if constexpr (Walks<E>) {
         compare("walk", engine_.walk());
      }
      if constexpr (Iterates<E>) {
         compare("walk by iterator", engine_.walkIterator());
      }
      if constexpr (StepsThrough<E>) {
         compare("walk by steps", engine_.walkNext());
      }
      if constexpr (FindsDifferences<E>) {
         engine_.keep();
         withdrawAndAnnounce();
         compareWith("difference of nothing", engine_.differences(), 0);
         engine_.erase(keys_.front());
         compareWith("difference", engine_.differences(), 1);
         engine_.insert(keys_.front(), 1);
         engine_.letGo();
      }
      if constexpr (Aggregates<E>) {
         // At least one, and no more than there are.
         const std::uint64_t most = work_.routes.size();
         const std::uint64_t found = engine_.aggregate();
         compareWith("aggregate", found, found == 0 ? 1 : std::min(found, most));
      }
      return fault;
   }

   static std::string differs(std::string_view what, const Route<F>& query, const std::string& got,
                              const std::string& expected) {
      return fmt::format("{} of {}: {} instead of {}", what, textOf(query), got, expected);
   }
   static std::string textOf(const std::optional<Route<F>>& route) { return route ? Bench::textOf(*route) : "none"; }

   const Workload<F>& work_;
   E engine_;
   std::uint64_t bytes_ = 0;
   std::vector<Key> keys_;        // of work_.routes
   std::vector<Key> deleteKeys_;  // the same by work_.deleteOrder
   std::vector<Key> askedKeys_;   // by work_.asked
   std::vector<Query> inside_;
   std::vector<Query> uniform_;
   std::vector<Key> uniformKeys_;
   std::size_t at_ = 0;  // the next query, at the start of a block
   std::size_t churnAt_ = 0;
};

// The maker of a row in Engines.cpp.
template <class F, Engine<F> E>
std::unique_ptr<Measured> makeMeasured(const Workload<F>& work) {
   return std::make_unique<MeasuredEngine<F, E>>(work);
}

}  // namespace Bench
