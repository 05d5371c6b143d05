// Faults: allocations that fail, one at a time. Those of nodes, of tables and of tries, can be made to fail in builds with fault injection
// only; those of operator new, which slots, copies and texts take, in any program with CountedNew.cpp.
// Used by tests/property/FaultTest.cpp, TableFaultTest.cpp, SharedTableFaultTest.cpp and TableTrackedFaultTest.cpp.
#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <new>

#include "tests/property/CountedNew.h"
#ifdef ROUTETRIE_FAULT_INJECTION
#include "routetrie/platform/CoreSlab/Slab.h"
#include "routetrie/table/Region.h"
#endif

namespace Property {

enum class Source { nodes, slab, heap };
// Of tables, and of tries.
inline constexpr Source sources[] = {
#ifdef ROUTETRIE_FAULT_INJECTION
   Source::nodes,
#endif
   Source::heap,
};
inline constexpr Source trieSources[] = {
#ifdef ROUTETRIE_FAULT_INJECTION
   Source::slab,
#endif
   Source::heap,
};

// The n-th from now; 0: none.
inline void failAt(Source source, std::size_t n) {
   if (source == Source::heap) {
      newFailsAt = n;
      return;
   }
#ifdef ROUTETRIE_FAULT_INJECTION
   source == Source::slab ? CoreSlab::failAt(n) : routetrie::Impl::Region::failAt(n);
#endif
}

// Whether the work raised std::bad_alloc.
template <class Work>
bool failsWith(Source source, std::size_t n, const Work& work) {
   bool failed = false;
   failAt(source, n);
   try {
      work();
   } catch (const std::bad_alloc&) {
      failed = true;
   }
   failAt(source, 0);
   return failed;
}

// Calls work(source, n), which is to meet the n-th failure of a source and to tell whether it did, with n from 1 on until it did not. How
// many it met.
template <class Work>
std::size_t eachFailure(const Work& work) {
   std::size_t failures = 0;
   for (const Source source : sources) {
      for (std::size_t n = 1; !testing::Test::HasFailure(); ++n) {
         SCOPED_TRACE(testing::Message() << "allocation " << n << (source == Source::heap ? "" : " of nodes"));
         if (!work(source, n)) {
            break;
         }
         ++failures;
      }
   }
   return failures;
}

}  // namespace Property
