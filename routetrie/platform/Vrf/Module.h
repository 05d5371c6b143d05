// The record of the identities of VRFs.
#pragma once

#include "routetrie/platform/Corvid/ModulePlace.h"
#include "routetrie/platform/Vrf/VrfIdMap.h"

ROUTETRIE_MODULE(_Vrf_c40b97e2135fd868_teskModule, Vrf::VrfIdMap::VrfId)
