#include "routetrie/trie/front/TrieGenTestWalkCallback.h"

#include <memory>

#include "routetrie/trie/front/TrieGenTrace.h"

namespace Routing {

using Corenet::IpGenPrefix;

Tesk::AllocTrackTypeInfo* TrieGenTestWalkCallback::memAllocationTracker_ = nullptr;

TrieGenTestWalkCallback::~TrieGenTestWalkCallback() {
   nodeFlagSet(Corvid::nodeFlagAlive, false);
   walkedPrefixes_.emptyAllBuckets(WalkedPrefixes::descriptor, true);
}

Corvid::Ptr<TrieGenTestWalkCallback> TrieGenTestWalkCallback::TrieGenTestWalkCallbackIs() {
   return Corvid::ptrIsImpl<TrieGenTestWalkCallback>();
}

Corvid::Ptr<TrieGenTestWalkCallback> trieGenTestWalkCallbackFactory() {
   return TrieGenTestWalkCallback::TrieGenTestWalkCallbackIs();
}

int TrieGenTestWalkCallback::handlePrefix(const IpGenPrefix& p) noexcept {
   ROUTETRIE_TRACE(trieGenTrace, 8) << "handlePrefix"
                                    << "(" << p << ")";
   walkedPrefixIs(p);
   return 1;
}

bool TrieGenTestWalkCallback::walkedPrefix(const IpGenPrefix& p) const noexcept {
   return walkedPrefixes_.lookup(p, hashOf(p)) != nullptr;
}

void TrieGenTestWalkCallback::walkedPrefixIs(const IpGenPrefix& p) {
   if (!walkedPrefix(p)) {
      walkedPrefixes_.newMember(std::make_unique<HN_WalkedPrefix>(p), hashOf(p));
   }
}

void TrieGenTestWalkCallback::walkedPrefixDel(const IpGenPrefix& p) noexcept {
   walkedPrefixes_.deleteMember(p, hashOf(p));
}

void TrieGenTestWalkCallback::walkedPrefixDelAll() noexcept { walkedPrefixes_.memberDelAll(); }

}  // namespace Routing
