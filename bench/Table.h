// Table: the routes that everything is measured on: a file that was named, else a whole Internet table where there is
// one beside the source tree, else the country table of Debian's tor-geoipdb, else generated routes with the length
// histogram of a real table.
//
// Tables of a file are read by the reader that the command rtrie has, too, in any format that it knows. The default
// route is left out: most engines keep it beside their structure.
#pragma once

#include <string>
#include <vector>

#include "bench/Family.h"

namespace Bench {

struct Table {
   std::string source;         // for people: where the routes come from
   std::vector<Route<V4>> v4;  // shuffled
   std::vector<Route<V6>> v6;  // shuffled

   template <class F>
   const std::vector<Route<F>>& of() const {
      if constexpr (F::width == 32) {
         return v4;
      } else {
         return v6;
      }
   }
};

// `path` empty: the first that is there of what is said above. Raises Rtrie::DataError if it cannot be read.
Table loadTable(const std::string& path);

// As many routes as a real table has, or `routes` of each family at most.
Table generatedTable(std::size_t routes = ~std::size_t{0});

}  // namespace Bench
