#include "routetrie/platform/Corvid/ValueFunctions.h"

#include <fmt/format.h>

#include <iterator>
#include <string>

#include "routetrie/platform/Corvid/RangeException.h"

namespace Corvid::Inspect {

void throwNonHashableType(std::string_view type) {
   RangeException::throwException(fmt::format("{} can't be hashed", type).c_str());
}

void throwBadValueText(std::string_view type, std::string_view text) {
   throwBadText(fmt::format("not a value of type {}", type), text);
}

const Tesk::ValueFunctions* builtInFunctions(Tesk::TypeCode code) {
   switch (code) {
      case Tesk::TypeCode::u8: return &InspectAtomicFnTable<U8>::table;
      case Tesk::TypeCode::u16: return &InspectAtomicFnTable<U16>::table;
      case Tesk::TypeCode::u32: return &InspectAtomicFnTable<U32>::table;
      case Tesk::TypeCode::s32: return &InspectAtomicFnTable<int>::table;
      case Tesk::TypeCode::boolean: return &InspectAtomicFnTable<bool>::table;
      case Tesk::TypeCode::string: return &InspectAtomicFnTable<String>::table;
      case Tesk::TypeCode::none: break;
   }
   return nullptr;
}

std::string_view builtInName(Tesk::TypeCode code) {
   switch (code) {
      case Tesk::TypeCode::none: return typeName<void>();
      case Tesk::TypeCode::u8: return typeName<U8>();
      case Tesk::TypeCode::u16: return typeName<U16>();
      case Tesk::TypeCode::u32: return typeName<U32>();
      case Tesk::TypeCode::s32: return typeName<int>();
      case Tesk::TypeCode::boolean: return typeName<bool>();
      case Tesk::TypeCode::string: return typeName<String>();
   }
   return {};
}

}  // namespace Corvid::Inspect
