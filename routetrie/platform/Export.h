// Export: ROUTETRIE_EXPORT marks the surface of libroutetrie.so; everything else is hidden.
#pragma once

#include "routetrie/platform/Language.h"

#define ROUTETRIE_EXPORT __attribute__((visibility("default")))
