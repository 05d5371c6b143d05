#include "bench/Updates.h"

#include <fmt/format.h>

#include <stdexcept>
#include <string_view>

#include "tools/tables/ByteSource.h"
#include "tools/tables/LineReader.h"
#include "tools/tables/PrefixText.h"
#include "tools/tables/Words.h"

namespace Bench {

namespace {

void addLine(std::string_view line, Updates& updates) {
   const std::string_view first = Rtrie::takeWord(line);
   const bool hasTime = first != "+" && first != "-";
   const std::string_view kind = hasTime ? Rtrie::takeWord(line) : first;
   const bool isWithdrawal = kind == (hasTime ? "w" : "-");
   if (!isWithdrawal && kind != (hasTime ? "a" : "+")) {
      throw std::runtime_error("neither an announcement nor a withdrawal");
   }
   const auto prefix = Rtrie::prefixOfText(Rtrie::takeWord(line));
   if (prefix.len() == 0) {
      return;
   }
   if (prefix.af() == Corenet::ipv4) {
      updates.v4.push_back({{prefix.v4Prefix().bits(), prefix.len()}, isWithdrawal});
   } else {
      updates.v6.push_back({{prefix.v6Prefix().bits(), prefix.len()}, isWithdrawal});
   }
}

}  // namespace

Updates loadUpdates(const std::string& path) {
   const auto source = Rtrie::openTable(path);
   Rtrie::LineReader lines(*source);
   Updates updates;
   while (const auto line = lines.next()) {
      const std::string_view text = Rtrie::trimmed(Rtrie::withoutComment(*line));
      if (text.empty()) {
         continue;
      }
      try {
         addLine(text, updates);
      } catch (const std::runtime_error& error) {
         throw std::runtime_error(fmt::format("{}:{}: {}", path, lines.lineNumber(), error.what()));
      }
   }
   return updates;
}

}  // namespace Bench
