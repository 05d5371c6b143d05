// Instructions: the instruction sets that code is written for beside the plain one, and which of them this machine has. Whoever has
// more than one form of a function asks here, as the program runs.
// Tested by tests/table/CompiledTest.cpp.
#pragma once

#include "routetrie/platform/Corenet/Integers.h"
#include "routetrie/platform/Export.h"

namespace routetrie {

// The instructions that bursts are looked up with.
enum class instruction_set : Corenet::U8 { plain, avx2, avx512 };

namespace Impl {

// All that the library's functions of this form use.
ROUTETRIE_EXPORT bool hasInstructions(instruction_set which) noexcept;
ROUTETRIE_EXPORT instruction_set bestInstructions() noexcept;

}  // namespace Impl
}  // namespace routetrie
