// LookupCommand: `rtrie lookup`, which loads tables and answers queries about their routes.
//
// Tested by tests/tools/rtrie/LookupTest.cpp.
#pragma once

#include "tools/rtrie/Command.h"

namespace Rtrie {

Run addLookup(CLI::App& app);

}  // namespace Rtrie
