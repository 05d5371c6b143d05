#include "bench/engines/Dpdk.h"

#include <fmt/format.h>
#include <pthread.h>
#include <rte_eal.h>
#include <rte_log.h>
#include <sched.h>

#include <cstdint>
#include <vector>

namespace Bench {

namespace {

constexpr const char* heapMegabytes = "4096";

void start() {
   // The environment binds the calling thread to one processor, which is not its business here.
   cpu_set_t processors;
   CPU_ZERO(&processors);
   pthread_getaffinity_np(pthread_self(), sizeof processors, &processors);

   std::vector<std::string> words = {
      "routetrie-bench", "--no-huge", "--no-shconf", "--no-pci",    "--no-telemetry", "-m",
      heapMegabytes,     "-c",        "1",           "--log-level", "critical"};
   std::vector<char*> arguments;
   for (std::string& word : words) {
      arguments.push_back(word.data());
   }
   if (rte_eal_init(static_cast<int>(arguments.size()), arguments.data()) < 0) {
      throw std::runtime_error("DPDK's environment does not start");
   }
   rte_log_set_global_level(RTE_LOG_CRIT);
   pthread_setaffinity_np(pthread_self(), sizeof processors, &processors);
}

}  // namespace

void startDpdk() {
   static const bool started = [] {
      start();
      return true;
   }();
   static_cast<void>(started);
}

std::string freshDpdkName() {
   static U32 made = 0;
   return fmt::format("bench{}", ++made);
}

std::uint64_t dpdkHeapBytes() {
   rte_malloc_socket_stats stats{};
   rte_malloc_get_socket_stats(0, &stats);
   return stats.heap_allocsz_bytes;
}

std::uint64_t dpdkNodeBytes(const std::string& ribName) {
   const rte_mempool* pool = rte_mempool_lookup(("MP_" + ribName).c_str());
   if (pool == nullptr) {
      throw std::runtime_error("no pool of nodes of the name that a RIB gives it");
   }
   return std::uint64_t{rte_mempool_in_use_count(pool)} * (pool->header_size + pool->elt_size + pool->trailer_size);
}

}  // namespace Bench
