// Vrf: the identities of VRFs.
#pragma once

#include "platform/Vrf/VrfIdMap.h"
