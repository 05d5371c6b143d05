#include "tools/tables/formats/PrefixListJson.h"

#include <fmt/format.h>

#include "tools/tables/TableErrors.h"

namespace Rtrie {

bool PrefixListJson::hasEntry(const JsonEntry& entry) {
   return entry.value.kind == JsonValue::Kind::string || entry.value.at("prefix") != nullptr;
}

void PrefixListJson::entry(const JsonEntry& entry, RouteSet& routes) {
   const bool isText = entry.value.kind == JsonValue::Kind::string;
   const auto text = isText ? std::string_view(entry.value.text) : entry.value.textAt("prefix");
   if (text.empty()) {
      throw BadText("an entry without \"prefix\"");
   }
   std::string payload = entry.path.empty() ? "" : entry.path.back();
   for (const auto& [name, word] : {std::pair("greater-equal", "ge"), {"less-equal", "le"}}) {
      if (const auto value = entry.value.textAt(name); !value.empty()) {
         payload += fmt::format("{}{} {}", payload.empty() ? "" : " ", word, value);
      }
   }
   routes.add(prefixIn(text), payload);
}

}  // namespace Rtrie
