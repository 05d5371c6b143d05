// expects: no matching
// A prefix of one family is none of a table of the other.
#include "routetrie/table.h"

using namespace routetrie;

bool asked(const table4<int>& t) { return bool(t.match("2001:db8::/32"_prefix)); }
