#include "tools/rtrie/shell/ShellLine.h"

#include <algorithm>
#include <utility>

namespace Rtrie {
namespace {

constexpr std::string_view shellBlanks = " \t\r\n";
constexpr std::string_view shellSpecials = " \t\r\n'\"\\#|>";

class ShellLineReader {
  public:
   explicit ShellLineReader(std::string_view text) : text_(text) {}

   ShellLine read() {
      for (;;) {
         skipBlanks();
         if (at_ == text_.size() || text_[at_] == '#') {
            return std::move(line_);
         }
         if (text_[at_] == '|') {
            readPipe();
            return std::move(line_);
         }
         if (text_[at_] == '>') {
            readFile();
         } else {
            const std::size_t begin = at_;
            line_.words.push_back({word(), begin});
         }
      }
   }

  private:
   void skipBlanks() { at_ = std::min(text_.find_first_not_of(shellBlanks, at_), text_.size()); }

   void faultIs(std::string_view fault) {
      if (line_.fault.empty()) {
         line_.fault = fault;
      }
   }

   void readPipe() {
      ++at_;
      skipBlanks();
      line_.pipe = std::string(text_.substr(at_));
      if (line_.pipe.empty()) {
         faultIs("no command behind |");
      } else if (!line_.file.empty()) {
         faultIs("the output goes either to a command or to a file");
      }
   }

   void readFile() {
      ++at_;
      line_.appends = at_ < text_.size() && text_[at_] == '>';
      at_ += line_.appends ? 1 : 0;
      skipBlanks();
      if (!line_.file.empty()) {
         faultIs("the output goes to one file");
      }
      line_.file = word();
      if (line_.file.empty()) {
         faultIs("no file behind >");
      }
   }

   // From here to the next blank or operator.
   std::string word() {
      std::string text;
      char quote = '\0';
      for (; at_ < text_.size(); ++at_) {
         const char c = text_[at_];
         const char next = at_ + 1 < text_.size() ? text_[at_ + 1] : '\0';
         if (quote != '\0' && c == quote) {
            quote = '\0';
         } else if (c == '\\' && next != '\0' && (quote == '\0' || (quote == '"' && (next == '"' || next == '\\')))) {
            text += next;
            ++at_;
         } else if (quote != '\0') {  // NOLINT(bugprone-branch-clone): what lies between is not so in quotes
            text += c;
         } else if (c == '\'' || c == '"') {
            quote = c;
         } else if (shellBlanks.find(c) != std::string_view::npos || c == '|' || c == '>') {
            break;
         } else {
            text += c;
         }
      }
      if (quote != '\0') {
         faultIs("a quote is not closed");
      }
      return text;
   }

   std::string_view text_;
   std::size_t at_ = 0;
   ShellLine line_;
};

}  // namespace

ShellLine ShellLine::of(std::string_view text) { return ShellLineReader(text).read(); }

std::vector<std::string> ShellLine::texts() const {
   std::vector<std::string> texts;
   texts.reserve(words.size());
   for (const Word& word : words) {
      texts.push_back(word.text);
   }
   return texts;
}

std::string quotedForShell(std::string_view text) {
   std::string quoted;
   for (const char c : text) {
      if (shellSpecials.find(c) != std::string_view::npos) {
         quoted += '\\';
      }
      quoted += c;
   }
   return text.empty() ? "''" : quoted;
}

}  // namespace Rtrie
