// Engines: all engines that can be measured, by name. To add one, write its adapter under engines/, a function that
// gives its row, and an entry in Engines.cpp.
#pragma once

#include <array>
#include <span>
#include <string_view>
#include <type_traits>

#include "bench/Measured.h"

namespace Bench {

struct EngineRow {
   std::array<std::string_view, 2> name;  // for IPv4 and for IPv6
   bool isOurs;                           // the others are rivals, which ours are compared with
   MakeMeasured<V4> v4;                   // null: not built, or no such family
   MakeMeasured<V6> v6;

   template <class F>
   std::string_view nameFor() const {
      return name[std::is_same_v<F, V6> ? 1 : 0];
   }
   template <class F>
   MakeMeasured<F> makerFor() const {
      if constexpr (std::is_same_v<F, V6>) {
         return v6;
      } else {
         return v4;
      }
   }
};

// Ours first.
std::span<const EngineRow> engines();

EngineRow tableRow();
EngineRow tableSnapshotRow();
EngineRow sharedTableRow();
EngineRow sharedTableBatchRow();
EngineRow sharedTableBusyRow();
EngineRow watchedRow();
EngineRow watched1kRow();
EngineRow watched1mRow();
EngineRow compiledRow();
EngineRow patriciaRow();
EngineRow patriciaCompactRow();
EngineRow patriciaDataRow();
EngineRow multibitRow();
EngineRow intrusiveRow();
EngineRow trie6Row();
EngineRow compactRow();
EngineRow genRow();
EngineRow wrapperRow();
EngineRow stdMapRow();
EngineRow hashByLengthRow();
EngineRow rteRibRow();
EngineRow rteFibRow();
EngineRow rteLpmRow();

}  // namespace Bench
