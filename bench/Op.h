// Op: what is measured, by name. To add one, give it a row here and a function of the same name in MeasuredEngine.h.
#pragma once

#include <array>
#include <string_view>

#include "routetrie/platform/Types.h"

namespace Bench {

enum class Op : U8 {
   insert,
   erase,
   eraseHandle,
   match,
   matchUniform,
   matchChain,
   matchChainUniform,
   matchBulk,
   matchBulkUniform,
   lookup,
   lookupUniform,
   lookupChain,
   lookupBulk,
   matchIf,
   exact,
   exactUniform,
   parent,
   longer,
   longerUniform,
   next,
   previous,
   children,
   walk,
   walkIterator,
   walkNext,
   compile,
   snapshot,
   sweep,
   difference,
   aggregate,
   sleepingReader,
   churn,
   mixed,
   updates,
   memory,
};

struct OpRow {
   static constexpr std::string_view time = "ns/op";

   bool isTime() const { return unit == time; }

   Op op;
   std::string_view name;
   std::string_view summary;
   std::string_view unit = time;  // what is no time is the counter "figure" of a run
};

inline constexpr std::array opRows = {
   OpRow{Op::insert, "insert", "all routes in shuffled order into an empty table"},
   OpRow{Op::erase, "delete", "all routes in another order until the table is empty"},
   OpRow{Op::eraseHandle, "delete_handle", "as delete, by the object that was inserted, of engines that take it"},
   OpRow{Op::match, "match", "longest match of random addresses inside random routes, independent of each other"},
   OpRow{Op::matchUniform, "match_uniform", "the same, of addresses anywhere in the address space"},
   OpRow{Op::matchChain, "match_chain", "as match, but which query comes next depends on the answer before: latency"},
   OpRow{Op::matchChainUniform, "match_chain_uniform", "the same, of addresses anywhere"},
   OpRow{Op::matchBulk, "match_bulk", "as match, handed over 32 at a time to engines that take a burst"},
   OpRow{Op::matchBulkUniform, "match_bulk_uniform", "the same, of addresses anywhere"},
   OpRow{Op::lookup, "lookup", "as match, of the value alone"},
   OpRow{Op::lookupUniform, "lookup_uniform", "the same, of addresses anywhere"},
   OpRow{Op::lookupChain, "lookup_chain", "as lookup, but which query comes next depends on the answer before"},
   OpRow{Op::lookupBulk, "lookup_bulk", "as lookup, handed over 32 at a time"},
   OpRow{Op::matchIf, "match_if", "as match, the longest whose length is even"},
   OpRow{Op::exact, "exact", "whether a prefix is a route; asked of routes"},
   OpRow{Op::exactUniform, "exact_uniform", "the same, of prefixes anywhere, as long as routes are"},
   OpRow{Op::parent, "parent", "the longest shorter route; asked of routes"},
   OpRow{Op::longer, "longer", "whether there is a longer route beneath; asked of routes"},
   OpRow{Op::longerUniform, "longer_uniform", "the same, of prefixes anywhere, as long as routes are"},
   OpRow{Op::next, "next", "the route that follows in order; asked of routes"},
   OpRow{Op::previous, "prev", "the route that comes before in order; asked of routes"},
   OpRow{Op::children, "children", "the longer routes with no other between; asked of routes, time a question"},
   OpRow{Op::walk, "walk", "all routes of the loaded table in order; time a route"},
   OpRow{Op::walkIterator, "walk_iterator", "the same with an iterator, of engines that have one beside the walk"},
   OpRow{Op::walkNext, "walk_next", "the same from each route to the next by a search for it"},
   OpRow{Op::compile, "compile", "the loaded table made into a form for lookup alone; time a route"},
   OpRow{Op::snapshot, "snapshot", "a snapshot of the loaded table taken, and the one before it dropped"},
   OpRow{Op::sweep, "sweep",
         "a tenth of the loaded table swept in slices of 1,000 routes; the slowest slice to the median one",
         "slowest/median"},
   OpRow{
      Op::difference, "difference",
      "what differs between the loaded table without 1,000 routes and a snapshot of before; a walk's time to that of "
      "finding it",
      "walk/difference"},
   OpRow{Op::aggregate, "aggregate",
         "the fewest routes with the answers of the loaded table, its values those of 64 next hops; time a route"},
   OpRow{Op::sleepingReader, "sleeping_reader",
         "what each of 20,000 changes leaves to be freed while a reader sleeps under a lock", "bytes/change"},
   OpRow{Op::churn, "churn", "a route withdrawn from the loaded table and announced again, both together"},
   OpRow{Op::mixed, "mixed",
         "nine lookups inside routes to one change, which withdraws a route or announces it again"},
   OpRow{Op::updates, "updates", "the changes of --updates, on a loaded table; time a change"},
   OpRow{Op::memory, "memory", "bytes a route, once loaded", "bytes/route"},
};

}  // namespace Bench
