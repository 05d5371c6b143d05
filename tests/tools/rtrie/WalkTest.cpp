// WalkCommand: the program, walking over small tables in every engine that can.
#include "tools/rtrie/commands/WalkCommand.h"

#include "Support.h"
#include "tools/rtrie/Engine.h"

namespace Rtrie {
namespace WalkTest {

using Support::Ran;
using Support::rtrie;

class Walk : public testing::Test {
  protected:
   Ran walk(std::vector<std::string> arguments) const {
      arguments.insert(arguments.begin(), {"walk", "--table", table_});
      return rtrie(arguments);
   }
   static std::vector<Engine> ables() {
      std::vector<Engine> able;
      for (const Engine& engine : engines()) {
         if (includes(engine.answers, Questions::subtree)) {
            able.push_back(engine);
         }
      }
      return able;
   }

   Support::Folder folder_;
   std::string table_ = folder_.file("table.txt",
                                     "10.1.0.0/16 branch\n"
                                     "0.0.0.0/0 upstream\n"
                                     "10.0.0.0/16\n"
                                     "10.0.0.0/8 private net\n"
                                     "192.0.2.1 host\n"
                                     "2001:db8:1::/48\n"
                                     "2001:db8::/32 docs\n");
};

TEST_F(Walk, allRoutesInOrderWithTheirPayloads) {
   ASSERT_FALSE(ables().empty());
   for (const auto& engine : ables()) {
      const Ran ran = walk({"--engine", std::string(engine.name)});
      std::string expected;
      if (engine.ipv4) {
         expected +=
            "0.0.0.0/0 upstream\n10.0.0.0/8 private net\n10.0.0.0/16\n10.1.0.0/16 branch\n"
            "192.0.2.1/32 host\n";
      }
      if (engine.ipv6) {
         expected += "2001:db8::/32 docs\n2001:db8:1::/48\n";
      }
      EXPECT_EQ(expected, ran.out) << engine.name;
      EXPECT_EQ("", ran.err);
      EXPECT_EQ(0, ran.status);
   }
}

TEST_F(Walk, onlyTheRoutesUnderAPrefix) {
   for (const auto& able : ables()) {
      if (!able.ipv4) {
         continue;
      }
      const std::string engine(able.name);
      EXPECT_EQ("10.0.0.0/8 private net\n10.0.0.0/16\n10.1.0.0/16 branch\n",
                walk({"--engine", engine, "10.0.0.0/8"}).out);
      EXPECT_EQ("10.0.0.0/16\n10.1.0.0/16 branch\n", walk({"--engine", engine, "10.0.0.0/9"}).out)
         << "no route itself";
      EXPECT_EQ("", walk({"--engine", engine, "10.64.0.0/16"}).out) << "none that lies elsewhere";
      EXPECT_EQ("192.0.2.1/32 host\n", walk({"--engine", engine, "192.0.2.1"}).out);
   }
   EXPECT_EQ("2001:db8:1::/48\n", walk({"2001:db8:1::/48"}).out);
}

TEST_F(Walk, csvHasTheNamesOfItsColumns) {
   EXPECT_EQ("prefix,payload\n10.0.0.0/8,private net\n10.0.0.0/16,\n10.1.0.0/16,branch\n",
             walk({"--format", "csv", "10.0.0.0/8"}).out);
}

TEST_F(Walk, itsOutputIsATableOfTheSameRoutes) {
   const Ran first = walk({});
   const Ran second = rtrie({"walk", "--table", "-"}, first.out);
   EXPECT_EQ(first.out, second.out);
   EXPECT_EQ(0, second.status);
}

TEST_F(Walk, familyWithoutRoutesIsEmpty) {
   const auto ipv4Only = folder_.file("ipv4.txt", "10.0.0.0/8\n");
   const Ran ran = rtrie({"walk", "--table", ipv4Only, "2001:db8::/32"});
   EXPECT_EQ("", ran.out);
   EXPECT_EQ(0, ran.status);
}

TEST_F(Walk, printsTabsAndJson) {
   const auto table = folder_.file("payloads", "10.0.0.0/8 a\tb \\ \"c\"\n10.1.0.0/16\n");
   const auto printed = [&](const char* format) { return rtrie({"walk", "--table", table, "--format", format}).out; };
   EXPECT_EQ("10.0.0.0/8\n10.1.0.0/16\n", printed("tsv"));
   EXPECT_EQ("10.0.0.0/8\ta\\tb \\\\ \"c\"\n10.1.0.0/16\t\n", printed("tsv-payload"));
   EXPECT_EQ(
      "{\"prefix\":\"10.0.0.0/8\",\"length\":8,\"payload\":\"a\\tb \\\\ \\\"c\\\"\"}\n"
      "{\"prefix\":\"10.1.0.0/16\",\"length\":16,\"payload\":\"\"}\n",
      printed("json"));
   EXPECT_EQ(2, walk({"--format", "xml"}).status);
}

TEST_F(Walk, badUsageIsOneLine) {
   const Ran ran = walk({"10.0.0.1/8"});
   EXPECT_THAT(ran.err, testing::AllOf(testing::StartsWith("rtrie: "), testing::HasSubstr("\"10.0.0.1/8\"")));
   EXPECT_EQ(1, std::count(ran.err.begin(), ran.err.end(), '\n'));
   EXPECT_EQ(2, ran.status);
}

}  // namespace WalkTest
}  // namespace Rtrie
