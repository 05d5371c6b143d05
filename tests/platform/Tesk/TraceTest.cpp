#include "routetrie/platform/Tesk/Trace.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <ostream>
#include <sstream>
#include <string>
#include <thread>

#include "routetrie/platform/Corenet/Prefix.h"
#include "tests/platform/Threads.h"
#include "tests/platform/TraceCapture.h"

namespace TraceTest {

using Tesk::TraceFacility;
using Tesk::TraceHandle;
using Tesk::TraceHelper;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::MatchesRegex;
using TestSupport::TraceCapture;

// The facilities of the tries are constants: testing a level needs no guard.
constexpr TraceHandle trieTrace("Trie", false);

int formatted = 0;
struct Counting {};
std::ostream& operator<<(std::ostream& out, Counting) {
   ++formatted;
   return out << "counted";
}

struct Raising {};
std::ostream& operator<<(std::ostream&, Raising) { throw 1; }

TEST(Trace, theFacilitiesOfTheTriesAreThereFromTheStart) {
   for (const char* name : {"Trie", "Trie6", "TrieCompact", "TrieGen"}) {
      const auto handle = TraceHandle::find(name);
      ASSERT_TRUE(handle.has_value()) << name;
      EXPECT_EQ(name, handle->name());
      EXPECT_EQ(0u, handle->mask());
   }
   EXPECT_FALSE(TraceHandle::find("Tri").has_value());
}

TEST(Trace, handlesOfOneNameAreOne) {
   const TraceHandle again("Trie", false);
   again.levelIs(6, true);
   EXPECT_TRUE(trieTrace.isOn(6));
   EXPECT_FALSE(TraceHandle::find("Trie6")->isOn(6));
   again.levelIs(6, false);
   EXPECT_EQ(0u, trieTrace.mask());
}

TEST(Trace, aNewNameComesToBeWithItsFirstHandle) {
   EXPECT_FALSE(TraceHandle::find("TraceTest").has_value());
   {
      const std::string name = "TraceTest";
      const TraceHandle made(name, true);
      EXPECT_TRUE(made.isOn(0) && made.isOn(9));
   }
   const auto found = TraceHandle::find("TraceTest");
   ASSERT_TRUE(found.has_value());
   EXPECT_EQ("TraceTest", found->name());
   const TraceHandle again("TraceTest", false);
   EXPECT_TRUE(again.isOn(8)) << "a further handle leaves the levels as they are";
   again.maskIs(0);
   EXPECT_FALSE(found->isOn(8));
   EXPECT_EQ("Trie", TraceHandle::all().front().name());
   EXPECT_EQ("TraceTest", TraceHandle::all().back().name());
}

TEST(Trace, aLevelThatIsOffFormsNoText) {
   TraceCapture capture("Trie", {});
   formatted = 0;
   ROUTETRIE_TRACE(trieTrace, 8) << Counting();
   EXPECT_EQ(0, formatted);
   EXPECT_THAT(capture.lines(), IsEmpty());
}

TEST(Trace, levelEightAlone) {
   TraceCapture capture("Trie", {8});
   formatted = 0;
   for (U32 level = 0; level <= 9; ++level) {
      ROUTETRIE_TRACE(trieTrace, level) << Counting();
   }
   EXPECT_EQ(1, formatted);
   EXPECT_THAT(capture.lines(), ElementsAre("8 TestBody: counted"));
}

TEST(Trace, levelZeroAlone) {
   TraceCapture capture("Trie", {0});
   ROUTETRIE_TRACE(trieTrace, 8) << "eight";
   ROUTETRIE_TRACE(trieTrace, 0) << "zero";
   EXPECT_THAT(capture.lines(), ElementsAre("0 TestBody: zero"));
}

// Reads like one statement, in an if without braces too.
TEST(Trace, theMacroIsOneStatement) {
   TraceCapture capture("Trie", {1});
   bool other = false;
   if (trieTrace.isOn(2))
      ROUTETRIE_TRACE(trieTrace, 1) << "not reached";
   else
      other = true;
   EXPECT_TRUE(other);
   EXPECT_THAT(capture.lines(), IsEmpty());
}

TEST(Trace, aWholeLine) {
   std::ostringstream sink;
   TraceHandle::sinkIs(&sink);
   TraceHelper(trieTrace, TraceFacility::level7, "some/folder/Trie.cpp", 12, "visit").stream() << "here";
   TraceHandle::sinkIs(nullptr);
   EXPECT_EQ("Trie/7 visit Trie.cpp:12: here\n", sink.str());
}

TEST(Trace, items) {
   TraceCapture capture("Trie", {8});
   const int object = 0;
   const U8 small = 200;
   ROUTETRIE_TRACE(trieTrace, 8, "named")
      << "text " << 12 << " " << -3 << " " << 4000000000u << " " << small << " " << Tesk::hex << 255 << " "
      << 4000000000u << " " << small << Tesk::dec << " " << 255 << " " << std::string("string") << " "
      << Corenet::Prefix::fromString("10.0.0.0/8") << " " << true;
   ROUTETRIE_TRACE(trieTrace, 8, "named") << "ended already" << Tesk::endl;
   ROUTETRIE_TRACE(trieTrace, 8, "named") << static_cast<const char*>(nullptr);
   ROUTETRIE_TRACE(trieTrace, 8, "named") << &object;
   const auto lines = capture.lines();
   ASSERT_EQ(4u, lines.size());
   EXPECT_EQ("8 named: text 12 -3 4000000000 200 ff ee6b2800 c8 255 string 10.0.0.0/8 1", lines[0]);
   EXPECT_EQ("8 named: ended already", lines[1]);
   EXPECT_EQ("8 named: (null)", lines[2]);
   EXPECT_THAT(lines[3], MatchesRegex("8 named: 0x[0-9a-f]+"));
}

TEST(Trace, whatAnOutputRaisesLosesTheLineAndNothingElse) {
   TraceCapture capture("Trie", {8});
   EXPECT_NO_THROW(ROUTETRIE_TRACE(trieTrace, 8)
                   << "lost" << Raising() << "and" << 1 << 2u << &capture << Counting() << Tesk::hex << Tesk::dec);
   ROUTETRIE_TRACE(trieTrace, 8) << "kept";
   EXPECT_THAT(capture.lines(), ElementsAre("8 TestBody: kept"));
}

TEST(Trace, goesToStandardErrorAtFirst) {
   testing::internal::CaptureStderr();
   TraceHelper(trieTrace, TraceFacility::level0, "Trie.cpp", 1, "f").stream() << "seen";
   EXPECT_EQ("Trie/0 f Trie.cpp:1: seen\n", testing::internal::GetCapturedStderr());
}

// Lines stay whole while another thread switches levels; the thread sanitizer watches.
TEST(Trace, threadsTraceWhileLevelsAreSwitched) {
   const TestSupport::MultiThreaded multiThreaded;
   TraceCapture capture("Trie", {});
   std::atomic<int> traced = 0;
   TestSupport::runThreads(4, [&](int i) {
      for (int n = 0; n < 500; ++n) {
         if (i == 0) {
            trieTrace.levelIs(8, n % 2 == 0);
            continue;
         }
         if (trieTrace.isOn(8)) {
            TraceHelper(trieTrace, TraceFacility::level8, "f", 1, "f").stream() << "a" << i << "b";
            ++traced;
         }
      }
   });
   const auto lines = capture.lines();
   EXPECT_EQ(static_cast<std::size_t>(traced), lines.size());
   for (const auto& line : lines) {
      EXPECT_THAT(line, MatchesRegex("8 f: a[123]b"));
   }
}

}  // namespace TraceTest
