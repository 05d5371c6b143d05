// TraceCommand: the program, run over files of timed blocks.
#include "tools/rtrie/commands/TraceCommand.h"

#include "Support.h"
#include "routetrie/platform/BriskTrace.h"

namespace Rtrie {
namespace {

using BriskTrace::timeStamp;
using BriskTrace::TraceFile;
using Support::Ran;
using Support::rtrie;
using testing::ContainsRegex;
using testing::MatchesRegex;

TEST(Trace, callsBySummaryAndByList) {
   const Support::Folder folder;
   const std::string path = folder.path("trie.brisk");
   {
      const auto file = TraceFile::inFile(path);
      const U32 insert = file->messageIs("TrieGen", 12, "void routeIs()");
      for (int i = 0; i < 1200; ++i) {
         file->record(insert, timeStamp());
      }
      file->record(file->messageIs("TrieGen", 7, "bool route()"), timeStamp());
   }
   const Ran summary = rtrie({"trace", path});
   EXPECT_EQ("", summary.err);
   EXPECT_EQ(0, summary.status);
   EXPECT_THAT(summary.out, MatchesRegex(" +calls +min ns +median +99% +max ns  call\n"
                                         " +1,200 +[0-9]+ +[0-9]+ +[0-9]+ +[0-9]+  TrieGen:12 void routeIs\\(\\)\n"
                                         " +1 +[0-9]+ +[0-9]+ +[0-9]+ +[0-9]+  TrieGen:7 bool route\\(\\)\n"));
   const Ran list = rtrie({"trace", "--list", path});
   EXPECT_EQ(1202, std::count(list.out.begin(), list.out.end(), '\n'));
   EXPECT_THAT(list.out, ContainsRegex("\n +[0-9]+\\.[0-9]{3} +[0-9]+ +[0-9]+  TrieGen:7 bool route\\(\\)\n$"));
}

TEST(Trace, aFileThatIsNone) {
   const Support::Folder folder;
   Ran ran = rtrie({"trace", folder.file("table", "10.0.0.0/8\n")});
   EXPECT_THAT(ran.err, testing::EndsWith("table: not a trace file\n"));
   EXPECT_EQ(1, ran.status);
   ran = rtrie({"trace", folder.path("absent")});
   EXPECT_EQ(1, ran.status);
   ran = rtrie({"trace"});
   EXPECT_EQ(2, ran.status);
}

}  // namespace
}  // namespace Rtrie
