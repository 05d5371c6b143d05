#include "routetrie/platform/Vrf/Module.h"

#include "routetrie/platform/Corvid/ModuleTables.h"

template <>
struct Corvid::Description<Vrf::VrfIdMap::VrfId> {
   static constexpr auto value = describeValue<Vrf::VrfIdMap::VrfId>(noConstructor);
};

ROUTETRIE_MODULE_RECORD(_Vrf_c40b97e2135fd868_teskModule)
