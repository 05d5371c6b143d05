// BulkDescent: answers a burst of queries side by side. A descent waits at each node for memory; a burst need not wait for
// one miss after the other. A group of queries goes down together, each by one step in its turn, and a step fetches ahead
// what that query's next step will read. What an engine tells of its descent decides how the turns are taken:
//
//    SteppedDescent   ways of any length: as a query is answered the next of the burst takes its place
//    StagedDescent    ways of one length, each step known when it is compiled: the group takes a step, and then the next
//
// The technique is group prefetching (Chen, Ailamaki, Gibbons, Mowry: Improving hash join performance through prefetching,
// 2004), for the ways of any length in its form with lanes that are refilled.
// Tested by tests/property/BulkTest.cpp.
#pragma once

#include <algorithm>
#include <array>
#include <concepts>
#include <cstddef>
#include <span>
#include <type_traits>
#include <utility>

#include "routetrie/platform/Corvid/Assert.h"

namespace Routing {

// What a descent gives for a query: its Answer, or where it declares none a query's own type.
template <class Descent>
struct BulkAnswerOf {
   using Type = typename Descent::Query;
};
template <class Descent>
requires requires { typename Descent::Answer; }
struct BulkAnswerOf<Descent> {
   using Type = typename Descent::Answer;
};
template <class Descent>
using BulkAnswer = typename BulkAnswerOf<Descent>::Type;

// One kind of descent, shared by all queries of a burst.
//
//    begin(state, query)   puts the query on its way; false if the answer needs no step
//    step(state)           one step, after which false tells that the answer is known
//    answer(state)         the answer, once begin or step gave false
template <class Descent>
concept SteppedDescent = requires(const Descent& descent, typename Descent::State& state,
                                  const typename Descent::Query& query) {
   requires std::is_trivially_destructible_v<typename Descent::State>;
   { descent.begin(state, query) } -> std::same_as<bool>;
   { descent.step(state) } -> std::same_as<bool>;
   { descent.answer(state) } -> std::same_as<BulkAnswer<Descent>>;
};

// The other kind, whose ways all take `stages` steps; it finds no use for knowing that an answer is there already.
//
//    begin(state, query)   puts the query on its way
//    stage<n>(state)       step n, for n from 0 to stages - 1 in order
//    answer(state)         the answer, after the last step
template <class Descent>
concept StagedDescent = requires(const Descent& descent, typename Descent::State& state,
                                 const typename Descent::Query& query) {
   requires std::is_trivially_destructible_v<typename Descent::State>;
   requires Descent::stages >
   0;
   descent.begin(state, query);
   descent.template stage<0>(state);
   { descent.answer(state) } -> std::same_as<BulkAnswer<Descent>>;
};

// Asks for the lines of an object that will be read.
template <class T>
[[gnu::always_inline]] inline void fetchAhead(const T* object, std::size_t bytes = sizeof(T)) {
   const auto* first = reinterpret_cast<const char*>(object);
   __builtin_prefetch(first);
   __builtin_prefetch(first + bytes - 1);
}

// Enough to keep the memory busy: a core has 10 to 16 misses under way at a time, and a lane may wait for two lines.
inline constexpr std::size_t bulkLanes = 16;

// Puts the answer to queries[i] into answers[i]; `queries` and `answers` may be the same span. Allocates nothing.
template <SteppedDescent Descent>
void answerInBulk(const Descent& descent, std::span<const typename Descent::Query> queries,
                  std::span<BulkAnswer<Descent>> answers) {
   ROUTETRIE_ASSERT(queries.size() == answers.size());
   struct Lane {
      typename Descent::State state;
      std::size_t query;
   };
   std::array<Lane, bulkLanes> lanes;
   std::size_t busy = 0;
   std::size_t next = 0;
   // The next query that needs a step gets the lane; false if there is none left.
   const auto fill = [&](Lane& lane) {
      for (; next < queries.size(); ++next) {
         if (descent.begin(lane.state, queries[next])) {
            lane.query = next++;
            return true;
         }
         answers[next] = descent.answer(lane.state);
      }
      return false;
   };
   while (busy < bulkLanes && fill(lanes[busy])) {
      ++busy;
   }
   while (busy != 0) {
      for (std::size_t i = 0; i < busy;) {
         Lane& lane = lanes[i];
         if (descent.step(lane.state)) {
            ++i;
            continue;
         }
         answers[lane.query] = descent.answer(lane.state);
         if (fill(lane)) {
            ++i;
         } else {
            lane = lanes[--busy];
         }
      }
   }
}

// A stage touches each query once, so that more of them are under way at a time.
inline constexpr std::size_t bulkGroup = 64;

template <StagedDescent Descent>
void answerInBulk(const Descent& descent, std::span<const typename Descent::Query> queries,
                  std::span<BulkAnswer<Descent>> answers) {
   ROUTETRIE_ASSERT(queries.size() == answers.size());
   std::array<typename Descent::State, bulkGroup> states;
   for (std::size_t at = 0; at < queries.size(); at += bulkGroup) {
      const std::size_t count = std::min(bulkGroup, queries.size() - at);
      for (std::size_t i = 0; i < count; ++i) {
         descent.begin(states[i], queries[at + i]);
      }
      [&]<std::size_t... n>(std::index_sequence<n...>) {
         const auto stage = [&]<std::size_t number>(std::integral_constant<std::size_t, number>) {
            for (std::size_t i = 0; i < count; ++i) {
               descent.template stage<number>(states[i]);
            }
         };
         (stage(std::integral_constant<std::size_t, n>()), ...);
      }
      (std::make_index_sequence<Descent::stages>());
      for (std::size_t i = 0; i < count; ++i) {
         answers[at + i] = descent.answer(states[i]);
      }
   }
}

}  // namespace Routing
