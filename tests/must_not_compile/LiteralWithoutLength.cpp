// expects: this_prefix_has_no_length
// An address is no prefix that lacks its length.
#include "routetrie/table.h"

using namespace routetrie;

auto p = "10.0.0.1"_prefix;
