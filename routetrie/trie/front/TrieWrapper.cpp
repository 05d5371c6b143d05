#include "routetrie/trie/front/TrieWrapper.h"

#include <utility>

#include "routetrie/trie/multibit/TrieBulk.h"

namespace Routing {

Tesk::AllocTrackTypeInfo* TrieWrapper::memAllocationTracker_ = nullptr;

TrieWrapper::TrieWrapper(Corenet::AddressFamily af) : af_(af) { handleInitialized(); }

TrieWrapper::~TrieWrapper() {
   nodeFlagSet(Corvid::nodeFlagAlive, false);
   v4TrieDel();
   v6TrieDel();
}

Corvid::Ptr<TrieWrapper> TrieWrapper::TrieWrapperIs(Corenet::AddressFamily af) {
   return Corvid::ptrIsImpl<TrieWrapper>(af);
}

Corvid::Ptr<TrieWrapper> trieWrapperFactory(Corenet::AddressFamily af) { return TrieWrapper::TrieWrapperIs(af); }

void TrieWrapper::handleInitialized() {
   v4v6_ = Corenet::v4V6(af_);
   if (v4v6_ == Corenet::V4V6::v4) {
      v4TrieIs();
   } else {
      v6TrieIs(Corenet::ipv6());
   }
}

Corvid::Ptr<Trie> TrieWrapper::v4TrieIs() {
   if (!v4Trie_) {
      v4Trie_ = trieFactory();
   }
   return v4Trie_;
}

Corvid::Ptr<Trie> TrieWrapper::v4TrieDel() { return std::exchange(v4Trie_, nullptr); }

Corvid::Ptr<TrieCompact> TrieWrapper::v6TrieIs(Corenet::AddressFamily af) {
   if (!v6Trie_ || v6Trie_->af() != af) {
      v6Trie_ = trieCompactFactory(af);
   }
   return v6Trie_;
}

Corvid::Ptr<TrieCompact> TrieWrapper::v6TrieDel() { return std::exchange(v6Trie_, nullptr); }

namespace {

struct WrapperFace4 {
   using Prefix = Corenet::CompactIpPrefix;
   static Corenet::Prefix asked(const Prefix& query) { return query.ipv4(); }
   static Prefix answered(const Corenet::Prefix& found) { return found; }
};

}  // namespace

void TrieWrapper::longestMatchBulk(std::span<const Corenet::CompactIpPrefix> prefixes,
                                   std::span<Corenet::CompactIpPrefix> answers) const {
   switch (v4v6_) {
      case Corenet::V4V6::v4: longestMatchBulkAs<WrapperFace4>(*v4Trie_, prefixes, answers); return;
      case Corenet::V4V6::v6: v6Trie_->longestMatchBulk(prefixes, answers); return;
   }
   ROUTETRIE_ASSERT(false);
}

std::string TrieWrapper::audit() const {
   const bool isV4 = af_ == Corenet::ipv4();
   if (v4v6_ != (isV4 ? Corenet::V4V6::v4 : Corenet::V4V6::v6) || (v4Trie_ != nullptr) != isV4 ||
       (v6Trie_ != nullptr) == isV4) {
      return "the engine is not the family's";
   }
   return isV4 ? v4Trie_->audit() : v6Trie_->audit();
}

}  // namespace Routing
