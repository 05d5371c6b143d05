// Placing: where a kernel puts a route among those of its prefix and metric. Its messages say it; what `ip monitor` prints of
// them does not.
#pragma once

#include "routetrie/platform/Types.h"

namespace Rtrie {

enum class Placing : U8 {
   unsaid,    // in the place of the first of its metric, or, without one, on its own
   replaces,  // in the place of the first
   first,     // before the others
   last,      // behind the others
   alone,     // there is no other
};

}  // namespace Rtrie
