// Text: what every address and prefix type has of text beside its own stringValue() and fromString(): output to a
// stream, formatting by fmt (with the width and alignment of a string), and std::hash.
// Tested by tests/platform/Corenet/TextTest.cpp.
#pragma once

#include <fmt/core.h>

#include <concepts>
#include <functional>
#include <iosfwd>
#include <string_view>

#include "routetrie/platform/Corenet/AddressText.h"
#include "routetrie/platform/Corenet/Integers.h"
#include "routetrie/platform/Corvid/RangeException.h"
#include "routetrie/platform/Corvid/String.h"
#include "routetrie/platform/Export.h"

namespace Corenet {

template <class T>
concept TextValue = std::copyable<T> && requires(const T& value, std::string_view text) {
   { value.stringValue() } -> std::same_as<Corvid::String>;
   { T::fromString(text) } -> std::same_as<T>;
};

template <class T>
concept HashedValue = TextValue<T> && requires(const T& value, U32 seed) {
   { value.hash(seed) } -> std::same_as<U32>;
};

template <TextValue T>
std::ostream& operator<<(std::ostream& out, const T& value) {
   return out << value.stringValue();
}

namespace Impl {

using Corvid::throwBadText;

struct AddressAndLength {
   std::string_view address;
   U32 length;
};
// Takes "address/length" apart. The length may be 0 to `width` bits, or 255 for the null prefix; raises with the
// text quoted when a part is missing, is too much or is out of range.
ROUTETRIE_EXPORT AddressAndLength splitPrefixText(std::string_view text, U32 width);

}  // namespace Impl
}  // namespace Corenet

template <Corenet::TextValue T>
struct fmt::formatter<T> : fmt::formatter<Corvid::String> {
   auto format(const T& value, fmt::format_context& context) const {
      return fmt::formatter<Corvid::String>::format(value.stringValue(), context);
   }
};

template <Corenet::HashedValue T>
struct std::hash<T> {
   std::size_t operator()(const T& value) const noexcept { return value.hash(0); }
};
