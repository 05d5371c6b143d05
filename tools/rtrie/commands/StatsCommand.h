// StatsCommand: `rtrie stats`, which loads tables and tells their size, cost and make-up.
//
// Tested by tests/tools/rtrie/StatsTest.cpp.
#pragma once

#include "tools/rtrie/Command.h"

namespace Rtrie {

Run addStats(CLI::App& app);

}  // namespace Rtrie
