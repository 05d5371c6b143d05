// A class with all three, one with none, and one that sees to its memory itself, are made.
#include "routetrie/trie/multibit/TrieWalkCallback.h"

class Whole : public Routing::TrieWalkCallback {
  public:
   static inline Tesk::AllocTrackTypeInfo* memAllocationTracker_ = nullptr;
   static void* operator new(std::size_t bytes) { return Corvid::allocateFor<Whole>(bytes); }
   static void operator delete(void* memory, std::size_t bytes) noexcept { Corvid::releaseFor<Whole>(memory, bytes); }
};
class None : public Whole {};
class Apart : public Whole {
  public:
   static void* operator new(std::size_t bytes) { return ::operator new(bytes); }
   static void operator delete(void* memory) noexcept { ::operator delete(memory); }
};

auto whole() { return Corvid::ptrIsImpl<Whole>(); }
auto none() { return Corvid::ptrIsImpl<None>(); }
auto apart() { return Corvid::ptrIsImpl<Apart>(); }
