#include "tools/rtrie/CommandLine.h"

#include <fmt/format.h>

#include <algorithm>

#include "tools/rtrie/Registry.h"
#include "tools/tables/TableFormat.h"

namespace Rtrie {
namespace {

// The argument parser's text as a message: one line, lower case, without a full stop.
std::string asMessage(std::string text) {
   std::replace(text.begin(), text.end(), '\n', ' ');
   text.erase(text.find_last_not_of(". ") + 1);
   if (!text.empty() && text.front() >= 'A' && text.front() <= 'Z') {
      text.front() = static_cast<char>(text.front() - 'A' + 'a');
   }
   return text;
}

}  // namespace

Run addCommand(const Command& command, CLI::App& app) {
   Run run = command.add(app);
   app.footer(app.get_footer() + "\n\n" + helpSection("Exit status", command.exitStatus));
   return run;
}

ProgramLine programLine() {
   ProgramLine line{std::make_unique<CLI::App>("Keeps IP routes in tries and answers questions about them", "rtrie"),
                    {}};
   CLI::App& app = *line.app;
   app.set_version_flag("--version", std::string("rtrie ") + RTRIE_VERSION);
   app.footer(helpSection("Table formats, told by content", summariesOf(tableFormats())) + "\n" +
              helpSection("Exit status", exitStatusHelp) + "\n" +
              helpSection("Example", "  rtrie lookup --table routes.txt 192.0.2.1"));
   app.require_subcommand(0, 1);  // so that a query may be spelled as another command
   for (const Command& command : commands()) {
      CLI::App* part = app.add_subcommand(std::string(command.name), std::string(command.summary));
      line.runs.emplace_back(part, addCommand(command, *part));
   }
   return line;
}

bool parse(CLI::App& app, const std::vector<std::string>& words) {
   try {
      app.parse(std::vector<std::string>(words.rbegin(), words.rend()));  // it takes them from the end
   } catch (const CLI::Success& request) {
      app.exit(request);
      return false;
   } catch (const CLI::ExtrasError& fault) {
      if (const auto others = app.remaining();
          !others.empty() && !others.front().starts_with('-') && !app.get_subcommands(nullptr).empty()) {
         throw UsageError(fmt::format("unknown command \"{}\": known are {}", others.front(), namesOf(commands())));
      }
      throw UsageError(asMessage(fault.what()));
   } catch (const CLI::ParseError& fault) {
      throw UsageError(asMessage(fault.what()));
   }
   return true;
}

CommandAlone commandInShell(const Command& command) {
   auto app = std::make_unique<CLI::App>(std::string(command.summary), std::string(command.name));
   Run run = addCommand(command, *app);
   for (const auto name : givenBySession) {
      if (auto* const option = app->get_option_no_throw(std::string(name))) {
         option->required(false);
      }
   }
   return {std::move(app), std::move(run)};
}

}  // namespace Rtrie
