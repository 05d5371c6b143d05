// Manual: what a command's help says, by its parts: read off the command line that parses its arguments, so that help, man pages
// and completion can say nothing else.
//
// Tested by tests/tools/rtrie/ManualTest.cpp.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "tools/rtrie/Command.h"

namespace Rtrie {

// An option, or an operand, which has one name without dashes.
struct ManualOption {
   std::vector<std::string> names;  // "-h", "--help"
   std::string argument;            // what it takes: FILE, refuse|mask; empty for a flag
   std::string text;                // without a full stop
   std::string defaultValue;        // empty if there is none
   bool isRequired = false;
   bool isRepeated = false;          // it can be given again
   std::vector<std::string> values;  // what its argument can be, as far as that is known

   bool takesFile() const;
   bool takesPrefix() const;
   bool takesTable() const;  // a file, or in a shell the name of tables
   bool isNamed(std::string_view name) const;
};

// Lines under a title, as helpSection() makes them. Without a title, a paragraph.
struct ManualSection {
   std::string title;
   std::vector<std::string> lines;
};

struct Manual {
   std::string name;     // "rtrie lookup"; "rtrie" for all
   std::string summary;  // without a full stop
   std::vector<ManualOption> options;
   std::vector<ManualOption> operands;
   std::vector<ManualSection> sections;

   const ManualOption* option(std::string_view name) const;
   const ManualSection* section(std::string_view title) const;
};

Manual manualOf(const CLI::App& app, std::string name);

// The program's own, and that of one of its commands.
Manual manualOfProgram();
Manual manualOf(const Command& command);

// "name      what it is": the name of such a line, and the rest; the name is empty where a line goes on.
struct ManualTerm {
   std::string_view name;
   std::string_view text;
};
ManualTerm termOf(std::string_view line);

}  // namespace Rtrie
