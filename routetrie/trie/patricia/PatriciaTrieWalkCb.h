// PatriciaTrieWalkCb, PatriciaTrieCompactWalkCb: what a search or a walk calls for each route, in the two prefix types.
// Tested by tests/trie/patricia/PatriciaTrieSearchTest.cpp.
#pragma once

#include <cstddef>

#include "routetrie/platform/Corenet/CompactIpPrefix.h"
#include "routetrie/platform/Corenet/IpGenPrefix.h"
#include "routetrie/platform/Corvid/Create.h"
#include "routetrie/platform/Corvid/Node.h"
#include "routetrie/platform/Export.h"
#include "routetrie/trie/patricia/PatriciaTrieData.h"

namespace Routing {

class ROUTETRIE_EXPORT PatriciaTrieWalkCb : public Corvid::Node {
  public:
   PatriciaTrieWalkCb() = default;
   ~PatriciaTrieWalkCb() override;
   Corvid::TypeData typeData() const override;

   // `p` dies with the call. `data` is null in a trie without node data, and otherwise borrowed from the node for the
   // length of the call. What the result means is the caller's to say. The callback must not change the trie.
   virtual bool handlePrefixData(const Corenet::IpGenPrefix& p, const PrefixData* data) = 0;

   static Tesk::AllocTrackTypeInfo* memAllocationTracker_;
   static void* operator new(std::size_t bytes) { return Corvid::allocateFor<PatriciaTrieWalkCb>(bytes); }
   static void operator delete(void* memory, std::size_t bytes) noexcept {
      Corvid::releaseFor<PatriciaTrieWalkCb>(memory, bytes);
   }
};

class ROUTETRIE_EXPORT PatriciaTrieCompactWalkCb : public Corvid::Node {
  public:
   PatriciaTrieCompactWalkCb() = default;
   ~PatriciaTrieCompactWalkCb() override;
   Corvid::TypeData typeData() const override;

   // As PatriciaTrieWalkCb::handlePrefixData.
   virtual bool handlePrefixData(const Corenet::CompactIpPrefix& p, const PrefixData* data) = 0;

   static Tesk::AllocTrackTypeInfo* memAllocationTracker_;
   static void* operator new(std::size_t bytes) { return Corvid::allocateFor<PatriciaTrieCompactWalkCb>(bytes); }
   static void operator delete(void* memory, std::size_t bytes) noexcept {
      Corvid::releaseFor<PatriciaTrieCompactWalkCb>(memory, bytes);
   }
};

}  // namespace Routing
