// The consumer's own header: the library has one of this name in its folder.
#pragma once

#include "platform/Types.h"

struct OwnNode {
   OwnType type;
};
