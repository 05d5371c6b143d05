// Surface: the reflected surface of a class as text, and the bare way into it by id.
#pragma once

#include <string>
#include <string_view>

#include "routetrie/platform/Corvid/FieldDescriptor.h"
#include "routetrie/platform/Corvid/Inspect.h"
#include "routetrie/platform/Corvid/Node.h"
#include "routetrie/platform/Tesk/Module.h"

namespace TestSupport {

inline constexpr U8 accessKinds[] = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 28};

// A line for each field: "262 changedRoute Corenet::Ip6Prefix: 0 published"; after the colon the access kinds taken.
inline std::string surfaceOf(std::string_view typeName) {
   std::string text;
   for (const auto& field : Corvid::Inspect::findType(typeName).value().fields()) {
      text +=
         std::to_string(field.id()) + ' ' + std::string(field.name()) + ' ' + std::string(field.typeName()) + ':';
      for (const U8 kind : accessKinds) {
         if (field.takes(static_cast<Corvid::AccessKind>(kind))) {
            text += ' ' + std::to_string(kind);
         }
      }
      text += field.isPublished() ? " published\n" : "\n";
   }
   return text;
}

// The status byte of an access by id that gives no key and no argument, and wants no result. For fields and kinds that are
// refused; any other would miss what it needs.
inline U8 statusOf(Corvid::Node& object, Corvid::FieldId id, U8 kind) {
   const Corvid::TypeData type = object.typeData();
   const Corvid::FieldDescriptor field{id};
   return type.module->functions[type.index].inspect(nullptr, &object, &field, 0, kind, nullptr, nullptr);
}

}  // namespace TestSupport
