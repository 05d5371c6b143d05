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

// Whether a field can stand in a row of that form as it is.
inline bool isPlainField(RowForm form, std::string_view text) {
   if (form == RowForm::tsv) {
      return text.find_first_of("\t\n\r\\") == std::string_view::npos;
   }
   return text.empty() ||
          (text.find_first_of(",\"\r\n") == std::string_view::npos && text.front() != ' ' && text.back() != ' ');
}

inline std::string csvField(std::string_view text) {
   if (isPlainField(RowForm::csv, text)) {
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
      if (isPlainField(form, field)) {
         output.text(field);
      } else {
         output.text(form == RowForm::csv ? csvField(field) : tsvField(field));
      }
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
