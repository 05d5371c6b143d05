#include "tools/rtrie/formats/BgpDumpLines.h"

#include <fmt/format.h>

#include "tools/rtrie/Errors.h"
#include "tools/rtrie/PrefixText.h"
#include "tools/rtrie/Words.h"

namespace Rtrie {

bool BgpDumpLines::looksLike(std::string_view line) {
   const auto type = takeField(line, '|');
   return !line.empty() && (type.starts_with("TABLE_DUMP") || type.starts_with("BGP4MP"));
}

void BgpDumpLines::line(std::string_view text, RouteSet& routes) {
   const std::string_view whole = text;
   if (!looksLike(text)) {
      throw BadText(fmt::format("not a line of bgpdump -m: \"{}\"", whole));
   }
   takeField(text, '|');  // which record it was
   takeField(text, '|');  // when
   const auto kind = takeField(text, '|');
   if (kind == "STATE") {
      return;
   }
   const bool isWithdrawal = kind == "W";
   if (!isWithdrawal && kind != "A" && kind != "B") {
      throw BadText(fmt::format("unknown kind of entry \"{}\", known are A, B, W and STATE: \"{}\"", kind, whole));
   }
   takeField(text, '|');  // the peer's address
   takeField(text, '|');  // the peer's AS
   const auto prefixText = takeField(text, '|');
   if (prefixText.empty()) {
      throw BadText(fmt::format("no prefix in field 6: \"{}\"", whole));
   }
   const auto prefix = prefixOfText(prefixText);
   if (isWithdrawal) {
      routes.withdraw(prefix);
   } else {
      routes.add(prefix, takeField(text, '|'));
   }
}

}  // namespace Rtrie
