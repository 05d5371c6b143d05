#include "tools/rtrie/InspectPath.h"

#include <fmt/format.h>

#include "routetrie/platform/Corvid/RangeException.h"
#include "tools/rtrie/Errors.h"
#include "tools/rtrie/PrefixText.h"
#include "tools/rtrie/Words.h"

namespace Rtrie {
namespace {

namespace Inspect = Corvid::Inspect;

bool isName(std::string_view text) {
   return !text.empty() && text.find_first_of("()., \t") == std::string_view::npos;
}

std::vector<std::string> argumentsOf(std::string_view list) {
   std::vector<std::string> arguments;
   if (trimmed(list).empty()) {
      return arguments;
   }
   while (true) {
      const auto comma = list.find(',');
      arguments.emplace_back(trimmed(list.substr(0, comma)));
      if (comma == std::string_view::npos) {
         return arguments;
      }
      list.remove_prefix(comma + 1);
   }
}

// The arguments as they are passed: objects that were left out at the end are null.
std::vector<Inspect::Given> completed(const Inspect::Field& field, const std::vector<std::string>& given) {
   std::vector<Inspect::Given> all(given.begin(), given.end());
   const auto parameters = field.parameters();
   for (std::size_t i = all.size(); i < parameters.size(); ++i) {
      const auto type = Inspect::findType(parameters[i].typeName);
      if (!type || !type->isClass()) {
         break;
      }
      all.emplace_back("null");
   }
   return all;
}

Inspect::Value readStep(Corvid::Node& node, const InspectPath::Step& step) {
   const auto type = Inspect::typeOf(node);
   const auto field = type ? type->field(step.field) : std::nullopt;
   if (!field) {
      return Inspect::get(node, step.field);  // which says what is wrong
   }
   if (field->takes(Corvid::AccessKind::call)) {
      return Inspect::call(node, step.field, completed(*field, step.arguments));
   }
   if (step.arguments.empty()) {
      return field->shape() == Tesk::Shape::queue ? Inspect::front(node, step.field) : Inspect::get(node, step.field);
   }
   if (step.arguments.size() > 1) {
      Corvid::RangeException::throwException(
         fmt::format("{} has one key, not {}", step.field, step.arguments.size()).c_str());
   }
   return Inspect::get(node, step.field, step.arguments.front());
}

}  // namespace

InspectPath::InspectPath(std::string_view text) : text_(text) {
   const auto refuse = [&] {
      throw UsageError(fmt::format("no path to an attribute: \"{}\": try routes, or name(argument, ...)", text_));
   };
   std::string_view rest = text;
   while (true) {
      const auto end = rest.find_first_of("(.");
      Step step{std::string(trimmed(rest.substr(0, end))), {}};
      if (!isName(step.field)) {
         refuse();
      }
      rest.remove_prefix(end == std::string_view::npos ? rest.size() : end);
      if (rest.starts_with('(')) {
         const auto close = rest.find(')');
         if (close == std::string_view::npos) {
            refuse();
         }
         step.arguments = argumentsOf(rest.substr(1, close - 1));
         rest.remove_prefix(close + 1);
      }
      steps_.push_back(std::move(step));
      if (rest.empty()) {
         return;
      }
      if (!rest.starts_with('.')) {
         refuse();
      }
      rest.remove_prefix(1);
   }
}

bool InspectPath::suits(Corenet::AddressFamily af) const {
   for (const Step& step : steps_) {
      for (const std::string& argument : step.arguments) {
         if (isPrefixText(argument) && prefixOfText(argument).af() != af) {
            return false;
         }
      }
   }
   return true;
}

Inspect::Value InspectPath::read(Corvid::Node& node) const {
   Inspect::Value value;
   Corvid::Node* at = &node;
   for (const Step& step : steps_) {
      if (at == nullptr) {
         Corvid::RangeException::throwException(
            fmt::format("nothing has a {}: what comes before it is no object", step.field).c_str());
      }
      Inspect::Value next = readStep(*at, step);
      value = std::move(next);
      at = const_cast<Corvid::Node*>(value.object.get());
   }
   return value;
}

}  // namespace Rtrie
