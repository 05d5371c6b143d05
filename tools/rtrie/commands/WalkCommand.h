// WalkCommand: `rtrie walk`, which loads tables and prints their routes in the order of a walk.
//
// Tested by tests/tools/rtrie/WalkTest.cpp.
#pragma once

#include "tools/rtrie/Command.h"

namespace Rtrie {

Run addWalk(CLI::App& app);

}  // namespace Rtrie
