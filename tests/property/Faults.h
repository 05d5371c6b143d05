// Faults: allocations that fail, one at a time. Those of the nodes can be made to fail in builds with fault injection only; those of
// operator new, which slots, copies and texts take, in any program with CountedNew.cpp.
// Used by tests/property/TableFaultTest.cpp, SharedTableFaultTest.cpp and TableTrackedFaultTest.cpp.
#pragma once

#include <cstddef>
#include <new>

#include "tests/property/CountedNew.h"
#ifdef ROUTETRIE_FAULT_INJECTION
#include "routetrie/table/Region.h"
#endif

namespace Property {

enum class Source { nodes, heap };
inline constexpr Source sources[] = {
#ifdef ROUTETRIE_FAULT_INJECTION
   Source::nodes,
#endif
   Source::heap,
};

// The n-th from now; 0: none.
inline void failAt(Source source, std::size_t n) {
   if (source == Source::heap) {
      newFailsAt = n;
   } else {
#ifdef ROUTETRIE_FAULT_INJECTION
      routetrie::Impl::Region::failAt(n);
#endif
   }
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

}  // namespace Property
