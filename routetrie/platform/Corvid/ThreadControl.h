// ThreadControl: whether the process has more than one thread that uses the library. Reference counts, trackers and
// slabs look here at each use and take the cheaper way while there is only one.
//
// The answer is one byte behind a pointer that is constant from load to exit, so that it may be asked by static
// initialisers of any library and by destructors that run at exit.
// Tested by tests/platform/Corvid/ThreadControlTest.cpp.
#pragma once

#include <atomic>

#include "routetrie/platform/Export.h"
#include "routetrie/platform/Types.h"

namespace Corvid {

struct ROUTETRIE_EXPORT ThreadControl {
   // Points at the byte; 0 means one thread. Never null, and the byte is never destroyed.
   static std::atomic<U8>* const tsp_;

   // Starting a thread orders what was written before it, so a relaxed read is enough.
   static bool multiThreaded() noexcept { return tsp_->load(std::memory_order_relaxed) != 0; }

   // Requires: set true before a second thread starts, and set back to false, if at all, after all threads but the
   // caller's have ended. Reference counts and trackers lose counts otherwise; slabs stay sound either way.
   static void multiThreadedIs(bool value) noexcept;
};

}  // namespace Corvid
