// Regalloc: what the region allocator settles at load time.
#pragma once

#include "routetrie/platform/Regalloc/Entry.h"
