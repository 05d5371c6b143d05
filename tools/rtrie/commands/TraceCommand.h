// TraceCommand: `rtrie trace`, which shows what a file of timed blocks holds: how long each kind of call took, or every
// call by itself.
//
// Tested by tests/tools/rtrie/TraceTest.cpp.
#pragma once

#include "tools/rtrie/Command.h"

namespace Rtrie {

Run addTrace(CLI::App& app);

}  // namespace Rtrie
