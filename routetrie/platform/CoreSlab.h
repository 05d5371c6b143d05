// CoreSlab: memory for objects and nodes.
#pragma once

#include "routetrie/platform/CoreSlab/Slab.h"
