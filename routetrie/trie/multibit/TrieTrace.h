// TrieTrace: the trace facility of the multibit trie. Level 1 is for nodes and bits that go, 6 for the subtree that an
// operation works on, 7 for each step of a walk, 8 for each entry and each question. Lookups of the longest match and of a
// parent trace nothing.
//
// A number is given in hexadecimal where the line says hex first; `dec` ends that.
// Tested by tests/trie/multibit/TrieTraceTest.cpp.
#pragma once

#include "routetrie/platform/Export.h"
#include "routetrie/platform/Tesk/Trace.h"

namespace TrieImpl {

inline constexpr Tesk::TraceHandle trieTrace("Trie", false);

// Traces one line at level 1, for trying out a sink.
ROUTETRIE_EXPORT void doDummyTrace();

}  // namespace TrieImpl
