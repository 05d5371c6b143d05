// CommandLine: words made into a command that runs: `rtrie` with all of its commands, or one command by itself, as in a shell.
//
// Tested by tests/tools/rtrie/ProgramTest.cpp and ShellTest.cpp.
#pragma once

#include <CLI/CLI.hpp>

#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "tools/rtrie/Command.h"

namespace Rtrie {

// Adds the command's options and its help, exit status and all, to its part of a command line.
Run addCommand(const Command& command, CLI::App& app);

// Has the app read the words. False if they asked for help or the version, which is printed. Raises UsageError.
bool parse(CLI::App& app, const std::vector<std::string>& words);

// The command by itself, named as it is called, without the words that a session gives.
struct CommandAlone {
   std::unique_ptr<CLI::App> app;
   Run run;
};
CommandAlone commandInShell(const Command& command);

}  // namespace Rtrie
