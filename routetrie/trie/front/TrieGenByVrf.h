// TrieGenByVrf: a place for the tries of each VRF. VrfTrieGen: one entry, with a trie for each family, which the caller puts
// there: entries are made here, and tries never.
//
// Iteration through reflection goes by the order in which entries came, and goes on when the entry that it is at is deleted.
// Nothing is published. One thread at a time works on a collection.
// Tested by tests/trie/front/TrieGenByVrfTest.cpp.
#pragma once

#include <cstddef>
#include <utility>

#include "routetrie/platform/Corvid/Create.h"
#include "routetrie/platform/Corvid/Node.h"
#include "routetrie/platform/Corvid/Ptr.h"
#include "routetrie/platform/Export.h"
#include "routetrie/platform/Tesk/HashHelper.h"
#include "routetrie/platform/Tesk/HashMap2018.h"
#include "routetrie/platform/Vrf/VrfIdMap.h"
#include "routetrie/trie/front/TrieGen.h"
#include "routetrie/trie/front/TrieGenModule.h"

namespace Routing {

class ROUTETRIE_EXPORT VrfTrieGen : public Corvid::Node {
  public:
   explicit VrfTrieGen(Vrf::VrfIdMap::VrfId vrfId) noexcept : vrfId_(vrfId) {}
   ~VrfTrieGen() override;
   static Corvid::Ptr<VrfTrieGen> VrfTrieGenIs(Vrf::VrfIdMap::VrfId vrfId);
   Corvid::TypeData typeData() const override;

   const Vrf::VrfIdMap::VrfId& vrfId() const noexcept { return vrfId_; }
   // Null until they are set; their families are the caller's to keep.
   const Corvid::Ptr<TrieGen>& ipv4Trie() const noexcept { return ipv4Trie_; }
   void ipv4TrieIs(const Corvid::Ptr<TrieGen>& trie) { ipv4Trie_ = trie; }
   const Corvid::Ptr<TrieGen>& ipv6Trie() const noexcept { return ipv6Trie_; }
   void ipv6TrieIs(const Corvid::Ptr<TrieGen>& trie) { ipv6Trie_ = trie; }

   static Tesk::AllocTrackTypeInfo* memAllocationTracker_;
   static void* operator new(std::size_t bytes) { return Corvid::allocateFor<VrfTrieGen>(bytes); }
   static void operator delete(void* memory, std::size_t bytes) noexcept {
      Corvid::releaseFor<VrfTrieGen>(memory, bytes);
   }

  private:
   template <class T>
   friend struct Corvid::Description;

   const Vrf::VrfIdMap::VrfId vrfId_;
   Corvid::Ptr<TrieGen> ipv4Trie_;
   Corvid::Ptr<TrieGen> ipv6Trie_;
};

class ROUTETRIE_EXPORT TrieGenByVrf : public Corvid::Node {
  public:
   // An entry in the map, which finds its key in the object.
   struct HN_VrfTrieGen : Tesk::HashMap2018Link {
      explicit HN_VrfTrieGen(Corvid::Ptr<VrfTrieGen> theEntry) noexcept : entry(std::move(theEntry)) {}
      const Vrf::VrfIdMap::VrfId& key() const noexcept { return entry->vrfId(); }
      Corvid::Ptr<VrfTrieGen>& value() noexcept { return entry; }
      Corvid::Ptr<VrfTrieGen> entry;
   };
   using Entries = Tesk::HashMap2018<HN_VrfTrieGen, Vrf::VrfIdMap::VrfId, Corvid::Ptr<VrfTrieGen>>;

   TrieGenByVrf() = default;
   ~TrieGenByVrf() override;
   static Corvid::Ptr<TrieGenByVrf> TrieGenByVrfIs();
   Corvid::TypeData typeData() const override;

   // The entry of that VRF; null if there is none.
   Corvid::Ptr<VrfTrieGen> vrfTrieGen(Vrf::VrfIdMap::VrfId vrfId) const noexcept;
   // The entry, which is made if there is none. Raises std::bad_alloc, and has then changed nothing.
   Corvid::Ptr<VrfTrieGen> vrfTrieGenIs(Vrf::VrfIdMap::VrfId vrfId);
   // Takes the entry out and hands it over with its tries; null if there is none.
   Corvid::Ptr<VrfTrieGen> vrfTrieGenDel(Vrf::VrfIdMap::VrfId vrfId) noexcept;
   void vrfTrieGenDelAll() noexcept;

   // For counting and iterating. Iterators register with the map, which changes nothing of what it holds.
   Entries& entries() const noexcept { return entries_; }
   static U32 hashOf(Vrf::VrfIdMap::VrfId vrfId) noexcept {
      return Tesk::hashSingleAttr(Tesk::HashHelper::hashSeed32() ^ 3940462150U, vrfId);
   }

   static Tesk::AllocTrackTypeInfo* memAllocationTracker_;
   static void* operator new(std::size_t bytes) { return Corvid::allocateFor<TrieGenByVrf>(bytes); }
   static void operator delete(void* memory, std::size_t bytes) noexcept {
      Corvid::releaseFor<TrieGenByVrf>(memory, bytes);
   }

  private:
   template <class T>
   friend struct Corvid::Description;

   mutable Entries entries_{1, false};
};

// An entry that stands in no collection.
ROUTETRIE_EXPORT Corvid::Ptr<VrfTrieGen> vrfTrieGenFactory(Vrf::VrfIdMap::VrfId vrfId);
// A new, empty collection.
ROUTETRIE_EXPORT Corvid::Ptr<TrieGenByVrf> trieGenByVrfFactory();

}  // namespace Routing
