#include "bench/Engines.h"
#include "bench/MeasuredEngine.h"
#include "bench/engines/CompiledEngine.h"
#include "bench/engines/TableEngine.h"

namespace Bench {

EngineRow tableRow() {
   return {.name = {"table", "table"},
           .isOurs = true,
           .v4 = makeMeasured<V4, TableEngine<V4>>,
           .v6 = makeMeasured<V6, TableEngine<V6>>};
}

EngineRow compiledRow() {
   return {.name = {"compiled", "compiled"},
           .isOurs = true,
           .v4 = makeMeasured<V4, CompiledEngine<V4>>,
           .v6 = makeMeasured<V6, CompiledEngine<V6>>};
}

}  // namespace Bench
