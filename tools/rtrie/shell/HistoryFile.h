// HistoryFile: the lines that were given to the shell before, in a file of plain text, a line each. Each is added as it is given, so
// that none is lost, and shells beside one another keep each other's.
//
// Tested by tests/tools/rtrie/HistoryFileTest.cpp.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "routetrie/platform/Types.h"

namespace Rtrie {

class HistoryFile {
  public:
   // The newest lines that are kept.
   static constexpr std::size_t mostLines = 1000;

   // rtrie/history under XDG_STATE_HOME, or under .local/state of the home folder; empty if there is neither.
   static std::string defaultPath();

   // An empty path: no file.
   explicit HistoryFile(std::string path);

   const std::string& path() const { return path_; }
   // Those that were there when this was made, the oldest first.
   const std::vector<std::string>& lines() const { return lines_; }
   // Why lines are not kept; empty if they are.
   const std::string& fault() const { return fault_; }

   // Adds a line to the file; does nothing if there is a fault.
   void add(std::string_view line);

  private:
   void read();
   void rewrite() const;

   const std::string path_;
   std::vector<std::string> lines_;
   std::string fault_;
};

}  // namespace Rtrie
