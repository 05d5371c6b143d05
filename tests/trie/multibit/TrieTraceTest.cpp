#include "routetrie/trie/multibit/TrieTrace.h"

#include <gmock/gmock.h>

#include <regex>
#include <sstream>

#include "routetrie/trie/multibit/TrieInversion.h"
#include "routetrie/trie/multibit/TrieWalkCallbackTest.h"
#include "tests/trie/multibit/TrieSupport.h"

namespace TrieTraceTest {

using namespace testing_support;
using testing::HasSubstr;

class TrieTraceTest : public TrieFixture {
  public:
   void SetUp() override { Tesk::TraceHandle::sinkIs(&lines); }
   void TearDown() override {
      TrieImpl::trieTrace.maskIs(0);
      Tesk::TraceHandle::sinkIs(nullptr);
   }

   // What `work` traces with these levels on: a line each, as "level function: text", without file and line number, and with
   // "<ptr>" for a pointer.
   template <class Work>
   std::string traced(U32 levels, Work work) {
      lines.str("");
      TrieImpl::trieTrace.maskIs(levels);
      work();
      TrieImpl::trieTrace.maskIs(0);
      const std::string text =
         std::regex_replace(lines.str(), std::regex("Trie/(\\d) (\\S+) \\S+:\\d+: "), "$1 $2: ");
      return std::regex_replace(text, std::regex("0x[0-9a-f]{6,}:"), "<ptr>:");
   }

   std::ostringstream lines;
};

constexpr U32 level(U32 n) { return 1u << n; }
constexpr U32 allLevels = ~0u;

TEST_F(TrieTraceTest, nothingIsTracedWhileLevelsAreOff) {
   EXPECT_EQ("", traced(~(level(1) | level(6) | level(7) | level(8)), [&] {
                add({"10.0.0.0/8", "10.1.1.1/32"});
                longer("10.0.0.0/8");
                longer("11.1.0.0/16");
                trie->getNext(p("10.0.0.0/8"));
                trie->preOrderWalk(p("0.0.0.0/0"), Routing::trieWalkCallbackTestFactory());
                del("10.1.1.1/32");
                TrieImpl::doDummyTrace();
             }));
}

TEST_F(TrieTraceTest, lookupsOfMatchAndParentTraceNothing) {
   EXPECT_EQ("", traced(allLevels, [&] {
                add("10.0.0.0/8");
                match("10.1.1.1/32");
                parent("10.1.1.1/32");
                trie->route(p("10.0.0.0/8"));
             }));
}

TEST_F(TrieTraceTest, doDummyTrace) {
   EXPECT_EQ("1 doDummyTrace: doDummyTrace: clearing route bits for 0x0- 0x0\n",
             traced(level(1), [] { TrieImpl::doDummyTrace(); }));
}

TEST_F(TrieTraceTest, deletes) {
   add({"10.1.0.0/16", "11.0.0.0/8", "128.0.0.0/1"});
   EXPECT_EQ(
      "1 doClearRouteBits: clearing route bits for 0x1- 0x1\n"
      "1 deleteChild: <ptr>: deleteChild(10) @1: 1\n",
      traced(level(1), [&] { del("10.1.0.0/16"); }));
   EXPECT_EQ("1 doClearRouteBits: clearing route bits for 0xb- 0x1\n", traced(level(1), [&] { del("11.0.0.0/8"); }));
   EXPECT_EQ("1 doClearRouteBits: clearing route bits for 0x80- 0x80\n",
             traced(level(1), [&] { del("128.0.0.0/1"); }));
}

TEST_F(TrieTraceTest, prefixBoundaryOfAllButEntry0) {
   EXPECT_EQ("7 prefixBoundary: boundary level = 0 i = a stride = 8 ret = 3\n",
             traced(level(7), [] { prefixBoundary(0, 10); }));
   EXPECT_EQ("", traced(allLevels, [] { prefixBoundary(0, 0); }));
}

TEST_F(TrieTraceTest, longerRoutePresent) {
   add("10.0.0.0/8");
   EXPECT_EQ(
      "8 longerRoutePresent: longerRoutePresent prefix:10.0.0.0/8\n"
      "8 longerRoutePresent: longerRoutePresent prefix:10.0.0.0/8\n",  // the trie's, and the node's
      traced(allLevels, [&] { longer("10.0.0.0/8"); }));
   EXPECT_EQ(
      "8 longerRoutePresent: longerRoutePresent prefix:10.1.1.0/24\n"
      "6 longerRoutePresent: subtree doesn't exist for 10.1.1.0/24\n",
      traced(allLevels, [&] { longer("10.1.1.0/24"); }));
}

TEST_F(TrieTraceTest, getNext) {
   add("10.0.0.0/8");
   EXPECT_EQ("8 getNext: getNext prefix 10.0.0.0/8\n6 getNext:  LPM = 10.0.0.0/8\n",
             traced(level(6) | level(8), [&] { trie->getNext(p("10.0.0.0/8")); }));
   EXPECT_EQ("8 getNext: getNext prefix 10.0.0.0/7\n",
             traced(level(6) | level(8), [&] { trie->getNext(p("10.0.0.0/7")); }));
}

TEST_F(TrieTraceTest, walksTellWhereTheyBegin) {
   const auto walk = [&](std::string_view from) {
      return [this, from] { trie->preOrderWalk(p(from), Routing::trieWalkCallbackTestFactory()); };
   };
   add({"0.0.0.0/0", "10.0.0.0/8"});
   EXPECT_EQ("6 preOrderWalk: preOrderWalkVisiting default route \n", traced(level(6), walk("0.0.0.0/0")));
   EXPECT_EQ("6 preOrderWalk: subtree doesn't exist for 10.1.1.0/24\n", traced(level(6), walk("10.1.1.0/24")));
   EXPECT_EQ("6 preOrderWalk:  LPM = 10.0.0.0/722\n", traced(level(6), walk("10.0.0.0/7")));
}

TEST_F(TrieTraceTest, walksTellOfEachEntryAndRoute) {
   add({"10.0.0.0/7", "10.0.0.0/8", "10.1.0.0/16"});
   EXPECT_EQ(
      "6 preOrderWalk:  LPM = 10.1.0.0/1611\n"
      "8 visit:  i = 1 bitMap = 1\n"
      "7 prefixBoundary: boundary level = 1 i = 1 stride = 8 ret = 1\n"
      "7 processBits: prefix = a000000 bitMap = 1 bitPos = 8\n"
      "7 processBits: prefix = a010000 len = 16\n"
      "7 processBits:  After removing msb from bitMap, bitMap = 0\n",
      traced(allLevels, [&] { trie->preOrderWalk(p("10.1.0.0/16"), Routing::trieWalkCallbackTestFactory()); }));
   EXPECT_THAT(
      traced(allLevels, [&] { trie->preOrderWalk(p("10.0.0.0/8"), Routing::trieWalkCallbackTestFactory()); }),
      testing::StartsWith("6 preOrderWalk:  LPM = 10.0.0.0/811\n"
                          "8 visit:  i = a bitMap = 3\n"
                          "7 prefixBoundary: boundary level = 0 i = a stride = 8 ret = 3\n"
                          "7 processBits:  Not reporting bitPos = 7 because lenWithinNode = 1\n"
                          "7 processBits: prefix = 0 bitMap = 1 bitPos = 8\n"
                          "7 processBits: prefix = a000000 len = 8\n"
                          "7 processBits:  After removing msb from bitMap, bitMap = 0\n"
                          "7 visit:  visit child  = 0xa i = a p = a000000\n"
                          "8 visit:  i = 0 bitMap = 0\n"));
}

// The walk tells its figure with its sign; the entries have it in 32 bits.
TEST_F(TrieTraceTest, walksFromTheNullPrefix) {
   add({"0.0.0.0/31", "0.0.0.1/32"});
   EXPECT_EQ(
      "6 preOrderWalk:  LPM = 0.0.0.0/255-222-222\n"
      "8 visit:  i = 0 bitMap = 2\n"
      "7 processBits:  Not reporting bitPos = 3 because lenWithinNode = 4294967074\n"
      "8 visit:  i = 1 bitMap = 3\n"
      "7 prefixBoundary: boundary level = 5 i = 1 stride = 4 ret = 1\n"
      "7 processBits:  Not reporting bitPos = 4 because lenWithinNode = 4294967074\n",
      traced(allLevels, [&] { trie->preOrderWalk(nullPrefix, Routing::trieWalkCallbackTestFactory()); }));
   EXPECT_EQ("8 getNext: getNext prefix 0.0.0.0/255\n6 getNext:  LPM = 0.0.0.0/255\n",
             traced(level(6) | level(8), [&] { trie->getNext(nullPrefix); }));
}

TEST_F(TrieTraceTest, refusalsTellHowFarTheySkip) {
   class Refusing : public Routing::TrieWalkCallback {
      int handlePrefix(const Corenet::Prefix&) override { return 0; }
   };
   add({"0.0.0.0/4", "10.0.0.0/7"});
   EXPECT_EQ(
      "7 processBits: prefix = 0 bitMap = 10 bitPos = 4\n"
      "7 processBits: prefix = 0 len = 4\n"
      "7 processBits:  skipLen = 16\n",
      traced(level(7), [&] { trie->preOrderWalk(p("0.0.0.0/4"), Corvid::ptrIsImpl<Refusing>()); }));
}

TEST_F(TrieTraceTest, childrenOfAnArrayAreToldOfAlsoWhereThereIsNone) {
   add({"10.1.0.0/16", "11.1.0.0/16", "12.1.0.0/16", "13.1.0.0/16"});
   const auto text =
      traced(level(7), [&] { trie->preOrderWalk(Corenet::Prefix(), Routing::trieWalkCallbackTestFactory()); });
   EXPECT_THAT(text, HasSubstr("7 visit:  visit child i = 9 p = 150994944\n"));
   EXPECT_THAT(text, HasSubstr("7 visit:  visit child i = 10 p = 167772160\n"));
   EXPECT_THAT(text, HasSubstr("7 visit:  visit child i = 255 p = 4278190080\n"));
}

}  // namespace TrieTraceTest
