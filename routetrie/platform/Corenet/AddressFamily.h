// AddressFamily: which kind of address a value is, in 8 bits. V4V6 is the same with no third value.
//
// Corenet::ipv4 and Corenet::ipv6 name the two families; each may also be spelled as a call, Corenet::ipv4().
// Tested by tests/platform/Corenet/AddressFamilyTest.cpp.
#pragma once

#include <iosfwd>
#include <string_view>

#include "routetrie/platform/Corenet/Integers.h"
#include "routetrie/platform/Corvid/Assert.h"
#include "routetrie/platform/Corvid/String.h"
#include "routetrie/platform/Export.h"

namespace Corenet {

// Values other than these three can be held, and are refused where a family is asked for.
enum class AddressFamily : U8 { none = 0, ipv4 = 1, ipv6 = 2 };

struct FamilyConstant {
   AddressFamily value;
   constexpr operator AddressFamily() const noexcept { return value; }
   constexpr AddressFamily operator()() const noexcept { return value; }
};

inline constexpr FamilyConstant ipv4{AddressFamily::ipv4};
inline constexpr FamilyConstant ipv6{AddressFamily::ipv6};

enum class V4V6 : U8 { v4 = 0, v6 = 1 };

// Asserts "false" on any family but the two.
constexpr V4V6 v4V6(AddressFamily family) {
   switch (family) {
      case AddressFamily::ipv4: return V4V6::v4;
      case AddressFamily::ipv6: return V4V6::v6;
      default: ROUTETRIE_ASSERT(false); return V4V6::v4;
   }
}

// "ipv4", "ipv6", "none", or "unknown" and the number.
ROUTETRIE_EXPORT Corvid::String stringValue(AddressFamily family);
ROUTETRIE_EXPORT Corvid::String stringValue(V4V6 family);
// Takes "ipv4", "ipv6" and "none"; raises Corvid::RangeException that quotes any other text.
ROUTETRIE_EXPORT void valueFromString(std::string_view text, AddressFamily* family);
ROUTETRIE_EXPORT void valueFromString(std::string_view text, V4V6* family);
ROUTETRIE_EXPORT std::ostream& operator<<(std::ostream& out, AddressFamily family);
ROUTETRIE_EXPORT std::ostream& operator<<(std::ostream& out, V4V6 family);

}  // namespace Corenet

template <>
struct fmt::formatter<Corenet::AddressFamily> : fmt::formatter<Corvid::String> {
   auto format(Corenet::AddressFamily family, fmt::format_context& context) const {
      return fmt::formatter<Corvid::String>::format(Corenet::stringValue(family), context);
   }
};
