// Engine: the contract of an adapter, by which one route table takes part in the benchmarks. An adapter is a class
// template over the family; to add an engine, write one under engines/ and give it a row in Engines.cpp.
//
// Keys and queries are in the engine's own form and are prepared before the clock starts; answers are read in the
// engine's own form too. What an adapter does not declare beyond Engine is not measured.
#pragma once

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

#include "bench/Family.h"
#include "bench/Workload.h"
#include "routetrie/platform/Types.h"

namespace Bench {

// The token of an answer that is a prefix: of the whole of it, so that a search that is compiled into the loop is not spared
// the making of what it finds.
template <unsigned width, class P>
std::uint64_t tokenOf(const P& prefix) {
   const auto bits = [&] {
      if constexpr (requires { prefix.template bits<width>(); }) {
         return prefix.template bits<width>();
      } else {
         return prefix.bits();
      }
   }();
   return static_cast<std::uint64_t>(bits.word() >> (width > 64 ? 64 : 0)) + prefix.len();
}

template <class E, class F>
concept Engine = std::constructible_from < E,
        const Workload<F>
& > &&requires(E engine, const E& asked, const Route<F>& route, typename F::Bits address, U32 id,
               const typename E::Key& key, const typename E::Query& query, const typename E::Answer& answer,
               const Workload<F>& work) {
   // The constructor makes an empty table that can hold the workload's routes.
   { E::key(route) } -> std::same_as<typename E::Key>;
   { E::query(address) } -> std::same_as<typename E::Query>;

   // False: the table refused.
   { engine.insert(key, id) } -> std::same_as<bool>;
   { engine.erase(key) } -> std::same_as<bool>;
   // Insertion into the whole table may be too slow to be repeated; it is then loaded once and not
   // measured. The greatest number of routes up to which it is.
   { E::mostRoutesForUpdates } -> std::convertible_to<std::size_t>;

   { asked.match(query) } -> std::same_as<typename E::Answer>;
   // Something that can only be known by having read the answer.
   { E::token(answer) } -> std::convertible_to<std::uint64_t>;
   { E::route(answer, work) } -> std::same_as<std::optional<Route<F>>>;

   // Bytes of the table as it stands, right after it was loaded.
   { asked.bytes() } -> std::convertible_to<std::uint64_t>;
};

// Each deletion takes room away for good, so that withdrawing and announcing routes comes to an end.
template <class E>
inline constexpr bool losesRoom = false;
template <class E>
requires requires { E::losesRoom; }
inline constexpr bool losesRoom<E> = E::losesRoom;

// To make and load one takes so long that it is done once, and insertion and deletion of all routes are not measured.
template <class E>
inline constexpr bool isDearToMake = false;
template <class E>
requires requires { E::isDearToMake; }
inline constexpr bool isDearToMake<E> = E::isDearToMake;

template <class E>
concept AnswersExact = requires(const E& asked, const typename E::Key& key) {
   { asked.exact(key) } -> std::same_as<bool>;
};
// Asked only of keys that are routes.
template <class E>
concept AnswersParent = requires(const E& asked, const typename E::Key& key) {
   { asked.parent(key) } -> std::same_as<typename E::Answer>;
};
template <class E>
concept AnswersLonger = requires(const E& asked, const typename E::Key& key) {
   { asked.longer(key) } -> std::same_as<bool>;
};
// The route that follows in order; asked only of keys that are routes.
template <class E>
concept AnswersNext = requires(E& asked, const typename E::Key& key) {
   { asked.next(key) } -> std::same_as<typename E::Answer>;
};
// The route that comes before in order; asked only of keys that are routes.
template <class E>
concept AnswersPrevious = requires(const E& asked, const typename E::Key& key) {
   { asked.previous(key) } -> std::same_as<typename E::Answer>;
};
// How many routes are longer and have no other between.
template <class E>
concept AnswersChildren = requires(const E& asked, const typename E::Key& key) {
   { asked.children(key) } -> std::same_as<std::uint64_t>;
};
// The longest match whose length is even.
template <class E>
concept AnswersMatchIf = requires(const E& asked, const typename E::Query& query) {
   { asked.matchIf(query) } -> std::same_as<typename E::Answer>;
};
// The value of the longest match, which is the id of the route, 0 for none. Of engines whose matches answer with no more than
// that, match() and matchBulk() are their lookups.
template <class E>
concept AnswersLookup = requires(const E& asked, const typename E::Query& query) {
   { asked.lookup(query) } -> std::same_as<U32>;
};
template <class E>
inline constexpr bool matchIsLookup = std::same_as<typename E::Answer, U32>;
template <class E>
concept AnswersLookupBulk = requires(const E& asked, std::span<const typename E::Query> queries,
                                     std::span<typename E::LookupAnswer> answers,
                                     const typename E::LookupAnswer& answer) {
   { asked.lookupBulk(queries, answers) } -> std::same_as<void>;
   { E::idOf(answer) } -> std::same_as<U32>;
};
// Goes over all routes in order, and tells how many there were.
template <class E>
concept Walks = requires(const E& asked) {
   { asked.walk() } -> std::same_as<std::uint64_t>;
};
template <class E>
concept Iterates = requires(const E& asked) {
   { asked.walkIterator() } -> std::same_as<std::uint64_t>;
};
template <class E>
concept StepsThrough = requires(const E& asked) {
   { asked.walkNext() } -> std::same_as<std::uint64_t>;
};
// Makes a form for lookup alone of the loaded table, and tells how many routes there were.
template <class E>
concept Compiles = requires(const E& asked) {
   { asked.compile() } -> std::same_as<std::uint64_t>;
};
// Takes a snapshot of the loaded table and drops the one before.
template <class E>
concept TakesSnapshots = requires(E& engine) {
   engine.snapshot();
};
// Marks the loaded table, after which insert() refuses a route that is there and touches it; sweeps the next routes, and tells whether all
// have been looked at.
template <class E>
concept Sweeps = requires(E& engine, std::size_t budget) {
   engine.mark();
   { engine.sweep(budget) } -> std::same_as<bool>;
};
// Keeps what the loaded table has; tells how many routes differ from that by now; lets go of it.
template <class E>
concept FindsDifferences = Walks<E> && requires(E& engine, const E& asked) {
   engine.keep();
   { asked.differences() } -> std::same_as<std::uint64_t>;
   engine.letGo();
};
// How many routes would do.
template <class E>
concept Aggregates = requires(const E& asked) {
   { asked.aggregate() } -> std::same_as<std::uint64_t>;
};
// A reader locks what it sees; the bytes that wait to be freed; it leaves.
template <class E>
concept HasReaders = requires(E& engine, const E& asked) {
   engine.sleep();
   { asked.pendingBytes() } -> std::same_as<std::uint64_t>;
   engine.wake();
};
// Deletes the route that was inserted with that id, without a search for it.
template <class E>
concept ErasesByHandle = requires(E engine, U32 id) {
   { engine.eraseHandle(id) } -> std::same_as<bool>;
};
template <class E, class F>
concept AnswersBulk = requires(const E& asked, std::span<const typename E::Query> queries,
                               std::span<typename E::BulkAnswer> answers, const typename E::BulkAnswer& answer,
                               const Workload<F>& work) {
   // As many answers as queries, in their order.
   { asked.matchBulk(queries, answers) } -> std::same_as<void>;
   { E::bulkRoute(answer, work) } -> std::same_as<std::optional<Route<F>>>;
};

}  // namespace Bench
