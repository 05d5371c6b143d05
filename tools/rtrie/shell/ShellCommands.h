// ShellCommands: the words that the shell knows: its own commands, those of rtrie that ask, and each op of lookup by itself.
//
// Tested by tests/tools/rtrie/ShellTest.cpp.
#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "tools/rtrie/Command.h"

namespace Rtrie {

// load, tables, use, ...
std::span<const Command> shellCommands();

// All words that a line can begin with.
std::vector<std::string> shellWords();

// What a word calls, and the arguments that it stands for: match is lookup --op match. nullopt: nothing.
struct Called {
   const Command* command;
   std::vector<std::string> arguments;
};
std::optional<Called> commandCalled(std::string_view word);

}  // namespace Rtrie
