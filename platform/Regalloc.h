// Regalloc: what the region allocator settles at load time.
#pragma once

#include "platform/Regalloc/Entry.h"
