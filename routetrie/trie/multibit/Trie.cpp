#include "routetrie/trie/multibit/Trie.h"

#include "routetrie/trie/WalkGuard.h"

namespace Routing {

Tesk::AllocTrackTypeInfo* Trie::memAllocationTracker_ = nullptr;

namespace {

constexpr Corvid::FieldId changedRouteId = 133;

}  // namespace

Trie::Trie() {
   changedRouteIs(Corenet::Prefix::nullPrefix());
   handleInitialized();
}

Trie::~Trie() {
   nodeFlagSet(Corvid::nodeFlagAlive, false);
   handleDeletion();
}

Corvid::Ptr<Trie> Trie::TrieIs() { return Corvid::ptrIsImpl<Trie>(); }

Corvid::Ptr<Trie> trieFactory() { return Trie::TrieIs(); }

Corvid::Publisher* Trie::publisher() const { return &publisher_; }

void Trie::handleInitialized() {
   ROUTETRIE_CHANGING(this);
   root_ = TrieImpl::newNode(0, 0);
}

void Trie::handleDeletion() {
   ROUTETRIE_CHANGING(this);
   TrieImpl::deleteNode(root_);
}

void Trie::changedRouteIs(const Corenet::Prefix& prefix) {
   publisher_.attributeIs(changedRouteId, changedRoute_, prefix);
}

}  // namespace Routing
