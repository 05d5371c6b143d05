// Shell: runs commands line by line in one session, so that tables are read once and asked often. What goes wrong in a line is
// told, and the next one is run.
//
// Tested by tests/tools/rtrie/ShellTest.cpp.
#pragma once

#include <string_view>

#include "tools/rtrie/Session.h"

namespace Rtrie {

class Shell {
  public:
   // The session has to live as long.
   explicit Shell(Session& session) : session_(session) {}

   // Runs one line; true if all went well, a blank line included. What it raised is told on standard error with `where` in front:
   // "<stdin>:3: ".
   bool run(std::string_view line, std::string_view where = "");

  private:
   bool runWords(std::string_view text);

   Session& session_;
};

}  // namespace Rtrie
