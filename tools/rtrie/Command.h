// Command: a word after `rtrie`. To add one, write it under commands/ and give it a row in Program.cpp.
//
// Tested by tests/tools/rtrie/ProgramTest.cpp.
#pragma once

#include <CLI/CLI.hpp>

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "tools/rtrie/Errors.h"

namespace Rtrie {

// What a command does once its arguments are read. May raise DataError or UsageError.
using Run = std::function<ExitStatus()>;

struct Command {
   std::string_view name;
   std::string_view summary;
   // Adds the command's options to its part of the command line and returns what is to be run.
   Run (*add)(CLI::App& app);
};

// What every command over a table takes.
struct TableOptions {
   std::vector<std::string> tables;
   std::string engine;
   bool strict = false;

   // Adds --table, which a command may need, --engine and --strict. The options must outlive the app's parsing.
   void addTo(CLI::App& app, bool needsTable = true);
   // Raises UsageError if standard input is named more than once.
   void check() const;
   bool readsStandardInput() const;
};

// Help that follows the options: a title and lines under it.
std::string helpSection(std::string_view title, std::string_view lines);

}  // namespace Rtrie
