// LineEditor: lines from a terminal, with a prompt, editing, the lines before and completion. It stands on libedit, whose licence
// suits this project's, and which reads the user's ~/.editrc. A build without it has the same class, which edits nothing and says so
// (LineEditorAbsent.cpp).
//
// Tested by tests/tools/rtrie/ShellTerminalTest.cpp and LineEditorAbsentTest.cpp.
#pragma once

#include <cstdio>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "tools/rtrie/shell/Completion.h"

namespace Rtrie {

class LineEditor {
  public:
   using Complete = std::function<Completion(std::string_view line)>;

   // Reads standard input, and draws on `screen`. complete: of a line up to the cursor.
   LineEditor(std::FILE* screen, Complete complete);
   LineEditor(const LineEditor&) = delete;
   LineEditor& operator=(const LineEditor&) = delete;
   ~LineEditor();

   // Adds a line that can be gone back to.
   void remember(const std::string& line);

   // The next line without its end; nullopt at the end (Ctrl-D). Ctrl-C drops what was typed and begins anew.
   std::optional<std::string> line();

  private:
   struct Impl;
   std::unique_ptr<Impl> impl_;
};

}  // namespace Rtrie
