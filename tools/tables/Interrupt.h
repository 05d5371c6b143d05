// Interrupt: Ctrl-C as an exception, for a program that goes on when what it was doing has stopped. Who reads or prints for long
// asks now and then; nothing else is interrupted, so that what is half done is always a loop's next turn.
//
//    const InterruptsCaught caught;  // from here on SIGINT is only noted
//    try {
//       walk();
//    } catch (const Interrupted&) {
//    }
//
// Tested by tests/tools/tables/InterruptTest.cpp.
#pragma once

#include <csignal>
#include <exception>

#include "routetrie/platform/Types.h"

namespace Rtrie {

struct Interrupted : std::exception {
   const char* what() const noexcept override { return "interrupted"; }
};

inline volatile std::sig_atomic_t interruptIsNoted = 0;

// While one lives, a SIGINT is noted and does not end the program, and a call that waits comes back with EINTR. One at a time.
class InterruptsCaught {
  public:
   InterruptsCaught() {
      interruptIsNoted = 0;
      struct sigaction action {};
      action.sa_handler = [](int) { interruptIsNoted = 1; };
      sigemptyset(&action.sa_mask);
      sigaction(SIGINT, &action, &before_);
   }
   InterruptsCaught(const InterruptsCaught&) = delete;
   InterruptsCaught& operator=(const InterruptsCaught&) = delete;
   ~InterruptsCaught() {
      sigaction(SIGINT, &before_, nullptr);
      interruptIsNoted = 0;
   }

  private:
   struct sigaction before_ {};
};

// Whether one was noted, which is forgotten.
inline bool takeInterrupt() {
   const bool isNoted = interruptIsNoted != 0;
   interruptIsNoted = 0;
   return isNoted;
}

// Raises Interrupted where a SIGINT was noted, and forgets it.
inline void stopIfInterrupted() {
   if (takeInterrupt()) {
      throw Interrupted();
   }
}

}  // namespace Rtrie
