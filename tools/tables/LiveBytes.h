// LiveBytes: how many bytes the library's objects take, for statistics and benchmarks.
//
// Tested by tests/tools/rtrie/TableSetTest.cpp and tests/tools/rtrie/MultibitTableTest.cpp.
#pragma once

#include <cstdint>

#include "routetrie/trie/multibit/TrieNode.h"

namespace Rtrie {

// Bytes of all objects that the library's allocation trackers count as live.
std::uint64_t trackedBytes();

// The bytes of the arrays of children beneath a node, which no tracker counts, as the C library handed them out.
std::uint64_t childArrayBytes(const TrieImpl::TrieNode& node);

// Calls `each` with each child of the node, a TrieNode, in order of their keys.
template <class Each>
void forEachChild(const TrieImpl::TrieNode& node, Each&& each) {
   for (U32 key = 0; node.children() != 0 && key < TrieImpl::levelEntries[node.level()]; ++key) {
      if (const TrieImpl::TrieNode* child = node.child(key)) {
         each(*child);
      }
   }
}

}  // namespace Rtrie
