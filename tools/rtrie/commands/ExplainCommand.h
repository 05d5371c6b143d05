// ExplainCommand: `rtrie explain`, which loads tables and tells why an address or a prefix gets the answer that it gets.
//
// Tested by tests/tools/rtrie/ExplainTest.cpp.
#pragma once

#include "tools/rtrie/Command.h"

namespace Rtrie {

Run addExplain(CLI::App& app);

}  // namespace Rtrie
