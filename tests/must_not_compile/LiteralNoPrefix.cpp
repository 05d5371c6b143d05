// expects: this_text_is_no_prefix
// A literal that is nothing of the kind.
#include "routetrie/table.h"

using namespace routetrie;

auto p = "10.0.0/8"_prefix;
