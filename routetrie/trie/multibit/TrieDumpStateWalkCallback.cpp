#include "routetrie/trie/multibit/TrieDumpStateWalkCallback.h"

#include "routetrie/platform/Keel/DumpList.h"

namespace Routing {

Tesk::AllocTrackTypeInfo* TrieDumpStateWalkCallback::memAllocationTracker_ = nullptr;

TrieDumpStateWalkCallback::~TrieDumpStateWalkCallback() { nodeFlagSet(Corvid::nodeFlagAlive, false); }

int TrieDumpStateWalkCallback::handlePrefix(const Corenet::Prefix& p) {
   if (!Keel::isListEntryShown(dumpCtx_, entries_)) {
      return 0;
   }
   Keel::_objDumpPrintf(dumpCtx_, "%*c%s\n", static_cast<int>(indentCount_), ' ', p.stringValue().data());
   entriesInc(1);
   return 1;
}

}  // namespace Routing
