// Export: ROUTETRIE_EXPORT marks the surface of libroutetrie.so; everything else is hidden.
#pragma once

#define ROUTETRIE_EXPORT __attribute__((visibility("default")))
