// In the place of LineEditor.cpp in a build without libedit: lines as the terminal itself edits them.
#include <fmt/format.h>

#include <cstdlib>

#include "tools/rtrie/shell/LineEditor.h"
#include "tools/tables/Interrupt.h"

namespace Rtrie {

struct LineEditor::Impl {
   explicit Impl(std::FILE* onScreen) : screen(onScreen) {}
   Impl(const Impl&) = delete;
   Impl& operator=(const Impl&) = delete;
   ~Impl() { std::free(text); }

   std::FILE* const screen;
   char* text = nullptr;  // as getline() has it
   std::size_t room = 0;
};

LineEditor::LineEditor(std::FILE* screen, Complete) : impl_(std::make_unique<Impl>(screen)) {
   fmt::print(screen,
              "This rtrie was built without libedit, which edits lines: Tab completes nothing, and no line of before "
              "comes back.\n");
}

LineEditor::~LineEditor() = default;

void LineEditor::remember(const std::string&) {}

std::optional<std::string> LineEditor::line() {
   for (;;) {
      fmt::print(impl_->screen, "rtrie> ");
      std::fflush(impl_->screen);
      const ssize_t size = getline(&impl_->text, &impl_->room, stdin);
      if (takeInterrupt()) {
         std::clearerr(stdin);
         fmt::print(impl_->screen, "\n");
         continue;
      }
      if (size < 0) {
         return std::nullopt;
      }
      std::string line(impl_->text, static_cast<std::size_t>(size));
      line.erase(line.find_last_not_of("\r\n") + 1);
      return line;
   }
}

}  // namespace Rtrie
