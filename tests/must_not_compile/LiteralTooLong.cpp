// expects: this_prefix_is_longer_than_its_address
// A literal with a length past the address.
#include "routetrie/table.h"

using namespace routetrie;

auto p = "10.0.0.0/33"_prefix;
