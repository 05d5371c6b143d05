#include "bench/Engines.h"
#include "bench/MeasuredEngine.h"
#include "bench/engines/CompiledEngine.h"
#include "bench/engines/SharedTableEngine.h"
#include "bench/engines/SnapshotEngine.h"
#include "bench/engines/TableEngine.h"
#include "bench/engines/WatchedEngine.h"

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

EngineRow tableSnapshotRow() {
   return {.name = {"table_snapshot", "table_snapshot"},
           .isOurs = true,
           .v4 = makeMeasured<V4, SnapshotEngine<V4>>,
           .v6 = makeMeasured<V6, SnapshotEngine<V6>>};
}

namespace {

template <Beside beside>
EngineRow sharedRow(const char* name) {
   return {.name = {name, name},
           .isOurs = true,
           .v4 = makeMeasured<V4, SharedTableEngine<V4, beside>>,
           .v6 = makeMeasured<V6, SharedTableEngine<V6, beside>>};
}

template <std::size_t watches>
EngineRow watchedRow(const char* name) {
   return {.name = {name, name},
           .isOurs = true,
           .v4 = makeMeasured<V4, WatchedEngine<V4, watches>>,
           .v6 = makeMeasured<V6, WatchedEngine<V6, watches>>};
}

}  // namespace

EngineRow watchedRow() { return watchedRow<0>("watched"); }
EngineRow watched1kRow() { return watchedRow<1000>("watched_1k"); }
EngineRow watched1mRow() { return watchedRow<1000000>("watched_1m"); }

EngineRow sharedTableRow() { return sharedRow<Beside::nobody>("shared_table"); }
EngineRow sharedTableBatchRow() { return sharedRow<Beside::batches>("shared_table_batch"); }
EngineRow sharedTableBusyRow() { return sharedRow<Beside::others>("shared_table_busy"); }

}  // namespace Bench
