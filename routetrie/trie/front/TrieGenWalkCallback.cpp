#include "routetrie/trie/front/TrieGenWalkCallback.h"

namespace Routing {

Tesk::AllocTrackTypeInfo* TrieGenWalkCallback::memAllocationTracker_ = nullptr;
Tesk::AllocTrackTypeInfo* TrieWalkCallback4::memAllocationTracker_ = nullptr;
Tesk::AllocTrackTypeInfo* TrieWalkCallback6::memAllocationTracker_ = nullptr;

TrieGenWalkCallback::~TrieGenWalkCallback() { nodeFlagSet(Corvid::nodeFlagAlive, false); }

int TrieGenWalkCallback::handlePrefix(const Corenet::IpGenPrefix&) { return 1; }

TrieWalkCallback4::~TrieWalkCallback4() { nodeFlagSet(Corvid::nodeFlagAlive, false); }

int TrieWalkCallback4::handlePrefix(const Corenet::Prefix& p) { return currentWalkCallback_->handlePrefix(p); }

TrieWalkCallback6::~TrieWalkCallback6() { nodeFlagSet(Corvid::nodeFlagAlive, false); }

bool TrieWalkCallback6::handlePrefixData(const Corenet::IpGenPrefix& p, const PrefixData*) {
   currentWalkCallback_->handlePrefix(p);
   return true;
}

}  // namespace Routing
