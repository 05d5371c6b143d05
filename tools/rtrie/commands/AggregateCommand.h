// AggregateCommand: `rtrie aggregate`, which prints the smallest table that gives every address the same answer.
//
// Tested by tests/tools/rtrie/AggregateTest.cpp.
#pragma once

#include "tools/rtrie/Command.h"

namespace Rtrie {

Run addAggregate(CLI::App& app);

}  // namespace Rtrie
