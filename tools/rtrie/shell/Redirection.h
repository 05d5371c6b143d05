// Redirection: while it lives, standard output goes where a line of the shell says: to a file, or to a command of the system's
// shell.
//
// Tested by tests/tools/rtrie/ShellTest.cpp.
#pragma once

#include <sys/types.h>

#include <csignal>

#include "tools/rtrie/shell/ShellLine.h"

namespace Rtrie {

class Redirection {
  public:
   // Raises DataError if the file or command can't be opened.
   explicit Redirection(const ShellLine& line);
   Redirection(const Redirection&) = delete;
   Redirection& operator=(const Redirection&) = delete;
   ~Redirection() { end(); }

   // Standard output is what it was, and the command has ended. False if that one failed.
   bool end();

  private:
   void outputIs(int descriptor);

   int before_ = -1;  // standard output as it was; -1: unchanged
   pid_t command_ = 0;
   struct sigaction pipeBefore_ {};
};

}  // namespace Rtrie
