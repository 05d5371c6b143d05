// Random: numbers that are the same in every run on every machine. The standard's engines are fixed but its
// distributions are not, so the few draws that the benchmarks make are here.
#pragma once

#include <cstddef>
#include <cstdint>
#include <random>
#include <utility>
#include <vector>

#include "bench/Family.h"
#include "routetrie/platform/Types.h"

namespace Bench {

class Random {
  public:
   explicit Random(std::uint64_t seed) : source_(seed) {}

   std::uint64_t word() { return source_(); }
   // From 0 to `count` - 1. Requires: `count` is not 0.
   std::size_t below(std::size_t count) { return static_cast<std::size_t>((Corenet::U128{word()} * count) >> 64); }

   template <class F>
   typename F::Bits address() {
      if constexpr (F::width == 32) {
         return typename F::Bits(static_cast<U32>(word() >> 32));
      } else {
         const Corenet::U128 high = word();
         return typename F::Bits(high << 64 | word());
      }
   }
   // An address that the route covers.
   template <class F>
   typename F::Bits addressInside(const Route<F>& route) {
      const auto mask = F::Bits::mask(route.length);
      return typename F::Bits(route.bits.word() | (address<F>().word() & ~mask));
   }

   template <class T>
   void shuffle(std::vector<T>& items) {
      for (std::size_t left = items.size(); left > 1; --left) {
         std::swap(items[left - 1], items[below(left)]);
      }
   }

  private:
   std::mt19937_64 source_;
};

}  // namespace Bench
