// TrieWalkCallback: what a walk over a multibit trie calls for each route. TrieWalkCallbackWrapper: one that hands on to a
// callback of compact prefixes.
// Tested by tests/trie/multibit/TrieTraversalTest.cpp.
#pragma once

#include <cstddef>
#include <utility>

#include "routetrie/platform/Corenet/Prefix.h"
#include "routetrie/platform/Corvid/Create.h"
#include "routetrie/platform/Corvid/Node.h"
#include "routetrie/platform/Corvid/Ptr.h"
#include "routetrie/platform/Export.h"
#include "routetrie/trie/multibit/TrieModule.h"
#include "routetrie/trie/patricia/PatriciaTrieWalkCb.h"

namespace Routing {

class ROUTETRIE_EXPORT TrieWalkCallback : public Corvid::Node {
  public:
   TrieWalkCallback() = default;
   ~TrieWalkCallback() override;
   Corvid::TypeData typeData() const override;

   // Not 0 to go on; 0 refuses the route and all that lies beneath it. The base takes every route. The callback must not
   // change the trie.
   virtual int handlePrefix(const Corenet::Prefix& p);

   static Tesk::AllocTrackTypeInfo* memAllocationTracker_;
   static void* operator new(std::size_t bytes) { return Corvid::allocateFor<TrieWalkCallback>(bytes); }
   static void operator delete(void* memory, std::size_t bytes) noexcept {
      Corvid::releaseFor<TrieWalkCallback>(memory, bytes);
   }
};

class ROUTETRIE_EXPORT TrieWalkCallbackWrapper : public TrieWalkCallback {
  public:
   explicit TrieWalkCallbackWrapper(Corvid::Ptr<PatriciaTrieCompactWalkCb> pcb) : pcb_(std::move(pcb)) {}
   ~TrieWalkCallbackWrapper() override;
   Corvid::TypeData typeData() const override;

   Corvid::Ptr<PatriciaTrieCompactWalkCb> pcb() { return pcb_; }
   Corvid::Ptr<const PatriciaTrieCompactWalkCb> pcb() const { return pcb_; }
   Corvid::Ptr<const PatriciaTrieCompactWalkCb> teskpcbConst() const { return pcb_; }

   // What pcb() makes of the compact form of the route, without node data.
   int handlePrefix(const Corenet::Prefix& p) override;

   static Tesk::AllocTrackTypeInfo* memAllocationTracker_;
   static void* operator new(std::size_t bytes) { return Corvid::allocateFor<TrieWalkCallbackWrapper>(bytes); }
   static void operator delete(void* memory, std::size_t bytes) noexcept {
      Corvid::releaseFor<TrieWalkCallbackWrapper>(memory, bytes);
   }

  private:
   template <class T>
   friend struct Corvid::Description;

   const Corvid::Ptr<PatriciaTrieCompactWalkCb> pcb_;
};

}  // namespace Routing
