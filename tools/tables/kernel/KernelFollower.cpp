#include "tools/tables/kernel/KernelFollower.h"

#include <fmt/format.h>
#include <linux/rtnetlink.h>

#include <algorithm>
#include <utility>

#include "tools/tables/Messages.h"
#include "tools/tables/Numbers.h"
#include "tools/tables/TableErrors.h"
#include "tools/tables/kernel/KernelSocket.h"

namespace Rtrie {
namespace {

// Long enough for the kernel to do what a message announces, and too short for anybody to wait for.
constexpr auto settleTime = std::chrono::milliseconds(50);
constexpr auto mostSettleTime = std::chrono::seconds(1);
// Of messages that wait: some thousand routes at a time.
constexpr int messageBytes = 4 << 20;
constexpr int mostReads = 3;
// So that messages that come faster than they are read do not keep the routes from being read.
constexpr int mostDrained = 100'000;

}  // namespace

struct KernelFollower::Messages {
   explicit Messages(const std::string& name)
      : socket(name, RTMGRP_LINK | RTMGRP_IPV4_IFADDR | RTMGRP_IPV4_ROUTE | RTMGRP_IPV6_ROUTE) {
      socket.bufferIs(messageBytes);
      socket.joins(RTNLGRP_NEXTHOP);  // since 5.3
   }
   KernelSocket socket;
};

KernelFollower::KernelFollower(KernelTable table)
   : table_(std::move(table)), messages_(std::make_unique<Messages>(table_.name())) {}

KernelFollower::~KernelFollower() = default;

std::unique_ptr<RouteSet> KernelFollower::read() {
   for (int reads = 1;; ++reads) {
      // What waits here is older than what is read now.
      const auto note = [this](const nlmsghdr& each) { message(each, nullptr); };
      for (int i = 0; i < mostDrained && messages_->socket.receive(0, note) != KernelSocket::Came::nothing; ++i) {
      }
      readAgainAt_.reset();
      auto routes = std::make_unique<RouteSet>();
      routes->candidatesAreKept();
      const auto begin = Clock::now();
      const KernelRead done = table_.read(*routes);
      const auto end = Clock::now();
      mayReadAt_ = end + (end - begin);
      faults_ += done.faults;
      if (done.isConsistent || reads == mostReads) {
         routes->seal();
         return routes;
      }
   }
}

void KernelFollower::step(const Told& told) {
   if (readAgainAt_ && Clock::now() >= std::max(*readAgainAt_, mayReadAt_)) {
      readAgain(told);
      return;
   }
   const auto each = [&](const nlmsghdr& one) { message(one, &told); };
   auto came = messages_->socket.receive(0, each);
   if (came == KernelSocket::Came::nothing) {
      told.beforeWait();
      int milliseconds = -1;
      if (readAgainAt_) {
         const auto left =
            std::chrono::ceil<std::chrono::milliseconds>(std::max(*readAgainAt_, mayReadAt_) - Clock::now());
         milliseconds = static_cast<int>(std::max<std::chrono::milliseconds::rep>(0, left.count()));
      }
      came = messages_->socket.receive(milliseconds, each);
   }
   if (came == KernelSocket::Came::overrun) {
      isOverrun_ = true;
      readAgainAt_ = Clock::now();
   }
}

void KernelFollower::readAgain(const Told& told) {
   const bool wasOverrun = std::exchange(isOverrun_, false);
   auto routes = read();
   if (wasOverrun) {
      say(fmt::format(
         "{}: messages of the kernel were lost, as they came faster than they were read: all {} routes were "
         "read again",
         table_.name(), grouped(routes->size())));
   }
   told.all(std::move(routes));
}

void KernelFollower::readAgainSoon() {
   const auto now = Clock::now();
   if (!readAgainAt_) {
      firstChangeAt_ = now;
   }
   readAgainAt_ = std::min(now + settleTime, firstChangeAt_ + mostSettleTime);
}

// told: null for what is older than what was read.
void KernelFollower::message(const nlmsghdr& message, const Told* told) {
   try {
      if (hasChanged(message)) {
         readAgainSoon();
      } else if (told != nullptr && !isOverrun_) {
         if (const auto route = routeOf(message, table_.names()); route && table_.takes(route->routeTable)) {
            told->route(*route);
         }
      }
   } catch (const BadText& fault) {
      ++faults_;
      say(fmt::format("{}: a message of the kernel: {}", table_.name(), fault.what()));
   }
}

// Whether routes may go, or be another, because of that without being told of.
bool KernelFollower::hasChanged(const nlmsghdr& message) {
   if (message.nlmsg_type == RTM_DELADDR || message.nlmsg_type == RTM_NEWNEXTHOP ||
       message.nlmsg_type == RTM_DELNEXTHOP) {
      return true;
   }
   const auto link = linkOf(message);
   if (!link) {
      return false;
   }
   if (link->isGone) {
      links_.erase(link->index);
      return true;
   }
   table_.names().links.insert_or_assign(link->index, link->name);
   const std::tuple now(link->name, link->flags, link->master);
   const auto [place, isNew] = links_.try_emplace(link->index, now);
   return isNew || std::exchange(place->second, now) != now;
}

}  // namespace Rtrie
