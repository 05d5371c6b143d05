#include "tools/rtrie/ChangeFormat.h"

#include "tools/rtrie/JsonLine.h"

namespace Rtrie {

std::string_view nameOf(ChangeKind kind) {
   switch (kind) {
      case ChangeKind::add: return "add";
      case ChangeKind::replace: return "replace";
      case ChangeKind::remove: return "delete";
      case ChangeKind::same: return "same";
      case ChangeKind::absent: return "absent";
   }
   return "";
}

void printChangeNames(RowForm form, Output& output) { rowNames(output, form, {"change", "prefix", "old", "new"}); }

void printChangeRow(const Effect& effect, RowForm form, Output& output) {
   row(output, form,
       {nameOf(effect.kind), effect.prefix.stringValue(), effect.before.value_or(""), effect.after.value_or("")});
}

void printChangeJson(const Effect& effect, Output& output) {
   const auto json = [](const std::optional<std::string>& payload) { return payload ? Json(*payload) : Json(); };
   jsonLine(output, {{"change", nameOf(effect.kind)},
                     {"prefix", std::string(effect.prefix.stringValue())},
                     {"old", json(effect.before)},
                     {"new", json(effect.after)}});
}

}  // namespace Rtrie
