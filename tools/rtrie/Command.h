// Command: a word after `rtrie`. To add one, write it under commands/ and give it a row in Program.cpp.
//
// Tested by tests/tools/rtrie/ProgramTest.cpp.
#pragma once

#include <CLI/CLI.hpp>

#include <concepts>
#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "tools/rtrie/Errors.h"
#include "tools/rtrie/Session.h"
#include "tools/tables/TableLoader.h"

namespace Rtrie {

// What a command does once its arguments are read. May raise DataError or UsageError. One that asks no tables needs no session.
class Run {
  public:
   template <std::invocable<Session&> Function>
   Run(Function run) : run_(std::move(run)) {}
   template <std::invocable<> Function>
   Run(Function run) : run_([own = std::move(run)](Session&) { return own(); }) {}

   ExitStatus operator()(Session& session) const { return run_(session); }

  private:
   std::function<ExitStatus(Session&)> run_;
};

struct Command {
   std::string_view name;
   std::string_view summary;
   // Adds the command's options to its part of the command line and returns what is to be run.
   Run (*add)(CLI::App& app);
   std::string_view exitStatus = exitStatusHelp;
   bool isForShells = true;       // runs in a shell too: it asks, and leaves standard input to others
   bool answersByStatus = false;  // ends with 1 where the answer is so, and with more where something is wrong
};

// All of them, in the order of the help. In Program.cpp.
std::span<const Command> commands();

// What a command needs unless its session has tables: the names of such options.
inline constexpr std::string_view givenBySession[] = {"--table", "B"};

// Adds --table, which a command may need, --strict, --peer and --route-table. The options must outlive the app's parsing.
void addLoadOptions(CLI::App& app, LoadOptions& options, bool needsTable = true);

// Of these, all but --table.
void addSelectionOptions(CLI::App& app, LoadOptions& options);

// Adds --format, and the queries that forEachQuery() takes. They must outlive the app's parsing.
void addFormatOption(CLI::App& app, std::string& format, const std::string& what);
void addQueries(CLI::App& app, std::vector<std::string>& queries);

// What every command over a table in an engine takes.
struct TableOptions : LoadOptions {
   std::string engine;

   // Adds the load options and --engine. The options must outlive the app's parsing.
   void addTo(CLI::App& app, bool needsTable = true);
};

// Help that follows the options: a title and lines under it.
std::string helpSection(std::string_view title, std::string_view lines);

}  // namespace Rtrie
