// The kernel as a table, in network namespaces of the tests' own, beside what `ip` says of the same routes.
#include <errno.h>
#include <fmt/format.h>
#include <linux/audit.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <numeric>
#include <sstream>

#include "Support.h"
#include "tests/tools/kernel/Namespace.h"
#include "tests/tools/tables/Fixtures.h"

namespace Rtrie {
namespace KernelTest {

using Support::linesOf;
using Support::shell;
using testing::ElementsAre;
using testing::HasSubstr;

class Kernel : public Support::InNetwork {};

// Of every kind that a kernel has.
void addRoutes() {
   shell(R"(set -e
      ip route add default via 192.0.2.1 proto dhcp src 192.0.2.254 metric 100
      ip route add default via 192.0.2.2 metric 200
      ip route add 10.0.0.0/8 via 192.0.2.1 metric 20
      ip route append 10.0.0.0/8 via 192.0.2.2 metric 20
      ip route prepend 10.0.0.0/8 via 192.0.2.3 metric 20
      ip route add 10.0.0.0/8 via 192.0.2.4 metric 10
      ip route add blackhole 10.1.0.0/16
      ip route add unreachable 10.2.0.0/16 proto static metric 4294967295
      ip route add prohibit 10.2.1.0/24
      ip route add throw 10.2.2.0/24
      ip route add local 10.2.3.0/24 dev lo
      ip route add 10.3.0.0/16 proto bird nexthop via 192.0.2.1 weight 1 nexthop via 192.0.2.2 weight 256
      ip nexthop add id 5 via 192.0.2.3 dev d0
      ip route add 10.4.0.0/16 nhid 5
      ip route add 10.5.0.0/16 via inet6 2001:db8::5 dev d0
      ip route add 10.6.0.0/16 via 192.0.2.1 table 100
      ip route add blackhole 10.6.1.0/24 table 100 metric 7
      ip -6 route add 2001:db8:6::/48 via 2001:db8::6 table 100
      ip route add 10.7.0.0/16 via 192.0.2.1 mtu lock 1400 advmss 1300 rtt 300ms rttvar 2s rto_min 20ms realm 3/5
      ip route add 10.8.0.0/16 via 192.0.2.1 tos 0x10
      ip route add 10.8.0.0/16 via 192.0.2.2 metric 9
      ip route add 10.9.0.0/16 via 198.51.100.7 dev d0 onlink
      ip route add 192.0.2.77 dev d0 scope link
      ip -6 route add 2001:db8:2::/48 nexthop via 2001:db8::2 nexthop via 2001:db8::3 weight 7
      ip -6 route add default via fe80::1 dev d0 proto ra metric 512 pref low
      ip -6 route add 2001:db8:5::/48 from 2001:db8:9::/48 via 2001:db8::2
      ip -6 route add 2001:db8:5::/48 via 2001:db8::6 metric 2000
      ip -6 route add 2001:db8:a::/48 via 2001:db8::7 metric 2000
      ip -6 route add 2001:db8:a::/48 via 2001:db8::8 metric 3000
      ip -6 route add unreachable 2001:db8:7::/48
      ip -6 route add blackhole 2001:db8:7:1::/64
      ip -6 route add 2001:db8:8::1 dev d0 hoplimit 3 mtu 1300
   )");
}

// All tables with all that is told of a route; a "default" is spelled out, as it stands between others in both families.
TEST_F(Kernel, isReadAsIpRoutePrintsIt) {
   addRoutes();
   const Support::Folder folder;
   const auto text = folder.file("routes", shell("ip -4 route show table all; ip -6 route show table all"));
   for (const std::string table : {"all", "main", "100", "local"}) {
      LoadOptions options;
      options.routeTable = table;
      const auto printed = Support::loaded({text}, options);
      const auto told = Support::loaded({"kernel:" + table});
      EXPECT_EQ(printed.routes, told.routes) << table;
      EXPECT_EQ(printed.candidates, told.candidates) << table;
      EXPECT_EQ(printed.report.lost, told.report.lost) << table;
      EXPECT_EQ(printed.report.bound, told.report.bound) << table;
      EXPECT_EQ(0U, told.report.faults);
      EXPECT_GT(told.routes.size(), 2U) << table;
      EXPECT_EQ(told.routes, Support::loaded({"kernel:"}, options).routes) << table;
   }
   EXPECT_EQ(Support::loaded({"kernel:main"}).routes, Support::loaded({"kernel:"}).routes);
   EXPECT_EQ(Support::loaded({"kernel:254"}).routes, Support::loaded({"kernel:"}).routes);
   EXPECT_THAT(Support::loaded({"kernel:"}).told,
               testing::StartsWith("rtrie: kernel:: 6 routes lost to another of the same prefix"));
}

// The next hops in order: a kernel begins with any of them.
std::string inOrder(const std::string& route) {
   constexpr std::string_view begin = " nexthop ";
   std::vector<std::string> parts;
   std::size_t at = 0;
   for (auto next = route.find(begin); at != std::string::npos; next = route.find(begin, next + 1)) {
      parts.push_back(route.substr(at, next == std::string::npos ? next : next - at));
      at = next;
   }
   std::sort(parts.begin() + 1, parts.end());
   return std::accumulate(parts.begin(), parts.end(), std::string());
}

// `fibmatch` answers with the route itself; where packets are thrown away, with the error that they meet.
TEST_F(Kernel, answersAsTheKernelDoes) {
   addRoutes();
   const std::vector<std::pair<std::string, std::string>> refusals = {
      {"blackhole", "Invalid argument"}, {"unreachable", "o route to host"}, {"prohibit", "Permission denied"}};
   unsigned routed = 0;
   unsigned refused = 0;
   for (const std::string address :
        {"10.0.0.1",      "10.1.2.3",        "10.2.4.1",      "10.2.1.1",      "10.3.0.1",
         "10.4.0.1",      "10.5.0.1",        "10.7.0.1",      "10.8.0.1",      "10.9.0.1",
         "192.0.2.77",    "192.0.2.78",      "198.51.100.1",  "2001:db8:2::1", "2001:db8:a::1",
         "2001:db8:7::1", "2001:db8:7:1::1", "2001:db8:8::1", "2001:db8::77",  "2001:db9::1"}) {
      const auto ran = Support::rtrie({"lookup", "--table", "kernel:", "--format", "tsv-payload", address});
      EXPECT_EQ(0, ran.status) << ran.err;
      auto fields = ran.out.substr(ran.out.find('\t') + 1);
      const auto tab = fields.find('\t');
      ASSERT_NE(std::string::npos, tab) << ran.out;
      std::string payload = fields.substr(tab + 1);
      payload.pop_back();
      const auto get = Support::tryShell("ip route get fibmatch " + address);
      const auto refusal = std::find_if(refusals.begin(), refusals.end(),
                                        [&](const auto& each) { return payload.starts_with(each.first); });
      if (refusal != refusals.end()) {
         ++refused;
         EXPECT_THAT(get, HasSubstr(refusal->second)) << address << ": " << payload;
         continue;
      }
      ++routed;
      const Support::Folder folder;
      const auto match = Support::loaded({folder.file("t", get)});
      ASSERT_EQ(1U, match.routes.size()) << get;
      EXPECT_EQ(inOrder(fields.substr(0, tab) + " " + payload), inOrder(match.routes[0])) << address;
      // And as packets go: by one of its next hops.
      const auto way = Support::tryShell("ip route get " + address);
      const auto via = way.find(" via ");
      if (via != std::string::npos) {
         const auto gateway = way.substr(via, way.find(" dev ") - via);
         EXPECT_THAT(" " + payload, HasSubstr(gateway)) << address << ": " << way;
      } else {
         EXPECT_THAT(payload, testing::Not(HasSubstr("via "))) << address << ": " << way;
      }
   }
   EXPECT_EQ(15U, routed);
   EXPECT_EQ(5U, refused);
}

TEST_F(Kernel, standsBesideOtherTables) {
   shell("ip route add blackhole 10.1.0.0/16");
   const Support::Folder folder;
   const auto list = folder.file("list", "10.0.0.0/8 ten\n10.1.0.0/16 by hand\n");
   const auto both = Support::loaded({list, "kernel:"});
   EXPECT_THAT(both.routes, testing::Contains("10.0.0.0/8 ten"));
   EXPECT_THAT(both.routes, testing::Contains("10.1.0.0/16 by hand"));
   EXPECT_THAT(both.candidates, testing::Contains("10.1.0.0/16 blackhole"));
}

TEST_F(Kernel, namesThatDoNotExist) {
   const auto refused = [](std::vector<std::string> arguments) {
      arguments.insert(arguments.begin(), "walk");
      const auto ran = Support::rtrie(arguments);
      EXPECT_EQ("", ran.out);
      return fmt::format("{} {}", ran.status, ran.err);
   };
   EXPECT_EQ("2 rtrie: kernel:nowhere: no routing table and no VRF has the name \"nowhere\"\n",
             refused({"--table", "kernel:nowhere"}));
   EXPECT_EQ("2 rtrie: kernel:: no routing table and no VRF has the name \"nowhere\"\n",
             refused({"--table", "kernel:", "--vrf", "nowhere"}));
   EXPECT_EQ("2 rtrie: kernel:d0: \"d0\" is a device, and no VRF\n", refused({"--table", "kernel:d0"}));
   EXPECT_EQ("2 rtrie: kernel:100: --route-table asks for another one: 200\n",
             refused({"--table", "kernel:100", "--route-table", "200"}));
   EXPECT_EQ("2 rtrie: kernel:100: --route-table asks for another one: all\n",
             refused({"--table", "kernel:100", "--route-table", "all"}));
   EXPECT_EQ("3 rtrie: kernel:4242: the table has no routes\n", refused({"--table", "kernel:4242"}));
   EXPECT_EQ(0, Support::rtrie({"walk", "--table", "kernel:main", "--route-table", "254"}).status);
}

#ifdef KERNEL_HAS_VRF
TEST_F(Kernel, aVrfGoesByItsDevice) {
   shell(R"(set -e
      ip link add vrf-a type vrf table 1001; ip link set vrf-a up
      ip link add d1 type veth peer name d1p; ip link set d1 master vrf-a; ip link set d1 up; ip link set d1p up
      ip addr add 198.51.100.1/24 dev d1
      ip route add 10.0.0.0/8 via 198.51.100.9 vrf vrf-a
      ip route add 10.0.0.0/8 via 192.0.2.9)");
   const auto vrf = Support::loaded({"kernel:vrf-a"}).routes;
   EXPECT_THAT(vrf, testing::Contains("10.0.0.0/8 via 198.51.100.9 dev d1 table 1001"));
   EXPECT_EQ(vrf, Support::loaded({"kernel:1001"}).routes);
   LoadOptions options;
   options.routeTable = "vrf-a";
   EXPECT_EQ(vrf, Support::loaded({"kernel:"}, options).routes);
   EXPECT_THAT(shell("ip route get fibmatch vrf vrf-a 10.1.1.1"), HasSubstr("10.0.0.0/8 via 198.51.100.9 dev d1"));
}
#endif

// What the program says where its system refuses it the socket.
std::string saidWithout(int error) {
   const Support::Folder folder;
   const auto said = folder.path("said");
   const pid_t child = fork();
   if (child == 0) {
      sock_filter filter[] = {
         BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
         BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_socket, 0, 3),
         BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, args[0])),
         BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, AF_NETLINK, 0, 1),
         BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | static_cast<U32>(error)),
         BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
      };
      const sock_fprog program = {std::size(filter), filter};
      if (prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0 || prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) != 0 ||
          std::freopen(said.c_str(), "w", stderr) == nullptr) {
         _exit(99);
      }
      execl(RTRIE_PROGRAM, "rtrie", "walk", "--table", "kernel:", nullptr);
      _exit(98);
   }
   int status = 0;
   waitpid(child, &status, 0);
   return fmt::format("{} {}", WEXITSTATUS(status), Support::contentOf(said));
}

TEST_F(Kernel, whereItMayNotBeAsked) {
   EXPECT_EQ("3 rtrie: kernel:: the kernel's routes may not be read here: Operation not permitted\n",
             saidWithout(EPERM));
   EXPECT_EQ("3 rtrie: kernel:: the kernel here has no rtnetlink: Protocol not supported\n",
             saidWithout(EPROTONOSUPPORT));
   EXPECT_EQ("3 rtrie: kernel:: the kernel here has no rtnetlink: Address family not supported by protocol\n",
             saidWithout(EAFNOSUPPORT));
   EXPECT_EQ("3 rtrie: kernel:: the kernel's routes cannot be read: Too many open files\n", saidWithout(EMFILE));
}

}  // namespace KernelTest
}  // namespace Rtrie
