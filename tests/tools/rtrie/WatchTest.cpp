// WatchCommand: the program, given updates on its standard input.
#include "tools/rtrie/commands/WatchCommand.h"

#include "Support.h"

namespace Rtrie {
namespace {

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
      "rtrie: <stdin>: passed over 1 of other routing tables\n"
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

TEST(Watch, aPayloadMaySayAnything) {
   const Support::Folder folder;
   const auto table = folder.file("table", "10.0.0.0/8 metric ton\n");
   const Ran ran = rtrie({"watch", "--table", table}, "+ 10.0.0.0/8 metric pound\n");
   EXPECT_EQ("", ran.err);
   EXPECT_EQ("replace  10.0.0.0/8  metric ton -> metric pound\n", ran.out);
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

}  // namespace
}  // namespace Rtrie
