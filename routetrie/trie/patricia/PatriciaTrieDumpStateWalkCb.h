// PatriciaTrieDumpStateWalkCb, PatriciaTrieCompactDumpStateWalkCb: write a line for each route that a walk reports, until
// the list is as long as its context allows. From there on they refuse every route, which prunes the walk. Both write a
// prefix alike.
// Tested by tests/trie/patricia/PatriciaTrieDumpTest.cpp.
#pragma once

#include <cstddef>

#include "routetrie/platform/Corenet/CompactIpPrefix.h"
#include "routetrie/platform/Corenet/IpGenPrefix.h"
#include "routetrie/platform/Corvid/Create.h"
#include "routetrie/platform/Corvid/Ptr.h"
#include "routetrie/platform/Export.h"
#include "routetrie/platform/Keel/DumpContext.h"
#include "routetrie/platform/Types.h"
#include "routetrie/trie/patricia/PatriciaTrieWalkCb.h"

namespace Corvid {
template <class T>
struct Description;
}  // namespace Corvid

namespace Routing {

// The fields of the two, over the callback of their prefix type.
template <class WalkCb>
class ROUTETRIE_EXPORT PatriciaTrieDumpStateWalkCbOf : public WalkCb {
  public:
   // Lines begin with `indentCount` blanks, with one if it is 0. A null context is standard output, without limits.
   PatriciaTrieDumpStateWalkCbOf(const Corvid::Ptr<const Keel::DumpContext>& dumpCtx, U32 indentCount)
      : dumpCtx_(dumpCtx), indentCount_(indentCount) {}

   const Corvid::Ptr<const Keel::DumpContext>& dumpCtx() const noexcept { return dumpCtx_; }
   U32 indentCount() const noexcept { return indentCount_; }
   // The lines written so far.
   U32 entries() const noexcept { return entries_; }
   void entriesIs(U32 value) noexcept { entries_ = value; }
   void entriesInc(U32 by) noexcept { entries_ += by; }

  private:
   template <class T>
   friend struct Corvid::Description;

   const Corvid::Ptr<const Keel::DumpContext> dumpCtx_;
   const U32 indentCount_;
   U32 entries_ = 0;
};

class ROUTETRIE_EXPORT PatriciaTrieDumpStateWalkCb : public PatriciaTrieDumpStateWalkCbOf<PatriciaTrieWalkCb> {
  public:
   using PatriciaTrieDumpStateWalkCbOf::PatriciaTrieDumpStateWalkCbOf;
   ~PatriciaTrieDumpStateWalkCb() override;
   Corvid::TypeData typeData() const override;

   bool handlePrefixData(const Corenet::IpGenPrefix& p, const PrefixData* data) override;

   static Tesk::AllocTrackTypeInfo* memAllocationTracker_;
   static void* operator new(std::size_t bytes) { return Corvid::allocateFor<PatriciaTrieDumpStateWalkCb>(bytes); }
   static void operator delete(void* memory, std::size_t bytes) noexcept {
      Corvid::releaseFor<PatriciaTrieDumpStateWalkCb>(memory, bytes);
   }
};

class ROUTETRIE_EXPORT PatriciaTrieCompactDumpStateWalkCb
   : public PatriciaTrieDumpStateWalkCbOf<PatriciaTrieCompactWalkCb> {
  public:
   using PatriciaTrieDumpStateWalkCbOf::PatriciaTrieDumpStateWalkCbOf;
   ~PatriciaTrieCompactDumpStateWalkCb() override;
   Corvid::TypeData typeData() const override;

   bool handlePrefixData(const Corenet::CompactIpPrefix& p, const PrefixData* data) override;

   static Tesk::AllocTrackTypeInfo* memAllocationTracker_;
   static void* operator new(std::size_t bytes) {
      return Corvid::allocateFor<PatriciaTrieCompactDumpStateWalkCb>(bytes);
   }
   static void operator delete(void* memory, std::size_t bytes) noexcept {
      Corvid::releaseFor<PatriciaTrieCompactDumpStateWalkCb>(memory, bytes);
   }
};

}  // namespace Routing
