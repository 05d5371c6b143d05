// snapshot: the routes of a table as they were when it was taken. It never changes, and is asked as the table is.
//
//    routetrie::snapshot<int> before = t.snapshot();           of a table4, a snapshot4; of a shared table as well
//    t.clear();
//    before.match("10.1.2.3"_address)->value                   as if nothing had happened
//
// Taking one costs the same for a table of any size: the two share all nodes and values, and the table copies what it changes from then
// on, once. Any number may be there, on any threads, and outlive the table; copies of one share it. What a snapshot keeps alone is
// freed when the last copy has gone: not there and then but by the next changes of the table, a little with each, or by its
// reclaim(); and after the table has gone, all that its snapshots keep goes with the last of them. table_memory::old has the bytes.
//
// Threads: any number may ask one at once, and a copy may be dropped wherever it is. Taking one is a change of the table's memory, though
// not of its routes, so nobody else may use the table at that moment.
//
// What an answer refers to, values and iterators, holds as long as the snapshot that was asked.
// Tested by tests/table/SnapshotTest.cpp, tests/property/TableSnapshotTest.cpp.
#pragma once

#include <memory>
#include <utility>

#include "routetrie/family_questions.h"
#include "routetrie/questions.h"
#include "routetrie/statistics.h"
#include "routetrie/table/Store.h"

namespace routetrie {

template <unsigned width, class T>
class basic_table;

template <unsigned width, class T>
class basic_snapshot : public basic_questions<width, T> {
   using Questions = basic_questions<width, T>;

  public:
   basic_snapshot() noexcept = default;  // no routes
   basic_snapshot(const basic_snapshot& other) noexcept
      : Questions(other.tree_.frozen(), other.values_.frozen()), hold_(other.hold_) {}
   basic_snapshot(basic_snapshot&&) noexcept = default;
   basic_snapshot& operator=(const basic_snapshot& other) noexcept { return *this = basic_snapshot(other); }
   basic_snapshot& operator=(basic_snapshot&&) noexcept = default;
   ~basic_snapshot() = default;

   // By a pass over all nodes; its memory has their bytes alone (routetrie/statistics.h).
   table_statistics statistics() const { return this->tree_.statistics(); }

  private:
   friend basic_table<width, T>;
   basic_snapshot(typename Questions::Tree tree, typename Questions::Values values,
                  std::shared_ptr<const Impl::Hold> hold) noexcept
      : Questions(std::move(tree), std::move(values)), hold_(std::move(hold)) {}

   std::shared_ptr<const Impl::Hold> hold_;
};

template <class T>
using snapshot4 = basic_snapshot<32, T>;
template <class T>
using snapshot6 = basic_snapshot<128, T>;

template <class T>
class snapshot : public both_questions<snapshot4<T>, snapshot6<T>> {
  public:
   snapshot() noexcept = default;
   // Of the routes of each family.
   snapshot(snapshot4<T> v4, snapshot6<T> v6) noexcept
      : both_questions<snapshot4<T>, snapshot6<T>>(std::move(v4), std::move(v6)) {}

   both_statistics statistics() const { return {this->v4_.statistics(), this->v6_.statistics()}; }
};

}  // namespace routetrie
