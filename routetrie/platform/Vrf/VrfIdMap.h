// VrfIdMap: the identities of VRFs, each a number of 32 bits.
// Tested by tests/platform/Vrf/VrfIdMapTest.cpp.
#pragma once

#include <compare>
#include <iosfwd>
#include <string_view>

#include "routetrie/platform/Corvid/String.h"
#include "routetrie/platform/Export.h"
#include "routetrie/platform/Tesk/HashHelper.h"
#include "routetrie/platform/Types.h"

namespace Vrf {

struct VrfIdMap {
   class ROUTETRIE_EXPORT VrfId {
     public:
      constexpr VrfId() noexcept = default;  // 0
      constexpr explicit VrfId(U32 value) noexcept : value_(value) {}

      constexpr U32 value() const noexcept { return value_; }
      U32 hash(U32 seed) const noexcept { return Tesk::hashSingleAttr(seed, value_); }

      // A decimal number. Raises Corvid::RangeException that quotes bad text.
      static VrfId fromString(std::string_view text);
      Corvid::String stringValue() const;

      friend constexpr bool operator==(const VrfId&, const VrfId&) noexcept = default;
      friend constexpr auto operator<=>(const VrfId&, const VrfId&) noexcept = default;
      friend ROUTETRIE_EXPORT std::ostream& operator<<(std::ostream& out, VrfId vrfId);

     private:
      U32 value_ = 0;
   };
};

static_assert(sizeof(VrfIdMap::VrfId) == 4);

}  // namespace Vrf

template <>
struct fmt::formatter<Vrf::VrfIdMap::VrfId> : fmt::formatter<Corvid::String> {
   auto format(Vrf::VrfIdMap::VrfId vrfId, fmt::format_context& context) const {
      return fmt::formatter<Corvid::String>::format(vrfId.stringValue(), context);
   }
};

template <>
struct std::hash<Vrf::VrfIdMap::VrfId> {
   std::size_t operator()(Vrf::VrfIdMap::VrfId vrfId) const noexcept { return vrfId.hash(0); }
};
