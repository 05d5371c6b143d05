// ValueFunctions: how reflection copies a value whose type it does not know, and turns it to text and back.
//
// The text of a value is what its fromString and stringValue speak; numbers are decimal, bools "true" and "false". A
// described value type without a text of its own is written as its fields are: `Routing::TwoLpmLen(lpm1=1,lpm2=2)`.
// Tested by tests/platform/Corvid/InspectTest.cpp.
#pragma once

#include <charconv>
#include <concepts>
#include <cstddef>
#include <cstring>
#include <limits>
#include <string_view>
#include <type_traits>

#include "routetrie/platform/Corvid/Describe.h"
#include "routetrie/platform/Corvid/String.h"
#include "routetrie/platform/Corvid/TypeName.h"
#include "routetrie/platform/Export.h"
#include "routetrie/platform/Tesk/Module.h"
#include "routetrie/platform/Tesk/Strep.h"

namespace Tesk {

struct ValueFunctions {
   std::size_t size;
   std::size_t alignment;
   void (*construct)(void* place, const void* source);  // a copy; without a source, zero
   void (*destroy)(void* place);
   void (*encodeToString)(const void* value, Corvid::String& text);
   // Constructs the value at `place`; raises Corvid::RangeException that quotes bad text.
   void (*decodeFromString)(void* place, std::string_view text);
   U32 (*getHash)(const void* value, U32 seed);  // raises Corvid::RangeException for a type that can't be hashed
};

}  // namespace Tesk

namespace TeskCorvid::Impl {

// The text of a described value, by its fields.
ROUTETRIE_EXPORT Corvid::String valueToStrep(const Corvid::TypeData& type, const void* value);

}  // namespace TeskCorvid::Impl

namespace Corvid::Inspect {

// Raises RangeException: "TYPE can't be hashed".
[[noreturn]] ROUTETRIE_EXPORT void throwNonHashableType(std::string_view type);
// Raises RangeException: "TYPE" and what is wrong, then the text in quotes.
[[noreturn]] ROUTETRIE_EXPORT void throwBadValueText(std::string_view type, std::string_view text);

template <class T>
concept HasText = requires(const T& value, std::string_view text) {
   { value.stringValue() } -> std::same_as<String>;
   { T::fromString(text) } -> std::same_as<T>;
};
// A type whose text is a function beside it, such as an enumeration's.
template <class T>
concept HasFreeText = requires(const T& value) {
   { stringValue(value) } -> std::same_as<String>;
};
template <class T>
concept ReadsFreeText = requires(std::string_view text, T* out) {
   { valueFromString(text, out) } -> std::same_as<void>;
};
// A type that reads itself off the front of a text.
template <class T>
concept ReadsItself = std::constructible_from<T, Tesk::CharRange&>;
template <class T>
concept HasHash = requires(const T& value, U32 seed) {
   { value.hash(seed) } -> std::same_as<U32>;
};

// Dummy... as the family of tables wants it: a type may be told apart by more than itself.
template <class T, class... Dummy>
struct InspectAtomicFnTable {
   static void inspectConstruct(void* place, const void* source) {
      if (source != nullptr) {
         ::new (place) T(*static_cast<const T*>(source));
      } else if constexpr (std::default_initializable<T>) {
         ::new (place) T();
      } else {
         // Every field of such a type is at its default when its bytes are zero.
         std::memset(place, 0, sizeof(T));
      }
   }

   static void inspectDestroy(void* place) { static_cast<T*>(place)->~T(); }

   static void inspectEncodeToString(const void* place, String& text) {
      const T& value = *static_cast<const T*>(place);
      if constexpr (std::same_as<T, bool>) {
         text = value ? "true" : "false";
      } else if constexpr (std::integral<T>) {
         text = std::to_string(value);
      } else if constexpr (std::same_as<T, String>) {
         text = value;
      } else if constexpr (HasText<T>) {
         text = value.stringValue();
      } else if constexpr (HasFreeText<T>) {
         text = stringValue(value);
      } else {
         static_assert(HasPlace<T>, "this value type has no text: give it stringValue() or describe it");
         text = TeskCorvid::Impl::valueToStrep(typeDataOf<T>(), place);
      }
   }

   static void inspectDecodeFromString(void* place, std::string_view text) {
      if constexpr (std::same_as<T, bool>) {
         if (text != "true" && text != "false") {
            throwBadValueText(typeName<T>(), text);
         }
         ::new (place) T(text == "true");
      } else if constexpr (std::integral<T>) {
         T value{};
         const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
         if (error != std::errc() || end != text.data() + text.size()) {
            throwBadValueText(typeName<T>(), text);
         }
         ::new (place) T(value);
      } else if constexpr (std::same_as<T, String>) {
         ::new (place) T(text);
      } else if constexpr (HasText<T>) {
         ::new (place) T(T::fromString(text));
      } else if constexpr (ReadsFreeText<T>) {
         T value{};
         valueFromString(text, &value);
         ::new (place) T(value);
      } else if constexpr (ReadsItself<T>) {
         ::new (place) T(Tesk::strepToValue<T>(text));
      } else {
         throwBadValueText(typeName<T>(), text);
      }
   }

   static U32 inspectGetHash([[maybe_unused]] const void* place, [[maybe_unused]] U32 seed) {
      if constexpr (HasHash<T>) {
         return static_cast<const T*>(place)->hash(seed);
      } else {
         throwNonHashableType(typeName<T>());
      }
   }

   static constexpr Tesk::ValueFunctions table{sizeof(T),
                                               alignof(T),
                                               &inspectConstruct,
                                               &inspectDestroy,
                                               &inspectEncodeToString,
                                               &inspectDecodeFromString,
                                               &inspectGetHash};
};

// Of a built-in type; null for `none` and for a code that stands for no type.
ROUTETRIE_EXPORT const Tesk::ValueFunctions* builtInFunctions(Tesk::TypeCode code);
// "U32" and the like; "void" for none, empty for a code that stands for no type.
ROUTETRIE_EXPORT std::string_view builtInName(Tesk::TypeCode code);

}  // namespace Corvid::Inspect
