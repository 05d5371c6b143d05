#include "routetrie/platform/Vrf/VrfIdMap.h"

#include <ostream>
#include <string>

#include "routetrie/platform/Tesk/Strep.h"

namespace Vrf {

VrfIdMap::VrfId VrfIdMap::VrfId::fromString(std::string_view text) {
   Tesk::CharRange range(text);
   U32 value = 0;
   Tesk::sequenceToValue(range, &value);
   Tesk::CharRangeCheckAllDataConsumed(range).check();
   return VrfId(value);
}

Corvid::String VrfIdMap::VrfId::stringValue() const { return std::to_string(value_); }

std::ostream& operator<<(std::ostream& out, VrfIdMap::VrfId vrfId) { return out << vrfId.value(); }

}  // namespace Vrf
