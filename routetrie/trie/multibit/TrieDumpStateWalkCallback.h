// TrieDumpStateWalkCallback: writes a line for each route that a walk reports, until a list is as long as its context
// allows. From there on it refuses every route.
// Tested by tests/trie/multibit/TrieDumpTest.cpp.
#pragma once

#include <cstddef>

#include "routetrie/platform/Corenet/Prefix.h"
#include "routetrie/platform/Corvid/Create.h"
#include "routetrie/platform/Corvid/Ptr.h"
#include "routetrie/platform/Export.h"
#include "routetrie/platform/Keel/DumpContext.h"
#include "routetrie/platform/Types.h"
#include "routetrie/trie/multibit/TrieWalkCallback.h"

namespace Routing {

class ROUTETRIE_EXPORT TrieDumpStateWalkCallback : public TrieWalkCallback {
  public:
   // Lines begin with `indentCount` blanks, with one if it is 0. A null context is standard output, without limits.
   TrieDumpStateWalkCallback(const Corvid::Ptr<const Keel::DumpContext>& dumpCtx, U32 indentCount)
      : indentCount_(indentCount), dumpCtx_(dumpCtx) {}
   ~TrieDumpStateWalkCallback() override;
   Corvid::TypeData typeData() const override;

   U32 indentCount() const noexcept { return indentCount_; }
   const Corvid::Ptr<const Keel::DumpContext>& dumpCtx() const noexcept { return dumpCtx_; }
   // The lines written so far.
   U32 entries() const noexcept { return entries_; }
   void entriesIs(U32 value) noexcept { entries_ = value; }
   void entriesInc(U32 by) noexcept { entries_ += by; }

   int handlePrefix(const Corenet::Prefix& p) override;

   static Tesk::AllocTrackTypeInfo* memAllocationTracker_;
   static void* operator new(std::size_t bytes) { return Corvid::allocateFor<TrieDumpStateWalkCallback>(bytes); }
   static void operator delete(void* memory, std::size_t bytes) noexcept {
      Corvid::releaseFor<TrieDumpStateWalkCallback>(memory, bytes);
   }

  private:
   template <class T>
   friend struct Corvid::Description;

   const U32 indentCount_;
   const Corvid::Ptr<const Keel::DumpContext> dumpCtx_;
   U32 entries_ = 0;
};

}  // namespace Routing
