// The two views of a multibit trie as text: the operator's list of routes, and the developer's tree of nodes.
#include <iostream>
#include <string>

#include "routetrie/platform/Keel/DumpList.h"
#include "routetrie/trie/multibit/Trie.h"
#include "routetrie/trie/multibit/TrieDumpStateWalkCallback.h"
#include "routetrie/trie/multibit/TrieTrace.h"

namespace Routing {

void Trie::dumpState(const Corvid::Ptr<const Keel::DumpContext>& dumpCtx, U32 indentCount) const {
   Keel::dumpLine(dumpCtx, indentCount, "Trie\n");
   // The default route is listed, but neither counted nor part of what decides whether the list is cut.
   const U32 count = routes_;
   Keel::dumpLine(dumpCtx, indentCount + 2, "route[] #%u\n", count);
   Keel::dumpListBegin(dumpCtx, indentCount + 2, count);
   walkRoutes(Corenet::Prefix(), Corvid::ptrIsImpl<TrieDumpStateWalkCallback>(dumpCtx, indentCount + 4));
   Keel::dumpListEnd(dumpCtx, indentCount + 2, count);
}

void Trie::doDump() { root_->doDump(0); }

}  // namespace Routing

namespace TrieImpl {

namespace {

std::string digits(U32 byte, U32 count) {
   std::string text;
   for (U32 bit = count; bit-- > 0;) {
      text += (byte >> bit & 1) != 0 ? '1' : '0';
   }
   return text;
}

}  // namespace

void TrieNode::doDump(U32 prefix) { doDump(std::cout, prefix); }

void TrieNode::doDump(std::ostream& out, U32 prefix) {
   const U32 endBit = levelEndBit[level()];
   const std::string indent(2 * level(), ' ');
   out << indent << " ->[" << Corenet::IpAddr(prefix) << '/' << endBit << ' ' << static_cast<const void*>(this)
       << " routes+children: " << routes() << std::endl;
   // Runs of equal entries and of empty ones are left out. The first run begins as if after an entry of 16, and "same" is
   // told once a node: a dump is for a reader who knows the trie.
   U32 lastBits = 16;
   bool sameShown = false;
   bool gapShown = false;
   for (U32 entry = 0; entry < levelEntries[level()]; ++entry) {
      const U32 address = entry << (32 - endBit) | prefix;
      const U32 bits = routeByte(entry);
      if (bits != 0 && bits != lastBits) {
         out << indent << "   [" << digits(bits, levelStride[level()]) << ' ' << Corenet::IpAddr(address) << ']'
             << std::endl;
         lastBits = bits;
         gapShown = false;
      } else if (bits != 0 && !sameShown) {
         out << indent << "   ...same..." << std::endl;
         sameShown = true;
      } else if (bits == 0 && !gapShown) {
         out << indent << "   [... " << std::endl;
         gapShown = true;
      }
      if (TrieNode* below = child(keyi(level(), address))) {
         below->doDump(out, address);
         gapShown = false;
      }
   }
}

void doDummyTrace() {
   ROUTETRIE_TRACE(trieTrace, 1) << "doDummyTrace: clearing route bits for 0x" << Tesk::hex << 0 << "- 0x" << 0
                                 << Tesk::dec;
}

}  // namespace TrieImpl
