#include "tools/rtrie/formats/PrefixLines.h"

#include "tools/rtrie/PrefixText.h"
#include "tools/rtrie/Words.h"

namespace Rtrie {
namespace {

constexpr std::string_view separators = ", \t\r\v\f";

}  // namespace

bool PrefixLines::looksLike(std::string_view line) { return isPrefixText(takeWord(line, separators)); }

void PrefixLines::line(std::string_view text, RouteSet& routes) {
   text = withoutComment(text);
   const auto prefix = prefixOfText(takeWord(text, separators));
   text = trimmed(text);
   if (text.starts_with(',')) {
      text = trimmed(text.substr(1));
   }
   routes.add(prefix, text);
}

}  // namespace Rtrie
