// PrefixData: the payload of one route, which callers subclass. PrefixDataContainer: the holder through which a lookup
// or a delete hands one back.
//
// The base class means: a new object replaces the old one, and a delete without data removes the route. A subclass may
// keep several objects under one route by chaining them inside insertData and removeData.
// Tested by tests/trie/patricia/PatriciaTrieDataTest.cpp.
#pragma once

#include <cstddef>

#include "routetrie/platform/Corvid/Create.h"
#include "routetrie/platform/Corvid/ModulePlace.h"
#include "routetrie/platform/Corvid/Node.h"
#include "routetrie/platform/Corvid/Ptr.h"
#include "routetrie/platform/Export.h"

namespace Routing {

class ROUTETRIE_EXPORT PrefixData : public Corvid::Node {
  public:
   PrefixData() = default;
   ~PrefixData() override;
   Corvid::TypeData typeData() const override;

   // Called each time the object is offered to a route, also to one that is there already. Does nothing.
   virtual void onAddition();
   // Called on the stored object when a delete reaches it, also when the route then stays. Does nothing.
   virtual void onDeletion();
   // Called on the stored object when a new one is offered to its route; the result takes its place and may not be
   // null. Returns `data`.
   virtual Corvid::Ptr<PrefixData> insertData(const Corvid::Ptr<PrefixData>& data);
   // Called on the stored object at a delete: a null result ends the route, any other takes the object's place.
   // Returns `data`.
   virtual Corvid::Ptr<PrefixData> removeData(const Corvid::Ptr<PrefixData>& data);

   static Corvid::Ptr<PrefixData> PrefixDataIs();

   static Tesk::AllocTrackTypeInfo* memAllocationTracker_;
   static void* operator new(std::size_t bytes) { return Corvid::allocateFor<PrefixData>(bytes); }
   static void operator delete(void* memory, std::size_t bytes) noexcept {
      Corvid::releaseFor<PrefixData>(memory, bytes);
   }
};

ROUTETRIE_EXPORT Corvid::Ptr<PrefixData> prefixDataFactory();

class ROUTETRIE_EXPORT PrefixDataContainer : public Corvid::Node {
  public:
   PrefixDataContainer() = default;
   ~PrefixDataContainer() override;
   Corvid::TypeData typeData() const override;

   const Corvid::Ptr<PrefixData>& prefixData() const noexcept { return prefixData_; }
   void prefixDataIs(const Corvid::Ptr<PrefixData>& data) { prefixData_ = data; }

   static Corvid::Ptr<PrefixDataContainer> PrefixDataContainerIs();

   static Tesk::AllocTrackTypeInfo* memAllocationTracker_;
   static void* operator new(std::size_t bytes) { return Corvid::allocateFor<PrefixDataContainer>(bytes); }
   static void operator delete(void* memory, std::size_t bytes) noexcept {
      Corvid::releaseFor<PrefixDataContainer>(memory, bytes);
   }

  private:
   template <class T>
   friend struct Corvid::Description;

   Corvid::Ptr<PrefixData> prefixData_;
};

ROUTETRIE_EXPORT Corvid::Ptr<PrefixDataContainer> prefixDataContainerFactory();

}  // namespace Routing
