#include "routetrie/trie/multibit/TrieWalkCallback.h"

namespace Routing {

Tesk::AllocTrackTypeInfo* TrieWalkCallback::memAllocationTracker_ = nullptr;

TrieWalkCallback::~TrieWalkCallback() { nodeFlagSet(Corvid::nodeFlagAlive, false); }

int TrieWalkCallback::handlePrefix(const Corenet::Prefix&) { return 1; }

Tesk::AllocTrackTypeInfo* TrieWalkCallbackWrapper::memAllocationTracker_ = nullptr;

TrieWalkCallbackWrapper::~TrieWalkCallbackWrapper() { nodeFlagSet(Corvid::nodeFlagAlive, false); }

int TrieWalkCallbackWrapper::handlePrefix(const Corenet::Prefix& p) {
   return pcb_->handlePrefixData(Corenet::CompactIpPrefix(p), nullptr) ? 1 : 0;
}

}  // namespace Routing
