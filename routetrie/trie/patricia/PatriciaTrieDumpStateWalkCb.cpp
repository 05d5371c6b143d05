#include "routetrie/trie/patricia/PatriciaTrieDumpStateWalkCb.h"

#include "routetrie/platform/Keel/DumpList.h"

namespace Routing {

namespace {

// Whether there was room for the line.
template <class Callback>
bool writeEntry(Callback& callback, const Corenet::IpGenPrefix& p) {
   if (!Keel::isListEntryShown(callback.dumpCtx(), callback.entries())) {
      return false;
   }
   Keel::_objDumpPrintf(callback.dumpCtx(), "%*c%s\n", static_cast<int>(callback.indentCount()), ' ',
                        p.stringValue().data());
   callback.entriesInc(1);
   return true;
}

}  // namespace

Tesk::AllocTrackTypeInfo* PatriciaTrieDumpStateWalkCb::memAllocationTracker_ = nullptr;
Tesk::AllocTrackTypeInfo* PatriciaTrieCompactDumpStateWalkCb::memAllocationTracker_ = nullptr;

PatriciaTrieDumpStateWalkCb::~PatriciaTrieDumpStateWalkCb() { nodeFlagSet(Corvid::nodeFlagAlive, false); }

bool PatriciaTrieDumpStateWalkCb::handlePrefixData(const Corenet::IpGenPrefix& p, const PrefixData*) {
   return writeEntry(*this, p);
}

PatriciaTrieCompactDumpStateWalkCb::~PatriciaTrieCompactDumpStateWalkCb() {
   nodeFlagSet(Corvid::nodeFlagAlive, false);
}

bool PatriciaTrieCompactDumpStateWalkCb::handlePrefixData(const Corenet::CompactIpPrefix& p, const PrefixData*) {
   return writeEntry(*this, p.genPrefix());
}

}  // namespace Routing
