// expects: this_text_is_no_address
// A literal that is nothing of the kind.
#include "routetrie/table.h"

using namespace routetrie;

auto a = "10.0.0"_address;
