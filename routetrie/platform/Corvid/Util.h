// Util: facts about the machine.
// Tested by tests/platform/Regalloc/EntryTest.cpp.
#pragma once

#include "routetrie/platform/Export.h"

namespace Corvid::Util {

// Whether the machine has at least 4 GiB of memory; where that can't be told, it has not. The same at every call.
ROUTETRIE_EXPORT bool isLargeMemorySystem() noexcept;

}  // namespace Corvid::Util
