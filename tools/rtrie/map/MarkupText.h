// MarkupText: text of anybody's making within HTML or XML: printable (PrintableText.h), and with nothing in it that begins or ends
// a tag, an attribute or an entity.
//
// Tested by tests/tools/rtrie/map/PrintableTextTest.cpp.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "tools/rtrie/map/PrintableText.h"

namespace Rtrie {

// For the content of an element and for an attribute in quotes of either kind.
inline std::string markupText(std::string_view text, std::size_t mostCharacters = ~std::size_t{0}) {
   std::string markup;
   for (const char c : printableText(text, mostCharacters)) {
      switch (c) {
         case '&': markup += "&amp;"; break;
         case '<': markup += "&lt;"; break;
         case '>': markup += "&gt;"; break;
         case '"': markup += "&quot;"; break;
         case '\'': markup += "&#39;"; break;
         default: markup += c;
      }
   }
   return markup;
}

}  // namespace Rtrie
