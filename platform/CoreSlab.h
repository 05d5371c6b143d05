// CoreSlab: memory for objects and nodes.
#pragma once

#include "platform/CoreSlab/Slab.h"
