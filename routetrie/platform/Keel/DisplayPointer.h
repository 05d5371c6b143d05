// DisplayPointer: an address as dumps show it: "0x" and 16 hexadecimal digits, or "NULL".
// Tested by tests/platform/Keel/DisplayPointerTest.cpp.
#pragma once

#include <fmt/format.h>

#include <cstdint>

#include "routetrie/platform/Language.h"

namespace Keel {

class DisplayPointer {
  public:
   constexpr explicit DisplayPointer(const void* pointer) noexcept : pointer_(pointer) {}

   const void* pointer() const noexcept { return pointer_; }

  private:
   const void* pointer_;
};

}  // namespace Keel

template <>
struct fmt::formatter<Keel::DisplayPointer> {
   constexpr auto parse(fmt::format_parse_context& context) const { return context.begin(); }
   auto format(const Keel::DisplayPointer& value, fmt::format_context& context) const {
      constexpr int width = 18;
      return value.pointer() == nullptr
                ? fmt::format_to(context.out(), "NULL")
                : fmt::format_to(context.out(), "{:#0{}x}", reinterpret_cast<std::uintptr_t>(value.pointer()), width);
   }
};
