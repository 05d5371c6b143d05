// TsvField: any text as one field of a line of tab-separated ones: a tab becomes \t, a line end \n or \r, a backslash \\.
//
// Tested by tests/tools/rtrie/OutputTest.cpp.
#pragma once

#include <string>
#include <string_view>

namespace Rtrie {

inline std::string tsvField(std::string_view text) {
   std::string field;
   field.reserve(text.size());
   for (const char c : text) {
      switch (c) {
         case '\t': field += "\\t"; break;
         case '\n': field += "\\n"; break;
         case '\r': field += "\\r"; break;
         case '\\': field += "\\\\"; break;
         default: field += c;
      }
   }
   return field;
}

}  // namespace Rtrie
