#include "tools/rtrie/Queries.h"

#include <fmt/format.h>
#include <unistd.h>

#include "tools/rtrie/Errors.h"
#include "tools/tables/LineReader.h"
#include "tools/tables/Messages.h"
#include "tools/tables/PrefixText.h"
#include "tools/tables/Words.h"

namespace Rtrie {

QueryCounts forEachQuery(const std::vector<std::string>& arguments,
                         const std::function<void(const Corenet::IpGenPrefix& query, std::string_view text)>& ask,
                         const std::function<void()>& beforeWait) {
   QueryCounts counts;
   const auto bad = [&](std::string_view what, std::uint64_t lineNumber) {
      ++counts.faults;
      say(lineNumber == 0 ? std::string(what) : fmt::format("<stdin>:{}: {}", lineNumber, what));
   };
   const auto query = [&](std::string_view text, std::uint64_t lineNumber) {
      try {
         ask(prefixOfText(text), text);
         ++counts.answered;
      } catch (const BadText& fault) {
         bad(fault.what(), lineNumber);
      }
   };
   for (const std::string& argument : arguments) {
      query(argument, 0);
   }
   if (!arguments.empty()) {
      return counts;
   }
   const auto source = descriptorSource(STDIN_FILENO, "<stdin>", beforeWait);
   LineReader reader(*source, [&](std::uint64_t number, const std::string& what) { bad(what, number); });
   while (const auto line = reader.next()) {
      const auto text = withoutComment(trimmed(*line));
      if (!text.empty()) {
         query(text, reader.lineNumber());
      }
   }
   return counts;
}

}  // namespace Rtrie
