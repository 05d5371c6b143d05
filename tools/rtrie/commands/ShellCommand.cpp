#include "tools/rtrie/commands/ShellCommand.h"

#include <fmt/format.h>
#include <unistd.h>

#include <clocale>
#include <cstdio>
#include <memory>
#include <string>

#include "tools/rtrie/Op.h"
#include "tools/rtrie/Registry.h"
#include "tools/rtrie/shell/Completion.h"
#include "tools/rtrie/shell/HistoryFile.h"
#include "tools/rtrie/shell/LineEditor.h"
#include "tools/rtrie/shell/Shell.h"
#include "tools/rtrie/shell/ShellCommands.h"
#include "tools/tables/Interrupt.h"
#include "tools/tables/LineReader.h"
#include "tools/tables/Messages.h"
#include "tools/tables/Numbers.h"

namespace Rtrie {
namespace {

struct ShellOptions : LoadOptions {
   std::string name;
   bool keepsNoHistory = false;
};

// Where a terminal shows what is typed; null if there is none that both shows and asks.
std::FILE* screenOfShell() {
   if (isatty(STDIN_FILENO) != 1) {
      return nullptr;
   }
   return isatty(STDOUT_FILENO) == 1 ? stdout : isatty(STDERR_FILENO) == 1 ? stderr : nullptr;
}

ExitStatus runOnTerminal(const ShellOptions& options, Session& session, std::FILE* screen) {
   std::setlocale(LC_CTYPE, "");  // for what is typed
   HistoryFile past(options.keepsNoHistory ? "" : HistoryFile::defaultPath());
   if (const auto* used = session.used()) {
      fmt::print(screen, "{} routes of {}. ", grouped(used->tables->routes().size()), used->name);
   }
   fmt::print(screen, "`help` tells what can be asked; Ctrl-D ends.\n");
   if (!options.keepsNoHistory) {
      fmt::print(screen, "{}\n",
                 past.fault().empty() ? fmt::format("History is kept in {}.", past.path())
                                      : fmt::format("History is not kept: {}.", past.fault()));
   }
   LineEditor editor(screen, [&](std::string_view line) { return completionOf(line, session); });
   for (const std::string& line : past.lines()) {
      editor.remember(line);
   }
   Shell shell(session);
   const InterruptsCaught caught;  // at the prompt, too: Ctrl-C may come just as a command ends
   while (!session.isOver()) {
      const auto line = editor.line();
      if (!line) {
         fmt::print(screen, "\n");
         break;
      }
      if (line->find_first_not_of(" \t") == std::string::npos) {
         continue;
      }
      editor.remember(*line);
      past.add(*line);
      takeInterrupt();  // one from before the command is not for it
      shell.run(*line);
   }
   return ExitStatus::ok;
}

// Lines of a file or a program, without a prompt.
ExitStatus runOnLines(Session& session) {
   Shell shell(session);
   bool isFine = true;
   const auto source = descriptorSource(STDIN_FILENO, "<stdin>", [] {});
   LineReader reader(*source, [&](std::uint64_t number, const std::string& what) {
      isFine = false;
      say(fmt::format("<stdin>:{}: {}", number, what));
   });
   while (!session.isOver()) {
      const auto line = reader.next();
      if (!line) {
         break;
      }
      isFine = shell.run(*line, fmt::format("<stdin>:{}: ", reader.lineNumber())) && isFine;
   }
   return isFine ? ExitStatus::ok : ExitStatus::badData;
}

ExitStatus run(const ShellOptions& options) {
   Session session(Session::Kind::shell);
   bool isFine = true;
   if (!options.tables.empty()) {
      session.checkStandardInput(options);
      isFine = session.load(options.name, options).tables->report().faults == 0;
   }
   if (std::FILE* const screen = screenOfShell()) {
      return runOnTerminal(options, session, screen);
   }
   const ExitStatus status = runOnLines(session);
   return isFine ? status : ExitStatus::badData;
}

}  // namespace

Run addShell(CLI::App& app) {
   auto options = std::make_shared<ShellOptions>();
   addLoadOptions(app, *options, false);
   app.add_option("--as", options->name, "The name that the tables go by; the names of the files unless given")
      ->type_name("NAME");
   app.add_flag("--no-history", options->keepsNoHistory, "Lines of before are neither read nor kept");
   app.footer(
      "Commands are those of rtrie, with the same options and output: lookup, explain, walk, stats and so on, "
      "without "
      "--table of the tables that are loaded. An op of lookup is a command, too: `match 192.0.2.1`. What goes wrong "
      "in a line is "
      "told, and the next one is read. Without a terminal, lines are read without a prompt, as those of a "
      "script.\n\n" +
      helpSection("Commands of the shell itself", summariesOf(shellCommands())) + "\n" +
      helpSection("A line",
                  "  # ...             a comment\n"
                  "  'a b' \"a b\" a\\ b   one word\n"
                  "  COMMAND | LINE    the output goes to a command line of the system's shell, such as a pager\n"
                  "  COMMAND > FILE    the output goes to a file; >> adds it\n") +
      "\n" +
      helpSection(
         "Keys",
         "  Tab               completes commands, options, engines, files, and prefixes that are in the table\n"
         "  Up, Down, Ctrl-R  lines of before\n"
         "  Ctrl-C            ends what a command prints, and not the shell\n"
         "  Ctrl-D            ends the shell\n") +
      "\n" +
      helpSection("Files",
                  "  $XDG_STATE_HOME/rtrie/history  the lines of before; ~/.local/state without that variable\n"
                  "  ~/.editrc                      keys of one's own, see editrc(5)\n") +
      "\n" +
      helpSection("Examples",
                  "  rtrie shell --table routes.txt.gz\n"
                  "  printf 'match 192.0.2.1\\nexplain 192.0.2.1\\n' | rtrie shell --table routes.txt"));
   return [options] { return run(*options); };
}

}  // namespace Rtrie
