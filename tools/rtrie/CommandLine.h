// CommandLine: words made into a command that runs: `rtrie` with all of its commands, or one command by itself, as in a shell.
//
// Tested by tests/tools/rtrie/ProgramTest.cpp and ShellTest.cpp.
#pragma once

#include <CLI/CLI.hpp>

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "tools/rtrie/Command.h"

namespace Rtrie {

// Adds the command's options and its help, exit status and all, to its part of a command line.
Run addCommand(const Command& command, CLI::App& app);

// The program's whole line, and what each of its commands would run.
struct ProgramLine {
   std::unique_ptr<CLI::App> app;
   std::vector<std::pair<const CLI::App*, Run>> runs;
};
ProgramLine programLine();

// Has the app read the words. False if they asked for help or the version, which is printed. Raises UsageError.
bool parse(CLI::App& app, const std::vector<std::string>& words);

// The command by itself, named as it is called, without the words that a session gives.
struct CommandAlone {
   std::unique_ptr<CLI::App> app;
   Run run;
};
CommandAlone commandInShell(const Command& command);

}  // namespace Rtrie
