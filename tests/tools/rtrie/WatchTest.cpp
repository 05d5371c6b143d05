// WatchCommand: the program, given updates on its standard input.
#include "tools/rtrie/commands/WatchCommand.h"

#include <map>
#include <random>
#include <sstream>

#include "Support.h"
#include "tests/tools/tables/MrtBytes.h"

namespace Rtrie {
namespace WatchTest {

using Support::Ran;
using Support::rtrie;

TEST(Watch, saysWhatEachUpdateDid) {
   const Support::Folder folder;
   const auto table = folder.file("table", "10.0.0.0/8 old\n2001:db8::/32\n");
   const std::string updates =
      "+ 10.1.0.0/16 new\n"
      "+ 10.0.0.0/8 newer\n"
      "+ 10.0.0.0/8 newer\n"
      "1700000000 a 0.0.0.0/0 65000\n"
      "1700000001 w 0.0.0.0/0\n"
      "- 2001:db8::/32\n"
      "- 2001:db8::/32\n"
      "- 10.1.0.0/16\n"
      "- 192.0.2.0/24\n";
   const Ran ran = rtrie({"watch", "--table", table}, updates);
   EXPECT_EQ("", ran.err);
   EXPECT_EQ(
      "add      10.1.0.0/16  new\n"
      "replace  10.0.0.0/8  old -> newer\n"
      "same     10.0.0.0/8  newer\n"
      "add      0.0.0.0/0  65000\n"
      "delete   0.0.0.0/0  65000\n"
      "delete   2001:db8::/32\n"
      "absent   2001:db8::/32\n"
      "delete   10.1.0.0/16  new\n"
      "absent   192.0.2.0/24\n",
      ran.out);
   EXPECT_EQ(0, ran.status);
   const Ran tsv = rtrie({"watch", "--table", table, "--format", "tsv"}, updates);
   EXPECT_THAT(tsv.out, testing::StartsWith("add\t10.1.0.0/16\t\tnew\nreplace\t10.0.0.0/8\told\tnewer\n"));
   const Ran json = rtrie({"watch", "--table", table, "--format", "json"}, updates);
   EXPECT_THAT(
      json.out,
      testing::StartsWith("{\"change\":\"add\",\"prefix\":\"10.1.0.0/16\",\"old\":null,\"new\":\"new\"}\n"
                          "{\"change\":\"replace\",\"prefix\":\"10.0.0.0/8\",\"old\":\"old\",\"new\":\"newer\"}\n"));
   EXPECT_THAT(json.out,
               testing::EndsWith("{\"change\":\"absent\",\"prefix\":\"192.0.2.0/24\",\"old\":null,\"new\":null}\n"));
}

// The kernel answers with the lowest metric, so that the other routes to a prefix come and go without a change.
TEST(Watch, followsAKernel) {
   const Support::Folder folder;
   const auto table =
      folder.file("table", "default via 192.0.2.1 dev d0\n10.0.0.0/8 via 192.0.2.7 dev d0 metric 20\n");
   const Ran ran = rtrie({"watch", "--table", table},
                         "10.0.0.0/8 via 192.0.2.9 dev d0 metric 50 \n"
                         "[ROUTE]10.0.0.0/8 via 192.0.2.8 dev d0 metric 20 \n"
                         "[NEIGH]192.0.2.7 dev d0 FAILED \n"
                         "Deleted 10.0.0.0/8 via 192.0.2.8 dev d0 metric 20 \n"
                         "Deleted 10.0.0.0/8 via 192.0.2.8 dev d0 metric 20 \n"
                         "local 192.0.2.1 dev d0 table local proto kernel scope host src 192.0.2.1 \n"
                         "Deleted 10.0.0.0/8 via 192.0.2.9 dev d0 metric 50 \n"
                         "Deleted default via 192.0.2.99 dev d0 \n"
                         "default proto static \n"
                         "\tnexthop via 192.0.2.7 dev d0 weight 1 \n"
                         "\tnexthop via 192.0.2.8 dev d0 weight 2 \n");
   EXPECT_EQ(
      "rtrie: <stdin>: passed over 1 of other routing tables: local (1); --route-table takes one of them, or all\n"
      "rtrie: <stdin>: passed over 1 of links, addresses, neighbours and other objects\n",
      ran.err);
   EXPECT_EQ(
      "same     10.0.0.0/8  via 192.0.2.7 dev d0 metric 20\n"
      "replace  10.0.0.0/8  via 192.0.2.7 dev d0 metric 20 -> via 192.0.2.8 dev d0 metric 20\n"
      "replace  10.0.0.0/8  via 192.0.2.8 dev d0 metric 20 -> via 192.0.2.9 dev d0 metric 50\n"
      "same     10.0.0.0/8  via 192.0.2.9 dev d0 metric 50\n"
      "delete   10.0.0.0/8  via 192.0.2.9 dev d0 metric 50\n"
      "same     0.0.0.0/0  via 192.0.2.1 dev d0\n"
      "replace  0.0.0.0/0  via 192.0.2.1 dev d0 -> proto static nexthop via 192.0.2.7 dev d0 weight 1 nexthop via "
      "192.0.2.8 dev d0 weight 2\n",
      ran.out);
   EXPECT_EQ(0, ran.status);
}

// All that the table has at a prefix is there when the first update comes.
TEST(Watch, theOtherRoutesOfAPrefixStandBehindTheOneThatAnswers) {
   const Support::Folder folder;
   const auto table = folder.file("table",
                                  "10.0.0.0/8 via 192.0.2.9 dev d0 metric 50\n"
                                  "10.0.0.0/8 via 192.0.2.7 dev d0 metric 20\n"
                                  "10.0.0.0/8 via 192.0.2.8 dev d0 metric 20\n"
                                  "2001:db8::/32 via fe80::1 dev d0 metric 1024 pref medium\n"
                                  "2001:db8::/32 from 2001:db8:9::/48 via fe80::1 dev d0 metric 1024 pref medium\n"
                                  "10.4.0.0/16 via inet6 fe80::1 dev d0\n"
                                  "10.4.0.0/16 via inet6 fe80::2 dev d0\n");
   const Ran ran = rtrie({"watch", "--table", table},
                         "10.0.0.0/8 via 192.0.2.8 dev d0 metric 20 \n"
                         "Deleted 10.0.0.0/8 via 192.0.2.7 dev d0 metric 20 \n"
                         "Deleted 10.0.0.0/8 via 192.0.2.8 dev d0 metric 20 \n"
                         "Deleted 10.0.0.0/8 via 192.0.2.9 dev d0 metric 50 \n"
                         "Deleted 10.0.0.0/8 via 192.0.2.9 dev d0 metric 50 \n"
                         "Deleted 2001:db8::/32 via fe80::1 dev d0 metric 1024 pref medium\n"
                         "Deleted 10.4.0.0/16 via inet6 fe80::1 dev d0 \n");
   EXPECT_EQ(
      "same     10.0.0.0/8  via 192.0.2.7 dev d0 metric 20\n"
      "replace  10.0.0.0/8  via 192.0.2.7 dev d0 metric 20 -> via 192.0.2.8 dev d0 metric 20\n"
      "replace  10.0.0.0/8  via 192.0.2.8 dev d0 metric 20 -> via 192.0.2.9 dev d0 metric 50\n"
      "delete   10.0.0.0/8  via 192.0.2.9 dev d0 metric 50\n"
      "absent   10.0.0.0/8\n"
      "delete   2001:db8::/32  via fe80::1 dev d0 metric 1024 pref medium\n"
      "replace  10.4.0.0/16  via inet6 fe80::1 dev d0 -> via inet6 fe80::2 dev d0\n",
      ran.out);
   EXPECT_EQ(0, ran.status);
   EXPECT_THAT(rtrie({"watch", "--table", table}, "- 10.0.0.0/8\n- 10.0.0.0/8\n").out,
               testing::EndsWith("\nabsent   10.0.0.0/8\n"));
}

TEST(Watch, oneNextHopOfAnIpv6RouteIsWithdrawn) {
   const Support::Folder folder;
   const auto table = folder.file("table",
                                  "2001:db8:2::/48 metric 1024 pref medium\n"
                                  "\tnexthop via 2001:db8::7 dev d0 weight 1\n"
                                  "\tnexthop via 2001:db8::8 dev d0 weight 1\n");
   const Ran ran = rtrie({"watch", "--table", table, "--format", "tsv"},
                         "Deleted 2001:db8:2::/48 via 2001:db8::7 dev d0 metric 1024 pref medium\n"
                         "Deleted 2001:db8:2::/48 via 2001:db8::9 dev d0 metric 1024 pref medium\n"
                         "Deleted 2001:db8:2::/48 via 2001:db8::8 dev d0 metric 1024 pref medium\n");
   const std::string hop7 = " nexthop via 2001:db8::7 dev d0 weight 1";
   const std::string hop8 = " nexthop via 2001:db8::8 dev d0 weight 1";
   const std::string own = "metric 1024 pref medium";
   const std::string one = "via 2001:db8::8 dev d0 " + own;
   EXPECT_EQ("replace\t2001:db8:2::/48\t" + own + hop7 + hop8 + "\t" + one + "\nsame\t2001:db8:2::/48\t" + one +
                "\t" + one + "\ndelete\t2001:db8:2::/48\t" + one + "\t\n",
             ran.out);
}

// Its next hops come and go with its devices; a route that answers nothing makes way for the next.
TEST(Watch, aDeadRouteAnswersNothing) {
   const Support::Folder folder;
   const auto table = folder.file("table",
                                  "10.0.0.0/8 via 192.0.2.7 dev d0\n10.0.0.0/8 via 192.0.2.9 dev d1 metric 50\n"
                                  "10.1.0.0/16 via 192.0.2.7 dev d0 dead linkdown\n");
   const std::string updates =
      "10.0.0.0/8 via 192.0.2.7 dev d0 dead linkdown \n"
      "Deleted 10.0.0.0/8 via 192.0.2.9 dev d1 metric 50 \n"
      "10.1.0.0/16 via 192.0.2.7 dev d0 \n";
   EXPECT_EQ(
      "replace  10.0.0.0/8  via 192.0.2.7 dev d0 -> via 192.0.2.9 dev d1 metric 50\n"
      "delete   10.0.0.0/8  via 192.0.2.9 dev d1 metric 50\n"
      "add      10.1.0.0/16  via 192.0.2.7 dev d0\n",
      rtrie({"watch", "--table", table}, updates).out);
   EXPECT_EQ(
      "IPv4 routeUpdated false -> true\n"
      "IPv4 changedRoute none -> 10.0.0.0/8\n"  // there already
      "IPv4 routeUpdated true -> false\n"
      "IPv4 changedRoute none -> 10.0.0.0/8\n"
      "IPv4 changedRoute none -> 10.1.0.0/16\n",
      rtrie({"watch", "--table", table, "--publications"}, updates).out);
}

TEST(Watch, oneRoutingTableOrAll) {
   const Support::Folder folder;
   const auto table = folder.file("table",
                                  "10.0.0.0/8 via 192.0.2.7 dev d0\n"
                                  "10.0.0.0/8 via 192.0.2.9 dev d0 table 100\n"
                                  "local 192.0.2.1 dev d0 table local scope host\n");
   const std::string updates =
      "Deleted 10.0.0.0/8 via 192.0.2.7 dev d0 \n"
      "10.0.0.0/8 via 192.0.2.8 dev d0 table 100 \n"
      "10.0.0.0/8 via 192.0.2.7 dev d0 \n";
   Ran ran = rtrie({"watch", "--table", table, "--route-table", "100"}, updates);
   EXPECT_EQ("replace  10.0.0.0/8  via 192.0.2.9 dev d0 table 100 -> via 192.0.2.8 dev d0 table 100\n", ran.out);
   EXPECT_THAT(ran.err, testing::EndsWith("rtrie: <stdin>: passed over 2 of other routing tables: main (2); "
                                          "--route-table takes one of them, or all\n"));
   ran = rtrie({"watch", "--table", table, "--route-table", "all"}, updates);
   EXPECT_EQ(
      "replace  10.0.0.0/8  via 192.0.2.7 dev d0 -> via 192.0.2.9 dev d0 table 100\n"
      "replace  10.0.0.0/8  via 192.0.2.9 dev d0 table 100 -> via 192.0.2.8 dev d0 table 100\n"
      "replace  10.0.0.0/8  via 192.0.2.8 dev d0 table 100 -> via 192.0.2.7 dev d0\n",
      ran.out);
   EXPECT_EQ(0, ran.status);
}

// What a list says of a prefix goes before what a kernel says, unless the kernel's takes its place.
TEST(Watch, aListAndAKernel) {
   const Support::Folder folder;
   const auto table = folder.file("table", "10.0.0.0/8 first\n10.0.0.0/8 second\n2001:db8::/32 third\n");
   const Ran ran = rtrie({"watch", "--table", table},
                         "10.0.0.0/8 via 192.0.2.7 dev d0 metric 20 \n"
                         "10.0.0.0/8 via 192.0.2.8 dev d0 \n"
                         "Deleted 10.0.0.0/8 via 192.0.2.8 dev d0 \n"
                         "Deleted 2001:db8::/32 via fe80::1 dev d0 metric 1024 pref medium\n");
   EXPECT_EQ(
      "same     10.0.0.0/8  second\n"
      "replace  10.0.0.0/8  second -> via 192.0.2.8 dev d0\n"
      "replace  10.0.0.0/8  via 192.0.2.8 dev d0 -> via 192.0.2.7 dev d0 metric 20\n"
      "delete   2001:db8::/32  third\n",
      ran.out);
}

// Of a table of several peers, all offers are the prefix's, and an update is about the prefix.
TEST(Watch, aTableOfBgpPeers) {
   const Support::Folder folder;
   const auto table = folder.file("table",
                                  "TABLE_DUMP2|1700000000|B|192.0.2.1|65000|10.0.0.0/8|65000 65001|IGP\n"
                                  "TABLE_DUMP2|1700000000|B|192.0.2.2|65002|10.0.0.0/8|65002|IGP\n");
   const std::string updates = "1700000001 a 10.0.0.0/8 65009\n1700000002 w 10.0.0.0/8\n";
   EXPECT_EQ("replace  10.0.0.0/8  65002 -> 65009\ndelete   10.0.0.0/8  65009\n",
             rtrie({"watch", "--table", table}, updates).out);
   EXPECT_EQ("replace  10.0.0.0/8  65000 65001 -> 65009\ndelete   10.0.0.0/8  65009\n",
             rtrie({"watch", "--table", table, "--peer", "65000"}, updates).out);
   EXPECT_EQ("delete   10.0.0.0/8  65002\n", rtrie({"watch", "--table", table}, "- 10.0.0.0/8\n").out);
}

// What ip prints with -j, an object a route.
TEST(Watch, updatesInJson) {
   const Support::Folder folder;
   const auto table = folder.file("table", "10.0.0.0/8 via 192.0.2.7 dev d0 metric 20\n");
   const Ran ran = rtrie({"watch", "--table", table},
                         R"([{"dst":"10.0.0.0/8","gateway":"192.0.2.9","dev":"d0","metric":50,"flags":[]},
 {"deleted":true,"dst":"10.0.0.0/8","gateway":"192.0.2.7","dev":"d0","metric":20,"flags":[]},
 {"ifindex":2,"ifname":"d0"},
 {"type":"blackhole","dst":"10.1.0.0/16","flags":[]},
 {"dst":"10.0.0.0/33","flags":[]},
 {"dst":"10.2.0.0/16","table":"100","dev":"d0","flags":[]}]
[{"dst":"default","flags":[],"nexthops":[{"gateway":"192.0.2.1","dev":"d0","weight":1,"flags":[]},
  {"gateway":"192.0.2.2","dev":"d0","weight":2,"flags":[]}]}]
)");
   EXPECT_EQ(
      "same     10.0.0.0/8  via 192.0.2.7 dev d0 metric 20\n"
      "replace  10.0.0.0/8  via 192.0.2.7 dev d0 metric 20 -> via 192.0.2.9 dev d0 metric 50\n"
      "add      10.1.0.0/16  blackhole\n"
      "add      0.0.0.0/0  nexthop via 192.0.2.1 dev d0 weight 1 nexthop via 192.0.2.2 dev d0 weight 2\n",
      ran.out);
   EXPECT_EQ(
      "rtrie: <stdin>: entry 5: prefix length 33 exceeds 32: \"10.0.0.0/33\"\n"
      "rtrie: <stdin>: passed over 1 of other routing tables: 100 (1); --route-table takes one of them, or all\n"
      "rtrie: <stdin>: passed over 1 of links, addresses, neighbours and other objects\n",
      ran.err);
   EXPECT_EQ(1, ran.status);
   const Ran cut = rtrie({"watch", "--table", table}, "[{\"dst\":\"10.1.0.0/16\"},{\"dst\":");
   EXPECT_EQ("add      10.1.0.0/16\n", cut.out);
   EXPECT_THAT(cut.err, testing::StartsWith("rtrie: <stdin>: not JSON from here on: "));
   EXPECT_EQ(1, cut.status);
}

//--- MRT ---

const Mrt::Peer one = {"192.0.2.1", 65000};
const Mrt::Peer two = {"192.0.2.2", 65002};

// A table of two peers, of which both have 10.0.0.0/8.
std::string ribOfTwo() {
   using namespace Mrt;
   return peerIndex({one, two}) +
          rib(2, "10.0.0.0/8", {entry(0, path({65000, 1}) + nextHop("192.0.2.1")), entry(1, path({65002}))}) +
          rib(2, "10.1.0.0/16", {entry(0, path({65000, 1, 2}))}) + rib(2, "10.2.0.0/16", {entry(1, path({65002}))});
}

// What a peer says is about what that peer said before, and the other peer's route stands behind it.
TEST(Watch, updatesInMrt) {
   using namespace Mrt;
   const Support::Folder folder;
   const auto table = folder.file("rib", ribOfTwo());
   const std::string updates =
      message(two, update(nlri("10.0.0.0/8"), "", "")) +
      message(one, update(nlri("10.9.0.0/16"), path({65000, 7}) + nextHop("192.0.2.9"), nlri("10.3.0.0/16"))) +
      message(two, update("", path({65002}), nlri("10.0.0.0/8") + nlri("10.1.0.0/16"))) +
      message(one, update("", path({65000}), nlri("10.0.0.0/8")), 4, 17) +
      message(one,
              update("",
                     attribute(14, u16(2) + u8(1) + u8(16) + address("2001:db8::9") + u8(0) + nlri("2001:db8::/32")) +
                        path({65000}),
                     ""));
   const std::string expected =
      "replace  10.0.0.0/8  peer 192.0.2.2 as 65002 path 65002 -> peer 192.0.2.1 as 65000 via 192.0.2.1 path 65000 "
      "1\n"
      "absent   10.9.0.0/16\n"
      "add      10.3.0.0/16  peer 192.0.2.1 as 65000 via 192.0.2.9 path 65000 7\n"
      "replace  10.0.0.0/8  peer 192.0.2.1 as 65000 via 192.0.2.1 path 65000 1 -> peer 192.0.2.2 as 65002 path "
      "65002\n"
      "replace  10.1.0.0/16  peer 192.0.2.1 as 65000 path 65000 1 2 -> peer 192.0.2.2 as 65002 path 65002\n";
   const std::string rest = "add      2001:db8::/32  peer 192.0.2.1 as 65000 via 2001:db8::9 path 65000\n";
   for (const auto& input :
        {updates, Support::gz(updates), Support::bz2(updates), Support::xz(updates), Support::zst(updates)}) {
      const Ran ran = rtrie({"watch", "--table", table}, input);
      EXPECT_THAT(ran.out, testing::StartsWith(expected));
      EXPECT_THAT(ran.out, testing::EndsWith(rest));
      EXPECT_THAT(ran.err, testing::Not(testing::HasSubstr("<stdin>")));
      EXPECT_EQ(0, ran.status);
   }
   const Ran peer = rtrie({"watch", "--table", table, "--peer", "65002"}, updates);
   EXPECT_EQ(
      "delete   10.0.0.0/8  peer 192.0.2.2 as 65002 path 65002\n"
      "add      10.0.0.0/8  peer 192.0.2.2 as 65002 path 65002\n"
      "add      10.1.0.0/16  peer 192.0.2.2 as 65002 path 65002\n",
      peer.out);
   EXPECT_THAT(peer.err, testing::EndsWith("rtrie: <stdin>: passed over 3 of other peers: 192.0.2.1 65000 (3)\n"));
}

// With its session all that a peer has said goes, also over several paths.
TEST(Watch, aPeerThatIsLost) {
   using namespace Mrt;
   const Support::Folder folder;
   const auto table = folder.file("rib", ribOfTwo());
   const auto bytes = address("192.0.2.1");
   const std::string lost = record(16, 5, u32(65000) + u32(1) + u16(0) + u16(1) + bytes + bytes + u16(6) + u16(1));
   const std::string more = message(one, update("", path({65000, 5}), u32(7) + nlri("10.7.0.0/16")), 9);
   const Ran ran = rtrie({"watch", "--table", table, "--match", "10.7.1.1", "--match", "10.1.2.3"}, more + lost);
   EXPECT_EQ(
      "10.7.1.1/32  10.0.0.0/8 peer 192.0.2.2 as 65002 path 65002 -> 10.7.0.0/16 peer 192.0.2.1 as 65000 path 65000 "
      "5  "
      "(add 10.7.0.0/16)\n"
      "10.1.2.3/32  10.1.0.0/16 peer 192.0.2.1 as 65000 path 65000 1 2 -> 10.0.0.0/8 peer 192.0.2.2 as 65002 path "
      "65002  "
      "(delete 10.1.0.0/16)\n"
      "10.7.1.1/32  10.7.0.0/16 peer 192.0.2.1 as 65000 path 65000 5 -> 10.0.0.0/8 peer 192.0.2.2 as 65002 path "
      "65002  "
      "(delete 10.7.0.0/16)\n",
      ran.out);
   EXPECT_EQ(
      "same     10.0.0.0/8  peer 192.0.2.2 as 65002 path 65002\n"
      "delete   10.1.0.0/16  peer 192.0.2.1 as 65000 path 65000 1 2\n",
      rtrie({"watch", "--table", table}, lost).out);
}

// What it holds is what a table of both holds.
TEST(Watch, updatesInMrtMakeTheTableThatTheyMakeOfAFile) {
   using namespace Mrt;
   const Support::Folder folder;
   std::mt19937 random(17);
   std::string updates;
   const std::vector<Mrt::Peer> peers = {one, two};
   for (int i = 0; i < 500; ++i) {
      const auto prefix = fmt::format("10.{}.0.0/16", random() % 12);
      const auto& peer = peers[random() % 2];
      const auto bytes = address(peer.address);
      updates +=
         random() % 50 == 0 ? record(16, 5, u32(peer.as) + u32(1) + u16(0) + u16(1) + bytes + bytes + u16(6) + u16(1))
         : random() % 3 == 0
            ? message(peer, update(nlri(prefix), "", ""))
            : message(peer,
                      update("", path({peer.as, static_cast<U32>(random() % 2), static_cast<U32>(random() % 2)}),
                             nlri(prefix)));
   }
   const auto table = folder.file("rib", ribOfTwo());
   const auto both = folder.file("both", ribOfTwo() + updates);
   std::map<std::string, std::string> made;
   std::istringstream start(rtrie({"walk", "--table", table, "--format", "tsv-payload"}).out);
   for (std::string line; std::getline(start, line);) {
      made[line.substr(0, line.find('\t'))] = line.substr(line.find('\t') + 1);
   }
   std::istringstream changes(rtrie({"watch", "--table", table, "--format", "tsv"}, updates).out);
   for (std::string line; std::getline(changes, line);) {
      std::vector<std::string> fields(4);
      std::istringstream stream(line);
      for (auto& field : fields) {
         std::getline(stream, field, '\t');
      }
      if (fields[0] == "delete") {
         made.erase(fields[1]);
      } else if (fields[0] != "absent") {
         made[fields[1]] = fields[3];
      }
   }
   std::map<std::string, std::string> expected;
   std::istringstream end(rtrie({"walk", "--table", both, "--format", "tsv-payload"}).out);
   for (std::string line; std::getline(end, line);) {
      expected[line.substr(0, line.find('\t'))] = line.substr(line.find('\t') + 1);
   }
   EXPECT_EQ(expected, made);
   EXPECT_GT(expected.size(), 3U);
}

TEST(Watch, damagedMrtIsToldAndPassedOver) {
   using namespace Mrt;
   const Support::Folder folder;
   const auto table = folder.file("rib", ribOfTwo());
   const auto good = message(one, update("", path({65000}), nlri("10.5.0.0/16")));
   const Ran unknown =
      rtrie({"watch", "--table", table}, record(77, 1, "abc") + good + good.substr(0, good.size() - 3));
   EXPECT_EQ("add      10.5.0.0/16  peer 192.0.2.1 as 65000 path 65000\n", unknown.out);
   EXPECT_THAT(unknown.err, testing::HasSubstr("rtrie: <stdin>: record 1 at byte 0: "));
   EXPECT_EQ(1, unknown.status);
   // Bytes of no kind at all end in one line, in little memory.
   std::string noise(2'000'000, '\0');
   std::mt19937 random(3);
   for (std::size_t i = 5; i < noise.size(); ++i) {
      noise[i] = static_cast<char>(random());
   }
   const Ran none = rtrie({"watch", "--table", table}, noise);
   EXPECT_EQ("", none.out);
   EXPECT_NE(0, none.status);
   EXPECT_LT(std::count(none.err.begin(), none.err.end(), '\n'), 2000);
   EXPECT_LT(none.peakBytes, 200'000'000U);
   const Ran packed = rtrie({"watch", "--table", table}, Support::gz(good).substr(0, 30));
   EXPECT_THAT(packed.err, testing::HasSubstr("rtrie: <stdin>: truncated .gz"));
   EXPECT_EQ(3, packed.status);
}

TEST(Watch, aPayloadMaySayAnything) {
   const Support::Folder folder;
   const auto table = folder.file("table", "10.0.0.0/8 a metric ton\n");
   const Ran ran =
      rtrie({"watch", "--table", table}, "+ 10.0.0.0/8 metric pound\nDeleted 10.0.0.0/8 via 192.0.2.7 dev d0 \n");
   EXPECT_EQ("", ran.err);
   EXPECT_EQ("replace  10.0.0.0/8  a metric ton -> metric pound\ndelete   10.0.0.0/8  metric pound\n", ran.out);
   EXPECT_EQ(0, ran.status);
}

TEST(Watch, printsEachPublication) {
   const Support::Folder folder;
   const auto table = folder.file("table", "10.0.0.0/8\n2001:db8::/32\n");
   const Ran ran = rtrie({"watch", "--table", table, "--publications"},
                         "+ 10.1.0.0/16\n"
                         "+ 10.0.0.0/8   # there already\n"
                         "\n"
                         "1700000000 a 0.0.0.0/0 65000\n"
                         "1700000001 w 0.0.0.0/0\n"
                         "- 2001:db8::/32\n");
   EXPECT_EQ("", ran.err);
   EXPECT_EQ(
      "IPv4 changedRoute none -> 10.1.0.0/16\n"
      "IPv4 routeUpdated false -> true\n"
      "IPv4 changedRoute none -> 10.0.0.0/8\n"
      "IPv4 routeUpdated true -> false\n"
      "IPv4 defaultRoutePresent false -> true\n"
      "IPv4 changedRoute none -> 0.0.0.0/0\n"
      "IPv4 defaultRoutePresent true -> false\n"
      "IPv4 changedRoute none -> 0.0.0.0/0\n"
      "IPv6 changedRoute none -> 2001:db8::/32\n",
      ran.out);
   EXPECT_EQ(0, ran.status);
}

TEST(Watch, aBadUpdateIsToldAndPassedOver) {
   const Support::Folder folder;
   const auto table = folder.file("table", "10.0.0.0/8\n");
   const Ran ran = rtrie({"watch", "--table", table}, "* 10.0.0.0/8\n+ 10.0.0.0/33\n+ 11.0.0.0/8\n");
   EXPECT_EQ(
      "rtrie: <stdin>:1: not an update, known are \"+ PREFIX\", \"- PREFIX\", \"TIME a PREFIX\", \"TIME w PREFIX\" "
      "and "
      "what ip monitor prints: \"* 10.0.0.0/8\"\n"
      "rtrie: <stdin>:2: prefix length 33 exceeds 32: \"10.0.0.0/33\"\n",
      ran.err);
   EXPECT_EQ("add      11.0.0.0/8\n", ran.out);
   EXPECT_EQ(1, ran.status);
   EXPECT_EQ(3, rtrie({"watch", "--table", table}, "* 10.0.0.0/8\n").status);
   EXPECT_EQ(0, rtrie({"watch", "--table", table}, "").status);
}

TEST(Watch, standardInputIsNotTheTable) {
   const Ran ran = rtrie({"watch", "--table", "-"}, "10.0.0.0/8\n");
   EXPECT_EQ("rtrie: standard input holds the updates, and can't be the table\n", ran.err);
   EXPECT_EQ(2, ran.status);
}

TEST(Watch, speaksCsv) {
   const Support::Folder folder;
   const auto table = folder.file("table", "10.0.0.0/8 old\n");
   EXPECT_EQ("change,prefix,old,new\nreplace,10.0.0.0/8,old,\"a, b\"\n",
             rtrie({"watch", "--table", table, "--format", "csv"}, "+ 10.0.0.0/8 a, b\n").out);
}

TEST(Watch, matchTellsWhenAnotherRouteAnswers) {
   const Support::Folder folder;
   const auto table = folder.file("table", "0.0.0.0/0 up\n10.0.0.0/8 ten\n2001:db8::/32\n");
   const std::string updates =
      "+ 10.1.0.0/16 branch\n"     // covers the one, and not the other
      "+ 10.2.0.0/16 elsewhere\n"  // no match changes
      "+ 10.1.0.0/16 branch\n"     // the same again
      "+ 10.0.0.0/8 newer\n"       // hidden for the one by the longer route
      "- 10.1.0.0/16\n"
      "- 10.0.0.0/8\n"
      "- 0.0.0.0/0\n"
      "- 2001:db8::/32\n"
      "- 2001:db8::/32\n";
   const std::vector<std::string> command = {"watch",   "--table",     table,     "--match",    "10.1.2.3",
                                             "--match", "10.0.0.0/12", "--match", "2001:db8::1"};
   const Ran ran = rtrie(command, updates);
   EXPECT_EQ("", ran.err);
   EXPECT_EQ(
      "10.1.2.3/32  10.0.0.0/8 ten -> 10.1.0.0/16 branch  (add 10.1.0.0/16)\n"
      "10.0.0.0/12  10.0.0.0/8 ten -> 10.0.0.0/8 newer  (replace 10.0.0.0/8)\n"
      "10.1.2.3/32  10.1.0.0/16 branch -> 10.0.0.0/8 newer  (delete 10.1.0.0/16)\n"
      "10.0.0.0/12  10.0.0.0/8 newer -> 0.0.0.0/0 up  (delete 10.0.0.0/8)\n"
      "10.1.2.3/32  10.0.0.0/8 newer -> 0.0.0.0/0 up  (delete 10.0.0.0/8)\n"
      "10.0.0.0/12  0.0.0.0/0 up -> none  (delete 0.0.0.0/0)\n"
      "10.1.2.3/32  0.0.0.0/0 up -> none  (delete 0.0.0.0/0)\n"
      "2001:db8::1/128  2001:db8::/32 -> none  (delete 2001:db8::/32)\n",
      ran.out);
   EXPECT_EQ(0, ran.status);
   const auto as = [&](const char* format) {
      auto arguments = command;
      arguments.insert(arguments.end(), {"--format", format});
      return rtrie(arguments, "+ 10.1.0.0/16 branch\n- 2001:db8::/32\n").out;
   };
   EXPECT_EQ(
      "10.1.2.3/32\t10.0.0.0/8\tten\t10.1.0.0/16\tbranch\tadd\t10.1.0.0/16\n"
      "2001:db8::1/128\t2001:db8::/32\t\t-\t\tdelete\t2001:db8::/32\n",
      as("tsv"));
   EXPECT_THAT(as("csv"),
               testing::StartsWith("query,old,old payload,new,new payload,cause,prefix\n10.1.2.3/32,10.0.0.0/8,"));
   EXPECT_EQ(
      "{\"query\":\"10.1.2.3/32\",\"old\":{\"prefix\":\"10.0.0.0/8\",\"payload\":\"ten\"},"
      "\"new\":{\"prefix\":\"10.1.0.0/16\",\"payload\":\"branch\"},"
      "\"cause\":{\"change\":\"add\",\"prefix\":\"10.1.0.0/16\"}}\n"
      "{\"query\":\"2001:db8::1/128\",\"old\":{\"prefix\":\"2001:db8::/32\",\"payload\":\"\"},\"new\":null,"
      "\"cause\":{\"change\":\"delete\",\"prefix\":\"2001:db8::/32\"}}\n",
      as("json"));
}

// In a random world, against lookups of the table as it is after each update.
TEST(Watch, matchTellsEachChangeAndNoOther) {
   const Support::Folder folder;
   std::mt19937 random(9);
   std::map<std::string, std::string> routes = {{"64.0.0.0/2", "start"}};
   const auto table = folder.file("table", "64.0.0.0/2 start\n");
   const std::vector<U32> watched = {0x40000000, 0x48000000, 0x4c000000, 0x7fffffff, 0x00000001};
   const auto best = [&](U32 address) {
      for (int length = 32; length >= 0; --length) {
         const auto route = routes.find(
            Corenet::Prefix::cut(Corenet::AddressBits<32>(address), static_cast<unsigned>(length)).stringValue());
         if (route != routes.end()) {
            return route->first + " " + route->second;
         }
      }
      return std::string("none");
   };
   std::string updates;
   std::string expected;
   for (unsigned i = 0; i < 400; ++i) {
      const auto length = static_cast<unsigned>(random() % 8);
      const std::string prefix =
         Corenet::Prefix::cut(Corenet::AddressBits<32>(static_cast<U32>(random()) & 0x7fffffff), length)
            .stringValue();
      std::map<U32, std::string> before;
      for (const U32 address : watched) {
         before[address] = best(address);
      }
      const bool isThere = routes.contains(prefix);
      const bool isWithdrawal = random() % 2 == 0;
      if (isWithdrawal) {
         updates += "- " + prefix + "\n";
         routes.erase(prefix);
      } else {
         const std::string payload = fmt::format("p{}", random() % 2);
         updates += "+ " + prefix + " " + payload + "\n";
         routes[prefix] = payload;
      }
      for (const auto& [address, was] : before) {
         if (best(address) != was) {
            expected +=
               fmt::format("{}/32  {} -> {}  ({} {})\n",
                           Corenet::IpAddr(Corenet::AddressBits<32>(address)).stringValue(), was, best(address),
                           isWithdrawal ? "delete"
                           : isThere    ? "replace"
                                        : "add",
                           prefix);
         }
      }
   }
   std::vector<std::string> command = {"watch", "--table", table};
   for (const U32 address : watched) {
      command.insert(command.end(),
                     {"--match", std::string(Corenet::IpAddr(Corenet::AddressBits<32>(address)).stringValue())});
   }
   EXPECT_EQ(expected, rtrie(command, updates).out);
   EXPECT_GT(std::count(expected.begin(), expected.end(), '\n'), 40);
}

TEST(Watch, matchTakesAddressesAndPrefixesAlone) {
   const Support::Folder folder;
   const auto table = folder.file("table", "10.0.0.0/8\n");
   const Ran bad = rtrie({"watch", "--table", table, "--match", "nonsense"});
   EXPECT_THAT(bad.err, testing::HasSubstr("\"nonsense\""));
   EXPECT_EQ(2, bad.status);
   EXPECT_EQ(2, rtrie({"watch", "--table", table, "--match", "10.0.0.1", "--publications"}).status);
   const Ran family = rtrie({"watch", "--table", table, "--match", "2001:db8::1"}, "+ ::/0 six\n");
   EXPECT_EQ("2001:db8::1/128  none -> ::/0 six  (add ::/0)\n", family.out);
}

}  // namespace WatchTest
}  // namespace Rtrie
