// Numbers: numbers as people read them.
//
// Tested by tests/tools/tables/NumbersTest.cpp.
#pragma once

#include <fmt/format.h>

#include <cmath>
#include <cstdint>
#include <string>

#include "routetrie/platform/Types.h"

namespace Rtrie {

// 1062046 -> "1,062,046"
inline std::string grouped(std::uint64_t number) {
   std::string text = fmt::format("{}", number);
   for (std::size_t at = text.size(); at > 3;) {
      text.insert(at -= 3, 1, ',');
   }
   return text;
}

// Per second, rounded; 0 if no time passed that the clock could tell.
inline std::uint64_t perSecond(std::uint64_t count, double seconds) {
   return seconds > 0 ? static_cast<std::uint64_t>(std::llround(static_cast<double>(count) / seconds)) : 0;
}

}  // namespace Rtrie
