// CharRange: text that is being read, as what is left of it. A parsing function takes from the front what it understands.
// The characters belong to someone else and must outlive the range.
// Tested by tests/platform/Tesk/CharRangeTest.cpp.
#pragma once

#include <cstddef>
#include <string_view>

#include "routetrie/platform/Export.h"

namespace Tesk {

class CharRange {
  public:
   constexpr CharRange() noexcept = default;
   constexpr explicit CharRange(std::string_view text) noexcept : rest_(text) {}

   constexpr std::string_view view() const noexcept { return rest_; }
   constexpr bool empty() const noexcept { return rest_.empty(); }

   // Takes the first `count` characters, or all if there are fewer.
   constexpr std::string_view take(std::size_t count) noexcept {
      const std::string_view taken = rest_.substr(0, count);
      rest_.remove_prefix(taken.size());
      return taken;
   }
   // Takes the longest run of characters for which `isWanted` is true.
   template <class IsWanted>
   constexpr std::string_view takeWhile(IsWanted isWanted) {
      std::size_t count = 0;
      while (count < rest_.size() && isWanted(rest_[count])) {
         ++count;
      }
      return take(count);
   }

   // Take the text around the attributes of a value (routetrie/platform/Tesk/Strep.h): what stands before the first attribute's value,
   // what stands before a further one's, and what ends the value. Raise Corvid::RangeException that names the attribute and
   // quotes what is there instead, and have then taken nothing.
   ROUTETRIE_EXPORT void needPre(std::string_view type, std::string_view attr);
   ROUTETRIE_EXPORT void needNext(std::string_view attr);
   ROUTETRIE_EXPORT void needPost(std::string_view attr);

  private:
   void need(std::string_view text, std::string_view attr);

   std::string_view rest_;
};

}  // namespace Tesk
