// table_statistics: what a table of one family is made of, for whoever watches over one: routes, nodes and bytes by level, how deep
// its routes lie, and its memory. Told by table4<T>::statistics() and its kin in one pass over all nodes; a table of both families
// tells one for each.
//
//    fmt::print("{}", t.v4().statistics());
//
//    routes 3, 2.33 nodes deep on average, 3 at most
//      bit      nodes       bytes     leaves       bytes      skips       bytes     routes
//        0          1          32          0           0          0           0          0
//        6          1          32          1          32          0           0          2
//       12          1          32          0           0          0           0          1
//    bytes 360: nodes 232, values 0, index 0, free 128, old 0
//
// What a version has, a snapshot or what a reader has locked, tells the same, but for its memory: that has the bytes of its nodes alone,
// which it may share with the table and others.
//
// Tested by tests/table/StatisticsTest.cpp.
#pragma once

#include <fmt/format.h>

#include <cstddef>
#include <iosfwd>
#include <string>
#include <vector>

#include "routetrie/explanation.h"
#include "routetrie/platform/Export.h"
#include "routetrie/platform/Language.h"

namespace routetrie {

// The nodes at one depth.
struct table_level {
   unsigned depth = 0;      // bits of the address above them
   std::size_t nodes = 0;   // that choose by six bits
   std::size_t leaves = 0;  // routes by themselves
   std::size_t skips = 0;   // ways to a node far below
   std::size_t routes = 0;  // in nodes and leaves, one in each leaf; the default route is in none
   // Of their blocks: they, their values, and the room that is left.
   std::size_t node_bytes = 0;
   std::size_t leaf_bytes = 0;
   std::size_t skip_bytes = 0;

   std::size_t bytes() const noexcept { return node_bytes + leaf_bytes + skip_bytes; }
   friend bool operator==(const table_level&, const table_level&) noexcept = default;
};

struct table_statistics {
   std::size_t routes = 0;           // the default route too
   std::vector<table_level> levels;  // those that have a node, from the top
   std::size_t depths = 0;           // sum over all routes of the nodes from the root to the route's, both counted
   unsigned worst_depth = 0;         // the most of them for a route
   table_memory memory;

   // Nodes from the root to a route's, both counted; of the default route, which is beside them, none.
   double average_depth() const noexcept {
      return routes == 0 ? 0 : static_cast<double>(depths) / static_cast<double>(routes);
   }
   std::size_t nodes() const noexcept {
      std::size_t sum = 0;
      for (const table_level& level : levels) {
         sum += level.nodes + level.leaves + level.skips;
      }
      return sum;
   }
};

struct both_statistics {
   table_statistics v4;
   table_statistics v6;
};

namespace Impl {

ROUTETRIE_EXPORT std::string textOf(const table_statistics& s);

}  // namespace Impl

ROUTETRIE_EXPORT std::ostream& operator<<(std::ostream& out, const table_statistics& s);

}  // namespace routetrie

// Several lines, each ended.
template <>
struct fmt::formatter<routetrie::table_statistics> {
   constexpr auto parse(fmt::format_parse_context& context) { return context.begin(); }
   auto format(const routetrie::table_statistics& s, fmt::format_context& context) const {
      return fmt::format_to(context.out(), "{}", routetrie::Impl::textOf(s));
   }
};
