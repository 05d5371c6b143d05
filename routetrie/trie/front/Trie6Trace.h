// Trie6Trace: the trace facility of the IPv6 front end. Level 8 is for each change and each question but the longest match
// and the parent.
// Tested by tests/trie/front/Trie6Test.cpp.
#pragma once

#include "routetrie/platform/Tesk/Trace.h"

namespace Routing6 {

inline constexpr Tesk::TraceHandle trie6Trace("Trie6", false);

}  // namespace Routing6
