#include <gtest/gtest.h>

#include <sstream>
#include <stdexcept>
#include <string>

#include "routetrie/trie/patricia/PatriciaTrie.h"
#include "routetrie/trie/patricia/PatriciaTrieDumpStateWalkCb.h"
#include "tests/trie/patricia/PatriciaKinds.h"

namespace PatriciaTrieDumpTest {

using namespace testing_support;

//--- the list of routes ---

template <class Kind>
class PatriciaTrieDumpState : public PatriciaFixture<Kind> {
  protected:
   // A line for each prefix, as the kind writes it.
   static std::string lines(const std::string& margin, std::initializer_list<std::string_view> ipv4Texts) {
      std::string text;
      for (const auto& prefix : PatriciaFixture<Kind>::texts(ipv4Texts)) {
         text += margin + prefix + '\n';
      }
      return text;
   }
   std::string dump(U32 indentCount = 0) {
      out.str("");
      this->trie->dumpState(context, indentCount);
      EXPECT_EQ(1U, context->uses()) << "the walker is gone";
      return out.str();
   }

   std::ostringstream out;
   Corvid::Ptr<Keel::DumpContext> context = Keel::dumpContextFactory(out);
};
TYPED_TEST_SUITE(PatriciaTrieDumpState, PatriciaKinds);

TYPED_TEST(PatriciaTrieDumpState, ofAnEmptyTrieIsAHeading) {
   EXPECT_EQ("PatriciaTrie\n  route[] #0\n", this->dump());
   EXPECT_FALSE(this->context->truncated());
}

TYPED_TEST(PatriciaTrieDumpState, defaultRouteFirstAndCounted) {
   this->run({"10.1.0.0/16", "0.0.0.0/0", "10.0.0.0/8"});
   EXPECT_EQ("PatriciaTrie\n  route[] #3\n" + this->lines("    ", {"0.0.0.0/0", "10.0.0.0/8", "10.1.0.0/16"}),
             this->dump());
}

TYPED_TEST(PatriciaTrieDumpState, linesStandBehindTheIndent) {
   this->run({"10.0.0.0/8", "11.0.0.0/8"});
   EXPECT_EQ("      PatriciaTrie\n        route[] #2\n" + this->lines("          ", {"10.0.0.0/8", "11.0.0.0/8"}),
             this->dump(6));
   this->context->listLimitIs(1);
   EXPECT_EQ(
      "      PatriciaTrie\n"
      "        route[] #2\n"
      "        -- The following list will be truncated, use verbose option to display all 2 entries --\n" +
         this->lines("          ", {"10.0.0.0/8"}) +
         "        -- This list has been truncated, use verbose option to display all 2 entries --\n",
      this->dump(6));
}

TYPED_TEST(PatriciaTrieDumpState, aListAsLongAsTheLimitIsWhole) {
   this->run({"0.0.0.0/0", "10.0.0.0/8", "11.0.0.0/8"});
   this->context->listLimitIs(3);
   EXPECT_EQ("PatriciaTrie\n  route[] #3\n" + this->lines("    ", {"0.0.0.0/0", "10.0.0.0/8", "11.0.0.0/8"}),
             this->dump());
   EXPECT_FALSE(this->context->truncated());
}

TYPED_TEST(PatriciaTrieDumpState, aLongerListIsCut) {
   this->run({"10.0.0.0/8", "10.128.0.0/9", "12.0.0.0/8", "13.0.0.0/8"});
   this->context->listLimitIs(3);
   EXPECT_EQ(
      "PatriciaTrie\n"
      "  route[] #4\n"
      "  -- The following list will be truncated, use verbose option to display all 4 entries --\n" +
         this->lines("    ", {"10.0.0.0/8", "10.128.0.0/9", "12.0.0.0/8"}) +
         "  -- This list has been truncated, use verbose option to display all 4 entries --\n",
      this->dump());
   EXPECT_TRUE(this->context->truncated());
}

TYPED_TEST(PatriciaTrieDumpState, aLimitOfZeroShowsNoEntry) {
   this->add("0.0.0.0/0");
   this->context->listLimitIs(0);
   EXPECT_EQ(
      "PatriciaTrie\n"
      "  route[] #1\n"
      "  -- The following list will be truncated, use verbose option to display all 1 entries --\n"
      "  -- This list has been truncated, use verbose option to display all 1 entries --\n",
      this->dump());
   EXPECT_TRUE(this->context->truncated());
}

TYPED_TEST(PatriciaTrieDumpState, verboseShowsEverything) {
   this->run({"10.0.0.0/8", "11.0.0.0/8"});
   this->context->listLimitIs(1);
   this->context->verbosityIs(Keel::DumpContext::verbose);
   EXPECT_EQ("PatriciaTrie\n  route[] #2\n" + this->lines("    ", {"10.0.0.0/8", "11.0.0.0/8"}), this->dump());
   EXPECT_FALSE(this->context->truncated());
   this->context->verbosityIs(2);
   this->dump();
   EXPECT_TRUE(this->context->truncated()) << "1 alone is verbose";
}

TYPED_TEST(PatriciaTrieDumpState, withoutAContextEverythingGoesToStandardOutput) {
   this->run({"10.0.0.0/8", "11.0.0.0/8"});
   testing::internal::CaptureStdout();
   this->trie->dumpState(nullptr, 0);
   EXPECT_EQ("PatriciaTrie\n  route[] #2\n" + this->lines("    ", {"10.0.0.0/8", "11.0.0.0/8"}),
             testing::internal::GetCapturedStdout());
}

// Both callbacks print alike, so it is their trackers that tell which one a trie was walked with.
TYPED_TEST(PatriciaTrieDumpState, legacyNodesAloneAreWalkedInGenericForm) {
   const auto made = []<class Callback>(std::type_identity<Callback>) {
      const auto* tracker = Callback::memAllocationTracker_;
      return tracker == nullptr ? 0 : tracker->totalAllocations();
   };
   const auto generic = [&] { return made(std::type_identity<Routing::PatriciaTrieDumpStateWalkCb>()); };
   const auto compact = [&] { return made(std::type_identity<Routing::PatriciaTrieCompactDumpStateWalkCb>()); };
   const auto genericBefore = generic();
   const auto compactBefore = compact();
   this->dump();
   const bool isLegacy = this->trie->paf() == PatriciaTrieNodeType::nodeTypeIpv6Legacy_;
   EXPECT_EQ(isLegacy ? 1U : 0U, generic() - genericBefore);
   EXPECT_EQ(isLegacy ? 0U : 1U, compact() - compactBefore);
}

// The count decides whether there are messages, and the lines are counted for themselves. A delete that leaves the route
// in place lowers the count all the same.
TYPED_TEST(PatriciaTrieDumpState, countAndLinesMayDisagree) {
   this->trie->nodeDataEnabledIs(true);
   this->add("10.0.0.0/8", Routing::prefixDataFactory());
   this->add("11.0.0.0/8", Routing::prefixDataFactory());
   this->del("11.0.0.0/8", Routing::prefixDataFactory(), Routing::prefixDataContainerFactory());
   ASSERT_EQ(1U, this->trie->routes());
   this->context->listLimitIs(1);
   EXPECT_EQ("PatriciaTrie\n  route[] #1\n" + this->lines("    ", {"10.0.0.0/8"}), this->dump());
   EXPECT_FALSE(this->context->truncated());
   this->context->listLimitIs(2);
   EXPECT_EQ("PatriciaTrie\n  route[] #1\n" + this->lines("    ", {"10.0.0.0/8", "11.0.0.0/8"}), this->dump());
}

//--- the callbacks ---

template <class Callback, class PrefixType>
void writesUntilTheLimit() {
   std::ostringstream out;
   const auto context = Keel::dumpContextFactory(out);
   context->listLimitIs(2);
   {
      const auto callback = Corvid::ptrIsImpl<Callback>(context, 3U);
      EXPECT_EQ(context, callback->dumpCtx());
      EXPECT_EQ(3U, callback->indentCount());
      EXPECT_EQ(0U, callback->entries());
      EXPECT_TRUE(callback->handlePrefixData(PrefixType::fromString("2001:db8::/32"), nullptr));
      EXPECT_EQ(1U, callback->entries());
      callback->entriesInc(1);
      EXPECT_FALSE(callback->handlePrefixData(PrefixType::fromString("2001:db8::/33"), nullptr));
      EXPECT_EQ(2U, callback->entries());
      callback->entriesIs(0);
      EXPECT_TRUE(callback->handlePrefixData(PrefixType::fromString("10.0.0.0/8"), nullptr));
   }
   EXPECT_EQ("   2001:db8::/32\n   10.0.0.0/8\n", out.str());
   EXPECT_EQ(1U, context->uses());
   EXPECT_FALSE(context->truncated()) << "the list's affair";
}

TEST(PatriciaTrieDumpStateWalkCb, writesUntilTheLimit) {
   writesUntilTheLimit<Routing::PatriciaTrieDumpStateWalkCb, IpGenPrefix>();
   writesUntilTheLimit<Routing::PatriciaTrieCompactDumpStateWalkCb, CompactIpPrefix>();
}

//--- the tree ---

template <class Kind>
class PatriciaTrieDumpTree : public PatriciaFixture<Kind> {
  protected:
   std::string tree(U32 depth = 0) const {
      std::ostringstream out;
      Routing::dumpTree(out, this->trie->root(), depth, this->trie->paf());
      return out.str();
   }
   std::string doDump() const {
      testing::internal::CaptureStdout();
      this->trie->doDump();
      return testing::internal::GetCapturedStdout();
   }
};
TYPED_TEST_SUITE(PatriciaTrieDumpTree, PatriciaKinds);

TYPED_TEST(PatriciaTrieDumpTree, ofAnEmptyTrieIsNothing) {
   EXPECT_EQ("", this->doDump());
   this->add("0.0.0.0/0");
   EXPECT_EQ("", this->doDump()) << "the default route is in no node";
}

TYPED_TEST(PatriciaTrieDumpTree, aBranchAndItsChildrenLeftFirst) {
   this->run({"10.0.0.0/8", "10.128.0.0/16", "10.0.0.0/16", "10.128.128.0/17"});
   std::string expected;
   if (TypeParam::family == AddressFamily::ipv4) {
      // The length of an IPv4 key is written as one raw byte.
      expected =
         "10.0.0.0/8/\x08[ 1000000 ]\n"
         "  10.0.0.0/16/\x10[ 10000 ]\n"
         "  10.128.128.0/17/\x11[ 18000 ]\n";
   } else {
      expected =
         "a00::/8[1000000, 0, 0, 0]\n"
         "  a00::/16[10000, 0, 0, 0]\n"
         "  a80:8000::/17[18000, 0, 0, 0]\n";
   }
   EXPECT_EQ(expected, this->doDump());
   EXPECT_EQ(expected, this->tree());
   std::string deeper;
   for (const char c : "\n" + expected) {
      deeper += c == '\n' ? "\n    " : std::string(1, c);
   }
   EXPECT_EQ(deeper.substr(1, deeper.size() - 5), this->tree(2));
}

TYPED_TEST(PatriciaTrieDumpTree, everyLineIsFlushed) {
   // Counts what was written when a flush came.
   class Buffer : public std::stringbuf {
     public:
      int sync() override {
         flushed = str().size();
         ++flushes;
         return 0;
      }
      std::size_t flushed = 0;
      int flushes = 0;
   };
   this->run({"10.0.0.0/8", "11.0.0.0/8"});
   Buffer buffer;
   std::ostream out(&buffer);
   Routing::dumpTree(out, this->trie->root(), 0, this->trie->paf());
   EXPECT_EQ(3, buffer.flushes);
   EXPECT_EQ(buffer.str().size(), buffer.flushed);
}

TEST(PatriciaTrieDump, doDummyTraceV6DoesNothing) {
   testing::internal::CaptureStdout();
   Routing::doDummyTraceV6();
   EXPECT_EQ("", testing::internal::GetCapturedStdout());
}

}  // namespace PatriciaTrieDumpTest
