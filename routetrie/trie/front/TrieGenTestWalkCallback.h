// TrieGenTestWalkCallback: records what a walk over a dual-family trie saw, as a set: a prefix seen twice is there once.
// Tested by tests/trie/front/TrieGenWalkTest.cpp.
#pragma once

#include <cstddef>

#include "routetrie/platform/Corenet/IpGenPrefix.h"
#include "routetrie/platform/Corvid/Create.h"
#include "routetrie/platform/Corvid/Ptr.h"
#include "routetrie/platform/Export.h"
#include "routetrie/platform/Tesk/HashHelper.h"
#include "routetrie/platform/Tesk/HashMap2018.h"
#include "routetrie/trie/front/TrieGenModule.h"
#include "routetrie/trie/front/TrieGenWalkCallback.h"

namespace Routing {

class ROUTETRIE_EXPORT TrieGenTestWalkCallback : public TrieGenWalkCallback {
  public:
   struct HN_WalkedPrefix : Tesk::HashMap2018Link {
      explicit HN_WalkedPrefix(const Corenet::IpGenPrefix& thePrefix) noexcept : prefix(thePrefix) {}
      const Corenet::IpGenPrefix& key() const noexcept { return prefix; }
      Corenet::IpGenPrefix prefix;
   };
   using WalkedPrefixes = Tesk::HashMap2018<HN_WalkedPrefix, Corenet::IpGenPrefix, void>;

   TrieGenTestWalkCallback() = default;
   ~TrieGenTestWalkCallback() override;
   static Corvid::Ptr<TrieGenTestWalkCallback> TrieGenTestWalkCallbackIs();
   Corvid::TypeData typeData() const override;

   // Adds the prefix and returns 1, so that no walk is ever pruned. Running out of memory ends the process.
   int handlePrefix(const Corenet::IpGenPrefix& p) noexcept override;

   bool walkedPrefix(const Corenet::IpGenPrefix& p) const noexcept;
   // Raises std::bad_alloc, and has then changed nothing.
   void walkedPrefixIs(const Corenet::IpGenPrefix& p);
   void walkedPrefixDel(const Corenet::IpGenPrefix& p) noexcept;
   void walkedPrefixDelAll() noexcept;

   // For counting and iterating. Iterators register with the map, which changes nothing of what it holds.
   WalkedPrefixes& walkedPrefixes() const noexcept { return walkedPrefixes_; }
   static U32 hashOf(const Corenet::IpGenPrefix& p) noexcept {
      return p.hash(Tesk::HashHelper::hashSeed32() ^ 1621399682U);
   }

   static Tesk::AllocTrackTypeInfo* memAllocationTracker_;
   static void* operator new(std::size_t bytes) { return Corvid::allocateFor<TrieGenTestWalkCallback>(bytes); }
   static void operator delete(void* memory, std::size_t bytes) noexcept {
      Corvid::releaseFor<TrieGenTestWalkCallback>(memory, bytes);
   }

  private:
   template <class T>
   friend struct Corvid::Description;

   mutable WalkedPrefixes walkedPrefixes_{1, false};
};

// A new, empty recorder.
ROUTETRIE_EXPORT Corvid::Ptr<TrieGenTestWalkCallback> trieGenTestWalkCallbackFactory();

}  // namespace Routing
