// Vrf: the identities of VRFs.
#pragma once

#include "platform/Vrf/Module.h"
#include "platform/Vrf/VrfIdMap.h"
