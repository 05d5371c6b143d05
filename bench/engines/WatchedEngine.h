// WatchedEngine: the library's table of one family with so many watches, ten a route at most, none of which any change concerns. They are
// of the best matches of addresses where the Internet has no routes, in the 4,096 /16s of 240.0.0.0/4 and as many /32s of fc00::/20.
#pragma once

#include <algorithm>
#include <cstddef>
#include <vector>

#include "bench/Random.h"
#include "bench/engines/TableAnswers.h"
#include "routetrie/watch.h"

namespace Bench {

template <class F, std::size_t watches>
class WatchedEngine
   : public TableAnswers<F,
                         routetrie::tracked_table<routetrie::basic_table<F::width, U32>, routetrie::watch_tracker>> {
  public:
   static constexpr bool isDearToMake = watches > 1000;

   explicit WatchedEngine(const Workload<F>& work) {
      const std::size_t count = std::min(watches, 10 * work.routes.size());
      Random random(watches);
      using Word = typename F::Bits::Word;
      const Route<F> apart{typename F::Bits(static_cast<Word>(Word{F::width == 32 ? 0xf0 : 0xfc} << (F::width - 8))),
                           F::width == 32 ? 4 : 20};
      watches_.reserve(count);
      for (std::size_t i = 0; i < count; ++i) {
         const auto address = this->query(random.addressInside(apart));
         watches_.push_back(this->table().watch(address, routetrie::watch_kind::best_match,
                                                [](const auto& event) { benchmark::DoNotOptimize(event.changed); }));
      }
   }

  private:
   std::vector<routetrie::watch_handle> watches_;
};

}  // namespace Bench
