#include "routetrie/trie/intrusive/IntrusiveTrie.h"

#include <array>
#include <ostream>
#include <string_view>

#include "routetrie/platform/CoreFmt/Format.h"
#include "routetrie/platform/Corvid/Assert.h"

namespace Sprig::Intrusive::Impl {

namespace {

// The name that stands at the value's place, or "unknown" and the value.
template <class Enumeration, std::size_t count>
std::ostream& print(std::ostream& out, Enumeration value, const std::array<std::string_view, count>& names) {
   const auto number = static_cast<unsigned>(value);
   return number < count ? out << names[number] : out << CoreFmt::format("unknown {}", number);
}

}  // namespace

std::ostream& operator<<(std::ostream& out, CompareResult::Difference difference) {
   static constexpr std::array<std::string_view, 7> names{"none",
                                                          "bothLongerAndLhsSet",
                                                          "bothLongerAndRhsSet",
                                                          "lhsLongerAndSet",
                                                          "lhsLongerAndClear",
                                                          "rhsLongerAndSet",
                                                          "rhsLongerAndClear"};
   return print(out, difference, names);
}

std::ostream& operator<<(std::ostream& out, const CompareResult& result) {
   return out << "{commonLength=" << unsigned{result.commonLength} << ' ' << result.difference << '}';
}

std::ostream& operator<<(std::ostream& out, ParentPtrType type) {
   static constexpr std::array<std::string_view, 4> names{"none", "trieRoot", "nodeLeft", "nodeRight"};
   return print(out, type, names);
}

std::ostream& operator<<(std::ostream& out, LongestMatchInternalResultMatch match) {
   static constexpr std::array<std::string_view, 4> names{"empty", "exact", "moreSpecific", "conflict"};
   return print(out, match, names);
}

std::ostream& operator<<(std::ostream& out, LongestMatchInternalResultResolution resolution) {
   static constexpr std::array<std::string_view, 3> names{"none", "belongsOnTheLeft", "belongsOnTheRight"};
   return print(out, resolution, names);
}

char positionLetter(ParentPtrType type) noexcept {
   switch (type) {
      case ParentPtrType::trieRoot: return 'o';
      case ParentPtrType::nodeLeft: return 'L';
      case ParentPtrType::nodeRight: return 'R';
      case ParentPtrType::none: break;
   }
   return '-';
}

void trieError() {
   ROUTETRIE_ASSERT(false);
   __builtin_unreachable();
}

}  // namespace Sprig::Intrusive::Impl
