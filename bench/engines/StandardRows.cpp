#include "bench/Engines.h"
#include "bench/MeasuredEngine.h"
#include "bench/engines/HashByLength.h"
#include "bench/engines/StdMap.h"

namespace Bench {

EngineRow stdMapRow() {
   return {.name = {"std_map", "std_map"},
           .isOurs = false,
           .v4 = makeMeasured<V4, StdMap<V4>>,
           .v6 = makeMeasured<V6, StdMap<V6>>};
}

EngineRow hashByLengthRow() {
   return {.name = {"hash_by_length", "hash_by_length"},
           .isOurs = false,
           .v4 = makeMeasured<V4, HashByLength<V4>>,
           .v6 = makeMeasured<V6, HashByLength<V6>>};
}

}  // namespace Bench
