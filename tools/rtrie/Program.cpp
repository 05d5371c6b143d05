#include "tools/rtrie/Program.h"

#include <fmt/format.h>

#include <algorithm>
#include <exception>
#include <iterator>
#include <new>

#include "tools/rtrie/Command.h"
#include "tools/rtrie/CommandLine.h"
#include "tools/rtrie/Registry.h"
#include "tools/rtrie/commands/AggregateCommand.h"
#include "tools/rtrie/commands/DiffCommand.h"
#include "tools/rtrie/commands/DumpCommand.h"
#include "tools/rtrie/commands/ExplainCommand.h"
#include "tools/rtrie/commands/FreeCommand.h"
#include "tools/rtrie/commands/InspectCommand.h"
#include "tools/rtrie/commands/LookupCommand.h"
#include "tools/rtrie/commands/MapCommand.h"
#include "tools/rtrie/commands/ReportCommand.h"
#include "tools/rtrie/commands/ShellCommand.h"
#include "tools/rtrie/commands/StatsCommand.h"
#include "tools/rtrie/commands/TraceCommand.h"
#include "tools/rtrie/commands/VerifyCommand.h"
#include "tools/rtrie/commands/WalkCommand.h"
#include "tools/rtrie/commands/WatchCommand.h"
#include "tools/tables/Messages.h"

namespace Rtrie {
namespace {

constexpr Command commandRows[] = {
   {"lookup", "Load tables and answer queries about their routes", addLookup},
   {"explain", "Load tables and tell why an address or a prefix gets the answer that it gets", addExplain},
   {"diff", "Compare two tables route by route", addDiff,
    "  0                 the tables have the same routes\n"
    "  1                 they differ\n"
    "  2                 a table or the command line is bad, or the output can't be written\n",
    true, true},
   {"aggregate", "Load tables and print the smallest one that gives every address the same answer", addAggregate},
   {"free", "Load tables and print what they leave free of a prefix", addFree},
   {"verify", "Load tables into every engine and compare what the engines answer", addVerify,
    "  0                 every engine is sound and answers as it should\n"
    "  1                 one does not, or some input was bad\n"
    "  2                 the command line asks for something that does not exist\n"
    "  3                 nothing was usable, or the output can't be written\n"},
   {"stats", "Load tables and show their size, cost and make-up", addStats},
   {"walk", "Load tables and print their routes in order", addWalk},
   {"map", "Draw the addresses as a picture, coloured by what tables say of them", addMap},
   {"report", "Write a page that tells what tables hold, for a browser or a printer", addReport},
   {"dump", "Load tables and print the state of the engine that holds them", addDump},
   {"inspect", "Show the library's classes, or load tables and read an engine's attributes, all by name", addInspect},
   {"shell", "Load tables once and run commands on them, line by line", addShell,
    "  0                 all lines did what they were to do, or a terminal gave them\n"
    "  1                 some line did not, or some input was bad\n"
    "  2                 the command line asks for something that does not exist\n"
    "  3                 nothing was usable, or the output can't be written\n",
    false},
   {"trace", "Show how long the calls took that a program recorded", addTrace},
   {"watch", "Apply updates to a table and print what each of them changed", addWatch, exitStatusHelp, false},
};

ExitStatus runCommandLine(int argc, char** argv) {
   const ProgramLine line = programLine();
   if (!parse(*line.app, std::vector<std::string>(argv + std::min(argc, 1), argv + argc))) {
      return ExitStatus::ok;
   }
   Session session(Session::Kind::command);
   for (const auto& [part, run] : line.runs) {
      if (part->parsed()) {
         return run(session);
      }
   }
   throw UsageError(fmt::format("a command is required: known are {}", namesOf(commands())));
}

ExitStatus failed(std::string_view text, ExitStatus status) {
   say(text);
   return status;
}

}  // namespace

std::span<const Command> commands() { return commandRows; }

int runProgram(int argc, char** argv) {
   const auto status = [&] {
      try {
         return runCommandLine(argc, argv);
      } catch (const UsageError& error) {
         return failed(error.what(), ExitStatus::badUsage);
      } catch (const DataError& error) {
         return failed(error.what(), ExitStatus::nothingUsable);
      } catch (const std::bad_alloc&) {
         return failed("out of memory", ExitStatus::nothingUsable);
      } catch (const std::exception& error) {
         return failed(error.what(), ExitStatus::nothingUsable);
      }
   }();
   return static_cast<int>(status);
}

}  // namespace Rtrie
