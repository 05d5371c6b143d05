#include "bench/Engines.h"
#include "bench/MeasuredEngine.h"
#include "bench/engines/Multibit.h"

namespace Bench {

EngineRow multibitRow() {
   return {.name = {"multibit", "multibit"}, .isOurs = true, .v4 = makeMeasured<V4, Multibit>, .v6 = nullptr};
}

}  // namespace Bench
