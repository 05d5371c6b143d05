// Updates: a stream of changes, as a router hears them from its neighbours, that the engines apply to a loaded table. The lines
// are those that `rtrie watch` takes: "+ PREFIX" or "TIME a PREFIX ..." announces, "- PREFIX" or "TIME w PREFIX ..." withdraws.
#pragma once

#include <string>
#include <vector>

#include "bench/Family.h"
#include "bench/Workload.h"

namespace Bench {

struct Updates {
   std::vector<Workload<V4>::Update> v4;
   std::vector<Workload<V6>::Update> v6;

   template <class F>
   const auto& of() const {
      if constexpr (F::width == 32) {
         return v4;
      } else {
         return v6;
      }
   }
};

// Plain or .gz; the default route is left out, as in tables. Raises std::runtime_error that names the line of what is no update,
// and what opening the file raises.
Updates loadUpdates(const std::string& path);

}  // namespace Bench
