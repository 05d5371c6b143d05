// TraceCommand: the program, run over files of timed blocks.
#include "tools/rtrie/commands/TraceCommand.h"

#include <cstdint>

#include "Support.h"
#include "routetrie/platform/BriskTrace.h"

namespace Rtrie {
namespace TraceTest {

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
                                         " +1 +[0-9]+ +[0-9]+ +[0-9]+ +[0-9]+  TrieGen:7 bool route\\(\\)\n"
                                         " +1,200 +[0-9]+ +[0-9]+ +[0-9]+ +[0-9]+  TrieGen:12 void routeIs\\(\\)\n"));
   const Ran list = rtrie({"trace", "--list", path});
   const Ran json = rtrie({"trace", "--format", "json", path});
   EXPECT_THAT(json.out, MatchesRegex("\\{\"calls\":1,.*\n\\{\"calls\":1200,\"minNs\":[0-9]+,\"medianNs\":[0-9]+,"
                                      "\"p99Ns\":[0-9]+,\"maxNs\":[0-9]+,\"source\":\"TrieGen\",\"line\":12,"
                                      "\"text\":\"void routeIs\\(\\)\"\\}\n"));
   const Ran jsonList = rtrie({"trace", "--format", "json", "--list", path});
   EXPECT_THAT(jsonList.out,
               ContainsRegex("^\\{\"startNs\":[0-9]+,\"elapsedNs\":[0-9]+,\"thread\":[0-9]+,\"source\":"));
   EXPECT_EQ(1201, std::count(jsonList.out.begin(), jsonList.out.end(), '\n'));
   EXPECT_EQ(1202, std::count(list.out.begin(), list.out.end(), '\n'));
   EXPECT_THAT(rtrie({"trace", "--format", "tsv", path}).out,
               MatchesRegex("1(\t[0-9]+){4}\tTrieGen\t7\tbool route\\(\\)\n"
                            "1200(\t[0-9]+){4}\tTrieGen\t12\tvoid routeIs\\(\\)\n"));
   EXPECT_THAT(rtrie({"trace", "--format", "csv", path}).out,
               testing::StartsWith("calls,minNs,medianNs,p99Ns,maxNs,source,line,text\n1,"));
   const Ran csvList = rtrie({"trace", "--format", "csv", "--list", path});
   EXPECT_THAT(csvList.out, testing::StartsWith("startNs,elapsedNs,thread,source,line,text\n"));
   EXPECT_EQ(1202, std::count(csvList.out.begin(), csvList.out.end(), '\n'));
   EXPECT_THAT(list.out, ContainsRegex("\n +[0-9]+\\.[0-9]{3} +[0-9]+ +[0-9]+  TrieGen:7 bool route\\(\\)\n$"));
}

// One message as long as the file, and as many records as there is room for: a copy for each would be its square.
TEST(Trace, memoryFollowsTheSizeOfTheFile) {
   const Support::Folder folder;
   constexpr std::size_t poolBytes = 512 * 1024;
   constexpr std::uint64_t records = 16384;
   const std::string text(poolBytes - 5, 'f');
   std::string bytes = "BRISKTR1";
   const auto word = [&]<class T>(T value) { bytes.append(reinterpret_cast<const char*>(&value), sizeof value); };
   word(U32{records});
   word(U32{poolBytes});
   word(U32{poolBytes});
   word(U32{1});
   for (const std::uint64_t value :
        {records, std::uint64_t{0}, std::uint64_t{1000000000}, std::uint64_t{0}, std::uint64_t{0}}) {
      word(value);
   }
   word(U16{7});
   bytes += std::string("s\0", 2) + text + std::string("\0", 1);
   for (std::uint64_t n = 0; n < records; ++n) {
      word(n + 1);
      word(n * 100);
      word(std::uint64_t{50});
      word(U32{1});
      word(U32{42});
   }
   const auto path = folder.gzFile("long.brisk.gz", bytes);
   for (const std::vector<std::string>& arguments :
        {std::vector<std::string>{"trace", path}, {"trace", "--list", path}}) {
      const Ran ran = rtrie(arguments);
      EXPECT_EQ("", ran.err);
      EXPECT_EQ(0, ran.status);
      EXPECT_THAT(ran.out, testing::HasSubstr("  s:7 fff"));
      EXPECT_LT(ran.out.size(), 40U << 20);
      EXPECT_LT(ran.peakBytes, std::uint64_t{500} << 20);  // 8.4 GB by copies; the sanitizers' own memory fits
   }
   const auto longer = folder.gzFile("longer.brisk.gz", bytes + std::string(std::size_t{100} << 20, '\0'));
   const Ran ran = rtrie({"trace", longer});
   EXPECT_THAT(ran.err, testing::EndsWith("the sizes in the trace file's header are wrong\n"));
   EXPECT_EQ(3, ran.status);
}

TEST(Trace, aFileThatIsNone) {
   const Support::Folder folder;
   Ran ran = rtrie({"trace", folder.file("table", "10.0.0.0/8\n")});
   EXPECT_THAT(ran.err, testing::EndsWith("table: not a trace file\n"));
   EXPECT_EQ(3, ran.status);
   ran = rtrie({"trace", folder.path("absent")});
   EXPECT_EQ(3, ran.status);
   ran = rtrie({"trace"});
   EXPECT_EQ(2, ran.status);
}

}  // namespace TraceTest
}  // namespace Rtrie
