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
#include "tools/tables/TableLoader.h"

namespace Rtrie {

// What a command does once its arguments are read. May raise DataError or UsageError.
using Run = std::function<ExitStatus()>;

struct Command {
   std::string_view name;
   std::string_view summary;
   // Adds the command's options to its part of the command line and returns what is to be run.
   Run (*add)(CLI::App& app);
   std::string_view exitStatus = exitStatusHelp;
};

// Adds --table, which a command may need, --strict, --peer and --route-table. The options must outlive the app's parsing.
void addLoadOptions(CLI::App& app, LoadOptions& options, bool needsTable = true);

// Of these, all but --table.
void addSelectionOptions(CLI::App& app, LoadOptions& options);

// Adds --format, and the queries that forEachQuery() takes. They must outlive the app's parsing.
void addFormatOption(CLI::App& app, std::string& format, const std::string& what);
void addQueries(CLI::App& app, std::vector<std::string>& queries);

// Raises UsageError if standard input is to be a table more than once, or a table and what the command reads of it.
enum class StandardInput : U8 { free, queries, updates };
void checkStandardInput(const LoadOptions& options, StandardInput use = StandardInput::free);

// What every command over a table in an engine takes.
struct TableOptions : LoadOptions {
   std::string engine;

   // Adds the load options and --engine. The options must outlive the app's parsing.
   void addTo(CLI::App& app, bool needsTable = true);
   // Raises UsageError if standard input is named more than once.
   void check() const { checkStandardInput(*this); }
};

// Help that follows the options: a title and lines under it.
std::string helpSection(std::string_view title, std::string_view lines);

}  // namespace Rtrie
