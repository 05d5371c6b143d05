// expects: this_prefix_has_host_bits
// A literal with address bits set past its length.
#include "routetrie/table.h"

using namespace routetrie;

auto p = "10.0.0.1/8"_prefix;
