// VerifyCommand: `rtrie verify`, which holds a table in every engine and compares what they answer.
//
// Tested by tests/tools/rtrie/VerifyTest.cpp.
#pragma once

#include "tools/rtrie/Command.h"

namespace Rtrie {

Run addVerify(CLI::App& app);

}  // namespace Rtrie
