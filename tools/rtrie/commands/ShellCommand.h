// ShellCommand: `rtrie shell`, which reads tables once and runs commands on them line by line.
//
// Tested by tests/tools/rtrie/ShellTest.cpp and ShellTerminalTest.cpp.
#pragma once

#include "tools/rtrie/Command.h"

namespace Rtrie {

Run addShell(CLI::App& app);

}  // namespace Rtrie
