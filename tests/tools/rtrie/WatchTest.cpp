// WatchCommand: the program, given updates on its standard input.
#include "tools/rtrie/commands/WatchCommand.h"

#include "Support.h"

namespace Rtrie {
namespace {

using Support::Ran;
using Support::rtrie;

TEST(Watch, printsEachPublication) {
   const Support::Folder folder;
   const auto table = folder.file("table", "10.0.0.0/8\n2001:db8::/32\n");
   const Ran ran = rtrie({"watch", "--table", table},
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
   const Ran ran = rtrie({"watch", "--table", table}, "* 10.0.0.0/8\n+ 10.0.0.0/33\n+ 11.0.0.0/8 x\n+ 11.0.0.0/8\n");
   EXPECT_EQ(
      "rtrie: <stdin>:1: not an update, known are \"+ PREFIX\", \"- PREFIX\", \"TIME a PREFIX\" and \"TIME w "
      "PREFIX\": "
      "\"* 10.0.0.0/8\"\n"
      "rtrie: <stdin>:2: prefix length 33 exceeds 32: \"10.0.0.0/33\"\n"
      "rtrie: <stdin>:3: more than a prefix: \"+ 11.0.0.0/8 x\"\n",
      ran.err);
   EXPECT_EQ("IPv4 changedRoute none -> 11.0.0.0/8\n", ran.out);
   EXPECT_EQ(1, ran.status);
}

TEST(Watch, standardInputIsNotTheTable) {
   const Ran ran = rtrie({"watch", "--table", "-"}, "10.0.0.0/8\n");
   EXPECT_EQ("rtrie: standard input holds the updates, and can't be the table\n", ran.err);
   EXPECT_EQ(2, ran.status);
}

}  // namespace
}  // namespace Rtrie
