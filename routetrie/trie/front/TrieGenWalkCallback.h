// TrieGenWalkCallback: what a walk over a dual-family trie calls for each route. TrieWalkCallback4 and TrieWalkCallback6 stand
// between it and the walks of the two engines.
//
// The two differ on purpose: what the client's callback returns reaches the walk of the multibit trie, where 0 refuses a
// route with all that lies beneath it, and never that of the Patricia trie, which is always told to go on.
// Tested by tests/trie/front/TrieGenWalkTest.cpp.
#pragma once

#include <cstddef>

#include "routetrie/platform/Corenet/IpGenPrefix.h"
#include "routetrie/platform/Corenet/Prefix.h"
#include "routetrie/platform/Corvid/Create.h"
#include "routetrie/platform/Corvid/Node.h"
#include "routetrie/platform/Corvid/Ptr.h"
#include "routetrie/platform/Export.h"
#include "routetrie/trie/front/TrieGenModule.h"
#include "routetrie/trie/multibit/TrieWalkCallback.h"
#include "routetrie/trie/patricia/PatriciaTrieWalkCb.h"

namespace Routing {

class ROUTETRIE_EXPORT TrieGenWalkCallback : public Corvid::Node {
  public:
   TrieGenWalkCallback() = default;
   ~TrieGenWalkCallback() override;
   Corvid::TypeData typeData() const override;

   // Not 0 to go on; 0 refuses the route, as above. The base takes every route. The callback must not change the trie.
   virtual int handlePrefix(const Corenet::IpGenPrefix& p);

   static Tesk::AllocTrackTypeInfo* memAllocationTracker_;
   static void* operator new(std::size_t bytes) { return Corvid::allocateFor<TrieGenWalkCallback>(bytes); }
   static void operator delete(void* memory, std::size_t bytes) noexcept {
      Corvid::releaseFor<TrieGenWalkCallback>(memory, bytes);
   }
};

// Hands on to `currentWalkCallback`, which must be set by then.
class ROUTETRIE_EXPORT TrieWalkCallback4 : public TrieWalkCallback {
  public:
   TrieWalkCallback4() = default;
   ~TrieWalkCallback4() override;
   Corvid::TypeData typeData() const override;

   const Corvid::Ptr<TrieGenWalkCallback>& currentWalkCallback() const noexcept { return currentWalkCallback_; }
   void currentWalkCallbackIs(const Corvid::Ptr<TrieGenWalkCallback>& callback) { currentWalkCallback_ = callback; }

   // What the callback returns.
   int handlePrefix(const Corenet::Prefix& p) override;

   static Tesk::AllocTrackTypeInfo* memAllocationTracker_;
   static void* operator new(std::size_t bytes) { return Corvid::allocateFor<TrieWalkCallback4>(bytes); }
   static void operator delete(void* memory, std::size_t bytes) noexcept {
      Corvid::releaseFor<TrieWalkCallback4>(memory, bytes);
   }

  private:
   template <class T>
   friend struct Corvid::Description;

   Corvid::Ptr<TrieGenWalkCallback> currentWalkCallback_;
};

// As TrieWalkCallback4, for the Patricia trie.
class ROUTETRIE_EXPORT TrieWalkCallback6 : public PatriciaTrieWalkCb {
  public:
   TrieWalkCallback6() = default;
   ~TrieWalkCallback6() override;
   Corvid::TypeData typeData() const override;

   const Corvid::Ptr<TrieGenWalkCallback>& currentWalkCallback() const noexcept { return currentWalkCallback_; }
   void currentWalkCallbackIs(const Corvid::Ptr<TrieGenWalkCallback>& callback) { currentWalkCallback_ = callback; }

   // True, whatever the callback returns; `data` is not looked at.
   bool handlePrefixData(const Corenet::IpGenPrefix& p, const PrefixData* data) override;

   static Tesk::AllocTrackTypeInfo* memAllocationTracker_;
   static void* operator new(std::size_t bytes) { return Corvid::allocateFor<TrieWalkCallback6>(bytes); }
   static void operator delete(void* memory, std::size_t bytes) noexcept {
      Corvid::releaseFor<TrieWalkCallback6>(memory, bytes);
   }

  private:
   template <class T>
   friend struct Corvid::Description;

   Corvid::Ptr<TrieGenWalkCallback> currentWalkCallback_;
};

}  // namespace Routing
