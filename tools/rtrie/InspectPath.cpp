#include "tools/rtrie/InspectPath.h"

#include <fmt/format.h>

#include "routetrie/platform/Corvid/RangeException.h"
#include "tools/rtrie/CallCheck.h"
#include "tools/rtrie/Errors.h"
#include "tools/tables/PrefixText.h"
#include "tools/tables/Words.h"

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

// The field's own name, once it is made sure that the object is of the class before it.
std::string fieldNameOf(const Corvid::Node& node, const std::string& name) {
   const auto colons = name.rfind("::");
   if (colons == std::string::npos) {
      return name;
   }
   const std::string className = name.substr(0, colons);
   const auto type = Inspect::typeOf(node);
   auto named = type;  // the first of the object's classes that is called so, with or without its namespaces
   while (named && named->name() != className && !named->name().ends_with("::" + className)) {
      named = named->base();
   }
   if (!named) {
      Corvid::RangeException::throwException(
         fmt::format("{} is no {}", type ? type->name() : "the object", className).c_str());
   }
   return name.substr(colons + 2);
}

InspectPath::Read readStep(Corvid::Node& node, const InspectPath::Step& step) {
   const auto name = fieldNameOf(node, step.field);
   const auto type = Inspect::typeOf(node);
   const auto field = type ? type->field(name) : std::nullopt;
   if (!field) {
      return {Inspect::get(node, name), {}};  // which says what is wrong
   }
   const auto typeName = field->typeName();
   if (field->takes(Corvid::AccessKind::call)) {
      const auto arguments = completed(*field, step.arguments);
      requireHarmless(node, *field, arguments);
      return {Inspect::call(node, name, arguments), typeName};
   }
   const std::vector<Inspect::Given> key(step.arguments.begin(), step.arguments.end());
   requireHarmless(node, *field, key);
   if (key.empty()) {
      return {field->shape() == Tesk::Shape::queue ? Inspect::front(node, name) : Inspect::get(node, name), typeName};
   }
   if (key.size() > 1) {
      Corvid::RangeException::throwException(fmt::format("{} has one key, not {}", name, key.size()).c_str());
   }
   return {Inspect::get(node, name, key.front()), typeName};
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

InspectPath::Read InspectPath::read(Corvid::Node& node) const {
   Read value;
   Corvid::Node* at = &node;
   for (const Step& step : steps_) {
      if (at == nullptr) {
         Corvid::RangeException::throwException(
            fmt::format("nothing has a {}: what comes before it is no object", step.field).c_str());
      }
      Read next = readStep(*at, step);
      value = std::move(next);
      at = const_cast<Corvid::Node*>(value.object.get());
   }
   return value;
}

}  // namespace Rtrie
