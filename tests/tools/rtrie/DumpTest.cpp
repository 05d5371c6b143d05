// DumpCommand: the program, dumping the Patricia trie that holds a small table.
#include "tools/rtrie/commands/DumpCommand.h"

#include "Support.h"

namespace Rtrie {
namespace DumpTest {

using Support::Ran;
using Support::rtrie;

class Dump : public testing::Test {
  protected:
   std::string dump(std::vector<std::string> arguments) const {
      arguments.insert(arguments.begin(), {"dump", "--table", table_});
      const Ran ran = rtrie(arguments);
      EXPECT_EQ("", ran.err);
      EXPECT_EQ(0, ran.status);
      return ran.out;
   }

   Support::Folder folder_;
   std::string table_ =
      folder_.file("table.txt", "0.0.0.0/0 up\n10.0.0.0/8\n10.128.0.0/16\n11.0.0.0/8\n2001:db8::/32\n");
};

constexpr auto whole =
   "IPv4  routes = 4\n"
   "PatriciaTrie\n"
   "  route[] #4\n"
   "    0.0.0.0/0\n"
   "    10.0.0.0/8\n"
   "    10.128.0.0/16\n"
   "    11.0.0.0/8\n"
   "IPv6  routes = 1\n"
   "PatriciaTrie\n"
   "  route[] #1\n"
   "    2001:db8::/32\n";

TEST_F(Dump, listOfRoutesByFamily) {
   for (const char* engine : {"patricia", "patricia-compact", "patricia-data", "compact"}) {
      EXPECT_EQ(whole, dump({"--engine", engine})) << engine;
   }
}

TEST_F(Dump, limitCutsTheNormalFormOnly) {
   EXPECT_EQ(
      "IPv4  routes = 4\n"
      "PatriciaTrie\n"
      "  route[] #4\n"
      "  -- The following list will be truncated, use verbose option to display all 4 entries --\n"
      "    0.0.0.0/0\n"
      "    10.0.0.0/8\n"
      "  -- This list has been truncated, use verbose option to display all 4 entries --\n"
      "IPv6  routes = 1\n"
      "PatriciaTrie\n"
      "  route[] #1\n"
      "    2001:db8::/32\n",
      dump({"--engine", "patricia", "--limit", "2"}));
   EXPECT_EQ(whole, dump({"--engine", "patricia", "--limit", "4"}));
   EXPECT_EQ(whole, dump({"--engine", "patricia", "--limit", "2", "--verbose"}));
}

TEST_F(Dump, treeOfNodes) {
   EXPECT_EQ(std::string("10.0.0.0/7/\x07[ 0 ]\n") +   //
                "  10.128.0.0/16/\x10[ 1010000 ]\n" +  //
                "  11.0.0.0/8/\x08[ 1000000 ]\n" +     //
                "2001:db8::/32[1, 0, 0, 0]\n",
             dump({"--tree", "--engine", "patricia-compact"}));
}

TEST_F(Dump, recordsForPrograms) {
   EXPECT_EQ(
      "{\"family\":\"ipv4\",\"routes\":4,\"lines\":[\"PatriciaTrie\",\"  route[] #4\",\"    0.0.0.0/0\",\"    "
      "10.0.0.0/8\","
      "\"    10.128.0.0/16\",\"    11.0.0.0/8\"]}\n"
      "{\"family\":\"ipv6\",\"routes\":1,\"lines\":[\"PatriciaTrie\",\"  route[] #1\",\"    2001:db8::/32\"]}\n",
      dump({"--engine", "patricia", "--format", "json"}));
   EXPECT_THAT(dump({"--engine", "patricia", "--format", "tsv"}),
               testing::StartsWith("ipv4\tPatriciaTrie\nipv4\t  route[] #4\n"));
   EXPECT_THAT(dump({"--engine", "patricia", "--format", "csv"}),
               testing::StartsWith("family,line\nipv4,PatriciaTrie\nipv4,\"  route[] #4\"\n"));
   EXPECT_THAT(dump({"--engine", "patricia", "--format", "json", "--tree"}),
               testing::StartsWith("{\"family\":\"ipv4\",\"routes\":null,\"lines\":[\"10.0.0.0/7"));
   EXPECT_THAT(dump({"--engine", "table", "--format", "tsv", "--tree"}), testing::StartsWith("ipv4\t"))
      << "records have no legend";
}

TEST_F(Dump, badUsageIsOneLine) {
   for (const auto& arguments : std::vector<std::vector<std::string>>{
           {"--tree", "--limit", "2"}, {"--tree", "--verbose"}, {"--limit", "-1"}, {"--limit", "many"}}) {
      std::vector<std::string> all{"dump", "--table", table_};
      all.insert(all.end(), arguments.begin(), arguments.end());
      const Ran ran = rtrie(all);
      EXPECT_EQ("", ran.out);
      EXPECT_EQ(1, std::count(ran.err.begin(), ran.err.end(), '\n')) << ran.err;
      EXPECT_EQ(2, ran.status);
   }
}

}  // namespace DumpTest
}  // namespace Rtrie
