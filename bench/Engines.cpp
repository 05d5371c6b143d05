#include "bench/Engines.h"

namespace Bench {

std::span<const EngineRow> engines() {
   static const std::array rows = {
      tableRow(),           tableSnapshotRow(), sharedTableRow(), sharedTableBatchRow(), sharedTableBusyRow(),
      watchedRow(),         watched1kRow(),     watched1mRow(),   compiledRow(),         patriciaRow(),
      patriciaCompactRow(), patriciaDataRow(),  multibitRow(),    intrusiveRow(),        trie6Row(),
      compactRow(),         genRow(),           wrapperRow(),     stdMapRow(),           hashByLengthRow(),
      rteRibRow(),          rteFibRow(),        rteLpmRow(),
   };
   return rows;
}

}  // namespace Bench
