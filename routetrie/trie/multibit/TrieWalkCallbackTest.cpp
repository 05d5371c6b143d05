#include "routetrie/trie/multibit/TrieWalkCallbackTest.h"

namespace Routing {

Tesk::AllocTrackTypeInfo* TrieWalkCallbackTest::memAllocationTracker_ = nullptr;

TrieWalkCallbackTest::~TrieWalkCallbackTest() { nodeFlagSet(Corvid::nodeFlagAlive, false); }

Corvid::Ptr<TrieWalkCallbackTest> TrieWalkCallbackTest::TrieWalkCallbackTestIs() {
   return Corvid::ptrIsImpl<TrieWalkCallbackTest>();
}

Corvid::Ptr<TrieWalkCallbackTest> trieWalkCallbackTestFactory() {
   return TrieWalkCallbackTest::TrieWalkCallbackTestIs();
}

int TrieWalkCallbackTest::handlePrefix(const Corenet::Prefix& p) {
   walkedPrefixEnq(p);
   return 1;
}

Corenet::Prefix TrieWalkCallbackTest::walkedPrefixFront() const {
   const auto* front = walkedPrefix_.front();
   return front == nullptr ? Corenet::Prefix() : *front;
}

Corenet::Prefix TrieWalkCallbackTest::walkedPrefixBack() const {
   const auto* back = walkedPrefix_.back();
   return back == nullptr ? Corenet::Prefix() : *back;
}

Corenet::Prefix TrieWalkCallbackTest::walkedPrefixDeq() {
   return walkedPrefix_.empty() ? Corenet::Prefix() : walkedPrefix_.deq();
}

}  // namespace Routing
