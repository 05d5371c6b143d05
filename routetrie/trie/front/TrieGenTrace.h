// TrieGenTrace: the trace facility of the dual-family trie. Level 8 is for each call and its answer, 0 for a prefix without a
// family.
// Tested by tests/trie/front/TrieGenTest.cpp.
#pragma once

#include "routetrie/platform/Tesk/Trace.h"

namespace Routing {

inline constexpr Tesk::TraceHandle trieGenTrace("TrieGen", false);

}  // namespace Routing
