#include <gmock/gmock.h>

#include <cstdint>
#include <sstream>
#include <stdexcept>

#include "routetrie/trie/multibit/TrieDumpStateWalkCallback.h"
#include "tests/trie/multibit/TrieSupport.h"

namespace TrieDumpTest {

using namespace testing_support;
using testing::StartsWith;

//--- the list of routes ---

class TrieDumpState : public TrieFixture {
  public:
   std::ostringstream out;
   Corvid::Ptr<Keel::DumpContext> context = Keel::dumpContextFactory(out);

   std::string dump(U32 indentCount = 0) {
      out.str("");
      trie->dumpState(context, indentCount);
      EXPECT_EQ(1u, context->uses());
      return out.str();
   }
};

TEST_F(TrieDumpState, ofAnEmptyTrieIsAHeading) {
   EXPECT_EQ("Trie\n  route[] #0\n", dump());
   EXPECT_FALSE(context->truncated());
}

TEST_F(TrieDumpState, listsTheRoutes) {
   add({"10.1.0.0/16", "10.0.0.0/8"});
   EXPECT_EQ(
      "Trie\n"
      "  route[] #2\n"
      "    10.0.0.0/8\n"
      "    10.1.0.0/16\n",
      dump());
   EXPECT_EQ(
      "   Trie\n"
      "     route[] #2\n"
      "       10.0.0.0/8\n"
      "       10.1.0.0/16\n",
      dump(3));
}

TEST_F(TrieDumpState, theDefaultRouteIsListedAndNotCounted) {
   add("0.0.0.0/0");
   EXPECT_EQ("Trie\n  route[] #0\n    0.0.0.0/0\n", dump());
}

TEST_F(TrieDumpState, aListAsLongAsTheLimitIsWhole) {
   add({"10.0.0.0/8", "11.0.0.0/8", "12.0.0.0/8"});
   context->listLimitIs(3);
   EXPECT_EQ("Trie\n  route[] #3\n    10.0.0.0/8\n    11.0.0.0/8\n    12.0.0.0/8\n", dump());
   EXPECT_FALSE(context->truncated());
}

TEST_F(TrieDumpState, aLongerListIsCutBetweenTwoMessages) {
   add({"10.0.0.0/8", "11.0.0.0/8", "12.0.0.0/8", "12.1.0.0/16"});
   context->listLimitIs(2);
   EXPECT_EQ(
      "Trie\n"
      "  route[] #4\n"
      "  -- The following list will be truncated, use verbose option to display all 4 entries --\n"
      "    10.0.0.0/8\n"
      "    11.0.0.0/8\n"
      "  -- This list has been truncated, use verbose option to display all 4 entries --\n",
      dump());
   EXPECT_TRUE(context->truncated());
}

TEST_F(TrieDumpState, aListOneLongerIsCut) {
   add({"10.0.0.0/8", "11.0.0.0/8", "12.0.0.0/8"});
   context->listLimitIs(2);
   EXPECT_EQ(
      "Trie\n"
      "  route[] #3\n"
      "  -- The following list will be truncated, use verbose option to display all 3 entries --\n"
      "    10.0.0.0/8\n"
      "    11.0.0.0/8\n"
      "  -- This list has been truncated, use verbose option to display all 3 entries --\n",
      dump());
   EXPECT_TRUE(context->truncated());
}

TEST_F(TrieDumpState, theDefaultRouteTakesALineOfTheLimit) {
   add({"0.0.0.0/0", "10.0.0.0/8", "11.0.0.0/8"});
   context->listLimitIs(2);
   EXPECT_EQ("Trie\n  route[] #2\n    0.0.0.0/0\n    10.0.0.0/8\n", dump());
   EXPECT_FALSE(context->truncated());
   context->listLimitIs(0);
   EXPECT_EQ(
      "Trie\n"
      "  route[] #2\n"
      "  -- The following list will be truncated, use verbose option to display all 2 entries --\n"
      "  -- This list has been truncated, use verbose option to display all 2 entries --\n",
      dump());
}

TEST_F(TrieDumpState, aVerboseContextNeverCuts) {
   add({"10.0.0.0/8", "11.0.0.0/8"});
   context->listLimitIs(0);
   context->verbosityIs(1);
   EXPECT_EQ("Trie\n  route[] #2\n    10.0.0.0/8\n    11.0.0.0/8\n", dump());
   context->verbosityIs(2);
   dump();
   EXPECT_TRUE(context->truncated());
}

TEST_F(TrieDumpState, withoutAContextItGoesToStandardOutput) {
   add("10.0.0.0/8");
   testing::internal::CaptureStdout();
   trie->dumpState(nullptr, 1);
   EXPECT_EQ(" Trie\n   route[] #1\n     10.0.0.0/8\n", testing::internal::GetCapturedStdout());
}

// The margin is counted in 32 bits, and one of 2^31 and more pads on the right.
TEST_F(TrieDumpState, marginsWrapAround) {
   add("10.0.0.0/8");
   EXPECT_EQ("  Trie\nroute[] #1\n  10.0.0.0/8\n", dump(0xfffffffe));
   context->listLimitIs(0);
   EXPECT_EQ(
      "  Trie\n"
      "route[] #1\n"
      "-- The following list will be truncated, use verbose option to display all 1 entries --\n"
      "-- This list has been truncated, use verbose option to display all 1 entries --\n",
      dump(0xfffffffe));
}

TEST_F(TrieDumpState, whatTheStreamRaisesPassesOut) {
   add("10.0.0.0/8");
   struct Full : std::streambuf {
   } full;
   std::ostream stream(&full);
   stream.exceptions(std::ios_base::badbit);
   context = Keel::dumpContextFactory(stream);
   EXPECT_THROW(trie->dumpState(context, 0), std::ios_base::failure);
   EXPECT_EQ(1u, context->uses());

   // Also from within the walk, whose callback goes then.
   stream.exceptions(std::ios_base::goodbit);
   trie->dumpState(context, 0);
   const auto* callbacks = Routing::TrieDumpStateWalkCallback::memAllocationTracker_;
   const std::uint64_t live = callbacks->liveObjects();
   struct FullAtRoute : std::stringbuf {
      std::streamsize xsputn(const char* text, std::streamsize size) override {
         return std::string_view(text, static_cast<std::size_t>(size)).find('/') != std::string_view::npos ? 0 : size;
      }
   } fullAtRoute;
   std::ostream later(&fullAtRoute);
   later.exceptions(std::ios_base::badbit);
   context = Keel::dumpContextFactory(later);
   EXPECT_THROW(trie->dumpState(context, 0), std::ios_base::failure);
   EXPECT_EQ(1u, context->uses());
   EXPECT_EQ(live, callbacks->liveObjects());
}

TEST_F(TrieDumpState, theCallbackCountsItsLines) {
   context->listLimitIs(2);
   const auto callback = Corvid::ptrIsImpl<Routing::TrieDumpStateWalkCallback>(context, 1u);
   EXPECT_EQ(context, callback->dumpCtx());
   EXPECT_EQ(1u, callback->indentCount());
   EXPECT_EQ(0u, callback->entries());
   EXPECT_EQ(1, callback->handlePrefix(p("10.0.0.0/8")));
   EXPECT_EQ(1u, callback->entries());
   callback->entriesInc(1);
   EXPECT_EQ(0, callback->handlePrefix(p("11.0.0.0/8")));
   EXPECT_EQ(2u, callback->entries());
   callback->entriesIs(0);
   EXPECT_EQ(1, callback->handlePrefix(p("12.0.0.0/8")));
   EXPECT_EQ(" 10.0.0.0/8\n 12.0.0.0/8\n", out.str());
   out.str("");
   EXPECT_EQ(1, Corvid::ptrIsImpl<Routing::TrieDumpStateWalkCallback>(context, 0u)->handlePrefix(p("1.0.0.0/8")));
   EXPECT_EQ(" 1.0.0.0/8\n", out.str());  // never without a blank
}

//--- the tree of nodes ---

class TrieDoDump : public TrieFixture {
  public:
   // With each address of a node replaced by <ptr>.
   std::string dump() {
      testing::internal::CaptureStdout();
      trie->doDump();
      std::string text = testing::internal::GetCapturedStdout();
      for (std::size_t at = 0; (at = text.find(" 0x", at)) != std::string::npos;) {
         text.replace(at + 1, text.find(' ', at + 1) - at - 1, "<ptr>");
      }
      return text;
   }
};

TEST_F(TrieDoDump, ofAnEmptyTrieIsAGap) {
   EXPECT_EQ(
      " ->[0.0.0.0/8 <ptr> routes+children: 0\n"
      "   [... \n",
      dump());
}

TEST_F(TrieDoDump, showsNodesAndRunsOfEntries) {
   add({"0.0.0.0/0", "10.0.0.0/7", "10.0.0.0/8", "10.1.0.0/16", "10.1.1.1/32"});
   EXPECT_EQ(
      " ->[0.0.0.0/8 <ptr> routes+children: 2\n"
      "   [... \n"
      "   [00000011 10.0.0.0]\n"
      "   ->[10.0.0.0/16 <ptr> routes+children: 1\n"
      "     [... \n"
      "     [00000001 10.1.0.0]\n"
      "     ->[10.1.0.0/20 <ptr> routes+children: 0\n"
      "       [... \n"
      "       ->[10.1.0.0/24 <ptr> routes+children: 0\n"
      "         [... \n"
      "         ->[10.1.1.0/28 <ptr> routes+children: 0\n"
      "           [... \n"
      "           ->[10.1.1.0/32 <ptr> routes+children: 1\n"
      "             [... \n"
      "             [0001 10.1.1.1]\n"
      "             [... \n"
      "           [... \n"
      "         [... \n"
      "       [... \n"
      "     [... \n"
      "   [00000010 11.0.0.0]\n"
      "   [... \n",
      dump());
}

// What stands before the first entry counts as 16, and equal entries are told of once a node.
TEST_F(TrieDoDump, aFirstEntryOf16IsCalledTheSame) {
   add("16.0.0.0/4");
   EXPECT_EQ(
      " ->[0.0.0.0/8 <ptr> routes+children: 1\n"
      "   [... \n"
      "   ...same...\n",
      dump());
   add({"32.0.0.0/8", "33.0.0.0/8", "34.0.0.0/8", "64.0.0.0/8"});
   EXPECT_EQ(
      " ->[0.0.0.0/8 <ptr> routes+children: 5\n"
      "   [... \n"
      "   ...same...\n"
      "   [00000001 32.0.0.0]\n"
      "   [... \n",
      dump());
}

}  // namespace TrieDumpTest
