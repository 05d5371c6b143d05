// SlowTree against trees drawn by hand.
#include "tests/property/SlowTree.h"

#include <gtest/gtest.h>

#include <sstream>

namespace Property {
namespace SlowTreeTest {

// The tree after "+10.0.0.0/8 -10.0.0.0/8 ..."; a remove must find its route.
SlowTree treeAfter(const std::string& ops) {
   SlowTree tree;
   std::istringstream words(ops);
   for (std::string word; words >> word;) {
      const auto p = IpGenPrefix::fromString(word.substr(1));
      if (word[0] == '+') {
         tree.add(p);
      } else {
         EXPECT_TRUE(tree.remove(p)) << word;
      }
   }
   return tree;
}

TEST(SlowTree, routesThatNestShareALeafInAnyOrder) {
   const std::string drawing = "10.1.2.0/24 {8 16 24}\n";
   EXPECT_EQ(drawing, treeAfter("+10.0.0.0/8 +10.1.0.0/16 +10.1.2.0/24").text());
   EXPECT_EQ(drawing, treeAfter("+10.1.2.0/24 +10.1.0.0/16 +10.0.0.0/8").text());
   EXPECT_EQ(drawing, treeAfter("+10.1.0.0/16 +10.1.2.0/24 +10.0.0.0/8 +10.0.0.0/8").text());
}

TEST(SlowTree, keysThatPartGetABranch) {
   EXPECT_EQ(
      "10.0.0.0/7 {}\n"
      "  10.0.0.0/8 {8}\n"
      "  11.0.0.0/8 {8}\n",
      treeAfter("+10.0.0.0/8 +11.0.0.0/8").text());
   EXPECT_EQ(
      "0.0.0.0/0 {}\n"
      "  0.0.0.0/1 {1}\n"
      "  128.0.0.0/1 {1}\n",
      treeAfter("+128.0.0.0/1 +0.0.0.0/1").text());
   // The branch takes the routes above it.
   EXPECT_EQ(
      "10.1.0.0/16 {8}\n"
      "  10.1.2.0/24 {24}\n"
      "  10.1.128.0/24 {24}\n",
      treeAfter("+10.0.0.0/8 +10.1.2.0/24 +10.1.128.0/24").text());
   // The walk goes on beneath a branch.
   EXPECT_EQ(
      "10.0.0.0/7 {}\n"
      "  10.0.0.0/8 {8}\n"
      "    10.1.0.0/16 {16}\n"
      "    10.128.0.0/9 {9}\n"
      "  11.0.0.0/8 {8}\n",
      treeAfter("+10.0.0.0/8 +11.0.0.0/8 +10.1.0.0/16 +10.128.0.0/9").text());
}

TEST(SlowTree, theDefaultRouteIsInNoNode) {
   EXPECT_EQ("default\n", treeAfter("+0.0.0.0/0 +0.0.0.0/0").text());
   EXPECT_EQ("", treeAfter("+0.0.0.0/0 -0.0.0.0/0").text());
   EXPECT_EQ(2, treeAfter("+0.0.0.0/0 +10.0.0.0/8").routes());
}

TEST(SlowTree, aLeafKeepsItsKeyWhenItsLongestRouteGoes) {
   EXPECT_EQ("10.1.2.0/24 {8 16}\n", treeAfter("+10.0.0.0/8 +10.1.0.0/16 +10.1.2.0/24 -10.1.2.0/24").text());
}

TEST(SlowTree, aBranchStaysWithoutRoutes) {
   EXPECT_EQ(
      "10.1.0.0/16 {}\n"
      "  10.1.2.0/24 {24}\n"
      "  10.1.128.0/24 {24}\n",
      treeAfter("+10.0.0.0/8 +10.1.2.0/24 +10.1.128.0/24 -10.0.0.0/8").text());
}

TEST(SlowTree, aLeafWithoutRoutesGoesWithItsParent) {
   EXPECT_EQ("", treeAfter("+10.0.0.0/8 -10.0.0.0/8").text());
   EXPECT_EQ("10.0.0.0/8 {8}\n", treeAfter("+10.0.0.0/8 +11.0.0.0/8 -11.0.0.0/8").text());
   EXPECT_EQ("10.0.0.0/8 {4 8}\n", treeAfter("+0.0.0.0/4 +10.0.0.0/8 +11.0.0.0/8 -11.0.0.0/8").text());
   EXPECT_EQ(
      "8.0.0.0/6 {}\n"
      "  8.0.0.0/8 {8}\n"
      "  10.0.0.0/8 {7 8}\n",
      treeAfter("+8.0.0.0/8 +10.0.0.0/8 +11.0.0.0/8 +10.0.0.0/7 -11.0.0.0/8").text());
}

TEST(SlowTree, aWhiteLeafStands) {
   const std::string ops = "+10.0.0.0/8 +10.1.2.0/24 -10.1.2.0/24 +10.200.0.0/16";
   const SlowTree tree = treeAfter(ops);
   EXPECT_EQ(
      "10.0.0.0/8 {8}\n"
      "  10.1.2.0/24 {}\n"
      "  10.200.0.0/16 {16}\n",
      tree.text());
   EXPECT_EQ(3, tree.nodes());
   EXPECT_EQ(2, tree.routes());
   EXPECT_EQ(1, tree.whiteLeaves());
   EXPECT_EQ("10.1.2.0/24 {}\n", treeAfter(ops + " -10.0.0.0/8 -10.200.0.0/16").text());
   EXPECT_EQ("", treeAfter(ops + " -10.200.0.0/16 -10.0.0.0/8").text());
}

TEST(SlowTree, isOnBranch) {
   const SlowTree tree = treeAfter("+10.0.0.0/8 +10.1.2.0/24 +10.1.128.0/24");
   const auto isOnBranch = [&](const char* p) { return tree.isOnBranch(IpGenPrefix::fromString(p)); };
   EXPECT_TRUE(isOnBranch("10.1.0.0/16"));
   EXPECT_TRUE(isOnBranch("10.0.0.0/7"));
   EXPECT_FALSE(isOnBranch("11.0.0.0/8"));
   EXPECT_FALSE(isOnBranch("10.1.2.0/24"));
   EXPECT_FALSE(isOnBranch("10.1.0.0/17"));
}

std::string textOf(const std::vector<IpGenPrefix>& list) {
   std::string text;
   for (const auto& p : list) {
      text += (text.empty() ? "" : " ") + std::string(p.stringValue());
   }
   return text;
}

TEST(SlowTree, walkAndChildrenReportTheWholeSubtreeWhereAPrefixLies) {
   SlowTree tree = treeAfter("+10.0.0.0/8 +10.0.0.0/16 +10.128.0.0/16 +10.128.0.0/17");
   const auto walk = [&](const char* p) { return textOf(tree.walk(IpGenPrefix::fromString(p))); };
   const auto children = [&](const char* p) { return textOf(tree.children(IpGenPrefix::fromString(p))); };
   EXPECT_EQ("10.0.0.0/8 10.0.0.0/16 10.128.0.0/16 10.128.0.0/17", walk("0.0.0.0/0"));
   EXPECT_EQ("10.0.0.0/16", walk("10.0.0.0/9"));
   EXPECT_EQ("10.0.0.0/16 10.128.0.0/16 10.128.0.0/17", walk("10.64.0.0/16"));
   EXPECT_EQ("", walk("11.0.0.0/8"));
   EXPECT_EQ("10.0.0.0/16 10.128.0.0/16", children("10.0.0.0/8"));
   EXPECT_EQ("10.0.0.0/16 10.128.0.0/16", children("10.64.0.0/12"));
   EXPECT_EQ("", children("0.0.0.0/0"));
   tree.add(IpGenPrefix::fromString("0.0.0.0/0"));
   EXPECT_EQ("10.0.0.0/8", children("0.0.0.0/0"));
   EXPECT_EQ("0.0.0.0/0 10.0.0.0/8 10.0.0.0/16 10.128.0.0/16 10.128.0.0/17", walk("0.0.0.0/0"));
}

TEST(SlowTree, endsAtWhite) {
   const SlowTree tree = treeAfter("+10.0.0.0/8 +10.128.1.0/24 -10.128.1.0/24 +10.0.0.0/16 +11.0.0.0/8");
   const auto endsAtWhite = [&](const char* p) { return tree.endsAtWhite(IpGenPrefix::fromString(p)); };
   EXPECT_TRUE(endsAtWhite("10.0.0.0/16"));
   EXPECT_TRUE(endsAtWhite("10.0.5.0/24"));
   EXPECT_FALSE(endsAtWhite("10.0.0.0/8")) << "a route follows on the way";
   EXPECT_FALSE(endsAtWhite("10.128.1.0/24")) << "the climb goes past the white leaf";
   EXPECT_FALSE(endsAtWhite("11.0.0.0/8"));
   EXPECT_FALSE(endsAtWhite("9.0.0.0/8"));
}

TEST(SlowTree, aRemoveThatFindsNothingChangesNothing) {
   SlowTree tree = treeAfter("+10.1.2.0/24 +10.0.0.0/8");
   for (const char* absent : {"10.1.0.0/16", "10.1.2.0/25", "11.0.0.0/8", "10.1.3.0/24", "0.0.0.0/0", "10.0.0.0/7"}) {
      EXPECT_FALSE(tree.remove(IpGenPrefix::fromString(absent))) << absent;
   }
   EXPECT_EQ("10.1.2.0/24 {8 24}\n", tree.text());
}

}  // namespace SlowTreeTest
}  // namespace Property
