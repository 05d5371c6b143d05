// HashByLength: a hash table of addresses for each length; a longest match tries those that hold a route.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <unordered_map>
#include <utility>
#include <vector>

#include "bench/engines/ByLength.h"
#include "bench/engines/Lengths.h"

namespace Bench {

template <class F>
class HashByLength : public ByLength<HashByLength<F>, F> {
  public:
   explicit HashByLength(const Workload<F>&) {}

   bool insert(const Route<F>& route, U32 id) {
      const bool isNew = tables_[route.length].emplace(route.bits.word(), id).second;
      lengths_.routeAdded(route.length);
      return isNew;
   }
   bool erase(const Route<F>& route) {
      lengths_.routeDeleted(route.length);
      return tables_[route.length].erase(route.bits.word()) == 1;
   }

   U32 idOf(const Route<F>& route) const {
      const Table& table = tables_[route.length];
      const auto found = table.find(route.bits.word());
      return found == table.end() ? 0 : found->second;
   }

   const std::vector<U32>& longestFirst() const { return lengths_.present(); }

  private:
   using Word = typename F::Bits::Word;

   struct Hash {
      std::size_t operator()(Word word) const noexcept {
         if constexpr (F::width == 32) {
            return Corenet::Impl::hashMix(0, word);
         } else {
            return Corenet::Impl::hashMix(Corenet::Impl::hashMix(0, static_cast<std::uint64_t>(word >> 64)),
                                          static_cast<std::uint64_t>(word));
         }
      }
   };
   using Table = std::unordered_map<Word, U32, Hash, std::equal_to<>, CountedAllocator<std::pair<const Word, U32>>>;

   std::array<Table, F::width + 1> tables_;
   Lengths<F::width> lengths_;
};

}  // namespace Bench
