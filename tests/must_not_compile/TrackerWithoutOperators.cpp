// expects: a class with a memAllocationTracker_ of its own needs its own operator new and operator delete beside it
#include "routetrie/trie/multibit/TrieWalkCallback.h"

class Half : public Routing::TrieWalkCallback {
  public:
   static inline Tesk::AllocTrackTypeInfo* memAllocationTracker_ = nullptr;
};

auto made() { return Corvid::ptrIsImpl<Half>(); }
