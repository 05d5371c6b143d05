// Rows: records as lines of fields, for other programs: with tabs between them (see TsvField), or as RFC 4180 has it, with commas
// and a line of names first. A field that holds a comma, a quote or a line end, or has a blank at an end, stands in quotes.
//
// Tested by tests/tools/rtrie/OutputTest.cpp.
#pragma once

#include <initializer_list>
#include <string>
#include <string_view>

#include "tools/rtrie/Output.h"
#include "tools/rtrie/TsvField.h"

namespace Rtrie {

enum class RowForm { tsv, csv };

inline std::string csvField(std::string_view text) {
   const bool isPlain = text.find_first_of(",\"\r\n") == std::string_view::npos &&
                        (text.empty() || (text.front() != ' ' && text.back() != ' '));
   if (isPlain) {
      return std::string(text);
   }
   std::string field = "\"";
   for (const char c : text) {
      field += c;
      if (c == '"') {
         field += c;
      }
   }
   return field + '"';
}

inline void row(Output& output, RowForm form, std::initializer_list<std::string_view> fields) {
   bool isFirst = true;
   for (const auto field : fields) {
      output.text(isFirst ? "" : form == RowForm::csv ? "," : "\t");
      output.text(form == RowForm::csv ? csvField(field) : tsvField(field));
      isFirst = false;
   }
   output.text("\n");
   output.lineDone();
}

// The names of the columns, which only csv has.
inline void rowNames(Output& output, RowForm form, std::initializer_list<std::string_view> names) {
   if (form == RowForm::csv) {
      row(output, form, names);
   }
}

}  // namespace Rtrie
