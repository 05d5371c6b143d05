// SnapshotEngine: the library's table of one family while a snapshot of it is always held: a new one after each 65,536 changes. And
// what taking one costs, of the loaded table, and finding what differs from one.
#pragma once

#include <cstdint>
#include <iterator>
#include <optional>

#include "bench/engines/TableEngine.h"
#include "routetrie/difference.h"

namespace Bench {

template <class F>
class SnapshotEngine : public TableEngine<F> {
   using Base = TableEngine<F>;

  public:
   using Base::Base;
   using typename Base::Key;

   bool insert(const Key& key, U32 id) {
      tend();
      return Base::insert(key, id);
   }
   bool erase(const Key& key) {
      tend();
      return Base::erase(key);
   }
   void snapshot() { held_ = this->table().snapshot(); }

   void keep() { kept_ = this->table().snapshot(); }
   std::uint64_t differences() const {
      const auto found = routetrie::difference(*kept_, this->table());
      return static_cast<std::uint64_t>(std::ranges::distance(found));
   }
   void letGo() { kept_.reset(); }

  private:
   using Snapshot = routetrie::basic_snapshot<F::width, U32>;

   static constexpr std::uint32_t changesToOne = 1u << 16;

   void tend() {
      if (changes_++ % changesToOne == 0) {
         snapshot();
      }
   }

   std::optional<Snapshot> held_;
   std::optional<Snapshot> kept_;
   std::uint32_t changes_ = 0;
};

}  // namespace Bench
