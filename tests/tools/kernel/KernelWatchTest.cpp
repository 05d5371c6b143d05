// A kernel that is followed while its routes change: what is printed, and that at each end it is what the kernel has.
#include <fmt/format.h>
#include <signal.h>
#include <sys/wait.h>

#include <algorithm>
#include <chrono>
#include <iterator>
#include <map>
#include <random>
#include <set>
#include <sstream>
#include <stdexcept>
#include <thread>

#include "Support.h"
#include "tests/tools/kernel/Namespace.h"
#include "tests/tools/tables/Fixtures.h"
#include "tools/tables/Words.h"

namespace Rtrie {
namespace KernelWatchTest {

using Support::linesOf;
using Support::shell;
using testing::HasSubstr;
using namespace std::chrono_literals;

// `rtrie watch`, until this goes.
class Watching {
  public:
   explicit Watching(std::vector<std::string> arguments)
      : out_(folder_.file("out", "")), err_(folder_.file("err", "")) {
      arguments.insert(arguments.begin(), "watch");
      child_ = Support::started(std::move(arguments), "/dev/null", out_, err_);
   }
   Watching(const Watching&) = delete;
   Watching& operator=(const Watching&) = delete;
   ~Watching() {
      kill(child_, SIGKILL);
      waitpid(child_, nullptr, 0);
   }

   std::string out() const { return Support::contentOf(out_); }
   std::string err() const { return Support::contentOf(err_); }
   void signal(int number) const { kill(child_, number); }

   // Waits until a route that is made for this has come out, and with it all that was before.
   void settle() {
      const auto mark = fmt::format("203.0.113.{}/32", ++marks_);
      shell(fmt::format("ip route add blackhole {} && ip route del {}", mark, mark));
      waitFor([&] { return out().find("delete   " + mark) != std::string::npos; }, mark);
   }
   // Until it follows. What it prints of the route that shows so is as the format has it.
   void waitForStart() {
      waitFor(
         [&] {
            shell("ip route replace blackhole 203.0.113.0/32; ip route del 203.0.113.0/32");
            const auto text = out();
            return text.find("delete   203.0.113.0/32") != std::string::npos ||
                   text.find("delete\t203.0.113.0/32") != std::string::npos;
         },
         "the first route");
   }
   void begin() {
      waitForStart();
      settle();
      begun_ = out().size();
   }
   // What came since it began, without what was made to wait for it.
   std::vector<std::string> lines() {
      auto lines = linesOf(out().substr(begun_));
      std::erase_if(lines, [](const std::string& line) { return line.find(" 203.0.113.") != std::string::npos; });
      return lines;
   }
   template <class Done>
   void waitFor(Done done, const std::string& what) {
      const auto end = std::chrono::steady_clock::now() + 60s;
      while (!done()) {
         if (std::chrono::steady_clock::now() > end) {
            throw std::runtime_error("never came: " + what + "\n" + out().substr(0, 4000) + err());
         }
         std::this_thread::sleep_for(20ms);
      }
   }

  private:
   Support::Folder folder_;
   std::string out_;
   std::string err_;
   pid_t child_ = 0;
   int marks_ = 0;
   std::size_t begun_ = 0;
};

class KernelWatch : public Support::InNetwork {};

// The table that the changes make of nothing: prefix to payload.
std::map<std::string, std::string> madeBy(const std::vector<std::string>& tsv,
                                          std::map<std::string, std::string> table) {
   for (const auto& line : tsv) {
      std::string_view rest = line;
      const auto change = takeField(rest, '\t');
      const std::string prefix(takeField(rest, '\t'));
      takeField(rest, '\t');
      if (change == "delete") {
         table.erase(prefix);
      } else if (change != "absent") {
         table[prefix] = rest;
      }
   }
   return table;
}

std::map<std::string, std::string> kernelNow(const std::string& table = "kernel:") {
   std::map<std::string, std::string> routes;
   for (const auto& route : Support::loaded({table}).routes) {
      const auto blank = route.find(' ');
      routes[route.substr(0, blank)] = blank == std::string::npos ? "" : route.substr(blank + 1);
   }
   return routes;
}

TEST_F(KernelWatch, metricsAndPlaces) {
   Watching watch({"--table", "kernel:"});
   watch.begin();
   shell(R"(set -e
      ip route add 10.0.0.0/8 via 192.0.2.1 metric 20
      ip route add 10.0.0.0/8 via 192.0.2.9 metric 50
      ip route append 10.0.0.0/8 via 192.0.2.2 metric 20
      ip route prepend 10.0.0.0/8 via 192.0.2.3 metric 20
      ip route replace 10.0.0.0/8 via 192.0.2.4 metric 20
      ip route del 10.0.0.0/8 via 192.0.2.4 metric 20
      ip route del 10.0.0.0/8 via 192.0.2.1 metric 20
      ip route del 10.0.0.0/8 via 192.0.2.2 metric 20
      ip route del 10.0.0.0/8
      ip route add unreachable default metric 4294967295
      ip route add blackhole 10.1.0.0/16
      ip route replace 10.1.0.0/16 nexthop via 192.0.2.1 weight 1 nexthop via 192.0.2.2 weight 2
      ip route add 10.2.0.0/16 via 192.0.2.1 table 100
      ip route add 10.3.0.0/16 via 192.0.2.1 tos 0x10)");
   watch.settle();
   EXPECT_THAT(
      watch.lines(),
      testing::ElementsAre("add      10.0.0.0/8  via 192.0.2.1 dev d0 metric 20",
                           "same     10.0.0.0/8  via 192.0.2.1 dev d0 metric 20",
                           "same     10.0.0.0/8  via 192.0.2.1 dev d0 metric 20",
                           "replace  10.0.0.0/8  via 192.0.2.1 dev d0 metric 20 -> via 192.0.2.3 dev d0 metric 20",
                           "replace  10.0.0.0/8  via 192.0.2.3 dev d0 metric 20 -> via 192.0.2.4 dev d0 metric 20",
                           "replace  10.0.0.0/8  via 192.0.2.4 dev d0 metric 20 -> via 192.0.2.1 dev d0 metric 20",
                           "replace  10.0.0.0/8  via 192.0.2.1 dev d0 metric 20 -> via 192.0.2.2 dev d0 metric 20",
                           "replace  10.0.0.0/8  via 192.0.2.2 dev d0 metric 20 -> via 192.0.2.9 dev d0 metric 50",
                           "delete   10.0.0.0/8  via 192.0.2.9 dev d0 metric 50",
                           "add      0.0.0.0/0  unreachable metric 4294967295", "add      10.1.0.0/16  blackhole",
                           "replace  10.1.0.0/16  blackhole -> nexthop via 192.0.2.1 dev d0 weight 1 nexthop via "
                           "192.0.2.2 dev d0 weight 2"));
   EXPECT_EQ("", watch.err());
}

TEST_F(KernelWatch, ipv6) {
   Watching watch({"--table", "kernel:"});
   watch.begin();
   shell(R"(set -e
      ip -6 route add 2001:db8:2::/48 nexthop via 2001:db8::2 nexthop via 2001:db8::3
      ip -6 route append 2001:db8:2::/48 via 2001:db8::4
      ip -6 route del 2001:db8:2::/48 via 2001:db8::3
      ip -6 route del 2001:db8:2::/48 via 2001:db8::2
      ip -6 route add 2001:db8:2::/48 via 2001:db8::9 metric 5
      ip -6 route del 2001:db8:2::/48 via 2001:db8::9
      ip -6 route replace 2001:db8:2::/48 via 2001:db8::7
      ip -6 route del 2001:db8:2::/48
      ip -6 route add fd00::/64 dev d0
      ip -6 route append fd00::/64 dev d0p
      ip -6 route del fd00::/64 dev d0
      ip -6 route add blackhole 2001:db8:3::/48)");
   watch.settle();
   const std::string own = "metric 1024 pref medium";
   const auto hop = [](int number) { return fmt::format(" nexthop via 2001:db8::{} dev d0 weight 1", number); };
   const auto via = [&](int number) { return fmt::format("via 2001:db8::{} dev d0 {}", number, own); };
   EXPECT_THAT(watch.lines(),
               testing::ElementsAre(
                  "add      2001:db8:2::/48  " + own + hop(2) + hop(3),
                  "replace  2001:db8:2::/48  " + own + hop(2) + hop(3) + " -> " + own + hop(4) + hop(2) + hop(3),
                  "replace  2001:db8:2::/48  " + own + hop(4) + hop(2) + hop(3) + " -> " + own + hop(4) + hop(2),
                  "replace  2001:db8:2::/48  " + own + hop(4) + hop(2) + " -> " + via(4),
                  "replace  2001:db8:2::/48  " + via(4) + " -> via 2001:db8::9 dev d0 metric 5 pref medium",
                  "replace  2001:db8:2::/48  via 2001:db8::9 dev d0 metric 5 pref medium -> " + via(4),
                  "replace  2001:db8:2::/48  " + via(4) + " -> " + via(7), "delete   2001:db8:2::/48  " + via(7),
                  "add      fd00::/64  dev d0 " + own, "same     fd00::/64  dev d0 " + own,
                  "replace  fd00::/64  dev d0 " + own + " -> dev d0p " + own,
                  "add      2001:db8:3::/48  blackhole dev lo " + own));
   EXPECT_EQ("", watch.err());
}

TEST_F(KernelWatch, aMatchThatIsWatched) {
   Watching watch({"--table", "kernel:", "--match", "10.1.2.3", "--match", "2001:db8:2::1", "--match",
                   "203.0.113.0/24", "--format", "json"});
   // None of its own routes answers what is watched: what tells is the last one.
   std::this_thread::sleep_for(300ms);
   shell(R"(set -e
      ip route add 10.0.0.0/8 via 192.0.2.1
      ip route add 10.2.0.0/16 via 192.0.2.1
      ip route add 10.1.0.0/16 via 192.0.2.2 metric 9
      ip -6 route add 2001:db8::/32 via 2001:db8::2
      ip route del 10.1.0.0/16
      ip route add blackhole 203.0.113.0/24)");
   watch.waitFor([&] { return watch.out().find("203.0.113.0/24\",\"payload") != std::string::npos; },
                 "the last match");
   EXPECT_THAT(watch.lines(), testing::ElementsAre(testing::AllOf(HasSubstr("\"query\":\"10.1.2.3/32\",\"old\":null"),
                                                                  HasSubstr("\"prefix\":\"10.0.0.0/8\"")),
                                                   testing::AllOf(HasSubstr("\"old\":{\"prefix\":\"10.0.0.0/8\""),
                                                                  HasSubstr("\"new\":{\"prefix\":\"10.1.0.0/16\"")),
                                                   testing::AllOf(HasSubstr("\"query\":\"2001:db8:2::1/128\""),
                                                                  HasSubstr("\"new\":{\"prefix\":\"2001:db8::/32\"")),
                                                   testing::AllOf(HasSubstr("\"old\":{\"prefix\":\"10.1.0.0/16\""),
                                                                  HasSubstr("\"new\":{\"prefix\":\"10.0.0.0/8\"")),
                                                   HasSubstr("203.0.113.0/24")));
}

// IPv4 routes go with their device, their address or their next hop, and no message says so.
TEST_F(KernelWatch, whatNoMessageTells) {
   shell(R"(set -e
      ip addr add 198.51.100.1/24 dev d0
      ip nexthop add id 5 via 192.0.2.3 dev d0
      ip route add 10.1.0.0/16 nhid 5
      ip route add 10.2.0.0/16 via 192.0.2.1 src 198.51.100.1
      ip route add 10.3.0.0/16 via 192.0.2.1
      ip route add blackhole 10.0.0.0/8
      ip route add blackhole 10.3.0.0/16 metric 50)");
   Watching watch({"--table", "kernel:", "--format", "tsv"});
   const auto start = kernelNow();
   watch.waitFor([&] { return true; }, "");
   std::this_thread::sleep_for(300ms);
   const auto follows = [&](const std::string& command) {
      shell(command);
      const auto now = kernelNow();
      watch.waitFor([&] { return madeBy(linesOf(watch.out()), start) == now; }, command);
   };
   follows("ip nexthop del id 5");
   EXPECT_EQ("delete\t10.1.0.0/16\tnhid 5 via 192.0.2.3 dev d0\t", linesOf(watch.out()).at(0));
   follows("ip addr del 198.51.100.1/24 dev d0");
   follows("ip link set d0 down");
   EXPECT_THAT(watch.out(), HasSubstr("replace\t10.3.0.0/16\tvia 192.0.2.1 dev d0\tblackhole metric 50\n"));
   EXPECT_THAT(watch.out(), HasSubstr("delete\t192.0.2.0/24\t"));
   follows("ip link set d0 up; ip route add 10.9.0.0/16 via 192.0.2.1");
   follows("ip link set d0p down");
   EXPECT_THAT(watch.out(), HasSubstr(" linkdown"));
   follows("ip link del d0");
   EXPECT_EQ("", watch.err());
}

std::string batchOf(const std::string& verb, unsigned count, unsigned first = 0) {
   std::string text;
   for (unsigned i = first; i < first + count; ++i) {
      text += fmt::format("route {} 172.{}.{}.{}/32 via 192.0.2.{} metric {}\n", verb, 16 + (i >> 16), (i >> 8) & 255,
                          i & 255, 1 + i % 200, 1 + i % 7);
   }
   return text;
}

TEST_F(KernelWatch, tenThousandRoutesComeAndGo) {
   Watching watch({"--table", "kernel:", "--format", "tsv"});
   watch.waitForStart();
   const auto before = kernelNow();
   const Support::Folder folder;
   shell("ip -batch " + folder.file("add", batchOf("add", 10'000)));
   const auto with = kernelNow();
   EXPECT_EQ(before.size() + 10'000, with.size());
   watch.waitFor([&] { return madeBy(linesOf(watch.out()), before).size() == with.size(); }, "10,000 routes");
   EXPECT_EQ(with, madeBy(linesOf(watch.out()), before));
   shell("ip -batch " + folder.file("del", batchOf("del", 10'000)));
   watch.waitFor([&] { return madeBy(linesOf(watch.out()), before).size() == before.size(); }, "none of them");
   EXPECT_EQ(before, madeBy(linesOf(watch.out()), before));
   EXPECT_GE(linesOf(watch.out()).size(), 20'000U);
}

// It sleeps while more comes than its socket holds.
TEST_F(KernelWatch, anOverrun) {
   const Support::Folder folder;
   shell("ip -batch " + folder.file("some", batchOf("add", 1'000)));
   Watching watch({"--table", "kernel:", "--format", "tsv"});
   watch.waitForStart();
   const auto before = kernelNow();
   watch.signal(SIGSTOP);
   shell("ip -batch " + folder.file("del", batchOf("del", 500)));
   shell("ip -batch " + folder.file("more", batchOf("add", 15'000, 1'000)));
   shell("ip route replace 172.16.3.0/32 via 192.0.2.250 metric 1");
   const auto after = kernelNow();
   watch.signal(SIGCONT);
   watch.waitFor([&] { return !watch.err().empty(); }, "the line that says so");
   EXPECT_EQ(
      fmt::format("rtrie: kernel:: messages of the kernel were lost, as they came faster than they were read: all "
                  "{},{:03} routes were read again\n",
                  after.size() / 1000, after.size() % 1000),
      watch.err());
   watch.waitFor([&] { return madeBy(linesOf(watch.out()), before) == after; }, "all that was lost");
   // And goes on.
   shell("ip route add blackhole 10.0.0.0/8");
   watch.waitFor([&] { return watch.out().ends_with("add\t10.0.0.0/8\t\tblackhole\n"); }, "a route after that");
}

// Random changes, of which those of one prefix and metric follow each other closely; at each end the table is the kernel's.
TEST_F(KernelWatch, whateverHappensTheTableIsTheKernels) {
   const auto seed = std::random_device()();
   SCOPED_TRACE(fmt::format("seed {}", seed));
   std::mt19937 random(seed);
   Watching watch({"--table", "kernel:", "--format", "tsv"});
   watch.waitForStart();
   const auto before = kernelNow();
   const Support::Folder folder;
   std::size_t changes = 0;
   const auto pick = [&](std::initializer_list<const char*> some) {
      return *(some.begin() + random() % some.size());
   };
   for (int round = 0; round < 6; ++round) {
      std::string batch;
      for (int i = 0; i < 300; ++i) {
         const bool isIpv6 = round >= 3 && random() % 3 == 0;  // before, there is no doubt
         const char* const verb = pick({"add", "append", "prepend", "replace", "del", "del"});
         const auto hop = [&] {
            return fmt::format("via {}{}", isIpv6 ? "2001:db8::" : "192.0.2.", random() % 4 + 1);
         };
         const bool isDeletion = verb == std::string_view("del");
         const auto what = random() % 8;
         batch += fmt::format("route {} ", verb);
         const auto prefix =
            isIpv6 ? fmt::format("2001:db8:{:x}::/48", random() % 3 + 1) : fmt::format("10.{}.0.0/16", random() % 3);
         const auto metric = fmt::format("metric {}", random() % 2 + 1);
         if (what == 0) {
            batch += fmt::format("blackhole {} {}\n", prefix, metric);
         } else if (what == 1 && !isDeletion) {
            batch += fmt::format("{} {} nexthop {} nexthop {}\n", prefix, metric, hop(), hop());
         } else {
            batch += fmt::format("{} {} {}\n", prefix, hop(), metric);
         }
      }
      Support::tryShell("ip -force -batch " + folder.file("batch", batch));
      shell(fmt::format("ip route add blackhole 203.0.113.{0}/32; ip route del 203.0.113.{0}/32", round + 1));
      watch.waitFor(
         [&] { return watch.out().find(fmt::format("delete\t203.0.113.{}/32", round + 1)) != std::string::npos; },
         "the end of a round");
      const auto now = kernelNow();
      std::string differences;
      const auto words = [](const std::string& payload) {
         std::istringstream stream(payload);
         return std::multiset<std::string>(std::istream_iterator<std::string>(stream), {});
      };
      const auto isTheKernels = [&] {
         differences.clear();
         const auto made = madeBy(linesOf(watch.out()), before);
         for (const auto& [prefix, payload] : now) {
            const auto there = made.find(prefix);
            if (there == made.end() || words(there->second) != words(payload)) {
               differences +=
                  fmt::format("{}: {} is {}\n", prefix, there == made.end() ? "nothing" : there->second, payload);
            }
         }
         return differences.empty() && made.size() == now.size();
      };
      // Where messages leave a doubt, the routes are read again a little later.
      const auto end = std::chrono::steady_clock::now() + 3s;
      while (!isTheKernels() && std::chrono::steady_clock::now() < end) {
         std::this_thread::sleep_for(10ms);
      }
      ASSERT_TRUE(isTheKernels()) << "round " << round << "\n"
                                  << differences << batch << shell("ip route; ip -6 route");
      changes = linesOf(watch.out()).size();
   }
   EXPECT_GT(changes, 200U);
}

TEST_F(KernelWatch, aKernelIsWatchedAlone) {
   const Support::Folder folder;
   const auto list = folder.file("list", "10.0.0.0/8\n");
   const auto ran = Support::rtrie({"watch", "--table", "kernel:", "--table", list});
   EXPECT_EQ(2, ran.status);
   EXPECT_THAT(ran.err, HasSubstr("watch follows a kernel alone"));
   EXPECT_EQ(2, Support::rtrie({"watch", "--table", "kernel:nowhere"}).status);
}

}  // namespace KernelWatchTest
}  // namespace Rtrie
