// Words: cutting a line of text into the parts that the table formats are made of. Nothing is copied: every
// result is a view into the argument.
//
// Tested by tests/tools/tables/WordsTest.cpp.
#pragma once

#include <string_view>

namespace Rtrie {

inline constexpr std::string_view blanks = " \t\r\v\f";

inline std::string_view trimmed(std::string_view text) {
   auto first = text.find_first_not_of(blanks);
   if (first == std::string_view::npos) {
      return {};
   }
   return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

// Takes the first word off the text: up to one of the separators. The text keeps what stands after it,
// separators included, so that the caller sees which of them ended the word.
inline std::string_view takeWord(std::string_view& text, std::string_view separators = blanks) {
   auto first = text.find_first_not_of(blanks);
   text.remove_prefix(first == std::string_view::npos ? text.size() : first);
   auto end = text.find_first_of(separators);
   std::string_view word = text.substr(0, end);
   text.remove_prefix(word.size());
   return word;
}

// Takes the first field off a line of fields with one separator between them. Unlike words, fields can be empty.
inline std::string_view takeField(std::string_view& text, char separator) {
   auto end = text.find(separator);
   std::string_view field = text.substr(0, end);
   text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
   return field;
}

// The text without a comment: a '#' that starts the text or follows a blank, and all after it.
inline std::string_view withoutComment(std::string_view text) {
   for (auto at = text.find('#'); at != std::string_view::npos; at = text.find('#', at + 1)) {
      if (at == 0 || blanks.find(text[at - 1]) != std::string_view::npos) {
         return trimmed(text.substr(0, at));
      }
   }
   return text;
}

}  // namespace Rtrie
