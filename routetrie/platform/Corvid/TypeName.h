// typeName: how a type is called by name: "Routing::PatriciaTrie", "U32". Read off the compiler, so that no list of names
// can go stale. g++ and clang spell the type alike in a function's signature.
// Tested by tests/platform/Corvid/InspectTest.cpp.
#pragma once

#include <string_view>
#include <type_traits>

#include "routetrie/platform/Corvid/String.h"
#include "routetrie/platform/Types.h"

namespace Corvid {

namespace Impl {

template <class T>
constexpr std::string_view signatureWith() {
   return __PRETTY_FUNCTION__;
}

}  // namespace Impl

template <class T>
constexpr std::string_view typeName() {
   if constexpr (std::is_void_v<T>) {
      return "void";
   } else if constexpr (std::is_same_v<T, bool>) {
      return "bool";
   } else if constexpr (std::is_same_v<T, U8>) {
      return "U8";
   } else if constexpr (std::is_same_v<T, U16>) {
      return "U16";
   } else if constexpr (std::is_same_v<T, U32>) {
      return "U32";
   } else if constexpr (std::is_same_v<T, int>) {
      return "S32";
   } else {
      constexpr std::string_view signature = Impl::signatureWith<T>();
      constexpr std::string_view opening = "T = ";
      constexpr std::size_t begin = signature.find(opening) + opening.size();
      constexpr std::size_t end = signature.find_first_of(";]", begin);
      return signature.substr(begin, end - begin);
   }
}

}  // namespace Corvid
