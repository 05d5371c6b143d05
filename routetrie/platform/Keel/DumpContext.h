// DumpContext: where the text of one dump goes, and how long its lists may be.
//
//    std::ostringstream out;
//    const auto context = Keel::dumpContextFactory(out);
//    context->listLimitIs(20);
//    trie->dumpState(context, 0);
//    if (context->truncated()) { ... }
//
// A dump is handed a pointer to const, and writes through it nonetheless: the text and `truncated` are what it is for. A
// null pointer is a context, too: standard output, without limits.
// Tested by tests/platform/Keel/DumpContextTest.cpp.
#pragma once

#include <cstddef>
#include <iosfwd>
#include <string_view>

#include "routetrie/platform/Corvid/Create.h"
#include "routetrie/platform/Corvid/Node.h"
#include "routetrie/platform/Corvid/Ptr.h"
#include "routetrie/platform/Export.h"

namespace Keel {

class ROUTETRIE_EXPORT DumpContext : public Corvid::Node {
  public:
   // The stream must outlive the context.
   explicit DumpContext(std::ostream& out) noexcept : out_(&out) {}
   ~DumpContext() override;
   Corvid::TypeData typeData() const override;

   static constexpr U8 verbose = 1;
   static constexpr U32 defaultListLimit = 1000;

   // 1 (`verbose`) asks for every entry of every list; any other value, as 0 at first, is the normal form.
   U8 verbosity() const noexcept { return verbosity_; }
   void verbosityIs(U8 value) noexcept { verbosity_ = value; }
   bool isVerbose() const noexcept { return verbosity_ == verbose; }

   // In the normal form, the greatest number of entries that a list may show.
   U32 listLimit() const noexcept { return listLimit_; }
   void listLimitIs(U32 entries) noexcept { listLimit_ = entries; }

   // Whether some list has been cut.
   bool truncated() const noexcept { return truncated_; }
   void truncatedIs(bool value) const noexcept { truncated_ = value; }

   void write(std::string_view text) const;

   static Tesk::AllocTrackTypeInfo* memAllocationTracker_;
   static void* operator new(std::size_t bytes) { return Corvid::allocateFor<DumpContext>(bytes); }
   static void operator delete(void* memory, std::size_t bytes) noexcept {
      Corvid::releaseFor<DumpContext>(memory, bytes);
   }

  private:
   std::ostream* const out_;
   U32 listLimit_ = defaultListLimit;
   U8 verbosity_ = 0;
   mutable bool truncated_ = false;
};

// A context of the normal form; the stream must outlive it.
ROUTETRIE_EXPORT Corvid::Ptr<DumpContext> dumpContextFactory(std::ostream& out);

// Writes what printf would make of format and arguments. A null context writes to standard output.
__attribute__((format(printf, 2, 3))) ROUTETRIE_EXPORT void _objDumpPrintf(
   const Corvid::Ptr<const DumpContext>& context, const char* format, ...);

}  // namespace Keel
