#include "bench/Engines.h"

#if ROUTETRIE_BENCH_DPDK
#include "bench/MeasuredEngine.h"
#include "bench/engines/DpdkFib.h"
#include "bench/engines/DpdkLpm.h"
#include "bench/engines/DpdkRib.h"
#endif

namespace Bench {

namespace {

#if ROUTETRIE_BENCH_DPDK
template <template <class> class Table>
EngineRow dpdkRow(std::string_view name4, std::string_view name6) {
   return {
      .name = {name4, name6}, .isOurs = false, .v4 = makeMeasured<V4, Table<V4>>, .v6 = makeMeasured<V6, Table<V6>>};
}
#else
// Stands for the tables of a library that was not there when this was built.
template <class>
struct DpdkRib;
template <class>
struct DpdkFib;
template <class>
struct DpdkLpm;
template <template <class> class>
EngineRow dpdkRow(std::string_view name4, std::string_view name6) {
   return {.name = {name4, name6}, .isOurs = false, .v4 = nullptr, .v6 = nullptr};
}
#endif

}  // namespace

EngineRow rteRibRow() { return dpdkRow<DpdkRib>("rte_rib", "rte_rib6"); }
EngineRow rteFibRow() { return dpdkRow<DpdkFib>("rte_fib", "rte_fib6"); }
EngineRow rteLpmRow() { return dpdkRow<DpdkLpm>("rte_lpm", "rte_lpm6"); }

}  // namespace Bench
