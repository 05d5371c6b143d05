// Colours: of what is printed for people, on a terminal and nowhere else, and never where NO_COLOR is set or the terminal is dumb.
//
// Tested by tests/tools/rtrie/DiffTest.cpp.
#pragma once

#include <unistd.h>

#include <cstdlib>
#include <string_view>

namespace Rtrie {

inline bool showsColours(int descriptor) {
   const char* noColour = std::getenv("NO_COLOR");
   const char* terminal = std::getenv("TERM");
   return isatty(descriptor) == 1 && (noColour == nullptr || *noColour == '\0') &&
          (terminal == nullptr || std::string_view(terminal) != "dumb");
}

// What begins and what ends a piece of text of that colour; empty where there are none.
struct Colours {
   explicit Colours(int descriptor) : isShown(showsColours(descriptor)) {}

   std::string_view removed() const { return isShown ? "\x1b[31m" : ""; }  // red
   std::string_view added() const { return isShown ? "\x1b[32m" : ""; }    // green
   std::string_view end() const { return isShown ? "\x1b[m" : ""; }

   bool isShown;
};

}  // namespace Rtrie
