#include "tools/rtrie/SurfaceFormat.h"

#include <array>
#include <string>
#include <vector>

#include "tools/rtrie/JsonLine.h"

namespace Rtrie {
namespace {

using Corvid::AccessKind;
using Corvid::Inspect::Field;
using Corvid::Inspect::Parameter;
using Corvid::Inspect::Type;

struct KindName {
   AccessKind kind;
   std::string_view name;
};
constexpr std::array<KindName, 12> kindNames = {{
   {AccessKind::get, "get"},
   {AccessKind::set, "set"},
   {AccessKind::del, "delete"},
   {AccessKind::lookup, "lookup"},
   {AccessKind::exists, "exists"},
   {AccessKind::count, "count"},
   {AccessKind::number, "number"},
   {AccessKind::front, "front"},
   {AccessKind::back, "back"},
   {AccessKind::enqueue, "enqueue"},
   {AccessKind::dequeue, "dequeue"},
   {AccessKind::call, "call"},
}};

std::vector<std::string> accessOf(const Field& field) {
   std::vector<std::string> names;
   for (const KindName& each : kindNames) {
      if (field.takes(each.kind)) {
         names.emplace_back(each.name);
      }
   }
   return names;
}

std::string accessTextOf(const Field& field) {
   std::string access;
   for (const std::string& name : accessOf(field)) {
      access += (access.empty() ? "" : " ") + name;
   }
   return access;
}

std::string_view kindOf(Tesk::Shape shape) {
   switch (shape) {
      case Tesk::Shape::value: return "attribute";
      case Tesk::Shape::pointer: return "object";
      case Tesk::Shape::keyedValues: return "keyed values";
      case Tesk::Shape::keyedPointers: return "keyed objects";
      case Tesk::Shape::queue: return "queue";
      case Tesk::Shape::constOperation: return "const operation";
      case Tesk::Shape::operation: return "operation";
      case Tesk::Shape::keyedPointerOperation: return "operation for an object";
   }
   return "unknown";
}

bool isOperation(Tesk::Shape shape) {
   return shape == Tesk::Shape::constOperation || shape == Tesk::Shape::operation ||
          shape == Tesk::Shape::keyedPointerOperation;
}

std::string_view kindOf(const Type& type) {
   return !type.isClass() ? "value" : type.isAbstract() ? "abstract class" : "class";
}

std::string listOf(const std::vector<Parameter>& parameters) {
   std::string list;
   for (const Parameter& parameter : parameters) {
      list += fmt::format("{}{} {}", list.empty() ? "" : ", ", parameter.typeName, parameter.name);
   }
   return list;
}

std::string signatureOf(const Field& field) {
   std::string signature = fmt::format("{} {}", field.typeName(), field.name());
   if (isOperation(field.shape())) {
      signature += fmt::format("({})", listOf(field.parameters()));
   } else if (const auto key = field.keyTypeName(); !key.empty()) {
      signature += fmt::format("[{}{}{}]", key, field.keyAttribute().empty() ? "" : " ", field.keyAttribute());
   }
   return signature;
}

Json jsonOf(const std::vector<Parameter>& parameters) {
   Json list = Json::array();
   for (const Parameter& parameter : parameters) {
      list.push_back({{"name", parameter.name}, {"type", parameter.typeName}});
   }
   return list;
}

Json jsonOf(const Field& field) {
   return {{"id", field.id()},
           {"name", field.name()},
           {"kind", kindOf(field.shape())},
           {"type", field.typeName()},
           {"access", accessOf(field)},
           {"published", field.isPublished()},
           {"key", textOrNull(field.keyTypeName())},
           {"keyAttribute", textOrNull(field.keyAttribute())},
           {"arguments", jsonOf(field.parameters())}};
}

}  // namespace

void printSurfaceText(std::span<const Type> types, Output& output) {
   std::string_view module;
   for (const Type& type : types) {
      if (type.moduleName() != module) {
         module = type.moduleName();
         output.format("module {}\n", module);
      }
      output.format("\n  {} {}", kindOf(type), type.name());
      if (type.isConstructible()) {
         output.format("({})", listOf(type.constructorParameters()));
      }
      if (const auto base = type.base()) {
         output.format(" under {}", base->name());
      }
      output.text("\n");
      for (const Field& field : type.fields()) {
         const std::string access = accessTextOf(field);
         output.format("    {:>3}  {:<23}  {:<24}  {}{}\n", field.id(), kindOf(field.shape()),
                       access.empty() ? "none" : access, signatureOf(field),
                       field.isPublished() ? ", published" : "");
         output.lineDone();
      }
   }
   output.text("\n");
}

void printSurface(std::span<const Type> types, RowForm form, Output& output) {
   rowNames(output, form, {"module", "class", "id", "name", "kind", "type", "access"});
   for (const Type& type : types) {
      for (const Field& field : type.fields()) {
         row(output, form,
             {type.moduleName(), type.name(), fmt::format("{}", field.id()), field.name(), kindOf(field.shape()),
              field.typeName(), accessTextOf(field)});
      }
   }
}

void printSurfaceJson(std::span<const Type> types, Output& output) {
   Json all = Json::array();
   for (const Type& type : types) {
      Json fields = Json::array();
      for (const Field& field : type.fields()) {
         fields.push_back(jsonOf(field));
      }
      const auto base = type.base();
      all.push_back({{"module", type.moduleName()},
                     {"name", type.name()},
                     {"kind", kindOf(type)},
                     {"base", base ? Json(base->name()) : Json()},
                     {"constructor", type.isConstructible() ? jsonOf(type.constructorParameters()) : Json()},
                     {"fields", fields}});
   }
   output.text(all.dump(2));
   output.text("\n");
}

}  // namespace Rtrie
