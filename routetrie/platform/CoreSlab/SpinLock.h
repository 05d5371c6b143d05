// SpinLock: a lock of one byte for the few instructions of a free list. Where it is held long, the waiter yields.
// Tested by tests/platform/CoreSlab/PageHeapTest.cpp.
#pragma once

#include <sched.h>

#include <atomic>

#include "routetrie/platform/Language.h"

namespace CoreSlab {

class SpinLock {
  public:
   void lock() noexcept {
      while (locked_.exchange(true, std::memory_order_acquire)) {
         sched_yield();
      }
   }
   void unlock() noexcept { locked_.store(false, std::memory_order_release); }

  private:
   std::atomic<bool> locked_{false};
};

}  // namespace CoreSlab
