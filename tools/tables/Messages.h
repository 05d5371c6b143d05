// Messages: what goes to standard error. One line each, the program's name first, as in "rtrie: no such file"; control characters in quoted text are
// shown as \xNN, so that a bad file can neither split a line nor reach the terminal, and long lines are cut.
//
// Tested by tests/tools/tables/MessagesTest.cpp.
#pragma once

#include <string>
#include <string_view>

namespace Rtrie {

// Whose messages they are: "rtrie" until told otherwise. For all threads, and so before there are any. Requires: a text that
// lasts.
void speakerIs(std::string_view program);

// The line that say() would print, with its end.
std::string messageLine(std::string_view text);

// Prints it on standard error.
void say(std::string_view text);

}  // namespace Rtrie
