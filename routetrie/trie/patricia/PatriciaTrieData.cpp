#include "routetrie/trie/patricia/PatriciaTrieData.h"

namespace Routing {

Tesk::AllocTrackTypeInfo* PrefixData::memAllocationTracker_ = nullptr;
Tesk::AllocTrackTypeInfo* PrefixDataContainer::memAllocationTracker_ = nullptr;

PrefixData::~PrefixData() { nodeFlagSet(Corvid::nodeFlagAlive, false); }

void PrefixData::onAddition() {}

void PrefixData::onDeletion() {}

Corvid::Ptr<PrefixData> PrefixData::insertData(const Corvid::Ptr<PrefixData>& data) { return data; }

Corvid::Ptr<PrefixData> PrefixData::removeData(const Corvid::Ptr<PrefixData>& data) { return data; }

Corvid::Ptr<PrefixData> PrefixData::PrefixDataIs() { return Corvid::ptrIsImpl<PrefixData>(); }

Corvid::Ptr<PrefixData> prefixDataFactory() { return Corvid::ptrIsImpl<PrefixData>(); }

PrefixDataContainer::~PrefixDataContainer() { nodeFlagSet(Corvid::nodeFlagAlive, false); }

Corvid::Ptr<PrefixDataContainer> PrefixDataContainer::PrefixDataContainerIs() {
   return Corvid::ptrIsImpl<PrefixDataContainer>();
}

Corvid::Ptr<PrefixDataContainer> prefixDataContainerFactory() { return Corvid::ptrIsImpl<PrefixDataContainer>(); }

}  // namespace Routing
