// route_set, route_set4, route_set6: tables without values; what they answer with is prefixes.
//
//    routetrie::route_set s;
//    s.insert("10.0.0.0/8"_prefix);
//    for (routetrie::prefix p : s.covering("10.1.2.3"_address)) ...
//
// All that a table is asked, but for lookup(), which is about values: contains(), match().
// Tested by tests/table/BothFamiliesTest.cpp, tests/property/TableRandomTest.cpp.
#pragma once

#include "routetrie/table.h"

namespace routetrie {

using route_set = table<void>;
using route_set4 = table4<void>;
using route_set6 = table6<void>;

}  // namespace routetrie
