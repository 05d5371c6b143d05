#include "routetrie/trie/patricia/PatriciaTrieWithCompactNodeData.h"

namespace Routing {

Tesk::AllocTrackTypeInfo* PatriciaTrieWithCompactNodeData::memAllocationTracker_ = nullptr;

PatriciaTrieWithCompactNodeData::~PatriciaTrieWithCompactNodeData() { nodeFlagSet(Corvid::nodeFlagAlive, false); }

Corvid::Ptr<PatriciaTrieWithCompactNodeData> PatriciaTrieWithCompactNodeData::PatriciaTrieWithCompactNodeDataIs(
   Corenet::AddressFamily af) {
   return Corvid::ptrIsImpl<PatriciaTrieWithCompactNodeData>(af);
}

Corvid::Ptr<PatriciaTrieWithCompactNodeData> patriciaTrieWithCompactNodeDataFactory(Corenet::AddressFamily af) {
   return PatriciaTrieWithCompactNodeData::PatriciaTrieWithCompactNodeDataIs(af);
}

}  // namespace Routing
