// KernelFollower: what becomes of a kernel's routes, from its messages as they come.
//
// Where messages do not tell, all routes are read again and what has changed is found by comparing:
//
//    - when the socket's buffer ran over and messages were lost (ENOBUFS), which is told on standard error;
//    - when a device, an address or a next hop with an id has changed, as IPv4 routes go with these and the kernel says nothing
//      of it. That waits until the kernel has done with it, and takes no more than half of the time.
//
// Tested by tests/tools/kernel/KernelWatchTest.cpp.
#pragma once

#include <chrono>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <tuple>

#include "routetrie/platform/Types.h"
#include "tools/tables/RouteSet.h"
#include "tools/tables/kernel/KernelTable.h"
#include "tools/tables/kernel/RouteMessage.h"

namespace Rtrie {

class KernelFollower {
  public:
   struct Told {
      std::function<void(const KernelRoute& route)> route;
      std::function<void(std::unique_ptr<RouteSet> routes)> all;  // sealed, with candidates
      std::function<void()> beforeWait;
   };

   // Follows from here on. Raises DataError where the kernel's messages cannot be had.
   explicit KernelFollower(KernelTable table);
   ~KernelFollower();

   const KernelTable& table() const { return table_; }

   // All routes, sealed, with candidates. What happened before is in them, and not told any more. Raises DataError.
   std::unique_ptr<RouteSet> read();

   // Waits for something to tell of and tells it. Raises DataError, and what is raised while it tells.
   void step(const Told& told);

   // All routes are read again, as whoever was told of the last ones does not know any more what there is.
   void readAgainSoon();

   // Messages that contradict themselves, which were told on standard error.
   std::uint64_t faults() const { return faults_; }

  private:
   using Clock = std::chrono::steady_clock;
   struct Messages;

   void message(const nlmsghdr& message, const Told* told);
   bool hasChanged(const nlmsghdr& message);
   void readAgain(const Told& told);

   KernelTable table_;
   std::unique_ptr<Messages> messages_;
   // Of each device what its routes go with: the name, the flags, the device that it is enslaved to.
   std::map<U32, std::tuple<std::string, U32, U32>> links_;
   std::optional<Clock::time_point> readAgainAt_;
   Clock::time_point mayReadAt_;      // not before
   Clock::time_point firstChangeAt_;  // of those that wait for the routes to be read again
   bool isOverrun_ = false;
   std::uint64_t faults_ = 0;
};

}  // namespace Rtrie
