#include "routetrie/platform/Keel/DumpContext.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>

#include "routetrie/platform/Corvid/Inspect.h"
#include "routetrie/platform/Keel/DumpList.h"
#include "tests/property/LiveCounts.h"

namespace DumpContextTest {

using Corvid::Ptr;
using Keel::DumpContext;

class Dump : public testing::Test {
  protected:
   std::string take() {
      std::string text = out_.str();
      out_.str("");
      return text;
   }

   std::ostringstream out_;
   Ptr<DumpContext> context_ = Keel::dumpContextFactory(out_);
};

TEST_F(Dump, beginsNormalAndLimited) {
   EXPECT_EQ(0, context_->verbosity());
   EXPECT_EQ(1000u, context_->listLimit());
   EXPECT_FALSE(context_->truncated());
   EXPECT_EQ(1u, context_->uses());
}

TEST_F(Dump, attributes) {
   context_->verbosityIs(200);
   EXPECT_EQ(200, context_->verbosity());
   EXPECT_FALSE(context_->isVerbose());
   context_->verbosityIs(1);
   EXPECT_TRUE(context_->isVerbose());
   context_->listLimitIs(7);
   EXPECT_EQ(7u, context_->listLimit());
   const Ptr<const DumpContext> lent = context_;
   lent->truncatedIs(true);
   EXPECT_TRUE(context_->truncated());
}

TEST_F(Dump, attributesByName) {
   Corvid::Inspect::set(*context_, "listLimit", "7");
   Corvid::Inspect::set(*context_, "verbosity", "1");
   EXPECT_EQ(7u, context_->listLimit());
   EXPECT_TRUE(context_->isVerbose());
   EXPECT_EQ("false", Corvid::Inspect::get(*context_, "truncated").text);
}

TEST_F(Dump, printsAsPrintfDoes) {
   Keel::_objDumpPrintf(context_, "%*c%s #%u\n", 3, ' ', "route[]", 5u);
   EXPECT_EQ("   route[] #5\n", take());
   const std::string word(10000, 'x');
   Keel::_objDumpPrintf(context_, "%s%d", word.c_str(), 1);
   EXPECT_EQ(word + "1", take());
   // About where the text no longer fits what is at hand on the stack.
   for (std::size_t length = 250; length <= 260; ++length) {
      Keel::_objDumpPrintf(context_, "%s", word.substr(0, length).c_str());
      EXPECT_EQ(word.substr(0, length), take());
   }
}

TEST_F(Dump, aNullContextIsStandardOutput) {
   testing::internal::CaptureStdout();
   Keel::_objDumpPrintf(nullptr, "%u ", 7u);
   Keel::dumpLine(nullptr, 2, "%s\n", "text");
   Keel::dumpListBegin(nullptr, 2, 4000000000u);
   Keel::dumpListEnd(nullptr, 2, 4000000000u);
   EXPECT_EQ("7   text\n", testing::internal::GetCapturedStdout());
   EXPECT_TRUE(Keel::isListEntryShown(nullptr, 4000000000u));
}

TEST_F(Dump, aLineStandsAtItsIndent) {
   Keel::dumpLine(context_, 0, "%s\n", "at the margin");
   Keel::dumpLine(context_, 1, "one\n");
   Keel::dumpLine(context_, 6, "six\n");
   EXPECT_EQ("at the margin\n one\n      six\n", take());
}

// A list of `entries` numbers, as a dump prints it.
void dumpNumbers(const Ptr<const DumpContext>& context, U32 indent, U32 entries) {
   Keel::dumpListBegin(context, indent, entries);
   U32 shown = 0;
   for (U32 i = 0; i < entries; ++i) {
      if (Keel::isListEntryShown(context, shown)) {
         Keel::dumpLine(context, indent + 2, "%u\n", i);
         ++shown;
      }
   }
   Keel::dumpListEnd(context, indent, entries);
}

TEST_F(Dump, aListAtTheLimitIsWhole) {
   context_->listLimitIs(2);
   dumpNumbers(context_, 0, 2);
   EXPECT_EQ("  0\n  1\n", take());
   EXPECT_FALSE(context_->truncated());
}

TEST_F(Dump, aListOneLongerIsCut) {
   context_->listLimitIs(2);
   dumpNumbers(context_, 0, 3);
   EXPECT_EQ(
      "-- The following list will be truncated, use verbose option to display all 3 entries --\n"
      "  0\n  1\n"
      "-- This list has been truncated, use verbose option to display all 3 entries --\n",
      take());
   EXPECT_TRUE(context_->truncated());
}

TEST_F(Dump, messagesStandAtTheIndent) {
   context_->listLimitIs(0);
   dumpNumbers(context_, 4, 1);
   EXPECT_EQ(
      "    -- The following list will be truncated, use verbose option to display all 1 entries --\n"
      "    -- This list has been truncated, use verbose option to display all 1 entries --\n",
      take());
}

TEST_F(Dump, onlyTheMessageBeforeSetsTruncated) {
   context_->listLimitIs(0);
   Keel::dumpListEnd(context_, 0, 1);
   EXPECT_FALSE(context_->truncated());
}

TEST_F(Dump, aVerboseListIsWhole) {
   context_->listLimitIs(0);
   context_->verbosityIs(1);
   dumpNumbers(context_, 0, 3);
   EXPECT_EQ("  0\n  1\n  2\n", take());
   EXPECT_FALSE(context_->truncated());
   context_->verbosityIs(2);
   dumpNumbers(context_, 0, 3);
   EXPECT_TRUE(context_->truncated()) << "only 1 is verbose";
}

TEST(DumpContext, leavesNothingBehind) {
   std::ostringstream out;
   static_cast<void>(Keel::dumpContextFactory(out));
   const Property::LiveCounts before;
   { const auto context = Keel::dumpContextFactory(out); }
   EXPECT_EQ("", before.changes());
}

}  // namespace DumpContextTest
