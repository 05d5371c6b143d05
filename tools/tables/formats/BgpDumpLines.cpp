#include "tools/tables/formats/BgpDumpLines.h"

#include <fmt/format.h>

#include "tools/tables/PrefixText.h"
#include "tools/tables/TableErrors.h"
#include "tools/tables/Words.h"

namespace Rtrie {

bool BgpDumpLines::looksLike(std::string_view line) {
   const auto type = takeField(line, '|');
   return !line.empty() && (type.starts_with("TABLE_DUMP") || type.starts_with("BGP4MP"));
}

void BgpDumpLines::line(std::string_view text, RouteSet& routes) {
   const std::string_view whole = text;
   std::string_view typeText = text;
   if (!looksLike(text)) {
      throw BadText(fmt::format("not a line of bgpdump -m: \"{}\"", whole));
   }
   takeField(text, '|');  // which record it was
   takeField(text, '|');  // when
   const auto kind = takeField(text, '|');
   if (kind == "STATE") {
      constexpr std::string_view established = "6";
      const auto address = takeField(text, '|');
      const auto as = takeField(text, '|');
      if (takeField(text, '|') == established && text != established && isWanted(address, as)) {
         routes.loseSource(peer_);
      }
      return;
   }
   const bool isWithdrawal = kind == "W";
   if (!isWithdrawal && kind != "A" && kind != "B") {
      throw BadText(fmt::format("unknown kind of entry \"{}\", known are A, B, W and STATE: \"{}\"", kind, whole));
   }
   const auto address = takeField(text, '|');
   const auto as = takeField(text, '|');
   const auto prefixText = takeField(text, '|');
   if (prefixText.empty()) {
      throw BadText(fmt::format("no prefix in field 6: \"{}\"", whole));
   }
   const auto prefix = prefixIn(prefixText);
   const bool hasPathId = takeField(typeText, '|').ends_with("_AP");
   const auto pathId = hasPathId ? takeField(text, '|') : std::string_view();
   if (!isWanted(address, as)) {
      leaveOut(peer_);
      return;
   }
   const std::string source = hasPathId ? fmt::format("{} {}", peer_, pathId) : peer_;
   if (isWithdrawal) {
      routes.withdraw(prefix, source);
      return;
   }
   const auto path = takeField(text, '|');
   OfferText offer;
   offer.payload = path;
   offer.source = source;
   offer.choice = Choice::asPath;
   offer.rank = asPathLength(path);
   offer.replaces = kind == "A";
   routes.add(prefix, offer);
}

bool BgpDumpLines::isWanted(std::string_view address, std::string_view as) {
   const bool isSame =
      peer_.size() == address.size() + 1 + as.size() && peer_.starts_with(address) && peer_.ends_with(as);
   if (!isSame) {
      peer_ = fmt::format("{} {}", address, as);
      isPeerWanted_ = !selection_.peer || selection_.peer->isOf(address, as);
   }
   return isPeerWanted_;
}

U32 asPathLength(std::string_view path) {
   U32 length = 0;
   for (auto word = takeWord(path); !word.empty(); word = takeWord(path)) {
      // "{1,2}" is a set; "(1 2)" and "[1,2]" stand for the members of a confederation, with or without blanks.
      if (const char first = word.front(); first == '(' || first == '[') {
         const char last = first == '(' ? ')' : ']';
         while (!word.empty() && word.back() != last) {
            word = takeWord(path);
         }
      } else {
         ++length;
      }
   }
   return length;
}

}  // namespace Rtrie
