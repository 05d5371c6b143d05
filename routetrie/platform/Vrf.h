// Vrf: the identities of VRFs.
#pragma once

#include "routetrie/platform/Vrf/Module.h"
#include "routetrie/platform/Vrf/VrfIdMap.h"
