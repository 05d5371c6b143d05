#include "bench/Engines.h"
#include "bench/MeasuredEngine.h"
#include "bench/engines/Intrusive.h"

namespace Bench {

EngineRow intrusiveRow() {
   return {.name = {"intrusive", "intrusive"}, .isOurs = true, .v4 = nullptr, .v6 = makeMeasured<V6, Intrusive>};
}

}  // namespace Bench
