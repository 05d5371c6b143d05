// TrieWalkCallbackTest: the recorder, a callback that keeps every route that a walk reports, oldest first, a route reported
// twice twice. It refuses none.
// Tested by tests/trie/multibit/TrieWalkCallbackTestTest.cpp.
#pragma once

#include <cstddef>

#include "routetrie/platform/Corenet/Prefix.h"
#include "routetrie/platform/Corvid/Create.h"
#include "routetrie/platform/Corvid/Ptr.h"
#include "routetrie/platform/Corvid/RQueue.h"
#include "routetrie/platform/Export.h"
#include "routetrie/trie/multibit/TrieWalkCallback.h"

namespace Routing {

class ROUTETRIE_EXPORT TrieWalkCallbackTest : public TrieWalkCallback {
  public:
   struct QE_WalkedPrefix;
   using WalkedPrefixes = Corvid::RQueue<Corenet::Prefix, false, QE_WalkedPrefix>;

   TrieWalkCallbackTest() = default;
   ~TrieWalkCallbackTest() override;
   static Corvid::Ptr<TrieWalkCallbackTest> TrieWalkCallbackTestIs();
   Corvid::TypeData typeData() const override;

   int handlePrefix(const Corenet::Prefix& p) override;

   // The whole queue, for counting and reading through.
   const WalkedPrefixes& walkedPrefix() const noexcept { return walkedPrefix_; }
   void walkedPrefixEnq(const Corenet::Prefix& p) { walkedPrefix_.enq(p); }
   // The oldest and the newest; 0.0.0.0/0 if there is none.
   Corenet::Prefix walkedPrefixFront() const;
   Corenet::Prefix walkedPrefixBack() const;
   // Removes the oldest and returns it; 0.0.0.0/0 if there is none.
   Corenet::Prefix walkedPrefixDeq();
   void walkedPrefixDelAll() { walkedPrefix_.memberDelAll(); }

   static Tesk::AllocTrackTypeInfo* memAllocationTracker_;
   static void* operator new(std::size_t bytes) { return Corvid::allocateFor<TrieWalkCallbackTest>(bytes); }
   static void operator delete(void* memory, std::size_t bytes) noexcept {
      Corvid::releaseFor<TrieWalkCallbackTest>(memory, bytes);
   }

  private:
   template <class T>
   friend struct Corvid::Description;

   WalkedPrefixes walkedPrefix_;
};

ROUTETRIE_EXPORT Corvid::Ptr<TrieWalkCallbackTest> trieWalkCallbackTestFactory();

}  // namespace Routing
