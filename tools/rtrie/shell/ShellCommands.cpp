#include "tools/rtrie/shell/ShellCommands.h"

#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <memory>

#include "tools/rtrie/CommandLine.h"
#include "tools/rtrie/JsonLine.h"
#include "tools/rtrie/Op.h"
#include "tools/rtrie/Output.h"
#include "tools/rtrie/Registry.h"
#include "tools/rtrie/Rows.h"
#include "tools/tables/Messages.h"
#include "tools/tables/Numbers.h"
#include "tools/tables/Progress.h"

namespace Rtrie {
namespace {

//--- load ---

struct ShellLoadOptions : LoadOptions {
   std::string name;
};

ExitStatus loadInShell(const ShellLoadOptions& options, Session& session) {
   session.checkStandardInput(options);
   const auto& loaded = session.load(options.name, options);
   if (Progress::standardErrorShows()) {
      say(fmt::format("{} routes are \"{}\"", grouped(loaded.tables->routes().size()), loaded.name));
   }
   return loaded.tables->report().faults == 0 ? ExitStatus::ok : ExitStatus::badData;
}

Run addShellLoad(CLI::App& app) {
   auto options = std::make_shared<ShellLoadOptions>();
   app.add_option("FILE", options->tables, "Tables of routes, plain or as .gz, .bz2, .xz or .zst: read as one")
      ->type_name("")
      ->required();
   app.add_option("--as", options->name, "The name that the tables go by; the names of the files unless given")
      ->type_name("NAME");
   addSelectionOptions(app, *options);
   app.footer(
      "The tables are used from then on. Those that go by the same name are replaced, once the new ones are "
      "read.\n\n" +
      helpSection("Examples", "  load /usr/share/tor/geoip /usr/share/tor/geoip6 --as geoip\n  load routes.txt.gz"));
   return [options](Session& session) { return loadInShell(*options, session); };
}

//--- tables ---

struct ShellTablesFormat {
   std::string_view name;
   std::string_view summary;
   void (*begin)(Output& output);
   void (*print)(const Session::Named& tables, bool isUsed, Output& output);
};

std::string filesOf(const Session::Named& tables) { return fmt::format("{}", fmt::join(tables.files, " ")); }

std::string routesOf(const Session::Named& tables, Corenet::AddressFamily af) {
   return fmt::format("{}", tables.tables->routes().size(af));
}

template <RowForm form>
void printShellTablesRow(const Session::Named& tables, bool isUsed, Output& output) {
   row(output, form,
       {tables.name, isUsed ? "yes" : "no", routesOf(tables, Corenet::ipv4()), routesOf(tables, Corenet::ipv6()),
        filesOf(tables)});
}

constexpr ShellTablesFormat shellTablesFormats[] = {
   {"text", "for people; a star marks the tables that are used", [](Output&) {},
    [](const Session::Named& tables, bool isUsed, Output& output) {
       const auto& routes = tables.tables->routes();
       output.format("{} {}  {} IPv4, {} IPv6{}{}\n", isUsed ? '*' : ' ', tables.name,
                     grouped(routes.size(Corenet::ipv4())), grouped(routes.size(Corenet::ipv6())),
                     filesOf(tables) == tables.name ? "" : "  of ",
                     filesOf(tables) == tables.name ? "" : filesOf(tables));
    }},
   {"tsv", "name, yes if they are used or no, IPv4 routes, IPv6 routes, files, with tabs between", [](Output&) {},
    printShellTablesRow<RowForm::tsv>},
   {"csv", "the same with commas, and the names of the columns first",
    [](Output& output) {
       rowNames(output, RowForm::csv, {"name", "used", "ipv4", "ipv6", "files"});
    },
    printShellTablesRow<RowForm::csv>},
   {"json", "one object a line: name, used, ipv4, ipv6, files", [](Output&) {},
    [](const Session::Named& tables, bool isUsed, Output& output) {
       const auto& routes = tables.tables->routes();
       jsonLine(output, {{"name", tables.name},
                         {"used", isUsed},
                         {"ipv4", routes.size(Corenet::ipv4())},
                         {"ipv6", routes.size(Corenet::ipv6())},
                         {"files", tables.files}});
    }},
};

Run addShellTables(CLI::App& app) {
   auto format = std::make_shared<std::string>(shellTablesFormats[0].name);
   addFormatOption(app, *format, "How they are printed");
   app.footer(helpSection("Formats", summariesOf(std::span<const ShellTablesFormat>(shellTablesFormats))));
   return [format](const Session& session) {
      const auto& chosen = rowNamed(std::span<const ShellTablesFormat>(shellTablesFormats), "format", *format);
      Output output(STDOUT_FILENO);
      chosen.begin(output);
      for (const auto& each : session.all()) {
         chosen.print(each, &each == session.used(), output);
         output.lineDone();
      }
      output.flush();
      return ExitStatus::ok;
   };
}

//--- use, unload, help, quit ---

// A command with the name of tables as its one operand.
template <void (Session::*change)(std::string_view)>
Run addNameOfTables(CLI::App& app) {
   auto name = std::make_shared<std::string>();
   app.add_option("TABLE", *name, "The name of the tables, as `tables` shows it")->type_name("")->required();
   return [name](Session& session) {
      (session.*change)(*name);
      return ExitStatus::ok;
   };
}

std::string shellHelp() {
   std::vector<Command> asking;
   std::copy_if(commands().begin(), commands().end(), std::back_inserter(asking),
                [](const Command& each) { return each.isForShells; });
   return helpSection("Tables, and the shell itself", summariesOf(shellCommands())) + "\n" +
          helpSection("Questions, of the tables that are used unless --table names others",
                      summariesOf(std::span<const Command>(asking))) +
          "\n" + helpSection("Questions of lookup by their own names", summariesOf(ops())) +
          "\n`help COMMAND` or `COMMAND --help` tells the rest. Output goes on: `walk | less`, `walk > "
          "routes.txt`.\n";
}

Run addShellHelp(CLI::App& app) {
   auto name = std::make_shared<std::string>();
   app.add_option("COMMAND", *name, "What is to be told; without it, what there is")->type_name("");
   return [name](const Session&) {
      Output output(STDOUT_FILENO);
      if (name->empty()) {
         output.text(shellHelp());
      } else if (const auto called = commandCalled(*name)) {
         output.text(commandInShell(*called->command).app->help());
      } else {
         throw UsageError(fmt::format("unknown command \"{}\": help tells those that there are", *name));
      }
      output.flush();
      return ExitStatus::ok;
   };
}

Run addShellQuit(CLI::App&) {
   return [](Session& session) {
      session.end();
      return ExitStatus::ok;
   };
}

constexpr Command shellCommandRows[] = {
   {"load", "Read tables and use them", addShellLoad},
   {"tables", "Show the tables that are loaded", addShellTables},
   {"use", "Use other tables that are loaded", addNameOfTables<&Session::use>},
   {"unload", "Forget tables", addNameOfTables<&Session::unload>},
   {"help", "Show what the shell can be told", addShellHelp},
   {"quit", "End the shell", addShellQuit},
   {"exit", "The same", addShellQuit},
};

}  // namespace

std::span<const Command> shellCommands() { return shellCommandRows; }

std::vector<std::string> shellWords() {
   std::vector<std::string> words;
   for (const Command& command : shellCommands()) {
      words.emplace_back(command.name);
   }
   for (const Command& command : commands()) {
      if (command.isForShells) {
         words.emplace_back(command.name);
      }
   }
   for (const Op& op : ops()) {
      words.emplace_back(op.name);
   }
   return words;
}

std::optional<Called> commandCalled(std::string_view word) {
   for (const auto rows : {shellCommands(), commands()}) {
      for (const Command& command : rows) {
         if (command.name == word && command.isForShells) {
            return Called{&command, {}};
         }
      }
   }
   for (const Op& op : ops()) {
      if (op.name == word) {
         return Called{&rowNamed(commands(), "command", "lookup"), {"--op", std::string(op.name)}};
      }
   }
   return std::nullopt;
}

}  // namespace Rtrie
