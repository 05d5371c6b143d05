// DumpCommand: `rtrie dump`, which loads tables and prints the state of the engine that holds them.
//
// Tested by tests/tools/rtrie/DumpTest.cpp.
#pragma once

#include "tools/rtrie/Command.h"

namespace Rtrie {

Run addDump(CLI::App& app);

}  // namespace Rtrie
