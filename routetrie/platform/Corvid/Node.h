// Node: the base of every class that is not a plain value. It holds the reference count, which starts at 1, and
// the node flags; the last reference given up destroys the object.
//
// N1 an object is destroyed once. While it goes, whatever it calls (its watchers, destructors of what it holds) may still
//    take references to it and give them up: the count goes up and down, and nobody is called a second time.
// N2 such a reference doesn't keep the object: it has to be given up before the destructors are through. One that is still
//    held then ends the process with "no reference outlives its object"; it would point at freed memory.
//
//    offset 0   pointer to the virtual table
//           8   reference count (U32)
//          12   node flags (U32)
//
// Virtual slots, in order: destructor, deleting destructor, lastUserGone, publisher, typeData. A class adds its own
// after these. Objects are made by Corvid::ptrIsImpl (routetrie/platform/Corvid/Create.h) and held by Corvid::Ptr.
// Tested by tests/platform/Corvid/NodeTest.cpp.
#pragma once

#include <atomic>
#include <cstddef>

#include "routetrie/platform/Corvid/ThreadControl.h"
#include "routetrie/platform/Export.h"
#include "routetrie/platform/Types.h"

namespace Tesk {
class AllocTrackTypeInfo;
struct ModuleInspectData;
}  // namespace Tesk

namespace Corvid {

class Publisher;

enum NodeFlag : U32 {
   // Set for as long as the object is whole. Every destructor clears it first of all, so that whoever still meets
   // the object while its members go can tell.
   nodeFlagAlive = 0x20000000,
   // Set from the moment in which the count took the object's life.
   nodeFlagEnding = 0x40000000,
};

// An object's reflection type: the record of its module, and the type's index there. A null module stands for a
// type that has no record.
struct TypeData {
   const Tesk::ModuleInspectData* module = nullptr;
   U16 index = 0;
};

class ROUTETRIE_EXPORT Node {
  public:
   Node(const Node&) = delete;
   Node& operator=(const Node&) = delete;
   virtual ~Node();

   // Called when the count reaches zero, unless the object is being destroyed already; the base form destroys it. A form
   // that keeps the object, for a pool, is called again at the next zero.
   virtual void lastUserGone();
   // Null for a class that publishes nothing. The object keeps the publisher.
   virtual Publisher* publisher() const;
   virtual TypeData typeData() const;

   // Takes a reference. Atomic when the process is multi-threaded (ThreadControl), a plain add otherwise.
   void incUse() const noexcept {
      if (ThreadControl::multiThreaded()) {
         uses_.fetch_add(1, std::memory_order_relaxed);
      } else {
         uses_.store(uses_.load(std::memory_order_relaxed) + 1, std::memory_order_relaxed);
      }
   }
   // Gives a reference up; at zero it calls lastUserGone(), see N1.
   void decUseImpl() const;

   // The references held on the object now; for tests and tools.
   U32 uses() const noexcept { return uses_.load(std::memory_order_relaxed); }

   void nodeFlagSet(NodeFlag flag, bool value) const;
   bool nodeFlag(NodeFlag flag) const noexcept { return (flags_ & flag) != 0; }

   // Counts the objects of classes that have no tracker of their own.
   static Tesk::AllocTrackTypeInfo* memAllocationTracker_;
   static void* operator new(std::size_t bytes);
   static void operator delete(void* memory, std::size_t bytes) noexcept;

  protected:
   Node() = default;

  private:
   // Either flag tells: an object need not die by the base form of lastUserGone(), nor has every class a destructor that
   // clears the other one.
   bool isEnding() const noexcept { return (flags_ & (nodeFlagAlive | nodeFlagEnding)) != nodeFlagAlive; }

   mutable std::atomic<U32> uses_{1};
   mutable U32 flags_ = nodeFlagAlive;
};

static_assert(sizeof(Node) == 16);

}  // namespace Corvid
