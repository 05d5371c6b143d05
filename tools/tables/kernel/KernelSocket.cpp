#include "tools/tables/kernel/KernelSocket.h"

#include <fmt/format.h>
#include <libmnl/libmnl.h>
#include <linux/rtnetlink.h>
#include <poll.h>
#include <sys/socket.h>

#include <cerrno>
#include <cstring>

#include "tools/tables/TableErrors.h"

namespace Rtrie {
namespace {

// A message has at most 64 kB, and a dump's part half of that.
constexpr std::size_t kernelReadBytes = std::size_t{1} << 17;

}  // namespace

void KernelSocket::Close::operator()(mnl_socket* socket) const { mnl_socket_close(socket); }

KernelSocket::KernelSocket(std::string name, U32 groups)
   : name_(std::move(name)), socket_(mnl_socket_open2(NETLINK_ROUTE, SOCK_CLOEXEC)), buffer_(kernelReadBytes) {
   if (!socket_ || mnl_socket_bind(socket_.get(), groups, MNL_SOCKET_AUTOPID) < 0) {
      fail(errno);
   }
   // Only the wanted routing table is told, and what is asked in a way that the kernel does not know is refused (4.20).
   int yes = 1;
   mnl_socket_setsockopt(socket_.get(), NETLINK_GET_STRICT_CHK, &yes, sizeof yes);
}

bool KernelSocket::joins(U32 group) noexcept {
   int number = static_cast<int>(group);
   return mnl_socket_setsockopt(socket_.get(), NETLINK_ADD_MEMBERSHIP, &number, sizeof number) == 0;
}

void KernelSocket::bufferIs(int bytes) noexcept {
   const int descriptor = mnl_socket_get_fd(socket_.get());
   if (setsockopt(descriptor, SOL_SOCKET, SO_RCVBUFFORCE, &bytes, sizeof bytes) != 0) {
      setsockopt(descriptor, SOL_SOCKET, SO_RCVBUF, &bytes, sizeof bytes);
   }
}

void KernelSocket::fail(int error) const {
   const auto* const what = error == EPERM || error == EACCES ? "the kernel's routes may not be read here"
                            : error == EPROTONOSUPPORT || error == EAFNOSUPPORT
                               ? "the kernel here has no rtnetlink"
                               : "the kernel's routes cannot be read";
   throw DataError(fmt::format("{}: {}: {}", name_, what, std::strerror(error)));
}

bool KernelSocket::routes(U8 family, std::optional<U32> routeTable, const Each& each) {
   alignas(nlmsghdr) char bytes[256];
   nlmsghdr* const request = mnl_nlmsg_put_header(bytes);
   request->nlmsg_type = RTM_GETROUTE;
   auto* const fixed = static_cast<rtmsg*>(mnl_nlmsg_put_extra_header(request, sizeof(rtmsg)));
   fixed->rtm_family = family;
   if (routeTable) {
      mnl_attr_put_u32(request, RTA_TABLE, *routeTable);
   }
   return dump(*request, each);
}

bool KernelSocket::links(const Each& each) {
   alignas(nlmsghdr) char bytes[256];
   nlmsghdr* const request = mnl_nlmsg_put_header(bytes);
   request->nlmsg_type = RTM_GETLINK;
   static_cast<ifinfomsg*>(mnl_nlmsg_put_extra_header(request, sizeof(ifinfomsg)))->ifi_family = AF_UNSPEC;
   return dump(*request, each);
}

bool KernelSocket::dump(nlmsghdr& request, const Each& each) {
   request.nlmsg_flags = NLM_F_REQUEST | NLM_F_DUMP;
   request.nlmsg_seq = ++sequence_;
   if (mnl_socket_sendto(socket_.get(), &request, request.nlmsg_len) < 0) {
      fail(errno);
   }
   bool isConsistent = true;
   for (;;) {
      const ssize_t size = mnl_socket_recvfrom(socket_.get(), buffer_.data(), buffer_.size());
      if (size < 0 && errno == EINTR) {
         continue;
      }
      if (size < 0) {
         fail(errno);
      }
      int left = static_cast<int>(size);
      for (auto* at = reinterpret_cast<nlmsghdr*>(buffer_.data()); mnl_nlmsg_ok(at, left);
           at = mnl_nlmsg_next(at, &left)) {
         if (at->nlmsg_seq != sequence_) {
            continue;
         }
         isConsistent = isConsistent && (at->nlmsg_flags & NLM_F_DUMP_INTR) == 0;
         if (at->nlmsg_type == NLMSG_ERROR || at->nlmsg_type == NLMSG_DONE) {
            // The end tells of an error, too: there is no such routing table, which is as good as an empty one.
            int error = 0;
            if (mnl_nlmsg_get_payload_len(at) >= sizeof error) {
               std::memcpy(&error, mnl_nlmsg_get_payload(at), sizeof error);
            }
            if (error < 0 && error != -ENOENT) {
               fail(-error);
            }
            return isConsistent;
         }
         if (at->nlmsg_type >= NLMSG_MIN_TYPE) {
            each(*at);
         }
      }
   }
}

KernelSocket::Came KernelSocket::receive(int milliseconds, const Each& each) {
   pollfd wait{mnl_socket_get_fd(socket_.get()), POLLIN, 0};
   const int ready = poll(&wait, 1, milliseconds);
   if (ready == 0 || (ready < 0 && errno == EINTR)) {
      return Came::nothing;
   }
   if (ready < 0) {
      fail(errno);
   }
   const ssize_t size = mnl_socket_recvfrom(socket_.get(), buffer_.data(), buffer_.size());
   if (size < 0) {
      if (errno == EINTR || errno == EAGAIN) {
         return Came::nothing;
      }
      if (errno == ENOBUFS || errno == ENOSPC) {  // too many, or one that is too long
         return Came::overrun;
      }
      fail(errno);
   }
   int left = static_cast<int>(size);
   for (auto* at = reinterpret_cast<nlmsghdr*>(buffer_.data()); mnl_nlmsg_ok(at, left);
        at = mnl_nlmsg_next(at, &left)) {
      if (at->nlmsg_type >= NLMSG_MIN_TYPE) {
         each(*at);
      }
   }
   return Came::messages;
}

}  // namespace Rtrie
