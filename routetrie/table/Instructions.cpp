#include "routetrie/table/Instructions.h"

namespace routetrie::Impl {

bool hasInstructions(instruction_set which) noexcept {
#if defined(__x86_64__)
   switch (which) {
      case instruction_set::plain: return true;
      case instruction_set::avx2:
         return __builtin_cpu_supports("avx2") && __builtin_cpu_supports("bmi2") && __builtin_cpu_supports("popcnt");
      case instruction_set::avx512:
         return hasInstructions(instruction_set::avx2) && __builtin_cpu_supports("avx512f") &&
                __builtin_cpu_supports("avx512bw") && __builtin_cpu_supports("avx512vl") &&
                __builtin_cpu_supports("avx512vpopcntdq");
   }
   return false;
#else
   return which == instruction_set::plain;
#endif
}

instruction_set bestInstructions() noexcept {
   static const instruction_set best = hasInstructions(instruction_set::avx512) ? instruction_set::avx512
                                       : hasInstructions(instruction_set::avx2) ? instruction_set::avx2
                                                                                : instruction_set::plain;
   return best;
}

}  // namespace routetrie::Impl
