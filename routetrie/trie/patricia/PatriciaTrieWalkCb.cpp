#include "routetrie/trie/patricia/PatriciaTrieWalkCb.h"

namespace Routing {

Tesk::AllocTrackTypeInfo* PatriciaTrieWalkCb::memAllocationTracker_ = nullptr;
Tesk::AllocTrackTypeInfo* PatriciaTrieCompactWalkCb::memAllocationTracker_ = nullptr;

PatriciaTrieWalkCb::~PatriciaTrieWalkCb() { nodeFlagSet(Corvid::nodeFlagAlive, false); }

PatriciaTrieCompactWalkCb::~PatriciaTrieCompactWalkCb() { nodeFlagSet(Corvid::nodeFlagAlive, false); }

}  // namespace Routing
