// PatriciaTrieWithCompactNodeData: a PatriciaTrieWithNodeData of compact prefixes, whose IPv6 nodes keep a key in a word.
// Tested by tests/trie/patricia/PatriciaTrieWithNodeDataTest.cpp.
#pragma once

#include <cstddef>

#include "routetrie/trie/patricia/PatriciaTrieWithNodeData.h"

namespace Routing {

class ROUTETRIE_EXPORT PatriciaTrieWithCompactNodeData : public PatriciaTrieWithNodeData {
  public:
   explicit PatriciaTrieWithCompactNodeData(Corenet::AddressFamily af) : PatriciaTrieWithNodeData(af, true) {}
   ~PatriciaTrieWithCompactNodeData() override;
   Corvid::TypeData typeData() const override;
   static Corvid::Ptr<PatriciaTrieWithCompactNodeData> PatriciaTrieWithCompactNodeDataIs(Corenet::AddressFamily af);

   static Tesk::AllocTrackTypeInfo* memAllocationTracker_;
   static void* operator new(std::size_t bytes) {
      return Corvid::allocateFor<PatriciaTrieWithCompactNodeData>(bytes);
   }
   static void operator delete(void* memory, std::size_t bytes) noexcept {
      Corvid::releaseFor<PatriciaTrieWithCompactNodeData>(memory, bytes);
   }
};

// A new, empty trie.
ROUTETRIE_EXPORT Corvid::Ptr<PatriciaTrieWithCompactNodeData> patriciaTrieWithCompactNodeDataFactory(
   Corenet::AddressFamily af);

}  // namespace Routing
