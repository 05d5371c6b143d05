#include "tools/rtrie/manual/CompletionScripts.h"

#include <fmt/format.h>

#include <string_view>
#include <vector>

namespace Rtrie {
namespace {

std::string_view wordOf(const Manual& manual) {
   const std::string_view name = manual.name;
   return name.substr(name.rfind(' ') + 1);
}

std::vector<std::string> wordsOfOptions(const Manual& manual) {
   std::vector<std::string> words;
   for (const ManualOption& option : manual.options) {
      words.insert(words.end(), option.names.begin(), option.names.end());
   }
   return words;
}

// Quoted for either shell.
std::string inQuotes(std::string_view text) {
   std::string quoted = "'";
   for (const char c : text) {
      quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
   }
   return quoted + "'";
}

// What bash does for one that takes something: names of files, one of some words, or nothing.
std::string bashAction(const ManualOption& option) {
   if (option.takesFile()) {
      return "_rtrie_files";
   }
   return option.values.empty()
             ? ":"
             : fmt::format("_rtrie_words {}", inQuotes(fmt::format("{}", fmt::join(option.values, " "))));
}

//--- zsh ---

// Within [...] of an option.
std::string zshText(std::string_view text) {
   std::string escaped;
   for (const char c : text) {
      escaped += c == '[' || c == ']' || c == '\\' ? fmt::format("\\{}", c) : std::string(1, c);
   }
   return escaped;
}

// ":message:action" of what is taken.
std::string zshArgument(const ManualOption& option) {
   std::string message = option.argument;
   for (char& c : message) {
      c = c == ':' ? ' ' : c;
   }
   return fmt::format(":{}:{}", message,
                      option.takesFile()      ? "_files"
                      : option.values.empty() ? " "
                                              : fmt::format("({})", fmt::join(option.values, " ")));
}

std::string zshArguments(const Manual& manual, std::string_view indent) {
   std::string lines;
   for (const ManualOption& option : manual.options) {
      const std::string others = fmt::format("{}", fmt::join(option.names, " "));
      for (const std::string& name : option.names) {
         const std::string once = option.isRepeated ? "*" : fmt::format("({})", others);
         // Behind a long name an argument may stand after a blank or =.
         const bool mayEqual = name.starts_with("--") && !option.argument.empty();
         lines +=
            fmt::format(" \\\n{}{}", indent,
                        inQuotes(fmt::format("{}{}{}[{}]{}", once, name, mayEqual ? "=" : "", zshText(option.text),
                                             option.argument.empty() ? "" : zshArgument(option))));
      }
   }
   for (const ManualOption& operand : manual.operands) {
      lines += fmt::format(" \\\n{}{}", indent, inQuotes((operand.isRepeated ? "*" : "") + zshArgument(operand)));
   }
   return lines;
}

}  // namespace

std::string bashCompletion(const Manual& program, std::span<const Manual> commands) {
   std::vector<std::string> words;
   for (const Manual& command : commands) {
      words.emplace_back(wordOf(command));
   }
   std::string text =
      "# bash completion for rtrie\n"
      "\n"
      "# The words among these that begin as the one at the cursor.\n"
      "_rtrie_words() { mapfile -t COMPREPLY < <(compgen -W \"$1\" -- \"$cur\"); }\n"
      "_rtrie_files() {\n"
      "   compopt -o filenames 2>/dev/null\n"
      "   mapfile -t COMPREPLY < <(compgen -f -- \"$cur\")\n"
      "}\n"
      "\n"
      "_rtrie() {\n"
      "   local cur=${COMP_WORDS[COMP_CWORD]} prev=${COMP_WORDS[COMP_CWORD-1]} command=${COMP_WORDS[1]}\n"
      "   COMPREPLY=()\n"
      "   # bash takes --option=value apart.\n"
      "   if [[ $cur == = ]]; then\n"
      "      cur=\n"
      "   elif [[ $prev == = ]]; then\n"
      "      prev=${COMP_WORDS[COMP_CWORD-2]}\n"
      "   fi\n"
      "   if ((COMP_CWORD == 1)); then\n";
   auto first = words;
   for (const std::string& option : wordsOfOptions(program)) {
      first.push_back(option);
   }
   text += fmt::format("      _rtrie_words '{}'\n      return\n   fi\n   case $command in\n", fmt::join(first, " "));
   for (const Manual& command : commands) {
      text += fmt::format("   {})\n      case $prev in\n", wordOf(command));
      for (const ManualOption& option : command.options) {
         if (!option.argument.empty()) {
            text += fmt::format("      {}) {}; return ;;\n", fmt::join(option.names, " | "), bashAction(option));
         }
      }
      text += fmt::format("      esac\n      if [[ $cur == -* ]]; then\n         _rtrie_words '{}'\n",
                          fmt::join(wordsOfOptions(command), " "));
      if (!command.operands.empty()) {
         text += fmt::format("      else\n         {}\n", bashAction(command.operands.front()));
      }
      text += "      fi\n      ;;\n";
   }
   return text + "   esac\n}\n\ncomplete -F _rtrie rtrie\n";
}

std::string zshCompletion(const Manual& program, std::span<const Manual> commands) {
   std::string text =
      "#compdef rtrie\n"
      "\n"
      "_rtrie() {\n"
      "   local context state state_descr line\n"
      "   typeset -A opt_args\n"
      "   local -a commands=(\n";
   for (const Manual& command : commands) {
      text += fmt::format("      {}\n", inQuotes(fmt::format("{}:{}", wordOf(command), command.summary)));
   }
   text += fmt::format(
      "   )\n"
      "   _arguments -C{} \\\n"
      "      '1: :->command' \\\n"
      "      '*:: :->arguments' && return\n"
      "   case $state in\n"
      "   command) _describe -t commands command commands ;;\n"
      "   arguments)\n"
      "      case $words[1] in\n",
      zshArguments(program, "      "));
   for (const Manual& command : commands) {
      text += fmt::format("      {})\n         _arguments{}\n         ;;\n", wordOf(command),
                          zshArguments(command, "            "));
   }
   return text + "      esac\n      ;;\n   esac\n}\n\n_rtrie \"$@\"\n";
}

}  // namespace Rtrie
