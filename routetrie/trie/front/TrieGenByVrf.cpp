#include "routetrie/trie/front/TrieGenByVrf.h"

#include <memory>

namespace Routing {

using Vrf::VrfIdMap;

Tesk::AllocTrackTypeInfo* VrfTrieGen::memAllocationTracker_ = nullptr;
Tesk::AllocTrackTypeInfo* TrieGenByVrf::memAllocationTracker_ = nullptr;

VrfTrieGen::~VrfTrieGen() { nodeFlagSet(Corvid::nodeFlagAlive, false); }

Corvid::Ptr<VrfTrieGen> VrfTrieGen::VrfTrieGenIs(VrfIdMap::VrfId vrfId) {
   return Corvid::ptrIsImpl<VrfTrieGen>(vrfId);
}

Corvid::Ptr<VrfTrieGen> vrfTrieGenFactory(VrfIdMap::VrfId vrfId) { return VrfTrieGen::VrfTrieGenIs(vrfId); }

TrieGenByVrf::~TrieGenByVrf() {
   nodeFlagSet(Corvid::nodeFlagAlive, false);
   vrfTrieGenDelAll();
   entries_.emptyAllBuckets(Entries::descriptor, true);
}

Corvid::Ptr<TrieGenByVrf> TrieGenByVrf::TrieGenByVrfIs() { return Corvid::ptrIsImpl<TrieGenByVrf>(); }

Corvid::Ptr<TrieGenByVrf> trieGenByVrfFactory() { return TrieGenByVrf::TrieGenByVrfIs(); }

Corvid::Ptr<VrfTrieGen> TrieGenByVrf::vrfTrieGen(VrfIdMap::VrfId vrfId) const noexcept {
   const HN_VrfTrieGen* const found = entries_.lookup(vrfId, hashOf(vrfId));
   return found != nullptr ? found->entry : nullptr;
}

Corvid::Ptr<VrfTrieGen> TrieGenByVrf::vrfTrieGenIs(VrfIdMap::VrfId vrfId) {
   if (auto found = vrfTrieGen(vrfId)) {
      return found;
   }
   return entries_.newMember(std::make_unique<HN_VrfTrieGen>(vrfTrieGenFactory(vrfId)), hashOf(vrfId)).entry;
}

Corvid::Ptr<VrfTrieGen> TrieGenByVrf::vrfTrieGenDel(VrfIdMap::VrfId vrfId) noexcept {
   Corvid::Ptr<VrfTrieGen> taken;
   entries_.deleteMember(vrfId, hashOf(vrfId), &taken);
   return taken;
}

void TrieGenByVrf::vrfTrieGenDelAll() noexcept { entries_.memberDelAll(); }

}  // namespace Routing
