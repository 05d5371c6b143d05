// Numbers: numbers as people read them.
//
// Tested by tests/tools/rtrie/NumbersTest.cpp.
#pragma once

#include <fmt/format.h>

#include <cmath>
#include <string>

#include "platform/Types.h"

namespace Rtrie {

// 1062046 -> "1,062,046"
inline std::string grouped(U64 number) {
   std::string text = fmt::format("{}", number);
   for (std::size_t at = text.size(); at > 3;) {
      text.insert(at -= 3, 1, ',');
   }
   return text;
}

// Per second, rounded; 0 if no time passed that the clock could tell.
inline U64 perSecond(U64 count, double seconds) {
   return seconds > 0 ? static_cast<U64>(std::llround(static_cast<double>(count) / seconds)) : 0;
}

}  // namespace Rtrie
