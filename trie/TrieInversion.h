// TrieInversion: from route bits back to prefixes, the way that walks go (trie/TrieGeometry.h has the way there).
// Tested by tests/trie/TrieInversionTest.cpp, which inverts every route of a node of each level.
#pragma once

#include "platform/Export.h"
#include "platform/Types.h"

// The route bits for which entry `i` is the first that the route covers, so that a walk can report each route once. 255 for
// entry 0, whatever the level. Asserts "stride > 0 && stride <= 8" at a level that there is not.
ROUTETRIE_EXPORT U8 prefixBoundary(int level, int i);

// The length of a route that goes `bitPos` bits into a node of that level.
ROUTETRIE_EXPORT int computeLen(int level, int bitPos);

// The host-order address of the route at entry `i`, `bitPos` bits into a node of that level whose own address is `prefix`. With
// the node's stride for `bitPos` it is the address of the child at `i`. 0 at a level that there is not.
// Requires: `bitPos` is 1 to the node's stride.
ROUTETRIE_EXPORT U32 computePrefix(int level, U32 prefix, U8 i, int bitPos);
