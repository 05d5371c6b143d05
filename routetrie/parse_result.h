// parse_result: what reading a text gave: a value, or what is wrong with the text.
//
//    if (auto p = routetrie::parse<routetrie::prefix>(line)) { use(*p); } else { complain(p.error()); }
//
// It stands where C++23 has std::expected. Who prefers an exception asks for value(), which raises it.
// Tested by tests/table/PrefixTest.cpp.
#pragma once

#include <string>
#include <utility>
#include <variant>

#include "routetrie/platform/Corvid/RangeException.h"

namespace routetrie {

template <class T>
class parse_result {
  public:
   parse_result(const T& value) : held_(std::in_place_index<0>, value) {}
   // Requires: `text` says what is wrong, in one line.
   static parse_result failure(std::string text) { return parse_result(std::in_place_index<1>, std::move(text)); }

   bool has_value() const noexcept { return held_.index() == 0; }
   explicit operator bool() const noexcept { return has_value(); }

   // Raises Corvid::RangeException, a std::range_error, with error() if there is no value.
   const T& value() const {
      if (!has_value()) {
         Corvid::RangeException::throwException(std::get<1>(held_).c_str());
      }
      return *std::get_if<0>(&held_);
   }
   T value_or(const T& other) const { return has_value() ? **this : other; }

   // Requires: has_value().
   const T& operator*() const noexcept { return *std::get_if<0>(&held_); }
   const T* operator->() const noexcept { return std::get_if<0>(&held_); }

   // Requires: not has_value(). One line that quotes the text, without an end of line.
   const std::string& error() const noexcept { return *std::get_if<1>(&held_); }

  private:
   template <std::size_t index, class U>
   parse_result(std::in_place_index_t<index> which, U&& held) : held_(which, std::forward<U>(held)) {}

   std::variant<T, std::string> held_;
};

}  // namespace routetrie
