// ShellLine: a line of the shell, taken apart: its words, and where its output goes.
//
//    walk "10.0.0.0/8"  | head -3      words, and what the system's shell is to run on their output
//    free --within 10.0.0.0/8 >> file  words, and the file that their output is added to
//    # nothing                         a comment
//
// A blank parts words, unless it stands in '...' or "..." or behind a backslash.
// Tested by tests/tools/rtrie/ShellLineTest.cpp.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "routetrie/platform/Types.h"

namespace Rtrie {

struct ShellLine {
   struct Word {
      std::string text;       // without quotes and backslashes
      std::size_t begin = 0;  // in the line
   };

   std::vector<Word> words;
   std::string pipe;      // a command line of the system's shell; empty: none
   std::string file;      // empty: none
   bool appends = false;  // to that file
   std::string fault;     // empty: none

   // Never raises: what is wrong with a line is its fault, and the words before it are there.
   static ShellLine of(std::string_view text);

   // The words alone.
   std::vector<std::string> texts() const;
};

// The text as a word of such a line.
std::string quotedForShell(std::string_view text);

}  // namespace Rtrie
