// String: a text value, owned, copied by value; converts to std::string_view and std::string wherever one is wanted.
// Tested by tests/platform/Corvid/StringTest.cpp.
#pragma once

#include <fmt/core.h>

#include <compare>
#include <cstddef>
#include <functional>
#include <iosfwd>
#include <string>
#include <string_view>
#include <utility>

#include "routetrie/platform/Export.h"

namespace Corvid {

class String {
  public:
   String() = default;
   String(const char* text) : text_(text) {}
   String(std::string_view text) : text_(text) {}
   String(std::string text) noexcept : text_(std::move(text)) {}

   // The characters, ended by a NUL that size() does not count; valid until the String changes or dies.
   const char* data() const noexcept { return text_.data(); }
   const char* c_str() const noexcept { return text_.c_str(); }
   std::size_t size() const noexcept { return text_.size(); }
   bool empty() const noexcept { return text_.empty(); }
   std::string_view view() const noexcept { return text_; }

   operator std::string_view() const noexcept { return text_; }
   operator std::string() const { return text_; }

   friend bool operator==(const String& a, const String& b) noexcept { return a.view() == b.view(); }
   friend bool operator==(const String& a, std::string_view b) noexcept { return a.view() == b; }
   friend bool operator==(const String& a, const char* b) noexcept { return a.view() == b; }
   friend bool operator==(const String& a, const std::string& b) noexcept { return a.view() == b; }
   friend auto operator<=>(const String& a, const String& b) noexcept { return a.view() <=> b.view(); }

  private:
   std::string text_;
};

ROUTETRIE_EXPORT std::ostream& operator<<(std::ostream& out, const String& text);

}  // namespace Corvid

template <>
struct std::hash<Corvid::String> {
   std::size_t operator()(const Corvid::String& text) const noexcept {
      return std::hash<std::string_view>()(text.view());
   }
};

template <>
struct ROUTETRIE_EXPORT fmt::formatter<Corvid::String> : fmt::formatter<fmt::string_view> {
   auto format(const Corvid::String& text, fmt::format_context& context) const -> fmt::format_context::iterator;
};
