// InspectCommand: `rtrie inspect`, which shows what classes the library has and what can be reached of them by name, and
// reads attributes of a loaded table.
//
// Tested by tests/tools/rtrie/InspectTest.cpp.
#pragma once

#include "tools/rtrie/Command.h"

namespace Rtrie {

Run addInspect(CLI::App& app);

}  // namespace Rtrie
