// DiffCommand: `rtrie diff`, which compares two tables route by route.
//
// Tested by tests/tools/rtrie/DiffTest.cpp.
#pragma once

#include "tools/rtrie/Command.h"

namespace Rtrie {

Run addDiff(CLI::App& app);

}  // namespace Rtrie
