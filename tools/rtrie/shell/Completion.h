// Completion: how a line of the shell may go on behind the cursor: commands, their options and what those take, files, names of
// tables, and prefixes that are in the table.
//
// Tested by tests/tools/rtrie/CompletionTest.cpp.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "tools/rtrie/Session.h"
#include "tools/rtrie/shell/PrefixCompletion.h"

namespace Rtrie {

struct Completion {
   std::size_t begin = 0;  // of the word that goes on, in the line
   std::vector<CompletedWord> words;

   // What all words begin with, as it is to stand in the line from `begin` on: the whole word and a blank if there is one alone.
   std::string common() const;
};

// line: up to the cursor.
Completion completionOf(std::string_view line, const Session& session);

}  // namespace Rtrie
