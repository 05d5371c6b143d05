// Messages: what goes to standard error. One line each, "rtrie: " first; control characters in quoted text are
// shown as \xNN, so that a bad file can neither split a line nor reach the terminal, and long lines are cut.
//
// Tested by tests/tools/rtrie/MessagesTest.cpp.
#pragma once

#include <string>
#include <string_view>

namespace Rtrie {

// The line that say() would print, with its end.
std::string messageLine(std::string_view text);

// Prints it on standard error.
void say(std::string_view text);

}  // namespace Rtrie
