// WatchCommand: `rtrie watch`, which loads tables into the front end that publishes, applies updates from standard input
// as they come, and prints each publication.
//
// Tested by tests/tools/rtrie/WatchTest.cpp.
#pragma once

#include "tools/rtrie/Command.h"

namespace Rtrie {

Run addWatch(CLI::App& app);

}  // namespace Rtrie
