// Create: how an object comes to be and how its memory goes. Memory is from the slab and counted by the class's
// tracker; a constructor that raises leaves both as they were.
//
// A class that is counted by itself declares these three members; any other is counted by its base:
//
//    static Tesk::AllocTrackTypeInfo* memAllocationTracker_;
//    static void* operator new(std::size_t bytes) { return Corvid::allocateFor<Route>(bytes); }
//    static void operator delete(void* memory, std::size_t bytes) noexcept { Corvid::releaseFor<Route>(memory, bytes); }
//
// Tested by tests/platform/Corvid/CreateTest.cpp.
#pragma once

#include <cstddef>
#include <typeinfo>
#include <utility>

#include "routetrie/platform/CoreSlab/Slab.h"
#include "routetrie/platform/Corvid/Ptr.h"
#include "routetrie/platform/Tesk/AllocTrack.h"

namespace Corvid {

// Memory for one T of `bytes`, counted; raises std::bad_alloc and is then not counted.
template <class T>
void* allocateFor(std::size_t bytes) {
   Tesk::AllocTrackTypeInfo::_trackAllocationNoOverhead(&T::memAllocationTracker_, typeid(T), bytes);
   try {
      return CoreSlab::slabAlloc(bytes);
   } catch (...) {
      Tesk::AllocTrackTypeInfo::trackDeallocation(T::memAllocationTracker_, bytes);
      throw;
   }
}

// Gives back what allocateFor gave for the same T and `bytes`; null is let be.
template <class T>
void releaseFor(void* memory, std::size_t bytes) noexcept {
   if (memory != nullptr) {
      Tesk::AllocTrackTypeInfo::trackDeallocation(T::memAllocationTracker_, bytes);
      CoreSlab::slabFree(memory, typeid(T));
   }
}

// A new T, held by its one reference. What the constructor raises passes through.
template <class T, class... Args>
Ptr<T> ptrIsImpl(Args&&... args) {
   return Ptr<T>::adopt(new T(std::forward<Args>(args)...));
}

}  // namespace Corvid
