#include "tools/rtrie/shell/LineEditor.h"

#include <fmt/format.h>
#include <histedit.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>

#include "tools/rtrie/Errors.h"
#include "tools/tables/Interrupt.h"

namespace Rtrie {
namespace {

constexpr std::size_t mostShown = 100;

// The words in columns, down and then across, as ls prints them.
std::string inColumns(const std::vector<CompletedWord>& words, std::size_t screenWidth) {
   const std::size_t shown = std::min(words.size(), mostShown);
   std::size_t width = 1;
   for (std::size_t i = 0; i < shown; ++i) {
      width = std::max(width, words[i].text.size() + 2);
   }
   const std::size_t columns = std::max<std::size_t>(1, screenWidth / width);
   const std::size_t rows = (shown + columns - 1) / columns;
   std::string text;
   for (std::size_t row = 0; row < rows; ++row) {
      for (std::size_t i = row; i < shown; i += rows) {
         text += i + rows < shown ? fmt::format("{:<{}}", words[i].text, width) : words[i].text;
      }
      text += "\n";
   }
   if (words.size() > shown) {
      text += fmt::format("... and {} more\n", words.size() - shown);
   }
   return text;
}

}  // namespace

struct LineEditor::Impl {
   Impl(std::FILE* onScreen, Complete how)
      : screen(onScreen),
        complete(std::move(how)),
        editor(el_init("rtrie", stdin, screen, stderr)),
        lines(history_init()) {
      if (editor == nullptr || lines == nullptr) {
         throw DataError("cannot edit lines on this terminal");
      }
      HistEvent event;
      history(lines, &event, H_SETSIZE, mostRemembered);
      history(lines, &event, H_SETUNIQUE, 1);
      el_set(editor, EL_CLIENTDATA, this);
      el_set(editor, EL_PROMPT, prompt);
      el_set(editor, EL_EDITOR, "emacs");
      el_set(editor, EL_HIST, history, lines);
      el_set(editor, EL_ADDFN, "rtrie-complete", "Complete the word", completeHere);
      el_set(editor, EL_ADDFN, "rtrie-drop", "Drop the line", dropHere);
      el_set(editor, EL_ADDFN, "rtrie-suspend", "Suspend the shell", suspendHere);
      el_set(editor, EL_BIND, "^I", "rtrie-complete", nullptr);
      el_set(editor, EL_BIND, "^R", "em-inc-search-prev", nullptr);
      // As long as a line is edited Ctrl-C is a key as any other; while a command runs, it is a signal.
      el_set(editor, EL_SETTY, "-d", "-isig", nullptr);
      el_set(editor, EL_BIND, "^C", "rtrie-drop", nullptr);
      el_set(editor, EL_BIND, "^Z", "rtrie-suspend", nullptr);
      el_source(editor, nullptr);
   }
   Impl(const Impl&) = delete;
   Impl& operator=(const Impl&) = delete;
   ~Impl() {
      if (lines != nullptr) {
         history_end(lines);
      }
      if (editor != nullptr) {
         el_end(editor);
      }
   }

   static Impl& of(EditLine* editor) {
      void* self = nullptr;
      el_get(editor, EL_CLIENTDATA, &self);
      return *static_cast<Impl*>(self);
   }
   // The library's type for it is a text that can be written to.
   static char* prompt(EditLine*) {
      static char text[] = "rtrie> ";
      return text;
   }

   static unsigned char completeHere(EditLine* editor, int) { return of(editor).completeWord(); }

   unsigned char completeWord() {
      const LineInfo* line = el_line(editor);
      const std::string_view text(line->buffer, static_cast<std::size_t>(line->cursor - line->buffer));
      const Completion completion = complete(text);
      const std::string common = completion.common();
      const std::string_view typed = text.substr(completion.begin);
      if (completion.words.empty()) {
         return CC_REFRESH_BEEP;
      }
      // What was typed with other quotes is written anew.
      if (!common.empty() && common != typed && (completion.words.size() == 1 || common.size() > typed.size())) {
         el_deletestr(editor, static_cast<int>(typed.size()));
         el_insertstr(editor, common.c_str());
         return CC_REFRESH;
      }
      winsize size{};
      const bool isKnown = ioctl(fileno(screen), TIOCGWINSZ, &size) == 0 && size.ws_col != 0;
      fmt::print(screen, "\n{}", inColumns(completion.words, isKnown ? size.ws_col : 80));
      return CC_REDISPLAY;
   }

   static unsigned char dropHere(EditLine* editor, int) {
      Impl& self = of(editor);
      self.isDropped = true;
      fmt::print(self.screen, "^C\n");
      std::fflush(self.screen);
      el_insertstr(editor, "\n");  // a line without any character would be the end of all
      return CC_NEWLINE;
   }

   static unsigned char suspendHere(EditLine* editor, int) {
      el_set(editor, EL_PREP_TERM, 0);
      std::raise(SIGTSTP);
      el_set(editor, EL_PREP_TERM, 1);
      return CC_REDISPLAY;
   }

   static constexpr int mostRemembered = 1000;

   std::FILE* const screen;
   const Complete complete;
   EditLine* const editor;
   History* const lines;
   bool isDropped = false;
};

LineEditor::LineEditor(std::FILE* screen, Complete complete)
   : impl_(std::make_unique<Impl>(screen, std::move(complete))) {}

LineEditor::~LineEditor() = default;

void LineEditor::remember(const std::string& line) {
   HistEvent event;
   history(impl_->lines, &event, H_ENTER, line.c_str());
}

std::optional<std::string> LineEditor::line() {
   for (;;) {
      // Before the prompt, so that whoever sees it can press Ctrl-C.
      el_set(impl_->editor, EL_PREP_TERM, 1);
      impl_->isDropped = false;
      int size = 0;
      const char* text = el_gets(impl_->editor, &size);
      const bool isInterrupted = takeInterrupt();
      if (text == nullptr || size <= 0) {
         if (isInterrupted) {
            fmt::print(impl_->screen, "\n");
            continue;
         }
         return std::nullopt;
      }
      if (!impl_->isDropped) {
         std::string line(text, static_cast<std::size_t>(size));
         line.erase(line.find_last_not_of("\r\n") + 1);
         return line;
      }
   }
}

}  // namespace Rtrie
