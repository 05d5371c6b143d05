// expects: a class with a memAllocationTracker_ of its own needs its own operator new and operator delete beside it
#include "routetrie/trie/multibit/TrieWalkCallback.h"

class Half : public Routing::TrieWalkCallback {
  public:
   static inline Tesk::AllocTrackTypeInfo* memAllocationTracker_ = nullptr;
   static void* operator new(std::size_t bytes) { return Corvid::allocateFor<Half>(bytes); }
};

auto made() { return Corvid::ptrIsImpl<Half>(); }
