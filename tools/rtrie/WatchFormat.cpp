#include "tools/rtrie/WatchFormat.h"

#include <fmt/format.h>

#include <optional>
#include <string>

#include "tools/rtrie/JsonLine.h"
#include "tools/rtrie/Rows.h"

namespace Rtrie {
namespace {

void printEffectText(const Effect& effect, Output& output) {
   const auto shown = [](const std::optional<std::string>& payload) {
      return payload && !payload->empty() ? std::string_view(*payload) : std::string_view("-");
   };
   output.format("{:<7}  {}", nameOf(effect.kind), effect.prefix.stringValue());
   if (effect.kind == ChangeKind::replace) {
      output.format("  {} -> {}", shown(effect.before), shown(effect.after));
   } else if (const auto& one = effect.before ? effect.before : effect.after; one && !one->empty()) {
      output.format("  {}", *one);
   }
   output.text("\n");
}

void printMatchText(const MatchChange& change, Output& output) {
   const auto shown = [](const std::optional<Best>& best) {
      return !best
                ? std::string("none")
                : fmt::format("{}{}{}", best->prefix.stringValue(), best->payload.empty() ? "" : " ", best->payload);
   };
   output.format("{}  {} -> {}  ({} {})\n", change.query.stringValue(), shown(change.before), shown(change.after),
                 nameOf(change.cause.kind), change.cause.prefix.stringValue());
}

template <RowForm form>
void printMatchRow(const MatchChange& change, Output& output) {
   const auto prefix = [](const std::optional<Best>& best) {
      return best ? std::string(best->prefix.stringValue()) : std::string("-");
   };
   const auto payload = [](const std::optional<Best>& best) {
      return best ? std::string_view(best->payload) : std::string_view();
   };
   row(output, form,
       {change.query.stringValue(), prefix(change.before), payload(change.before), prefix(change.after),
        payload(change.after), nameOf(change.cause.kind), change.cause.prefix.stringValue()});
}

template <RowForm form>
void printNames(bool isOfMatches, Output& output) {
   if (isOfMatches) {
      rowNames(output, form, {"query", "old", "old payload", "new", "new payload", "cause", "prefix"});
   } else {
      printChangeNames(form, output);
   }
}

void printMatchJson(const MatchChange& change, Output& output) {
   const auto json = [](const std::optional<Best>& best) {
      return best ? Json({{"prefix", std::string(best->prefix.stringValue())}, {"payload", best->payload}}) : Json();
   };
   jsonLine(output,
            {{"query", std::string(change.query.stringValue())},
             {"old", json(change.before)},
             {"new", json(change.after)},
             {"cause",
              {{"change", nameOf(change.cause.kind)}, {"prefix", std::string(change.cause.prefix.stringValue())}}}});
}

template <RowForm form>
void printEffectRow(const Effect& effect, Output& output) {
   printChangeRow(effect, form, output);
}

void printNoNames(bool, Output&) {}

constexpr WatchFormat formatsOfWatch[] = {
   {"text", "the change, the prefix, and its payload: OLD -> NEW where it is replaced", printNoNames, printEffectText,
    printMatchText},
   {"tsv", "change, tab, prefix, tab, old payload, tab, new payload", printNames<RowForm::tsv>,
    printEffectRow<RowForm::tsv>, printMatchRow<RowForm::tsv>},
   {"csv", "the same with commas, and the names of the columns first", printNames<RowForm::csv>,
    printEffectRow<RowForm::csv>, printMatchRow<RowForm::csv>},
   {"json", "one object a line: change, prefix, old, new", printNoNames, printChangeJson, printMatchJson},
};

}  // namespace

std::span<const WatchFormat> watchFormats() { return formatsOfWatch; }

}  // namespace Rtrie
