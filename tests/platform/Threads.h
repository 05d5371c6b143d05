// Threads: runs a piece of work on several threads that all start at once.
#pragma once

#include <barrier>
#include <thread>
#include <vector>

#include "routetrie/platform/Corvid/ThreadControl.h"

namespace TestSupport {

// Tells the library that the process has several threads, for as long as this lives.
class MultiThreaded {
  public:
   explicit MultiThreaded(bool value = true) { Corvid::ThreadControl::multiThreadedIs(value); }
   ~MultiThreaded() { Corvid::ThreadControl::multiThreadedIs(false); }
   MultiThreaded(const MultiThreaded&) = delete;
   MultiThreaded& operator=(const MultiThreaded&) = delete;
};

// Calls work(0) to work(count - 1), each on a thread of its own; none begins before all are there. Returns when all
// have ended.
template <class Work>
void runThreads(int count, Work work) {
   std::barrier start(count);
   std::vector<std::jthread> threads;
   for (int i = 0; i < count; ++i) {
      threads.emplace_back([&start, &work, i] {
         start.arrive_and_wait();
         work(i);
      });
   }
}

}  // namespace TestSupport
