#include "tools/rtrie/manual/Manual.h"

#include <algorithm>
#include <cctype>
#include <sstream>

#include "tools/rtrie/CommandLine.h"
#include "tools/rtrie/Engine.h"

namespace Rtrie {
namespace {

std::string lowered(std::string_view text) {
   std::string lower(text);
   std::transform(lower.begin(), lower.end(), lower.begin(),
                  [](char c) { return static_cast<char>(std::tolower(static_cast<unsigned char>(c))); });
   return lower;
}

// Paragraphs stand between blank lines; one whose first line ends in a colon and is not indented is a section.
std::vector<ManualSection> sectionsOf(const std::string& footer) {
   std::vector<ManualSection> sections;
   std::istringstream lines(footer);
   bool isFirst = true;
   for (std::string line; std::getline(lines, line);) {
      if (line.empty()) {
         isFirst = true;
         continue;
      }
      if (isFirst) {
         sections.emplace_back();
         isFirst = false;
         if (line.back() == ':' && line.front() != ' ') {
            line.pop_back();
            sections.back().title = line;
            continue;
         }
      }
      sections.back().lines.push_back(line);
   }
   return sections;
}

// "a|b" as a and b.
std::vector<std::string> choicesOf(const std::string& argument) {
   std::vector<std::string> parts;
   std::istringstream text(argument);
   for (std::string choice; std::getline(text, choice, '|');) {
      parts.push_back(choice);
   }
   return parts;
}

// FORMAT is one of the section Formats, ENGINE of Engines; of a choice a|B|c, what stands in small letters is meant literally.
std::vector<std::string> valuesOf(const std::string& argument, const Manual& manual) {
   std::vector<std::string> values;
   for (const std::string& choice : choicesOf(argument)) {
      const std::string begin = choice.substr(0, choice.find('['));  // what may follow is in brackets
      if (!begin.empty() && begin == lowered(begin)) {
         values.push_back(begin);
      }
   }
   for (const ManualSection& section : manual.sections) {
      if (!argument.empty() && lowered(section.title) == lowered(argument) + "s") {
         for (const std::string& line : section.lines) {
            if (const auto term = termOf(line); !term.name.empty()) {
               values.emplace_back(term.name);
            }
         }
      }
   }
   if (values.empty() && argument == "ENGINE") {  // where the help does not list them
      for (const Engine& engine : engines()) {
         values.emplace_back(engine.name);
      }
   }
   return values;
}

ManualOption manualOf(const CLI::Option& option) {
   ManualOption manual;
   for (const auto& name : option.get_snames()) {
      manual.names.push_back("-" + name);
   }
   for (const auto& name : option.get_lnames()) {
      manual.names.push_back("--" + name);
   }
   const bool isOperand = manual.names.empty();
   if (isOperand) {
      manual.names.push_back(option.get_name(true));
   }
   if (isOperand) {
      manual.argument = manual.names.front();
   } else if (option.get_type_size() != 0) {
      manual.argument = option.get_type_name();
      manual.argument.erase(std::min(manual.argument.find(":{"), manual.argument.size()));  // what checks it
      manual.argument.erase(std::min(manual.argument.find(" ..."), manual.argument.size()));
   }
   manual.text = option.get_description();
   manual.defaultValue = option.get_default_str();
   manual.isRequired = option.get_required();
   manual.isRepeated = option.get_expected_max() == CLI::detail::expected_max_vector_size;
   return manual;
}

}  // namespace

bool ManualOption::takesFile() const {
   const auto alternatives = choicesOf(argument);
   return std::any_of(alternatives.begin(), alternatives.end(),
                      [](const std::string& each) { return each == "FILE" || each == "A" || each == "B"; });
}

bool ManualOption::takesTable() const { return argument == "TABLE" || takesFile(); }

bool ManualOption::takesPrefix() const { return argument == "QUERY" || argument.find("PREFIX") != std::string::npos; }

bool ManualOption::isNamed(std::string_view name) const {
   return std::find(names.begin(), names.end(), name) != names.end();
}

const ManualOption* Manual::option(std::string_view optionName) const {
   const auto found = std::find_if(options.begin(), options.end(),
                                   [&](const ManualOption& each) { return each.isNamed(optionName); });
   return found == options.end() ? nullptr : &*found;
}

const ManualSection* Manual::section(std::string_view title) const {
   const auto found =
      std::find_if(sections.begin(), sections.end(), [&](const ManualSection& each) { return each.title == title; });
   return found == sections.end() ? nullptr : &*found;
}

ManualTerm termOf(std::string_view line) {
   constexpr std::string_view indent = "  ";
   constexpr std::string_view gap = "  ";
   const auto begin = line.find_first_not_of(' ');
   if (begin == std::string_view::npos) {
      return {};
   }
   const auto text = line.substr(begin);
   const auto end = text.find(gap);
   if (begin != indent.size() || end == std::string_view::npos) {
      return {{}, text};
   }
   const auto what = text.find_first_not_of(' ', end);
   return {text.substr(0, end), what == std::string_view::npos ? std::string_view() : text.substr(what)};
}

Manual manualOf(const CLI::App& app, std::string name) {
   Manual manual;
   manual.name = std::move(name);
   manual.summary = app.get_description();
   manual.sections = sectionsOf(app.get_footer());
   for (const CLI::Option* option : app.get_options()) {
      auto one = manualOf(*option);
      one.values = valuesOf(one.argument, manual);
      (option->nonpositional() ? manual.options : manual.operands).push_back(std::move(one));
   }
   return manual;
}

Manual manualOfProgram() {
   const ProgramLine line = programLine();
   Manual manual = manualOf(*line.app, "rtrie");
   ManualSection known{"Commands", {}};
   for (const Command& command : commands()) {
      known.lines.push_back(fmt::format("  {:<10}  {}", command.name, command.summary));
   }
   manual.sections.insert(manual.sections.begin(), std::move(known));
   return manual;
}

Manual manualOf(const Command& command) {
   CLI::App app{std::string(command.summary)};
   addCommand(command, app);
   return manualOf(app, fmt::format("rtrie {}", command.name));
}

}  // namespace Rtrie
