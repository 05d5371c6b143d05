#include "bench/Engines.h"

namespace Bench {

std::span<const EngineRow> engines() {
   static const std::array rows = {
      patriciaRow(),     patriciaCompactRow(), multibitRow(), intrusiveRow(), stdMapRow(),
      hashByLengthRow(), rteRibRow(),          rteFibRow(),   rteLpmRow(),
   };
   return rows;
}

}  // namespace Bench
