// FreeCommand: `rtrie free`, which prints what is not taken of a prefix.
//
// Tested by tests/tools/rtrie/FreeTest.cpp.
#pragma once

#include "tools/rtrie/Command.h"

namespace Rtrie {

Run addFree(CLI::App& app);

}  // namespace Rtrie
