#include "bench/Engines.h"
#include "bench/MeasuredEngine.h"
#include "bench/engines/Patricia.h"
#include "bench/engines/PatriciaData.h"

namespace Bench {

namespace {

using Corenet::CompactIpPrefix;
using Corenet::IpGenPrefix;

}  // namespace

EngineRow patriciaRow() {
   return {.name = {"patricia", "patricia"},
           .isOurs = true,
           .v4 = makeMeasured<V4, Patricia<V4, IpGenPrefix>>,
           .v6 = makeMeasured<V6, Patricia<V6, IpGenPrefix>>};
}

EngineRow patriciaCompactRow() {
   return {.name = {"patricia-compact", "patricia-compact"},
           .isOurs = true,
           .v4 = makeMeasured<V4, Patricia<V4, CompactIpPrefix>>,
           .v6 = makeMeasured<V6, Patricia<V6, CompactIpPrefix>>};
}

EngineRow patriciaDataRow() {
   return {.name = {"patricia-data", "patricia-data"},
           .isOurs = true,
           .v4 = makeMeasured<V4, PatriciaData<V4>>,
           .v6 = makeMeasured<V6, PatriciaData<V6>>};
}

}  // namespace Bench
