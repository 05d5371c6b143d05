#include "bench/Engines.h"
#include "bench/MeasuredEngine.h"
#include "bench/engines/TableEngine.h"

namespace Bench {

EngineRow tableRow() {
   return {.name = {"table", "table"},
           .isOurs = true,
           .v4 = makeMeasured<V4, TableEngine<V4>>,
           .v6 = makeMeasured<V6, TableEngine<V6>>};
}

}  // namespace Bench
