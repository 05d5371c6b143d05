#include "bench/Optimised.h"

namespace Bench {

// Alone in its file, which is compiled without the precompiled header: fmt asks for some optimisation of its own functions,
// and g++ 12 takes that out of the header for everyone's.
bool isOptimised() noexcept {
#ifdef __OPTIMIZE__
   return true;
#else
   return false;
#endif
}

}  // namespace Bench
