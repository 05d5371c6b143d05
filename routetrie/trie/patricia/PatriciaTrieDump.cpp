// The two views of a PatriciaTrie as text: the operator's list of routes, and the developer's tree of nodes.
// Tested by tests/trie/patricia/PatriciaTrieDumpTest.cpp.
#include <iostream>

#include "routetrie/platform/Keel/DumpList.h"
#include "routetrie/trie/patricia/PatriciaTrie.h"
#include "routetrie/trie/patricia/PatriciaTrieDumpStateWalkCb.h"
#include "routetrie/trie/patricia/PatriciaTrieKey.h"

namespace Routing {

void PatriciaTrie::dumpState(const Corvid::Ptr<const Keel::DumpContext>& dumpCtx, U32 indentCount) const {
   Keel::dumpLine(dumpCtx, indentCount, "PatriciaTrie\n");
   // Decides whether the list is cut. With node data it may be less than the routes that the walk reports.
   const U32 count = routes_;
   Keel::dumpLine(dumpCtx, indentCount + 2, "route[] #%u\n", count);
   Keel::dumpListBegin(dumpCtx, indentCount + 2, count);
   if (paf_ == nodeTypeIpv6Legacy()) {
      const auto walker = Corvid::ptrIsImpl<PatriciaTrieDumpStateWalkCb>(dumpCtx, indentCount + 4);
      preOrderWalk(getDefaultPrefix<Corenet::IpGenPrefix>(af_), walker.get());
   } else {
      const auto walker = Corvid::ptrIsImpl<PatriciaTrieCompactDumpStateWalkCb>(dumpCtx, indentCount + 4);
      preOrderWalkCompact(Corenet::CompactIpPrefix(), walker.get());
   }
   Keel::dumpListEnd(dumpCtx, indentCount + 2, count);
}

void PatriciaTrie::doDump() { dumpTree(std::cout, root_, 0, paf_); }

void dumpTree(std::ostream& out, PatriciaTrieNode* node, U32 depth, PatriciaTrieNodeType type) {
   for (; node != nullptr; node = node->right_, ++depth) {
      for (U32 blank = 0; blank < 2 * depth; ++blank) {
         out << ' ';
      }
      node->dump(out, type) << std::endl;
      dumpTree(out, node->left_, depth + 1, type);
   }
}

void doDummyTraceV6() {}

}  // namespace Routing
