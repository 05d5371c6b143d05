// KernelSocket: an rtnetlink socket: what the kernel has is asked of it (a dump), or its messages are followed.
//
// libmnl reads and writes the messages: it is what netlink itself has and no more, some 20 kB. libnl-route-3 would keep caches
// of objects of its own between the kernel's and ours, which here are lines and tables already.
// Tested by tests/tools/kernel/KernelTest.cpp.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "routetrie/platform/Types.h"

struct mnl_socket;
struct nlmsghdr;

namespace Rtrie {

class KernelSocket {
  public:
   using Each = std::function<void(const nlmsghdr& message)>;

   // `name` starts the texts of faults. groups: those whose messages are followed, a bit each (RTMGRP_...). Raises DataError
   // where there is no rtnetlink, or it is not permitted.
   explicit KernelSocket(std::string name, U32 groups = 0);

   // Joins a further group by its number (RTNLGRP_...); false if the kernel has none such.
   bool joins(U32 group) noexcept;
   // Bytes of messages that wait for being read, as far as is permitted.
   void bufferIs(int bytes) noexcept;

   // Hands out the routes of a family (AF_INET, AF_INET6), or all network devices. Where a routing table is given, the kernel
   // may tell the routes of others all the same. Returns false if changes have made what was told inconsistent. Requires: no
   // groups. Raises DataError.
   bool routes(U8 family, std::optional<U32> routeTable, const Each& each);
   bool links(const Each& each);

   enum class Came : U8 {
      messages,
      nothing,  // within the time
      overrun,  // messages were lost
   };
   // Hands out the messages that came, or waits for some as long (milliseconds, -1 for ever). Requires: groups. Raises
   // DataError.
   Came receive(int milliseconds, const Each& each);

  private:
   struct Close {
      void operator()(mnl_socket* socket) const;
   };

   bool dump(nlmsghdr& request, const Each& each);
   [[noreturn]] void fail(int error) const;

   std::string name_;
   std::unique_ptr<mnl_socket, Close> socket_;
   std::vector<char> buffer_;
   U32 sequence_ = 0;
};

}  // namespace Rtrie
